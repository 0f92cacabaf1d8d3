#include "base/require.hpp"
#include "qalmath64/kernels/montgomery.hpp"

static constexpr char qal_source[] = "../src/qalmath64/qalmulmont";

qald *qalmulmont(uint64_t c, uint32_t k, const qald *p, const qald *a, const qald *b, qald *t)
{
    QAL_REQUIRE(p != nullptr, "p!=0");
    QAL_REQUIRE(a != nullptr, "a!=0");
    QAL_REQUIRE(b != nullptr, "b!=0");
    QAL_REQUIRE(t != nullptr, "t!=0");
    QAL_REQUIRE(a[0] + b[0] <= qal::math::most_digits,
                "((*a)+(*b)) <= ((((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3)-1)");
    QAL_REQUIRE(a[0] <= p[0], "(*a) <= (*p)");
    QAL_REQUIRE(b[0] <= p[0], "(*b) <= (*p)");
    const size_t n = p[0];
    if (a[0] != n || b[0] != n || k != 64 * n)
        return qalmontcom(c, k, p, qalmul(a, b, t));
    qal_mont_mul(t + 1, a + 1, b + 1, p + 1, n, c);
    t[0] = qal::math::significant(t + 1, n);
    return t;
}
