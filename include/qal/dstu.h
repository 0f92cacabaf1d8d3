/**
 * @file
 * The digital signature of DSTU 4145-2002 on the curves of qale2.h.
 *
 * Call order: dstu_init_curve() and dstu_init_pgen() fill a domain record, which is only read
 * afterwards and may serve several threads; dstu_bspool_init() sets up a pool of one-time secrets
 * for it; then any number of operations. dstu_bspool_step() prepares one-time secrets at idle
 * times.
 *
 * All byte strings are little-endian: numbers; elements of the field, bit j of byte i for
 * x^(8i+j); hashes likewise, whose length is given in bits. A public key is a compressed point of
 * (m + 8) / 8 bytes. A signature is r, then s, each in half of its bytes.
 *
 * Operations return a code of #dstu_code. Each lists those that it can return.
 *
 * Timing: key generation and signing depend on neither the private key nor the one-time secret, but
 * for repetitions, which the standard demands where a value comes out as zero, and for scalars
 * below some hundred, which a random source does not bring. The number of calls of
 * dstu_bspool_step() that a one-time secret takes depends on it, but what each call does depends on
 * that number alone.
 */
#ifndef QAL_DSTU_H
#define QAL_DSTU_H

#include <qal/api.h>
#include <qal/qale2.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** What the operations of this header and of dhua.h return. */
enum dstu_code {
    DSTU_OK = 0,             /**< success; the signature is valid */
    DSTU_BAD_SIGNATURE = 1,  /**< the signature is not valid, or has a wrong length or range */
    DSTU_BAD_ARGUMENT = 2,   /**< a null pointer, a length out of range, a buffer too small */
    DSTU_BAD_CURVE = 3,      /**< the curve is refused; the cofactor is not supported (dhua.h) */
    DSTU_BAD_BASE_POINT = 4, /**< the base point or its order is refused */
    DSTU_BAD_PUBLIC_KEY = 5, /**< the public key is no field element or not on the curve */
    DSTU_BAD_PRIVATE_KEY = 6 /**< the private key is zero or not shorter than the order */
};

/** Domain parameters. */
typedef struct {
    qale2curve curve;       /**< the curve */
    qale2point G;           /**< base point, Z = 1 */
    qald n[QALBIG_SIZE];    /**< order of G */
    uint64_t cofactor;      /**< for dhua.h; zero after the set-up, for the caller to store */
    int32_t field_len;      /**< (m + 8) / 8, bytes of a public key */
    int32_t key_len;        /**< bytes of a private key, which is shorter than n */
    int32_t sig_len;        /**< bytes of a signature */
    int32_t ws;             /**< window size of powers, 6 */
    qale2affine powers[32]; /**< (2 i + 1) G */
} dstu_ctx;

/** A one-time secret in the making. */
typedef struct {
    qald e[QALBIG_SIZE]; /**< the secret; behind its digits the pool keeps notes of its own */
    qale2kpic_ctx kp;    /**< the multiplication of G, whose Q becomes e G */
} dstu_slot;

/**
 * A pool of one-time secrets. Not for concurrent use, and not for copying: a copy of the record, by
 * assignment, fork(), or a snapshot of a machine, gives the same secrets out again. Two signatures
 * with one secret give the private key away: s - s' = d (r - r'). After a fork the child sets up a
 * pool of its own.
 */
typedef struct {
    const dstu_ctx *ctx; /**< borrowed */
    qal_rnd rnd;         /**< random source; its result is ignored */
    uint32_t ready;      /**< bit i: slot i is complete */
    uint32_t started;    /**< bit i: slot i has its secret */
    dstu_slot slot[5];   /**< the slots */
} dstu_bspool;

/**
 * Set up the curve of a domain. The whole record is zeroed first.
 *
 * @param[out] ctx    record.
 * @param[in]  m,mod_a,mod_b,mod_c  exponents of the field polynomial, as for qale2cr().
 * @param[in]  a      coefficient, 0 or 1.
 * @param[in]  b      coefficient, b_len bytes.
 * @param[in]  b_len  bytes, at most (m + 8) / 8.
 * @return #DSTU_OK or #DSTU_BAD_CURVE.
 *
 * Fails: "((431+7)/8) >= (((((mod_m)+1)+7)/8))".
 */
QAL_API QAL_API_RESULT int dstu_init_curve(dstu_ctx *ctx, uint32_t m, uint32_t mod_a,
                                           uint32_t mod_b, uint32_t mod_c, uint32_t a,
                                           const uint8_t *b, int32_t b_len);

/**
 * Set up base point and order: n must have m - 2 to m bits, at least 160, and n G be at infinity.
 * That n is prime, and the order of G, is not checked. With the point of order 2, which is zero
 * when compressed, as G and an even n there are no signatures, and dstu_sign() looks for one
 * without end.
 *
 * @param[in,out] ctx    record after dstu_init_curve().
 * @param[in]     G_len  bytes, 1..(m + 8) / 8.
 * @param[in]     G      compressed point.
 * @param[in]     n_len  bytes, 1..(m + 8) / 8.
 * @param[in]     n      order.
 * @return #DSTU_OK, #DSTU_BAD_ARGUMENT or #DSTU_BAD_BASE_POINT.
 */
QAL_API QAL_API_RESULT int dstu_init_pgen(dstu_ctx *ctx, int32_t G_len, const uint8_t *G,
                                          int32_t n_len, const uint8_t *n);

/**
 * Set up an empty pool.
 *
 * @param[out] pool  pool; keeps both pointers.
 * @param[in]  ctx   domain.
 * @param[in]  rnd   random source.
 * @return #DSTU_OK or #DSTU_BAD_ARGUMENT.
 */
QAL_API QAL_API_RESULT int dstu_bspool_init(dstu_bspool *pool, const dstu_ctx *ctx, qal_rnd rnd);

/**
 * Do a piece of work on the lowest slot that is not ready: draw its secret, or process one window
 * of it. Nothing is done when all are ready.
 *
 * @param[in,out] pool  pool.
 * @return not 0 when at least one slot is ready.
 */
QAL_API int dstu_bspool_step(dstu_bspool *pool);

/**
 * Take a one-time secret out of the pool, completing one if none is ready.
 *
 * @param[in,out] pool  pool.
 * @param[out]    e     the secret, below 2^(L - 1), where n has L bits; it may be zero.
 * @param[out]    cp    e G, compressed.
 * @return #DSTU_OK.
 *
 * Fails: "pool != 0", "e != 0", "cp != 0".
 */
QAL_API int dstu_bspool_get(dstu_bspool *pool, qald *e, qal2d *cp);

/**
 * Generate a pair of keys d and Q = -d G (DSTU 4145-2002, clauses 9.1 and 9.2).
 *
 * @param[in]     ctx       domain.
 * @param[in,out] pool      pool of this domain.
 * @param[in,out] priv_len  bytes that priv has room for; becomes the context's key_len.
 * @param[out]    priv      private key, zeros up to the stated room.
 * @param[in,out] pub_len   bytes that pub has room for; becomes the context's field_len.
 * @param[out]    pub       public key.
 * @return #DSTU_OK or #DSTU_BAD_ARGUMENT.
 */
QAL_API QAL_API_RESULT int dstu_gen_keys(const dstu_ctx *ctx, dstu_bspool *pool, int32_t *priv_len,
                                         uint8_t *priv, int32_t *pub_len, uint8_t *pub);

/**
 * Both coordinates of a public key.
 *
 * @param[in]  ctx      domain.
 * @param[out] out      x, then y, field_len bytes each.
 * @param[in]  key      compressed point.
 * @param[in]  key_len  bytes.
 * @return #DSTU_OK or #DSTU_BAD_PUBLIC_KEY.
 *
 * Fails: as qal2pfromb() does for a key_len above four bytes per word of the field.
 */
QAL_API QAL_API_RESULT int dstu_ucpubk(const dstu_ctx *ctx, uint8_t *out, const uint8_t *key,
                                       int32_t key_len);

/**
 * The public key with these coordinates.
 *
 * @param[in]     ctx      domain.
 * @param[out]    out      compressed point.
 * @param[in,out] out_len  bytes that out has room for; becomes field_len.
 * @param[in]     in       x, then y, field_len bytes each.
 * @return #DSTU_OK, #DSTU_BAD_ARGUMENT or #DSTU_BAD_PUBLIC_KEY.
 */
QAL_API QAL_API_RESULT int dstu_cppubk(const dstu_ctx *ctx, uint8_t *out, int32_t *out_len,
                                       const uint8_t *in);

/**
 * Sign (DSTU 4145-2002, clause 12).
 *
 * @param[in]     ctx        domain.
 * @param[in,out] pool       pool of this domain.
 * @param[in]     priv_len   bytes, 1..key_len.
 * @param[in]     priv       private key.
 * @param[in]     hash_bits  bits, at least 1; the first m count.
 * @param[in]     hash       hash.
 * @param[in,out] sig_len    bytes that sig has room for; becomes the context's sig_len.
 * @param[out]    sig        signature.
 * @return #DSTU_OK, #DSTU_BAD_ARGUMENT or #DSTU_BAD_PRIVATE_KEY.
 */
QAL_API QAL_API_RESULT int dstu_sign(const dstu_ctx *ctx, dstu_bspool *pool, int32_t priv_len,
                                     const uint8_t *priv, int32_t hash_bits, const uint8_t *hash,
                                     int32_t *sig_len, uint8_t *sig);

/**
 * Verify a signature (DSTU 4145-2002, clause 13).
 *
 * The public key is checked to be on the curve and nothing more. Anyone can make signatures that
 * are valid for a key that is zero, which stands for the point of order 2. A key that does not come
 * from a trusted source must be checked before: n times its point (qale2exp(), qale2kp()) is
 * infinity.
 *
 * @param[in] ctx        domain.
 * @param[in] pub_len    bytes, 1..field_len.
 * @param[in] pub        public key.
 * @param[in] hash_bits  bits, at least 1; the first m count.
 * @param[in] hash       hash.
 * @param[in] sig_len    bytes.
 * @param[in] sig        signature.
 * @return #DSTU_OK for a valid signature, otherwise #DSTU_BAD_SIGNATURE, #DSTU_BAD_ARGUMENT or
 *         #DSTU_BAD_PUBLIC_KEY.
 */
QAL_API QAL_API_RESULT int dstu_verify(const dstu_ctx *ctx, int32_t pub_len, const uint8_t *pub,
                                       int32_t hash_bits, const uint8_t *hash, int32_t sig_len,
                                       const uint8_t *sig);

#ifdef __cplusplus
}
#endif

#endif
