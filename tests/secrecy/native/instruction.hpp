// One machine instruction as the search for secrets sees it: where it goes on, and the values of it
// that an attacker may notice.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qal::test {

// Something that must not depend on a secret, and where it is to be had before the instruction.
struct Value {
    enum class Kind {
        address,  // of memory
        count,    // of repetitions
        lanes,    // of a vector that are read or written
        indices,  // of a gather or scatter
        dividend, // or divisor: the time of a division depends on both
        argument, // of a routine of the C library
    };
    // The sum of base, index << scale and displacement; the word of memory there; a mask register;
    // a vector register.
    enum class Source { sum, word, mask, vector };

    Kind kind;
    Source source = Source::sum;
    int base = -1, index = -1; // numbers of general registers, or none
    int scale = 0;
    int32_t displacement = 0;
    int number = 0;    // of the mask or vector register
    size_t words = 1;  // of 8 bytes that it takes
    bool wide = false; // of 512 bits, which needs AVX-512
};

const char *name_of(Value::Kind kind);

struct Instruction {
    enum class Flow { next, jump, branch, call, indirect_jump, indirect_call, leave };

    uint64_t at = 0;
    const uint8_t *bytes = nullptr;
    size_t length = 0;
    Flow flow = Flow::next;
    uint64_t target = 0; // of direct jumps, branches and calls
    Value destination{}; // of indirect ones
    int32_t dropped = 0; // bytes that a return takes from the stack behind the address
    // Where in the bytes a displacement relative to the next instruction stands; 0: nowhere.
    size_t relative_at = 0;
    std::vector<Value> values;

    [[nodiscard]] uint64_t next() const { return at + length; }
};

// Throws std::runtime_error for instructions that no routine of the library has a reason to use.
Instruction decode(uint64_t at);

std::string disassemble(uint64_t at);

} // namespace qal::test
