// Keys and initial values: hexadecimal text from files or descriptors, never from arguments, which
// any user of the machine can see.
#pragma once

#include "hex.hpp"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <optional>
#include <string>

namespace qal::tool {

// Bytes that are erased when they go.
class Secret {
public:
    explicit Secret(size_t size) : bytes_(size) {}
    Secret(Secret &&) = default;
    Secret &operator=(Secret &&) = delete;
    Secret(const Secret &) = delete;
    Secret &operator=(const Secret &) = delete;
    ~Secret();

    [[nodiscard]] uint8_t *data() { return bytes_.data(); }
    [[nodiscard]] const uint8_t *data() const { return bytes_.data(); }
    [[nodiscard]] size_t size() const { return bytes_.size(); }

private:
    Bytes bytes_;
};

// Where a value comes from: a pair of options --NAME-file and --NAME-fd, of which one may be given.
class SecretSource {
public:
    // what: the value in messages, such as "key"
    SecretSource(CLI::App &command, std::string what, bool required);

    [[nodiscard]] bool given() const;

    // Exactly size bytes; throws std::runtime_error with a reason otherwise.
    [[nodiscard]] Secret read(size_t size) const;

private:
    std::string what_, file_;
    int descriptor_ = -1;
    CLI::Option *file_option_, *descriptor_option_;
};

} // namespace qal::tool
