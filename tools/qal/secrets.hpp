// Keys and initial values: hexadecimal text from files or descriptors, never from arguments, which
// any user of the machine can see.
#pragma once

#include "hex.hpp"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace qal::tool {

// Bytes that are erased when they go.
class Secret {
public:
    explicit Secret(size_t size) : bytes_(size) {}
    explicit Secret(std::span<const uint8_t> bytes) : bytes_(bytes.begin(), bytes.end()) {}
    Secret(Secret &&) = default;
    Secret &operator=(Secret &&) = delete;
    Secret(const Secret &) = delete;
    Secret &operator=(const Secret &) = delete;
    ~Secret();

    [[nodiscard]] uint8_t *data() { return bytes_.data(); }
    [[nodiscard]] const uint8_t *data() const { return bytes_.data(); }
    [[nodiscard]] size_t size() const { return bytes_.size(); }
    operator std::span<const uint8_t>() const { return bytes_; }
    [[nodiscard]] std::string_view text() const
    {
        return {reinterpret_cast<const char *>(bytes_.data()), bytes_.size()};
    }

private:
    Bytes bytes_;
};

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
