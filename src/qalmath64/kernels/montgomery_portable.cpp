// Montgomery products as a product and its reduction, for any n. montgomery.hpp has the shapes;
// time depends on n alone.
#include "qalmath64/kernels/montgomery.hpp"

using namespace qal::math;

void qal_mont_mul_portable(qald *r, const qald *a, const qald *b, const qald *p, size_t n, qald c)
{
    qal_multiply(r, a, n, b, n);
    reduce(r, r, p, n, c);
}

void qal_mont_sqr_portable(qald *r, const qald *a, const qald *p, size_t n, qald c)
{
    qal_square(r, a, n);
    reduce(r, r, p, n, c);
}
