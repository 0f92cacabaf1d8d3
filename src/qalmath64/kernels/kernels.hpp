// Arithmetic on digits without length words, least significant first: what everything else in this
// directory stands on. Digit counts are at least one. Time depends on the counts alone.
#ifndef QAL_QALMATH64_KERNELS_HPP
#define QAL_QALMATH64_KERNELS_HPP

#include "base/variants.hpp"

#include <qal/qalmath64.h>

#include <stddef.h>

#define QAL_KERNEL [[gnu::visibility("hidden")]]

extern "C" {

// r[0..n) = a * b; returns the digit that follows. r may be a.
QAL_KERNEL qald qal_mul_row(qald *r, const qald *a, size_t n, qald b);
// r[0..n) += a * b, or -= ; returns the carry or borrow, a whole digit. r may be a.
QAL_KERNEL qald qal_addmul_row(qald *r, const qald *a, size_t n, qald b);
QAL_KERNEL qald qal_submul_row(qald *r, const qald *a, size_t n, qald b);

// r = a + b, or a - b, on n digits; returns the carry or borrow, 0 or 1. r may be a or b.
QAL_KERNEL qald qal_add_row(qald *r, const qald *a, const qald *b, size_t n);
QAL_KERNEL qald qal_sub_row(qald *r, const qald *a, const qald *b, size_t n);

// The same by `minus`, 0 or all ones: r = a + b or r = a + ~b + 1, whose carry is no borrow.
QAL_KERNEL qald qal_add_signed_row(qald *r, const qald *a, const qald *b, size_t n, qald minus);

// r[0..n + m) = a * b, row by row. r must not overlap a or b.
QAL_KERNEL void qal_mul_digits(qald *r, const qald *a, size_t n, const qald *b, size_t m);
// r[0..2n) = a * a. r must not overlap a.
QAL_KERNEL void qal_sqr_digits(qald *r, const qald *a, size_t n);

// Montgomery reduction: t[n..2n) and the carry returned, 0 or 1, are (t + m p) / 2^(64 n), for the
// m below 2^(64 n) that makes this whole; t[0..n) is destroyed. p is odd and c is -1/p mod 2^64.
QAL_KERNEL qald qal_redc_digits(qald *t, const qald *p, size_t n, qald c);

#define QAL_KERNEL_ROUTINES(V)                                                                     \
    V(qal_mul_row, bmi2adx, portable);                                                             \
    V(qal_addmul_row, bmi2adx, portable);                                                          \
    V(qal_submul_row, bmi2adx, portable);                                                          \
    V(qal_mul_digits, bmi2adx, portable);                                                          \
    V(qal_sqr_digits, bmi2adx, portable);                                                          \
    V(qal_redc_digits, bmi2adx, portable)
QAL_KERNEL_ROUTINES(QAL_DECLARE_VARIANTS);
}

#endif
