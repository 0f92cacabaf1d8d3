/**
 * @file
 * Streebog, the hash function of GOST R 34.11-2012 (RFC 6986), with 512 and 256 bits of output.
 *
 * Call order: an init, any number of updates, one final; the record is spent afterwards and serves
 * again after a new init.
 *
 * Every 512-bit value is a string of 64 bytes in which byte 0 is the least significant one. The
 * standard and RFC 6986 print their values most significant byte first: reverse the string to
 * compare. Where a value is an array of 64-bit words, word 0 is the least significant.
 *
 * Timing: on processors with AVX2 and GFNI all operations depend on the length of the message
 * alone. Elsewhere the hash reads its tables at addresses that depend on the message.
 */
#ifndef QAL_STREEBOG_H
#define QAL_STREEBOG_H

#include <qal/api.h>

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Bytes of the digests and of a block. */
#define STREEBOG512_SIZE 64
#define STREEBOG256_SIZE 32
#define STREEBOG_BLOCK_SIZE 64

/** A hash computation. Plain data: it may be copied to go on in two ways from a common prefix. */
typedef struct {
    uint64_t N[8];      /**< message bits processed so far, modulo 2^512 */
    uint8_t h[64];      /**< running state */
    uint64_t sigma[8];  /**< sum of all message blocks, modulo 2^512 */
    uint8_t buffer[64]; /**< message bytes that do not fill a block yet */
    uint32_t npending;  /**< number of bytes in buffer, 0..63 */
} streebog_ctx;

/**
 * The substitution, the transposition and the linear map of the standard in one table: entry
 * [i][x] is l(pi(x) * 2^(8i)), where bit k of a word (k = 0 least significant) contributes row
 * 63 - k of the standard's matrix A (GOST R 34.11-2012, clauses 5.2 and 5.4).
 */
QAL_API extern const uint64_t streebog_lp64[8][256];

/** The iteration constants C1..C12 (GOST R 34.11-2012, clause 5.5). */
QAL_API extern const uint8_t streebog_c[12][64];

/** Start value of the 256-bit hash: every byte 0x01. */
QAL_API extern const uint8_t streebog256iv[64];

/** Sixty-four zero bytes: the start value of the 512-bit hash and the N of its last two steps. */
QAL_API extern const uint8_t streebog_zero[64];

/**
 * Begin a 512-bit hash: the whole record becomes zero.
 *
 * @param[out] ctx  record.
 * @return ctx.
 */
QAL_API QAL_API_NONNULL() streebog_ctx *streebog512_init(streebog_ctx *ctx);

/**
 * Begin a 256-bit hash: the record becomes zero, its state #streebog256iv.
 *
 * @param[out] ctx  record.
 * @return ctx.
 */
QAL_API QAL_API_NONNULL() streebog_ctx *streebog256_init(streebog_ctx *ctx);

/**
 * Absorb a piece of the message. Pieces of any lengths give the hash of their concatenation.
 *
 * @param[in,out] ctx   record after an init.
 * @param[in]     data  len bytes, any alignment; may be null when len is 0.
 * @param[in]     len   bytes.
 *
 * Fails: "ctx != 0", "! (( data == 0) && ( len > 0))".
 */
QAL_API void streebog512_update(streebog_ctx *ctx, const uint8_t *data, size_t len);

/**
 * The same operation as streebog512_update(), under whose name it reports failures.
 *
 * @param[in,out] ctx   record after an init.
 * @param[in]     data  len bytes, any alignment; may be null when len is 0.
 * @param[in]     len   bytes.
 *
 * Fails: "ctx != 0", "! (( data == 0) && ( len > 0))".
 */
QAL_API void streebog256_update(streebog_ctx *ctx, const uint8_t *data, size_t len);

/**
 * Finish a 512-bit hash. The output comes first, the record second, unlike in the updates.
 *
 * @param[out]    out  64 bytes, least significant first.
 * @param[in,out] ctx  record; spent afterwards.
 */
QAL_API QAL_API_NONNULL() void streebog512_final(uint8_t *out, streebog_ctx *ctx);

/**
 * Finish a 256-bit hash: the more significant half of the 512-bit state.
 *
 * @param[out]    out  32 bytes, least significant first.
 * @param[in,out] ctx  record begun with streebog256_init(); spent afterwards.
 */
QAL_API QAL_API_NONNULL() void streebog256_final(uint8_t *out, streebog_ctx *ctx);

/**
 * Compress whole blocks straight from the input, leaving the buffer alone.
 *
 * @param[in,out] ctx   record.
 * @param[in]     data  blocks of 64 bytes.
 * @param[in]     len   bytes; a remainder below 64 is ignored.
 */
QAL_API QAL_API_NONNULL(1) void streebog512_update_blocks(streebog_ctx *ctx, const uint8_t *data,
                                                          size_t len);

/**
 * Compress one block: h = g_N(h, block), N += bits, sigma += block.
 *
 * @param[in,out] ctx    record.
 * @param[in]     block  64 bytes.
 * @param[in]     bits   bits of the message in this block, added to N.
 */
QAL_API QAL_API_NONNULL() void streebog_update_block(streebog_ctx *ctx, const uint8_t *block,
                                                     uint64_t bits);

/**
 * The compression function g_N(h, m) = E(LPS(h ^ N), m) ^ h ^ m.
 *
 * @param[in,out] h  64 bytes of state.
 * @param[in]     m  64 bytes of message; may be h.
 * @param[in]     N  64 bytes, the count of bits before m; may be h or m.
 */
QAL_API QAL_API_NONNULL() void streebog_gN(uint8_t *h, const uint8_t *m, const uint8_t *N);

/**
 * out = LPS(a ^ b): substitution, transposition and linear map of a sum.
 *
 * @param[out] out  64 bytes; may be a or b.
 * @param[in]  a    64 bytes.
 * @param[in]  b    64 bytes; may be a.
 */
QAL_API QAL_API_NONNULL() void streebog_lpsx64(uint8_t *out, const uint8_t *a, const uint8_t *b);

/**
 * Write a 512-bit number as bytes.
 *
 * @param[out] out    64 bytes, least significant first; may be the same memory as words.
 * @param[in]  words  8 words, least significant first.
 */
QAL_API QAL_API_NONNULL() void streebog_put_block(uint8_t *out, const uint64_t *words);

/**
 * N = (N + v) mod 2^512.
 *
 * @param[in,out] N  8 words, least significant first.
 * @param[in]     v  any value.
 */
QAL_API QAL_API_NONNULL() void streebog_add(uint64_t *N, uint64_t v);

/**
 * sigma = (sigma + block) mod 2^512.
 *
 * @param[in,out] sigma  8 words, least significant first.
 * @param[in]     block  64 bytes, least significant first; may be the same memory as sigma.
 */
QAL_API QAL_API_NONNULL() void streebog_add512(uint64_t *sigma, const uint8_t *block);

#ifdef __cplusplus
}
#endif

#endif
