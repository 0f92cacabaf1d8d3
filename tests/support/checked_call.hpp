// Calls of functions in machine code that watch over the calling convention.
#ifndef QAL_TESTS_SUPPORT_CHECKED_CALL_HPP
#define QAL_TESTS_SUPPORT_CHECKED_CALL_HPP

#include <array>
#include <cstdint>
#include <vector>

namespace qal::test {

// Calls a function of up to six integers and pointers and fails the running test unless it keeps
// the registers that belong to the caller, and the direction flag, clear.
uint64_t checked_call(const void *function, const std::array<uint64_t, 6> &arguments);

// The same one instruction at a time. Between any two a signal is delivered on the same stack,
// which overwrites what the function may have put beyond its red zone, and the handler unwinds the
// stack: it must find its way back to the caller, with the caller's stack pointer, from every
// instruction.
uint64_t stepped_call(const void *function, const std::array<uint64_t, 6> &arguments);

// The addresses of the instructions that a call executes, in their order. A call before it has had
// all names bound that it meets.
std::vector<uintptr_t> path_of_call(const void *function, const std::array<uint64_t, 6> &arguments);

} // namespace qal::test

#endif
