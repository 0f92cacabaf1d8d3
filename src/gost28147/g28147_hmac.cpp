// The message authentication code of GOST 28147-89, section 5, always 32 bits.
#include "base/bytes.hpp"
#include "base/require.hpp"
#include "base/wipe.hpp"
#include "gost28147/g28147_kernels.hpp"
#include "gost28147/g28147_round.hpp"

#include <string.h>

using namespace qal::base;
using namespace qal::gost;

static constexpr char qal_source[] = "../src/gost28147/g28147_hmac";

namespace {

// The count only tells more than one block from one block or less, and must not overflow.
constexpr uint32_t enough_processed = 9;

void count(g28147_hmac_ctx *ctx, size_t len)
{
    const bool enough = len > enough_processed || ctx->processed + len > enough_processed;
    ctx->processed = enough ? enough_processed + 1 : ctx->processed + static_cast<uint32_t>(len);
}

// Whether the message has a MAC, which is then in n1.
bool finish(g28147_hmac_ctx *ctx)
{
    g28147_hmac_updblocks(ctx, ctx->pending, ctx->npending);
    return ctx->processed >= enough_processed;
}

} // namespace

extern "C" {

void g28147_hmac_init_ext(g28147_hmac_ctx *ctx, const uint8_t *x, const uint32_t *KExt)
{
    QAL_REQUIRE(ctx != nullptr, "ctx != 0");
    QAL_REQUIRE(x != nullptr, "x != 0");
    QAL_REQUIRE(KExt != nullptr, "KExt != 0");
    memset(ctx, 0, sizeof *ctx);
    g28147_order_keys(ctx->rk, x, OrderEnc);
    ctx->kext = KExt;
}

void g28147_hmac_updblocks(g28147_hmac_ctx *ctx, const uint8_t *data, size_t len)
{
    uint32_t n1 = ctx->n1, n2 = ctx->n2;
    for (size_t n = len / g28147_block; n > 0; n--, data += g28147_block) {
        keep_in_memory(ctx->rk);
        n1 ^= load_le32(data);
        n2 ^= load_le32(data + 4);
        g28147_cycle16(n1, n2, ctx->rk, ctx->kext);
    }
    if (len % g28147_block != 0) {
        uint8_t last[g28147_block] = {};
        memcpy(last, data, len % g28147_block);
        n1 ^= load_le32(last);
        n2 ^= load_le32(last + 4);
        g28147_cycle16(n1, n2, ctx->rk, ctx->kext);
        wipe(last, sizeof last);
    }
    ctx->n1 = n1;
    ctx->n2 = n2;
    count(ctx, len);
}

void g28147_hmac_update(g28147_hmac_ctx *ctx, const uint8_t *in, size_t len)
{
    QAL_REQUIRE(ctx != nullptr, "ctx != 0");
    // Unsigned lengths are never negative, so that the pointer counts even when len is 0.
    QAL_REQUIRE(in != nullptr, "! ( (in == 0) && (len>=0) )");

    const size_t pending = ctx->npending, room = g28147_block - pending;
    if (len < room) {
        memcpy(ctx->pending + pending, in, len);
        ctx->npending += static_cast<uint32_t>(len);
        return;
    }
    if (pending > 0) {
        memcpy(ctx->pending + pending, in, room);
        g28147_hmac_updblocks(ctx, ctx->pending, g28147_block);
        in += room;
        len -= room;
    }
    const size_t rest = len % g28147_block;
    g28147_hmac_updblocks(ctx, in, len - rest);
    memcpy(ctx->pending, in + (len - rest), rest);
    ctx->npending = static_cast<uint32_t>(rest);
}

uint8_t *g28147_hmac_final(g28147_hmac_ctx *ctx, uint8_t *hmac)
{
    QAL_REQUIRE(ctx != nullptr, "ctx != 0");
    QAL_REQUIRE(hmac != nullptr, "hmac != 0");
    if (!finish(ctx))
        return nullptr;
    store_le32(hmac, ctx->n1);
    return hmac;
}

int g28147_hmac_final_verify(g28147_hmac_ctx *ctx, const uint8_t *hmac)
{
    QAL_REQUIRE(ctx != nullptr, "ctx != 0");
    QAL_REQUIRE(hmac != nullptr, "hmac != 0");
    const bool exists = finish(ctx);
    return exists && ctx->n1 == load_le32(hmac);
}
}
