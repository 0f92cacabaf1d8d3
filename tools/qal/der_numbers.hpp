// Numbers in DER: a SEQUENCE of INTEGERs (ITU-T X.690), as RSA keys are in PKCS #1.
#pragma once

#include "secrets.hpp"

#include <optional>
#include <span>
#include <vector>

namespace qal::tool {

Secret to_der(const std::vector<Secret> &numbers);

// Big-endian without leading zeros; nothing unless it is a sequence of numbers that are not
// negative, with nothing behind it.
std::optional<std::vector<Secret>> from_der(std::span<const uint8_t> der);

} // namespace qal::tool
