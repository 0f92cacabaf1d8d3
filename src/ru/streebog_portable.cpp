#include "base/bytes.hpp"
#include "ru/streebog_kernels.hpp"
#include <string.h>
extern "C" void streebog_add(uint64_t *, uint64_t);
namespace qal::ru {
void streebog_lpsx64_portable(uint8_t *out, const uint8_t *a, const uint8_t *b)
{
    uint64_t w[8] = {};
    for (int i = 0; i < 8; i++)
        for (int j = 0; j < 8; j++)
            w[j] ^= streebog_lp64[i][a[8 * i + j] ^ b[8 * i + j]];
    memcpy(out, w, 64);
}
void streebog_gN_portable(uint8_t *h, const uint8_t *m, const uint8_t *N)
{
    uint8_t K[64], t[64];
    streebog_lpsx64_portable(K, h, N);
    streebog_lpsx64_portable(t, K, m);
    streebog_lpsx64_portable(K, K, streebog_c[0]);
    for (int i = 1; i < 12; i++) {
        streebog_lpsx64_portable(t, K, t);
        streebog_lpsx64_portable(K, K, streebog_c[i]);
    }
    for (int i = 0; i < 64; i++)
        h[i] = static_cast<uint8_t>(t[i] ^ h[i] ^ K[i] ^ m[i]);
}
void streebog_blocks_portable(streebog_ctx *ctx, const uint8_t *d, size_t n, uint64_t bits)
{
    for (; n--; d += 64) {
        uint8_t N[64];
        streebog_put_block(N, ctx->N);
        streebog_gN_portable(ctx->h, d, N);
        streebog_add(ctx->N, bits);
        streebog_add512(ctx->sigma, d);
    }
}
} // namespace qal::ru
