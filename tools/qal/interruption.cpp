#include "interruption.hpp"

#include <limits.h>
#include <signal.h>
#include <string.h>
#include <unistd.h>

#include <array>
#include <atomic>

namespace qal::tool {

namespace {

// Static and atomic, since a signal comes at any time and on any thread.
std::array<char, PATH_MAX> path;
std::atomic<bool> path_is_set = false;
std::atomic<bool> line_is_drawn = false;

// Calls nothing but what POSIX allows in a signal handler.
extern "C" void put_right_and_die(int number)
{
    if (path_is_set.exchange(false))
        ::unlink(path.data());
    if (line_is_drawn.exchange(false)) {
        constexpr char erasure[] = "\r\033[K";
        if (::write(STDERR_FILENO, erasure, sizeof erasure - 1) < 0) {
            // There is nobody left to be told.
        }
    }
    struct sigaction standard {};
    standard.sa_handler = SIG_DFL;
    ::sigaction(number, &standard, nullptr);
    // It comes as soon as this handler returns and the signal is not blocked any more.
    ::raise(number);
}

} // namespace

void put_right_when_interrupted()
{
    // All that end a program from outside, by its terminal, its reader or its limits.
    for (const int number :
         {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGALRM, SIGTERM, SIGXCPU, SIGXFSZ}) {
        struct sigaction action {};
        if (::sigaction(number, nullptr, &action) != 0 || action.sa_handler == SIG_IGN)
            continue;
        action = {};
        action.sa_handler = put_right_and_die;
        ::sigaction(number, &action, nullptr);
    }
}

void remove_when_interrupted(const std::string &name)
{
    path_is_set = false;
    if (name.empty() || name.size() >= path.size()) // the system takes no longer ones
        return;
    ::memcpy(path.data(), name.c_str(), name.size() + 1);
    path_is_set = true;
}

void erase_line_when_interrupted(bool drawn)
{
    line_is_drawn = drawn;
}

} // namespace qal::tool
