// The processor's own account of a run: stopped after each instruction by ptrace(2).
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace qal::test {

// In a copy of this process, on the recorder's stack: for each instruction of the program its
// address and its values, as steps_of() has them. Some ten microseconds for each. Throws
// std::runtime_error if the run does not come to its end.
std::vector<uint64_t> single_steps(const std::function<void()> &run);

} // namespace qal::test
