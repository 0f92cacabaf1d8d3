// GOST 28147-89 over independent blocks with AVX2, 32 blocks at a time in byte slices: a register
// holds one byte of all blocks, so that a substitution of four bits is one byte shuffle. No address
// depends on key or data.
#include "gost28147/g28147_kernels.hpp"
#include "gost28147/g28147_sbox.hpp"

#include "base/wipe.hpp"

#include <immintrin.h>

#include <string.h>

namespace qal::gost {

namespace {

// The images of a byte's nibbles after the rotation by 11 bits. That of byte j goes to byte j + 1,
// three bits higher: the low nibble's image and the lowest bit of the high one's stay in that byte,
// the rest of the high one's comes into byte j + 2. Both halves of a register are the same.
struct NibbleTables {
    __m256i low[4], high[4], over[4];
};

__m256i load(const void *p)
{
    return _mm256_loadu_si256(static_cast<const __m256i *>(p));
}

__m256i splat(uint32_t word)
{
    return _mm256_set1_epi32(static_cast<int>(word));
}

// Whether each table is that of two substitutions of four bits: entry b is entry b % 16 in the bits
// of the low nibble's image, entry b - b % 16 in those of the high one's, and zero elsewhere.
bool has_nibbles(const uint32_t *kext)
{
    __m256i found = _mm256_setzero_si256();
    for (int t = 0; t < 4; t++) {
        const uint32_t *table = kext + 256 * t;
        const __m256i low_mask = splat(g28147_rotated(t, 0x0f));
        const __m256i low0 = _mm256_and_si256(load(table), low_mask);
        const __m256i low8 = _mm256_and_si256(load(table + 8), low_mask);
        for (int n = 0; n < 16; n++) {
            const __m256i high = splat(table[16 * n] & g28147_rotated(t, 0xf0));
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
        alignas(16) uint8_t low[16], high[16], over[16];
        for (int n = 0; n < 16; n++) {
            const auto image = [&](uint32_t word) {
                return (word >> 11 | word << 21) >> (24 - 8 * t) & 0xff;
            };
            const uint32_t upper = image(kext[256 * t + 16 * n]) >> 4;
            low[n] = static_cast<uint8_t>((image(kext[256 * t + n]) & 0x0f) << 3);
            high[n] = static_cast<uint8_t>(upper << 7);
            over[n] = static_cast<uint8_t>(upper >> 1);
        }
        const auto both_halves = [](const uint8_t *p) {
            return _mm256_broadcastsi128_si256(
                _mm_load_si128(reinterpret_cast<const __m128i *>(p)));
        };
        tables.low[3 - t] = both_halves(low);
        tables.high[3 - t] = both_halves(high);
        tables.over[3 - t] = both_halves(over);
    }
    return tables;
}

__m256i splat_byte(uint32_t byte)
{
    return _mm256_set1_epi8(static_cast<char>(byte));
}

// All ones where the byte-wise sum a + k, with a carry in, came out as s with a carry out of bit 7.
__m256i carry(__m256i a, __m256i k, __m256i s)
{
    const __m256i majority =
        _mm256_or_si256(_mm256_and_si256(a, k), _mm256_andnot_si256(s, _mm256_or_si256(a, k)));
    return _mm256_cmpgt_epi8(_mm256_setzero_si256(), majority);
}

// b ^= f(a + key), in slices, least significant byte first.
[[gnu::always_inline]] inline void round(const __m256i (&a)[4], __m256i (&b)[4], uint32_t key,
                                         const NibbleTables &tables)
{
    const __m256i k0 = splat_byte(key), k1 = splat_byte(key >> 8), k2 = splat_byte(key >> 16),
                  k3 = splat_byte(key >> 24);
    const __m256i s0 = _mm256_add_epi8(a[0], k0);
    const __m256i no_carry = _mm256_cmpeq_epi8(_mm256_max_epu8(s0, k0), s0);
    const __m256i s1 = _mm256_add_epi8(_mm256_add_epi8(a[1], splat_byte((key >> 8) + 1)), no_carry);
    const __m256i s2 = _mm256_sub_epi8(_mm256_add_epi8(a[2], k2), carry(a[1], k1, s1));
    const __m256i s3 = _mm256_sub_epi8(_mm256_add_epi8(a[3], k3), carry(a[2], k2, s2));

    const __m256i nibble = splat(0x0f0f0f0f);
    const auto substitute = [&](int j, __m256i s) {
        const __m256i low = _mm256_and_si256(s, nibble);
        const __m256i high = _mm256_and_si256(_mm256_srli_epi16(s, 4), nibble);
        __m256i &next = b[(j + 1) % 4], &after = b[(j + 2) % 4];
        next = _mm256_xor_si256(next, _mm256_shuffle_epi8(tables.low[j], low));
        next = _mm256_xor_si256(next, _mm256_shuffle_epi8(tables.high[j], high));
        after = _mm256_xor_si256(after, _mm256_shuffle_epi8(tables.over[j], high));
    };
    substitute(0, s0);
    substitute(1, s1);
    substitute(2, s2);
    substitute(3, s3);
}

// With r the number of a register and p a place within 128 bits, this rotates the seven bits of (r,
// p) by one. Four of it take the byte of a block, which is p modulo 8, to r; three more undo that.
[[gnu::always_inline]] inline void shuffle(__m256i (&v)[8])
{
    const __m256i w[8] = {_mm256_unpacklo_epi8(v[0], v[4]), _mm256_unpackhi_epi8(v[0], v[4]),
                          _mm256_unpacklo_epi8(v[1], v[5]), _mm256_unpackhi_epi8(v[1], v[5]),
                          _mm256_unpacklo_epi8(v[2], v[6]), _mm256_unpackhi_epi8(v[2], v[6]),
                          _mm256_unpacklo_epi8(v[3], v[7]), _mm256_unpackhi_epi8(v[3], v[7])};
    v[0] = w[0], v[1] = w[1], v[2] = w[2], v[3] = w[3];
    v[4] = w[4], v[5] = w[5], v[6] = w[6], v[7] = w[7];
}

constexpr size_t group = 32, group_size = group * g28147_block;

void run(const uint32_t *rk, const NibbleTables &tables, const uint8_t *in, uint8_t *out)
{
    __m256i v[8] = {load(in),       load(in + 32),  load(in + 64),  load(in + 96),
                    load(in + 128), load(in + 160), load(in + 192), load(in + 224)};
    shuffle(v);
    shuffle(v);
    shuffle(v);
    shuffle(v);
    __m256i a[4] = {v[0], v[1], v[2], v[3]}, b[4] = {v[4], v[5], v[6], v[7]};
#pragma GCC unroll 1
    for (int i = 0; i < 32; i += 2) {
        round(a, b, rk[i], tables);
        round(b, a, rk[i + 1], tables);
    }
    // The last round leaves the halves unexchanged.
    v[0] = b[0], v[1] = b[1], v[2] = b[2], v[3] = b[3];
    v[4] = a[0], v[5] = a[1], v[6] = a[2], v[7] = a[3];
    shuffle(v);
    shuffle(v);
    shuffle(v);
    auto *p = reinterpret_cast<__m256i *>(out);
    _mm256_storeu_si256(p, v[0]);
    _mm256_storeu_si256(p + 1, v[1]);
    _mm256_storeu_si256(p + 2, v[2]);
    _mm256_storeu_si256(p + 3, v[3]);
    _mm256_storeu_si256(p + 4, v[4]);
    _mm256_storeu_si256(p + 5, v[5]);
    _mm256_storeu_si256(p + 6, v[6]);
    _mm256_storeu_si256(p + 7, v[7]);
}

} // namespace

void g28147_blocks_avx2(const uint32_t *rk, const uint32_t *kext, const uint8_t *in, uint8_t *out,
                        size_t blocks)
{
    // For fewer blocks the check of the table costs more than it saves.
    constexpr size_t enough = 12;
    if (blocks < enough || !has_nibbles(kext)) {
        g28147_blocks_portable(rk, kext, in, out, blocks);
        return;
    }
    const NibbleTables tables = make_tables(kext);
    for (; blocks >= group; blocks -= group, in += group_size, out += group_size)
        run(rk, tables, in, out);
    if (blocks > 0) {
        alignas(64) uint8_t buffer[group_size];
        const size_t rest = blocks * g28147_block;
        memcpy(buffer, in, rest);
        memset(buffer + rest, 0, sizeof buffer - rest);
        run(rk, tables, buffer, buffer);
        memcpy(out, buffer, rest);
        base::wipe(buffer, sizeof buffer);
    }
}

} // namespace qal::gost
