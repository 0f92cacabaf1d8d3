// The variants of Streebog's compression, and the name that the processor's best one goes by.
//
// The contracts are those of the public operations of the same names (see <qal/streebog.h>).
#ifndef QAL_RU_STREEBOG_KERNELS_HPP
#define QAL_RU_STREEBOG_KERNELS_HPP

#include <qal/streebog.h>

#include <stddef.h>
#include <stdint.h>

namespace qal::ru {

// For each of n blocks in turn: h = g_N(h, block), N += bits, sigma += block.
void streebog_blocks(streebog_ctx *ctx, const uint8_t *blocks, size_t n, uint64_t bits);

void streebog_blocks_portable(streebog_ctx *ctx, const uint8_t *blocks, size_t n, uint64_t bits);
void streebog_gN_portable(uint8_t *h, const uint8_t *m, const uint8_t *N);
void streebog_lpsx64_portable(uint8_t *out, const uint8_t *a, const uint8_t *b);

void streebog_blocks_avx2_gfni(streebog_ctx *ctx, const uint8_t *blocks, size_t n, uint64_t bits);
void streebog_gN_avx2_gfni(uint8_t *h, const uint8_t *m, const uint8_t *N);
void streebog_lpsx64_avx2_gfni(uint8_t *out, const uint8_t *a, const uint8_t *b);

void streebog_blocks_avx512(streebog_ctx *ctx, const uint8_t *blocks, size_t n, uint64_t bits);
void streebog_gN_avx512(uint8_t *h, const uint8_t *m, const uint8_t *N);
void streebog_lpsx64_avx512(uint8_t *out, const uint8_t *a, const uint8_t *b);

} // namespace qal::ru

#endif
