// Curve records: y^2 + x y = x^3 + a x^2 + b, with the routines of the curve's field. Parameters of
// curves are public.
#include "ua/fields.hpp"
#include "ua/qale2.hpp"

using namespace qal::base;
using namespace qal::ua;

namespace {

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
    const unsigned i = index_of_field(curve->mod_m, curve->mod_a, curve->mod_b, curve->mod_c);
    return i < field_count ? field_routines + i : nullptr;
}

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
}
