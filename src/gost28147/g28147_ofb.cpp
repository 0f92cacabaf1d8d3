// The gamma mode, GOST 28147-89, section 3.
#include "base/bytes.hpp"
#include "base/gamma.hpp"
#include "base/require.hpp"
#include "base/wipe.hpp"
#include "gost28147/g28147_kernels.hpp"
#include "gost28147/g28147_round.hpp"

#include <emmintrin.h>
#include <string.h>

using namespace qal::base;
using namespace qal::gost;

static constexpr char qal_source[] = "../src/gost28147/g28147_ofb";

namespace {

// As OrderEnc; the mode does not depend on the exported tables.
constexpr uint8_t order[32] = {0, 1, 2, 3, 4, 5, 6, 7, 0, 1, 2, 3, 4, 5, 6, 7,
                               0, 1, 2, 3, 4, 5, 6, 7, 7, 6, 5, 4, 3, 2, 1, 0};

// The counters of the blocks that follow: N3 grows by C2 modulo 2^32, N4 by C1 modulo 2^32 - 1,
// where the sum ends at 2^32 - 1 if it reaches that, and what is beyond is added at the other end.
// Multiples added at once come to the same, since no sum of these is zero.
class Counters {
public:
    Counters(uint32_t n3, uint32_t n4) : n3_(n3), n4_(n4) {}

    // Writes the counters of the next blocks, and one more after an odd number of them.
    void write(uint8_t *out, size_t blocks)
    {
        const __m128i low_word = _mm_set_epi32(0, -1, 0, -1), two = _mm_set1_epi64x(2 * C1);
        const __m128i two_n3 = _mm_set_epi32(0, 2 * C2, 0, 2 * C2);
        // 64 bits hold the sums of some 2^31 blocks.
        __m128i n4 = _mm_set_epi64x(int64_t{n4_} + 2 * C1, int64_t{n4_} + C1);
        __m128i n3 =
            _mm_set_epi32(0, static_cast<int>(n3_ + 2 * C2), 0, static_cast<int>(n3_ + C2));
        for (size_t i = 0; i < blocks; i += 2) {
            const __m128i once = _mm_add_epi64(_mm_and_si128(n4, low_word), _mm_srli_epi64(n4, 32));
            // The last carry is at most 1 and leaves room.
            const __m128i twice = _mm_add_epi32(_mm_slli_epi64(once, 32),
                                                _mm_slli_epi64(_mm_srli_epi64(once, 32), 32));
            _mm_storeu_si128(reinterpret_cast<__m128i *>(out + g28147_block * i),
                             _mm_or_si128(twice, n3));
            n4 = _mm_add_epi64(n4, two);
            n3 = _mm_add_epi32(n3, two_n3);
        }
    }

    void advance(size_t blocks)
    {
        const auto n = static_cast<uint32_t>(blocks);
        uint64_t n4 = n4_ + n * uint64_t{C1};
        n4 = (n4 & 0xffffffff) + (n4 >> 32);
        n4 = (n4 & 0xffffffff) + (n4 >> 32);
        n4_ = static_cast<uint32_t>(n4);
        n3_ += n * uint32_t{C2};
    }

    [[nodiscard]] uint32_t n3() const { return n3_; }
    [[nodiscard]] uint32_t n4() const { return n4_; }

private:
    static constexpr int C1 = 0x01010104, C2 = 0x01010101;

    uint32_t n3_, n4_;
};

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
    alignas(64) uint8_t gamma[g28147_most_blocks * g28147_block];
    size_t size = 0;
    while (len > 0) {
        const size_t blocks = g28147_batch((len + g28147_block - 1) / g28147_block);
        Counters counters(ctx->n3, ctx->n4);
        counters.write(gamma, blocks);
        counters.advance(blocks);
        ctx->n3 = counters.n3();
        ctx->n4 = counters.n4();
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
