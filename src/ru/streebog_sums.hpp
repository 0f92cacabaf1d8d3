// The sums modulo 2^512 that a hash carries along, inline for the kernels, whose registers would
// not survive a call.
#pragma once

#include "base/bytes.hpp"
#include "base/uint128.hpp"

#include <stddef.h>
#include <stdint.h>

namespace qal::ru {

[[gnu::always_inline]] static inline void add_word(uint64_t *N, uint64_t v)
{
    uint64_t carry = v;
    for (size_t i = 0; i < 8; i++) {
        N[i] += carry;
        carry = N[i] < carry;
    }
}

[[gnu::always_inline]] static inline void add_block(uint64_t *sigma, const uint8_t *block)
{
    using namespace qal::base;
    uint64_t carry = 0;
    for (size_t i = 0; i < 8; i++) {
        const uint128 sum = uint128{sigma[i]} + load_le64(block + 8 * i) + carry;
        sigma[i] = static_cast<uint64_t>(sum);
        carry = static_cast<uint64_t>(sum >> 64);
    }
}

} // namespace qal::ru
