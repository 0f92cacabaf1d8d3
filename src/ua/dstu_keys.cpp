// Keys of DSTU 4145-2002: a private key d and the public key Q = -d G. What meets a private key is
// constant time; the time of operations on public keys depends on the values.
#include "base/secrecy.hpp"
#include "base/wipe.hpp"
#include "ua/dstu_domain.hpp"
#include "ua/dstu_even_order.hpp"

#include <string.h>

using namespace qal::base;
using namespace qal::ua;

namespace {

// How deep the stack is at most below key generation, but for multiplications of the base point,
// which wipe theirs themselves.
constexpr size_t keys_stack = 768;

// Replaces a compressed Q by -Q: only the trace of y/x changes, by Tr(1) = 1.
void negate_compressed_var(const dstu_ctx &ctx, qal2d *c)
{
    if (!has_odd_order(ctx))
        even_order::negate_compressed_var(ctx, c);
    else if (!qal2p_is_zero(c))
        qal2pinc(c);
}

void generate(const dstu_ctx &ctx, dstu_bspool &pool, int32_t &priv_len, uint8_t *priv,
              int32_t &pub_len, uint8_t *pub)
{
    Number d;
    qal2p Q;
    do
        dstu_bspool_get(&pool, d, Q);
    while (d[0] == 0);
    negate_compressed_var(ctx, Q);
    pub_len = field_bytes(ctx.curve);
    qal2ptob(pub, Q, pub_len);
    memset(priv, 0, static_cast<size_t>(priv_len));
    write_digits(priv, static_cast<size_t>(ctx.key_len), d);
    priv_len = ctx.key_len;
}

} // namespace

namespace qal::ua {

void read_digits(qald *x, const uint8_t *bytes, size_t size)
{
    x[0] = (size + sizeof *x - 1) / sizeof *x;
    x[x[0]] = 0;
    memcpy(x + 1, bytes, size);
}

void write_digits(uint8_t *bytes, size_t size, const qald *x)
{
    const size_t have = x[0] * sizeof *x;
    memcpy(bytes, x + 1, size < have ? size : have);
}

bool read_private_key(const dstu_ctx &ctx, qald *d, const uint8_t *bytes, int32_t size)
{
    const uint64_t bits = order_bits(ctx) - 1, digits = ctx.n[0];
    const size_t given = static_cast<size_t>(size), room = digits * sizeof *d;
    read_digits(d, bytes, given < room ? given : room);
    for (uint64_t i = d[0]; i < digits; i++)
        d[i + 1] = 0;
    d[0] = digits;
    // The order has one bit more, and no digit above that.
    uint64_t any = 0, above = d[digits] >> (bits % 64);
    for (uint64_t i = 1; i <= digits; i++)
        any |= d[i];
    for (size_t i = room; i < given; i++)
        above |= bytes[i];
    return declassified(any != 0 && above == 0);
}

} // namespace qal::ua

extern "C" {

int dstu_gen_keys(const dstu_ctx *ctx, dstu_bspool *pool, int32_t *priv_len, uint8_t *priv,
                  int32_t *pub_len, uint8_t *pub)
{
    if (ctx == nullptr || pool == nullptr || priv_len == nullptr || priv == nullptr ||
        pub_len == nullptr || pub == nullptr)
        return DSTU_BAD_ARGUMENT;
    if (*priv_len < ctx->key_len || *pub_len < ctx->field_len)
        return DSTU_BAD_ARGUMENT;
    run_on_wiped_stack<keys_stack>([=] { generate(*ctx, *pool, *priv_len, priv, *pub_len, pub); });
    return DSTU_OK;
}

int dstu_ucpubk(const dstu_ctx *ctx, uint8_t *out, const uint8_t *key, int32_t key_len)
{
    qale2point Q;
    if (!read_point_var(ctx->curve, &Q, key, key_len))
        return DSTU_BAD_PUBLIC_KEY;
    const int32_t size = ctx->field_len;
    memset(out, 0, 2 * static_cast<size_t>(size));
    if (!qale2p_is_inf(&ctx->curve, &Q)) {
        qal2ptob(out, Q.X, size);
        qal2ptob(out + size, Q.Y, size);
    }
    return DSTU_OK;
}

int dstu_cppubk(const dstu_ctx *ctx, uint8_t *out, int32_t *out_len, const uint8_t *in)
{
    if (out_len == nullptr || *out_len < ctx->field_len)
        return DSTU_BAD_ARGUMENT;
    const int32_t size = ctx->field_len, degree = degree_of(*ctx);
    qal2p x, y;
    qal2pfromb(qal2pclear(x, degree), in, size);
    qal2pfromb(qal2pclear(y, degree), in + size, size);
    qale2point Q;
    if (qal2p_deg(x) >= degree || qal2p_deg(y) >= degree ||
        qale2pcr(&ctx->curve, &Q, x, y) == nullptr)
        return DSTU_BAD_PUBLIC_KEY;
    *out_len = field_bytes(ctx->curve);
    qal2ptob(out, qale2comp(&ctx->curve, x, &Q), *out_len);
    return DSTU_OK;
}
}
