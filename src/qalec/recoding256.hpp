// Scalars of 256 bits in signed digits.
#ifndef QAL_QALEC_RECODING256_HPP
#define QAL_QALEC_RECODING256_HPP

#include "qalec/field256.hpp"

#include <string.h>

namespace qal::ec {
namespace {

constexpr unsigned regular_width = 5, regular_digits = 51;

struct RegularDigit {
    uint64_t index;    // of the odd multiple in a table: 0 for 1, 1 for 3, ...
    uint64_t negative; // mask
};

// A secret scalar n as 2 m + s with s from -1 to 1, and m, or m + 1 if it is even, as the sum of 51
// odd digits from -31 to 31 times powers of 32, the topmost of them positive (M. Joye and M.
// Tunstall, "Exponent recoding and regular exponentiation algorithms", 2009). Digit i is made of
// bits 5i to 5i + 5 of m, the lowest of them taken as set, less 32; the topmost one has nothing
// above it to take 32 from.
//
// So n P is found from the highest digit to the lowest; then P is taken away if m is even; that is
// doubled, and s P added. For a P of prime order q, not less than 2^254 - 1, and 0 < n < q no step
// adds points that are equal, opposite or infinite:
// - A digit |d| < 32 is added to a multiple from 32 to (q + 1) / 2 + 31, which is neither d nor -d
//   modulo q.
// - P is taken from (m + 1) P, where m + 1 is from 3 to (q + 1) / 2.
// - s is added to n - s, which would be s or -s for n = 2 s or n = 0 modulo q. With odd n from
// 2^250
//   on s is 1, and with those below it is -1, so that n is neither 2 nor q - 2, respectively.
struct RegularScalar {
    uint64_t m[digits256];
    uint64_t m_is_even, n_is_odd, s_is_negative; // masks; the last one counts for odd n

    explicit RegularScalar(const uint64_t *n)
        : m_is_even(0), n_is_odd(mask_of_bit(n[0] & 1)), s_is_negative(mask_if_zero(n[3] >> 58))
    {
        uint64_t up[digits256], carry = s_is_negative & 1;
        for (int i = 0; i < digits256; i++) {
            up[i] = n[i] + carry;
            carry &= mask_if_zero(up[i]);
        }
        for (int i = 0; i < digits256; i++)
            m[i] = up[i] >> 1 | (i + 1 < digits256 ? up[i + 1] << 63 : 0);
        m_is_even = mask_of_bit(1 ^ (m[0] & 1));
    }

    // Of the topmost digit.
    [[nodiscard]] uint64_t top_index() const { return m[3] >> 59; }

    // Any other one.
    [[nodiscard]] RegularDigit digit(unsigned i) const
    {
        const unsigned at = regular_width * i;
        uint64_t bits = m[at / 64] >> (at % 64);
        if (at % 64 > 58)
            bits |= m[at / 64 + 1] << (64 - at % 64);
        // Bit 5 tells digits from 1 to 31 from -31 to -1; inverted for the latter, the bits between
        // are the index.
        const uint64_t negative = mask_of_bit(1 ^ ((bits >> 5) & 1));
        return {((bits >> 1) ^ negative) & 15, negative};
    }
};

// Signed digits of n for windows of w bits, least significant first: each zero or odd and less
// than 2^(w - 1), no two within w places other than zero. Returns their number.
inline int non_adjacent_form(int16_t *digits, const uint64_t *n, int w)
{
    uint64_t bits[digits256 + 1] = {n[0], n[1], n[2], n[3], 0};
    const auto at = [&](int i, int count) {
        uint64_t value = bits[i / 64] >> (i % 64);
        if (i % 64 + count > 64)
            value |= bits[i / 64 + 1] << (64 - i % 64);
        return static_cast<int>(value & ((uint64_t{1} << count) - 1));
    };
    int carry = 0, length = 0;
    memset(digits, 0, 257 * sizeof *digits);
    for (int i = 0; i < 257;) {
        if (at(i, 1) == carry) {
            i++;
            continue;
        }
        const int count = 257 - i < w ? 257 - i : w;
        int digit = at(i, count) + carry;
        carry = digit >> (w - 1);
        digit -= carry << w;
        digits[i] = static_cast<int16_t>(digit);
        length = i + 1;
        i += count;
    }
    return length;
}

} // namespace
} // namespace qal::ec

#endif
