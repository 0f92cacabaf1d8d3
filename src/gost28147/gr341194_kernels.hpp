// The step function of GOST R 34.11-94 over a run of blocks, and the variants of it.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace qal::gost {

// H = f(H, block) for each of n blocks of 32 bytes; they may overlap H. The table may be anything.
void gr341194_steps(uint8_t *H, const uint8_t *blocks, size_t n, const uint32_t *kext);

void gr341194_steps_portable(uint8_t *H, const uint8_t *blocks, size_t n, const uint32_t *kext);
void gr341194_steps_avx512(uint8_t *H, const uint8_t *blocks, size_t n, const uint32_t *kext);

// The transposition P as the exported operation has it.
void gr341194_transpose(uint8_t *out, const uint8_t *in);

} // namespace qal::gost
