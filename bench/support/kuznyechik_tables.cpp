#include "support/kuznyechik_tables.hpp"

#include "ru/kuznyechik_field.hpp"
#include "ru/pi.hpp"

#include <emmintrin.h>

#include <cstring>

namespace qal::bench {

namespace {

struct Tables {
    alignas(64) uint8_t image[16][256][16];
    uint8_t constant[33][16];

    Tables()
    {
        for (int i = 0; i < 16; i++) {
            for (int x = 0; x < 256; x++) {
                ru::KuznyechikBlock block{};
                block.byte[i] = ru::gost_pi[x];
                std::memcpy(image[i][x], ru::kuznyechik_L(block).byte, 16);
            }
        }
        for (int i = 0; i <= 32; i++) {
            ru::KuznyechikBlock block{};
            block.byte[15] = static_cast<uint8_t>(i);
            std::memcpy(constant[i], ru::kuznyechik_L(block).byte, 16);
        }
    }
};

const Tables tables;

__m128i load(const uint8_t *p)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
}

void store(uint8_t *p, __m128i v)
{
    _mm_storeu_si128(reinterpret_cast<__m128i *>(p), v);
}

__m128i round(__m128i v)
{
    alignas(16) uint8_t bytes[16];
    store(bytes, v);
    __m128i even = _mm_setzero_si128(), odd = _mm_setzero_si128();
    for (size_t i = 0; i < 16; i += 2) {
        even = _mm_xor_si128(even, load(tables.image[i][bytes[i]]));
        odd = _mm_xor_si128(odd, load(tables.image[i + 1][bytes[i + 1]]));
    }
    return _mm_xor_si128(even, odd);
}

__m128i encrypt(__m128i v, const uint8_t *rk)
{
    for (int i = 0; i < 9; i++)
        v = round(_mm_xor_si128(v, load(rk + 16 * i)));
    return _mm_xor_si128(v, load(rk + 144));
}

} // namespace

void table_kuznyechik_keys(uint8_t *rk, const uint8_t *key)
{
    __m128i a1 = load(key), a0 = load(key + 16);
    store(rk, a1);
    store(rk + 16, a0);
    for (int i = 1; i <= 32; i++) {
        const __m128i next = _mm_xor_si128(round(_mm_xor_si128(a1, load(tables.constant[i]))), a0);
        a0 = a1;
        a1 = next;
        if (i % 8 == 0) {
            store(rk + 4 * i, a1);
            store(rk + 4 * i + 16, a0);
        }
    }
}

void table_kuznyechik_encrypt(uint8_t *block, const uint8_t *rk)
{
    store(block, encrypt(load(block), rk));
}

void table_kuznyechik_ctr(const uint8_t *rk, const uint8_t *counter, const uint8_t *in,
                          uint8_t *out, size_t size)
{
    uint64_t high, low;
    std::memcpy(&high, counter, 8);
    std::memcpy(&low, counter + 8, 8);
    low = __builtin_bswap64(low);
    for (size_t i = 0; i < size; i += 16) {
        const __m128i number = _mm_set_epi64x(static_cast<long long>(__builtin_bswap64(low++)),
                                              static_cast<long long>(high));
        store(out + i, _mm_xor_si128(load(in + i), encrypt(number, rk)));
    }
}

} // namespace qal::bench
