// GOST 28147-89 over independent blocks with AVX-512 VBMI, sixteen blocks in a pair of registers.
//
// All eight substitutions of four bits are two byte permutations of 64 entries: the place of a byte
// in its word goes into the index above its nibble. No address depends on key or data.
#include "gost28147/g28147_kernels.hpp"

#include "base/wipe.hpp"

#include <immintrin.h>

#include <string.h>

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

// Where table t, 0 for the most significant byte, puts the image of a byte under a mask of its
// bits.
constexpr uint32_t rotated(int t, uint32_t bits)
{
    const uint32_t word = bits << (24 - 8 * t);
    return word << 11 | word >> 21;
}

// Whether table t is that of two substitutions of four bits: entry b is entry b % 16 in the bits of
// the low nibble's image, entry b - b % 16 in those of the high one's, and zero elsewhere.
template<int t>
[[gnu::always_inline]] inline __m512i differences(const uint32_t *kext)
{
    const uint32_t *table = kext + 256 * t;
    const __m512i low = _mm512_and_si512(load(table), splat(rotated(t, 0x0f)));
    __m512i found = _mm512_setzero_si512();
    for (int n = 0; n < 16; n++) {
        const __m512i expected = _mm512_ternarylogic_epi32(
            low, splat(table[16 * n]), splat(rotated(t, 0xf0)), 0xf8); // low | (entry & mask)
        found = _mm512_or_si512(found, _mm512_xor_si512(expected, load(table + 16 * n)));
    }
    return found;
}

bool has_nibbles(const uint32_t *kext)
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

NibbleTables make_tables(const uint32_t *kext)
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
    const __m512i image = _mm512_or_si512(_mm512_permutexvar_epi8(low, tables.low),
                                          _mm512_permutexvar_epi8(high, tables.high));
    return _mm512_xor_si512(b, _mm512_rol_epi32(image, 11));
}

// N1 and N2 of sixteen blocks.
struct Blocks {
    __m512i a, b;
};

[[gnu::always_inline]] inline Blocks load_blocks(const uint8_t *in)
{
    const __m512i even =
        _mm512_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
    const __m512i odd = _mm512_add_epi32(even, splat(1));
    const __m512i x = load(in), y = load(in + 64);
    return {_mm512_permutex2var_epi32(x, even, y), _mm512_permutex2var_epi32(x, odd, y)};
}

// The last round leaves the halves unexchanged.
[[gnu::always_inline]] inline void store_blocks(uint8_t *out, const Blocks &blocks)
{
    const __m512i first = _mm512_setr_epi32(0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
    const __m512i second = _mm512_add_epi32(first, splat(8));
    _mm512_storeu_si512(out, _mm512_permutex2var_epi32(blocks.b, first, blocks.a));
    _mm512_storeu_si512(out + 64, _mm512_permutex2var_epi32(blocks.b, second, blocks.a));
}

[[gnu::always_inline]] inline void two_rounds(Blocks &x, const uint32_t *rk,
                                              const NibbleTables &tables)
{
    x.b = round(x.a, x.b, splat(rk[0]), tables);
    x.a = round(x.b, x.a, splat(rk[1]), tables);
}

constexpr size_t group = 16, group_size = group * g28147_block;

// Four groups side by side: one waits for its permutations most of the time.
void run_four(const uint32_t *rk, const NibbleTables &tables, const uint8_t *in, uint8_t *out)
{
    Blocks w = load_blocks(in), x = load_blocks(in + group_size),
           y = load_blocks(in + 2 * group_size), z = load_blocks(in + 3 * group_size);
#pragma GCC unroll 1
    for (int i = 0; i < 32; i += 2) {
        two_rounds(w, rk + i, tables);
        two_rounds(x, rk + i, tables);
        two_rounds(y, rk + i, tables);
        two_rounds(z, rk + i, tables);
    }
    store_blocks(out, w);
    store_blocks(out + group_size, x);
    store_blocks(out + 2 * group_size, y);
    store_blocks(out + 3 * group_size, z);
}

void run_one(const uint32_t *rk, const NibbleTables &tables, const uint8_t *in, uint8_t *out)
{
    Blocks w = load_blocks(in);
#pragma GCC unroll 1
    for (int i = 0; i < 32; i += 2)
        two_rounds(w, rk + i, tables);
    store_blocks(out, w);
}

} // namespace

void g28147_blocks_avx512(const uint32_t *rk, const uint32_t *kext, const uint8_t *in, uint8_t *out,
                          size_t blocks)
{
    // Fewer are done before the table has been looked at.
    constexpr size_t enough = 6;
    if (blocks < enough || !has_nibbles(kext)) {
        g28147_blocks_portable(rk, kext, in, out, blocks);
        return;
    }
    const NibbleTables tables = make_tables(kext);
    for (; blocks >= 4 * group; blocks -= 4 * group, in += 4 * group_size, out += 4 * group_size)
        run_four(rk, tables, in, out);
    // Up to four groups, the last of them perhaps not full.
    alignas(64) uint8_t buffer[4 * group_size];
    const size_t rest = blocks * g28147_block;
    memcpy(buffer, in, rest);
    if (blocks > 2 * group) {
        memset(buffer + rest, 0, sizeof buffer - rest);
        run_four(rk, tables, buffer, buffer);
    } else {
        memset(buffer + rest, 0, 2 * group_size - rest);
        for (size_t at = 0; at < rest; at += group_size)
            run_one(rk, tables, buffer + at, buffer + at);
    }
    memcpy(out, buffer, rest);
    base::wipe(buffer, rest);
}

} // namespace qal::gost
