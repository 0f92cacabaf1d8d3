/**
 * @file
 * The Diffie-Hellman shared secret on the curves of DSTU 4145-2002.
 */
#ifndef QAL_DHUA_H
#define QAL_DHUA_H

#include <qal/api.h>
#include <qal/dstu.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * The shared secret: the affine x of d Q or, with the cofactor, of h d Q; zero at infinity.
 *
 * The public key is checked to be on the curve and nothing more. For a key that is zero, which
 * stands for the point of order 2, the secret is zero whatever d is: a secret that is zero must not
 * be used. Without the cofactor, a key outside the group of the base point, Q + T with T of order
 * 2, tells whether d is even: use the cofactor, or check that n Q is infinity, for keys that do not
 * come from a trusted source.
 *
 * @param[in]  ctx       domain; its cofactor, 2 or 4, counts only with the flag.
 * @param[in]  priv_len  bytes, at least key_len of the domain.
 * @param[in]  priv      own private key d.
 * @param[in]  pub_len   bytes, at least field_len of the domain.
 * @param[in]  pub       the other party's public key Q.
 * @param[in]  cofactor  whether to multiply by the cofactor h.
 * @param[out] out_len   receives field_len; what was in it does not matter.
 * @param[out] out       field_len bytes, least significant first.
 * @return #DSTU_OK, #DSTU_BAD_ARGUMENT, #DSTU_BAD_CURVE, #DSTU_BAD_PUBLIC_KEY or
 *         #DSTU_BAD_PRIVATE_KEY.
 *
 * Fails: as qal2pfromb() does for a pub_len above four bytes per word of the field.
 *
 * Timing: does not depend on the private key.
 */
QAL_API QAL_API_RESULT int dhua_zz(const dstu_ctx *ctx, int32_t priv_len, const uint8_t *priv,
                                   int32_t pub_len, const uint8_t *pub, int cofactor,
                                   int32_t *out_len, uint8_t *out);

#ifdef __cplusplus
}
#endif

#endif
