/**
 * @file
 * Kuznyechik, the 128-bit block cipher of GOST R 34.12-2015 (RFC 7801), for single blocks and in
 * counter mode (GOST R 34.13-2015).
 *
 * Blocks, keys and round keys are strings in the standard's order of print: byte 0 is the
 * standard's most significant byte a15.
 *
 * Nothing is checked: every pointer must be valid. A counter-mode record is used by one thread at a
 * time; round keys and ECB records may be shared once they are made.
 *
 * Timing: with AVX-512 VBMI and GFNI all operations depend on lengths alone. Elsewhere counter mode
 * does so with AVX2 for runs of whole blocks, but for up to three blocks at their end; these, and
 * everything else, read tables of 256 bytes at addresses that depend on key and data.
 */
#ifndef QAL_KUZN_H
#define QAL_KUZN_H

#include <qal/api.h>

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Bytes of a key, of the round keys, of a block and of a counter mode's IV. */
#define KUZN_KEY_SIZE 32
#define KUZN_ROUND_KEYS_SIZE 160
#define KUZN_BLOCK_SIZE 16
#define KUZN_IV_SIZE 8

/** Single blocks under one key. */
typedef struct {
    uint8_t rk[160];    /**< round keys K1..K10, 16 bytes each */
    uint32_t direction; /**< 1 encrypts, anything else decrypts */
} kuzn_ecb_ctx;

/** A key stream. Plain data: a copy goes on from the same place. */
typedef struct {
    uint8_t rk[160];     /**< round keys K1..K10, 16 bytes each */
    uint32_t counter[4]; /**< the next block's number, least significant word first */
    uint8_t gamma[16];   /**< the current block of the key stream */
    uint32_t pos;        /**< bytes of it that are used, 0..16 */
} kuzn_ctr_ctx;

/** The substitution of GOST R 34.12-2015, clause 4.1.1. */
QAL_API extern const uint8_t kuz_pi[256];
/** Its inverse. */
QAL_API extern const uint8_t kuz_pi_inv[256];

/** Products by the constant of the name in GF(2)[x] / (x^8 + x^7 + x^6 + x + 1). */
QAL_API extern const uint8_t tab_0x94[256];
QAL_API extern const uint8_t tab_0x20[256]; /**< see tab_0x94 */
QAL_API extern const uint8_t tab_0x85[256]; /**< see tab_0x94 */
QAL_API extern const uint8_t tab_0x10[256]; /**< see tab_0x94 */
QAL_API extern const uint8_t tab_0xC2[256]; /**< see tab_0x94 */
QAL_API extern const uint8_t tab_0xC0[256]; /**< see tab_0x94 */
QAL_API extern const uint8_t tab_0x01[256]; /**< see tab_0x94 */
QAL_API extern const uint8_t tab_0xFB[256]; /**< see tab_0x94 */

/**
 * The key schedule.
 *
 * @param[out] rk   160 bytes: K1..K10.
 * @param[in]  key  32 bytes; may overlap rk.
 */
QAL_API QAL_API_NONNULL() void kuzn_setup_keys(uint8_t *rk, const uint8_t *key);

/**
 * Encrypt one block in place.
 *
 * @param[in,out] block  16 bytes.
 * @param[in]     rk     160 bytes of round keys.
 */
QAL_API QAL_API_NONNULL() void kuzn_block_enc(uint8_t *block, const uint8_t *rk);

/**
 * Set up single-block operations.
 *
 * @param[out] ctx   record.
 * @param[in]  mode  1 encrypts, anything else decrypts.
 * @param[in]  key   32 bytes.
 */
QAL_API QAL_API_NONNULL() void kuzn_ecb_init(kuzn_ecb_ctx *ctx, uint32_t mode, const uint8_t *key);

/**
 * Transform one block: what is at in goes to out, len / 16 times over.
 *
 * The positions do not advance. With separate buffers the result is that of one block, whatever len
 * says; in place the block is transformed len / 16 times in succession. Where the buffers overlap
 * in part, each time takes the 16 bytes that are at in by then. Nothing beyond the first block is
 * read or written, and with len below 16 nothing happens.
 *
 * @param[in]  ctx  record.
 * @param[in]  in   16 bytes.
 * @param[out] out  16 bytes; may be in, or overlap it.
 * @param[in]  len  bytes; a remainder below 16 is ignored.
 */
QAL_API QAL_API_NONNULL(1) void kuzn_ecb_update(const kuzn_ecb_ctx *ctx, const uint8_t *in,
                                                uint8_t *out, size_t len);

/**
 * Begin a key stream: counter = iv * 2^64.
 *
 * @param[out] ctx  record.
 * @param[in]  iv   8 bytes, most significant first. Never use one twice under a key.
 * @param[in]  key  32 bytes.
 */
QAL_API QAL_API_NONNULL() void kuzn_ctr_init(kuzn_ctr_ctx *ctx, const uint8_t *iv,
                                             const uint8_t *key);

/**
 * Encrypt or decrypt, which is the same, a piece of the message. The counter wraps modulo 2^128.
 *
 * @param[in,out] ctx  record.
 * @param[in]     in   len bytes.
 * @param[out]    out  len bytes; may be in, otherwise apart from it.
 * @param[in]     len  bytes, any number.
 */
QAL_API QAL_API_NONNULL(1) void kuzn_ctr_update(kuzn_ctr_ctx *ctx, const uint8_t *in, uint8_t *out,
                                                size_t len);

#ifdef __cplusplus
}
#endif

#endif
