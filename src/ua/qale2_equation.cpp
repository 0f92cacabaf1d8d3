// Trace, half-trace and the quadratic equation r^2 + u r = w over a field of odd degree m. The time
// depends on whether u and w are zero and whether there is a solution.
#include "ua/qale2.hpp"

namespace qal::ua {

int Unwiped::tr(const qale2curve *curve, const qal2d *z)
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

qal2d *Unwiped::htr(const qale2curve *curve, qal2d *r, const qal2d *t)
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

int Unwiped::solve_qe(const qale2curve *curve, qal2d *r, const qal2d *u, const qal2d *w)
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

} // namespace qal::ua
