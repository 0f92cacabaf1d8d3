#include <qal/rds.h>

#include "base/secrecy.hpp"
#include "base/wipe.hpp"
#include "qalec/copy_point.hpp"
#include "qalec/scalars256.hpp"

#include <string.h>

using namespace qal::ec;
using qal::base::declassified;

namespace {

bool is_below(const qald *x, const qald *bound)
{
    return qalcmp(x, bound) < 0;
}

// e = digest mod q, or 1 if that is 0 (RFC 5832, clause 6.1).
Scalar load_digest(const uint8_t *digest, const Scalar &q)
{
    Scalar e = load_scalar(digest);
    reduce(e, q);
    e.d[0] |= is_zero(e);
    return e;
}

// Right-aligned in 32 bytes. Branches on the number.
void store_number(uint8_t *out, const qald *x)
{
    store_digits(out, scalar_of(x).d);
}

} // namespace

int rds_init(rds_ctx *ctx, const uint8_t *p, const uint8_t *a, const uint8_t *b, const uint8_t *q,
             const uint8_t *x, const uint8_t *y)
{
    if (ctx == nullptr || p == nullptr || a == nullptr || b == nullptr || q == nullptr ||
        x == nullptr || y == nullptr)
        return RDS_NULL_POINTER;
    memset(ctx, 0, sizeof *ctx);

    qald first[1 + digits256], second[1 + digits256], third[1 + digits256];
    qalfrombase256(first, p, bytes256);
    qalfrombase256(second, a, bytes256);
    qalfrombase256(third, b, bytes256);
    if (qalbitlen(first, 1) < 255 || first[1] % 2 == 0 || second[0] == 0 ||
        !is_below(second, first) || third[0] == 0 || !is_below(third, first) ||
        qaleccr(&ctx->curve, first, second, third) == nullptr)
        return RDS_BAD_CURVE;

    qalfrombase256(second, x, bytes256);
    qalfrombase256(third, y, bytes256);
    if (!is_below(second, first) || !is_below(third, first) ||
        qalecpcr(&ctx->curve, &ctx->G, second, third) == nullptr)
        return RDS_BAD_BASE_POINT;

    qalfrombase256(ctx->q, q, bytes256);
    qald next[1 + digits256 + 1];
    if (qalbitlen(qaladd(qalcopy(next, ctx->q), QALBIG_ONE), 1) <= 254)
        return RDS_BAD_ORDER;

    ctx->pubkey_len = 2 * bytes256;
    ctx->privkey_len = bytes256;
    ctx->sig_len = 2 * bytes256;
    ctx->w = 5;
    qalecic(&ctx->curve, ctx->table, &ctx->G, ctx->w);
    return RDS_OK;
}

int rds_get_prms(const rds_ctx *ctx, uint8_t *p, uint8_t *a, uint8_t *b, uint8_t *q, uint8_t *x,
                 uint8_t *y)
{
    if (ctx == nullptr || p == nullptr || a == nullptr || b == nullptr || q == nullptr ||
        x == nullptr || y == nullptr)
        return RDS_NULL_POINTER;
    const qalpff *const f = &ctx->curve.field;
    qalfe u, v;
    store_number(p, f->p);
    store_number(a, f->out(f, u, ctx->curve.a));
    store_number(b, f->out(f, u, ctx->curve.b));
    store_number(q, ctx->q);
    qalecpoint point; // the context's own must not change
    qalecpxy(&ctx->curve, copy_point(&point, &ctx->G), u, v);
    store_number(x, u);
    store_number(y, v);
    return RDS_OK;
}

namespace {

[[gnu::noinline]] int gen_keys(const rds_ctx *ctx, const uint8_t *privkey, uint8_t *pubkey)
{
    const Scalar d = load_scalar(privkey);
    // Public: the return code reveals it.
    if (!declassified(is_in_range(d, scalar_of(ctx->q))))
        return RDS_BAD_SECRET;
    const Curve256 curve = curve_of(ctx);
    uint64_t xy[2 * digits256];
    curve256_multiply_base(&curve, ctx->table, d.d, xy);
    store_digits(pubkey, xy);
    store_digits(pubkey + bytes256, xy + digits256);
    return RDS_OK;
}

[[gnu::noinline]] int sign(const rds_ctx *ctx, const uint8_t *privkey, const uint8_t *nonce,
                           const uint8_t *digest, uint8_t *sig)
{
    // The code tells what the conditions are; where the last ones are not met, k is used for
    // nothing.
    const Scalar q = scalar_of(ctx->q), d = load_scalar(privkey), k = load_scalar(nonce);
    if (!declassified(is_in_range(d, q)))
        return RDS_BAD_PRIVATE_KEY;
    const Scalar e = load_digest(digest, q);
    if (!declassified(is_in_range(k, q)))
        return RDS_BAD_SECRET;
    const Curve256 curve = curve_of(ctx);
    uint64_t C[2 * digits256];
    curve256_multiply_base(&curve, ctx->table, k.d, C);
    Scalar r = {{C[0], C[1], C[2], C[3]}};
    reduce(r, q);
    const Scalar s = sum_of_products(q, r, d, e, k);
    if (declassified(is_zero(r)) || declassified(is_zero(s)))
        return RDS_BAD_SECRET;
    store_digits(sig, s.d);
    store_digits(sig + bytes256, r.d);
    return RDS_OK;
}

} // namespace

int rds_gen_keys(const rds_ctx *ctx, const uint8_t *privkey, uint8_t *pubkey)
{
    if (ctx == nullptr || privkey == nullptr || pubkey == nullptr)
        return RDS_NULL_POINTER;
    const int code = gen_keys(ctx, privkey, pubkey);
    qal::base::wipe_stack<stack256>();
    return code;
}

int rds_sign(const rds_ctx *ctx, const uint8_t *privkey, const uint8_t *k, const uint8_t *digest,
             uint8_t *sig)
{
    if (ctx == nullptr || privkey == nullptr || k == nullptr || digest == nullptr || sig == nullptr)
        return RDS_NULL_POINTER;
    const int code = sign(ctx, privkey, k, digest, sig);
    qal::base::wipe_stack<stack256>();
    return code;
}

int rds_verify(const rds_ctx *ctx, const uint8_t *pubkey, const uint8_t *digest, const uint8_t *sig)
{
    if (ctx == nullptr || pubkey == nullptr || digest == nullptr || sig == nullptr)
        return RDS_NULL_POINTER;
    const Curve256 curve = curve_of(ctx);
    const Scalar q = scalar_of(ctx->q), zero = {};
    uint64_t G[2 * digits256], Q[2 * digits256];
    if (!load_point(Q, curve, pubkey))
        return RDS_BAD_PUBLIC_KEY;
    const Scalar s = load_scalar(sig), r = load_scalar(sig + bytes256);
    if (!is_in_range(r, q) || !is_in_range(s, q))
        return RDS_BAD_SIGNATURE;

    const Scalar v = inverse(q, load_digest(digest, q));
    const Scalar z1 = sum_of_products(q, s, v, zero, zero);
    Scalar z2 = sum_of_products(q, r, v, zero, zero);
    subtract(z2, q, z2);
    base_point(G, ctx);
    return curve256_matches(&curve, G, Q, z1.d, z2.d, q.d, r.d) ? RDS_OK : RDS_BAD_SIGNATURE;
}
