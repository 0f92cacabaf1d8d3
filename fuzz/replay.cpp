// Gives inputs to a fuzz target, for builds without libFuzzer: the empty one, and each file of the
// directories and files that are named.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

namespace fs = std::filesystem;

// Shown when an input ends the program.
std::string current;

void run(const std::string &name, const std::vector<uint8_t> &contents)
{
    current = name;
    // Memory of exactly this size, for the sanitizers; not null, as from libFuzzer.
    std::vector<uint8_t> input(contents);
    input.reserve(1);
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

std::vector<uint8_t> contents_of(const fs::path &file)
{
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        throw std::runtime_error("cannot read " + file.string());
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace

int main(int argc, char **argv)
{
    std::set_terminate([] {
        std::fprintf(stderr, "replay: ended by %s\n", current.c_str());
        std::abort();
    });
    std::vector<fs::path> files;
    for (int i = 1; i < argc; i++) {
        if (fs::is_directory(argv[i])) {
            for (const fs::directory_entry &entry : fs::directory_iterator(argv[i]))
                files.push_back(entry.path());
        } else {
            files.emplace_back(argv[i]);
        }
    }
    std::sort(files.begin(), files.end());
    if (files.empty()) {
        std::fputs("replay: there are no inputs\n", stderr);
        return 1;
    }
    run("the empty input", {});
    for (const fs::path &file : files)
        run(file.string(), contents_of(file));
    std::printf("replayed %zu inputs\n", files.size() + 1);
    return 0;
}
