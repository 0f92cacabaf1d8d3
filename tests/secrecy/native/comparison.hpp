// Where two runs of the same code part.
#pragma once

#include "recorder.hpp"

#include <functional>
#include <string>
#include <vector>

namespace qal::test {

struct Difference {
    uint64_t at = 0; // of the instruction
    // What it is in, behind those that have called it from the outermost on.
    std::vector<std::string> functions;
    std::string text; // the instruction, and what is not the same
};

// All differences in values, once for each instruction, up to the first place from which the runs
// take different ways. If that one may differ, the comparison goes on behind the return of the
// function that it is in.
std::vector<Difference> differences(const Log &one, const Log &other,
                                    const std::function<bool(const Difference &)> &may_differ);

// For each instruction its address and its values.
std::vector<uint64_t> steps_of(const Log &log);

} // namespace qal::test
