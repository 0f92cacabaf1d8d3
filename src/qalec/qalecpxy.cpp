#include <qal/qalec.h>

#include "base/require.hpp"

static constexpr char qal_source[] = "../src/qalec/qalecpxy";

int qalecpxy(const qaleccurve *curve, qalecpoint *point, qald *x, qald *y)
{
    QAL_REQUIRE(curve != nullptr, "curve!= 0");
    QAL_REQUIRE(point != nullptr, "point!= 0");
    const qalpff *const f = &curve->field;
    if (point->Z[0] == 0) {
        if (x != nullptr)
            qalcopy(x, QALBIG_ZERO);
        if (y != nullptr)
            qalcopy(y, QALBIG_ZERO);
        return 0;
    }
    qalfe t, u; // 1 / Z, then 1 / Z^3, and 1 / Z^2
    f->inv(f, point->Z, t);
    f->sqr(f, t, u);
    f->mul(f, point->X, u, point->X);
    if (x != nullptr)
        f->out(f, x, point->X);
    f->mul(f, t, u, t);
    f->mul(f, point->Y, t, point->Y);
    if (y != nullptr)
        f->out(f, y, point->Y);
    f->setone(f, point->Z);
    return 1;
}
