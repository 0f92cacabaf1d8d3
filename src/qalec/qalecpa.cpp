#include <qal/qalec.h>

#include "base/require.hpp"
#include "base/wipe.hpp"
#include "qalec/copy_point.hpp"

static constexpr char qal_source[] = "../src/qalec/qalecpa";

using namespace qal::ec;

// IEEE 1363-2000, A.10.5, with the halving taken last.
qalecpoint *qalecpa(const qaleccurve *curve, qalecpoint *z, const qalecpoint *a,
                    const qalecpoint *b)
{
    QAL_REQUIRE(curve != nullptr, "curve != 0");
    QAL_REQUIRE(a != nullptr, "a != 0");
    QAL_REQUIRE(b != nullptr, "b != 0");
    QAL_REQUIRE(z != nullptr, "z != 0");
    if (a->Z[0] == 0)
        return copy_point(z, b);
    if (b->Z[0] == 0)
        return copy_point(z, a);

    const qalpff *const f = &curve->field;
    // On the common denominators the points are (U1, S1) and (U2, S2).
    struct {
        qalfe u1, u2, s1, s2, difference, slope;
    } t;
    f->sqr(f, a->Z, t.slope);
    f->sqr(f, b->Z, t.difference);
    f->mul(f, a->X, t.difference, t.u1);
    f->mul(f, b->X, t.slope, t.u2);
    f->mul(f, a->Y, t.difference, t.s1);
    f->mul(f, t.s1, b->Z, t.s1);
    f->mul(f, b->Y, t.slope, t.s2);
    f->mul(f, t.s2, a->Z, t.s2);
    f->sub(f, t.u1, t.u2, t.difference);
    f->sub(f, t.s1, t.s2, t.slope);
    f->add(f, t.u1, t.u2, t.u1); // U1 + U2
    f->add(f, t.s1, t.s2, t.s1); // S1 + S2
    if (t.difference[0] == 0) {
        const bool equal = t.slope[0] == 0, opposite = t.s1[0] == 0;
        if (equal || opposite) {
            qal::base::wipe(&t, sizeof t);
            return equal ? curve->dbl(curve, z, a) : qalecpcr(curve, z, nullptr, nullptr);
        }
    }

    f->mul(f, a->Z, b->Z, z->Z);
    f->mul(f, z->Z, t.difference, z->Z);
    f->sqr(f, t.difference, t.u2);
    f->mul(f, t.u2, t.difference, t.difference); // W^3
    f->mul(f, t.u1, t.u2, t.u1);                 // (U1 + U2) W^2
    f->sqr(f, t.slope, t.u2);
    f->sub(f, t.u2, t.u1, z->X);
    f->sub(f, t.u1, z->X, t.u1);
    f->sub(f, t.u1, z->X, t.u1);
    f->mul(f, t.slope, t.u1, t.u1);
    f->mul(f, t.s1, t.difference, t.s1);
    f->sub(f, t.u1, t.s1, t.u1);
    f->div2(f, t.u1, z->Y);
    return z;
}
