// The hash function of GOST R 34.11-94 (RFC 5831).
#include "base/bytes.hpp"
#include "base/wipe.hpp"
#include "gost28147/gr341194_kernels.hpp"
#include "gost28147/gr341194_words.hpp"

#include <qal/gr341194.h>

#include <string.h>

using namespace qal::base;
using namespace qal::gost;

namespace {

constexpr size_t block_size = 32;

} // namespace

extern "C" {

const uint8_t CryptoPro_iv[block_size] = {};

void gr341194_md_mem_xor(uint8_t *out, const uint8_t *a, const uint8_t *b, int n)
{
    for (int i = 0; i < n; i++)
        out[i] = static_cast<uint8_t>(a[i] ^ b[i]);
}

uint32_t gr341194_md_add256(uint8_t *x, const uint8_t *y)
{
    uint64_t carry = 0;
    for (size_t i = 0; i < block_size; i += 8) {
        // Not by 128-bit integers: of one whose upper half is known, gcc 12 saves both registers
        // around calls, and so puts on the stack whatever text the other still holds.
        const uint64_t a = load_le64(x + i), sum = a + load_le64(y + i), total = sum + carry;
        carry = static_cast<uint64_t>(sum < a) | static_cast<uint64_t>(total < sum);
        store_le64(x + i, total);
    }
    return static_cast<uint32_t>(carry);
}

void gr341194_md_add32(uint8_t *x, uint32_t v)
{
    uint64_t carry = v;
    for (size_t i = 0; i < block_size; i += 8) {
        const uint64_t sum = load_le64(x + i) + carry;
        carry = sum < carry;
        store_le64(x + i, sum);
    }
}

uint8_t *gr341194_md_a(uint8_t *x)
{
    store_words(x, A(load_words(x)));
    return x;
}

uint8_t *gr341194_md_p(uint8_t *out, const uint8_t *in)
{
    gr341194_transpose(out, in);
    return out;
}

void gr341194_md_psi(uint8_t *x, int n)
{
    Words w = load_words(x);
    for (; n > 0; n--)
        psi(w);
    store_words(x, w);
}

void gr341194_md_mix(uint8_t *out, const uint8_t *H, const uint8_t *M, const uint8_t *S)
{
    store_words(out, mixed(load_words(H), load_words(M), load_words(S)));
}

void gr341194_md_x(gr341194_md_ctx *ctx, const uint8_t *block)
{
    gr341194_steps(ctx->H, block, 1, ctx->kext);
}

gr341194_md_ctx *gr341194_md_init_ext(gr341194_md_ctx *ctx, const uint8_t *iv, const uint32_t *kext)
{
    memset(ctx, 0, sizeof *ctx);
    memcpy(ctx->H, iv, block_size);
    ctx->kext = kext;
    return ctx;
}

void gr341194_md_updblocks(gr341194_md_ctx *ctx, const uint8_t *data, size_t len)
{
    gr341194_steps(ctx->H, data, len / block_size, ctx->kext);
    for (; len >= block_size; len -= block_size, data += block_size) {
        gr341194_md_add32(ctx->L, 8 * block_size);
        gr341194_md_add256(ctx->sigma, data);
    }
}

void gr341194_md_update(gr341194_md_ctx *ctx, const uint8_t *data, size_t len)
{
    if (data == nullptr || len == 0)
        return;
    const size_t pending = ctx->npending, room = block_size - pending;
    if (len < room) {
        memcpy(ctx->buffer + pending, data, len);
        ctx->npending += static_cast<uint32_t>(len);
        return;
    }
    memcpy(ctx->buffer + pending, data, room);
    gr341194_md_updblocks(ctx, ctx->buffer, block_size);
    data += room;
    len -= room;
    const size_t rest = len % block_size;
    gr341194_md_updblocks(ctx, data, len - rest);
    memcpy(ctx->buffer, data + (len - rest), rest);
    ctx->npending = static_cast<uint32_t>(rest);
}

uint8_t *gr341194_md_final(gr341194_md_ctx *ctx, uint8_t *out)
{
    const size_t pending = ctx->npending;
    gr341194_md_add32(ctx->L, static_cast<uint32_t>(8 * pending));
    // The last bytes, the length and the sum are one run of steps.
    uint8_t blocks[3 * block_size] = {};
    uint8_t *const last = blocks, *const length = blocks + block_size,
                   *const sum = blocks + 2 * block_size;
    memcpy(last, ctx->buffer, pending);
    if (pending > 0)
        gr341194_md_add256(ctx->sigma, last);
    memcpy(length, ctx->L, block_size);
    memcpy(sum, ctx->sigma, block_size);
    gr341194_steps(ctx->H, pending > 0 ? last : length, pending > 0 ? 3 : 2, ctx->kext);
    wipe(blocks, sizeof blocks);
    memcpy(out, ctx->H, block_size);
    return out;
}
}
