// Multiplication by a constant of Kuznyechik's field as an 8x8 binary matrix for GF2P8AFFINEQB.
#pragma once

#include "ru/kuznyechik_field.hpp"

#include <stdint.h>

namespace qal::ru {

// The instruction takes the coefficients of output bit o from byte 7 - o.
constexpr uint64_t kuznyechik_matrix(unsigned constant)
{
    uint64_t matrix = 0;
    for (unsigned b = 0; b < 8; b++) {
        const unsigned image = kuznyechik_product(constant, 1U << b);
        for (unsigned o = 0; o < 8; o++)
            matrix |= static_cast<uint64_t>(image >> o & 1) << (8 * (7 - o) + b);
    }
    return matrix;
}

} // namespace qal::ru
