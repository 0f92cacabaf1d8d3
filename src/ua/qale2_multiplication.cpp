// Multiples of points by sliding windows over the scalar, with tables of the odd multiples. Shapes
// and aliasing are as in qale2.h. The time depends on scalars and points.
#include "qalmath64/kernels/digits.hpp"
#include "ua/qale2.hpp"

using namespace qal::base;
using namespace qal::ua;

namespace qal::ua {

qale2affine *Unwiped::qale2ic(const qale2curve *curve, qale2affine *table, const qale2point *P,
                              int32_t ws)
{
    const Engine *engine = engine_of(curve);
    if (engine != nullptr && engine->odd_multiples_var(curve, table, P, ws))
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

int Unwiped::qale2kpic_step(qale2kpic_ctx *ctx, qale2point *out)
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

qale2point *Unwiped::qale2kpic(const qale2curve *curve, qale2point *R, const qald *k,
                               const qale2affine *powers, int32_t ws)
{
    qale2kpic_ctx ctx = {};
    qale2kpic_init(&ctx, curve, k, powers, ws);
    if (const Engine *engine = engine_of(curve)) {
        engine->multiply_var(&ctx);
        qale2pcp(curve, R, &ctx.Q);
    } else {
        while (qale2kpic_step(&ctx, R) == 0) {
        }
    }
    return R;
}

qale2point *Unwiped::qale2kp(const qale2curve *curve, qale2point *R, const qald *k,
                             const qale2point *P)
{
    constexpr int32_t ws = 5;
    qale2affine table[1 << (ws - 1)];
    qale2ic(curve, table, P, ws);
    qale2kpic(curve, R, k, table, ws);
    return R;
}

qale2point *Unwiped::qale2skp(const qale2curve *curve, qale2point *R, const qald *k1,
                              const qale2point *P1, const qald *k2, const qale2point *P2)
{
    Point first(curve), second(curve);
    qale2kp(curve, first, k1, P1);
    qale2kp(curve, second, k2, P2);
    Element x(curve), y(curve);
    qale2pxy(curve, second, x, y);
    return qale2pa(curve, R, first, x, y);
}

} // namespace qal::ua

extern "C" {

qale2affine *qale2ic(const qale2curve *curve, qale2affine *table, const qale2point *P, int32_t ws)
{
    return run_on_wiped_stack<table_stack>([=] { return Unwiped::qale2ic(curve, table, P, ws); });
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
    ctx->bits = qal::math::bit_length(k); // constant time: k may be a one-time secret
    return ctx;
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
}
