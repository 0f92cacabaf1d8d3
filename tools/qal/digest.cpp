// qal digest: prints digests of files, or checks lists of them.
#include "arguments.hpp"
#include "checklist.hpp"
#include "commands.hpp"
#include "errors.hpp"
#include "files.hpp"
#include "hash.hpp"
#include "ordered.hpp"
#include "progress.hpp"

#include <algorithm>
#include <optional>
#include <string>
#include <thread>
#include <variant>
#include <vector>

namespace qal::tool {

namespace {

struct Options {
    std::string algorithm;
    bool msb_first = false;
    bool tag = false, zero = false, binary = false;
    bool check = false;
    bool quiet = false, status = false, strict = false, warn = false, ignore_missing = false;
    size_t threads = 1;
    std::vector<std::string> files;
};

// A digest, or why there is none.
using Outcome = std::variant<Bytes, FileError>;

bool equal_ignoring_case(std::string_view a, std::string_view b)
{
    return CLI::detail::to_lower(std::string(a)) == CLI::detail::to_lower(std::string(b));
}

const HashAlgorithm *find_algorithm(std::string_view HashAlgorithm::*field, std::string_view value)
{
    for (const HashAlgorithm &algorithm : hash_algorithms())
        if (equal_ignoring_case(algorithm.*field, value))
            return &algorithm;
    return nullptr;
}

Outcome digest_of(const std::string &name, const HashAlgorithm &algorithm, const Options &options,
                  Progress &progress)
{
    try {
        Input input(name);
        const auto hash = algorithm.start();
        thread_local Bytes buffer;
        input.read_all(buffer, [&](const uint8_t *data, size_t size) {
            hash->update(data, size);
            progress.advance(size);
        });
        Bytes digest = hash->finish();
        if (options.msb_first)
            std::reverse(digest.begin(), digest.end());
        return digest;
    } catch (const FileError &error) {
        return error;
    }
}

// The bytes ahead, as far as they can be known.
uint64_t total_length(const std::vector<std::string> &names)
{
    uint64_t total = 0;
    for (const std::string &name : names) {
        const auto length = length_of(name);
        if (!length)
            return 0;
        total += *length;
    }
    return total;
}

std::string line_for(const std::string &name, const Bytes &digest, const HashAlgorithm &algorithm,
                     const Options &options)
{
    const EscapedName shown = options.zero ? EscapedName{name, false} : escape(name);
    std::string line = shown.changed ? "\\" : "";
    if (options.tag)
        line += std::string(algorithm.tag) + " (" + shown.text + ") = " + to_hex(digest);
    else
        line += to_hex(digest) + (options.binary ? " *" : "  ") + shown.text;
    line += options.zero ? '\0' : '\n';
    return line;
}

bool print_digests(const HashAlgorithm &algorithm, const Options &options)
{
    bool good = true;
    Progress progress(total_length(options.files));
    in_order(
        options.files.size(), options.threads,
        [&](size_t i) { return digest_of(options.files[i], algorithm, options, progress); },
        [&](size_t i, const Outcome &outcome) {
            progress.aside([&] {
                if (const auto *error = std::get_if<FileError>(&outcome)) {
                    complain(error->what());
                    good = false;
                } else {
                    print(line_for(options.files[i], std::get<Bytes>(outcome), algorithm, options));
                }
            });
        });
    return good;
}

struct Entry {
    std::string name;
    Bytes expected;
    const HashAlgorithm *algorithm;
};

// What a line asks for; named is what the command line named, if it did.
std::optional<Entry> entry_of(std::string_view line, const HashAlgorithm *named)
{
    const auto parts = parse_listed(line);
    if (!parts)
        return std::nullopt;
    const auto expected = from_hex(parts->hex);
    if (!expected)
        return std::nullopt;

    const HashAlgorithm *algorithm = named;
    if (!parts->tag.empty()) {
        algorithm = find_algorithm(&HashAlgorithm::tag, parts->tag);
        if (named && algorithm != named)
            return std::nullopt;
    } else if (!named) {
        const auto all = hash_algorithms();
        const auto found =
            std::find_if(all.begin(), all.end(), [&](const HashAlgorithm &candidate) {
                return candidate.size == expected->size();
            });
        algorithm = found == all.end() ? nullptr : &*found;
    }
    if (!algorithm || expected->size() != algorithm->size)
        return std::nullopt;
    return Entry{parts->name, *expected, algorithm};
}

std::string counted(size_t n, const char *one, const char *several)
{
    return "WARNING: " + std::to_string(n) + " " + (n == 1 ? one : several);
}

class Check {
public:
    Check(const HashAlgorithm *named, const Options &options) : named_(named), options_(options) {}

    // Whether everything in the list is as it says.
    bool run(const std::string &list)
    {
        read(list);
        if (entries_.empty()) {
            complain(list_name(list) + ": no properly formatted checksum lines found");
            return false;
        }

        std::vector<std::string> names;
        for (const Entry &entry : entries_)
            names.push_back(entry.name);
        Progress progress(total_length(names));
        in_order(
            entries_.size(), options_.threads,
            [&](size_t i) {
                return digest_of(entries_[i].name, *entries_[i].algorithm, options_, progress);
            },
            [&](size_t i, const Outcome &outcome) {
                progress.aside([&] { judge(entries_[i], outcome); });
            });
        if (!options_.status)
            warn();
        if (options_.ignore_missing && verified_ == 0) {
            complain(list_name(list) + ": no file was verified");
            return false;
        }
        return unreadable_ == 0 && different_ == 0 && (!options_.strict || improper_ == 0);
    }

private:
    static std::string list_name(const std::string &list)
    {
        return list == "-" ? "standard input" : quote(list);
    }

    void read(const std::string &list)
    {
        std::string text;
        Bytes buffer;
        Input(list).read_all(buffer, [&](const uint8_t *data, size_t size) {
            text.append(reinterpret_cast<const char *>(data), size);
        });
        size_t number = 0;
        for (size_t begin = 0, end = 0; begin < text.size(); begin = end + 1) {
            end = std::min(text.find('\n', begin), text.size());
            number++;
            std::string_view line = std::string_view(text).substr(begin, end - begin);
            if (!line.empty() && line.back() == '\r')
                line.remove_suffix(1);
            if (line.empty() || line.front() == '#')
                continue;
            if (auto entry = entry_of(line, named_)) {
                entries_.push_back(std::move(*entry));
            } else {
                improper_++;
                if (options_.warn)
                    complain(list_name(list) + ": " + std::to_string(number) +
                             ": improperly formatted checksum line");
            }
        }
    }

    void judge(const Entry &entry, const Outcome &outcome)
    {
        if (const auto *error = std::get_if<FileError>(&outcome)) {
            if (options_.ignore_missing && error->number == ENOENT)
                return;
            complain(error->what());
            unreadable_++;
            report(entry, "FAILED open or read");
        } else if (std::get<Bytes>(outcome) != entry.expected) {
            verified_++;
            different_++;
            report(entry, "FAILED");
        } else {
            verified_++;
            if (!options_.quiet)
                report(entry, "OK");
        }
    }

    void report(const Entry &entry, const char *verdict) const
    {
        if (options_.status)
            return;
        const EscapedName shown = escape(entry.name);
        print((shown.changed ? "\\" : "") + shown.text + ": " + verdict + "\n");
    }

    void warn() const
    {
        if (improper_)
            complain(counted(improper_, "line is improperly formatted",
                             "lines are improperly formatted"));
        if (unreadable_)
            complain(counted(unreadable_, "listed file could not be read",
                             "listed files could not be read"));
        if (different_)
            complain(counted(different_, "computed checksum did NOT match",
                             "computed checksums did NOT match"));
    }

    const HashAlgorithm *named_;
    const Options &options_;
    std::vector<Entry> entries_;
    size_t improper_ = 0, unreadable_ = 0, different_ = 0, verified_ = 0;
};

bool run(const Options &options)
{
    const HashAlgorithm *named = find_algorithm(&HashAlgorithm::name, options.algorithm);
    if (!options.check)
        return print_digests(named ? *named : hash_algorithms().front(), options);
    bool good = true;
    for (const std::string &list : options.files) {
        try {
            good = Check(named, options).run(list) && good;
        } catch (const WriteError &) {
            throw;
        } catch (const FileError &error) {
            complain(error.what());
            good = false;
        }
    }
    return good;
}

} // namespace

void add_digest(CLI::App &app, int &status)
{
    auto options = std::make_shared<Options>();
    CLI::App *command = app.add_subcommand("digest", "Print or check digests of files");
    command->footer(
        "Lines have the form DIGEST  FILE, or TAG (FILE) = DIGEST with --tag. A line that begins\n"
        "with a backslash has \\n, \\r and \\\\ in its name. With --check a tag names the "
        "algorithm;\n"
        "without tag and -a it is the first one whose digests have that length.\n\n"
        "Digests are printed in the library's order of bytes, least significant first, which is\n"
        "what openssl, rhash and others print. The standard prints examples in the other order.\n\n"
        "Exit status: 0, 1 if a file could not be read or did not match, 2 for a wrong command\n"
        "line.");

    std::vector<std::string> names;
    for (const HashAlgorithm &algorithm : hash_algorithms())
        names.emplace_back(algorithm.name);
    command
        ->add_option("-a,--algorithm", options->algorithm, "Hash function, by default " + names[0])
        ->check(CLI::IsMember(names, CLI::ignore_case))
        ->type_name("NAME");
    command
        ->add_option_function<std::string>(
            "--byte-order",
            [options](const std::string &order) { options->msb_first = order == "msb"; },
            "Which end of a digest comes first: lsb (default) or msb")
        ->check(CLI::IsMember({"lsb", "msb"}))
        ->type_name("ORDER");
    command->add_option("--threads", options->threads, "Files to work on at the same time")
        ->check(CLI::Range(size_t{1}, size_t{1024}))
        ->type_name("N");

    auto *check =
        command->add_flag("-c,--check", options->check, "Read digests from FILEs and check them");
    command->add_flag("--tag", options->tag, "Name the algorithm in each line")->excludes(check);
    command->add_flag("-z,--zero", options->zero, "End lines with NUL, and leave names unescaped")
        ->excludes(check);
    command->add_flag("-b,--binary", options->binary, "Mark names with an asterisk")
        ->excludes(check);
    command->add_flag("--ignore-missing", options->ignore_missing, "Do not fail for missing files")
        ->needs(check);
    command->add_flag("--quiet", options->quiet, "Do not print OK for each verified file")
        ->needs(check);
    command->add_flag("--status", options->status, "Print nothing; the exit status tells")
        ->needs(check);
    command->add_flag("--strict", options->strict, "Fail for improperly formatted lines")
        ->needs(check);
    command->add_flag("-w,--warn", options->warn, "Name improperly formatted lines")->needs(check);

    auto *files = command->add_option("FILE", options->files, "Files; - or none for standard input")
                      ->type_name("");
    command->callback([options, files, &status] {
        options->files = names_of(*files);
        status = run(*options) ? exit_success : exit_failure;
    });
}

} // namespace qal::tool
