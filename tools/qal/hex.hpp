#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qal::tool {

using Bytes = std::vector<uint8_t>;

std::string to_hex(std::span<const uint8_t> bytes);

// Nothing unless the text is pairs of hexadecimal digits of either case.
std::optional<Bytes> from_hex(std::string_view text);

} // namespace qal::tool
