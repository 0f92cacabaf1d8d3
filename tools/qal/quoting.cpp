#include "quoting.hpp"

#include <algorithm>
#include <array>
#include <cstdint>

namespace qal::tool {

namespace {

// The bytes of the visible UTF-8 character (RFC 3629) that the text begins with; 0 if it begins
// with a control character or with no character at all.
size_t visible_character(std::string_view text)
{
    const auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
    const uint8_t first = byte(0);
    if (first < 0x80)
        return first >= 0x20 && first != 0x7f ? 1 : 0;
    const size_t size = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || first > 0xf4 || text.size() < size)
        return 0;
    uint32_t point = first & (0x7fU >> size);
    for (size_t i = 1; i < size; i++) {
        if ((byte(i) & 0xc0) != 0x80)
            return 0;
        point = point << 6 | (byte(i) & 0x3fU);
    }
    constexpr std::array<uint32_t, 5> least = {0, 0, 0xa0, 0x800, 0x10000};
    const bool surrogate = point >= 0xd800 && point <= 0xdfff;
    return point >= least[size] && point <= 0x10ffff && !surrogate ? size : 0;
}

std::string escape_of(char c)
{
    constexpr std::string_view control = "\a\b\f\n\r\t\v", letter = "abfnrtv";
    if (const size_t i = control.find(c); i != std::string_view::npos)
        return {'\\', letter[i]};
    const auto value = static_cast<uint8_t>(c);
    const auto digit = [&](int shift) { return static_cast<char>('0' + (value >> shift & 7)); };
    return {'\\', digit(6), digit(3), digit(0)};
}

// Calls visible(character) or hidden(escape) for one character after the other.
template<typename Visible, typename Hidden>
void each_character(std::string_view text, Visible visible, Hidden hidden)
{
    while (!text.empty()) {
        const size_t size = visible_character(text);
        if (size > 0)
            visible(text.substr(0, size));
        else
            hidden(escape_of(text.front()));
        text.remove_prefix(std::max<size_t>(size, 1));
    }
}

} // namespace

std::string quote(std::string_view name)
{
    bool plain = !name.empty() && name.front() != '~' && name.front() != '#' && name != "{" &&
                 name != "}" && name.find_first_of(" !\"$&'()*:;<=>?[\\^`|") == std::string::npos;
    std::string text = "'";
    bool escaping = false;
    each_character(
        name,
        [&](std::string_view character) {
            if (escaping)
                text += "''";
            escaping = false;
            text += character == "'" ? "'\\''" : character;
        },
        [&](const std::string &escape) {
            if (!escaping)
                text += "'$'";
            escaping = true;
            plain = false;
            text += escape;
        });
    return plain ? std::string(name) : text + "'";
}

std::string printable(std::string_view text)
{
    std::string result;
    const auto add = [&](std::string_view part) { result += part; };
    each_character(text, add, add);
    return result;
}

} // namespace qal::tool
