// Every name that the library binds to one of several variants, and what these need.
#pragma once

#include "base/cpu.hpp"

#include <stdexcept>
#include <vector>

namespace qal::test {

using Address = void (*)();

struct DispatchedVariant {
    const char *isa;
    uint32_t needs;
    Address address;
};

struct Dispatched {
    const char *name;
    Address (*chosen)();
    std::vector<DispatchedVariant> variants; // in the order of preference

    [[nodiscard]] Address best(uint32_t features) const
    {
        for (const DispatchedVariant &variant : variants)
            if ((features & variant.needs) == variant.needs)
                return variant.address;
        throw std::logic_error("no variant for every processor");
    }
};

std::vector<Dispatched> dispatched_names();

} // namespace qal::test
