// Whether domain parameters and public keys that come from elsewhere are what the standards demand.
// The library's operations take it for granted: with a key of small order anybody can forge
// signatures, and an agreement with one tells something of the private key.
//
// All arguments are public, and the time depends on them.
#pragma once

#include <qal/dstu.h>
#include <qal/rds.h>

#include <cstdint>
#include <span>

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

enum class KeyFault {
    none,
    no_point,  // coordinates that are no elements of the field, or not on the curve
    infinity,  // the zero key
    no_member, // a point outside of the group that the base point generates
};

// The domain parameters, those that rds_init() has accepted, are sound: GOST R 34.10-2012, clause
// 5.2. Primality tests draw their bases from random, which becomes rsa_gen_rnd.
DomainFault fault_of(const rds_ctx &domain, qal_rnd random);

// The public key is a point whose order is that of the base point. The domain is a sound one, with
// an order that is prime; the key has 64 bytes or the domain's field_len.
KeyFault fault_of_key(const rds_ctx &domain, std::span<const uint8_t> key);
KeyFault fault_of_key(const dstu_ctx &domain, std::span<const uint8_t> key);

// Ends of sentences that begin with parameters, or with a key; not for none.
const char *description(DomainFault fault);
const char *description(KeyFault fault);

} // namespace qal::tool
