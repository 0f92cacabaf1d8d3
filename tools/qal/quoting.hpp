// Names of files in messages, so that none of them moves the cursor or looks like another message.
#pragma once

#include <string>
#include <string_view>

namespace qal::tool {

// A name as the coreutils commands show it: as it is, or in quotes that a shell understands if it
// has blanks, control characters or others that mean something to a shell.
std::string quote(std::string_view name);

// A text with escapes, such as \n, for its control characters.
std::string printable(std::string_view text);

} // namespace qal::tool
