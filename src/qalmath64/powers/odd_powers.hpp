// Exponentiation from a table of odd powers, in time that depends on the exponent.
#ifndef QAL_QALMATH64_ODD_POWERS_HPP
#define QAL_QALMATH64_ODD_POWERS_HPP

#include "qalmath64/kernels/kernels.hpp"

namespace qal::math {

#define QAL_ODD_POWERS(name, ...)                                                                  \
    QAL_KERNEL void name(__VA_ARGS__);                                                             \
    QAL_KERNEL void name##_portable(__VA_ARGS__);                                                  \
    QAL_KERNEL void name##_avx512(__VA_ARGS__)

// r = x^e, in Montgomery form of R = 2^(64 n), for odd p of n digits and e other than zero. All are
// numbers with length words; entry i of the table, `stride` words apart, is x^(2i + 1) in the same
// form, for i from 0 to 15. r must not overlap e, p or the table.
QAL_ODD_POWERS(raise_odd_powers, qald *r, const qald *table, size_t stride, const qald *e,
               const qald *p);

} // namespace qal::math

#endif
