// Linear maps of bytes for GF2P8AFFINEQB.
#pragma once

#include <stdint.h>

namespace qal::base {

// The matrix of the map that takes bit b to the byte image(b). The instruction has the coefficients
// of output bit o in byte 7 - o.
template<typename Image>
constexpr uint64_t gfni_matrix(Image image)
{
    uint64_t matrix = 0;
    for (unsigned b = 0; b < 8; b++)
        for (unsigned o = 0; o < 8; o++)
            matrix |= static_cast<uint64_t>(image(b) >> o & 1) << (8 * (7 - o) + b);
    return matrix;
}

} // namespace qal::base
