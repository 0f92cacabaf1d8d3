// Kuznyechik: GOST R 34.12-2015, RFC 7801, and its counter mode, GOST R 34.13-2015. The cipher
// itself is in kuznyechik_portable.cpp and its wide twins.
#include "base/bytes.hpp"
#include "base/gamma.hpp"
#include "base/wipe.hpp"
#include "ru/kuznyechik_kernels.hpp"

#include <qal/kuzn.h>

#include <string.h>

using namespace qal::base;
using namespace qal::ru;

namespace {

constexpr size_t block_size = 16;
constexpr uint32_t encrypt = 1;

} // namespace

extern "C" {

void kuzn_ecb_init(kuzn_ecb_ctx *ctx, uint32_t mode, const uint8_t *key)
{
    memset(ctx, 0, sizeof *ctx);
    ctx->direction = mode;
    kuzn_setup_keys(ctx->rk, key);
}

void kuzn_ecb_update(const kuzn_ecb_ctx *ctx, const uint8_t *in, uint8_t *out, size_t len)
{
    // The positions stay where they are: callers pass one block, and rely on repetition in place.
    const auto from = reinterpret_cast<uintptr_t>(in), to = reinterpret_cast<uintptr_t>(out);
    const bool apart = (from < to ? to - from : from - to) >= block_size;
    uint8_t block[block_size];
    for (size_t n = len / block_size; n > 0; n--) {
        memcpy(block, in, block_size);
        if (ctx->direction == encrypt)
            kuzn_block_enc(block, ctx->rk);
        else
            kuznyechik_block_dec(block, ctx->rk);
        memcpy(out, block, block_size);
        // Every further repetition gives what is there already.
        if (apart)
            break;
    }
    wipe(block, sizeof block);
}

void kuzn_ctr_init(kuzn_ctr_ctx *ctx, const uint8_t *iv, const uint8_t *key)
{
    memset(ctx, 0, sizeof *ctx);
    ctx->counter[3] = load_be32(iv);
    ctx->counter[2] = load_be32(iv + 4);
    ctx->pos = block_size;
    kuzn_setup_keys(ctx->rk, key);
}

void kuzn_ctr_update(kuzn_ctr_ctx *ctx, const uint8_t *in, uint8_t *out, size_t len)
{
    const size_t begun = use_gamma(ctx, in, out, len);
    in += begun;
    out += begun;
    len -= begun;
    if (len == 0)
        return;

    const size_t whole = len / block_size * block_size;
    if (whole > 0) {
        const bool last = whole == len;
        // The record keeps the last block of the key stream, as if its bytes had been used singly.
        uint8_t text[block_size];
        if (last)
            memcpy(text, in + whole - block_size, block_size);
        kuznyechik_ctr_blocks(ctx->rk, ctx->counter, in, out, whole / block_size);
        if (last) {
            for (size_t i = 0; i < block_size; i++)
                ctx->gamma[i] = static_cast<uint8_t>(text[i] ^ out[whole - block_size + i]);
            wipe(text, sizeof text);
            ctx->pos = block_size;
            return;
        }
    }
    memset(ctx->gamma, 0, block_size);
    kuznyechik_ctr_blocks(ctx->rk, ctx->counter, ctx->gamma, ctx->gamma, 1);
    ctx->pos = 0;
    use_gamma(ctx, in + whole, out + whole, len - whole);
}
}
