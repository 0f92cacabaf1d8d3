// Reading files in large blocks, and writing standard output so that no failure is lost.
#pragma once

#include "hex.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qal::tool {

// A file open for reading from beginning to end; "-" is standard input.
class Input {
public:
    explicit Input(const std::string &name); // throws FileError
    Input(const Input &) = delete;
    Input &operator=(const Input &) = delete;
    ~Input();

    // Up to size bytes; 0 at the end. Throws FileError.
    size_t read(uint8_t *data, size_t size);

    // Calls take(data, size) for every block until the end.
    template<typename Take>
    void read_all(Bytes &buffer, Take take)
    {
        buffer.resize(block_size);
        while (const size_t n = read(buffer.data(), buffer.size()))
            take(buffer.data(), n);
    }

private:
    // Large enough that a system call is nothing beside the work, small enough for the L2 cache.
    static constexpr size_t block_size = size_t{256} << 10;

    std::string name_;
    int fd_;
};

// The length of a regular file; nothing for others and for what cannot be looked at.
std::optional<uint64_t> length_of(const std::string &name);

// Writes to standard output; a failure shows at the latest in finish_output().
void print(std::string_view text);

// Everything written has arrived, or a WriteError is thrown.
void finish_output();

// Descriptors 0, 1 and 2 that the caller left closed become ones that fail, lest an opened file
// take their place.
void occupy_standard_descriptors();

} // namespace qal::tool
