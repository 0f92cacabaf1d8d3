#include "stepper.hpp"

#include "recorder.hpp"
#include "symbols.hpp"

#include <cpuid.h>
#include <elf.h>
#include <sys/ptrace.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <map>
#include <stdexcept>
#include <utility>

namespace qal::test {

namespace {

// Where a component of the extended state stands in it (XSAVE's standard form).
uint32_t component(uint32_t number)
{
    uint32_t size, offset, c, d;
    __cpuid_count(0xd, number, size, offset, c, d);
    return offset;
}

class Child {
public:
    explicit Child(pid_t pid) : pid_(pid) {}
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;
    ~Child()
    {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }

    // Until it has stopped.
    void wait() const
    {
        int status = 0;
        if (waitpid(pid_, &status, 0) != pid_ || !WIFSTOPPED(status))
            throw std::runtime_error("the run ended before its end");
        if (WSTOPSIG(status) != SIGTRAP && WSTOPSIG(status) != SIGSTOP)
            throw std::runtime_error(std::string("the run was stopped by ") +
                                     strsignal(WSTOPSIG(status)));
    }

    void step() const
    {
        ptrace(PTRACE_SINGLESTEP, pid_, nullptr, nullptr);
        wait();
    }

    [[nodiscard]] user_regs_struct registers() const
    {
        user_regs_struct r;
        ptrace(PTRACE_GETREGS, pid_, nullptr, &r);
        return r;
    }

    void append(std::vector<uint64_t> &steps, const Value &value, const user_regs_struct &r) const
    {
        switch (value.source) {
        case Value::Source::sum:
            steps.push_back(sum(value, r));
            break;
        case Value::Source::word:
            steps.push_back(
                static_cast<uint64_t>(ptrace(PTRACE_PEEKDATA, pid_, sum(value, r), nullptr)));
            break;
        case Value::Source::mask: {
            const std::vector<uint8_t> state = extended_state();
            steps.push_back(word_of(state, component(5) + 8 * static_cast<size_t>(value.number)));
            break;
        }
        case Value::Source::vector:
            append_vector(steps, value);
            break;
        }
    }

private:
    static uint64_t sum(const Value &value, const user_regs_struct &r)
    {
        const unsigned long long general[] = {r.rax, r.rcx, r.rdx, r.rbx, r.rsp, r.rbp,
                                              r.rsi, r.rdi, r.r8,  r.r9,  r.r10, r.r11,
                                              r.r12, r.r13, r.r14, r.r15};
        uint64_t result = static_cast<uint64_t>(int64_t{value.displacement});
        if (value.base >= 0)
            result += general[value.base];
        if (value.index >= 0)
            result += uint64_t{general[value.index]} << value.scale;
        return result;
    }

    [[nodiscard]] std::vector<uint8_t> extended_state() const
    {
        std::vector<uint8_t> state(16384);
        iovec area = {state.data(), state.size()};
        ptrace(PTRACE_GETREGSET, pid_, NT_X86_XSTATE, &area);
        return state;
    }

    static uint64_t word_of(const std::vector<uint8_t> &state, size_t at)
    {
        uint64_t word;
        std::memcpy(&word, state.data() + at, sizeof word);
        return word;
    }

    void append_vector(std::vector<uint64_t> &steps, const Value &value) const
    {
        const std::vector<uint8_t> state = extended_state();
        constexpr size_t xmm = 160;
        const auto n = static_cast<size_t>(value.number);
        for (size_t word = 0; word < value.words; word++) {
            size_t at;
            if (n >= 16)
                at = component(7) + 64 * (n - 16) + 8 * word;
            else if (word < 2)
                at = xmm + 16 * n + 8 * word;
            else if (word < 4)
                at = component(2) + 16 * n + 8 * (word - 2);
            else
                at = component(6) + 32 * n + 8 * (word - 4);
            steps.push_back(word_of(state, at));
        }
    }

    pid_t pid_;
};

bool is_repeated(const Instruction &in)
{
    return std::ranges::any_of(in.values,
                               [](const Value &v) { return v.kind == Value::Kind::count; });
}

} // namespace

std::vector<uint64_t> single_steps(const std::function<void()> &run)
{
    const pid_t pid = fork();
    if (pid < 0)
        throw std::runtime_error("no copy of the process can be made");
    if (pid == 0) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        Recorder::run_unrecorded(run);
        _exit(1);
    }
    const Child child(pid);
    child.wait();

    const Range text = program_text(), span = Recorder::span_of_run();
    std::map<uint64_t, Instruction> known;
    std::vector<uint64_t> steps;
    bool inside = false;
    uint64_t last = 0;
    for (;; child.step()) {
        const user_regs_struct r = child.registers();
        inside = inside || r.rip == span.begin;
        if (r.rip == span.end)
            return steps;
        if (!inside || !text.contains(r.rip))
            continue;
        const auto [found, is_new] = known.try_emplace(r.rip);
        if (is_new)
            found->second = decode(r.rip);
        // One with repetitions stops after each.
        if (std::exchange(last, r.rip) == r.rip && is_repeated(found->second))
            continue;
        steps.push_back(r.rip);
        for (const Value &value : found->second.values)
            child.append(steps, value, r);
    }
}

} // namespace qal::test
