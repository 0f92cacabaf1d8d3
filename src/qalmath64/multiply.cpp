#include "qalmath64/multiply.hpp"

namespace qal::math {

void multiply(qald *r, const qald *a, size_t n, const qald *b, size_t m)
{
    qal_mul_digits(r, a, n, b, m);
}

void square(qald *r, const qald *a, size_t n)
{
    qal_sqr_digits(r, a, n);
}

} // namespace qal::math
