// Keys of GOST R 34.10-2001 as text: hexadecimal digits, or PEM as RFC 4491 has it.
#pragma once

#include "hex.hpp"
#include "secrets.hpp"

#include <string>

namespace qal::tool {

// What PEM tells about a key besides its value; both are empty in hexadecimal.
struct GostKeyUse {
    std::string domain; // name of a parameter set
    std::string hash;   // name of the hash function whose digests the key signs
};

// Values are those of the library: most significant byte first, x before y.
struct GostPrivateKey {
    Secret value;
    GostKeyUse use;
};

struct GostPublicKey {
    Bytes value;
    GostKeyUse use;
};

constexpr size_t private_key_size = 32, public_key_size = 64, signature_size = 64;

// In either form; name is the source in messages. Throw std::runtime_error with a reason.
GostPrivateKey parse_private_key(std::string_view text, const std::string &name);
GostPublicKey parse_public_key(std::string_view text, const std::string &name);

// PEM: PrivateKeyInfo (PKCS#8) and SubjectPublicKeyInfo.
Secret private_key_pem(const Secret &value, const GostKeyUse &use);
std::string public_key_pem(const Bytes &value, const GostKeyUse &use);

} // namespace qal::tool
