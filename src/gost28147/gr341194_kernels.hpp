// The step function of GOST R 34.11-94 over a run of blocks, and the variants of it.
#pragma once

#include "base/variants.hpp"

#include <stddef.h>
#include <stdint.h>

namespace qal::gost {

// H = f(H, block) for each of n blocks of 32 bytes; they may overlap H. The table may be anything.
void gr341194_steps(uint8_t *H, const uint8_t *blocks, size_t n, const uint32_t *kext);

#define QAL_GR341194_ROUTINES(V) V(gr341194_steps, avx512, portable)
QAL_GR341194_ROUTINES(QAL_DECLARE_VARIANTS);

// The transposition P as the exported operation has it.
void gr341194_transpose(uint8_t *out, const uint8_t *in);

} // namespace qal::gost
