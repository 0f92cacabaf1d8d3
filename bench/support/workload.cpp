#include "support/workload.hpp"

#include "support/peers.hpp"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <iostream>
#include <map>
#include <random>

namespace qal::bench {

namespace {

uint64_t fnv(const uint8_t *bytes, size_t size)
{
    uint64_t hash = 0xcbf29ce484222325;
    for (size_t i = 0; i < size; i++)
        hash = (hash ^ bytes[i]) * 0x100000001b3;
    return hash;
}

std::string own_name;

// The JSON value for each benchmark: a hash of its result, or null.
std::map<std::string, std::string> &offers()
{
    static std::map<std::string, std::string> map;
    return map;
}

// Cycles of the processor's time-stamp counter in a nanosecond.
double time_stamp_frequency()
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

class LastTime : public benchmark::BenchmarkReporter {
public:
    double ns = 0;

    bool ReportContext(const Context &) override { return true; }
    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs)
            ns = run.run_name.time_type.empty() ? run.GetAdjustedCPUTime()
                                                : run.GetAdjustedRealTime();
    }
};

std::string pattern_for(const std::string &name)
{
    std::string pattern = "^";
    for (const char c : name)
        pattern += c == '+' ? std::string("[+]") : std::string(1, c);
    return pattern + "(/min_time:.*|/real_time/.*)?$";
}

void serve()
{
    std::cout << "{\"cycles_per_ns\": " << time_stamp_frequency() << ", \"benchmarks\": {";
    const char *separator = "";
    for (const auto &[name, result] : offers()) {
        std::cout << separator << "\"" << name << "\": " << result;
        separator = ", ";
    }
    std::cout << "}}" << std::endl;
    for (std::string name; std::getline(std::cin, name);) {
        LastTime time;
        if (benchmark::RunSpecifiedBenchmarks(&time, pattern_for(name)) != 1)
            std::exit(1);
        std::cout << time.ns << std::endl;
    }
}

// The value of an option, which is taken off the list.
bool take(int &argc, char **argv, const char *option, std::string *value = nullptr)
{
    for (int i = 1; i < argc; i++) {
        const size_t size = std::strlen(option);
        if (std::strncmp(argv[i], option, size) != 0 || (!value && argv[i][size] != 0))
            continue;
        if (value)
            *value = argv[i] + size;
        std::copy(argv + i + 1, argv + argc, argv + i);
        argc--;
        return true;
    }
    return false;
}

} // namespace

Bytes material(const std::string &name, size_t size)
{
    uint64_t state = fnv(reinterpret_cast<const uint8_t *>(name.data()), name.size());
    Bytes bytes(size);
    for (size_t i = 0; i < size; i += 8) {
        uint64_t z = state += 0x9e3779b97f4a7c15;
        z = (z ^ z >> 30) * 0xbf58476d1ce4e5b9;
        z = (z ^ z >> 27) * 0x94d049bb133111eb;
        z ^= z >> 31;
        std::memcpy(&bytes[i], &z, std::min<size_t>(8, size - i));
    }
    return bytes;
}

Bytes random_bytes(size_t size)
{
    static std::mt19937_64 engine(1);
    Bytes bytes(size);
    for (uint8_t &byte : bytes)
        byte = static_cast<uint8_t>(engine());
    return bytes;
}

std::string size_name(size_t bytes)
{
    if (bytes >= 1024 && bytes % 1024 == 0)
        return bytes % (1024 * 1024) == 0 ? std::to_string(bytes >> 20) + "MiB"
                                          : std::to_string(bytes >> 10) + "KiB";
    return std::to_string(bytes) + "B";
}

bool Workload::takes_part(const std::string &name)
{
    return own_name.empty() || name == "qal";
}

void Workload::compare(const std::string &name, const Run &run, const Run &fetch)
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
}

void Workload::add(const std::string &name, bool compared, const Body &body) const
{
    const std::string full = prefix_ + (own_name.empty() ? name : own_name);
    std::string result = "null";
    if (compared) {
        char hex[19];
        std::snprintf(hex, sizeof hex, "\"%016llx\"",
                      static_cast<unsigned long long>(fnv(expected_.data(), expected_.size())));
        result = hex;
    }
    offers()[full] = result;
    auto *const registered = benchmark::RegisterBenchmark(full.c_str(), body);
    if (seconds_ > 0)
        registered->MinTime(seconds_);
}

void add_threads(const std::string &name, unsigned threads,
                 const std::function<std::function<void()>()> &make)
{
    const std::string full =
        name + "/" + std::to_string(threads) + (threads == 1 ? "thread/qal" : "threads/qal");
    offers()[full] = "null";
    benchmark::RegisterBenchmark(full.c_str(),
                                 [make](benchmark::State &state) {
                                     const std::function<void()> run = make();
                                     for (auto _ : state)
                                         run();
                                 })
        ->Threads(static_cast<int>(threads))
        ->UseRealTime() // of the machine with all that it does: the more of it, the steadier
        ->MinTime(0.1);
}

int run_benchmarks(int argc, char **argv, const std::function<void()> &add)
{
    const bool serves = take(argc, argv, "--serve");
    take(argc, argv, "--own=", &own_name);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    set_up_peers();
    add();
    if (serves) {
        serve();
    } else {
        benchmark::AddCustomContext("cycles_per_ns", std::to_string(time_stamp_frequency()));
        benchmark::RunSpecifiedBenchmarks();
    }
    // What contenders hold goes before the libraries do.
    benchmark::ClearRegisteredBenchmarks();
    benchmark::Shutdown();
    return 0;
}

} // namespace qal::bench
