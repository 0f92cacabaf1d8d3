// Lines of digests in the formats of the coreutils checksum commands:
//     DIGEST  NAME            DIGEST *NAME            TAG (NAME) = DIGEST
// A backslash before the whole line says that \n, \r and \\ in the name stand for a newline, a
// carriage return and a backslash.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qal::tool {

// The name as it stands in a line, and whether that differs from the name.
struct EscapedName {
    std::string text;
    bool changed;
};

EscapedName escape(std::string_view name);

// A line with the name between the other parts.
std::string line_about(const std::string &name, const std::string &before,
                       const std::string &after);

struct ListedDigest {
    std::string_view tag; // empty in an untagged line
    std::string_view hex; // hexadecimal digits, perhaps; never empty
    std::string name;
};

// The parts of a line without its end, or nothing. Views are into the line.
std::optional<ListedDigest> parse_listed(std::string_view line);

} // namespace qal::tool
