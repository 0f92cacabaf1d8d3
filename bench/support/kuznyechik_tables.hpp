// Kuznyechik as it is usually written for speed: sixteen tables of 256 blocks, 64 KiB in all, which
// hold substitution and linear map together. A stand-in for implementations that are not packaged.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qal::bench {

void table_kuznyechik_keys(uint8_t *rk, const uint8_t *key);
void table_kuznyechik_encrypt(uint8_t *block, const uint8_t *rk);
// The counter is 16 bytes, most significant first, and stays as it is.
void table_kuznyechik_ctr(const uint8_t *rk, const uint8_t *counter, const uint8_t *in,
                          uint8_t *out, size_t size);

} // namespace qal::bench
