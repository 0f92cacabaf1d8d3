// The variants of Streebog's compression, and the name that the processor's best one goes by.
//
// The contracts are those of the public operations of the same names (see <qal/streebog.h>).
#ifndef QAL_RU_STREEBOG_KERNELS_HPP
#define QAL_RU_STREEBOG_KERNELS_HPP

#include "base/variants.hpp"

#include <qal/streebog.h>

#include <stddef.h>
#include <stdint.h>

namespace qal::ru {

// For each of n blocks in turn: h = g_N(h, block), N += bits, sigma += block.
void streebog_blocks(streebog_ctx *ctx, const uint8_t *blocks, size_t n, uint64_t bits);

#define QAL_STREEBOG_ROUTINES(V) V(streebog_blocks, avx512, avx2_gfni, portable)
#define QAL_STREEBOG_EXPORTS(V)                                                                    \
    V(streebog_gN, avx512, avx2_gfni, portable);                                                   \
    V(streebog_lpsx64, avx512, avx2_gfni, portable)
QAL_STREEBOG_ROUTINES(QAL_DECLARE_VARIANTS);
QAL_STREEBOG_EXPORTS(QAL_DECLARE_VARIANTS);

} // namespace qal::ru

#endif
