// Key streams that are kept block by block in a record with the fields gamma and pos.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace qal::base {

// out = in ^ what is left of the current block; returns the number of bytes that this took.
template<typename Context>
static inline size_t use_gamma(Context *ctx, const uint8_t *in, uint8_t *out, size_t len)
{
    size_t used = 0;
    for (; used < len && ctx->pos < sizeof ctx->gamma; used++)
        out[used] = static_cast<uint8_t>(in[used] ^ ctx->gamma[ctx->pos++]);
    return used;
}

} // namespace qal::base
