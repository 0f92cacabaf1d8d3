// The variants of Kuznyechik, and the names that the processor's best ones go by.
//
// Contracts of the exported names are those of <qal/kuzn.h>.
#pragma once

#include "base/variants.hpp"

#include <qal/kuzn.h>

#include <stddef.h>
#include <stdint.h>

namespace qal::ru {

// Decrypts one block in place.
void kuznyechik_block_dec(uint8_t *block, const uint8_t *rk);

// out = in ^ key stream for whole blocks; counter += blocks. in may be out.
void kuznyechik_ctr_blocks(const uint8_t *rk, uint32_t *counter, const uint8_t *in, uint8_t *out,
                           size_t blocks);

#define QAL_KUZNYECHIK_ROUTINES(V)                                                                 \
    V(kuznyechik_block_dec, avx512, portable);                                                     \
    V(kuznyechik_ctr_blocks, avx512, avx2_gfni, avx2, portable)
#define QAL_KUZNYECHIK_EXPORTS(V)                                                                  \
    V(kuzn_setup_keys, avx512, portable);                                                          \
    V(kuzn_block_enc, avx512, portable)
QAL_KUZNYECHIK_ROUTINES(QAL_DECLARE_VARIANTS);
QAL_KUZNYECHIK_EXPORTS(QAL_DECLARE_VARIANTS);

} // namespace qal::ru
