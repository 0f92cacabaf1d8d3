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
 * Operations return a code of #rds_code. Each lists those that it can return.
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

/** Bytes of keys, of the secret k, of digests and of signatures. */
#define RDS_PRIVATE_KEY_SIZE 32
#define RDS_PUBLIC_KEY_SIZE 64
#define RDS_DIGEST_SIZE 32
#define RDS_SIGNATURE_SIZE 64

/** What the operations of this header and of vko341001.h return. */
enum rds_code {
    RDS_OK = 0,                 /**< success; the signature is valid */
    RDS_BAD_SIGNATURE = 1,      /**< the signature is not valid */
    RDS_BAD_SECRET = 2,         /**< k, or the private key of rds_gen_keys(), is out of range, or
                                     another k must be drawn */
    RDS_BAD_CURVE = 3,          /**< p, a or b is refused */
    RDS_BAD_BASE_POINT = 4,     /**< the base point is refused */
    RDS_BAD_PUBLIC_KEY = 5,     /**< the public key is refused */
    RDS_BAD_PRIVATE_KEY = 6,    /**< the private key is out of range */
    RDS_NULL_POINTER = 7,       /**< an argument is a null pointer */
    RDS_BAD_ORDER = 8,          /**< q is refused */
    RDS_BAD_KEYING_MATERIAL = 9 /**< the user keying material is out of range */
};

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
 * @param[out] ctx  record; not to be used unless the code is #RDS_OK.
 * @param[in]  p    modulus, odd, of at least 255 bits.
 * @param[in]  a,b  coefficients, 1..p - 1.
 * @param[in]  q    order, from 2^254 - 1.
 * @param[in]  x,y  base point, each below p; (0, 0) stands for infinity.
 * @return #RDS_OK, or the first that applies of #RDS_NULL_POINTER, #RDS_BAD_CURVE,
 *         #RDS_BAD_BASE_POINT and #RDS_BAD_ORDER.
 */
QAL_API QAL_API_RESULT int rds_init(rds_ctx *ctx, const uint8_t *p, const uint8_t *a,
                                    const uint8_t *b, const uint8_t *q, const uint8_t *x,
                                    const uint8_t *y);

/**
 * Read the domain parameters back.
 *
 * @param[in]  ctx            context.
 * @param[out] p,a,b,q,x,y    32 bytes each.
 * @return #RDS_OK or #RDS_NULL_POINTER.
 */
QAL_API QAL_API_RESULT int rds_get_prms(const rds_ctx *ctx, uint8_t *p, uint8_t *a, uint8_t *b,
                                        uint8_t *q, uint8_t *x, uint8_t *y);

/**
 * The public key of a private key.
 *
 * @param[in]  ctx      context.
 * @param[in]  privkey  32 bytes, 1..q - 1.
 * @param[out] pubkey   64 bytes.
 * @return #RDS_OK, #RDS_BAD_SECRET or #RDS_NULL_POINTER.
 */
QAL_API QAL_API_RESULT int rds_gen_keys(const rds_ctx *ctx, const uint8_t *privkey,
                                        uint8_t *pubkey);

/**
 * Sign a digest.
 *
 * @param[in]  ctx      context.
 * @param[in]  privkey  32 bytes, 1..q - 1.
 * @param[in]  k        32 bytes, 1..q - 1, secret and drawn for this signature alone.
 * @param[in]  digest   32 bytes.
 * @param[out] sig      64 bytes; written only if the code is #RDS_OK.
 * @return #RDS_OK, #RDS_BAD_PRIVATE_KEY, #RDS_BAD_SECRET or #RDS_NULL_POINTER.
 */
QAL_API QAL_API_RESULT int rds_sign(const rds_ctx *ctx, const uint8_t *privkey, const uint8_t *k,
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
 * @return #RDS_OK if the signature is valid, otherwise #RDS_BAD_PUBLIC_KEY, #RDS_BAD_SIGNATURE or
 *         #RDS_NULL_POINTER.
 */
QAL_API QAL_API_RESULT int rds_verify(const rds_ctx *ctx, const uint8_t *pubkey,
                                      const uint8_t *digest, const uint8_t *sig);

#ifdef __cplusplus
}
#endif

#endif
