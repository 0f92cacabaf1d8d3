// Scalars of 256 bits in signed digits.
#ifndef QAL_QALEC_RECODING256_HPP
#define QAL_QALEC_RECODING256_HPP

#include "qalec/field256.hpp"

#include <string.h>

namespace qal::ec {
namespace {

// An odd n as the sum of 52 odd digits times powers of 32: the top one is 1, the others are from
// -31 to 31 (M. Joye and M. Tunstall, "Exponent recoding and regular exponentiation algorithms",
// 2009). Digit i is made of bits 5i to 5i + 5, the lowest of them taken as set, less 32.
constexpr unsigned regular_width = 5, regular_digits = 52;

struct RegularDigit {
    uint64_t index;    // of the odd multiple in a table: 0 for 1, 1 for 3, ...
    uint64_t negative; // mask
};

// Any digit but the top one. n is secret.
inline RegularDigit regular_digit(const uint64_t *n, unsigned i)
{
    const unsigned at = regular_width * i;
    uint64_t bits = n[at / 64] >> (at % 64);
    if (at % 64 > 58)
        bits |= n[at / 64 + 1] << (64 - at % 64);
    // Bit 5 tells digits from 1 to 31 from -31 to -1; inverted for the latter, the bits between are
    // the index.
    const uint64_t negative = mask_of_bit(1 ^ ((bits >> 5) & 1));
    return {((bits >> 1) ^ negative) & 15, negative};
}

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
