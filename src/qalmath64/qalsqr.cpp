#include "qalmath64/multiply.hpp"

qald *qalsqr(const qald *a, qald *c)
{
    const size_t n = a[0];
    if (n == 0) {
        c[0] = 0;
        return c;
    }
    qal::math::square(c + 1, a + 1, n);
    c[0] = 2 * n - (c[2 * n] == 0);
    return c;
}
