#include "base/require.hpp"
#include "qalmath64/kernels/montgomery.hpp"

static constexpr char qal_source[] = "../src/qalmath64/qalsqrmont";

qald *qalsqrmont(uint64_t c, uint32_t k, const qald *p, const qald *a, qald *t)
{
    QAL_REQUIRE(p != nullptr, "p!=0");
    QAL_REQUIRE(a != nullptr, "a!=0");
    QAL_REQUIRE(t != nullptr, "t!=0");
    QAL_REQUIRE(a[0] * 2 <= qal::math::most_digits,
                "(*a)*2 <= ((((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3)-1)");
    QAL_REQUIRE(a[0] <= p[0], "(*a) <= (*p)");
    const size_t n = p[0];
    if (a[0] != n || k != 64 * n)
        return qalmontcom(c, k, p, qalsqr(a, t));
    qal_mont_sqr(t + 1, a + 1, p + 1, n, c);
    t[0] = qal::math::significant(t + 1, n);
    return t;
}
