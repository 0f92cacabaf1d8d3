// Structures in DER as text: PEM (RFC 7468).
#pragma once

#include "secrets.hpp"

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace qal::tool {

// The label of the first block in a text, such as "RSA PRIVATE KEY".
std::optional<std::string> pem_label(std::string_view text);

// What is in the block of a text that has this label; nothing unless there is one, well-formed,
// with nothing behind it.
std::optional<Secret> from_pem(std::string_view text, const std::string &label);

Secret to_pem(std::span<const uint8_t> der, const std::string &label);

} // namespace qal::tool
