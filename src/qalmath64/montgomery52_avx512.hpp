// Montgomery's multiplication in digits of 52 bits, for the multiply-and-add instructions that take
// the lower or the upper half of a 104-bit product (IFMA).
//
// A number is `blocks` vectors of four digits; W = 2^52 and R = W^(4 blocks) >= 2^16 p. Products
// are reduced "almost": for factors a and b the result is a b / R modulo p and below a b / R + 3p.
// Factors below 2^7 p thus give results below 4p.
//
// Each step takes four digits of b and a multiple Q of p that makes four digits vanish:
//
//     T = (T + a (b0 + b1 W + b2 W^2 + b3 W^3) + Q) / W^4
//
// The sums of products that belong at one of four distances from a block's beginning have an
// accumulator each: lower halves of a[j] b[s] at s, upper halves at s + 1, where 4 is 0 of the next
// block. So no operand is ever moved by a digit; the accumulators are, once for each block, when
// they are added up to columns. A column takes 17 summands below 2^52 in each step, and stays below
// 2^61 for thirty; it is brought to a digit at the end.
//
// Q is q0 + q1 W + q2 W^2 + q3 W^3 times p' = k p, which is -1 modulo W^4. So the q are what shall
// vanish, as it stands, and what they leave is q times p4 = (p' + 1) / W^4, as many digits as p,
// from the next block on. The price is that T may be as large as W^4 p: the last step takes
// its digits one by one, three with p1 = (k p + 1) / W for k p = -1 modulo W, and one with p.
//
// Included by files that are compiled for the profile only; everything here is internal to each.
#ifndef QAL_QALMATH64_MONTGOMERY52_AVX512_HPP
#define QAL_QALMATH64_MONTGOMERY52_AVX512_HPP

#include "qalmath64/digits.hpp"

#include <immintrin.h>

// For loops over blocks, whose number is a constant wherever they are expanded.
#ifdef __clang__
#define QAL_UNROLL _Pragma("clang loop unroll(full)")
#else
#define QAL_UNROLL _Pragma("GCC unroll 16")
#endif

namespace qal::math {
namespace {

using Block = __m256i;

constexpr size_t most_blocks = 10;
constexpr uint64_t mask52 = (uint64_t{1} << 52) - 1;

// Blocks for a modulus of n digits of 64 bits, out of those for which there is code. 208 bits are
// no multiple of 64 but of 16, which leaves those that R has to have more.
constexpr size_t blocks_for(size_t n)
{
    const size_t blocks = 64 * n / 208 + 1;
    return blocks <= 3 ? 3 : blocks <= 5 ? blocks : blocks <= 8 ? 8 : 10;
}

// Calls action.operator()<blocks>() for a number out of the same.
template<class Action>
[[gnu::always_inline]] inline void with_constant(size_t blocks, Action action)
{
    switch (blocks) {
    case 3:
        return action.template operator()<3>();
    case 4:
        return action.template operator()<4>();
    case 5:
        return action.template operator()<5>();
    case 8:
        return action.template operator()<8>();
    default:
        return action.template operator()<10>();
    }
}

struct Modulus52 {
    Block p[most_blocks];
    Block p1[most_blocks];
    Block p4[most_blocks];
    Block k; // -1/p modulo W in each lane
};

[[gnu::always_inline]] inline Block lo(Block sum, Block a, Block b)
{
    return _mm256_madd52lo_epu64(sum, a, b);
}

[[gnu::always_inline]] inline Block hi(Block sum, Block a, Block b)
{
    return _mm256_madd52hi_epu64(sum, a, b);
}

[[gnu::always_inline]] inline Block add(Block a, Block b)
{
    return _mm256_add_epi64(a, b);
}

// Digits moved up by `count` places, those of the block below following.
template<int count>
[[gnu::always_inline]] inline Block move_up(Block x, Block below)
{
    return _mm256_alignr_epi64(x, below, 4 - count);
}

// A block's sums at each of the four distances, and those of the next block at the first.
struct Sums {
    Block at0, at1, at2, at3, next;
};

[[gnu::always_inline]] inline Sums sums_from(Block at0)
{
    const Block zero = _mm256_setzero_si256();
    return {at0, zero, zero, zero, zero};
}

// Adds a (b0, b1, b2, b3).
[[gnu::always_inline]] inline void add_products(Sums &s, Block a, const Block b[4])
{
    s.at0 = lo(s.at0, a, b[0]);
    s.at1 = hi(s.at1, a, b[0]);
    s.at2 = hi(s.at2, a, b[1]);
    s.at3 = hi(s.at3, a, b[2]);
    s.next = hi(s.next, a, b[3]);
    s.at1 = lo(s.at1, a, b[1]);
    s.at2 = lo(s.at2, a, b[2]);
    s.at3 = lo(s.at3, a, b[3]);
}

// Adds (q0, q1, q2) p1 W and q3 p.
[[gnu::always_inline]] inline void add_last_multiples(Sums &s, Block p1, Block p, const Block q[4])
{
    s.at1 = lo(s.at1, p1, q[0]);
    s.at2 = hi(s.at2, p1, q[0]);
    s.at3 = hi(s.at3, p1, q[1]);
    s.next = hi(s.next, p1, q[2]);
    s.at2 = lo(s.at2, p1, q[1]);
    s.at3 = lo(s.at3, p1, q[2]);
    s.next = hi(s.next, p, q[3]);
    s.at3 = lo(s.at3, p, q[3]);
}

// A block's columns, all distances added up.
[[gnu::always_inline]] inline Block columns(const Sums &s, const Sums &before)
{
    return add(add(s.at0, move_up<1>(s.at1, before.at1)),
               add(move_up<2>(s.at2, before.at2), move_up<3>(s.at3, before.at3)));
}

// What a column carries to the next one, alone in its place.
template<int column>
[[gnu::always_inline]] inline Block carry_of(Block x)
{
    const Block carry = _mm256_srli_epi64(x, 52);
    if constexpr (column == 3)
        return _mm256_maskz_permutex_epi64(1, carry, 0xff);
    else if constexpr (column == 1)
        return _mm256_maskz_permutex_epi64(4, carry, 0x90);
    else
        return _mm256_maskz_unpacklo_epi64(2 << column, _mm256_setzero_si256(), carry);
}

template<int column>
[[gnu::always_inline]] inline Block broadcast(Block x)
{
    if constexpr (column == 0)
        return _mm256_broadcastq_epi64(_mm256_castsi256_si128(x));
    else
        return _mm256_permutex_epi64(x, 0x55 * column);
}

// The lowest block's digits, which are the q of a step that is not the last; returns what it
// carries to the next block. Multiplications take no more than 52 bits of the q.
[[gnu::always_inline]] inline Block find_multiples(Block q[4], Block low)
{
    q[0] = broadcast<0>(low);
    low = add(low, carry_of<0>(low));
    q[1] = broadcast<1>(low);
    low = add(low, carry_of<1>(low));
    q[2] = broadcast<2>(low);
    low = add(low, carry_of<2>(low));
    q[3] = broadcast<3>(low);
    return carry_of<3>(low);
}

// The same for the last step: each q has its effect on the columns above it.
[[gnu::always_inline]] inline Block find_last_multiples(Block q[4], Block low, const Modulus52 &m)
{
    const Block zero = _mm256_setzero_si256(), p = m.p1[0];
    const Block p_1 = move_up<1>(p, zero), p_2 = move_up<2>(p, zero), p_3 = move_up<3>(p, zero);
    q[0] = broadcast<0>(low);
    low = add(lo(low, p_1, q[0]), carry_of<0>(low));
    q[1] = broadcast<1>(low);
    low = add(lo(low, p_2, q[1]), add(carry_of<1>(low), hi(zero, p_2, q[0])));
    q[2] = broadcast<2>(low);
    low = add(lo(low, p_3, q[2]), add(carry_of<2>(low), hi(zero, p_3, q[1])));
    q[3] = broadcast<3>(lo(zero, low, m.k));
    return carry_of<3>(lo(low, move_up<3>(m.p[0], zero), q[3]));
}

[[gnu::always_inline]] inline void broadcast_all(Block b[4], const Block *digits)
{
    const auto *from = reinterpret_cast<const long long *>(digits);
    for (int s = 0; s < 4; s++)
        b[s] = _mm256_set1_epi64x(from[s]);
}

// A product that is being made: the columns from the second block on, and of the step to come the
// lowest block's sums and multiples. Where two products are made, their steps take turns, so that
// each finds its multiples while the other multiplies.
struct Product52 {
    Block t[most_blocks + 1];
    Sums first;
    Block q[4];
};

// The second factor's blocks: all of a for a product with anything else. In a square the products
// of different blocks are made once and doubled: step i takes block i of a, those behind it of 2a,
// and none before it. The bit that block i of 2a carries into the next one does not belong there.
struct Whole {
    const Block *a;
    [[gnu::always_inline]] bool has(size_t) const { return true; }
    [[gnu::always_inline]] Block operator[](size_t j) const { return a[j]; }
};
struct Doubled {
    const Block *a, *twice;
    size_t i;
    [[gnu::always_inline]] bool has(size_t j) const { return j >= i; }
    [[gnu::always_inline]] Block operator[](size_t j) const
    {
        return j == i       ? a[j]
               : j == i + 1 ? _mm256_and_si256(twice[j], _mm256_set_epi64x(-1, -1, -1, -2))
                            : twice[j];
    }
};

// The lowest block of a step, on which it is `low` that is known so far.
template<class Factor>
[[gnu::always_inline]] inline void begin_step(Product52 &x, Block low, Factor a, const Block *b,
                                              const Modulus52 &m, bool last)
{
    const Block zero = _mm256_setzero_si256();
    x.first = sums_from(zero);
    if (a.has(0)) {
        Block digits[4];
        broadcast_all(digits, b);
        add_products(x.first, a[0], digits);
        low = add(low, columns(x.first, sums_from(zero)));
    }
    const Block carry = last ? find_last_multiples(x.q, low, m) : find_multiples(x.q, low);
    x.first.next = add(x.first.next, carry);
}

// The step's other blocks. The lowest block of what comes out goes to `use` as soon as it is there.
template<class Factor, class Use>
[[gnu::always_inline]] inline void finish_step(Product52 &x, Factor a, const Block *b,
                                               const Modulus52 &m, size_t blocks, bool last,
                                               Use use)
{
    Block digits[4], q[4] = {x.q[0], x.q[1], x.q[2], x.q[3]};
    broadcast_all(digits, b);
    Sums before = x.first;
    if (last)
        add_last_multiples(before, m.p1[0], m.p[0], q);
    QAL_UNROLL
    for (size_t j = 1; j < blocks; j++) {
        Sums s = sums_from(before.next);
        if (a.has(j))
            add_products(s, a[j], digits);
        if (last)
            add_last_multiples(s, m.p1[j], m.p[j], q);
        else
            add_products(s, m.p4[j - 1], q);
        const Block column = add(columns(s, before), x.t[j]);
        if (j == 1)
            use(column);
        else
            x.t[j - 1] = column;
        before = s;
    }
    Sums s = sums_from(before.next);
    if (!last)
        add_products(s, m.p4[blocks - 1], q);
    x.t[blocks - 1] = add(columns(s, before), x.t[blocks]);
    if (!last)
        x.t[blocks] = columns(sums_from(s.next), s);
}

template<class Factor>
[[gnu::always_inline]] inline void step(Product52 &x, Factor a, Factor next, const Block *b,
                                        const Modulus52 &m, size_t blocks, bool before_last)
{
    finish_step(x, a, b, m, blocks, false, [&](Block low) [[gnu::always_inline]] {
        begin_step(x, low, next, b + 1, m, before_last);
    });
}

template<class Factor>
[[gnu::always_inline]] inline void last_step(Product52 &x, Factor a, const Block *b,
                                             const Modulus52 &m, size_t blocks)
{
    finish_step(x, a, b, m, blocks, true, [&](Block low) [[gnu::always_inline]] { x.t[0] = low; });
}

[[gnu::always_inline]] inline void clear(Block *t, size_t blocks)
{
    QAL_UNROLL
    for (size_t j = 0; j < blocks; j++)
        t[j] = _mm256_setzero_si256();
}

// r = 2a, below R.
[[gnu::always_inline]] inline void twice(Block *r, const Block *a, size_t blocks)
{
    const Block mask = _mm256_set1_epi64x(mask52);
    Block before = _mm256_setzero_si256();
    QAL_UNROLL
    for (size_t j = 0; j < blocks; j++) {
        const Block carry = _mm256_srli_epi64(a[j], 51);
        r[j] = _mm256_or_si256(_mm256_and_si256(_mm256_slli_epi64(a[j], 1), mask),
                               move_up<1>(carry, before));
        before = carry;
    }
}

// Columns to digits. What a column holds beyond 52 bits goes to the next one, which may then hold
// 2^52 or a little more; the carries of that are found for all digits at once, as those of an
// addition are: bits of `full` let pass what bits of `over` send.
[[gnu::always_inline]] inline void normalise(Block *r, const Block *t, size_t blocks)
{
    const Block mask = _mm256_set1_epi64x(mask52);
    Block before = _mm256_setzero_si256(), x[most_blocks];
    uint64_t over = 0, full = 0;
    QAL_UNROLL
    for (size_t j = 0; j < blocks; j++) {
        const Block carry = _mm256_srli_epi64(t[j], 52);
        x[j] = add(_mm256_and_si256(t[j], mask), move_up<1>(carry, before));
        before = carry;
        over |= uint64_t{_mm256_cmpgt_epu64_mask(x[j], mask)} << (4 * j);
        full |= uint64_t{_mm256_cmpeq_epu64_mask(x[j], mask)} << (4 * j);
    }
    const uint64_t carries = (2 * over + full) ^ full;
    QAL_UNROLL
    for (size_t j = 0; j < blocks; j++) {
        const auto here = static_cast<__mmask8>(carries >> (4 * j) & 15);
        r[j] =
            _mm256_and_si256(_mm256_mask_sub_epi64(x[j], here, x[j], _mm256_set1_epi64x(-1)), mask);
    }
}

// r = a b / R; r may be a or b.
[[gnu::always_inline]] inline void multiply_blocks(Block *r, const Block *a, const Block *b,
                                                   const Modulus52 &m, size_t blocks)
{
    Product52 x;
    const Whole factor = {a};
    clear(x.t, blocks + 1);
    begin_step(x, x.t[0], factor, b, m, blocks == 1);
    size_t i = 0;
    for (; i + 2 < blocks; i++)
        step(x, factor, factor, b + i, m, blocks, false);
    step(x, factor, factor, b + i, m, blocks, true);
    last_step(x, factor, b + i + 1, m, blocks);
    normalise(r, x.t, blocks);
}

// r = a^2 / R; r may be a.
[[gnu::always_inline]] inline void square_blocks(Block *r, const Block *a, const Modulus52 &m,
                                                 size_t blocks)
{
    Product52 x;
    Block d[most_blocks];
    clear(x.t, blocks + 1);
    twice(d, a, blocks);
    begin_step(x, x.t[0], Doubled{a, d, 0}, a, m, blocks == 1);
    size_t i = 0;
    for (; i + 2 < blocks; i++)
        step(x, Doubled{a, d, i}, Doubled{a, d, i + 1}, a + i, m, blocks, false);
    step(x, Doubled{a, d, i}, Doubled{a, d, i + 1}, a + i, m, blocks, true);
    last_step(x, Doubled{a, d, i + 1}, a + i + 1, m, blocks);
    normalise(r, x.t, blocks);
}

[[gnu::always_inline]] inline void multiply_pair(Block *r0, const Block *a0, const Block *b0,
                                                 const Modulus52 &m0, Block *r1, const Block *a1,
                                                 const Block *b1, const Modulus52 &m1,
                                                 size_t blocks)
{
    Product52 x, y;
    const Whole f0 = {a0}, f1 = {a1};
    clear(x.t, blocks + 1);
    clear(y.t, blocks + 1);
    begin_step(x, x.t[0], f0, b0, m0, blocks == 1);
    begin_step(y, y.t[0], f1, b1, m1, blocks == 1);
    size_t i = 0;
    for (; i + 2 < blocks; i++) {
        step(x, f0, f0, b0 + i, m0, blocks, false);
        step(y, f1, f1, b1 + i, m1, blocks, false);
    }
    step(x, f0, f0, b0 + i, m0, blocks, true);
    step(y, f1, f1, b1 + i, m1, blocks, true);
    last_step(x, f0, b0 + i + 1, m0, blocks);
    last_step(y, f1, b1 + i + 1, m1, blocks);
    normalise(r0, x.t, blocks);
    normalise(r1, y.t, blocks);
}

[[gnu::always_inline]] inline void square_pair(Block *r0, const Block *a0, const Modulus52 &m0,
                                               Block *r1, const Block *a1, const Modulus52 &m1,
                                               size_t blocks)
{
    Product52 x, y;
    Block d0[most_blocks], d1[most_blocks];
    clear(x.t, blocks + 1);
    clear(y.t, blocks + 1);
    twice(d0, a0, blocks);
    twice(d1, a1, blocks);
    begin_step(x, x.t[0], Doubled{a0, d0, 0}, a0, m0, blocks == 1);
    begin_step(y, y.t[0], Doubled{a1, d1, 0}, a1, m1, blocks == 1);
    size_t i = 0;
    for (; i + 2 < blocks; i++) {
        step(x, Doubled{a0, d0, i}, Doubled{a0, d0, i + 1}, a0 + i, m0, blocks, false);
        step(y, Doubled{a1, d1, i}, Doubled{a1, d1, i + 1}, a1 + i, m1, blocks, false);
    }
    step(x, Doubled{a0, d0, i}, Doubled{a0, d0, i + 1}, a0 + i, m0, blocks, true);
    step(y, Doubled{a1, d1, i}, Doubled{a1, d1, i + 1}, a1 + i, m1, blocks, true);
    last_step(x, Doubled{a0, d0, i + 1}, a0 + i + 1, m0, blocks);
    last_step(y, Doubled{a1, d1, i + 1}, a1 + i + 1, m1, blocks);
    normalise(r0, x.t, blocks);
    normalise(r1, y.t, blocks);
}

} // namespace
} // namespace qal::math

#endif
