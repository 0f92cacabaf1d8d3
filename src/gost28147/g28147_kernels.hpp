// The cipher over many independent blocks, and the variants of it.
#pragma once

#include "base/variants.hpp"

#include <qal/g28147.h>

#include <stddef.h>
#include <stdint.h>

namespace qal::gost {

constexpr size_t g28147_block = 8;

// out = the 32-round cycle of in, for whole blocks; in may be out. The table may be anything.
void g28147_blocks(const uint32_t *rk, const uint32_t *kext, const uint8_t *in, uint8_t *out,
                   size_t blocks);

#define QAL_G28147_ROUTINES(V) V(g28147_blocks, avx512, avx2, portable)
QAL_G28147_ROUTINES(QAL_DECLARE_VARIANTS);

// How many of the blocks that are left go through a buffer of g28147_most_blocks next. The wide
// variants take a short batch by the table, at addresses that depend on key and text: if there are
// several batches, none is shorter than half of the buffer.
constexpr size_t g28147_most_blocks = 256;
constexpr size_t g28147_batch(size_t left)
{
    constexpr size_t most = g28147_most_blocks;
    return left <= most ? left : left < most + most / 2 ? most / 2 : most;
}

} // namespace qal::gost
