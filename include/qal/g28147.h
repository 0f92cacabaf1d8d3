/**
 * @file
 * The block cipher of GOST 28147-89 (RFC 5830) in its modes: simple replacement (ECB), the gamma
 * mode (named ofb here), gamma with feedback (CFB), and the 32-bit message authentication code
 * (named hmac here).
 *
 * Keys are 32 bytes, eight words K0..K7; blocks and IVs are 8 bytes, two words N1 and N2. Words are
 * stored least significant byte first.
 *
 * The substitution comes in as an expanded table of 1024 words, `kext`, made once by
 * g28147_make_kext() or taken from #CryptoPro_uz. Records keep the pointer, which must stay valid
 * as long as they are used. Any 1024 words are followed, also those of no S-box.
 *
 * Call order: one init, then any number of updates; for the MAC one final. A record in use belongs
 * to one thread; tables may be shared.
 *
 * Timing: long runs of independent blocks (ECB, the gamma mode, decryption in CFB) through the
 * table of an S-box depend on lengths alone on processors with AVX2. Everything else reads the
 * table at addresses that depend on key and data.
 */
#ifndef QAL_G28147_H
#define QAL_G28147_H

#include <qal/api.h>

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Bytes of a key, of a block, of an IV, of a MAC and of an S-box; words of an expanded table. */
#define G28147_KEY_SIZE 32
#define G28147_BLOCK_SIZE 8
#define G28147_IV_SIZE 8
#define G28147_MAC_SIZE 4
#define G28147_SBOX_SIZE 128
#define G28147_KEXT_WORDS 1024

/** Order of the key words in the encryption cycle 32-Z. */
QAL_API extern const uint8_t OrderEnc[32];
/** The same as #OrderEnc, in a table of its own. */
QAL_API extern const uint8_t OrderEncr[32];
/** Order of the key words in the decryption cycle 32-R. */
QAL_API extern const uint8_t OrderDec[32];
/** The same as #OrderDec, in a table of its own. */
QAL_API extern const uint8_t OrderDecr[32];

/** Expanded table of id-GostR3411-94-CryptoProParamSet (RFC 4357, section 11.2). */
QAL_API extern const uint32_t CryptoPro_uz[1024];

/** Simple replacement. */
typedef struct {
    uint32_t n1;          /**< not used, zero */
    uint32_t n2;          /**< not used, zero */
    uint32_t rk[32];      /**< key words in the order of the rounds */
    const uint32_t *kext; /**< expanded table; not owned */
} g28147_ecb_ctx;

/** Message authentication code. */
typedef struct {
    uint32_t n1;          /**< first word of the running value */
    uint32_t n2;          /**< second word of it */
    uint32_t rk[32];      /**< key words in the order of the rounds; the first 16 count */
    const uint32_t *kext; /**< expanded table; not owned */
    uint8_t pending[8];   /**< data that does not fill a block yet */
    uint32_t npending;    /**< bytes in pending, 0..7 */
    uint32_t processed;   /**< bytes absorbed; stays at 10 from there on */
} g28147_hmac_ctx;

/** Gamma mode. Plain data: a copy goes on from the same place. */
typedef struct {
    uint32_t n3;          /**< first counter */
    uint32_t n4;          /**< second counter */
    uint32_t rk[32];      /**< key words in the order of the rounds */
    const uint32_t *kext; /**< expanded table; not owned */
    uint8_t gamma[8];     /**< current block of gamma */
    uint32_t pos;         /**< bytes of it that are used, 0..8 */
} g28147_ofb_ctx;

/** Gamma with feedback. */
typedef struct {
    uint32_t r1;          /**< first word of the feedback register */
    uint32_t r2;          /**< second word of it */
    uint32_t rk[32];      /**< key words in the order of the rounds */
    const uint32_t *kext; /**< expanded table; not owned */
    uint32_t direction;   /**< 1 encrypts, anything else decrypts */
} g28147_cfb_ctx;

/**
 * Expand an S-box.
 *
 * @param[out] kext  1024 words: four tables of 256, for the most significant byte of a word first.
 * @param[in]  sbox  128 bytes, 16 rows of 8: row x has the eight images of x, that of the most
 *                   significant nibble (the standard's K8) first.
 * @return kext, or a null pointer when a byte of sbox is 16 or more; kext is then untouched.
 */
QAL_API QAL_API_RESULT QAL_API_NONNULL() uint32_t *g28147_make_kext(uint32_t *kext,
                                                                    const uint8_t *sbox);

/**
 * The cycle of 32 rounds: encryption or decryption, as the round keys are ordered.
 *
 * @param[in]  a,b   the block's words N1 and N2.
 * @param[in]  rk    32 round keys.
 * @param[in]  kext  expanded table.
 * @param[out] ra,rb the result's words.
 * @return *ra.
 */
QAL_API QAL_API_NONNULL() uint32_t g28147_32Steps(uint32_t a, uint32_t b, const uint32_t *rk,
                                                  const uint32_t *kext, uint32_t *ra, uint32_t *rb);

/**
 * The cycle of 16 rounds of the MAC; the last round exchanges the halves like the others.
 *
 * @param[in]  a,b   the block's words N1 and N2.
 * @param[in]  rk    16 round keys.
 * @param[in]  kext  expanded table.
 * @param[out] ra,rb the result's words.
 */
QAL_API QAL_API_NONNULL() void g28147_16Steps(uint32_t a, uint32_t b, const uint32_t *rk,
                                              const uint32_t *kext, uint32_t *ra, uint32_t *rb);

/**
 * Begin simple replacement.
 *
 * @param[out] ctx   record.
 * @param[in]  mode  1 encrypts, anything else decrypts.
 * @param[in]  x     key, 32 bytes.
 * @param[in]  KExt  expanded table.
 *
 * Fails: "ctx != 0", "x != 0", "KExt != 0".
 */
QAL_API void g28147_ecb_init_ext(g28147_ecb_ctx *ctx, int mode, const uint8_t *x,
                                 const uint32_t *KExt);

/**
 * Encrypt or decrypt blocks.
 *
 * @param[in]  ctx  record.
 * @param[in]  in   len bytes; not null, even when len is 0.
 * @param[out] out  len bytes; may be in, otherwise apart from it; not null.
 * @param[in]  len  bytes, a multiple of 8.
 *
 * Fails: "ctx != 0", "(len % 8 ) == 0", "! ( (in == 0) && (len>=0) )",
 * "! ( (out == 0) && (len>=0) )".
 */
QAL_API void g28147_ecb_update(const g28147_ecb_ctx *ctx, const uint8_t *in, uint8_t *out,
                               size_t len);

/**
 * Begin a MAC.
 *
 * @param[out] ctx   record.
 * @param[in]  x     key, 32 bytes.
 * @param[in]  KExt  expanded table.
 *
 * Fails: "ctx != 0", "x != 0", "KExt != 0".
 */
QAL_API void g28147_hmac_init_ext(g28147_hmac_ctx *ctx, const uint8_t *x, const uint32_t *KExt);

/**
 * Absorb data past the buffer: whole blocks, and a last one that is filled up with zeros.
 *
 * @param[in,out] ctx   record.
 * @param[in]     data  len bytes.
 * @param[in]     len   bytes.
 */
QAL_API QAL_API_NONNULL(1) void g28147_hmac_updblocks(g28147_hmac_ctx *ctx, const uint8_t *data,
                                                      size_t len);

/**
 * Absorb a piece of the message. Pieces of any lengths give the MAC of their concatenation.
 *
 * @param[in,out] ctx  record.
 * @param[in]     in   len bytes; not null, even when len is 0.
 * @param[in]     len  bytes.
 *
 * Fails: "ctx != 0", "! ( (in == 0) && (len>=0) )".
 */
QAL_API void g28147_hmac_update(g28147_hmac_ctx *ctx, const uint8_t *in, size_t len);

/**
 * Finish a MAC. A message of 8 bytes or fewer has none. The record is not reset: a second final
 * would absorb the last bytes again.
 *
 * @param[in,out] ctx   record; spent afterwards.
 * @param[out]    hmac  4 bytes.
 * @return hmac, or a null pointer, with nothing written, for a message that is too short.
 *
 * Fails: "ctx != 0", "hmac != 0".
 */
QAL_API QAL_API_RESULT uint8_t *g28147_hmac_final(g28147_hmac_ctx *ctx, uint8_t *hmac);

/**
 * Finish a MAC and compare it.
 *
 * @param[in,out] ctx   record; spent afterwards.
 * @param[in]     hmac  4 bytes.
 * @return 1 if the message has this MAC, otherwise, or if it is too short to have one, 0.
 *
 * Fails: "ctx != 0", "hmac != 0".
 */
QAL_API QAL_API_RESULT int g28147_hmac_final_verify(g28147_hmac_ctx *ctx, const uint8_t *hmac);

/**
 * Begin the gamma mode.
 *
 * @param[out] ctx   record.
 * @param[in]  x     key, 32 bytes.
 * @param[in]  iv    8 bytes. Never use one twice under a key.
 * @param[in]  KExt  expanded table.
 *
 * Fails: "ctx != 0", "x != 0", "iv != 0", "KExt != 0".
 */
QAL_API void g28147_ofb_init_ext(g28147_ofb_ctx *ctx, const uint8_t *x, const uint8_t *iv,
                                 const uint32_t *KExt);

/**
 * Encrypt or decrypt, which is the same, a piece of the message of any length.
 *
 * @param[in,out] ctx  record.
 * @param[in]     in   len bytes; not null, even when len is 0.
 * @param[out]    out  len bytes; may be in, otherwise apart from it; not null.
 * @param[in]     len  bytes.
 *
 * Fails: "ctx != 0", "! ( (in == 0) && (len>=0) )", "! ( (out == 0) && (len>=0) )".
 */
QAL_API void g28147_ofb_update(g28147_ofb_ctx *ctx, const uint8_t *in, uint8_t *out, size_t len);

/**
 * Begin gamma with feedback.
 *
 * @param[out] ctx   record.
 * @param[in]  mode  1 encrypts, anything else decrypts.
 * @param[in]  x     key, 32 bytes.
 * @param[in]  iv    8 bytes.
 * @param[in]  KExt  expanded table.
 *
 * Fails: "ctx != 0", "x != 0", "iv != 0", "KExt != 0".
 */
QAL_API void g28147_cfb_init_ext(g28147_cfb_ctx *ctx, uint32_t mode, const uint8_t *x,
                                 const uint8_t *iv, const uint32_t *KExt);

/**
 * Encrypt or decrypt a piece of the message, by g28147_cfb_enc_update_blocks() or
 * g28147_cfb_dec_update_blocks().
 *
 * @param[in,out] ctx  record.
 * @param[in]     in   len bytes; not null, even when len is 0.
 * @param[out]    out  len bytes; may be in, otherwise apart from it; not null.
 * @param[in]     len  bytes. The register advances only when it is a multiple of 8: a piece that
 * ends within a block is the last one.
 *
 * Fails: "ctx != 0", "! ( (in == 0) && (len>=0) )", "! ( (out == 0) && (len>=0) )".
 */
QAL_API void g28147_cfb_update(g28147_cfb_ctx *ctx, const uint8_t *in, uint8_t *out, size_t len);

/**
 * Encrypt, whatever the record's direction; see g28147_cfb_update().
 *
 * @param[in,out] ctx  record.
 * @param[in]     in   len bytes.
 * @param[out]    out  len bytes; may be in, otherwise apart from it.
 * @param[in]     len  bytes.
 */
QAL_API QAL_API_NONNULL(1) void g28147_cfb_enc_update_blocks(g28147_cfb_ctx *ctx, const uint8_t *in,
                                                             uint8_t *out, size_t len);

/**
 * Decrypt, whatever the record's direction; see g28147_cfb_update().
 *
 * @param[in,out] ctx  record.
 * @param[in]     in   len bytes.
 * @param[out]    out  len bytes; may be in, otherwise apart from it.
 * @param[in]     len  bytes.
 */
QAL_API QAL_API_NONNULL(1) void g28147_cfb_dec_update_blocks(g28147_cfb_ctx *ctx, const uint8_t *in,
                                                             uint8_t *out, size_t len);

#ifdef __cplusplus
}
#endif

#endif
