// What the forms for AVX-512 VBMI share: the eight substitutions of four bits of a word as two byte
// permutations of 64 entries, in which the place of a byte in its word goes into the index above
// its nibble. No address depends on key or data.
#pragma once

#include "gost28147/g28147_sbox.hpp"

#include <immintrin.h>

#include <stdint.h>

namespace qal::gost {

namespace {

// The images of low and high nibbles, in their place in the byte, by place of the byte and nibble.
struct NibbleTables {
    __m512i low, high;
};

__m512i load(const void *p)
{
    return _mm512_loadu_si512(p);
}

__m512i splat(uint32_t word)
{
    return _mm512_set1_epi32(static_cast<int>(word));
}

// Whether table t is that of two substitutions of four bits: entry b is entry b % 16 in the bits of
// the low nibble's image, entry b - b % 16 in those of the high one's, and zero elsewhere.
template<int t>
[[gnu::always_inline]] inline __m512i differences(const uint32_t *kext)
{
    const uint32_t *table = kext + 256 * t;
    const __m512i low = _mm512_and_si512(load(table), splat(g28147_rotated(t, 0x0f)));
    __m512i found = _mm512_setzero_si512();
    for (int n = 0; n < 16; n++) {
        const __m512i expected =
            _mm512_ternarylogic_epi32(low, splat(table[16 * n]), splat(g28147_rotated(t, 0xf0)),
                                      0xf8); // low | (entry & mask)
        found = _mm512_or_si512(found, _mm512_xor_si512(expected, load(table + 16 * n)));
    }
    return found;
}

[[maybe_unused]] bool has_nibbles(const uint32_t *kext)
{
    const __m512i found =
        _mm512_or_si512(_mm512_or_si512(differences<0>(kext), differences<1>(kext)),
                        _mm512_or_si512(differences<2>(kext), differences<3>(kext)));
    return _mm512_test_epi32_mask(found, found) == 0;
}

// Sixteen words of table t as bytes, under a mask.
template<int t>
[[gnu::always_inline]] inline __m128i images(__m512i words, uint32_t mask)
{
    const __m512i bytes = _mm512_srli_epi32(_mm512_ror_epi32(words, 11), 24 - 8 * t);
    return _mm512_cvtepi32_epi8(_mm512_and_si512(bytes, splat(mask)));
}

template<int t>
[[gnu::always_inline]] inline __m128i low_images(const uint32_t *kext)
{
    return images<t>(load(kext + 256 * t), 0x0f);
}

template<int t>
[[gnu::always_inline]] inline __m128i high_images(const uint32_t *kext)
{
    const __m512i every_16th =
        _mm512_setr_epi32(0, 16, 32, 48, 64, 80, 96, 112, 128, 144, 160, 176, 192, 208, 224, 240);
    return images<t>(_mm512_i32gather_epi32(every_16th, kext + 256 * t, 4), 0xf0);
}

__m512i joined(__m128i a, __m128i b, __m128i c, __m128i d)
{
    const __m512i low = _mm512_inserti32x4(_mm512_castsi128_si512(a), b, 1);
    return _mm512_inserti32x4(_mm512_inserti32x4(low, c, 2), d, 3);
}

[[maybe_unused]] NibbleTables make_tables(const uint32_t *kext)
{
    // Byte 0 of a word is the least significant one, that of table 3.
    return {
        joined(low_images<3>(kext), low_images<2>(kext), low_images<1>(kext), low_images<0>(kext)),
        joined(high_images<3>(kext), high_images<2>(kext), high_images<1>(kext),
               high_images<0>(kext))};
}

[[gnu::always_inline]] inline __m512i round(__m512i a, __m512i b, __m512i key,
                                            const NibbleTables &tables)
{
    const __m512i nibble = splat(0x0f0f0f0f), place = splat(0x30201000);
    const __m512i sum = _mm512_add_epi32(a, key);
    const __m512i low = _mm512_ternarylogic_epi32(place, sum, nibble, 0xf8);
    const __m512i high = _mm512_ternarylogic_epi32(place, _mm512_srli_epi32(sum, 4), nibble, 0xf8);
    // b + rol(low | high), with b turned back beforehand: one step less for the images to wait.
    return _mm512_rol_epi32(
        _mm512_ternarylogic_epi32(_mm512_ror_epi32(b, 11), _mm512_permutexvar_epi8(low, tables.low),
                                  _mm512_permutexvar_epi8(high, tables.high), 0x1e),
        11);
}

} // namespace

} // namespace qal::gost
