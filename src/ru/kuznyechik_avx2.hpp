// What the two forms of the counter mode for AVX2 share: 32 blocks.
#pragma once

#include "ru/kuznyechik_field.hpp"
#include "ru/pi_avx2.hpp"

#include <immintrin.h>

#include <stdint.h>

namespace qal::ru {

namespace {

struct Avx2 {
    using Type = __m256i;
    static constexpr size_t size = 32;

    static Type load(const uint8_t *p)
    {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p));
    }
    static void store(uint8_t *p, Type v)
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(p), v);
    }
    static Type splat(uint32_t bytes) { return _mm256_set1_epi32(static_cast<int>(bytes)); }
    static Type add(Type a, Type b) { return _mm256_xor_si256(a, b); }
    static Type both(Type a, Type b) { return _mm256_and_si256(a, b); }
    static Type plus(Type a, Type b) { return _mm256_add_epi8(a, b); }
    static Type less(Type a, Type b)
    {
        const Type top = splat(0x80808080);
        return _mm256_cmpgt_epi8(add(b, top), add(a, top));
    }
    // Block 2p + q at position p of lane q.
    static Type positions()
    {
        return _mm256_setr_epi8(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30, 1, 3, 5,
                                7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31);
    }
    static Type unpack_low(Type a, Type b) { return _mm256_unpacklo_epi8(a, b); }
    static Type unpack_high(Type a, Type b) { return _mm256_unpackhi_epi8(a, b); }

    static Type substitute(Type v) { return pi_avx2(v); }
};

} // namespace

} // namespace qal::ru
