// Streebog's compression with AVX-512 VBMI and GFNI: a whole LPS in registers, without a table in
// memory and without an address or a branch that depends on data.
//
// Word i of a block is lane i. S looks a byte up among 256 in four registers. P and L together:
// byte r of output word j is the sum over i of M(r, i) * y(i, j), where y(i, j) is byte j of word i
// after S and M(r, i) are the 8x8 blocks of the standard's 64x64 binary matrix. GF2P8AFFINEQB
// multiplies the eight bytes of a lane by one such block. For offsets s = 0..3 and t = 0, 4, lane q
// of
//     u_t = sum over s of M(q ^ t, q ^ s) * y(q ^ s, .)
// holds bytes r = q ^ t of the output words: s ^ t runs through all of 0..7, so that u_0 and u_4
// together cover every pair (r, i). The y(q ^ s, .) are exchanges of neighbouring lanes, and one
// byte permutation of each u_t undoes the offset and transposes.
#include "ru/pi.hpp"
#include "ru/streebog_kernels.hpp"
#include "ru/streebog_matrix.hpp"
#include "ru/streebog_sums.hpp"

#include <immintrin.h>

namespace qal::ru {

namespace {

struct alignas(64) Constants {
    uint8_t pi[4][64];
    uint64_t matrix[8][8];    // [s + t][q] = M(q ^ t, q ^ s), as GF2P8AFFINEQB wants it
    uint8_t transpose[2][64]; // for t = 0, 4
    uint8_t c[13][64];        // C1..C12 before the transposition, and zero
};

consteval Constants make_constants()
{
    Constants k{};
    for (int x = 0; x < 256; x++)
        k.pi[x / 64][x % 64] = gost_pi[x];
    for (int n = 0; n < 8; n++) {
        for (int q = 0; q < 8; q++)
            k.matrix[n][q] = streebog_block(q ^ (n & 4), q ^ (n & 3));
    }
    for (int t = 0; t < 2; t++)
        for (int q = 0; q < 8; q++)
            for (int j = 0; j < 8; j++)
                k.transpose[t][8 * j + (q ^ 4 * t)] = static_cast<uint8_t>(8 * q + j);
    for (int n = 0; n < 12; n++)
        for (int q = 0; q < 8; q++)
            for (int j = 0; j < 8; j++)
                k.c[n][8 * q + j] = streebog_c_byte(n, 8 * j + q);
    return k;
}

constexpr Constants constants = make_constants();

__m512i load(const void *p)
{
    return _mm512_loadu_si512(p);
}

__m512i add(__m512i a, __m512i b)
{
    return _mm512_xor_si512(a, b);
}

__m512i add(__m512i a, __m512i b, __m512i c)
{
    return _mm512_ternarylogic_epi64(a, b, c, 0x96);
}

// The constants in registers.
class Lps {
public:
    [[gnu::always_inline]] Lps()
    {
        for (int i = 0; i < 4; i++)
            pi_[i] = load(constants.pi[i]);
        for (int i = 0; i < 8; i++)
            matrix_[i] = load(constants.matrix[i]);
        for (int i = 0; i < 2; i++)
            transpose_[i] = load(constants.transpose[i]);
    }

    // LPS(x) + c, where c is given as it is before the transposition: it is added where nothing
    // waits for the sum.
    [[gnu::always_inline]] __m512i operator()(__m512i x, __m512i c) const
    {
        __m512i u0, u4;
        lanes(x, c, u0, u4);
        return add(_mm512_permutexvar_epi8(transpose_[0], u0),
                   _mm512_permutexvar_epi8(transpose_[1], u4));
    }

    // LPS(x) + c + d, where d is as it is afterwards.
    [[gnu::always_inline]] __m512i operator()(__m512i x, __m512i c, __m512i d) const
    {
        __m512i u0, u4;
        lanes(x, c, u0, u4);
        return add(_mm512_permutexvar_epi8(transpose_[0], u0),
                   _mm512_permutexvar_epi8(transpose_[1], u4), d);
    }

private:
    [[gnu::always_inline]] void lanes(__m512i x, __m512i c, __m512i &u0, __m512i &u4) const
    {
        // The index has seven bits; the eighth chooses between the halves of pi.
        const __m512i low = _mm512_permutex2var_epi8(pi_[0], x, pi_[1]);
        const __m512i high = _mm512_permutex2var_epi8(pi_[2], x, pi_[3]);
        const __m512i y = _mm512_mask_blend_epi8(_mm512_movepi8_mask(x), low, high);

        const __m512i y1 = _mm512_shuffle_epi32(y, _MM_PERM_BADC);
        const __m512i y2 = _mm512_shuffle_i64x2(y, y, 0xb1);
        const __m512i y3 = _mm512_shuffle_epi32(y2, _MM_PERM_BADC);
        u0 = add(product(0, y), product(1, y1), product(2, y2));
        u4 = add(product(4, y), product(5, y1), product(6, y2));
        u0 = add(u0, product(3, y3), c);
        u4 = add(u4, product(7, y3));
    }

    [[gnu::always_inline]] __m512i product(int n, __m512i y) const
    {
        return _mm512_gf2p8affine_epi64_epi8(y, matrix_[n], 0);
    }

    __m512i pi_[4], matrix_[8], transpose_[2];
};

// g_N(h, m)
[[gnu::always_inline]] inline __m512i compress(const Lps &lps, __m512i h, __m512i m, __m512i N)
{
    // key is K_n + C_n, what the next key is made from; state is what the next LPS of the message
    // takes. With the same C added to its result and key as the third sum, C falls out.
    __m512i key = lps(add(h, N), load(constants.c[0]));
    __m512i state = add(key, load(streebog_c[0]), m);
#pragma GCC unroll 1
    for (int n = 1; n <= 12; n++) {
        const __m512i c = load(constants.c[n]);
        key = lps(key, c);
        state = lps(state, c, key);
    }
    return add(state, h, m);
}

} // namespace

void streebog_lpsx64_avx512(uint8_t *out, const uint8_t *a, const uint8_t *b)
{
    _mm512_storeu_si512(out, Lps()(add(load(a), load(b)), _mm512_setzero_si512()));
}

void streebog_gN_avx512(uint8_t *h, const uint8_t *m, const uint8_t *N)
{
    _mm512_storeu_si512(h, compress(Lps(), load(h), load(m), load(N)));
}

void streebog_blocks_avx512(streebog_ctx *ctx, const uint8_t *blocks, size_t n, uint64_t bits)
{
    const Lps lps;
    __m512i h = load(ctx->h);
    for (; n > 0; n--, blocks += 64) {
        const __m512i N = load(ctx->N);
        // Long before the next block needs it.
        add_word(ctx->N, bits);
        add_block(ctx->sigma, blocks);
        h = compress(lps, h, load(blocks), N);
    }
    _mm512_storeu_si512(ctx->h, h);
}

} // namespace qal::ru
