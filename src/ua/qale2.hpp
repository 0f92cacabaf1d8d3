// What the files of curves over binary fields share: the operations without the wiping of their
// stacks, and the elements and points that they work with.
//
// Shapes and aliasing are as qale2.h and qal2poly.h state them. Timing: operations of the field are
// constant time unless a curve has arithmetic of its own; those of points branch where the formulas
// do, and multiplications follow the scalar.
#pragma once

#include "base/wipe.hpp"
#include "ua/counts.hpp"
#include "ua/engine.hpp"

#include <qal/qale2.h>

#include <stddef.h>

namespace qal::ua {

// The source path that failed preconditions report is part of the interface, as the expression is:
// it is the same for all operations of qale2.h, whichever file holds them.
constexpr char qal_source[] = "../src/ua/qale2";

// How deep the stack is at most below the operations, in any variant: what each of them wipes.
constexpr size_t square_stack = 448, product_stack = 896, point_stack = 1920,
                 inversion_stack = 2944, windows_stack = 3968, table_stack = 16256,
                 multiple_stack = 19456;

inline int32_t degree_of(const qale2curve *curve)
{
    return static_cast<int32_t>(curve->mod_m);
}

struct Element {
    qal2p p;

    explicit Element(const qale2curve *curve) { qal2pclear(p, degree_of(curve)); }
    Element(const qale2curve *curve, const qal2d *value) : Element(curve) { qal2pcopy(p, value); }

    operator qal2d *() { return p; }
};

inline void set_infinity(const qale2curve *curve, qale2point *P)
{
    const int32_t degree = degree_of(curve);
    qal2pclear(P->X, degree);
    qal2pclear(P->Y, degree);
    qal2pclear(P->Z, degree);
}

struct Point {
    qale2point p = {}; // whole records are copied

    explicit Point(const qale2curve *curve) { set_infinity(curve, &p); }

    operator qale2point *() { return &p; }
    qale2point *operator->() { return &p; }
};

// x <- x + a
inline void add_coefficient_a(const qale2curve *curve, qal2d *x)
{
    if (curve->a == 1)
        qal2pinc(x);
}

// The exported operations that compute, and their parts, but for wiping: each is made of many
// others, and the stack below the outermost one is wiped as a whole. Failures report the names of
// the functions, so these have the names of the exported ones. They are members of a class because
// inside it such a name means the member; in a namespace the exported function would be found, too,
// as it is by functions outside of the class, which have to say Unwiped::.
struct Unwiped {
    // Products and squares are below, for the compiler to put them into the formulas; inverses are
    // in qale2_field.cpp.
    static qal2d *qale2bfmul(const qale2curve *curve, qal2d *r, const qal2d *u, const qal2d *v);
    static qal2d *qale2bfsqr(const qale2curve *curve, qal2d *r, const qal2d *u);
    static qal2d *qale2bfinv(const qale2curve *curve, qal2d *r, const qal2d *u);

    // qale2_equation.cpp
    //
    // The trace of z: z + z^2 + z^4 + ... + z^(2^(m-1)).
    static int tr(const qale2curve *curve, const qal2d *z);
    // Half-trace: for odd m, h = t + t^4 + t^16 + ... has h^2 + h = t + Tr(t).
    static qal2d *htr(const qale2curve *curve, qal2d *r, const qal2d *t);
    // Solves r^2 + u r = w and returns the number of solutions; the other one is r + u.
    static int solve_qe(const qale2curve *curve, qal2d *r, const qal2d *u, const qal2d *w);

    // qale2_point.cpp
    static qale2point *qale2pcr(const qale2curve *curve, qale2point *P, const qal2d *x,
                                const qal2d *y);
    static int qale2pxy(const qale2curve *curve, qale2point *P, qal2d *x, qal2d *y);

    // qale2_addition.cpp
    static qale2point *qale2pd(const qale2curve *curve, qale2point *R, const qale2point *P);
    static qale2point *qale2pa(const qale2curve *curve, qale2point *R, const qale2point *P,
                               const qal2d *x, const qal2d *y);

    // qale2_multiplication.cpp
    static qale2affine *qale2ic(const qale2curve *curve, qale2affine *table, const qale2point *P,
                                int32_t ws);
    static int qale2kpic_step(qale2kpic_ctx *ctx, qale2point *out);
    static qale2point *qale2kpic(const qale2curve *curve, qale2point *R, const qald *k,
                                 const qale2affine *powers, int32_t ws);
    static qale2point *qale2kp(const qale2curve *curve, qale2point *R, const qald *k,
                               const qale2point *P);
    static qale2point *qale2skp(const qale2curve *curve, qale2point *R, const qald *k1,
                                const qale2point *P1, const qald *k2, const qale2point *P2);

    // qale2_compression.cpp
    static qal2d *qale2comp(const qale2curve *curve, qal2d *c, qale2point *P);
    static qale2point *qale2exp(const qale2curve *curve, qale2point *R, const qal2d *c);
};

// A product before its reduction: count, and twice the words of the largest element.
struct Product {
    qal2d words[2 * QAL2P_SIZE - 1] = {};

    explicit Product(const qale2curve *curve) { qal2pclear(words, degree_of(curve)); }
};

inline qal2d *Unwiped::qale2bfmul(const qale2curve *curve, qal2d *r, const qal2d *u, const qal2d *v)
{
    QAL_REQUIRE(curve != nullptr, "curve != 0");
    QAL_REQUIRE(r != nullptr, "r != 0");
    QAL_REQUIRE(u != nullptr, "u != 0");
    QAL_REQUIRE(v != nullptr, "v != 0");
    QAL2P_REQUIRE_COUNT(r);
    QAL2P_REQUIRE_COUNT(u);
    QAL2P_REQUIRE_COUNT(v);
    QAL_REQUIRE(*r == *v, "(*r) == (*v)");
    QAL_REQUIRE(*r == *u, "(*r) == (*u)");
    Product t(curve);
    curve->mul(t.words + 1, u + 1, v + 1);
    curve->reduce(t.words + 1);
    return qal2pcopy(r, t.words);
}

inline qal2d *Unwiped::qale2bfsqr(const qale2curve *curve, qal2d *r, const qal2d *u)
{
    QAL_REQUIRE(curve != nullptr, "curve != 0");
    QAL_REQUIRE(r != nullptr, "r != 0");
    QAL_REQUIRE(u != nullptr, "u != 0");
    QAL2P_REQUIRE_COUNT(r);
    QAL2P_REQUIRE_COUNT(u);
    QAL_REQUIRE(*r == *u, "(*r) == (*u)");
    Product t(curve);
    curve->sqr(t.words + 1, u + 1);
    curve->reduce(t.words + 1);
    return qal2pcopy(r, t.words);
}

} // namespace qal::ua
