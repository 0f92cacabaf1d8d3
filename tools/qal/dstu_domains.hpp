// The recommended domains of DSTU 4145-2002 with a polynomial basis that the library computes in.
#pragma once

#include <qal/dstu.h>

#include <cstdint>
#include <span>
#include <string_view>

namespace qal::tool {

struct DstuDomain {
    std::string_view name;
    uint32_t field[4]; // exponents of the field polynomial
    uint32_t a;
    uint64_t cofactor;
    std::string_view b, G, n; // hexadecimal numbers; G is compressed
};

std::span<const DstuDomain> dstu_domains();

// Throws std::invalid_argument.
const DstuDomain &dstu_domain(std::string_view name);

// With the cofactor.
void set_up(dstu_ctx &ctx, const DstuDomain &domain);

} // namespace qal::tool
