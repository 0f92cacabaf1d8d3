// Diffie-Hellman on the curves of DSTU 4145-2002: the shared secret is x of d Q, or of d Q times
// the cofactor. Shapes are as in dhua.h. Constant time in the private key.
#include <qal/dhua.h>

#include "base/wipe.hpp"
#include "ua/dstu_domain.hpp"

using namespace qal::base;
using namespace qal::ua;

namespace {

int shared_secret(const dstu_ctx &ctx, int32_t priv_len, const uint8_t *priv, int32_t pub_len,
                  const uint8_t *pub, int cofactor, int32_t *out_len, uint8_t *out)
{
    const qale2curve &curve = ctx.curve;
    qale2point Q;
    if (!read_point_var(curve, &Q, pub, pub_len))
        return DSTU_BAD_PUBLIC_KEY;
    qald d[QALBIG_SIZE];
    if (!read_private_key(ctx, d, priv, priv_len))
        return DSTU_BAD_PRIVATE_KEY;
    if (cofactor != 0 && ctx.cofactor != 2 && ctx.cofactor != 4)
        return DSTU_BAD_CURVE;
    const unsigned doublings = cofactor == 0 ? 0 : ctx.cofactor == 4 ? 2 : 1;
    qal2p x;
    engine_of(ctx).multiply_abscissa(&curve, x, d, static_cast<unsigned>(order_bits(ctx)), Q.X,
                                     doublings);
    *out_len = field_bytes(curve);
    qal2ptob(out, x, *out_len);
    return DSTU_OK;
}

} // namespace

int dhua_zz(const dstu_ctx *ctx, int32_t priv_len, const uint8_t *priv, int32_t pub_len,
            const uint8_t *pub, int cofactor, int32_t *out_len, uint8_t *out)
{
    if (ctx == nullptr || priv == nullptr || pub == nullptr || out_len == nullptr || out == nullptr)
        return DSTU_BAD_ARGUMENT;
    if (priv_len < 1 || priv_len < ctx->key_len || pub_len < 1 || pub_len < ctx->field_len)
        return DSTU_BAD_ARGUMENT;
    return run_on_wiped_stack<engine_stack>(
        [=] { return shared_secret(*ctx, priv_len, priv, pub_len, pub, cofactor, out_len, out); });
}
