// The variants of Kuznyechik, and the names that the processor's best ones go by.
//
// Contracts of the exported names are those of <qal/kuzn.h>.
#pragma once

#include <qal/kuzn.h>

#include <stddef.h>
#include <stdint.h>

namespace qal::ru {

// Decrypts one block in place.
void kuznyechik_block_dec(uint8_t *block, const uint8_t *rk);

// out = in ^ key stream for whole blocks; counter += blocks. in may be out.
void kuznyechik_ctr_blocks(const uint8_t *rk, uint32_t *counter, const uint8_t *in, uint8_t *out,
                           size_t blocks);

void kuzn_setup_keys_portable(uint8_t *rk, const uint8_t *key);
void kuzn_block_enc_portable(uint8_t *block, const uint8_t *rk);
void kuznyechik_block_dec_portable(uint8_t *block, const uint8_t *rk);
void kuznyechik_ctr_blocks_portable(const uint8_t *rk, uint32_t *counter, const uint8_t *in,
                                    uint8_t *out, size_t blocks);

void kuznyechik_ctr_blocks_avx2(const uint8_t *rk, uint32_t *counter, const uint8_t *in,
                                uint8_t *out, size_t blocks);

void kuznyechik_ctr_blocks_avx2_gfni(const uint8_t *rk, uint32_t *counter, const uint8_t *in,
                                     uint8_t *out, size_t blocks);

void kuzn_setup_keys_avx512(uint8_t *rk, const uint8_t *key);
void kuzn_block_enc_avx512(uint8_t *block, const uint8_t *rk);
void kuznyechik_block_dec_avx512(uint8_t *block, const uint8_t *rk);
void kuznyechik_ctr_blocks_avx512(const uint8_t *rk, uint32_t *counter, const uint8_t *in,
                                  uint8_t *out, size_t blocks);

} // namespace qal::ru
