/**
 * @file
 * The digital signature of GOST R 34.10-2001 (RFC 5832) over curves of 256 bits.
 *
 * The context is set up once from the domain parameters and only read afterwards: it serves any
 * number of operations and threads. There is nothing to release.
 *
 * All numbers are strings of bytes, most significant first: parameters, private keys, the secret k
 * and digests of 32 bytes; public keys of 64, x and then y; signatures of 64, s and then r. A
 * digest in another order must be turned round by the caller. Private keys and k are the caller's
 * to draw, from 1 to q - 1; a k must never be used twice.
 *
 * Codes, shared with vko341001.h, of which those that an operation can give stand at it:
 * 0 success; 1 the signature is not valid; 2 the private key (rds_gen_keys()) or k is out of range,
 * or k must be drawn anew; 3 bad p, a or b; 4 bad base point; 5 bad public key; 6 the private key
 * is out of range; 7 a null pointer; 8 bad q; 9 bad user keying material.
 *
 * Timing: rds_gen_keys() and rds_sign() do not depend on the private key, k or the digest, other
 * than by the code that they return, as long as q is odd; a q that is not is no prime and has the
 * operations of qalmath64.h work on them. rds_verify() depends on all of its arguments.
 */
#ifndef QAL_RDS_H
#define QAL_RDS_H

#include <qal/api.h>
#include <qal/qalec.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Domain parameters. */
typedef struct {
    qaleccurve curve;     /**< y^2 = x^3 + a x + b modulo p */
    qalfe q;              /**< order of the base point */
    qalecpoint G;         /**< base point, normalised */
    uint32_t pubkey_len;  /**< 64 */
    uint32_t privkey_len; /**< 32 */
    uint32_t sig_len;     /**< 64 */
    uint32_t w;           /**< window width of table, 5 */
    qalecpoint table[16]; /**< G, 3G, ..., 31G, for rds_gen_keys() and rds_sign() alone */
} rds_ctx;

/**
 * Set up a context.
 *
 * Neither that p and q are prime nor that q is the order of the base point is checked.
 *
 * @param[out] ctx  record; not to be used unless the code is 0.
 * @param[in]  p    modulus, odd, of at least 255 bits.
 * @param[in]  a,b  coefficients, 1..p - 1.
 * @param[in]  q    order, from 2^254 - 1.
 * @param[in]  x,y  base point, each below p; (0, 0) stands for infinity.
 * @return 0; 3, 4 or 8, in this order of tests; 7 before all others.
 */
QAL_API int rds_init(rds_ctx *ctx, const uint8_t *p, const uint8_t *a, const uint8_t *b,
                     const uint8_t *q, const uint8_t *x, const uint8_t *y);

/**
 * Read the domain parameters back.
 *
 * @param[in]  ctx            context.
 * @param[out] p,a,b,q,x,y    32 bytes each.
 * @return 0; 7.
 */
QAL_API int rds_get_prms(const rds_ctx *ctx, uint8_t *p, uint8_t *a, uint8_t *b, uint8_t *q,
                         uint8_t *x, uint8_t *y);

/**
 * The public key of a private key.
 *
 * @param[in]  ctx      context.
 * @param[in]  privkey  32 bytes, 1..q - 1.
 * @param[out] pubkey   64 bytes.
 * @return 0; 2; 7.
 */
QAL_API int rds_gen_keys(const rds_ctx *ctx, const uint8_t *privkey, uint8_t *pubkey);

/**
 * Sign a digest.
 *
 * @param[in]  ctx      context.
 * @param[in]  privkey  32 bytes, 1..q - 1.
 * @param[in]  k        32 bytes, 1..q - 1, secret and drawn for this signature alone.
 * @param[in]  digest   32 bytes.
 * @param[out] sig      64 bytes; written only if the code is 0.
 * @return 0; 6; 2, also in the unlikely case that another k is needed; 7.
 */
QAL_API int rds_sign(const rds_ctx *ctx, const uint8_t *privkey, const uint8_t *k,
                     const uint8_t *digest, uint8_t *sig);

/**
 * Verify a signature.
 *
 * The public key is checked to be on the curve and nothing more: (0, 0) is taken for infinity, and
 * a curve whose number of points has divisors besides q has points of small order. Anyone can make
 * signatures that are valid for such a key. A key that does not come from a trusted source must be
 * checked before: it is not (0, 0), and q times it (qaleckp()) is infinity.
 *
 * @param[in] ctx     context.
 * @param[in] pubkey  64 bytes.
 * @param[in] digest  32 bytes.
 * @param[in] sig     64 bytes.
 * @return 0 if the signature is valid; 5; 1; 7.
 */
QAL_API int rds_verify(const rds_ctx *ctx, const uint8_t *pubkey, const uint8_t *digest,
                       const uint8_t *sig);

#ifdef __cplusplus
}
#endif

#endif
