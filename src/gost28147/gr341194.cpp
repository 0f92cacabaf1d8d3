// The hash function of GOST R 34.11-94 (RFC 5831).
#include "base/bytes.hpp"
#include "base/uint128.hpp"
#include "base/wipe.hpp"
#include "gost28147/g28147_kernels.hpp"
#include "gost28147/g28147_round.hpp"

#include <qal/gr341194.h>

#include <emmintrin.h>

#include <string.h>

using namespace qal::base;
using namespace qal::gost;

namespace {

constexpr size_t block_size = 32;

// C3; C2 and C4 are zero.
constexpr uint64_t C3[4] = {0xff00ff00ff00ff00, 0x00ff00ff00ff00ff, 0xff0000ff00ffff00,
                            0xff00ffff000000ff};

struct Words {
    uint64_t x[4];
};

Words load(const uint8_t *in)
{
    return {{load_le64(in), load_le64(in + 8), load_le64(in + 16), load_le64(in + 24)}};
}

void store(uint8_t *out, const Words &w)
{
    memcpy(out, w.x, sizeof w.x);
}

Words operator^(const Words &a, const Words &b)
{
    return {{a.x[0] ^ b.x[0], a.x[1] ^ b.x[1], a.x[2] ^ b.x[2], a.x[3] ^ b.x[3]}};
}

Words A(const Words &w)
{
    return {{w.x[1], w.x[2], w.x[3], w.x[0] ^ w.x[1]}};
}

// P: four words of eight bytes, taken byte by byte, first from each.
void P(uint8_t *out, const Words &w)
{
    const __m128i low = _mm_unpacklo_epi8(_mm_cvtsi64_si128(static_cast<long long>(w.x[0])),
                                          _mm_cvtsi64_si128(static_cast<long long>(w.x[1])));
    const __m128i high = _mm_unpacklo_epi8(_mm_cvtsi64_si128(static_cast<long long>(w.x[2])),
                                           _mm_cvtsi64_si128(static_cast<long long>(w.x[3])));
    auto *p = reinterpret_cast<__m128i *>(out);
    _mm_storeu_si128(p, _mm_unpacklo_epi16(low, high));
    _mm_storeu_si128(p + 1, _mm_unpackhi_epi16(low, high));
}

// The four encryptions of a step side by side, each with its own key.
void encrypt(uint8_t *s, const uint8_t *h, const uint32_t (&keys)[4][8], const uint32_t *kext)
{
    uint32_t a[4], b[4];
    for (size_t n = 0; n < 4; n++) {
        a[n] = load_le32(h + 8 * n);
        b[n] = load_le32(h + 8 * n + 4);
    }
    const auto rounds = [&](size_t i, size_t j) {
#pragma GCC unroll 4
        for (size_t n = 0; n < 4; n++)
            b[n] = g28147_f(a[n] + keys[n][i], b[n], kext);
#pragma GCC unroll 4
        for (size_t n = 0; n < 4; n++)
            a[n] = g28147_f(b[n] + keys[n][j], a[n], kext);
    };
#pragma GCC unroll 1
    for (int pass = 0; pass < 3; pass++) {
        rounds(0, 1);
        rounds(2, 3);
        rounds(4, 5);
        rounds(6, 7);
    }
    rounds(7, 6);
    rounds(5, 4);
    rounds(3, 2);
    rounds(1, 0);
    for (size_t n = 0; n < 4; n++) {
        store_le32(s + 8 * n, b[n]); // the last round does not exchange the halves
        store_le32(s + 8 * n + 4, a[n]);
    }
}

// psi appends a word of 16 bits and drops the first. The words of a run of psi are one sequence.
template<size_t n>
[[gnu::always_inline]] inline void extend(uint16_t *w)
{
    for (size_t i = 0; i < n; i++)
        w[16 + i] =
            static_cast<uint16_t>(w[i] ^ w[i + 1] ^ w[i + 2] ^ w[i + 3] ^ w[i + 12] ^ w[i + 15]);
}

void add_to(uint16_t *w, const uint8_t *block)
{
    uint16_t words[16];
    memcpy(words, block, sizeof words);
    for (size_t i = 0; i < 16; i++)
        w[i] ^= words[i];
}

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
        const uint128 sum = uint128{load_le64(x + i)} + load_le64(y + i) + carry;
        store_le64(x + i, static_cast<uint64_t>(sum));
        carry = static_cast<uint64_t>(sum >> 64);
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
    store(x, A(load(x)));
    return x;
}

uint8_t *gr341194_md_p(uint8_t *out, const uint8_t *in)
{
    P(out, load(in));
    return out;
}

void gr341194_md_psi(uint8_t *x, int n)
{
    uint16_t w[17];
    memcpy(w, x, block_size);
    for (; n > 0; n--) {
        extend<1>(w);
        memmove(w, w + 1, block_size);
    }
    memcpy(x, w, block_size);
    wipe(w, sizeof w);
}

void gr341194_md_mix(uint8_t *out, const uint8_t *H, const uint8_t *M, const uint8_t *S)
{
    uint16_t w[16 + 12 + 1 + 61];
    memcpy(w, S, block_size);
    extend<12>(w);
    add_to(w + 12, M);
    extend<1>(w + 12);
    add_to(w + 13, H);
    extend<61>(w + 13);
    memcpy(out, w + 74, block_size);
    wipe(w, sizeof w);
}

void gr341194_md_x(gr341194_md_ctx *ctx, const uint8_t *block)
{
    struct {
        uint32_t keys[4][8];
        uint8_t S[block_size];
    } secret;
    Words U = load(ctx->H), V = load(block);
    P(reinterpret_cast<uint8_t *>(secret.keys[0]), U ^ V);
    for (size_t n = 1; n < 4; n++) {
        U = A(U);
        if (n == 2)
            U = U ^ Words {
                {
                    C3[0], C3[1], C3[2], C3[3]
                }
            };
        V = A(A(V));
        P(reinterpret_cast<uint8_t *>(secret.keys[n]), U ^ V);
    }
    encrypt(secret.S, ctx->H, secret.keys, ctx->kext);
    gr341194_md_mix(ctx->H, ctx->H, block, secret.S);
    wipe(&secret, sizeof secret);
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
    for (; len >= block_size; len -= block_size, data += block_size) {
        gr341194_md_x(ctx, data);
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
    if (pending > 0) {
        uint8_t last[block_size] = {};
        memcpy(last, ctx->buffer, pending);
        gr341194_md_add256(ctx->sigma, last);
        gr341194_md_x(ctx, last);
        wipe(last, sizeof last);
    }
    gr341194_md_x(ctx, ctx->L);
    gr341194_md_x(ctx, ctx->sigma);
    memcpy(out, ctx->H, block_size);
    return out;
}
}
