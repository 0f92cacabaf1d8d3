// Operations on digits without length words that have no kernel of their own.
#ifndef QAL_QALMATH64_DIGITS_HPP
#define QAL_QALMATH64_DIGITS_HPP

#include "base/uint128.hpp"
#include "qalmath64/kernels/kernels.hpp"

#include <emmintrin.h>

namespace qal::math {

using base::uint128;

// A full buffer's digits.
constexpr size_t most_digits = QALBIG_SIZE - 1;

// -1/p mod 2^64 for odd p. p * p = 1 modulo 8, which makes p its own inverse to three bits; each
// step of Newton's iteration doubles them.
constexpr qald montgomery_constant(qald p)
{
    qald inverse = p;
    for (unsigned bits = 3; bits < 64; bits *= 2)
        inverse *= 2 - p * inverse;
    return 0 - inverse;
}

// n without the zeros at the top of x.
inline size_t significant(const qald *x, size_t n)
{
    while (n > 0 && x[n - 1] == 0)
        n--;
    return n;
}

// The bits of a number. Neither a branch nor a division depends on what its digits are, but for how
// many there are.
inline uint64_t bit_length(const qald *x)
{
    const uint64_t n = x[0];
    return n == 0 ? 0 : 64 * n - static_cast<uint64_t>(__builtin_clzll(x[n]));
}

// x / 2^bits for bits from 0 to 63, in place; n is not 0.
inline void shift_right(qald *x, size_t n, unsigned bits)
{
    if (bits == 0)
        return;
    for (size_t i = 0; i + 1 < n; i++)
        x[i] = x[i] >> bits | x[i + 1] << (64 - bits);
    x[n - 1] >>= bits;
}

// r = x * 2^bits for bits from 0 to 63; returns the digit that follows. r may be x. Two digits at a
// time, from the top; a shift of two lanes by 64 gives zero, as it must where bits is 0.
inline qald shift_left(qald *r, const qald *x, size_t n, unsigned bits)
{
    const __m128i up = _mm_cvtsi32_si128(static_cast<int>(bits));
    const __m128i down = _mm_cvtsi32_si128(static_cast<int>(64 - bits));
    const qald out = x[n - 1] >> 1 >> (63 - bits);
    for (; n > 2; n -= 2) {
        const __m128i digits = _mm_loadu_si128(reinterpret_cast<const __m128i *>(x + n - 2));
        const __m128i below = _mm_loadu_si128(reinterpret_cast<const __m128i *>(x + n - 3));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(r + n - 2),
                         _mm_or_si128(_mm_sll_epi64(digits, up), _mm_srl_epi64(below, down)));
    }
    if (n == 2)
        r[1] = x[1] << bits | x[0] >> 1 >> (63 - bits);
    r[0] = x[0] << bits;
    return out;
}

// Whether a < b, digit by digit from the top.
inline bool is_less(const qald *a, const qald *b, size_t n)
{
    while (n-- > 0) {
        if (a[n] != b[n])
            return a[n] < b[n];
    }
    return false;
}

} // namespace qal::math

#endif
