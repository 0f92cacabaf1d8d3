// Montgomery's multiplication on digits without length words, for R = 2^(64 n).
#ifndef QAL_QALMATH64_MONTGOMERY_HPP
#define QAL_QALMATH64_MONTGOMERY_HPP

#include "qalmath64/multiply.hpp"

namespace qal::math {

// r = x - p where carry and x are not less than p, r = x where they are: branch-free, on n digits.
// Both are computed, and the one that counts is chosen by a mask.
inline void subtract_once(qald *r, const qald *x, qald carry, const qald *p, size_t n)
{
    const qald keep = 0 - (qal_sub_row(r, x, p, n) & (carry ^ 1));
    for (size_t i = 0; i < n; i++)
        r[i] ^= (r[i] ^ x[i]) & keep;
}

// r = t / R modulo p on n digits, for t of 2n digits, which are destroyed: less than p where
// t < p R, and less than R always.
inline void reduce(qald *r, qald *t, const qald *p, size_t n, qald c)
{
    const qald carry = qal_redc_digits(t, p, n, c);
    subtract_once(r, t + n, carry, p, n);
}

} // namespace qal::math

#endif
