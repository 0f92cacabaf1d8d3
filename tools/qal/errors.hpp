// What goes wrong, and the statuses that the program ends with.
#pragma once

#include "quoting.hpp"

#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <system_error>

namespace qal::tool {

enum ExitStatus : int {
    exit_success = 0,
    exit_failure = 1, // a file could not be read or written, or something did not match
    exit_usage = 2,   // the command line makes no sense
};

// A failed system call on a thing, named as messages show it; what() is "name: reason".
struct FileError : std::runtime_error {
    FileError(const std::string &shown, int error)
        : std::runtime_error(shown + ": " + std::generic_category().message(error)), number(error)
    {
    }

    int number;
};

// Standard output could not be written: nothing that follows can be reported, so nothing is tried.
struct WriteError : FileError {
    WriteError() : FileError("write error", errno) {}
};

// A line on standard error, after the program's name. It stays one line, whatever the message has
// taken over from outside.
inline void complain(const std::string &message)
{
    std::fflush(stdout);
    std::fprintf(stderr, "qal: %s\n", printable(message).c_str());
}

} // namespace qal::tool
