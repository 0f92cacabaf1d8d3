// Contenders for the same work on the same input, as benchmarks named workload/size/contender.
//
// Every contender's result is compared with the first one's before anything is timed: a program in
// which two disagree measures nothing and fails. What stands in several programs takes its input
// from material(), and compare.py compares the results.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace qal::bench {

using Bytes = std::vector<uint8_t>;

// The same bytes in every program, in whatever language, that asks for them by this name:
// splitmix64 from the name's FNV-1a hash on, least significant byte first.
Bytes material(const std::string &name, size_t size);

// Bytes that no other program needs.
Bytes random_bytes(size_t size);

// What a size is called in a benchmark's name.
std::string size_name(size_t bytes);

// Sizes of messages that hashes and ciphers are measured with.
inline constexpr size_t message_sizes[] = {64, size_t{1} << 10, size_t{64} << 10, size_t{1} << 20};

class Workload {
public:
    // run(out) does the work once and writes the result.
    using Run = std::function<void(uint8_t *out)>;

    // bytes: processed by one run, for the throughput; 0 where that means nothing.
    // result: the number of bytes that a run writes.
    Workload(const std::string &name, const std::string &size, size_t bytes, size_t result)
        : prefix_(name + "/" + size + "/"), bytes_(bytes), result_(result)
    {
    }

    // For work of which one run differs much from the next: at least so long in each round.
    Workload &at_least(double seconds)
    {
        seconds_ = seconds;
        return *this;
    }

    template<typename Body>
    Workload &contender(const std::string &name, Body run)
    {
        return contender(name, run, [](uint8_t *) {});
    }

    // Where run does not write the result, fetch(out) puts it there after a run, outside of what is
    // timed.
    template<typename Body>
    Workload &contender(const std::string &name, Body run, const Run &fetch)
    {
        if (takes_part(name)) {
            compare(name, run, fetch);
            measure(name, run, true);
        }
        return *this;
    }

    // For the same amount of work with another result: a parameter that the other library does not
    // have, random numbers that nobody gives it. Nothing is compared.
    template<typename Body>
    Workload &contender_apart(const std::string &name, Body run)
    {
        if (takes_part(name)) {
            Bytes out(result_);
            run(out.data());
            measure(name, run, false);
        }
        return *this;
    }

    // For work that uses up what prepare() made, which is not timed, in so many runs.
    template<typename Prepare, typename Body>
    Workload &contender_prepared(const std::string &name, size_t runs, Prepare prepare, Body run)
    {
        if (!takes_part(name))
            return *this;
        prepare();
        compare(name, run, [](uint8_t *) {});
        add(name, true, [run, prepare, runs, size = result_](benchmark::State &state) {
            Bytes result(size);
            size_t left = 0;
            for (auto _ : state) {
                if (left-- == 0) {
                    state.PauseTiming();
                    prepare();
                    left = runs - 1;
                    state.ResumeTiming();
                }
                run(result.data());
                benchmark::DoNotOptimize(result.data());
                benchmark::ClobberMemory();
            }
        });
        return *this;
    }

private:
    using Body = std::function<void(benchmark::State &)>;

    static bool takes_part(const std::string &name);
    void compare(const std::string &name, const Run &run, const Run &fetch);
    void add(const std::string &name, bool compared, const Body &body) const;

    template<typename Run>
    void measure(const std::string &name, Run run, bool compared) const
    {
        add(name, compared, [run, bytes = bytes_, size = result_](benchmark::State &state) {
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
    }

    std::string prefix_;
    size_t bytes_, result_;
    double seconds_ = 0;
    Bytes expected_;
};

// The same work by several threads at once. `make` gives each thread what it calls over and over;
// the time is that of all, by the calls of all.
void add_threads(const std::string &name, unsigned threads,
                 const std::function<std::function<void()>()> &make);

// The body of every program's main(); add() adds the workloads.
//
// Options beside Google Benchmark's: --own=NAME has only the library itself take part, under that
// name, for a process that is given another form of it; --serve measures on demand. A server says
// in one line of JSON what it has, with a hash of each result that must be the same everywhere;
// then it reads names and answers each with the nanoseconds of one run.
int run_benchmarks(int argc, char **argv, const std::function<void()> &add);

} // namespace qal::bench
