#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qal::tool {

using Bytes = std::vector<uint8_t>;

// The value of a hexadecimal digit of either case, -1 of anything else.
int hex_value(char digit);

std::string to_hex(std::span<const uint8_t> bytes);

// Nothing unless the text is pairs of hexadecimal digits of either case.
std::optional<Bytes> from_hex(std::string_view text);

} // namespace qal::tool
