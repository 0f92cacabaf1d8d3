// Selection by masks in registers of AVX-512, for tables that are read as a whole. Internal
// linkage: only files that are compiled for AVX-512 include it. The time depends on no value.
#pragma once

#include <immintrin.h>

#include <stdint.h>

namespace qal::base {
namespace {

// All ones in every bit where a = b, zeros elsewhere.
//
// Compilers must not see that the bits are all alike: they would select by loads under a mask, and
// a load of which the mask is empty does not touch its memory.
[[gnu::always_inline]] inline __m256i mask_if_equal_256(uint64_t a, uint64_t b)
{
    __m256i mask = _mm256_cmpeq_epi64(_mm256_set1_epi64x(static_cast<int64_t>(a)),
                                      _mm256_set1_epi64x(static_cast<int64_t>(b)));
    __asm__("" : "+v"(mask));
    return mask;
}

[[gnu::always_inline]] inline __m512i mask_if_equal_512(uint64_t a, uint64_t b)
{
    __m512i mask = _mm512_movm_epi64(_mm512_cmpeq_epi64_mask(
        _mm512_set1_epi64(static_cast<int64_t>(a)), _mm512_set1_epi64(static_cast<int64_t>(b))));
    __asm__("" : "+v"(mask));
    return mask;
}

// sum | (mask & x)
[[gnu::always_inline]] inline __m256i or_under(__m256i sum, __m256i mask, __m256i x)
{
    return _mm256_ternarylogic_epi64(sum, mask, x, 0xf8);
}

[[gnu::always_inline]] inline __m512i or_under(__m512i sum, __m512i mask, __m512i x)
{
    return _mm512_ternarylogic_epi64(sum, mask, x, 0xf8);
}

} // namespace
} // namespace qal::base
