// Products of any size, by rows or, where that pays, by Karatsuba's identity.
#ifndef QAL_QALMATH64_MULTIPLY_HPP
#define QAL_QALMATH64_MULTIPLY_HPP

#include "qalmath64/digits.hpp"

namespace qal::math {

// r[0..n + m) = a * b. r must not overlap a or b.
void multiply(qald *r, const qald *a, size_t n, const qald *b, size_t m);
// r[0..2n) = a * a. r must not overlap a.
void square(qald *r, const qald *a, size_t n);

} // namespace qal::math

#endif
