// Domain parameters of GOST R 34.10-2001.
#pragma once

#include <qal/rds.h>

#include <string>
#include <vector>

namespace qal::tool {

struct GostDomain {
    std::string name; // empty for one from a file
    rds_ctx ctx;
};

// The parameter sets of RFC 4357; the first is the default.
std::vector<std::string> domain_names();

GostDomain named_domain(const std::string &name);

// From a file with the lines p = HEX, a, b, q, x and y likewise, each once; comments begin with #.
// Throws std::runtime_error with a reason, also if they are not sound (soundness.hpp).
GostDomain domain_from_file(const std::string &file);

// The object identifier of a named set, and the name of an identifier; empty if there is none.
std::string domain_identifier(const std::string &name);
std::string domain_of_identifier(const std::string &identifier);

} // namespace qal::tool
