// Each step takes four digits of b and a multiple Q of p that makes four digits vanish:
//
//     T = (T + a (b0 + b1 W + b2 W^2 + b3 W^3) + Q) / W^4
//
// The sums of products that belong at one of four distances from a block's beginning have an
// accumulator each: lower halves of a[j] b[s] at s, upper halves at s + 1, where 4 is 0 of the next
// block. So no operand is ever moved by a digit. The accumulators are: those of the lowest block at
// each step, when they are added up to columns, all others at the end. A column has no more than 17
// summands below 2^52 from each step, and stays below 2^60.
//
// Q = q p' with q = q0 + q1 W + q2 W^2 + q3 W^3 and p' = k p, where p' = -1 modulo W^4. So the
// digits of q are simply the four lowest digits of T, and (T + Q) / W^4 adds q p4 to the blocks
// above, where p4 = (p' + 1) / W^4 has as many digits as p. The price is that T may be as large as
// W^4 p. The last step therefore takes its digits one by one: three with p1 = (k p + 1) / W for k p
// = -1 modulo W, and one with p.
#include "qalmath64/kernels/montgomery52_avx512.hpp"

#include "base/wipe.hpp"
#include "qalmath64/kernels/montgomery.hpp"

namespace qal::math {
namespace {

constexpr uint64_t mask52 = (uint64_t{1} << digit_bits52) - 1;

// Calls action.operator()<blocks>(). Numbers of blocks come from blocks_for() alone, which gives
// those of block_counts.
template<class Action>
[[gnu::always_inline]] inline void with_constant(size_t blocks, Action action)
{
    static_assert(sizeof block_counts == 5 * sizeof *block_counts);
    switch (blocks) {
    case block_counts[0]:
        return action.template operator()<block_counts[0]>();
    case block_counts[1]:
        return action.template operator()<block_counts[1]>();
    case block_counts[2]:
        return action.template operator()<block_counts[2]>();
    case block_counts[3]:
        return action.template operator()<block_counts[3]>();
    default: // which is block_counts[4]
        return action.template operator()<block_counts[4]>();
    }
}

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

// The sums of T's blocks at each of the four distances. All indices are compile-time constants,
// since the loops are unrolled, so that up to five blocks stay in registers.
template<size_t blocks>
struct Sums {
    Block at0[blocks + 1], at1[blocks + 1], at2[blocks + 1], at3[blocks + 1];
};

// Adds a (b0, b1, b2, b3) from block j on.
template<size_t blocks>
[[gnu::always_inline]] inline void add_products(Sums<blocks> &s, size_t j, Block a,
                                                const Block b[4])
{
    s.at0[j] = lo(s.at0[j], a, b[0]);
    s.at1[j] = hi(s.at1[j], a, b[0]);
    s.at2[j] = hi(s.at2[j], a, b[1]);
    s.at3[j] = hi(s.at3[j], a, b[2]);
    s.at0[j + 1] = hi(s.at0[j + 1], a, b[3]);
    s.at1[j] = lo(s.at1[j], a, b[1]);
    s.at2[j] = lo(s.at2[j], a, b[2]);
    s.at3[j] = lo(s.at3[j], a, b[3]);
}

// Adds (q0, q1, q2) p1 W and q3 p.
template<size_t blocks>
[[gnu::always_inline]] inline void add_last_multiples(Sums<blocks> &s, size_t j, Block p1, Block p,
                                                      const Block q[4])
{
    s.at1[j] = lo(s.at1[j], p1, q[0]);
    s.at2[j] = hi(s.at2[j], p1, q[0]);
    s.at3[j] = hi(s.at3[j], p1, q[1]);
    s.at0[j + 1] = hi(s.at0[j + 1], p1, q[2]);
    s.at2[j] = lo(s.at2[j], p1, q[1]);
    s.at3[j] = lo(s.at3[j], p1, q[2]);
    s.at0[j + 1] = hi(s.at0[j + 1], p, q[3]);
    s.at3[j] = lo(s.at3[j], p, q[3]);
}

// The lowest block's columns.
template<size_t blocks>
[[gnu::always_inline]] inline Block lowest(const Sums<blocks> &s)
{
    const Block zero = _mm256_setzero_si256();
    return add(add(s.at0[0], move_up<1>(s.at1[0], zero)),
               add(move_up<2>(s.at2[0], zero), move_up<3>(s.at3[0], zero)));
}

// The columns of block j, which is not the lowest.
template<size_t blocks>
[[gnu::always_inline]] inline Block columns(const Sums<blocks> &s, size_t j)
{
    return add(add(s.at0[j], move_up<1>(s.at1[j], s.at1[j - 1])),
               add(move_up<2>(s.at2[j], s.at2[j - 1]), move_up<3>(s.at3[j], s.at3[j - 1])));
}

// T / W^4, where the lowest block, which carries `carry`, has vanished but for what of its sums
// belongs to the next one.
template<size_t blocks>
[[gnu::always_inline]] inline void drop_lowest(Sums<blocks> &s, Block carry)
{
    const Block zero = _mm256_setzero_si256();
    s.at0[1] =
        add(add(s.at0[1], carry), add(move_up<1>(zero, s.at1[0]),
                                      add(move_up<2>(zero, s.at2[0]), move_up<3>(zero, s.at3[0]))));
    QAL_UNROLL
    for (size_t j = 0; j < blocks; j++) {
        s.at0[j] = s.at0[j + 1];
        s.at1[j] = s.at1[j + 1];
        s.at2[j] = s.at2[j + 1];
        s.at3[j] = s.at3[j + 1];
    }
    s.at0[blocks] = zero;
}

// What a column carries to the next one, alone in its place.
template<int column>
[[gnu::always_inline]] inline Block carry_of(Block x)
{
    const Block carry = _mm256_srli_epi64(x, digit_bits52);
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

[[gnu::always_inline]] inline void broadcast_all(Block b[4], const Block &digits)
{
    const auto *from = reinterpret_cast<const long long *>(&digits);
    b[0] = _mm256_set1_epi64x(from[0]);
    b[1] = _mm256_set1_epi64x(from[1]);
    b[2] = _mm256_set1_epi64x(from[2]);
    b[3] = _mm256_set1_epi64x(from[3]);
}

// r = 2a, below R.
[[gnu::always_inline]] inline void twice(Block *r, const Block *a, size_t blocks)
{
    const Block mask = _mm256_set1_epi64x(mask52);
    Block before = _mm256_setzero_si256();
    QAL_UNROLL
    for (size_t j = 0; j < blocks; j++) {
        const Block carry = _mm256_srli_epi64(a[j], digit_bits52 - 1);
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
        const Block carry = _mm256_srli_epi64(t[j], digit_bits52);
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

// The other factor of a square in step i: products of different blocks are made once and doubled,
// so that it is block i of a, those behind it of 2a, and none before it. The bit that block i of 2a
// carries into the next one does not belong there.
[[gnu::always_inline]] inline Block doubled(const Block *a, const Block *twice_a, size_t i,
                                            size_t j)
{
    return j == i       ? a[j]
           : j == i + 1 ? _mm256_and_si256(twice_a[j], _mm256_set_epi64x(-1, -1, -1, -2))
                        : twice_a[j];
}

// r = a b / R; r may be a or b. twice_a, if given, is 2a, and b is a.
//
// As soon as a step's multiples are known, those of the next step are sought: they depend on the
// lowest block alone, and are there when all others have been multiplied.
template<size_t blocks, bool is_square>
[[gnu::always_inline]] inline void multiply_blocks(Block *r, const Block *a, const Block *b,
                                                   const Block *twice_a, const Modulus52 &m)
{
    Sums<blocks> s;
    QAL_UNROLL
    for (size_t j = 0; j <= blocks; j++)
        s.at0[j] = s.at1[j] = s.at2[j] = s.at3[j] = _mm256_setzero_si256();

    Block digits[4], q[4];
    broadcast_all(digits, b[0]);
    add_products(s, 0, a[0], digits);
    Block carry = find_multiples(q, lowest(s));
    QAL_UNROLL
    for (size_t j = 1; j < blocks; j++)
        add_products(s, j, is_square ? doubled(a, twice_a, 0, j) : a[j], digits);

    QAL_UNROLL
    for (size_t i = 1; i < blocks; i++) {
        drop_lowest(s, carry);
        broadcast_all(digits, b[i]);
        add_products(s, 0, m.p4[0], q);
        if (!is_square)
            add_products(s, 0, a[0], digits);
        Block next[4];
        carry = i + 1 < blocks ? find_multiples(next, lowest(s))
                               : find_last_multiples(next, lowest(s), m);
        QAL_UNROLL
        for (size_t j = 1; j < blocks; j++) {
            add_products(s, j, m.p4[j], q);
            if (!is_square)
                add_products(s, j, a[j], digits);
            else if (j >= i)
                add_products(s, j, doubled(a, twice_a, i, j), digits);
        }
        q[0] = next[0];
        q[1] = next[1];
        q[2] = next[2];
        q[3] = next[3];
    }

    QAL_UNROLL
    for (size_t j = 0; j < blocks; j++)
        add_last_multiples(s, j, m.p1[j], m.p[j], q);
    s.at0[1] = add(s.at0[1], carry);
    Block t[blocks];
    QAL_UNROLL
    for (size_t j = 0; j < blocks; j++)
        t[j] = columns(s, j + 1);
    normalise(r, t, blocks);
}

// Which of 32 bytes from the start-th of `size` bytes on there are.
inline __mmask32 bytes_within(ptrdiff_t start, size_t size)
{
    const ptrdiff_t left = static_cast<ptrdiff_t>(size) - start;
    uint32_t mask = left >= 32 ? ~uint32_t{0} : left <= 0 ? 0 : (uint32_t{1} << left) - 1;
    if (start < 0)
        mask = start <= -32 ? 0 : mask >> -start << -start;
    return mask;
}

// The n lowest digits of 64 bits of x.
void join(qald *r, size_t n, const Block *x, size_t blocks)
{
    const Block places =
        _mm256_set_epi64x(0x1c1b, 0x1a19181716151413, 0x1211100c0b0a0908, 0x0706050403020100);
    auto *to = reinterpret_cast<uint8_t *>(r);
    for (size_t i = 0; i < n; i++)
        r[i] = 0;
    for (size_t j = 0; j < blocks; j++) {
        // Of each two digits, the lower one with twelve bits of the other, and its forty others.
        const Block upper = _mm256_unpackhi_epi64(_mm256_slli_epi64(x[j], 52), x[j]);
        const Block pairs = _mm256_mask_srli_epi64(_mm256_or_si256(x[j], upper), 0xa, x[j], 12);
        _mm256_mask_storeu_epi8(to + block_bytes * j,
                                bytes_within(static_cast<ptrdiff_t>(block_bytes * j), 8 * n) &
                                    0x3ffffff,
                                _mm256_permutexvar_epi8(places, pairs));
    }
}

void increment(qald *x, size_t n)
{
    qald carry = 1;
    for (size_t i = 0; i < n; i++) {
        const uint128 sum = uint128{x[i]} + carry;
        x[i] = static_cast<qald>(sum);
        carry = static_cast<qald>(sum >> 64);
    }
}

// Whether products of n digits gain more than the conversions take. In between, they would have
// many digits more than they need.
constexpr bool gains(size_t n)
{
    return n == 16 || (n >= 20 && n <= most_digits52);
}
constexpr bool square_gains(size_t n)
{
    return n == 16 || (n >= 23 && n <= most_digits52);
}

// A step's multiples of p itself, which need no preparation but the longer way to them: each takes
// a product by k = -1/p modulo W. The digit that vanishes was zero before or carries one.
[[gnu::always_inline]] inline Block find_plain_multiples(Block q[4], Block low, Block p, Block k)
{
    const Block zero = _mm256_setzero_si256(), most = _mm256_set1_epi64x(mask52);
    const Block p_1 = move_up<1>(p, zero), p_2 = move_up<2>(p, zero), p_3 = move_up<3>(p, zero);
    q[0] = broadcast<0>(lo(zero, low, k));
    Block carry = add(carry_of<0>(add(low, most)), hi(zero, p_1, q[0]));
    low = add(lo(low, p, q[0]), carry);
    q[1] = broadcast<1>(lo(zero, low, k));
    carry = add(carry_of<1>(add(low, most)), hi(zero, p_2, q[1]));
    low = add(lo(low, p_1, q[1]), carry);
    q[2] = broadcast<2>(lo(zero, low, k));
    carry = add(carry_of<2>(add(low, most)), hi(zero, p_3, q[2]));
    low = add(lo(low, p_2, q[2]), carry);
    q[3] = broadcast<3>(lo(zero, low, k));
    return carry_of<3>(add(low, most));
}

// r = a b / R, below a b / R + p.
template<size_t blocks>
[[gnu::always_inline]] inline void multiply_once(Block *r, const Block *a, const Block *b,
                                                 const Block *p, Block k)
{
    Sums<blocks> s;
    QAL_UNROLL
    for (size_t j = 0; j <= blocks; j++)
        s.at0[j] = s.at1[j] = s.at2[j] = s.at3[j] = _mm256_setzero_si256();
    Block digits[4], q[4];
    broadcast_all(digits, b[0]);
    add_products(s, 0, a[0], digits);
    Block carry = find_plain_multiples(q, lowest(s), p[0], k);
    QAL_UNROLL
    for (size_t j = 1; j < blocks; j++)
        add_products(s, j, a[j], digits);
    QAL_UNROLL
    for (size_t i = 1; i < blocks; i++) {
        // The lowest block but one comes first, as the next multiples depend on it.
        add_products(s, 0, p[0], q);
        add_products(s, 1, p[1], q);
        drop_lowest(s, carry);
        broadcast_all(digits, b[i]);
        add_products(s, 0, a[0], digits);
        Block next[4];
        carry = find_plain_multiples(next, lowest(s), p[0], k);
        QAL_UNROLL
        for (size_t j = 1; j < blocks; j++) {
            if (j + 1 < blocks)
                add_products(s, j, p[j + 1], q);
            add_products(s, j, a[j], digits);
        }
        q[0] = next[0];
        q[1] = next[1];
        q[2] = next[2];
        q[3] = next[3];
    }
    QAL_UNROLL
    for (size_t j = 0; j < blocks; j++)
        add_products(s, j, p[j], q);
    s.at0[1] = add(s.at0[1], carry);
    Block t[blocks];
    QAL_UNROLL
    for (size_t j = 0; j < blocks; j++)
        t[j] = columns(s, j + 1);
    normalise(r, t, blocks);
}

} // namespace

void prepare52_avx512(Modulus52 &m, const qald *p, size_t n, size_t blocks)
{
    // k = -1/p modulo 2^256: what makes 1 + k p vanish, digit by digit.
    const qald c = montgomery_constant(p[0]);
    qald k[4], rest[4] = {1}, multiple[most_digits52 + 4];
    for (size_t i = 0; i < 4; i++) {
        k[i] = rest[i] * c;
        qal_addmul_row(rest + i, p, 4 - i, k[i]);
    }
    split52_avx512(m.p, blocks, p, n, 0);
    m.k = _mm256_set1_epi64x(static_cast<long long>(k[0] & mask52));
    multiple[n] = qal_mul_row(multiple, p, n, k[0] & mask52);
    increment(multiple, n + 1);
    shift_right(multiple, n + 1, digit_bits52);
    split52_avx512(m.p1, blocks, multiple, n + 1, 0);
    k[3] &= 0xffff;
    qal_mul_digits(multiple, p, n, k, 4);
    increment(multiple, n + 4);
    split52_avx512(m.p4, blocks, multiple, n + 4, -static_cast<ptrdiff_t>(block_bytes));
    base::wipe(k, sizeof k);
    base::wipe(rest, sizeof rest);
    base::wipe(multiple, sizeof multiple);
}

void multiply52_avx512(Block *r, const Block *a, const Block *b, const Modulus52 &m, size_t blocks)
{
    with_constant(
        blocks, [&]<size_t constant>() { multiply_blocks<constant, false>(r, a, b, nullptr, m); });
}

void square52_avx512(Block *r, const Block *a, const Modulus52 &m, size_t blocks)
{
    with_constant(blocks, [&]<size_t constant>() {
        Block twice_a[constant];
        twice(twice_a, a, constant);
        multiply_blocks<constant, true>(r, a, a, twice_a, m);
    });
}

void add52_avx512(Block *r, const Block *a, const Block *b, size_t blocks)
{
    with_constant(blocks, [&]<size_t constant>() {
        Block sum[constant];
        QAL_UNROLL
        for (size_t j = 0; j < constant; j++)
            sum[j] = add(a[j], b[j]);
        normalise(r, sum, constant);
    });
}

// A block is 26 bytes; its digits begin with byte 0, in the middle of byte 6, with byte 13, and in
// the middle of byte 19.
void split52_avx512(Block *r, size_t blocks, const qald *x, size_t n, ptrdiff_t bytes)
{
    const Block places = _mm256_set_epi64x(0x1a19181716151413, 0x14131211100f0e0d,
                                           0x0d0c0b0a09080706, 0x0706050403020100);
    const Block offsets = _mm256_set_epi64x(4, 0, 4, 0);
    const auto *from = reinterpret_cast<const uint8_t *>(x);
    for (size_t j = 0; j < blocks; j++) {
        const ptrdiff_t start = static_cast<ptrdiff_t>(block_bytes * j) - bytes;
        const Block in = _mm256_maskz_loadu_epi8(bytes_within(start, 8 * n), from + start);
        r[j] = _mm256_and_si256(_mm256_srlv_epi64(_mm256_permutexvar_epi8(places, in), offsets),
                                _mm256_set1_epi64x(mask52));
    }
}

void reduce52_avx512(qald *r, const Block *x, size_t blocks, const qald *p, size_t n)
{
    qald t[most_digits52 + 1], u[most_digits52 + 1], modulus[most_digits52 + 1];
    join(t, n + 1, x, blocks);
    for (size_t i = 0; i < n; i++)
        modulus[i] = p[i];
    modulus[n] = 0;
    subtract_once(u, t, 0, modulus, n + 1);
    subtract_once(t, u, 0, modulus, n + 1);
    subtract_once(u, t, 0, modulus, n + 1);
    for (size_t i = 0; i < n; i++)
        r[i] = u[i];
    base::wipe(t, sizeof t);
    base::wipe(u, sizeof u);
    base::wipe(modulus, sizeof modulus);
}

} // namespace qal::math

using namespace qal::math;

// Apart from the choice, which is to cost small numbers nothing.
//
// b is multiplied by 2^s, for W^(4 blocks) = 2^(64 n + s). The result is that of the other variants
// for factors that are not below p, too: a step's digits q are below W, and together they are the
// one number below W^(4 blocks) for which a b 2^s + q p is divisible by it. That is 2^s m, for the
// m below 2^(64 n) that makes a b + m p divisible by 2^(64 n), so that the quotients are the same.
[[gnu::noinline]] static void multiply_wide(qald *r, const qald *a, const qald *b, const qald *p,
                                            size_t n, qald c)
{
    const size_t blocks = blocks_for(n);
    Block x[most_blocks], y[most_blocks], modulus[most_blocks];
    split52_avx512(x, blocks, a, n, 0);
    split52_avx512(y, blocks, b, n, static_cast<ptrdiff_t>(block_bytes * blocks - 8 * n));
    split52_avx512(modulus, blocks, p, n, 0);
    const Block k = _mm256_set1_epi64x(static_cast<long long>(c & mask52));
    // Numbers of fewer blocks gain nothing.
    if (blocks == 5)
        multiply_once<5>(x, x, y, modulus, k);
    else if (blocks == 8)
        multiply_once<8>(x, x, y, modulus, k);
    else
        multiply_once<10>(x, x, y, modulus, k);
    qald t[most_digits52 + 1];
    join(t, n + 1, x, blocks);
    subtract_once(r, t, t[n], p, n);
}

void qal_mont_mul_avx512(qald *r, const qald *a, const qald *b, const qald *p, size_t n, qald c)
{
    if (gains(n))
        multiply_wide(r, a, b, p, n, c);
    else
        qal_mont_mul_bmi2adx(r, a, b, p, n, c);
}

void qal_mont_sqr_avx512(qald *r, const qald *a, const qald *p, size_t n, qald c)
{
    if (square_gains(n))
        multiply_wide(r, a, a, p, n, c);
    else
        qal_mont_sqr_bmi2adx(r, a, p, n, c);
}
