// GOST 28147-89 over independent blocks with AVX2, eight blocks in a pair of registers.
//
// A substitution of four bits is a byte shuffle, which gives 0 for an index with the top bit set:
// of the eight shuffles of a round each minds the bytes of one place in their words. No address
// depends on key or data.
#include "gost28147/g28147_kernels.hpp"

#include "base/wipe.hpp"

#include <immintrin.h>

#include <string.h>

namespace qal::gost {

namespace {

// The images of low and high nibbles, in their place in the byte, by place of the byte; both halves
// of a register are the same.
struct NibbleTables {
    __m256i low[4], high[4];
};

__m256i load(const void *p)
{
    return _mm256_loadu_si256(static_cast<const __m256i *>(p));
}

__m256i splat(uint32_t word)
{
    return _mm256_set1_epi32(static_cast<int>(word));
}

// Where table t, 0 for the most significant byte, puts the image of a byte under a mask of its
// bits.
constexpr uint32_t rotated(int t, uint32_t bits)
{
    const uint32_t word = bits << (24 - 8 * t);
    return word << 11 | word >> 21;
}

// Whether each table is that of two substitutions of four bits: entry b is entry b % 16 in the bits
// of the low nibble's image, entry b - b % 16 in those of the high one's, and zero elsewhere.
bool has_nibbles(const uint32_t *kext)
{
    __m256i found = _mm256_setzero_si256();
    for (int t = 0; t < 4; t++) {
        const uint32_t *table = kext + 256 * t;
        const __m256i low_mask = splat(rotated(t, 0x0f));
        const __m256i low0 = _mm256_and_si256(load(table), low_mask);
        const __m256i low8 = _mm256_and_si256(load(table + 8), low_mask);
        for (int n = 0; n < 16; n++) {
            const __m256i high = splat(table[16 * n] & rotated(t, 0xf0));
            found = _mm256_or_si256(
                found, _mm256_xor_si256(_mm256_or_si256(low0, high), load(table + 16 * n)));
            found = _mm256_or_si256(
                found, _mm256_xor_si256(_mm256_or_si256(low8, high), load(table + 16 * n + 8)));
        }
    }
    return _mm256_testz_si256(found, found);
}

NibbleTables make_tables(const uint32_t *kext)
{
    NibbleTables tables;
    for (int t = 0; t < 4; t++) {
        alignas(16) uint8_t low[16], high[16];
        for (int n = 0; n < 16; n++) {
            const auto image = [&](uint32_t word) {
                return static_cast<uint8_t>((word >> 11 | word << 21) >> (24 - 8 * t));
            };
            low[n] = image(kext[256 * t + n]) & 0x0f;
            high[n] = image(kext[256 * t + 16 * n]) & 0xf0;
        }
        const auto both_halves = [](const uint8_t *p) {
            return _mm256_broadcastsi128_si256(
                _mm_load_si128(reinterpret_cast<const __m128i *>(p)));
        };
        tables.low[3 - t] = both_halves(low);
        tables.high[3 - t] = both_halves(high);
    }
    return tables;
}

template<int place>
[[gnu::always_inline]] inline __m256i images(const NibbleTables &tables, __m256i low, __m256i high)
{
    const __m256i others = splat(~(0xffU << (8 * place)) & 0x80808080);
    return _mm256_xor_si256(_mm256_shuffle_epi8(tables.low[place], _mm256_or_si256(low, others)),
                            _mm256_shuffle_epi8(tables.high[place], _mm256_or_si256(high, others)));
}

[[gnu::always_inline]] inline __m256i round(__m256i a, __m256i b, __m256i key,
                                            const NibbleTables &tables)
{
    const __m256i nibble = splat(0x0f0f0f0f), sum = _mm256_add_epi32(a, key);
    const __m256i low = _mm256_and_si256(sum, nibble);
    const __m256i high = _mm256_and_si256(_mm256_srli_epi32(sum, 4), nibble);
    const __m256i image = _mm256_xor_si256(
        _mm256_xor_si256(images<0>(tables, low, high), images<1>(tables, low, high)),
        _mm256_xor_si256(images<2>(tables, low, high), images<3>(tables, low, high)));
    const __m256i left = _mm256_slli_epi32(image, 11), right = _mm256_srli_epi32(image, 21);
    return _mm256_xor_si256(_mm256_xor_si256(b, left), right);
}

// N1 and N2 of eight blocks, in an order of their own.
struct Blocks {
    __m256i a, b;
};

[[gnu::always_inline]] inline Blocks load_blocks(const uint8_t *in)
{
    const __m256 x = _mm256_castsi256_ps(load(in)), y = _mm256_castsi256_ps(load(in + 32));
    return {_mm256_castps_si256(_mm256_shuffle_ps(x, y, _MM_SHUFFLE(2, 0, 2, 0))),
            _mm256_castps_si256(_mm256_shuffle_ps(x, y, _MM_SHUFFLE(3, 1, 3, 1)))};
}

// The last round leaves the halves unexchanged.
[[gnu::always_inline]] inline void store_blocks(uint8_t *out, const Blocks &blocks)
{
    auto *p = reinterpret_cast<__m256i *>(out);
    _mm256_storeu_si256(p, _mm256_unpacklo_epi32(blocks.b, blocks.a));
    _mm256_storeu_si256(p + 1, _mm256_unpackhi_epi32(blocks.b, blocks.a));
}

[[gnu::always_inline]] inline void two_rounds(Blocks &x, const uint32_t *rk,
                                              const NibbleTables &tables)
{
    x.b = round(x.a, x.b, splat(rk[0]), tables);
    x.a = round(x.b, x.a, splat(rk[1]), tables);
}

constexpr size_t group = 8, group_size = group * g28147_block;

// Two groups side by side.
void run(const uint32_t *rk, const NibbleTables &tables, const uint8_t *in, uint8_t *out)
{
    Blocks x = load_blocks(in), y = load_blocks(in + group_size);
#pragma GCC unroll 1
    for (int i = 0; i < 32; i += 2) {
        two_rounds(x, rk + i, tables);
        two_rounds(y, rk + i, tables);
    }
    store_blocks(out, x);
    store_blocks(out + group_size, y);
}

} // namespace

void g28147_blocks_avx2(const uint32_t *rk, const uint32_t *kext, const uint8_t *in, uint8_t *out,
                        size_t blocks)
{
    // Fewer are done before the table has been looked at.
    constexpr size_t enough = 10;
    if (blocks < enough || !has_nibbles(kext)) {
        g28147_blocks_portable(rk, kext, in, out, blocks);
        return;
    }
    const NibbleTables tables = make_tables(kext);
    constexpr size_t step = 2 * group;
    for (; blocks >= step; blocks -= step, in += 2 * group_size, out += 2 * group_size)
        run(rk, tables, in, out);
    if (blocks > 0) {
        alignas(64) uint8_t buffer[2 * group_size];
        const size_t rest = blocks * g28147_block;
        memcpy(buffer, in, rest);
        memset(buffer + rest, 0, sizeof buffer - rest);
        run(rk, tables, buffer, buffer);
        memcpy(out, buffer, rest);
        base::wipe(buffer, sizeof buffer);
    }
}

} // namespace qal::gost
