// Simple replacement, GOST 28147-89, section 2.
#include "base/require.hpp"
#include "gost28147/g28147_kernels.hpp"
#include "gost28147/g28147_round.hpp"

#include <string.h>

using namespace qal::gost;

static constexpr char qal_source[] = "../src/gost28147/g28147_ecb";

extern "C" {

void g28147_ecb_init_ext(g28147_ecb_ctx *ctx, int mode, const uint8_t *x, const uint32_t *KExt)
{
    QAL_REQUIRE(ctx != nullptr, "ctx != 0");
    QAL_REQUIRE(x != nullptr, "x != 0");
    QAL_REQUIRE(KExt != nullptr, "KExt != 0");
    memset(ctx, 0, sizeof *ctx);
    g28147_order_keys(ctx->rk, x, mode == 1 ? OrderEncr : OrderDecr);
    ctx->kext = KExt;
}

void g28147_ecb_update(const g28147_ecb_ctx *ctx, const uint8_t *in, uint8_t *out, size_t len)
{
    QAL_REQUIRE(ctx != nullptr, "ctx != 0");
    QAL_REQUIRE(len % g28147_block == 0, "(len % 8 ) == 0");
    // Unsigned lengths are never negative, so that the pointers count even when len is 0.
    QAL_REQUIRE(in != nullptr, "! ( (in == 0) && (len>=0) )");
    QAL_REQUIRE(out != nullptr, "! ( (out == 0) && (len>=0) )");
    g28147_blocks(ctx->rk, ctx->kext, in, out, len / g28147_block);
}
}
