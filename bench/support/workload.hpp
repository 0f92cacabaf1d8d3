// Contenders for the same work on the same input, as benchmarks named workload/size/contender.
//
// Every contender's result is compared with the first one's before anything is timed: a program in
// which two disagree measures nothing and fails.
#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace qal::bench {

using Bytes = std::vector<uint8_t>;

inline Bytes random_bytes(size_t size)
{
    static std::mt19937_64 engine(1);
    Bytes bytes(size);
    for (uint8_t &byte : bytes)
        byte = static_cast<uint8_t>(engine());
    return bytes;
}

// What a size is called in a benchmark's name.
inline std::string size_name(size_t bytes)
{
    if (bytes >= 1024 && bytes % 1024 == 0)
        return bytes % (1024 * 1024) == 0 ? std::to_string(bytes >> 20) + "MiB"
                                          : std::to_string(bytes >> 10) + "KiB";
    return std::to_string(bytes) + "B";
}

class Workload {
public:
    // bytes: processed by one run, for the throughput; 0 where that means nothing.
    // result: the number of bytes that a run writes.
    Workload(std::string name, std::string size, size_t bytes, size_t result)
        : prefix_(std::move(name) + "/" + std::move(size) + "/"), bytes_(bytes), result_(result)
    {
    }

    // run(out) does the work once and writes the result. Where that is not how the contender gives
    // its results, fetch(out) puts it there after a run, outside of what is timed.
    template<typename Run>
    Workload &contender(const std::string &name, Run run)
    {
        return contender(name, run, [](uint8_t *) {});
    }
    template<typename Run, typename Fetch>
    Workload &contender(const std::string &name, Run run, Fetch fetch)
    {
        Bytes out(result_);
        run(out.data());
        fetch(out.data());
        if (expected_.empty())
            expected_ = out;
        if (out != expected_) {
            std::fprintf(stderr, "%s%s: the result differs\n", prefix_.c_str(), name.c_str());
            std::exit(1);
        }
        return contender_apart(name, run);
    }

    // For the same amount of work with another result: a parameter that the other library does not
    // have. Nothing is compared.
    template<typename Run>
    Workload &contender_apart(const std::string &name, Run run)
    {
        benchmark::RegisterBenchmark(
            (prefix_ + name).c_str(),
            [run, bytes = bytes_, size = result_](benchmark::State &state) {
                Bytes result(size);
                for (auto _ : state) {
                    run(result.data());
                    benchmark::DoNotOptimize(result.data());
                    benchmark::ClobberMemory();
                }
                if (bytes > 0)
                    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                                            static_cast<int64_t>(bytes));
            });
        return *this;
    }

    // The same where the processor may lack what the variant needs.
    template<typename Run>
    Workload &contender_if(bool possible, const std::string &name, Run run)
    {
        return possible ? contender(name, run) : *this;
    }

private:
    std::string prefix_;
    size_t bytes_, result_;
    Bytes expected_;
};

// Cycles of the processor's time-stamp counter in a nanosecond.
inline double time_stamp_frequency()
{
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    const uint64_t first = __builtin_ia32_rdtsc();
    while (Clock::now() - begin < std::chrono::milliseconds(50)) {
    }
    const uint64_t cycles = __builtin_ia32_rdtsc() - first;
    return static_cast<double>(cycles) /
           std::chrono::duration<double, std::nano>(Clock::now() - begin).count();
}

inline int run_benchmarks(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    benchmark::AddCustomContext("cycles_per_ns", std::to_string(time_stamp_frequency()));
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

} // namespace qal::bench
