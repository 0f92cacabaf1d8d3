#include "progress.hpp"

#include "interruption.hpp"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <string>

namespace qal::tool {

namespace {

constexpr auto patience = std::chrono::seconds(2);
constexpr auto interval = std::chrono::milliseconds(200);

} // namespace

Progress::Progress(uint64_t total) : total_(total)
{
    if (::isatty(STDERR_FILENO))
        thread_ = std::jthread([this](const std::stop_token &stop) { run(stop); });
}

Progress::~Progress()
{
    if (thread_.joinable()) {
        thread_.request_stop();
        thread_.join();
    }
    erase();
}

void Progress::aside(const std::function<void()> &write)
{
    const std::scoped_lock lock(terminal_);
    erase();
    write();
    if (thread_.joinable()) // the lines show at once, before the bar comes back
        std::fflush(stdout);
}

void Progress::run(const std::stop_token &stop)
{
    const auto begin = std::chrono::steady_clock::now();
    std::condition_variable_any wake;
    auto next = begin + patience;
    std::unique_lock lock(terminal_);
    while (!wake.wait_until(lock, stop, next, [&] { return stop.stop_requested(); })) {
        const auto now = std::chrono::steady_clock::now();
        if (now < next)
            continue;
        draw(std::chrono::duration<double>(now - begin).count());
        next = now + interval;
    }
}

void Progress::draw(double seconds)
{
    const auto done = static_cast<double>(done_.load(std::memory_order_relaxed));
    const double mebi = 1 << 20, rate = done / seconds;
    erase_line_when_interrupted(true);
    if (total_ == 0) {
        std::fprintf(stderr, "\r\033[K%.0f MiB, %.0f MiB/s", done / mebi, rate / mebi);
    } else {
        const auto total = static_cast<double>(total_);
        const double share = std::min(done / total, 1.0);
        constexpr int width = 30;
        std::string bar(width, ' ');
        std::fill_n(bar.begin(), static_cast<int>(share * width), '#');
        std::fprintf(stderr, "\r\033[K[%s] %3.0f%%  %.0f MiB/s  %.0f s left", bar.c_str(),
                     100 * share, rate / mebi, rate > 0 ? (1 - share) * total / rate : 0.0);
    }
    std::fflush(stderr);
    drawn_ = true;
}

void Progress::erase()
{
    if (drawn_)
        std::fputs("\r\033[K", stderr);
    drawn_ = false;
    erase_line_when_interrupted(false);
}

} // namespace qal::tool
