// What fuzz targets are made of: a reader of the fuzzer's bytes. Expectations are GoogleTest's, of
// which the first that does not hold ends the program.
#ifndef QAL_FUZZ_INPUT_HPP
#define QAL_FUZZ_INPUT_HPP

#include "support/bytes.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace qal::fuzz {

using test::Bytes;
using test::GuardedBytes;

// Consecutive pieces of an input. Behind its end there are zeros, so that every input is complete:
// none is turned down, and a shorter one means something, too.
class Input {
public:
    Input(const uint8_t *data, size_t size) : data_(data), left_(size)
    {
        [[maybe_unused]] static const bool strict = [] {
            GTEST_FLAG_SET(throw_on_failure, true);
            return true;
        }();
    }

    [[nodiscard]] size_t left() const { return left_; }
    [[nodiscard]] bool empty() const { return left_ == 0; }

    uint8_t byte()
    {
        if (left_ == 0)
            return 0;
        left_--;
        return *data_++;
    }
    bool flag() { return byte() & 1; }
    // Least significant byte first.
    uint64_t word(size_t bytes = 8)
    {
        uint64_t value = 0;
        for (size_t i = 0; i < bytes; i++)
            value |= uint64_t{byte()} << 8 * i;
        return value;
    }
    // 0 <= result < bound, from as many bytes as the bound needs
    size_t below(size_t bound)
    {
        size_t bytes = 1;
        while (bytes < 8 && bound > size_t{1} << 8 * bytes)
            bytes++;
        return static_cast<size_t>(word(bytes) % bound);
    }
    Bytes bytes(size_t size)
    {
        Bytes bytes(size);
        const size_t given = std::min(size, left_);
        std::copy_n(data_, given, bytes.begin());
        data_ += given;
        left_ -= given;
        return bytes;
    }
    Bytes rest() { return bytes(left_); }
    template<typename T, size_t n>
    const T &one_of(const T (&choices)[n])
    {
        return choices[below(n)];
    }
    // Where memory that is exactly large enough ends or begins at an inaccessible page.
    GuardedBytes::Edge edge()
    {
        return flag() ? GuardedBytes::Edge::lower : GuardedBytes::Edge::upper;
    }

private:
    const uint8_t *data_;
    size_t left_;
};

} // namespace qal::fuzz

// The function that the fuzzer calls: followed by a body that has the input as `in`.
#define QAL_FUZZ_TARGET                                                                            \
    static void run_one(qal::fuzz::Input in);                                                      \
    extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)                        \
    {                                                                                              \
        run_one(qal::fuzz::Input(data, size));                                                     \
        return 0;                                                                                  \
    }                                                                                              \
    static void run_one(qal::fuzz::Input in)

#endif
