// Multiplication by a constant of Kuznyechik's field as an 8x8 binary matrix for GF2P8AFFINEQB.
#pragma once

#include "base/gfni.hpp"
#include "ru/kuznyechik_field.hpp"

#include <stdint.h>

namespace qal::ru {

constexpr uint64_t kuznyechik_matrix(unsigned constant)
{
    return base::gfni_matrix([=](unsigned b) { return kuznyechik_product(constant, 1U << b); });
}

} // namespace qal::ru
