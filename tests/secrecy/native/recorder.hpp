// Runs code natively and writes down the way it takes: every instruction, and every value of it
// that must not depend on a secret.
//
// Stopping the processor after each instruction costs some ten microseconds (stepper.hpp does it),
// a thousand times what the instruction does. So the code is copied, block by block as it is
// reached, into memory of our own, and in front of instructions with such values there are a few
// moves that append them to a log. Nothing else changes: the processor executes the same
// instructions on the same registers, the same stack and the same return addresses. The moves touch
// no flag.
//
// It works for the text of a program that is linked to a fixed address below 2 GiB and binds its
// names when it is loaded. Of the C library what copies and fills memory may be called: its
// accesses are those of its arguments, which are written down. Not for several threads.
#pragma once

#include "instruction.hpp"
#include "symbols.hpp"

#include <functional>
#include <span>

namespace qal::test {

// Instructions that are executed one after the other from the first to the last.
struct Block {
    uint64_t at = 0;
    std::vector<Instruction> instructions;
    size_t words = 1; // in a log: where it begins, then the values
};

// A block's address, its values, the next block's address ...
class Log {
public:
    Log();
    Log(const Log &) = delete;
    Log &operator=(const Log &) = delete;
    ~Log();

    [[nodiscard]] std::span<const uint64_t> words() const { return {memory_, size_}; }

private:
    friend class Recorder;
    void clear();

    uint64_t *memory_;
    size_t size_ = 0;
};

class Recorder {
public:
    // The only one.
    static Recorder &instance();

    // Each on the same stack, from the same address on. Throws std::runtime_error for code that
    // cannot be followed.
    void record(Log &log, const std::function<void()> &run);

    [[nodiscard]] const Block &block(uint64_t at) const;

    // The same without a log.
    static void run_unrecorded(const std::function<void()> &run);
    // Where a run begins, and where it returns to.
    static Range span_of_run();

private:
    Recorder();
};

} // namespace qal::test
