// A progress bar on standard error, for work that takes long in front of a person.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

namespace qal::tool {

// Shows nothing unless standard error is a terminal, and nothing for the first seconds.
class Progress {
public:
    // total: expected bytes, 0 if unknown
    explicit Progress(uint64_t total);
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;
    ~Progress();

    void advance(uint64_t bytes) { done_.fetch_add(bytes, std::memory_order_relaxed); }

    // Runs what writes to the terminal, with the bar out of the way.
    void aside(const std::function<void()> &write);

private:
    void run(const std::stop_token &stop);
    void draw(double seconds);
    void erase();

    uint64_t total_;
    std::atomic<uint64_t> done_ = 0;
    std::mutex terminal_;
    bool drawn_ = false;
    std::jthread thread_; // last: it ends before what it uses
};

} // namespace qal::tool
