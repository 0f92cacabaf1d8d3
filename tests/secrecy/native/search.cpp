// Runs the operations of the security model on secrets, in one class of variants, and compares the
// ways that they take and the addresses that they touch.
#include "comparison.hpp"
#include "stepper.hpp"
#include "subjects.hpp"

#include "base/cpu.hpp"

#include <fnmatch.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>

using namespace qal::test;

namespace {

struct NamedClass {
    const char *name;
    unsigned bit;
    uint32_t features; // of the processor
};
constexpr NamedClass classes[] = {
    {"baseline", baseline, 0},
    {"avx2", avx2, qal::base::cpu_avx2 | qal::base::cpu_bmi2_adx | qal::base::cpu_pclmulqdq},
    {"gfni", gfni,
     qal::base::cpu_avx2 | qal::base::cpu_bmi2_adx | qal::base::cpu_pclmulqdq |
         qal::base::cpu_gfni | qal::base::cpu_vpclmulqdq},
    {"avx512", avx512, qal::base::needs_avx512},
};

constexpr size_t least_inputs = 16, usual_random_inputs = 6;
// Words of a log that is held against single steps, which take their time.
constexpr size_t usual_most_stepped = 3000;
constexpr int cannot_run = 77;

std::string trimmed(const std::string &text)
{
    const size_t from = text.find_first_not_of(' '), to = text.find_last_not_of(' ');
    return from == std::string::npos ? "" : text.substr(from, to - from + 1);
}

// What may differ, each with a reason: may_differ.txt
class Exceptions {
public:
    Exceptions(const std::string &path, const std::string &class_name)
    {
        std::ifstream in(path);
        if (!in)
            throw std::runtime_error("cannot read " + path);
        std::string line;
        while (std::getline(in, line)) {
            if (line.empty() || line[0] == '#')
                continue;
            std::vector<std::string> fields;
            std::stringstream parts(line);
            for (std::string field; std::getline(parts, field, '|');)
                fields.push_back(trimmed(field));
            if (fields.size() != 5 || fields[4].empty())
                throw std::runtime_error(path + " has a line that is no exception: " + line);
            std::stringstream names(fields[0]);
            for (std::string name; names >> name;)
                if (name == class_name)
                    entries_.push_back({line, fields[1], fields[2], fields[3]});
        }
    }

    bool grant(const Subject &subject, const Input &input, const Difference &difference)
    {
        for (Entry &entry : entries_)
            if (entry.operation == subject.operation && matches(entry.input, input.name) &&
                std::ranges::any_of(difference.functions, [&](const std::string &function) {
                    return matches(entry.function, function);
                })) {
                entry.used = true;
                return true;
            }
        return false;
    }

    // Of the operations that were run.
    [[nodiscard]] std::vector<std::string> unused(const std::set<std::string> &operations) const
    {
        std::vector<std::string> lines;
        for (const Entry &entry : entries_)
            if (!entry.used && operations.contains(entry.operation))
                lines.push_back(entry.line);
        return lines;
    }

private:
    struct Entry {
        std::string line, operation, input, function;
        bool used = false;
    };

    static bool matches(const std::string &pattern, const std::string &text)
    {
        return fnmatch(pattern.c_str(), text.c_str(), 0) == 0;
    }

    std::vector<Entry> entries_;
};

class Search {
public:
    Search(const NamedClass &chosen, Exceptions exceptions, size_t most_stepped)
        : chosen_(chosen), exceptions_(std::move(exceptions)), most_stepped_(most_stepped)
    {
    }

    void run(const Subject &subject)
    {
        if (subject.inputs.size() < least_inputs)
            throw std::runtime_error(subject.operation + " (" + subject.arguments + ") has " +
                                     std::to_string(subject.inputs.size()) + " inputs");
        operations_.insert(subject.operation);
        subjects_++;
        record(first_, subject, subject.inputs[0]);
        words_ += first_.words().size();
        if (first_.words().size() <= most_stepped_)
            hold_against_steps(subject);
        std::map<std::vector<std::string>, Site> sites;
        for (size_t i = 1; i < subject.inputs.size(); i++) {
            const Input &input = subject.inputs[i];
            record(next_, subject, input);
            words_ += next_.words().size();
            const auto may_differ = [&](const Difference &d) {
                return exceptions_.grant(subject, input, d);
            };
            for (const Difference &d : differences(first_, next_, may_differ))
                if (!may_differ(d)) {
                    Site &site = sites.try_emplace(d.functions, Site{d, {}, {}}).first->second;
                    site.instructions.insert(d.at);
                    site.inputs.insert(input.name);
                }
        }
        for (const auto &[functions, site] : sites)
            report(subject, site);
    }

    // Whether all was as it should be.
    bool finish(bool complete)
    {
        if (complete)
            for (const std::string &line : exceptions_.unused(operations_)) {
                std::cout << chosen_.name << ": nothing differs that this line is for: " << line
                          << "\n";
                errors_++;
            }
        std::cout << chosen_.name << ": " << subjects_ << " subjects, " << words_
                  << " words of logs, " << stepped_ << " held against single steps, " << errors_
                  << " errors\n";
        return errors_ == 0;
    }

private:
    // Brings the input to its place. What then runs leaves the status in status_, and is always at
    // the same address.
    const std::function<void()> &prepared(const Subject &subject, const Input &input)
    {
        subject.prepare(input);
        run_ = [this, run = &subject.run] { status_ = (*run)(); };
        return run_;
    }

    void record(Log &log, const Subject &subject, const Input &input)
    {
        Recorder::instance().record(log, prepared(subject, input));
        if (status_ != 0)
            throw std::runtime_error(subject.operation + " (" + subject.arguments + ") fails for " +
                                     input.name);
    }

    // What was recorded is what the processor does.
    void hold_against_steps(const Subject &subject)
    {
        const std::vector<uint64_t> recorded = steps_of(first_),
                                    stepped = single_steps(prepared(subject, subject.inputs[0]));
        stepped_++;
        if (recorded == stepped)
            return;
        errors_++;
        const auto parted = std::ranges::mismatch(recorded, stepped).in1 - recorded.begin();
        std::cout << chosen_.name << ": " << subject.operation << " (" << subject.arguments
                  << ") was not recorded as the processor executes it, from word " << parted
                  << " on" << std::endl;
    }

    // What differs in a function.
    struct Site {
        Difference first;
        std::set<uint64_t> instructions;
        std::set<std::string> inputs;
    };

    void report(const Subject &subject, const Site &site)
    {
        errors_++;
        std::cout << chosen_.name << ": " << subject.operation << " (" << subject.arguments
                  << ") depends on its secret:\n  " << site.first.text;
        if (site.instructions.size() > 1)
            std::cout << "\n  and " << site.instructions.size() - 1
                      << " more instructions of this function";
        const auto &functions = site.first.functions;
        for (size_t i = functions.size(); i-- > 1;)
            std::cout << "\n  called by " << functions[i - 1];
        std::cout << "\n  for \"" << subject.inputs[0].name << "\" and \"" << *site.inputs.begin()
                  << '"';
        if (site.inputs.size() > 1)
            std::cout << " and " << site.inputs.size() - 1 << " more";
        std::cout << std::endl;
    }

    const NamedClass &chosen_;
    Exceptions exceptions_;
    std::set<std::string> operations_;
    size_t most_stepped_;
    Log first_, next_;
    std::function<void()> run_;
    int status_ = 0;
    size_t subjects_ = 0, words_ = 0, stepped_ = 0, errors_ = 0;
};

// For check_model.py: the classes in which an operation is watched.
void list(const std::vector<Subject> &subjects)
{
    std::set<std::string> lines;
    for (const Subject &subject : subjects)
        for (const NamedClass &each : classes)
            if ((subject.classes & each.bit) && subject.operation != internal_operation)
                lines.insert(std::string(each.name) + "\t" + subject.operation);
    for (const std::string &line : lines)
        std::cout << line << "\n";
}

struct Options {
    size_t random_inputs = usual_random_inputs;
    size_t most_stepped = usual_most_stepped;
    bool list = false;
    std::optional<std::string> operation;
};

Options read_options(int argc, char **argv)
{
    Options options;
    for (int i = 1; i < argc; i++) {
        const std::string option = argv[i];
        if (option == "--list")
            options.list = true;
        else if (option == "--random" && i + 1 < argc)
            options.random_inputs = std::stoul(argv[++i]);
        else if (option == "--steps" && i + 1 < argc)
            options.most_stepped = std::stoul(argv[++i]);
        else if (option == "--operation" && i + 1 < argc)
            options.operation = argv[++i];
        else
            throw std::runtime_error("usage: " + std::string(argv[0]) +
                                     " [--list] [--random COUNT] [--steps WORDS] "
                                     "[--operation NAME]");
    }
    return options;
}

int search(const Options &options)
{
    const std::vector<Subject> subjects = all_subjects(options.random_inputs);
    if (options.list) {
        list(subjects);
        return EXIT_SUCCESS;
    }
    const NamedClass &chosen = *std::ranges::find(classes, std::string(QAL_SEARCH_CLASS),
                                                  [](const NamedClass &c) { return c.name; });
    if (!qal::base::has_bits(qal::base::cpu_features(qal::base::isa_cap_all), chosen.features)) {
        std::cout << chosen.name << ": NOT RUN, this processor does not have the instructions\n";
        return cannot_run;
    }
    Search run(chosen, Exceptions(QAL_MAY_DIFFER, chosen.name), options.most_stepped);
    for (const Subject &subject : subjects)
        if ((subject.classes & chosen.bit) &&
            (!options.operation || *options.operation == subject.operation))
            run.run(subject);
    return run.finish(!options.operation) ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return search(read_options(argc, argv));
    } catch (const std::exception &error) {
        std::cerr << error.what() << std::endl;
        return EXIT_FAILURE;
    }
}
