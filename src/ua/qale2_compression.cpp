// Compressed points (DSTU 4145-2002): x, with the trace of y/x in place of its lowest bit. Shapes
// are as in qale2.h. The time depends on whether the point is infinity or of order 2, and on
// whether there is a point at all.
#include "ua/qale2.hpp"

using namespace qal::base;
using namespace qal::ua;

namespace qal::ua {

qal2d *Unwiped::qale2comp(const qale2curve *curve, qal2d *c, qale2point *P)
{
    Element x(curve), y(curve), t(curve);
    qal2pclear(c, degree_of(curve));
    qale2pxy(curve, P, x, y);
    if (qal2p_is_zero(x))
        return c;
    qale2bfinv(curve, t, x);
    qale2bfmul(curve, t, t, y);
    qal2pcopy(c, x);
    qal2psbit(c, 0, tr(curve, t));
    return c;
}

qale2point *Unwiped::qale2exp(const qale2curve *curve, qale2point *R, const qal2d *c)
{
    Element x(curve), y(curve), z(curve), w(curve);
    if (qal2p_is_zero(c)) {
        if (solve_qe(curve, y, x, curve->b) != 1)
            return nullptr;
        return qale2pcr(curve, R, x, y);
    }
    const int bit = qal2pgbit(c, 0);
    qal2pcopy(x, c);
    qal2psbit(x, 0, 0);
    if (tr(curve, x) != static_cast<int>(curve->a))
        qal2psbit(x, 0, 1);
    // With y = x z the curve's equation becomes z^2 + z = x + a + b / x^2.
    qale2bfsqr(curve, w, x);
    qale2bfinv(curve, w, w);
    qale2bfmul(curve, w, w, curve->b);
    add_coefficient_a(curve, w);
    qal2add(w, w, x);
    Element one(curve);
    qal2pinc(one);
    if (solve_qe(curve, z, one, w) == 0)
        return nullptr;
    if (tr(curve, z) != bit)
        qal2pinc(z);
    qale2bfmul(curve, y, x, z);
    return qale2pcr(curve, R, x, y);
}

} // namespace qal::ua

extern "C" {

qal2d *qale2comp(const qale2curve *curve, qal2d *c, qale2point *P)
{
    return run_on_wiped_stack<inversion_stack>([=] { return Unwiped::qale2comp(curve, c, P); });
}

qale2point *qale2exp(const qale2curve *curve, qale2point *R, const qal2d *c)
{
    return run_on_wiped_stack<inversion_stack>([=] { return Unwiped::qale2exp(curve, R, c); });
}
}
