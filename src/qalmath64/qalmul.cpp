#include "qalmath64/multiply.hpp"

qald *qalmul(const qald *a, const qald *b, qald *c)
{
    const size_t n = a[0], m = b[0];
    if (n == 0 || m == 0) {
        c[0] = 0;
        return c;
    }
    qal::math::multiply(c + 1, a + 1, n, b + 1, m);
    c[0] = n + m - (c[n + m] == 0);
    return c;
}
