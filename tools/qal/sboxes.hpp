// The S-boxes of GOST 28147-89 that have names.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qal::tool {

// The first is the default.
std::vector<std::string> sbox_names();

// The expanded table of a named set, which stays valid as long as the program runs.
const uint32_t *expanded_sbox(const std::string &name);

} // namespace qal::tool
