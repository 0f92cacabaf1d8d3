// Domains of DSTU 4145-2002: set-up and the reading of points. Domains are public; the time depends
// on the values.
#include "ua/dstu_domain.hpp"

#include <string.h>

using namespace qal::ua;

namespace {

constexpr uint64_t least_order_bits = 160;

} // namespace

namespace qal::ua {

bool read_point_var(const qale2curve &curve, qale2point *P, const uint8_t *bytes, int32_t size)
{
    qal2p c;
    const auto degree = static_cast<int32_t>(curve.mod_m);
    qal2pfromb(qal2pclear(c, degree), bytes, size);
    return qal2p_deg(c) < degree && qale2exp(&curve, P, c) != nullptr;
}

} // namespace qal::ua

extern "C" {

int dstu_init_curve(dstu_ctx *ctx, uint32_t m, uint32_t mod_a, uint32_t mod_b, uint32_t mod_c,
                    uint32_t a, const uint8_t *b, int32_t b_len)
{
    QAL_REQUIRE((largest_field.m + 7) / 8 >= (uint64_t{m} + 1 + 7) / 8,
                "((431+7)/8) >= (((((mod_m)+1)+7)/8))");
    const auto field_len = static_cast<int32_t>((m + 8) / 8);
    if (ctx == nullptr || b == nullptr || b_len > field_len)
        return DSTU_BAD_CURVE;
    memset(ctx, 0, sizeof *ctx);
    uint8_t coefficient[largest_field.bytes()] = {};
    if (b_len > 0)
        memcpy(coefficient, b, static_cast<size_t>(b_len));
    if (qale2cr(&ctx->curve, m, mod_a, mod_b, mod_c, a, coefficient) == nullptr)
        return DSTU_BAD_CURVE;
    ctx->field_len = field_len;
    return DSTU_OK;
}

int dstu_init_pgen(dstu_ctx *ctx, int32_t G_len, const uint8_t *G, int32_t n_len, const uint8_t *n)
{
    if (ctx == nullptr || G == nullptr || n == nullptr)
        return DSTU_BAD_ARGUMENT;
    const int32_t most = field_bytes(ctx->curve);
    if (G_len < 1 || G_len > most || n_len < 1 || n_len > most)
        return DSTU_BAD_BASE_POINT;
    if (!read_point_var(ctx->curve, &ctx->G, G, G_len) || qale2p_is_inf(&ctx->curve, &ctx->G))
        return DSTU_BAD_BASE_POINT;
    qalfromrbase256(ctx->n, n, static_cast<uint32_t>(n_len));
    const uint64_t bits = order_bits(*ctx), m = ctx->curve.mod_m;
    if (bits > m || bits < m - 2 || bits < least_order_bits)
        return DSTU_BAD_BASE_POINT;
    ctx->ws = static_cast<int32_t>(window_width);
    qale2ic(&ctx->curve, ctx->powers, &ctx->G, ctx->ws);
    qale2point multiple;
    qale2kpic(&ctx->curve, &multiple, ctx->n, ctx->powers, ctx->ws);
    if (!qale2p_is_inf(&ctx->curve, &multiple))
        return DSTU_BAD_BASE_POINT;
    ctx->key_len = static_cast<int32_t>((bits + 6) / 8);
    ctx->sig_len = static_cast<int32_t>((bits + 7) / 4) & ~1;
    return DSTU_OK;
}
}
