// Montgomery's multiplication on digits without length words, for R = 2^(64 n).
//
// The result is (a b + m p) / R with the m below R that makes it whole, less p if it is not less
// than p: below p if a b < p R, and of n digits always. Time depends on n alone.
#ifndef QAL_QALMATH64_MONTGOMERY_HPP
#define QAL_QALMATH64_MONTGOMERY_HPP

#include "qalmath64/kernels/multiply.hpp"

extern "C" {

// r[0..n) = a * b / R modulo p; r has room for 2n digits, as long as n is at most 65, and must not
// overlap a, b or p. c is -1/p mod 2^64.
QAL_KERNEL void qal_mont_mul(qald *r, const qald *a, const qald *b, const qald *p, size_t n,
                             qald c);
// r[0..n) = a * a / R modulo p, likewise.
QAL_KERNEL void qal_mont_sqr(qald *r, const qald *a, const qald *p, size_t n, qald c);

#define QAL_MONTGOMERY_ROUTINES(V)                                                                 \
    V(qal_mont_mul, avx512, bmi2adx, portable);                                                    \
    V(qal_mont_sqr, avx512, bmi2adx, portable)
QAL_MONTGOMERY_ROUTINES(QAL_DECLARE_VARIANTS);

// The same for one n; r has room for n digits, and may be a, b or p.
QAL_KERNEL void qal_mont_mul_4_bmi2adx(qald *r, const qald *a, const qald *b, const qald *p,
                                       qald c);
QAL_KERNEL void qal_mont_mul_8_bmi2adx(qald *r, const qald *a, const qald *b, const qald *p,
                                       qald c);
QAL_KERNEL void qal_mont_sqr_4_bmi2adx(qald *r, const qald *a, const qald *p, qald c);
QAL_KERNEL void qal_mont_sqr_8_bmi2adx(qald *r, const qald *a, const qald *p, qald c);
}

namespace qal::math {

// r = x - p where carry and x are not less than p, r = x where they are: branch-free, on n digits.
// Both are computed, and the one that counts is chosen by a mask.
inline void subtract_once(qald *r, const qald *x, qald carry, const qald *p, size_t n)
{
    const qald keep = 0 - (qal_sub_row(r, x, p, n) & (carry ^ 1));
    for (size_t i = 0; i < n; i++)
        r[i] ^= (r[i] ^ x[i]) & keep;
}

// r = t / R modulo p on n digits, for t of 2n digits, which are destroyed. r may be t.
inline void reduce(qald *r, qald *t, const qald *p, size_t n, qald c)
{
    const qald carry = qal_redc_digits(t, p, n, c);
    subtract_once(r, t + n, carry, p, n);
}

} // namespace qal::math

#endif
