// Keys and initial values: hexadecimal text from files or descriptors, never from arguments, which
// any user of the machine can see.
#pragma once

#include "hex.hpp"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace qal::tool {

// Bytes in pages of their own, which are left out of core dumps and, where the limit on locked
// memory allows it, never swapped. They are erased when they go. Behind them is no memory, but for
// what aligns them to cache lines.
class Secret {
public:
    explicit Secret(size_t size); // zeros
    explicit Secret(std::span<const uint8_t> bytes);
    Secret(Secret &&other) noexcept;
    Secret &operator=(Secret &&) = delete;
    Secret(const Secret &) = delete;
    Secret &operator=(const Secret &) = delete;
    ~Secret();

    [[nodiscard]] uint8_t *data() { return data_; }
    [[nodiscard]] const uint8_t *data() const { return data_; }
    [[nodiscard]] size_t size() const { return size_; }
    operator std::span<const uint8_t>() const { return {data_, size_}; }
    [[nodiscard]] std::string_view text() const
    {
        return {reinterpret_cast<const char *>(data_), size_};
    }

private:
    uint8_t *data_;
    size_t size_;
};

// A record of the library that holds secrets, in such memory; zeros at first.
template<typename Record>
class SecretRecord {
    static_assert(std::is_trivially_copyable_v<Record> && alignof(Record) <= 64);

public:
    SecretRecord() : memory_(sizeof(Record)) {}

    [[nodiscard]] Record *get() { return reinterpret_cast<Record *>(memory_.data()); }
    [[nodiscard]] const Record *get() const
    {
        return reinterpret_cast<const Record *>(memory_.data());
    }
    Record *operator->() { return get(); }
    const Record *operator->() const { return get(); }
    Record &operator*() { return *get(); }
    const Record &operator*() const { return *get(); }

private:
    Secret memory_;
};

// Clears the stack below its function when that is left, however that happens: operations of the
// library in variable time leave pieces of their arguments there.
class StackCleaner {
public:
    StackCleaner() = default;
    StackCleaner(const StackCleaner &) = delete;
    StackCleaner &operator=(const StackCleaner &) = delete;
    ~StackCleaner();
};

// Hexadecimal digits and a newline.
Secret line_of_hex(const Secret &secret);

// size bytes from hexadecimal digits, between which blanks and newlines do not count; throws
// std::runtime_error with the name otherwise.
Secret secret_from_hex(std::string_view text, size_t size, const std::string &name);

// Where a value comes from: a pair of options --NAME-file and --NAME-fd, of which one may be given.
class SecretSource {
public:
    // what: the value in messages, such as "key"; form: what it is written in
    SecretSource(CLI::App &command, std::string what, bool required,
                 const std::string &form = "hexadecimal");

    [[nodiscard]] bool given() const;

    // Exactly size bytes; throws std::runtime_error with a reason otherwise.
    [[nodiscard]] Secret read(size_t size) const;

    // All of it as it is, for values that may have another form than digits.
    [[nodiscard]] Secret read_text() const;

    // What messages call the source.
    [[nodiscard]] std::string name() const;

private:
    std::string what_, file_;
    int descriptor_ = -1;
    CLI::Option *file_option_, *descriptor_option_;
};

} // namespace qal::tool
