// Whether domain parameters that come from elsewhere are what the standard demands. The library's
// operations take it for granted.
//
// All arguments are public, and the time depends on them.
#pragma once

#include <qal/rds.h>

namespace qal::tool {

enum class DomainFault {
    none,
    composite_modulus,
    composite_order,
    anomalous,
    small_embedding_degree,
    singular,
    wrong_base_point,
};

// The domain parameters, those that rds_init() has accepted, are sound: GOST R 34.10-2012, clause
// 5.2. Primality tests draw their bases from random, which becomes rsa_gen_rnd.
DomainFault fault_of(const rds_ctx &domain, qal_rnd random);

// A sentence about the parameters; not for none.
const char *description(DomainFault fault);

} // namespace qal::tool
