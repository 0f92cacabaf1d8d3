// Streebog: GOST R 34.11-2012, RFC 6986. Buffering, padding and the sums N and sigma; the
// compression is in streebog_portable.cpp and its wide twins.
#include "base/require.hpp"
#include "base/wipe.hpp"
#include "ru/streebog_kernels.hpp"
#include "ru/streebog_sums.hpp"

#include <qal/streebog.h>

#include <string.h>

using namespace qal::base;

namespace {

constexpr char qal_source[] = "../src/ru/streebog";
constexpr size_t block_size = 64;

} // namespace

extern "C" {

const uint8_t streebog_zero[block_size] = {};

// Every byte 0x01.
const uint8_t streebog256iv[block_size] = {
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
};

streebog_ctx *streebog512_init(streebog_ctx *ctx)
{
    memset(ctx, 0, sizeof *ctx);
    return ctx;
}

streebog_ctx *streebog256_init(streebog_ctx *ctx)
{
    memset(ctx, 0, sizeof *ctx);
    memcpy(ctx->h, streebog256iv, sizeof ctx->h);
    return ctx;
}

void streebog_put_block(uint8_t *out, const uint64_t *words)
{
    memmove(out, words, block_size);
}

void streebog_add(uint64_t *N, uint64_t v)
{
    qal::ru::add_word(N, v);
}

void streebog_add512(uint64_t *sigma, const uint8_t *block)
{
    qal::ru::add_block(sigma, block);
}

void streebog_update_block(streebog_ctx *ctx, const uint8_t *block, uint64_t bits)
{
    qal::ru::streebog_blocks(ctx, block, 1, bits);
}

void streebog512_update_blocks(streebog_ctx *ctx, const uint8_t *data, size_t len)
{
    qal::ru::streebog_blocks(ctx, data, len / block_size, 8 * block_size);
}

void streebog512_update(streebog_ctx *ctx, const uint8_t *data, size_t len)
{
    QAL_REQUIRE(ctx != nullptr, "ctx != 0");
    QAL_REQUIRE(data != nullptr || len == 0, "! (( data == 0) && ( len > 0))");

    const size_t pending = ctx->npending;
    const size_t room = block_size - pending;
    if (len < room) {
        if (len > 0) // memcpy must not see a null pointer
            memcpy(ctx->buffer + pending, data, len);
        ctx->npending += static_cast<uint32_t>(len);
        return;
    }
    if (pending > 0) {
        memcpy(ctx->buffer + pending, data, room);
        ctx->npending = 0;
        streebog_update_block(ctx, ctx->buffer, 8 * block_size);
        data += room;
        len -= room;
    }
    streebog512_update_blocks(ctx, data, len);
    const size_t rest = len % block_size;
    memcpy(ctx->buffer, data + (len - rest), rest);
    ctx->npending = static_cast<uint32_t>(rest);
}

void streebog256_update(streebog_ctx *ctx, const uint8_t *data, size_t len)
{
    streebog512_update(ctx, data, len);
}

void streebog512_final(uint8_t *out, streebog_ctx *ctx)
{
    const size_t pending = ctx->npending;
    memset(out, 0, block_size);

    ctx->buffer[pending] = 0x01;
    memset(ctx->buffer + pending + 1, 0, block_size - 1 - pending);
    streebog_update_block(ctx, ctx->buffer, 8 * pending);

    uint8_t block[block_size];
    streebog_put_block(block, ctx->N);
    streebog_gN(ctx->h, block, streebog_zero);
    streebog_put_block(block, ctx->sigma);
    streebog_gN(ctx->h, block, streebog_zero);
    // The sum of a short message is the message.
    wipe(block, sizeof block);

    memcpy(out, ctx->h, block_size);
}

void streebog256_final(uint8_t *out, streebog_ctx *ctx)
{
    uint8_t digest[block_size];
    streebog512_final(digest, ctx);
    memcpy(out, digest + block_size / 2, block_size / 2);
    wipe(digest, sizeof digest);
}
}
