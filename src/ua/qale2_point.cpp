// Points, x = X/Z and y = Y/Z^2, or Z = 0 at infinity: conversion from and to coordinates, and
// negation. Shapes and aliasing are as in qale2.h. The time depends on whether a point is infinity
// and, if y is to be found, on x.
#include "ua/qale2.hpp"

#include <string.h>

using namespace qal::base;
using namespace qal::ua;

namespace {

void copy_with_count(qal2d *r, const qal2d *a)
{
    memmove(r, a, (a[0] + 1) * sizeof *a);
}

void set_one(const qale2curve *curve, qal2d *r)
{
    qal2pclear(r, degree_of(curve));
    r[1] = 1;
}

bool is_on_curve(const qale2curve *curve, const qal2d *x, const qal2d *y)
{
    // y (y + x) = x^2 (x + a) + b
    Element left(curve, y), right(curve, x), t(curve);
    qal2add(left, left, x);
    Unwiped::qale2bfmul(curve, left, left, y);
    add_coefficient_a(curve, right);
    Unwiped::qale2bfsqr(curve, t, x);
    Unwiped::qale2bfmul(curve, right, right, t);
    qal2add(right, right, curve->b);
    return qal2p_is_equal(left, right);
}

qale2point *negate(const qale2curve *curve, qale2point *P)
{
    Element t(curve);
    Unwiped::qale2bfmul(curve, t, P->X, P->Z);
    qal2add(P->Y, P->Y, t);
    return P;
}

} // namespace

namespace qal::ua {

qale2point *Unwiped::qale2pcr(const qale2curve *curve, qale2point *P, const qal2d *x,
                              const qal2d *y)
{
    if (curve == nullptr)
        return nullptr;
    set_infinity(curve, P);
    if (x == nullptr && y == nullptr)
        return P;
    if (x != nullptr)
        qal2pcopy(P->X, x);
    if (y != nullptr) {
        qal2pcopy(P->Y, y);
    } else {
        Element w(curve, x), square(curve);
        add_coefficient_a(curve, w);
        qale2bfsqr(curve, square, x);
        qale2bfmul(curve, w, w, square);
        qal2add(w, w, curve->b);
        if (solve_qe(curve, P->Y, x, w) == 0) {
            qal2pclear(P->Y, degree_of(curve));
            return nullptr;
        }
    }
    P->Z[1] = 1;
    return is_on_curve(curve, P->X, P->Y) ? P : nullptr;
}

int Unwiped::qale2pxy(const qale2curve *curve, qale2point *P, qal2d *x, qal2d *y)
{
    if (qale2p_is_inf(curve, P)) {
        if (x != nullptr)
            qal2pclear(x, degree_of(curve));
        if (y != nullptr)
            qal2pclear(y, degree_of(curve));
        return 0;
    }
    Element t(curve);
    qale2bfinv(curve, t, P->Z);
    qale2bfmul(curve, P->X, P->X, t);
    qale2bfsqr(curve, t, t);
    qale2bfmul(curve, P->Y, P->Y, t);
    set_one(curve, P->Z);
    if (x != nullptr)
        copy_with_count(x, P->X);
    if (y != nullptr)
        copy_with_count(y, P->Y);
    return 1;
}

} // namespace qal::ua

extern "C" {

void qale2pcl(qale2point *P)
{
    wipe(P, sizeof *P);
}

qale2point *qale2pcp([[maybe_unused]] const qale2curve *curve, qale2point *R, const qale2point *P)
{
    if (R != P)
        *R = *P;
    return R;
}

int qale2p_is_inf([[maybe_unused]] const qale2curve *curve, const qale2point *P)
{
    return qal2p_is_zero(P->Z);
}

qale2point *qale2pcr(const qale2curve *curve, qale2point *P, const qal2d *x, const qal2d *y)
{
    return run_on_wiped_stack<inversion_stack>([=] { return Unwiped::qale2pcr(curve, P, x, y); });
}

qale2point *qale2pneg(const qale2curve *curve, qale2point *P)
{
    return run_on_wiped_stack<product_stack>([=] { return negate(curve, P); });
}

int qale2pxy(const qale2curve *curve, qale2point *P, qal2d *x, qal2d *y)
{
    return run_on_wiped_stack<inversion_stack>([=] { return Unwiped::qale2pxy(curve, P, x, y); });
}
}
