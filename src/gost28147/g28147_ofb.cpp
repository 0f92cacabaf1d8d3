// The gamma mode, GOST 28147-89, section 3.
#include "base/bytes.hpp"
#include "base/gamma.hpp"
#include "base/require.hpp"
#include "base/wipe.hpp"
#include "gost28147/g28147_kernels.hpp"
#include "gost28147/g28147_round.hpp"

#include <string.h>

using namespace qal::base;
using namespace qal::gost;

static constexpr char qal_source[] = "../src/gost28147/g28147_ofb";

namespace {

// As OrderEnc; the mode does not depend on the exported tables.
constexpr uint8_t order[32] = {0, 1, 2, 3, 4, 5, 6, 7, 0, 1, 2, 3, 4, 5, 6, 7,
                               0, 1, 2, 3, 4, 5, 6, 7, 7, 6, 5, 4, 3, 2, 1, 0};

// The counters after n increments: N3 + n C2 modulo 2^32, N4 + n C1 modulo 2^32 - 1. The second sum
// ends at 2^32 - 1 where it reaches it, and what is beyond is added at the other end. A multiple
// added at once comes to the same, since no sum of these is zero.
struct Counters {
    uint32_t n3, n4;
};

[[gnu::always_inline]] inline Counters advanced(Counters from, uint32_t n)
{
    uint64_t n4 = from.n4 + n * uint64_t{0x01010104};
    n4 = (n4 & 0xffffffff) + (n4 >> 32);
    n4 = (n4 & 0xffffffff) + (n4 >> 32);
    return {from.n3 + n * 0x01010101U, static_cast<uint32_t>(n4)};
}

} // namespace

extern "C" {

void g28147_ofb_init_ext(g28147_ofb_ctx *ctx, const uint8_t *x, const uint8_t *iv,
                         const uint32_t *KExt)
{
    QAL_REQUIRE(ctx != nullptr, "ctx != 0");
    QAL_REQUIRE(x != nullptr, "x != 0");
    QAL_REQUIRE(iv != nullptr, "iv != 0");
    QAL_REQUIRE(KExt != nullptr, "KExt != 0");
    memset(ctx, 0, sizeof *ctx);
    g28147_order_keys(ctx->rk, x, order);
    ctx->kext = KExt;
    g28147_32Steps(load_le32(iv), load_le32(iv + 4), ctx->rk, KExt, &ctx->n3, &ctx->n4);
    ctx->pos = g28147_block;
}

void g28147_ofb_update(g28147_ofb_ctx *ctx, const uint8_t *in, uint8_t *out, size_t len)
{
    QAL_REQUIRE(ctx != nullptr, "ctx != 0");
    // Unsigned lengths are never negative, so that the pointers count even when len is 0.
    QAL_REQUIRE(in != nullptr, "! ( (in == 0) && (len>=0) )");
    QAL_REQUIRE(out != nullptr, "! ( (out == 0) && (len>=0) )");

    const size_t begun = use_gamma(ctx, in, out, len);
    in += begun;
    out += begun;
    len -= begun;
    if (len == 0)
        return;

    // Many blocks of gamma at a time; the last of them, used up or not, stays in the record.
    constexpr size_t most = 256;
    alignas(64) uint8_t gamma[most * g28147_block];
    size_t size = 0;
    while (len > 0) {
        const size_t needed = (len + g28147_block - 1) / g28147_block;
        const size_t blocks = needed < most ? needed : most;
        const Counters begin = {ctx->n3, ctx->n4};
        for (size_t i = 0; i < blocks; i++) {
            const Counters next = advanced(begin, static_cast<uint32_t>(i + 1));
            store_le64(gamma + g28147_block * i, uint64_t{next.n4} << 32 | next.n3);
        }
        const Counters end = advanced(begin, static_cast<uint32_t>(blocks));
        ctx->n3 = end.n3;
        ctx->n4 = end.n4;
        g28147_blocks(ctx->rk, ctx->kext, gamma, gamma, blocks);

        const size_t piece = len < blocks * g28147_block ? len : blocks * g28147_block;
        xor_bytes(out, in, gamma, piece);
        memcpy(ctx->gamma, gamma + (blocks - 1) * g28147_block, g28147_block);
        ctx->pos = static_cast<uint32_t>((piece - 1) % g28147_block + 1);
        size = blocks * g28147_block > size ? blocks * g28147_block : size;
        in += piece;
        out += piece;
        len -= piece;
    }
    wipe(gamma, size);
}
}
