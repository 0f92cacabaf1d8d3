// Gamma with feedback, GOST 28147-89, section 4.
#include "base/bytes.hpp"
#include "base/require.hpp"
#include "base/wipe.hpp"
#include "gost28147/g28147_kernels.hpp"
#include "gost28147/g28147_round.hpp"

#include <string.h>

using namespace qal::base;
using namespace qal::gost;

static constexpr char qal_source[] = "../src/gost28147/g28147_cfb";

namespace {

constexpr uint32_t encrypt = 1;

// The last bytes of a message, fewer than a block, with the register as it is then.
void finish(const g28147_cfb_ctx *ctx, uint32_t r1, uint32_t r2, const uint8_t *in, uint8_t *out,
            size_t len)
{
    uint8_t gamma[g28147_block];
    g28147_cycle32(r1, r2, ctx->rk, ctx->kext);
    store_le32(gamma, r1);
    store_le32(gamma + 4, r2);
    xor_bytes(out, in, gamma, len);
    wipe(gamma, sizeof gamma);
}

} // namespace

extern "C" {

void g28147_cfb_init_ext(g28147_cfb_ctx *ctx, uint32_t mode, const uint8_t *x, const uint8_t *iv,
                         const uint32_t *KExt)
{
    QAL_REQUIRE(ctx != nullptr, "ctx != 0");
    QAL_REQUIRE(x != nullptr, "x != 0");
    QAL_REQUIRE(iv != nullptr, "iv != 0");
    QAL_REQUIRE(KExt != nullptr, "KExt != 0");
    memset(ctx, 0, sizeof *ctx);
    ctx->direction = mode;
    g28147_order_keys(ctx->rk, x, OrderEnc);
    ctx->kext = KExt;
    ctx->r1 = load_le32(iv);
    ctx->r2 = load_le32(iv + 4);
}

void g28147_cfb_update(g28147_cfb_ctx *ctx, const uint8_t *in, uint8_t *out, size_t len)
{
    QAL_REQUIRE(ctx != nullptr, "ctx != 0");
    // Unsigned lengths are never negative, so that the pointers count even when len is 0.
    QAL_REQUIRE(in != nullptr, "! ( (in == 0) && (len>=0) )");
    QAL_REQUIRE(out != nullptr, "! ( (out == 0) && (len>=0) )");
    if (ctx->direction == encrypt)
        g28147_cfb_enc_update_blocks(ctx, in, out, len);
    else
        g28147_cfb_dec_update_blocks(ctx, in, out, len);
}

// In both directions a call that ends within a block leaves the register as the call found it: such
// a piece is the last of its message, and callers rely on the record of the piece before.

void g28147_cfb_enc_update_blocks(g28147_cfb_ctx *ctx, const uint8_t *in, uint8_t *out, size_t len)
{
    uint32_t r1 = ctx->r1, r2 = ctx->r2;
    for (size_t n = len / g28147_block; n > 0; n--, in += g28147_block, out += g28147_block) {
        g28147_cycle32(r1, r2, ctx->rk, ctx->kext);
        r1 ^= load_le32(in);
        r2 ^= load_le32(in + 4);
        store_le32(out, r1);
        store_le32(out + 4, r2);
    }
    if (len % g28147_block != 0) {
        finish(ctx, r1, r2, in, out, len % g28147_block);
        return;
    }
    ctx->r1 = r1;
    ctx->r2 = r2;
}

void g28147_cfb_dec_update_blocks(g28147_cfb_ctx *ctx, const uint8_t *in, uint8_t *out, size_t len)
{
    uint32_t r1 = ctx->r1, r2 = ctx->r2;
    // The ciphertext is all there, so that its blocks are encrypted independently. A piece of a
    // block at the end counts as one.
    alignas(64) uint8_t gamma[g28147_most_blocks * g28147_block];
    size_t size = 0;
    for (size_t left = len; left > 0;) {
        const size_t n = g28147_batch((left + g28147_block - 1) / g28147_block);
        const size_t piece = left < n * g28147_block ? left : n * g28147_block;
        store_le32(gamma, r1);
        store_le32(gamma + 4, r2);
        memcpy(gamma + g28147_block, in, (n - 1) * g28147_block);
        if (piece == n * g28147_block) {
            r1 = load_le32(in + piece - 8);
            r2 = load_le32(in + piece - 4);
        }
        g28147_blocks(ctx->rk, ctx->kext, gamma, gamma, n);
        xor_bytes(out, in, gamma, piece);
        size = n * g28147_block > size ? n * g28147_block : size;
        left -= piece;
        in += piece;
        out += piece;
    }
    wipe(gamma, size);
    if (len % g28147_block != 0)
        return;
    ctx->r1 = r1;
    ctx->r2 = r2;
}
}
