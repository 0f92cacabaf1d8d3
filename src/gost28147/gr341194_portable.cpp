// The step function of GOST R 34.11-94 through the expanded table, for every x86-64 processor.
#include "base/wipe.hpp"
#include "gost28147/g28147_round.hpp"
#include "gost28147/gr341194_kernels.hpp"
#include "gost28147/gr341194_words.hpp"

#include <emmintrin.h>

namespace qal::gost {

namespace {

// P: four words of eight bytes, taken byte by byte, first from each.
void P(uint8_t *out, const Words &w)
{
    const __m128i low = _mm_unpacklo_epi8(_mm_cvtsi64_si128(static_cast<long long>(w.x[0])),
                                          _mm_cvtsi64_si128(static_cast<long long>(w.x[1])));
    const __m128i high = _mm_unpacklo_epi8(_mm_cvtsi64_si128(static_cast<long long>(w.x[2])),
                                           _mm_cvtsi64_si128(static_cast<long long>(w.x[3])));
    auto *p = reinterpret_cast<__m128i *>(out);
    _mm_storeu_si128(p, _mm_unpacklo_epi16(low, high));
    _mm_storeu_si128(p + 1, _mm_unpackhi_epi16(low, high));
}

struct Block {
    uint32_t a, b;
};

Block load_block(const uint8_t *in)
{
    return {base::load_le32(in), base::load_le32(in + 4)};
}

// The last round does not exchange the halves.
uint64_t word_of(const Block &block)
{
    return uint64_t{block.a} << 32 | block.b;
}

// The four encryptions of a step side by side, each with its own key: one alone waits for its
// look-ups most of the time.
[[gnu::always_inline]] inline Words encrypt(const uint8_t *h, const uint32_t (&key)[4][8],
                                            const uint32_t *kext)
{
    Block w = load_block(h), x = load_block(h + 8), y = load_block(h + 16), z = load_block(h + 24);
    const auto two_rounds = [&](int i, int j) __attribute__((always_inline))
    {
        w.b = g28147_f(w.a + key[0][i], w.b, kext);
        x.b = g28147_f(x.a + key[1][i], x.b, kext);
        y.b = g28147_f(y.a + key[2][i], y.b, kext);
        z.b = g28147_f(z.a + key[3][i], z.b, kext);
        w.a = g28147_f(w.b + key[0][j], w.a, kext);
        x.a = g28147_f(x.b + key[1][j], x.a, kext);
        y.a = g28147_f(y.b + key[2][j], y.a, kext);
        z.a = g28147_f(z.b + key[3][j], z.a, kext);
    };
#pragma GCC unroll 1
    for (int i = 0; i < 24; i += 2)
        two_rounds(i % 8, i % 8 + 1);
#pragma GCC unroll 1
    for (int i = 7; i > 0; i -= 2)
        two_rounds(i, i - 1);
    return {{word_of(w), word_of(x), word_of(y), word_of(z)}};
}

} // namespace

void gr341194_transpose(uint8_t *out, const uint8_t *in)
{
    P(out, load_words(in));
}

static void steps(uint8_t *H, const uint8_t *blocks, size_t n, const uint32_t *kext)
{
    uint32_t keys[4][8];
    for (; n > 0; n--, blocks += 32) {
        const Words M = load_words(blocks);
        Words U = load_words(H), V = M;
        P(reinterpret_cast<uint8_t *>(keys[0]), U ^ V);
        for (size_t i = 1; i < 4; i++) {
            U = A(U);
            if (i == 2)
                U = U ^ C3;
            V = A(A(V));
            P(reinterpret_cast<uint8_t *>(keys[i]), U ^ V);
        }
        store_words(H, mixed(load_words(H), M, encrypt(H, keys, kext)));
    }
    base::wipe(keys, sizeof keys);
}

void gr341194_steps_portable(uint8_t *H, const uint8_t *blocks, size_t n, const uint32_t *kext)
{
    base::run_on_wiped_stack<1024>([=] { steps(H, blocks, n, kext); });
}

} // namespace qal::gost
