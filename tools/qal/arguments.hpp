// File names from the command line, exactly as they were given.
//
// CLI11 unfolds an argument "[a,b]" into a and b, and takes "-name" for options even behind "--" if
// another name stands before that. A mark before such arguments hides them from it; a
// transformation of every option's values takes the mark off again.
#pragma once

#include <CLI/CLI.hpp>

#include <algorithm>
#include <string>
#include <vector>

namespace qal::tool {

inline constexpr char mark = '\1';

// The arguments after the program's name, last first, as CLI::App::parse wants them.
inline std::vector<std::string> marked_arguments(int argc, char **argv)
{
    std::vector<std::string> arguments;
    bool names_alone = false; // "--" has been seen
    for (int i = 1; i < argc; i++) {
        std::string argument = argv[i];
        if (!names_alone && argument == "--") {
            names_alone = true;
            continue;
        }
        const char first = argument.empty() ? '\0' : argument.front();
        if (first == '[' || first == mark || (names_alone && first == '-' && argument != "-"))
            argument.insert(argument.begin(), mark);
        arguments.push_back(std::move(argument));
    }
    std::reverse(arguments.begin(), arguments.end());
    return arguments;
}

// To be called when all options are there, before parsing.
inline void take_off_marks(CLI::App &app)
{
    for (CLI::Option *option : app.get_options()) {
        option->transform([](const std::string &value) {
            return value.starts_with(mark) ? value.substr(1) : value;
        });
    }
    for (CLI::App *command : app.get_subcommands(nullptr))
        take_off_marks(*command);
}

// The names given for a positional option; standard input if there are none.
inline std::vector<std::string> names_of(const CLI::Option &option)
{
    std::vector<std::string> names = option.results();
    if (names.empty())
        names.emplace_back("-");
    return names;
}

} // namespace qal::tool
