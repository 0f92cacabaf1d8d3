// The group law in the coordinates of López and Dahab. Shapes and aliasing are as in qale2.h. The
// time depends on infinity and on equal and opposite points.
#include "ua/qale2.hpp"

using namespace qal::base;
using namespace qal::ua;

namespace {

// R = P + (x2, y2), of which neither is at infinity: Al-Daoud, Mahmod, Rushdan and Kilicman, "A
// new addition formula for elliptic curves over GF(2^n)", IEEE Trans. Computers 51 (2002):
//   A = Y1 + y2 Z1^2, B = X1 + x2 Z1, C = Z1 B, Z3 = C^2, X3 = A^2 + A C + B^2 (C + a Z1^2),
//   Y3 = (x2 Z3 + X3) (A C + Z3) + (x2 + y2) Z3^2.
// False if x2 = X1/Z1, where the formula fails; `equal` tells whether the points are.
bool add_affine_var(const qale2curve *curve, qale2point *R, const qale2point *P, const qal2d *x2,
                    const qal2d *y2, bool *equal)
{
    Element t1(curve), t2(curve), t3(curve);
    Point sum(curve);
    Unwiped::qale2bfmul(curve, t1, P->Z, x2);
    Unwiped::qale2bfsqr(curve, t2, P->Z);
    qal2add(sum->X, P->X, t1);                    // B
    Unwiped::qale2bfmul(curve, t1, P->Z, sum->X); // C
    Unwiped::qale2bfmul(curve, t3, t2, y2);
    qal2add(sum->Y, P->Y, t3); // A
    if (qal2p_is_zero(sum->X)) {
        *equal = qal2p_is_zero(sum->Y) != 0;
        return false;
    }
    Unwiped::qale2bfsqr(curve, sum->Z, t1);
    Unwiped::qale2bfmul(curve, t3, t1, sum->Y); // A C
    if (curve->a == 1)
        qal2add(t1, t1, t2);
    Unwiped::qale2bfsqr(curve, t2, sum->X);
    Unwiped::qale2bfmul(curve, sum->X, t2, t1);
    Unwiped::qale2bfsqr(curve, t2, sum->Y);
    qal2add(sum->X, sum->X, t2);
    qal2add(sum->X, sum->X, t3);
    Unwiped::qale2bfmul(curve, t2, x2, sum->Z);
    qal2add(t2, t2, sum->X);
    Unwiped::qale2bfsqr(curve, t1, sum->Z);
    qal2add(t3, t3, sum->Z);
    Unwiped::qale2bfmul(curve, sum->Y, t3, t2);
    qal2add(t2, x2, y2);
    Unwiped::qale2bfmul(curve, t3, t1, t2);
    qal2add(sum->Y, sum->Y, t3);
    qale2pcp(curve, R, sum);
    return true;
}

qale2point *add_var(const qale2curve *curve, qale2point *R, const qale2point *P,
                    const qale2point *Q)
{
    if (qale2p_is_inf(curve, Q))
        return qale2pcp(curve, R, P);
    if (qale2p_is_inf(curve, P))
        return qale2pcp(curve, R, Q);
    bool equal;
    if (add_affine_var(curve, R, P, Q->X, Q->Y, &equal))
        return R;
    return equal ? Unwiped::qale2pd(curve, R, Q) : Unwiped::qale2pcr(curve, R, nullptr, nullptr);
}

} // namespace

namespace qal::ua {

// López and Dahab, "Improved algorithms for elliptic curve arithmetic in GF(2^n)", SAC '98:
//   Z3 = X1^2 Z1^2, X3 = X1^4 + b Z1^4, Y3 = b Z1^4 Z3 + X3 (a Z3 + Y1^2 + b Z1^4).
qale2point *Unwiped::qale2pd(const qale2curve *curve, qale2point *R, const qale2point *P)
{
    if (qale2p_is_inf(curve, P))
        return qale2pcr(curve, R, nullptr, nullptr);
    Element t1(curve), t2(curve);
    Point sum(curve);
    qale2bfsqr(curve, t1, P->Z);
    qale2bfsqr(curve, t2, P->X);
    qale2bfmul(curve, sum->Z, t1, t2);
    qale2bfsqr(curve, sum->X, t2);
    qale2bfsqr(curve, t1, t1);
    qale2bfmul(curve, t2, t1, curve->b);
    qal2add(sum->X, sum->X, t2);
    qale2bfsqr(curve, t1, P->Y);
    if (curve->a == 1)
        qal2add(t1, t1, sum->Z);
    qal2add(t1, t1, t2);
    qale2bfmul(curve, sum->Y, sum->X, t1);
    qale2bfmul(curve, t1, t2, sum->Z);
    qal2add(sum->Y, sum->Y, t1);
    return qale2pcp(curve, R, sum);
}

qale2point *Unwiped::qale2pa(const qale2curve *curve, qale2point *R, const qale2point *P,
                             const qal2d *x, const qal2d *y)
{
    if (qal2p_is_zero(x) && qal2p_is_zero(y))
        return qale2pcp(curve, R, P);
    if (qale2p_is_inf(curve, P))
        return qale2pcr(curve, R, x, y);
    bool equal;
    if (add_affine_var(curve, R, P, x, y, &equal))
        return R;
    if (!equal)
        return qale2pcr(curve, R, nullptr, nullptr);
    Point point(curve);
    qale2pcr(curve, point, x, y);
    return qale2pd(curve, R, point);
}

} // namespace qal::ua

extern "C" {

qale2point *qale2pd(const qale2curve *curve, qale2point *R, const qale2point *P)
{
    return run_on_wiped_stack<point_stack>([=] { return Unwiped::qale2pd(curve, R, P); });
}

qale2point *qale2paa(const qale2curve *curve, qale2point *R, const qale2point *P,
                     const qale2point *Q)
{
    return run_on_wiped_stack<point_stack>([=] { return add_var(curve, R, P, Q); });
}

qale2point *qale2pa(const qale2curve *curve, qale2point *R, const qale2point *P, const qal2d *x,
                    const qal2d *y)
{
    return run_on_wiped_stack<point_stack>([=] { return Unwiped::qale2pa(curve, R, P, x, y); });
}
}
