/**
 * @file
 * The key agreement VKO GOST R 34.10-2001 (RFC 4357, clause 5.2).
 *
 * Context, byte formats of keys and codes are those of rds.h. The key encryption key is the
 * GOST R 34.11-94 digest of both coordinates of the shared point, with #CryptoPro_uz and
 * #CryptoPro_iv. Each coordinate takes 32 bytes in the hash, its significant bytes first, most
 * significant first, and zero bytes behind them.
 *
 * Timing: as in rds.h; vko341001_gen_kek() depends on the public key and the user keying material,
 * and on the shared point as far as the hash does (gr341194.h).
 */
#ifndef QAL_VKO341001_H
#define QAL_VKO341001_H

#include <qal/api.h>
#include <qal/rds.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Bytes of the key encryption key and of the user keying material. */
#define VKO341001_KEK_SIZE 32
#define VKO341001_UKM_SIZE 8

/**
 * Set up a context: rds_init() by another name.
 *
 * @param[out] ctx            record.
 * @param[in]  p,a,b,q,x,y    32 bytes each.
 * @return as rds_init().
 */
QAL_API QAL_API_RESULT int vko341001_init(rds_ctx *ctx, const uint8_t *p, const uint8_t *a,
                                          const uint8_t *b, const uint8_t *q, const uint8_t *x,
                                          const uint8_t *y);

/**
 * The public key of a private key, as rds_gen_keys() gives it.
 *
 * @param[in]  ctx      context.
 * @param[in]  privkey  32 bytes, 1..q - 1.
 * @param[out] pubkey   64 bytes.
 * @return #RDS_OK, #RDS_BAD_PRIVATE_KEY or #RDS_NULL_POINTER.
 */
QAL_API QAL_API_RESULT int vko341001_gen_pubkey(const rds_ctx *ctx, const uint8_t *privkey,
                                                uint8_t *pubkey);

/**
 * Agree on a key encryption key. The shared point is not multiplied by a cofactor, and may be
 * infinity: the peer's key is checked to be on the curve and nothing more. With (0, 0) everyone
 * knows the result; with a point of small order, where the curve has any, it is one of few, and
 * which one tells the private key modulo that order. A key that does not come from a trusted source
 * must be checked before: it is not (0, 0), and q times it (qaleckp()) is infinity.
 *
 * @param[in]  ctx          context, not checked for null.
 * @param[out] kek          32 bytes; written only if the code is #RDS_OK.
 * @param[in]  privkey      32 bytes, 1..p - 1: the bound is the modulus, not the order.
 * @param[in]  peer_pubkey  64 bytes; (0, 0) stands for infinity.
 * @param[in]  ukm          user keying material: a number of 8 bytes, most significant first,
 *                          not 0.
 * @return #RDS_OK, or the first that applies of #RDS_NULL_POINTER, #RDS_BAD_PUBLIC_KEY,
 *         #RDS_BAD_PRIVATE_KEY and #RDS_BAD_KEYING_MATERIAL.
 */
QAL_API QAL_API_RESULT int vko341001_gen_kek(const rds_ctx *ctx, uint8_t *kek,
                                             const uint8_t *privkey, const uint8_t *peer_pubkey,
                                             const uint8_t *ukm);

#ifdef __cplusplus
}
#endif

#endif
