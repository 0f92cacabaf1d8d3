// Montgomery products of 4 and 8 digits by their own code, of other sizes by the portable one,
// which uses the dispatched rows. montgomery.hpp has the shapes; time depends on n alone.
#include "qalmath64/kernels/montgomery.hpp"

void qal_mont_mul_bmi2adx(qald *r, const qald *a, const qald *b, const qald *p, size_t n, qald c)
{
    if (n == 4)
        qal_mont_mul_4_bmi2adx(r, a, b, p, c);
    else if (n == 8)
        qal_mont_mul_8_bmi2adx(r, a, b, p, c);
    else
        qal_mont_mul_portable(r, a, b, p, n, c);
}

void qal_mont_sqr_bmi2adx(qald *r, const qald *a, const qald *p, size_t n, qald c)
{
    if (n == 4)
        qal_mont_sqr_4_bmi2adx(r, a, p, c);
    else if (n == 8)
        qal_mont_sqr_8_bmi2adx(r, a, p, c);
    else
        qal_mont_sqr_portable(r, a, p, n, c);
}
