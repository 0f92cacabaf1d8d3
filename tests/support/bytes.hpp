// Byte strings: hexadecimal text, pseudo-random contents, memory that notices stray accesses.
#ifndef QAL_TESTS_SUPPORT_BYTES_HPP
#define QAL_TESTS_SUPPORT_BYTES_HPP

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace qal::test {

using Bytes = std::vector<uint8_t>;

std::string to_hex(const uint8_t *data, size_t size);
inline std::string to_hex(const Bytes &bytes)
{
    return to_hex(bytes.data(), bytes.size());
}

// Throws std::invalid_argument unless the text is pairs of hexadecimal digits.
Bytes from_hex(std::string_view text);

inline Bytes reversed(const Bytes &bytes)
{
    return {bytes.rbegin(), bytes.rend()};
}

// Bytes 0, 1, ..., 250, 0, 1, ...: the period is prime, so that exchanged blocks show.
Bytes pattern251(size_t size);

// A reproducible generator. Its seed is 1, or the value of QAL_TEST_SEED, mixed with the name of
// the running test; a failing test prints it.
class Random {
public:
    Random();

    uint64_t word() { return engine_(); }
    // 0 <= result < bound
    size_t below(size_t bound)
    {
        return std::uniform_int_distribution<size_t>(0, bound - 1)(engine_);
    }
    Bytes bytes(size_t size);
    // Runs of zeros and ones of random lengths: what carries have to run through.
    Bytes runs(size_t size);

private:
    std::mt19937_64 engine_;
};

// size bytes between two inaccessible pages, ending right before the upper one or beginning right
// after the lower one, so that an access beyond that edge ends the program.
class GuardedBytes {
public:
    enum class Edge { upper, lower };

    explicit GuardedBytes(size_t size, Edge edge = Edge::upper);
    explicit GuardedBytes(const Bytes &contents, Edge edge = Edge::upper);
    GuardedBytes(const GuardedBytes &) = delete;
    GuardedBytes &operator=(const GuardedBytes &) = delete;
    ~GuardedBytes();

    uint8_t *data() { return data_; }
    [[nodiscard]] Bytes contents() const { return {data_, data_ + size_}; }
    // From here on a write ends the program, too.
    void make_read_only();

private:
    size_t size_, mapped_;
    uint8_t *mapping_, *data_;
};

// size bytes at a chosen offset from a 64-byte boundary, with marked bytes on both sides; a test
// fails when a mark has changed by the time of destruction.
class MarkedBytes {
public:
    explicit MarkedBytes(size_t size, size_t offset = 0);
    explicit MarkedBytes(const Bytes &contents, size_t offset = 0);
    MarkedBytes(const MarkedBytes &) = delete;
    MarkedBytes &operator=(const MarkedBytes &) = delete;
    ~MarkedBytes();

    uint8_t *data() { return data_; }
    [[nodiscard]] Bytes contents() const { return {data_, data_ + size_}; }

private:
    size_t size_;
    Bytes storage_;
    uint8_t *data_;
};

} // namespace qal::test

#endif
