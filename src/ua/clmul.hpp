// Products and squares by PCLMULQDQ on registers of two words, least significant word first.
// Results must not overlap operands. Constant time. Files that are compiled for the instruction
// include this, so everything has internal linkage.
#pragma once

#include "ua/unroll.hpp"

#include <immintrin.h>
#include <stddef.h>
#include <stdint.h>

namespace qal::ua {

namespace {

#define QAL_CLMUL [[gnu::always_inline]] static inline

QAL_CLMUL __m128i sum_of(__m128i a, __m128i b)
{
    return _mm_xor_si128(a, b);
}

template<typename... Rest>
QAL_CLMUL __m128i sum_of(__m128i a, __m128i b, Rest... rest)
{
    return sum_of(_mm_xor_si128(a, b), rest...);
}

// Shifts by one word, towards higher or lower degrees.
QAL_CLMUL __m128i word_up(__m128i a)
{
    return _mm_slli_si128(a, 8);
}

QAL_CLMUL __m128i word_down(__m128i a)
{
    return _mm_srli_si128(a, 8);
}

QAL_CLMUL __m128i swapped(__m128i a)
{
    return _mm_shuffle_epi32(a, 0x4e);
}

// The barrier hides the mask from the compiler. It would choose VMOVQ between registers instead,
// which valgrind does not know.
QAL_CLMUL __m128i low_word(__m128i a)
{
    __m128i mask = _mm_set_epi64x(0, -1);
    __asm__("" : "+x"(mask));
    return _mm_and_si128(a, mask);
}

// The middle words of a and b: [high of a, low of b].
QAL_CLMUL __m128i straddled(__m128i a, __m128i b)
{
    return _mm_alignr_epi8(b, a, 8);
}

#define QAL_CLMUL_WORDS(a, i, b, j) _mm_clmulepi64_si128(a, b, (i) | (j) << 4)

// r[0..1] = a b for two words each; Karatsuba's three products.
QAL_CLMUL void multiply2(__m128i *r, __m128i a, __m128i b)
{
    const __m128i low = QAL_CLMUL_WORDS(a, 0, b, 0), high = QAL_CLMUL_WORDS(a, 1, b, 1);
    const __m128i sums = QAL_CLMUL_WORDS(sum_of(a, swapped(a)), 0, sum_of(b, swapped(b)), 0);
    const __m128i middle = sum_of(sums, low, high);
    r[0] = sum_of(low, word_up(middle));
    r[1] = sum_of(high, word_down(middle));
}

// r[0..2] = a b for three words each, with a zero word above them: six products.
QAL_CLMUL void multiply3(__m128i *r, const __m128i *a, const __m128i *b)
{
    const __m128i d0 = QAL_CLMUL_WORDS(a[0], 0, b[0], 0), d1 = QAL_CLMUL_WORDS(a[0], 1, b[0], 1),
                  d2 = QAL_CLMUL_WORDS(a[1], 0, b[1], 0);
    // [a0 + a1, .], [a0 + a2, a1 + a2]
    const __m128i a01 = sum_of(a[0], swapped(a[0])), b01 = sum_of(b[0], swapped(b[0]));
    const __m128i a2 = sum_of(a[0], _mm_unpacklo_epi64(a[1], a[1])),
                  b2 = sum_of(b[0], _mm_unpacklo_epi64(b[1], b[1]));
    const __m128i d01 = QAL_CLMUL_WORDS(a01, 0, b01, 0), d02 = QAL_CLMUL_WORDS(a2, 0, b2, 0),
                  d12 = QAL_CLMUL_WORDS(a2, 1, b2, 1);
    const __m128i both = sum_of(d0, d1);
    const __m128i word1 = sum_of(d01, both), word3 = sum_of(d12, d1, d2);
    r[0] = sum_of(d0, word_up(word1));
    r[1] = sum_of(sum_of(d02, d2), both, straddled(word1, word3));
    r[2] = sum_of(d2, word_down(word3));
}

// r[0..3] = a b for four words each: nine products.
QAL_CLMUL void multiply4(__m128i *r, const __m128i *a, const __m128i *b)
{
    __m128i middle[2];
    multiply2(r, a[0], b[0]);
    multiply2(r + 2, a[1], b[1]);
    multiply2(middle, sum_of(a[0], a[1]), sum_of(b[0], b[1]));
    const __m128i inner = sum_of(r[1], r[2]);
    r[1] = sum_of(inner, r[0], middle[0]);
    r[2] = sum_of(inner, r[3], middle[1]);
}

// r[0..6] = a b for seven words each, with a zero word above them: 24 products.
QAL_CLMUL void multiply7(__m128i *r, const __m128i *a, const __m128i *b)
{
    __m128i middle[4];
    const __m128i sum_a[2] = {sum_of(a[0], a[2]), sum_of(a[1], a[3])};
    const __m128i sum_b[2] = {sum_of(b[0], b[2]), sum_of(b[1], b[3])};
    multiply4(r, a, b);
    multiply3(r + 4, a + 2, b + 2);
    multiply4(middle, sum_a, sum_b);
    const __m128i low = sum_of(r[2], r[4]), high = sum_of(r[3], r[5]);
    r[2] = sum_of(low, r[0], middle[0]);
    r[3] = sum_of(high, r[1], middle[1]);
    r[4] = sum_of(low, r[6], middle[2]);
    r[5] = sum_of(high, middle[3]);
}

// r[0..1] = a^2 for two words: bits are spread by a table of nibbles in a register.
QAL_CLMUL void square2(__m128i *r, __m128i a)
{
    const __m128i spread = _mm_setr_epi8(0x00, 0x01, 0x04, 0x05, 0x10, 0x11, 0x14, 0x15, 0x40, 0x41,
                                         0x44, 0x45, 0x50, 0x51, 0x54, 0x55);
    const __m128i nibbles = _mm_set1_epi8(0x0f);
    const __m128i low = _mm_shuffle_epi8(spread, _mm_and_si128(a, nibbles));
    const __m128i high = _mm_shuffle_epi8(spread, _mm_and_si128(_mm_srli_epi16(a, 4), nibbles));
    r[0] = _mm_unpacklo_epi8(low, high);
    r[1] = _mm_unpackhi_epi8(low, high);
}

// Words of 32 bits from and to memory: `halves` of them, an even or odd number.
template<unsigned halves>
QAL_CLMUL void load_words(__m128i *r, const uint32_t *words)
{
    constexpr unsigned whole = halves / 4, rest = halves % 4;
    unroll<whole>([&](auto i) QAL_INLINED {
        r[i()] = _mm_loadu_si128(reinterpret_cast<const __m128i *>(words + 4 * i()));
    });
    const uint32_t *const last = words + 4 * whole;
    if constexpr (rest == 1)
        r[whole] = _mm_loadu_si32(last);
    else if constexpr (rest == 2)
        r[whole] = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(last));
    else if constexpr (rest == 3)
        r[whole] = _mm_insert_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(last)),
                                    static_cast<int>(last[2]), 2);
}

template<unsigned halves>
QAL_CLMUL void store_words(uint32_t *words, const __m128i *a)
{
    constexpr unsigned whole = halves / 4, rest = halves % 4;
    unroll<whole>([&](auto i) QAL_INLINED {
        _mm_storeu_si128(reinterpret_cast<__m128i *>(words + 4 * i()), a[i()]);
    });
    uint32_t *const last = words + 4 * whole;
    if constexpr (rest >= 2)
        _mm_storel_epi64(reinterpret_cast<__m128i *>(last), a[whole]);
    if constexpr (rest == 1 || rest == 3)
        last[rest - 1] = static_cast<uint32_t>(_mm_extract_epi32(a[whole], rest - 1));
}

} // namespace

} // namespace qal::ua
