// Streebog's compression by the table streebog_lp64, for every x86-64 processor.
//
// An LPS is 64 look-ups and 56 sums; out word j is the sum over i of table i at byte j of word i.
// The sums are made in the low halves of vector registers, which leaves the integer units to taking
// the words apart, and one row of tables is finished before the next begins: without the barriers
// both compilers reorder the look-ups until values spill.
#include "base/bytes.hpp"
#include "base/wipe.hpp"
#include "ru/streebog_kernels.hpp"
#include "ru/streebog_sums.hpp"

#include <emmintrin.h>

namespace qal::ru {

namespace {

// Two words each; members instead of an array, which gcc would keep in memory.
struct Block {
    __m128i v0, v1, v2, v3;
};

__m128i load(const uint8_t *p, size_t i)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p) + i);
}

Block load(const uint8_t *p)
{
    return {load(p, 0), load(p, 1), load(p, 2), load(p, 3)};
}

void store(uint8_t *p, const Block &block)
{
    auto *out = reinterpret_cast<__m128i *>(p);
    _mm_storeu_si128(out + 0, block.v0);
    _mm_storeu_si128(out + 1, block.v1);
    _mm_storeu_si128(out + 2, block.v2);
    _mm_storeu_si128(out + 3, block.v3);
}

Block operator^(const Block &a, const Block &b)
{
    return {_mm_xor_si128(a.v0, b.v0), _mm_xor_si128(a.v1, b.v1), _mm_xor_si128(a.v2, b.v2),
            _mm_xor_si128(a.v3, b.v3)};
}

template<bool first>
[[gnu::always_inline]] inline void look_up(__m128i &sum, const uint64_t (&table)[256],
                                           uint64_t byte)
{
    const __m128i image = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(&table[byte]));
    sum = first ? image : _mm_xor_si128(sum, image);
}

// Word i contributes to all sums.
template<size_t i>
[[gnu::always_inline]] inline void add_row(__m128i (&w)[8], const uint8_t *in)
{
    const auto &table = streebog_lp64[i];
    constexpr bool first = i == 0;
    uint64_t x = qal::base::load_le64(in + 8 * i);
    // Bytes leave in pairs from the two lowest places, which have names in the instruction set. The
    // empty statements hide that the shifts add up.
    look_up<first>(w[0], table, x & 0xff);
    look_up<first>(w[1], table, x >> 8 & 0xff);
    x >>= 16;
    __asm__("" : "+r"(x));
    look_up<first>(w[2], table, x & 0xff);
    look_up<first>(w[3], table, x >> 8 & 0xff);
    x >>= 16;
    __asm__("" : "+r"(x));
    look_up<first>(w[4], table, x & 0xff);
    look_up<first>(w[5], table, x >> 8 & 0xff);
    x >>= 16;
    __asm__("" : "+r"(x));
    look_up<first>(w[6], table, x & 0xff);
    look_up<first>(w[7], table, x >> 8);
    __asm__ volatile(""
                     : "+x"(w[0]), "+x"(w[1]), "+x"(w[2]), "+x"(w[3]), "+x"(w[4]), "+x"(w[5]),
                       "+x"(w[6]), "+x"(w[7]));
}

[[gnu::always_inline]] inline Block lps(const Block &block)
{
    // Through memory: from there each word comes into an integer register by one load.
    alignas(16) uint8_t in[64];
    store(in, block);
    __asm__ volatile("" : : "r"(in) : "memory");
    __m128i w[8];
    add_row<0>(w, in);
    add_row<1>(w, in);
    add_row<2>(w, in);
    add_row<3>(w, in);
    add_row<4>(w, in);
    add_row<5>(w, in);
    add_row<6>(w, in);
    add_row<7>(w, in);
    return {_mm_unpacklo_epi64(w[0], w[1]), _mm_unpacklo_epi64(w[2], w[3]),
            _mm_unpacklo_epi64(w[4], w[5]), _mm_unpacklo_epi64(w[6], w[7])};
}

// g_N(h, m)
Block compress(const Block &h, const Block &m, const Block &N)
{
    Block key = lps(h ^ N);
    Block state = key ^ m;
    for (const auto &constant : streebog_c) {
        // Two independent chains, whose look-ups the processor overlaps.
        key = lps(key ^ load(constant));
        state = lps(state) ^ key;
    }
    return state ^ h ^ m;
}

} // namespace

// What the compiler keeps on the stack of blocks and states.
constexpr size_t depth = 1024;

void streebog_lpsx64_portable(uint8_t *out, const uint8_t *a, const uint8_t *b)
{
    base::run_on_wiped_stack<depth>([=] { store(out, lps(load(a) ^ load(b))); });
}

void streebog_gN_portable(uint8_t *h, const uint8_t *m, const uint8_t *N)
{
    base::run_on_wiped_stack<depth>([=] { store(h, compress(load(h), load(m), load(N))); });
}

void streebog_blocks_portable(streebog_ctx *ctx, const uint8_t *blocks, size_t n, uint64_t bits)
{
    base::run_on_wiped_stack<depth>([=]() mutable {
        Block h = load(ctx->h);
        for (; n > 0; n--, blocks += 64) {
            h = compress(h, load(blocks), load(reinterpret_cast<const uint8_t *>(ctx->N)));
            add_word(ctx->N, bits);
            add_block(ctx->sigma, blocks);
        }
        store(ctx->h, h);
    });
}

} // namespace qal::ru
