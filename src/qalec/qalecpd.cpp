#include <qal/qalec.h>

#include "base/require.hpp"
#include "qalec/tangent.hpp"

static constexpr char qal_source[] = "../src/qalec/qalecpd";

qalecpoint *qalecpd(const qaleccurve *curve, qalecpoint *z, const qalecpoint *a)
{
    QAL_REQUIRE(curve != nullptr, "curve!=0");
    QAL_REQUIRE(z != nullptr, "z!=0");
    QAL_REQUIRE(a != nullptr, "a!=0");
    if (a->Z[0] == 0 || a->Y[0] == 0)
        return qalecpcr(curve, z, nullptr, nullptr);

    const qalpff *const f = &curve->field;
    qalfe m, t;
    f->sqr(f, a->X, t);
    f->add(f, t, t, m);
    f->add(f, m, t, m);
    f->sqr(f, a->Z, t);
    f->sqr(f, t, t);
    f->mul(f, curve->a, t, t);
    f->add(f, m, t, m);
    return qal::ec::along_tangent(f, z, a, m);
}
