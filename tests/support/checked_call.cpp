#include "support/checked_call.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <ucontext.h>
#include <unwind.h>

namespace qal::test {

namespace {

// As checked_call.S has it.
struct Call {
    uint64_t stack;
    std::array<uint64_t, 6> registers;
    uint64_t flags;
    uint64_t step;
};

constexpr uint64_t direction_flag = 0x400;

// What the handler counts, and the call that it interrupts.
uint64_t steps, lost_steps;
const Call *stepped;

// What another handler collects.
std::vector<uintptr_t> *path;

} // namespace

extern "C" {
uint64_t qal_test_call(const void *function, const uint64_t *arguments, Call *call);
extern const char qal_test_call_return[], qal_test_call_end[];
}

namespace {

uint64_t run(const void *function, const std::array<uint64_t, 6> &arguments, Call &call)
{
    const uint64_t result = qal_test_call(function, arguments.data(), &call);
    for (uint64_t i = 0; i < call.registers.size(); i++)
        EXPECT_EQ(call.registers[i], 0x5a5a5a5a5a5a5a00 + i) << "callee-saved register " << i;
    EXPECT_EQ(call.flags & direction_flag, 0);
    return result;
}

_Unwind_Reason_Code visit(_Unwind_Context *context, void *found)
{
    int before = 0;
    if (_Unwind_GetIPInfo(context, &before) != reinterpret_cast<uintptr_t>(qal_test_call_return))
        return _URC_NO_REASON;
    *static_cast<bool *>(found) = _Unwind_GetCFA(context) == stepped->stack;
    return _URC_NORMAL_STOP;
}

// Of the instruction that comes next, or 0 if it is the test's own.
uintptr_t address_in(void *context)
{
    const auto at =
        static_cast<uintptr_t>(static_cast<ucontext_t *>(context)->uc_mcontext.gregs[REG_RIP]);
    const bool own = at >= reinterpret_cast<uintptr_t>(&qal_test_call) &&
                     at < reinterpret_cast<uintptr_t>(qal_test_call_end);
    return own ? 0 : at;
}

void on_step(int /*signal*/, siginfo_t * /*info*/, void *context)
{
    if (address_in(context) == 0)
        return;
    steps++;
    bool found = false;
    _Unwind_Backtrace(visit, &found);
    lost_steps += !found;
}

void on_path(int /*signal*/, siginfo_t * /*info*/, void *context)
{
    const uintptr_t at = address_in(context);
    if (at != 0)
        path->push_back(at);
}

// Calls it step by step, with the handler at each.
uint64_t run_stepped(const void *function, const std::array<uint64_t, 6> &arguments,
                     void (*handle)(int, siginfo_t *, void *))
{
    struct sigaction handler = {}, previous = {};
    handler.sa_sigaction = handle;
    handler.sa_flags = SA_SIGINFO;
    EXPECT_EQ(sigaction(SIGTRAP, &handler, &previous), 0);
    Call call = {};
    call.step = 1;
    stepped = &call;
    const uint64_t result = run(function, arguments, call);
    EXPECT_EQ(sigaction(SIGTRAP, &previous, nullptr), 0);
    return result;
}

} // namespace

uint64_t checked_call(const void *function, const std::array<uint64_t, 6> &arguments)
{
    Call call = {};
    return run(function, arguments, call);
}

uint64_t stepped_call(const void *function, const std::array<uint64_t, 6> &arguments)
{
    steps = lost_steps = 0;
    const uint64_t result = run_stepped(function, arguments, on_step);
    EXPECT_EQ(lost_steps, 0) << "of " << steps << " instructions";
    EXPECT_GT(steps, 0);
    return result;
}

std::vector<uintptr_t> path_of_call(const void *function, const std::array<uint64_t, 6> &arguments)
{
    checked_call(function, arguments);
    std::vector<uintptr_t> addresses;
    path = &addresses;
    run_stepped(function, arguments, on_path);
    EXPECT_FALSE(addresses.empty());
    return addresses;
}

} // namespace qal::test
