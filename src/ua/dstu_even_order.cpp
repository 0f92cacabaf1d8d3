// Steps for a base point of even order, by general operations. The time depends on the values.
#include "ua/dstu_even_order.hpp"

#include "base/wipe.hpp"
#include "ua/dstu_domain.hpp"

namespace qal::ua::even_order {

void compress_var(const dstu_ctx &ctx, qal2d *c, qale2point *P)
{
    qale2comp(&ctx.curve, c, P);
}

void negate_compressed_var(const dstu_ctx &ctx, qal2d *c)
{
    qale2point point;
    if (qale2exp(&ctx.curve, &point, c) != nullptr)
        qale2comp(&ctx.curve, c, qale2pneg(&ctx.curve, &point));
    base::wipe(&point, sizeof point);
}

void abscissa_var(const dstu_ctx &ctx, qal2d *x, const qal2d *c)
{
    qale2point point;
    if (qale2exp(&ctx.curve, &point, c) != nullptr)
        qale2pxy(&ctx.curve, &point, x, nullptr);
    base::wipe(&point, sizeof point);
}

void signature_scalar_var(const dstu_ctx &ctx, qald *s, const qald *e, const qald *d, const qald *r)
{
    Number product;
    qaldiv(qaladd(qalmul(d, r, product), e), ctx.n, nullptr, s);
}

} // namespace qal::ua::even_order
