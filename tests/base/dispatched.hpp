// Every name that the library binds to one of several variants, and what these need.
#pragma once

#include "base/cpu.hpp"
#include "gost28147/g28147_kernels.hpp"
#include "gost28147/gr341194_kernels.hpp"
#include "qalec/curve256.hpp"
#include "qalmath64/kernels/kernels.hpp"
#include "qalmath64/kernels/montgomery.hpp"
#include "qalmath64/powers/powers.hpp"
#include "ru/kuznyechik_kernels.hpp"
#include "ru/streebog_kernels.hpp"
#include "ua/engine.hpp"
#include "ua/kernels.hpp"

#include <qal/kuzn.h>
#include <qal/streebog.h>

#include <stdexcept>
#include <vector>

namespace qal::test {

using Address = void (*)();

struct Variant {
    uint32_t needs;
    Address address;
};

struct Dispatched {
    const char *name;
    Address (*chosen)();
    std::vector<Variant> variants; // in the order of preference

    [[nodiscard]] Address best(uint32_t features) const
    {
        for (const Variant &variant : variants)
            if ((features & variant.needs) == variant.needs)
                return variant.address;
        throw std::logic_error("no variant for every processor");
    }
};

std::vector<Dispatched> dispatched_names();

} // namespace qal::test
