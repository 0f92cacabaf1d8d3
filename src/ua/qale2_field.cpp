// Products, squares and inverses in a curve's field, by the routines of its record. Shapes and
// aliasing are as in qale2.h. Constant time.
#include "ua/qale2.hpp"

using namespace qal::base;
using namespace qal::ua;

namespace qal::ua {

// Wipes its own stack.
qal2d *Unwiped::qale2bfinv(const qale2curve *curve, qal2d *r, const qal2d *u)
{
    QAL_REQUIRE(curve != nullptr, "curve != 0");
    return qal2invm(r, u, curve->mod_m, curve->mod_a, curve->mod_b, curve->mod_c);
}

} // namespace qal::ua

extern "C" {

qal2d *qale2bfmul(const qale2curve *curve, qal2d *r, const qal2d *u, const qal2d *v)
{
    return run_on_wiped_stack<product_stack>([=] { return Unwiped::qale2bfmul(curve, r, u, v); });
}

qal2d *qale2bfsqr(const qale2curve *curve, qal2d *r, const qal2d *u)
{
    return run_on_wiped_stack<square_stack>([=] { return Unwiped::qale2bfsqr(curve, r, u); });
}

qal2d *qale2bfinv(const qale2curve *curve, qal2d *r, const qal2d *u)
{
    return Unwiped::qale2bfinv(curve, r, u);
}
}
