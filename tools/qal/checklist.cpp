#include "checklist.hpp"

#include <algorithm>

namespace qal::tool {

EscapedName escape(std::string_view name)
{
    if (name.find_first_of("\\\n\r") == std::string_view::npos)
        return {std::string(name), false};
    std::string text;
    for (const char c : name) {
        if (c == '\n')
            text += "\\n";
        else if (c == '\r')
            text += "\\r";
        else if (c == '\\')
            text += "\\\\";
        else
            text += c;
    }
    return {text, true};
}

static std::optional<std::string> unescape(std::string_view text)
{
    std::string name;
    for (size_t i = 0; i < text.size(); i++) {
        char c = text[i];
        if (c == '\\') {
            if (++i == text.size())
                return std::nullopt;
            c = text[i];
            if (c == 'n')
                c = '\n';
            else if (c == 'r')
                c = '\r';
            else if (c != '\\')
                return std::nullopt;
        }
        name += c;
    }
    return name;
}

static bool is_hex_digit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

std::string line_about(const std::string &name, const std::string &before, const std::string &after)
{
    const EscapedName escaped = escape(name);
    return (escaped.changed ? "\\" : "") + before + escaped.text + after + "\n";
}

std::optional<ListedDigest> parse_listed(std::string_view line)
{
    // Blanks may stand before the line.
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    const bool escaped = !line.empty() && line.front() == '\\';
    if (escaped)
        line.remove_prefix(1);

    ListedDigest parts;
    std::string_view name;
    const size_t digits = static_cast<size_t>(
        std::find_if_not(line.begin(), line.end(), is_hex_digit) - line.begin());
    if (digits > 0 && digits + 2 < line.size() && line[digits] == ' ' &&
        (line[digits + 1] == ' ' || line[digits + 1] == '*')) {
        parts.hex = line.substr(0, digits);
        name = line.substr(digits + 2);
    } else {
        // The last ") = " ends the name, which may hold others.
        const size_t open = line.find(" ("), close = line.rfind(") = ");
        if (open == std::string_view::npos || close == std::string_view::npos || close <= open + 2)
            return std::nullopt;
        parts.tag = line.substr(0, open);
        parts.hex = line.substr(close + 4);
        name = line.substr(open + 2, close - open - 2);
        if (parts.tag.empty() || parts.hex.empty())
            return std::nullopt;
    }
    const auto plain = escaped ? unescape(name) : std::string(name);
    if (!plain)
        return std::nullopt;
    parts.name = *plain;
    return parts;
}

} // namespace qal::tool
