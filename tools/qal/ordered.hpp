// Independent jobs on several threads, with results in order.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>
#include <type_traits>
#include <vector>

namespace qal::tool {

// Calls emit(i, work(i)) for i = 0 .. count - 1 in this order, on the calling thread; work runs on
// up to `threads` threads and must not throw. When emit throws, no further work begins.
template<typename Work, typename Emit>
void in_order(size_t count, size_t threads, Work work, Emit emit)
{
    if (threads <= 1 || count <= 1) {
        for (size_t i = 0; i < count; i++)
            emit(i, work(i));
        return;
    }

    std::vector<std::optional<std::invoke_result_t<Work, size_t>>> results(count);
    std::mutex mutex;
    std::condition_variable arrived;
    std::atomic<size_t> next = 0;
    std::vector<std::jthread> workers;
    // However this function is left: workers take up nothing new.
    struct Stop {
        std::atomic<size_t> &next;
        size_t count;
        ~Stop() { next = count; }
    } stop{next, count};

    for (size_t t = 0; t < threads && t < count; t++) {
        workers.emplace_back([&] {
            for (size_t i = 0; (i = next.fetch_add(1)) < count;) {
                auto result = work(i);
                const std::scoped_lock lock(mutex);
                results[i] = std::move(result);
                arrived.notify_one();
            }
        });
    }
    for (size_t i = 0; i < count; i++) {
        std::unique_lock lock(mutex);
        arrived.wait(lock, [&] { return results[i].has_value(); });
        auto result = std::move(*results[i]);
        results[i].reset();
        lock.unlock();
        emit(i, std::move(result));
    }
}

} // namespace qal::tool
