#include "base/require.hpp"
#include "qalmath64/kernels/divide.hpp"

static constexpr char qal_source[] = "../src/qalmath64/qaldiv";

using namespace qal::math;

void qaldiv(const qald *x, const qald *y, qald *q, qald *r)
{
    QAL_REQUIRE(QALBIG_SIZE >= y[0] + 2,
                "(((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3) >= ( y[0]+2 )");
    QAL_REQUIRE(QALBIG_SIZE >= x[0] + 3,
                "(((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3) >= ( x[0]+3 )");
    const size_t n = x[0], m = y[0];
    // Division by zero is no division: nothing is written and nothing said.
    if (m == 0)
        return;
    if (n < m || (n == m && is_less(x + 1, y + 1, n))) {
        if (r != x)
            qalcopy(r, x);
        if (q != nullptr)
            q[0] = 0;
        return;
    }

    // Dividend and divisor are shifted until the divisor's top bit is set; the divisor in a copy,
    // since it may serve other threads at this moment.
    const auto bits = static_cast<unsigned>(__builtin_clzll(y[m]));
    qald d[most_digits];
    shift_left(d, y + 1, m, bits);
    qald *const u = r + 1;
    u[n] = shift_left(u, x + 1, n, bits);

    // The first digit of the quotient is often zero, and costs only a comparison then.
    const bool shorter = u[n] == 0 && is_less(u + n - m, d, m);
    const size_t top = shorter ? n - 1 : n, length = top + 1 - m;
    qald *const quotient = q == nullptr ? nullptr : q + 1;
    if (m == 1)
        u[0] = divide_by_digit(quotient, u, top, u[top], d[0]);
    else
        divide(quotient, u, top, d, m);
    if (q != nullptr)
        q[0] = significant(quotient, length);
    shift_right(u, m, bits);
    r[0] = significant(u, m);
}
