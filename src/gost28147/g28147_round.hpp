// The rounds of GOST 28147-89 through an expanded table, inline for everything that is serial.
#pragma once

#include "base/bytes.hpp"

#include <stdint.h>

namespace qal::gost {

// Substitution and rotation: one look-up per byte. The sum with `b` comes first because b is there
// before the look-ups are.
[[gnu::always_inline]] static inline uint32_t g28147_f(uint32_t x, uint32_t b, const uint32_t *kext)
{
    return (b ^ kext[x >> 24]) ^ (kext[256 + (x >> 16 & 0xff)] ^ kext[512 + (x >> 8 & 0xff)]) ^
           kext[768 + (x & 0xff)];
}

// Two rounds, with the exchange of the halves taken as a renaming.
[[gnu::always_inline]] static inline void
g28147_two_rounds(uint32_t &a, uint32_t &b, const uint32_t *rk, const uint32_t *kext)
{
    b = g28147_f(a + rk[0], b, kext);
    a = g28147_f(b + rk[1], a, kext);
}

// Round 32 does not exchange the halves.
[[gnu::always_inline]] static inline void g28147_cycle32(uint32_t &a, uint32_t &b,
                                                         const uint32_t *rk, const uint32_t *kext)
{
#pragma GCC unroll 16
    for (int i = 0; i < 32; i += 2)
        g28147_two_rounds(a, b, rk + i, kext);
    const uint32_t exchanged = a;
    a = b;
    b = exchanged;
}

[[gnu::always_inline]] static inline void g28147_cycle16(uint32_t &a, uint32_t &b,
                                                         const uint32_t *rk, const uint32_t *kext)
{
#pragma GCC unroll 8
    for (int i = 0; i < 16; i += 2)
        g28147_two_rounds(a, b, rk + i, kext);
}

// Round keys from a key in the order of one of the exported tables.
static inline void g28147_order_keys(uint32_t *rk, const uint8_t *key, const uint8_t *order)
{
    for (int i = 0; i < 32; i++)
        rk[i] = base::load_le32(key + 4 * order[i]);
}

} // namespace qal::gost
