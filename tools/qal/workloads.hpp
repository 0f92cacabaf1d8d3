// The work that qal speed measures.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace qal::tool {

struct Workload {
    std::string name;
    size_t bytes; // that one call goes through, or 0 where calls are what counts
    std::function<void()> run;
};

// All workloads whose names contain the text, made ready to run.
std::vector<Workload> make_workloads(const std::string &text);

} // namespace qal::tool
