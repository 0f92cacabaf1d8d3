// Streebog's compression with AVX2 and GFNI: a whole LPS in registers, without an address or a
// branch that depends on data.
//
// Word i of a block is lane i of a pair of registers. S is the substitution by its structure. P and
// L together: byte r of output word j is the sum over i of M(r, i) * y(i, j), where y(i, j) is byte
// j of word i after S and M(r, i) are the 8x8 blocks of the standard's matrix. Lane r of the sums
// holds the bytes r of all output words: it takes products of all lanes i, which come by in four
// exchanges of the lanes of each register. A transposition of 8x8 bytes ends it.
#include "base/wipe.hpp"
#include "ru/pi_avx2.hpp"
#include "ru/streebog_kernels.hpp"
#include "ru/streebog_matrix.hpp"
#include "ru/streebog_sums.hpp"

#include <immintrin.h>

namespace qal::ru {

namespace {

// [to][from][s]: lane q of register `to` gets products of lane q ^ s of register `from`.
struct alignas(64) Matrices {
    uint64_t lane[2][2][4][4];
};

consteval Matrices make_matrices()
{
    Matrices m{};
    for (int to = 0; to < 2; to++)
        for (int from = 0; from < 2; from++)
            for (int s = 0; s < 4; s++)
                for (int q = 0; q < 4; q++)
                    m.lane[to][from][s][q] = streebog_block(4 * to + q, 4 * from + (q ^ s));
    return m;
}

constexpr Matrices matrices = make_matrices();

struct Block {
    __m256i low, high; // words 0..3 and 4..7
};

__m256i load_half(const void *p)
{
    return _mm256_loadu_si256(static_cast<const __m256i *>(p));
}

Block load(const uint8_t *p)
{
    return {load_half(p), load_half(p + 32)};
}

void store(uint8_t *p, const Block &block)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(p), block.low);
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(p + 32), block.high);
}

Block operator^(const Block &a, const Block &b)
{
    return {_mm256_xor_si256(a.low, b.low), _mm256_xor_si256(a.high, b.high)};
}

[[gnu::always_inline]] inline __m256i product(int to, int from, int s, __m256i y)
{
    return _mm256_gf2p8affine_epi64_epi8(y, load_half(matrices.lane[to][from][s]), 0);
}

// What the four exchanges y of register `from` contribute to register `to`.
[[gnu::always_inline]] inline __m256i products(int to, int from, const __m256i (&y)[4])
{
    return _mm256_xor_si256(
        _mm256_xor_si256(product(to, from, 0, y[0]), product(to, from, 1, y[1])),
        _mm256_xor_si256(product(to, from, 2, y[2]), product(to, from, 3, y[3])));
}

[[gnu::always_inline]] inline Block lps(const Block &block)
{
    const __m256i a = pi_avx2(block.low), b = pi_avx2(block.high);
    const __m256i a2 = _mm256_permute4x64_epi64(a, _MM_SHUFFLE(1, 0, 3, 2)),
                  b2 = _mm256_permute4x64_epi64(b, _MM_SHUFFLE(1, 0, 3, 2));
    const __m256i y[2][4] = {{a, _mm256_shuffle_epi32(a, _MM_SHUFFLE(1, 0, 3, 2)), a2,
                              _mm256_shuffle_epi32(a2, _MM_SHUFFLE(1, 0, 3, 2))},
                             {b, _mm256_shuffle_epi32(b, _MM_SHUFFLE(1, 0, 3, 2)), b2,
                              _mm256_shuffle_epi32(b2, _MM_SHUFFLE(1, 0, 3, 2))}};
    const __m256i low = _mm256_xor_si256(products(0, 0, y[0]), products(0, 1, y[1]));
    const __m256i high = _mm256_xor_si256(products(1, 0, y[0]), products(1, 1, y[1]));

    // Bytes of neighbouring rows side by side, then pairs of them, then fours.
    const __m256i neighbours =
        _mm256_setr_epi8(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15, 0, 8, 1, 9, 2, 10, 3,
                         11, 4, 12, 5, 13, 6, 14, 7, 15);
    const __m256i rows0123 = _mm256_shuffle_epi8(low, neighbours);
    const __m256i rows4567 = _mm256_shuffle_epi8(high, neighbours);
    const __m256i rows0145 = _mm256_permute2x128_si256(rows0123, rows4567, 0x20);
    const __m256i rows2367 = _mm256_permute2x128_si256(rows0123, rows4567, 0x31);
    const __m256i halves = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    return {_mm256_permutevar8x32_epi32(_mm256_unpacklo_epi16(rows0145, rows2367), halves),
            _mm256_permutevar8x32_epi32(_mm256_unpackhi_epi16(rows0145, rows2367), halves)};
}

// g_N(h, m)
Block compress(const Block &h, const Block &m, const Block &N)
{
    Block key = lps(h ^ N);
    Block state = key ^ m;
#pragma GCC unroll 1
    for (const auto &constant : streebog_c) {
        // Two independent chains, which the processor overlaps.
        key = lps(key ^ load(constant));
        state = lps(state) ^ key;
    }
    return state ^ h ^ m;
}

} // namespace

// What the compiler keeps on the stack of blocks and states.
constexpr size_t depth = 1024;

void streebog_lpsx64_avx2_gfni(uint8_t *out, const uint8_t *a, const uint8_t *b)
{
    base::run_on_wiped_stack<depth>([=] { store(out, lps(load(a) ^ load(b))); });
}

void streebog_gN_avx2_gfni(uint8_t *h, const uint8_t *m, const uint8_t *N)
{
    base::run_on_wiped_stack<depth>([=] { store(h, compress(load(h), load(m), load(N))); });
}

void streebog_blocks_avx2_gfni(streebog_ctx *ctx, const uint8_t *blocks, size_t n, uint64_t bits)
{
    base::run_on_wiped_stack<depth>([=]() mutable {
        Block h = load(ctx->h);
        for (; n > 0; n--, blocks += 64) {
            const Block N = load(reinterpret_cast<const uint8_t *>(ctx->N));
            add_word(ctx->N, bits);
            add_block(ctx->sigma, blocks);
            h = compress(h, load(blocks), N);
        }
        store(ctx->h, h);
    });
}

} // namespace qal::ru
