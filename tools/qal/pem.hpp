// Numbers in DER in PEM: a SEQUENCE of INTEGERs (ITU-T X.690) as text (RFC 7468).
#pragma once

#include "secrets.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qal::tool {

// The label of the first block of PEM in a text, such as "RSA PRIVATE KEY".
std::optional<std::string> pem_label(std::string_view text);

// The numbers in the only block of a text, big-endian without leading zeros; nothing unless it is a
// sequence of numbers that are not negative, with nothing behind it.
std::optional<std::vector<Secret>> from_pem(std::string_view text, const std::string &label);

Secret to_pem(const std::vector<Secret> &numbers, const std::string &label);

} // namespace qal::tool
