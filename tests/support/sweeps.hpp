// What every family's tests run over: splits of a message, alignments, variants of a kernel.
#ifndef QAL_TESTS_SUPPORT_SWEEPS_HPP
#define QAL_TESTS_SUPPORT_SWEEPS_HPP

#include "base/cpu.hpp"
#include "base/variants.hpp"
#include "support/bytes.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qal::test {

// Calls use(piece, length) for consecutive pieces of data with lengths drawn from 0..longest.
template<typename Use>
void in_random_pieces(Random &random, const uint8_t *data, size_t size, size_t longest, Use use)
{
    while (size > 0) {
        const size_t length = std::min(size, random.below(longest + 1));
        use(data, length);
        data += length;
        size -= length;
    }
}

// Calls check(offset) for every position within a cache line.
template<typename Check>
void at_every_alignment(Check check)
{
    for (size_t offset = 0; offset < 64; offset++) {
        SCOPED_TRACE("alignment " + std::to_string(offset));
        check(offset);
    }
}

// One implementation of a kernel with the processor features that it needs.
template<typename Function>
struct Variant {
    const char *name;
    uint32_t needs;
    Function *run;
};

// The name itself, whatever it is bound to.
template<typename Function>
std::vector<Variant<Function>> as_dispatched(Function *run)
{
    return {{"dispatched", 0, run}};
}

// Defines, for a line of a list of routines, the table routine_variants: the name and all variants.
#define QAL_ADD_VARIANT(routine, isa)                                                              \
    variants.push_back({#isa, qal::base::needs_##isa, routine##_##isa})
#define QAL_VARIANT_TABLE(routine, ...)                                                            \
    const auto routine##_variants = [] {                                                           \
        auto variants = qal::test::as_dispatched(routine);                                         \
        QAL_EACH_VARIANT(QAL_ADD_VARIANT, routine, __VA_ARGS__);                                   \
        return variants;                                                                           \
    }()

// What this processor has, whatever the build may choose.
inline uint32_t processor_features()
{
    return qal::base::cpu_features(qal::base::isa_cap_all);
}

// Calls check(variant) for each variant that this processor can execute.
template<typename Function, typename Check>
void each_variant(const std::vector<Variant<Function>> &variants, Check check)
{
    for (const Variant<Function> &variant : variants) {
        if ((processor_features() & variant.needs) != variant.needs)
            continue;
        SCOPED_TRACE(std::string("variant ") + variant.name);
        check(variant);
    }
}

} // namespace qal::test

#endif
