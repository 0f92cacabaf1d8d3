// Names and addresses in the running program.
#pragma once

#include <cstdint>
#include <string>

namespace qal::test {

struct Range {
    uint64_t begin = 0, end = 0;
    [[nodiscard]] bool contains(uint64_t at) const { return begin <= at && at < end; }
};

// The program's own instructions.
Range program_text();

struct Function {
    std::string name;
    Range range;
};

// The function that the address is in, its name as C++ has it without parameters.
Function function_at(uint64_t at);

// The name of the routine in another object to which the loader has bound this word, or nothing.
std::string imported_at(uint64_t word);

} // namespace qal::test
