/* Products of any size, by rows or, where that pays, by Karatsuba's identity. */
#ifndef QAL_QALMATH64_MULTIPLY_HPP
#define QAL_QALMATH64_MULTIPLY_HPP

/* Digits from which the identity saves more products than its sums cost. */
#define QAL_KARATSUBA_DIGITS 28
#define QAL_KARATSUBA_SQUARE_DIGITS 44

#ifndef __ASSEMBLER__

#include "qalmath64/kernels/digits.hpp"

extern "C" {

// r[0..n + m) = a * b. r must not overlap a or b, and n + m is at most 130.
QAL_KERNEL void qal_multiply(qald *r, const qald *a, size_t n, const qald *b, size_t m);
// r[0..2n) = a * a, likewise.
QAL_KERNEL void qal_square(qald *r, const qald *a, size_t n);

// The exported operations by variant.
#define QAL_PRODUCT_ROUTINES(V)                                                                    \
    V(qalmul, bmi2adx, portable);                                                                  \
    V(qalsqr, bmi2adx, portable)
QAL_PRODUCT_ROUTINES(QAL_DECLARE_VARIANTS);
}

#endif
#endif
