// Curves over binary fields by the routines of a curve's record. Operations of many field products
// enter the field's engine where there is one.
#include "base/wipe.hpp"
#include "qalmath64/kernels/digits.hpp"
#include "ua/counts.hpp"
#include "ua/engine.hpp"
#include "ua/fields.hpp"
#include "ua/kernels.hpp"

#include <qal/qale2.h>

#include <string.h>

using namespace qal::base;
using namespace qal::ua;

namespace {

constexpr char qal_source[] = "../src/ua/qale2";

// The routines of the fields, in the order of `fields`.
struct Routines {
    decltype(qale2curve::mul) mul;
    decltype(qale2curve::sqr) sqr;
    decltype(qale2curve::reduce) reduce;
};

constexpr Routines field_routines[] = {
    {pmult192x192, psqr192x192, reduce163_7_6_3_1},
    {pmult192x192, psqr192x192, reduce191_9_1},
    {pmult257x257, psqr288x288, reduce257_12_1},
    {pmult448x448, psqr448x448, reduce431_5_3_1},
};
static_assert(sizeof field_routines / sizeof *field_routines == field_count);

// The routines of the curve's field, or null.
const Routines *routines_of(const qale2curve *curve)
{
    const unsigned i = index_of_field({curve->mod_m, curve->mod_a, curve->mod_b, curve->mod_c});
    return i < field_count ? field_routines + i : nullptr;
}

int32_t degree_of(const qale2curve *curve)
{
    return static_cast<int32_t>(curve->mod_m);
}

struct Element {
    qal2p p;

    explicit Element(const qale2curve *curve) { qal2pclear(p, degree_of(curve)); }
    Element(const qale2curve *curve, const qal2d *value) : Element(curve) { qal2pcopy(p, value); }

    operator qal2d *() { return p; }
};

void set_infinity(const qale2curve *curve, qale2point *P)
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

void copy_with_count(qal2d *r, const qal2d *a)
{
    memmove(r, a, (a[0] + 1) * sizeof *a);
}

// A product before its reduction: count, and twice the words of the largest element.
struct Product {
    qal2d words[2 * QAL2P_SIZE - 1] = {};

    explicit Product(const qale2curve *curve) { qal2pclear(words, degree_of(curve)); }
};

// The exported operations that compute, and their parts, but for wiping: each is made of many
// others, and the stack below the outermost one is wiped as a whole. In a class, where the names
// that failures report can be those of the exported functions and calls still mean the members.
struct Unwiped {
    static int tr(const qale2curve *curve, const qal2d *z)
    {
        QAL_REQUIRE(curve != nullptr, "curve != 0");
        const Engine *const engine = engine_of(curve);
        if (engine != nullptr && qal2p_deg(z) < degree_of(curve))
            return static_cast<int>(engine->trace(z));
        Element t(curve, z);
        for (uint32_t i = 1; i < curve->mod_m; i++) {
            qale2bfsqr(curve, t, t);
            qal2add(t, t, z);
        }
        QAL_REQUIRE(qal2p_is_zero(t) || qal2p_is_one(t),
                    "( qal2p_is_zero((z)) ) || ( qal2p_is_one((z)) )");
        return static_cast<int>(t.p[1] & 1);
    }

    // Half-trace: for odd m, h = t + t^4 + t^16 + ... has h^2 + h = t + Tr(t).
    static qal2d *htr(const qale2curve *curve, qal2d *r, const qal2d *t)
    {
        QAL_REQUIRE((curve->mod_m & 1) == 1, "(curve->mod_m & 1) == 1");
        if (const Engine *const engine = engine_of(curve)) {
            engine->half_trace(r, t);
            return r;
        }
        Element sum(curve, t);
        for (uint32_t i = 0; i < (curve->mod_m - 1) / 2; i++) {
            qale2bfsqr(curve, sum, sum);
            qale2bfsqr(curve, sum, sum);
            qal2add(sum, sum, t);
        }
        return qal2pcopy(r, sum);
    }

    // Solves r^2 + u r = w and returns the number of solutions; the other one is r + u.
    static int solve_qe(const qale2curve *curve, qal2d *r, const qal2d *u, const qal2d *w)
    {
        QAL_REQUIRE(curve != nullptr, "curve != 0");
        QAL_REQUIRE((curve->mod_m & 1) == 1, "( curve->mod_m & 1) == 1");
        Element t(curve, w);
        const Engine *const engine = engine_of(curve);
        if (qal2p_is_zero(u)) {
            if (engine != nullptr && qal2p_deg(w) < degree_of(curve)) {
                engine->square_root(r, w);
                return 1;
            }
            for (uint32_t i = 1; i < curve->mod_m; i++)
                qale2bfsqr(curve, t, t);
            qal2pcopy(r, t);
            return 1;
        }
        if (qal2p_is_zero(w)) {
            qal2pclear(r, degree_of(curve));
            return 2;
        }
        Element v(curve);
        if (!qal2p_is_one(u)) {
            qale2bfinv(curve, v, u);
            qale2bfsqr(curve, v, v);
            qale2bfmul(curve, t, t, v);
        }
        if (tr(curve, t) == 1) {
            qal2pclear(r, degree_of(curve));
            return 0;
        }
        htr(curve, v, t);
        qale2bfmul(curve, r, v, u);
        return 2;
    }

    static void set_one(const qale2curve *curve, qal2d *r)
    {
        qal2pclear(r, degree_of(curve));
        r[1] = 1;
    }

    // x <- x + a
    static void add_coefficient_a(const qale2curve *curve, qal2d *x)
    {
        if (curve->a == 1)
            qal2pinc(x);
    }

    static bool is_on_curve(const qale2curve *curve, const qal2d *x, const qal2d *y)
    {
        // y (y + x) = x^2 (x + a) + b
        Element left(curve, y), right(curve, x), t(curve);
        qal2add(left, left, x);
        qale2bfmul(curve, left, left, y);
        add_coefficient_a(curve, right);
        qale2bfsqr(curve, t, x);
        qale2bfmul(curve, right, right, t);
        qal2add(right, right, curve->b);
        return qal2p_is_equal(left, right);
    }

    static qal2d *qale2bfmul(const qale2curve *curve, qal2d *r, const qal2d *u, const qal2d *v)
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

    static qal2d *qale2bfsqr(const qale2curve *curve, qal2d *r, const qal2d *u)
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

    // Wipes its own stack.
    static qal2d *qale2bfinv(const qale2curve *curve, qal2d *r, const qal2d *u)
    {
        QAL_REQUIRE(curve != nullptr, "curve != 0");
        return qal2invm(r, u, curve->mod_m, curve->mod_a, curve->mod_b, curve->mod_c);
    }

    static qale2point *qale2pcr(const qale2curve *curve, qale2point *P, const qal2d *x,
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

    static qale2point *qale2pneg(const qale2curve *curve, qale2point *P)
    {
        Element t(curve);
        qale2bfmul(curve, t, P->X, P->Z);
        qal2add(P->Y, P->Y, t);
        return P;
    }

    static int qale2pxy(const qale2curve *curve, qale2point *P, qal2d *x, qal2d *y)
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

    // López and Dahab, "Improved algorithms for elliptic curve arithmetic in GF(2^n)", SAC '98:
    //   Z3 = X1^2 Z1^2, X3 = X1^4 + b Z1^4, Y3 = b Z1^4 Z3 + X3 (a Z3 + Y1^2 + b Z1^4).
    static qale2point *qale2pd(const qale2curve *curve, qale2point *R, const qale2point *P)
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

    // R = P + (x2, y2), of which neither is at infinity: Al-Daoud, Mahmod, Rushdan and Kilicman, "A
    // new addition formula for elliptic curves over GF(2^n)", IEEE Trans. Computers 51 (2002):
    //   A = Y1 + y2 Z1^2, B = X1 + x2 Z1, C = Z1 B, Z3 = C^2, X3 = A^2 + A C + B^2 (C + a Z1^2),
    //   Y3 = (x2 Z3 + X3) (A C + Z3) + (x2 + y2) Z3^2.
    // False if x2 = X1/Z1, where the formula fails; `equal` tells whether the points are.
    static bool add_affine(const qale2curve *curve, qale2point *R, const qale2point *P,
                           const qal2d *x2, const qal2d *y2, bool *equal)
    {
        Element t1(curve), t2(curve), t3(curve);
        Point sum(curve);
        qale2bfmul(curve, t1, P->Z, x2);
        qale2bfsqr(curve, t2, P->Z);
        qal2add(sum->X, P->X, t1);           // B
        qale2bfmul(curve, t1, P->Z, sum->X); // C
        qale2bfmul(curve, t3, t2, y2);
        qal2add(sum->Y, P->Y, t3); // A
        if (qal2p_is_zero(sum->X)) {
            *equal = qal2p_is_zero(sum->Y) != 0;
            return false;
        }
        qale2bfsqr(curve, sum->Z, t1);
        qale2bfmul(curve, t3, t1, sum->Y); // A C
        if (curve->a == 1)
            qal2add(t1, t1, t2);
        qale2bfsqr(curve, t2, sum->X);
        qale2bfmul(curve, sum->X, t2, t1);
        qale2bfsqr(curve, t2, sum->Y);
        qal2add(sum->X, sum->X, t2);
        qal2add(sum->X, sum->X, t3);
        qale2bfmul(curve, t2, x2, sum->Z);
        qal2add(t2, t2, sum->X);
        qale2bfsqr(curve, t1, sum->Z);
        qal2add(t3, t3, sum->Z);
        qale2bfmul(curve, sum->Y, t3, t2);
        qal2add(t2, x2, y2);
        qale2bfmul(curve, t3, t1, t2);
        qal2add(sum->Y, sum->Y, t3);
        qale2pcp(curve, R, sum);
        return true;
    }

    static qale2point *qale2paa(const qale2curve *curve, qale2point *R, const qale2point *P,
                                const qale2point *Q)
    {
        if (qale2p_is_inf(curve, Q))
            return qale2pcp(curve, R, P);
        if (qale2p_is_inf(curve, P))
            return qale2pcp(curve, R, Q);
        bool equal;
        if (add_affine(curve, R, P, Q->X, Q->Y, &equal))
            return R;
        return equal ? qale2pd(curve, R, Q) : qale2pcr(curve, R, nullptr, nullptr);
    }

    static qale2point *qale2pa(const qale2curve *curve, qale2point *R, const qale2point *P,
                               const qal2d *x, const qal2d *y)
    {
        if (qal2p_is_zero(x) && qal2p_is_zero(y))
            return qale2pcp(curve, R, P);
        if (qale2p_is_inf(curve, P))
            return qale2pcr(curve, R, x, y);
        bool equal;
        if (add_affine(curve, R, P, x, y, &equal))
            return R;
        if (!equal)
            return qale2pcr(curve, R, nullptr, nullptr);
        Point point(curve);
        qale2pcr(curve, point, x, y);
        return qale2pd(curve, R, point);
    }

    static qale2affine *qale2ic(const qale2curve *curve, qale2affine *table, const qale2point *P,
                                int32_t ws)
    {
        const Engine *engine = engine_of(curve);
        if (engine != nullptr && engine->odd_multiples(curve, table, P, ws))
            return table;
        Point point(curve), twice(curve);
        qale2pcp(curve, point, P);
        qale2pd(curve, twice, P);
        qale2pxy(curve, point, table[0].x, table[0].y);
        Element x(curve), y(curve);
        qale2pxy(curve, twice, x, y);
        for (size_t i = 1; i < size_t{1} << (ws - 1); i++) {
            qale2pa(curve, point, point, x, y);
            qale2pxy(curve, point, table[i].x, table[i].y);
        }
        return table;
    }

    static int qale2kpic_step(qale2kpic_ctx *ctx, qale2point *out)
    {
        if (ctx->bits > 0) {
            int64_t length;
            const uint64_t digit = qalgetslide(ctx->k, ctx->bits - 1, ctx->ws, &length);
            ctx->bits -= static_cast<uint64_t>(length);
            for (; length > 0; length--)
                qale2pd(ctx->curve, &ctx->Q, &ctx->Q);
            if (digit != 0) {
                const qale2affine &multiple = ctx->powers[(digit - 1) / 2];
                qale2pa(ctx->curve, &ctx->Q, &ctx->Q, multiple.x, multiple.y);
            }
            if (ctx->bits > 0)
                return 0;
        }
        if (out != nullptr)
            qale2pcp(ctx->curve, out, &ctx->Q);
        return 1;
    }

    static qale2point *qale2kpic(const qale2curve *curve, qale2point *R, const qald *k,
                                 const qale2affine *powers, int32_t ws)
    {
        qale2kpic_ctx ctx = {};
        qale2kpic_init(&ctx, curve, k, powers, ws);
        if (const Engine *engine = engine_of(curve)) {
            engine->multiply(&ctx);
            qale2pcp(curve, R, &ctx.Q);
        } else {
            while (qale2kpic_step(&ctx, R) == 0) {
            }
        }
        return R;
    }

    static qale2point *qale2kp(const qale2curve *curve, qale2point *R, const qald *k,
                               const qale2point *P)
    {
        constexpr int32_t ws = 5;
        qale2affine table[1 << (ws - 1)];
        qale2ic(curve, table, P, ws);
        qale2kpic(curve, R, k, table, ws);
        return R;
    }

    static qale2point *qale2skp(const qale2curve *curve, qale2point *R, const qald *k1,
                                const qale2point *P1, const qald *k2, const qale2point *P2)
    {
        Point first(curve), second(curve);
        qale2kp(curve, first, k1, P1);
        qale2kp(curve, second, k2, P2);
        Element x(curve), y(curve);
        qale2pxy(curve, second, x, y);
        return qale2pa(curve, R, first, x, y);
    }

    static qal2d *qale2comp(const qale2curve *curve, qal2d *c, qale2point *P)
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

    static qale2point *qale2exp(const qale2curve *curve, qale2point *R, const qal2d *c)
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
};

} // namespace

namespace qal::ua {

const Engine *engine_of(const qale2curve *curve)
{
    const Routines *const routines = routines_of(curve);
    if (routines == nullptr || curve->mul != routines->mul || curve->sqr != routines->sqr ||
        curve->reduce != routines->reduce)
        return nullptr;
    return engine_of_field(curve->mod_m, curve->mod_a, curve->mod_b, curve->mod_c);
}

} // namespace qal::ua

extern "C" {

qale2curve *qale2cr(qale2curve *curve, uint32_t m, uint32_t mod_a, uint32_t mod_b, uint32_t mod_c,
                    uint32_t a, const uint8_t *b)
{
    curve->mod_m = m;
    curve->mod_a = mod_a;
    curve->mod_b = mod_b;
    curve->mod_c = mod_c;
    const Routines *const routines = routines_of(curve);
    if (a > 1 || routines == nullptr)
        return nullptr;
    curve->a = a;
    const int32_t degree = degree_of(curve);
    qal2pfromb(qal2pclear(curve->b, degree), b, (degree + 8) / 8);
    if (qal2p_is_zero(curve->b) || qal2p_deg(curve->b) >= degree)
        return nullptr;
    curve->mul = routines->mul;
    curve->sqr = routines->sqr;
    curve->reduce = routines->reduce;
    return curve;
}

void qale2cl(qale2curve *curve)
{
    wipe(curve, sizeof *curve);
}

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

qale2kpic_ctx *qale2kpic_init(qale2kpic_ctx *ctx, const qale2curve *curve, const qald *k,
                              const qale2affine *powers, int32_t ws)
{
    QAL_REQUIRE(ctx != nullptr, "ctx != 0");
    QAL_REQUIRE(curve != nullptr, "curve != 0");
    QAL_REQUIRE(powers != nullptr, "powers != 0");
    QAL_REQUIRE(ws > 1, "ws>1");
    ctx->curve = curve;
    ctx->k = k;
    set_infinity(curve, &ctx->Q);
    ctx->powers = powers;
    ctx->ws = ws;
    ctx->bits = qal::math::bit_length(k); // of one-time secrets, too
    return ctx;
}

// How deep the stack is at most below the operations, in whichever variant: what each of them
// wipes.
constexpr size_t square_stack = 448, product_stack = 896, point_stack = 1920,
                 inversion_stack = 2944, windows_stack = 3968, table_stack = 16256,
                 multiple_stack = 19456;

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

qale2point *qale2pcr(const qale2curve *curve, qale2point *P, const qal2d *x, const qal2d *y)
{
    return run_on_wiped_stack<inversion_stack>([=] { return Unwiped::qale2pcr(curve, P, x, y); });
}

qale2point *qale2pneg(const qale2curve *curve, qale2point *P)
{
    return run_on_wiped_stack<product_stack>([=] { return Unwiped::qale2pneg(curve, P); });
}

int qale2pxy(const qale2curve *curve, qale2point *P, qal2d *x, qal2d *y)
{
    return run_on_wiped_stack<inversion_stack>([=] { return Unwiped::qale2pxy(curve, P, x, y); });
}

qale2point *qale2pd(const qale2curve *curve, qale2point *R, const qale2point *P)
{
    return run_on_wiped_stack<point_stack>([=] { return Unwiped::qale2pd(curve, R, P); });
}

qale2point *qale2paa(const qale2curve *curve, qale2point *R, const qale2point *P,
                     const qale2point *Q)
{
    return run_on_wiped_stack<point_stack>([=] { return Unwiped::qale2paa(curve, R, P, Q); });
}

qale2point *qale2pa(const qale2curve *curve, qale2point *R, const qale2point *P, const qal2d *x,
                    const qal2d *y)
{
    return run_on_wiped_stack<point_stack>([=] { return Unwiped::qale2pa(curve, R, P, x, y); });
}

qale2affine *qale2ic(const qale2curve *curve, qale2affine *table, const qale2point *P, int32_t ws)
{
    return run_on_wiped_stack<table_stack>([=] { return Unwiped::qale2ic(curve, table, P, ws); });
}

int qale2kpic_step(qale2kpic_ctx *ctx, qale2point *out)
{
    return run_on_wiped_stack<point_stack>([=] { return Unwiped::qale2kpic_step(ctx, out); });
}

qale2point *qale2kpic(const qale2curve *curve, qale2point *R, const qald *k,
                      const qale2affine *powers, int32_t ws)
{
    return run_on_wiped_stack<windows_stack>(
        [=] { return Unwiped::qale2kpic(curve, R, k, powers, ws); });
}

qale2point *qale2kp(const qale2curve *curve, qale2point *R, const qald *k, const qale2point *P)
{
    return run_on_wiped_stack<multiple_stack>([=] { return Unwiped::qale2kp(curve, R, k, P); });
}

qale2point *qale2skp(const qale2curve *curve, qale2point *R, const qald *k1, const qale2point *P1,
                     const qald *k2, const qale2point *P2)
{
    return run_on_wiped_stack<multiple_stack>(
        [=] { return Unwiped::qale2skp(curve, R, k1, P1, k2, P2); });
}

qal2d *qale2comp(const qale2curve *curve, qal2d *c, qale2point *P)
{
    return run_on_wiped_stack<inversion_stack>([=] { return Unwiped::qale2comp(curve, c, P); });
}

qale2point *qale2exp(const qale2curve *curve, qale2point *R, const qal2d *c)
{
    return run_on_wiped_stack<inversion_stack>([=] { return Unwiped::qale2exp(curve, R, c); });
}
}
