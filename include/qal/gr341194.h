/**
 * @file
 * The hash function of GOST R 34.11-94 (RFC 5831), 256 bits.
 *
 * S-box and start value are parameters: #CryptoPro_uz and #CryptoPro_iv are those of RFC 4357,
 * section 11.2, which are in common use. Every 256-bit value is a string of 32 bytes, least
 * significant first. Init, any number of updates, one final; the other operations are the
 * standard's building blocks. Nothing is checked: pointers must be valid.
 *
 * Timing: on processors with AVX-512 VBMI the hash with #CryptoPro_uz depends on the length of the
 * message alone. Elsewhere, and for short messages with another table, the table is read at
 * addresses that depend on the message.
 */
#ifndef QAL_GR341194_H
#define QAL_GR341194_H

#include <qal/api.h>
#include <qal/g28147.h>

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Bytes of the digest, of the start value and of a block. */
#define GR341194_SIZE 32
#define GR341194_BLOCK_SIZE 32

/** A hash computation. Plain data: it may be copied to go on in two ways from a common prefix. */
typedef struct {
    uint8_t buffer[32];   /**< message bytes that do not fill a block yet */
    uint32_t npending;    /**< bytes in buffer, 0..31 */
    uint8_t H[32];        /**< running hash */
    uint8_t L[32];        /**< bits of the message so far, modulo 2^256 */
    uint8_t sigma[32];    /**< sum of all blocks, modulo 2^256 */
    const uint32_t *kext; /**< expanded table of the S-box; not owned */
} gr341194_md_ctx;

/** Start value of id-GostR3411-94-CryptoProParamSet: zero. */
QAL_API extern const uint8_t CryptoPro_iv[32];

/**
 * Begin a hash.
 *
 * @param[out] ctx   record.
 * @param[in]  iv    start value, 32 bytes.
 * @param[in]  kext  expanded table (g28147_make_kext()); must stay valid until the end.
 * @return ctx.
 */
QAL_API QAL_API_NONNULL() gr341194_md_ctx *gr341194_md_init_ext(gr341194_md_ctx *ctx,
                                                                const uint8_t *iv,
                                                                const uint32_t *kext);

/**
 * Absorb a piece of the message. Pieces of any lengths give the hash of their concatenation.
 *
 * @param[in,out] ctx   record.
 * @param[in]     data  len bytes; null is taken for none.
 * @param[in]     len   bytes.
 */
QAL_API QAL_API_NONNULL(1) void gr341194_md_update(gr341194_md_ctx *ctx, const uint8_t *data,
                                                   size_t len);

/**
 * Finish a hash.
 *
 * @param[in,out] ctx  record; spent afterwards.
 * @param[out]    out  32 bytes.
 * @return out.
 */
QAL_API QAL_API_NONNULL() uint8_t *gr341194_md_final(gr341194_md_ctx *ctx, uint8_t *out);

/**
 * Absorb whole blocks straight from the input, leaving the buffer alone.
 *
 * @param[in,out] ctx   record.
 * @param[in]     data  blocks of 32 bytes.
 * @param[in]     len   bytes, a multiple of 32.
 */
QAL_API QAL_API_NONNULL(1) void gr341194_md_updblocks(gr341194_md_ctx *ctx, const uint8_t *data,
                                                      size_t len);

/**
 * The step function: H = f(H, block).
 *
 * @param[in,out] ctx    record, of which H changes.
 * @param[in]     block  32 bytes; may be in the record.
 */
QAL_API QAL_API_NONNULL() void gr341194_md_x(gr341194_md_ctx *ctx, const uint8_t *block);

/**
 * The output transformation of a step: psi^61(H ^ psi(M ^ psi^12(S))).
 *
 * @param[out] out    32 bytes; may be any of the inputs.
 * @param[in]  H,M,S  32 bytes each.
 */
QAL_API QAL_API_NONNULL() void gr341194_md_mix(uint8_t *out, const uint8_t *H, const uint8_t *M,
                                               const uint8_t *S);

/**
 * Apply psi n times.
 *
 * @param[in,out] x  32 bytes.
 * @param[in]     n  times; none if not positive.
 */
QAL_API QAL_API_NONNULL() void gr341194_md_psi(uint8_t *x, int n);

/**
 * The transformation A: words (x0, x1, x2, x3) become (x1, x2, x3, x0 ^ x1).
 *
 * @param[in,out] x  32 bytes.
 * @return x.
 */
QAL_API QAL_API_NONNULL() uint8_t *gr341194_md_a(uint8_t *x);

/**
 * The transposition P: out byte 4i + k is in byte 8k + i.
 *
 * @param[out] out  32 bytes; may be in.
 * @param[in]  in   32 bytes.
 * @return out.
 */
QAL_API QAL_API_NONNULL() uint8_t *gr341194_md_p(uint8_t *out, const uint8_t *in);

/**
 * x = (x + y) mod 2^256.
 *
 * @param[in,out] x  32 bytes.
 * @param[in]     y  32 bytes; may be x.
 * @return the carry out of x.
 */
QAL_API QAL_API_NONNULL() uint32_t gr341194_md_add256(uint8_t *x, const uint8_t *y);

/**
 * x = (x + v) mod 2^256.
 *
 * @param[in,out] x  32 bytes.
 * @param[in]     v  any value.
 */
QAL_API QAL_API_NONNULL() void gr341194_md_add32(uint8_t *x, uint32_t v);

/**
 * out = a ^ b, byte by byte.
 *
 * @param[out] out  n bytes; may be a or b.
 * @param[in]  a,b  n bytes each.
 * @param[in]  n    bytes; none if not positive.
 */
QAL_API void gr341194_md_mem_xor(uint8_t *out, const uint8_t *a, const uint8_t *b, int n);

#ifdef __cplusplus
}
#endif

#endif
