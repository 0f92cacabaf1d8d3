// GOST 28147-89 over independent blocks with AVX-512 VBMI, sixteen blocks in a pair of registers.
#include "gost28147/g28147_avx512.hpp"
#include "base/wipe.hpp"
#include "gost28147/g28147_kernels.hpp"

#include <immintrin.h>

#include <string.h>

namespace qal::gost {

namespace {

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

constexpr size_t group = 16, group_size = group * g28147_block;

// n groups side by side: one waits for its permutations most of the time.
template<size_t n>
[[gnu::noinline]] void run(const uint32_t *rk, const NibbleTables &tables, const uint8_t *in,
                           uint8_t *out)
{
    Blocks x[n];
#pragma GCC unroll 16
    for (size_t k = 0; k < n; k++)
        x[k] = load_blocks(in + k * group_size);
#pragma GCC unroll 1
    for (int i = 0; i < 32; i += 2) {
#pragma GCC unroll 16
        for (size_t k = 0; k < n; k++)
            x[k].b = round(x[k].a, x[k].b, splat(rk[i]), tables);
#pragma GCC unroll 16
        for (size_t k = 0; k < n; k++)
            x[k].a = round(x[k].b, x[k].a, splat(rk[i + 1]), tables);
    }
#pragma GCC unroll 16
    for (size_t k = 0; k < n; k++)
        store_blocks(out + k * group_size, x[k]);
}

} // namespace

void g28147_blocks_avx512(const uint32_t *rk, const uint32_t *kext, const uint8_t *in, uint8_t *out,
                          size_t blocks)
{
    // For fewer blocks the check of the table costs more than it saves.
    constexpr size_t enough = 6;
    if (blocks < enough || !has_nibbles(kext)) {
        g28147_blocks_portable(rk, kext, in, out, blocks);
        return;
    }
    const NibbleTables tables = make_tables(kext);
    constexpr size_t most = 8; // groups; more do not fit into the registers
    for (; blocks >= most * group; blocks -= most * group) {
        run<most>(rk, tables, in, out);
        in += most * group_size;
        out += most * group_size;
    }
    if (blocks == 0)
        return;
    // The rest, whose last group may not be full.
    alignas(64) uint8_t buffer[most * group_size];
    const size_t rest = blocks * g28147_block;
    memcpy(buffer, in, rest);
    memset(buffer + rest, 0, sizeof buffer - rest);
    if (blocks > 4 * group)
        run<most>(rk, tables, buffer, buffer);
    else if (blocks > 2 * group)
        run<4>(rk, tables, buffer, buffer);
    else if (blocks > group)
        run<2>(rk, tables, buffer, buffer);
    else
        run<1>(rk, tables, buffer, buffer);
    memcpy(out, buffer, rest);
    base::wipe(buffer, sizeof buffer);
}

} // namespace qal::gost
