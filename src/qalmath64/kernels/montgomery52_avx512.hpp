// Montgomery's multiplication in digits of 52 bits, for the multiply-and-add instructions that take
// the lower or the upper half of a 104-bit product (IFMA).
//
// A number is a few blocks of four digits; W = 2^52 and R = W^(4 blocks) >= 2^16 p. Products are
// reduced "almost": for factors a and b the result is a b / R modulo p and below a b / R + 3p.
// Factors below 2^7 p thus give results below 4p. Time depends on the number of blocks alone.
#ifndef QAL_QALMATH64_MONTGOMERY52_AVX512_HPP
#define QAL_QALMATH64_MONTGOMERY52_AVX512_HPP

#include "qalmath64/kernels/kernels.hpp"

#include <immintrin.h>

// For loops over blocks, where their number is a constant. The build may define it as nothing.
#ifndef QAL_UNROLL
#ifdef __clang__
#define QAL_UNROLL _Pragma("clang loop unroll(full)")
#else
#define QAL_UNROLL _Pragma("GCC unroll 16")
#endif
#endif

namespace qal::math {

using Block = __m256i;

constexpr unsigned digit_bits52 = 52; // W = 2^digit_bits52
constexpr size_t block_digits = 4;
constexpr size_t block_bits = block_digits * digit_bits52;
constexpr size_t block_bytes = block_bits / 8;
static_assert(8 * block_bytes == block_bits);

// The numbers of blocks for which there is code.
constexpr size_t block_counts[] = {3, 4, 5, 8, 10};
constexpr size_t most_blocks = 10;

// Moduli have 4 to 32 digits of 64 bits. R has spare_bits more than those.
constexpr size_t fewest_digits52 = 4;
constexpr size_t most_digits52 = 32;
constexpr size_t spare_bits = 16;

// Blocks for a modulus of n digits of 64 bits.
static constexpr size_t blocks_for(size_t n)
{
    size_t i = 0;
    while (block_bits * block_counts[i] < 64 * n + spare_bits)
        i++;
    return block_counts[i];
}
static_assert([] {
    for (size_t n = fewest_digits52; n <= most_digits52; n++) {
        if (block_bits * blocks_for(n) < 64 * n + spare_bits || blocks_for(n) > most_blocks)
            return false;
    }
    return true;
}());

// What products need of p. See the source for p1 and p4.
struct Modulus52 {
    Block p[most_blocks];
    Block p1[most_blocks];
    Block p4[most_blocks];
    Block k; // -1/p modulo W in each lane
};

// For p of n digits, from fewest_digits52 to most_digits52, and blocks_for(n) blocks.
QAL_KERNEL void prepare52_avx512(Modulus52 &m, const qald *p, size_t n, size_t blocks);

// r = a b / R, and r = a^2 / R; r may be a or b.
QAL_KERNEL void multiply52_avx512(Block *r, const Block *a, const Block *b, const Modulus52 &m,
                                  size_t blocks);
QAL_KERNEL void square52_avx512(Block *r, const Block *a, const Modulus52 &m, size_t blocks);

// r = a + b, below R. r may be a or b.
QAL_KERNEL void add52_avx512(Block *r, const Block *a, const Block *b, size_t blocks);

// r = floor(x 2^(8 bytes)) mod R, for x of n digits of 64 bits and bytes of either sign.
QAL_KERNEL void split52_avx512(Block *r, size_t blocks, const qald *x, size_t n, ptrdiff_t bytes);

// r = x modulo p of n digits of 64 bits, for x below 4p.
QAL_KERNEL void reduce52_avx512(qald *r, const Block *x, size_t blocks, const qald *p, size_t n);

} // namespace qal::math

#endif
