// Signatures of DSTU 4145-2002: r is the low bits of h x(e G) for the hash h, s = (e + d r) mod n.
// Signing is constant time in d and e but for repetitions, which the standard demands if a value is
// zero. The time of verification depends on the values, all of which are public.
#include "base/secrecy.hpp"
#include "base/wipe.hpp"
#include "qalmath64/kernels/digits.hpp"
#include "qalmath64/kernels/montgomery.hpp"
#include "ua/dstu_domain.hpp"
#include "ua/dstu_even_order.hpp"

#include <string.h>

using namespace qal::base;
using namespace qal::math;
using namespace qal::ua;

namespace {

// How deep the stack is at most below signing, but for multiplications of the base point, which
// wipe theirs themselves.
constexpr size_t signing_stack = 4352;

// h = the first m bits of the hash as an element, or 1 if they are all zero.
void read_hash_var(const dstu_ctx &ctx, qal2d *h, int32_t bits, const uint8_t *hash)
{
    qal2pclear(h, degree_of(ctx));
    qal2pfrombits(h, hash, bits < degree_of(ctx) ? bits : degree_of(ctx));
    if (qal2p_is_zero(h))
        qal2pinc(h);
}

// r = the low L - 1 bits of an element that is not zero, where the order has L bits.
void to_scalar_var(const dstu_ctx &ctx, qald *r, const qal2d *element)
{
    qalmodexpb2(qal2ptobig(r, element), order_bits(ctx) - 1);
}

// s = (e + d r) mod n, for e, d and r shorter than n.
void signature_scalar(const dstu_ctx &ctx, qald *s, const qald *e, const qald *d, const qald *r)
{
    if (!has_odd_order(ctx)) {
        even_order::signature_scalar_var(ctx, s, e, d, r);
        return;
    }
    const qald *const n = ctx.n;
    const size_t digits = n[0];
    // The Montgomery product of d and r R, which is constant time in both. The division is not, but
    // r is public: it is the other half of the signature.
    qald shifted[1 + 2 * most_order_digits], r_montgomery[1 + 2 * most_order_digits + 2];
    memset(shifted + 1, 0, digits * sizeof *r);
    memcpy(shifted + 1 + digits, r + 1, r[0] * sizeof *r);
    shifted[0] = digits + r[0];
    qaldiv(shifted, n, nullptr, r_montgomery);
    qald operands[3][most_order_digits] = {};
    const qald *const sources[] = {e, d, r_montgomery};
    for (size_t i = 0; i < 3; i++)
        memcpy(operands[i], sources[i] + 1, sources[i][0] * sizeof *s);
    qald sum[2 * most_order_digits];
    qal_mont_mul(sum, operands[1], operands[2], n + 1, digits, montgomery_constant(n[1]));
    const qald carry = qal_add_row(sum, sum, operands[0], digits);
    subtract_once(s + 1, sum, carry, n + 1, digits);
    s[0] = digits;
    declassify(s + 1, digits * sizeof *s); // public: half of the signature
    qalclip(s);
}

// x of a compressed point that is not zero: Tr(x) = Tr(a).
void abscissa(const dstu_ctx &ctx, qal2d *x, const qal2d *c)
{
    if (!has_odd_order(ctx)) {
        even_order::abscissa_var(ctx, x, c);
        return;
    }
    qal2pcopy(x, c);
    qal2psbit(x, 0, 0);
    x[1] |= engine_of(ctx).trace(x) ^ ctx.curve.a;
}

int sign_hash(const dstu_ctx &ctx, dstu_bspool &pool, int32_t priv_len, const uint8_t *priv,
              int32_t hash_bits, const uint8_t *hash, int32_t *sig_len, uint8_t *sig)
{
    Number d;
    if (!read_private_key(ctx, d, priv, priv_len))
        return DSTU_BAD_PRIVATE_KEY;
    qal2p h, point, x;
    read_hash_var(ctx, h, hash_bits, hash);
    qal2pclear(x, degree_of(ctx));
    Number e, s;
    qald r[QALBIG_SIZE];
    for (;;) {
        dstu_bspool_get(&pool, e, point);
        if (qal2p_is_zero(point))
            continue;
        abscissa(ctx, x, point);
        // In place: if this attempt fails, the next one begins with its product.
        qale2bfmul(&ctx.curve, h, h, x);
        to_scalar_var(ctx, r, h);
        if (r[0] == 0)
            continue;
        signature_scalar(ctx, s, e, d, r);
        if (s[0] != 0)
            break;
    }
    const int32_t size = ctx.sig_len, half = size / 2;
    memset(sig, 0, static_cast<size_t>(size));
    qaltorbase256(sig, static_cast<uint32_t>(half), r);
    qaltorbase256(sig + half, static_cast<uint32_t>(half), s);
    *sig_len = size;
    return DSTU_OK;
}

} // namespace

extern "C" {

int dstu_sign(const dstu_ctx *ctx, dstu_bspool *pool, int32_t priv_len, const uint8_t *priv,
              int32_t hash_bits, const uint8_t *hash, int32_t *sig_len, uint8_t *sig)
{
    if (ctx == nullptr || pool == nullptr || priv == nullptr || hash == nullptr ||
        sig_len == nullptr || sig == nullptr)
        return DSTU_BAD_ARGUMENT;
    if (priv_len < 1 || priv_len > ctx->key_len || *sig_len < ctx->sig_len || hash_bits < 1)
        return DSTU_BAD_ARGUMENT;
    return run_on_wiped_stack<signing_stack>(
        [=] { return sign_hash(*ctx, *pool, priv_len, priv, hash_bits, hash, sig_len, sig); });
}

int dstu_verify(const dstu_ctx *ctx, int32_t pub_len, const uint8_t *pub, int32_t hash_bits,
                const uint8_t *hash, int32_t sig_len, const uint8_t *sig)
{
    if (ctx == nullptr || pub == nullptr || hash == nullptr || sig == nullptr)
        return DSTU_BAD_ARGUMENT;
    if (pub_len < 1 || pub_len > ctx->field_len || hash_bits < 1)
        return DSTU_BAD_ARGUMENT;
    if (sig_len != ctx->sig_len)
        return DSTU_BAD_SIGNATURE;
    const auto half = static_cast<uint32_t>(ctx->sig_len / 2);
    qald r[QALBIG_SIZE], s[QALBIG_SIZE], expected[QALBIG_SIZE];
    qalfromrbase256(r, sig, half);
    qalfromrbase256(s, sig + half, half);
    if (r[0] == 0 || qalcmp(r, ctx->n) >= 0 || s[0] == 0 || qalcmp(s, ctx->n) >= 0)
        return DSTU_BAD_SIGNATURE;
    qale2point Q;
    if (!read_point_var(ctx->curve, &Q, pub, pub_len))
        return DSTU_BAD_PUBLIC_KEY;

    qal2p x, h;
    if (!engine_of(*ctx).joint_abscissa_var(&ctx->curve, x, s, ctx->powers, r, &Q))
        return DSTU_BAD_SIGNATURE;
    read_hash_var(*ctx, h, hash_bits, hash);
    qale2bfmul(&ctx->curve, h, h, x);
    if (qal2p_is_zero(h))
        return DSTU_BAD_SIGNATURE;
    to_scalar_var(*ctx, expected, h);
    return qalcmp(expected, r) == 0 ? DSTU_OK : DSTU_BAD_SIGNATURE;
}
}
