// The body of a variant; QAL_FIELD256_VARIANT is its name.
#include "qalec/field256_variants.hpp"

#include "qalec/field256.hpp"
#include "qalec/invert256.hpp"

#include <algorithm>

namespace qal::test {
namespace {

using namespace qal::ec;

Fe load(const uint64_t *d)
{
    return {{d[0], d[1], d[2], d[3]}};
}

void store(uint64_t *d, const Fe &a)
{
    for (int i = 0; i < 4; i++)
        d[i] = a.d[i];
}

uint64_t constant(uint64_t p)
{
    uint64_t inverse = 1;
    for (int i = 0; i < 64; i++)
        inverse *= 2 - p * inverse;
    return 0 - inverse;
}

void set_up(SpecialField &f, const uint64_t *p)
{
    f.c = 0 - p[0];
}

void set_up(MontgomeryField &f, const uint64_t *p)
{
    f.set_up(load(p), constant(p[0]));
}

template<typename F, typename Run>
void apply(const uint64_t *p, uint64_t *r, Run run)
{
    F f;
    set_up(f, p);
    Fe result = load(r);
    run(f, result);
    store(r, result);
}

#define QAL_OPERATION(expression)                                                                  \
    [](const uint64_t *p, [[maybe_unused]] const uint64_t *a, [[maybe_unused]] const uint64_t *b,  \
       uint64_t *r) {                                                                              \
        const Fe x = load(a), y = load(b);                                                         \
        apply<F>(p, r, [&](const F &f, Fe &z) {                                                    \
            static_cast<void>(y);                                                                  \
            expression;                                                                            \
        });                                                                                        \
    }

template<typename F>
Field256 operations()
{
    return {QAL_OPERATION(f.add(z, x, y)), QAL_OPERATION(f.sub(z, x, y)),
            QAL_OPERATION(f.half(z, x)),   QAL_OPERATION(f.mul(z, x, y)),
            QAL_OPERATION(f.sqr(z, x)),    QAL_OPERATION(f.in(z, x)),
            QAL_OPERATION(f.out(z, x)),    QAL_OPERATION(z.d[0] = f.is_zero(x))};
}

void invert(const uint64_t *p, const uint64_t *a, const uint64_t * /*b*/, uint64_t *r)
{
    Fe z;
    r[4] = invert256(z, load(a), load(p), constant(p[0]));
    store(r, z);
}

void apply_batch(const uint64_t *p, const int64_t *uvqr, int64_t *d, int64_t *e)
{
    Signed62 signed_d, signed_e;
    std::copy_n(d, 5, signed_d.v);
    std::copy_n(e, 5, signed_e.v);
    apply_modulo(signed_d, signed_e, {uvqr[0], uvqr[1], uvqr[2], uvqr[3]}, to_signed62(load(p)),
                 (0 - constant(p[0])) & low62);
    std::copy_n(signed_d.v, 5, d);
    std::copy_n(signed_e.v, 5, e);
}

} // namespace

Field256Variant QAL_FIELD256_VARIANT()
{
    return {operations<SpecialField>(), operations<MontgomeryField>(), invert, apply_batch};
}

} // namespace qal::test
