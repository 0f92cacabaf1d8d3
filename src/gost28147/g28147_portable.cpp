// GOST 28147-89 over independent blocks, through the expanded table, for every x86-64 processor:
// four blocks side by side, since one alone waits for its look-ups most of the time.
#include "gost28147/g28147_kernels.hpp"
#include "gost28147/g28147_round.hpp"

namespace qal::gost {

namespace {

struct Block {
    uint32_t a, b;
};

Block load(const uint8_t *in)
{
    return {base::load_le32(in), base::load_le32(in + 4)};
}

// The last round leaves the halves unexchanged.
void store(uint8_t *out, const Block &block)
{
    base::store_le32(out, block.b);
    base::store_le32(out + 4, block.a);
}

} // namespace

void g28147_blocks_portable(const uint32_t *rk, const uint32_t *kext, const uint8_t *in,
                            uint8_t *out, size_t blocks)
{
    for (; blocks >= 4; blocks -= 4, in += 4 * g28147_block, out += 4 * g28147_block) {
        Block w = load(in), x = load(in + 8), y = load(in + 16), z = load(in + 24);
#pragma GCC unroll 1
        for (int i = 0; i < 32; i += 2) {
            g28147_two_rounds(w.a, w.b, rk + i, kext);
            g28147_two_rounds(x.a, x.b, rk + i, kext);
            g28147_two_rounds(y.a, y.b, rk + i, kext);
            g28147_two_rounds(z.a, z.b, rk + i, kext);
        }
        store(out, w);
        store(out + 8, x);
        store(out + 16, y);
        store(out + 24, z);
    }
    for (; blocks > 0; blocks--, in += g28147_block, out += g28147_block) {
        Block w = load(in);
        for (int i = 0; i < 32; i += 2)
            g28147_two_rounds(w.a, w.b, rk + i, kext);
        store(out, w);
    }
}

} // namespace qal::gost
