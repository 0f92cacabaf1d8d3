// Every exported operation at work, on fixed arguments: what is measured and bounded apart from
// results (stack, allocation, instructions) is measured and bounded for all of them.
#ifndef QAL_TESTS_OPERATIONS_OPERATIONS_HPP
#define QAL_TESTS_OPERATIONS_OPERATIONS_HPP

#include "support/bytes.hpp"

#include <qal/qal.h>

#include <functional>
#include <string>
#include <vector>

namespace qal::test {

// Memory that an operation writes. Of a number only the digits in use count.
struct Output {
    void *memory;
    size_t size;
    bool number;
};

// Calls of one exported function.
struct Operation {
    std::string name;           // as exported
    std::string arguments;      // what tells these calls from others of the same function
    std::function<void()> call; // nothing but calls
    std::vector<Output> outputs;
    bool sweep = false; // over many sizes, to reach every path

    [[nodiscard]] Bytes result() const;
};

// The operations and the memory that they work on.
class Operations {
public:
    Operations();

    std::vector<Operation> all;

    // Gives all memory the contents that it had at first: an operation is the same whenever it is
    // called.
    void reset();

    // Whether four equal bytes are in it anywhere, on a boundary of four.
    [[nodiscard]] bool holds_word_of(uint8_t byte) const;

private:
    // n equal records, zeroed.
    template<class T>
    T *make(size_t n = 1)
    {
        memory_.emplace_back((n * sizeof(T) + 7) / 8);
        return reinterpret_cast<T *>(memory_.back().data());
    }

    // Bytes that are the same in every program.
    uint8_t *bytes(size_t size);
    // A full buffer with an odd number of so many digits, all of them far from zero.
    qald *number(size_t digits);
    qald *room() { return make<qald>(QALBIG_SIZE); }

    Operation &add(const std::string &name, const std::string &arguments,
                   std::function<void()> call, std::vector<Output> outputs);
    // Calls in a loop over sizes.
    void sweep(const std::string &name, std::function<void()> call, std::vector<Output> outputs);

    void add_integers();
    void add_conversions();
    void add_rsa();
    void add_prime_fields();
    void add_prime_curves();
    void add_signatures();
    void add_ciphers();
    void add_hashes();
    void add_binary_polynomials();
    void add_binary_curves();
    void add_binary_signatures();

    std::vector<std::vector<uint64_t>> memory_, initial_;
    uint64_t state_ = 1;
};

inline Output digits(qald *x)
{
    return {x, sizeof(qald) * QALBIG_SIZE, true};
}

template<class T>
Output whole(T *record, size_t n = 1)
{
    return {record, n * sizeof(T), false};
}

// A source of bytes for the library that is the same each time.
int fixed_random(uint8_t *buf, uint32_t len);

} // namespace qal::test

#endif
