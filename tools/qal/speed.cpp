// qal speed: how fast the library is on this machine.
#include "commands.hpp"
#include "errors.hpp"
#include "files.hpp"
#include "workloads.hpp"

#include <cpuid.h>
#include <time.h>
#include <x86intrin.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <fstream>
#include <map>
#include <memory>
#include <optional>

namespace qal::tool {

namespace {

struct Options {
    std::string text;
    double seconds = 4;
    bool json = false;
};

struct Figure {
    std::string name;
    size_t bytes;
    double ns; // of one call
};

// What the processor has spent on this thread, which leaves out other programs' turns.
double thread_ns()
{
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return 1e9 * static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec);
}

double ns_of(const std::function<void()> &run, uint64_t calls)
{
    const double begin = thread_ns();
    for (uint64_t i = 0; i < calls; i++)
        run();
    return thread_ns() - begin;
}

// The median of several rounds of equal length: what else the machine does makes single ones worse.
double measured(const Workload &workload, double ns)
{
    constexpr size_t rounds = 5;
    uint64_t calls = 1;
    double took = ns_of(workload.run, calls);
    while (took < ns / (4 * rounds)) {
        calls *= 2;
        took = ns_of(workload.run, calls);
    }
    calls = std::max<uint64_t>(
        1, static_cast<uint64_t>(ns / rounds * static_cast<double>(calls) / took));
    std::array<double, rounds> each;
    for (double &round : each)
        round = ns_of(workload.run, calls) / static_cast<double>(calls);
    std::nth_element(each.begin(), each.begin() + rounds / 2, each.end());
    return each[rounds / 2];
}

// Cycles of the time-stamp counter in a nanosecond, where it is a clock: at one speed, whatever the
// processor's own does. That is CPUID leaf 0x80000007, bit 8 of EDX.
std::optional<double> cycles_per_ns()
{
    unsigned eax, ebx, ecx, edx;
    if (__get_cpuid(0x80000007, &eax, &ebx, &ecx, &edx) == 0 || (edx & 1U << 8) == 0)
        return std::nullopt;
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    const uint64_t first = __rdtsc();
    double ns = 0;
    while (ns < 2e7)
        ns = std::chrono::duration<double, std::nano>(Clock::now() - begin).count();
    return static_cast<double>(__rdtsc() - first) / ns;
}

std::string processor()
{
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);) {
        const size_t colon = line.find(": ");
        if (line.starts_with("model name") && colon != std::string::npos)
            return line.substr(colon + 2);
    }
    return "unknown";
}

std::string text(double value, int decimals)
{
    std::array<char, 64> buffer;
    std::snprintf(buffer.data(), buffer.size(), "%.*f", decimals, value);
    return buffer.data();
}

std::string padded(const std::string &text, size_t width)
{
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

std::string size_name(size_t bytes)
{
    if (bytes >= 1 << 20)
        return std::to_string(bytes >> 20) + " MiB";
    return bytes >= 1 << 10 ? std::to_string(bytes >> 10) + " KiB" : std::to_string(bytes) + " B";
}

constexpr size_t name_width = 36, column = 12;

// Throughput by algorithm and size, with the cycles per byte of the longest message behind it.
std::string throughput_table(const std::vector<Figure> &figures, std::optional<double> cycles)
{
    std::vector<std::string> names;
    std::map<size_t, std::map<std::string, double>> by_size;
    for (const Figure &figure : figures) {
        if (figure.bytes == 0)
            continue;
        if (std::find(names.begin(), names.end(), figure.name) == names.end())
            names.push_back(figure.name);
        by_size[figure.bytes][figure.name] = figure.ns;
    }
    if (names.empty())
        return "";
    std::string table = "MB/s" + std::string(name_width - 4, ' ');
    for (const auto &[bytes, row] : by_size)
        table += padded(size_name(bytes), column);
    table += (cycles ? padded("cycles/byte", column + 2) : "") + "\n";
    for (const std::string &name : names) {
        table += name + std::string(name_width - name.size(), ' ');
        double per_byte = 0;
        for (auto &[bytes, row] : by_size) {
            per_byte = row[name] / static_cast<double>(bytes);
            table += padded(text(1e3 / per_byte, 1), column);
        }
        table += (cycles ? padded(text(per_byte * *cycles, 2), column + 2) : "") + "\n";
    }
    return table;
}

std::string call_table(const std::vector<Figure> &figures, std::optional<double> cycles)
{
    std::string table;
    for (const Figure &figure : figures) {
        if (figure.bytes > 0)
            continue;
        if (table.empty())
            table = "operation" + std::string(name_width - 9, ' ') + padded("us", column) +
                    padded("per second", column) + (cycles ? padded("cycles", column + 2) : "") +
                    "\n";
        table += figure.name + std::string(name_width - figure.name.size(), ' ') +
                 padded(text(figure.ns / 1e3, 3), column) +
                 padded(text(1e9 / figure.ns, 0), column) +
                 (cycles ? padded(text(figure.ns * *cycles, 0), column + 2) : "") + "\n";
    }
    return table;
}

// The processor's name is the only text that is not ours.
std::string quoted(const std::string &text)
{
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            quoted += '\\';
        if (c >= ' ')
            quoted += c;
    }
    return quoted + "\"";
}

std::string json(const std::vector<Figure> &figures, std::optional<double> cycles)
{
    std::string out =
        "{\n  \"version\": " + quoted(QAL_VERSION) + ",\n  \"processor\": " + quoted(processor()) +
        ",\n  \"cycles_per_ns\": " + (cycles ? text(*cycles, 4) : "null") + ",\n  \"figures\": [";
    const char *separator = "\n";
    for (const Figure &figure : figures) {
        out += std::string(separator) + "    {\"name\": " + quoted(figure.name);
        if (figure.bytes > 0)
            out += ", \"bytes\": " + std::to_string(figure.bytes);
        out += ", \"ns\": " + text(figure.ns, 2) + "}";
        separator = ",\n";
    }
    return out + "\n  ]\n}\n";
}

} // namespace

void add_speed(CLI::App &app, int &status)
{
    auto options = std::make_shared<Options>();
    CLI::App *command = app.add_subcommand("speed", "Measure the library on this machine");
    command->footer(
        "Cycles are those of the processor's time-stamp counter, where that has one speed.");
    command->add_option("TEXT", options->text, "Only what has this in its name")->type_name("");
    command->add_option("--seconds", options->seconds, "About how long to take, by default 4")
        ->check(CLI::Range(0.01, 3600.0))
        ->type_name("N");
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([options, &status] {
        const std::vector<Workload> workloads = make_workloads(options->text);
        if (workloads.empty())
            throw CLI::ValidationError("nothing has '" + options->text + "' in its name");
        const double ns = options->seconds * 1e9 / static_cast<double>(workloads.size());
        const std::optional<double> cycles = cycles_per_ns();
        std::vector<Figure> figures;
        figures.reserve(workloads.size());
        for (const Workload &workload : workloads)
            figures.push_back({workload.name, workload.bytes, measured(workload, ns)});
        if (options->json) {
            print(json(figures, cycles));
        } else {
            const std::string first = throughput_table(figures, cycles);
            const std::string second = call_table(figures, cycles);
            print("qal " QAL_VERSION ", " + processor() + "\n\n" + first +
                  (first.empty() || second.empty() ? "" : "\n") + second);
        }
        status = exit_success;
    });
}

} // namespace qal::tool
