// File names from the command line, exactly as they were given.
//
// CLI11 unfolds a positional argument "[a,b]" into a and b. A mark behind every argument that
// begins with a bracket keeps it whole; names_of() takes the mark off again.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace qal::tool {

inline constexpr char bracket_mark = '\1';

// The arguments after the program's name, last first, as CLI::App::parse wants them.
inline std::vector<std::string> marked_arguments(int argc, char **argv)
{
    std::vector<std::string> arguments;
    for (int i = argc - 1; i > 0; i--) {
        arguments.emplace_back(argv[i]);
        if (arguments.back().starts_with('['))
            arguments.back().push_back(bracket_mark);
    }
    return arguments;
}

// The names given for a positional option; standard input if there are none.
inline std::vector<std::string> names_of(const CLI::Option &option)
{
    std::vector<std::string> names = option.results();
    for (std::string &name : names)
        if (name.starts_with('['))
            name.pop_back();
    if (names.empty())
        names.emplace_back("-");
    return names;
}

} // namespace qal::tool
