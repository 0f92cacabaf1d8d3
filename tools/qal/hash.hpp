// The hash functions that commands know by name.
#pragma once

#include "hex.hpp"

#include <memory>
#include <span>
#include <string_view>

namespace qal::tool {

// One computation. Bytes of the digest are in the library's order.
class Hash {
public:
    Hash() = default;
    Hash(const Hash &) = delete;
    Hash &operator=(const Hash &) = delete;
    virtual ~Hash() = default;

    virtual void update(const uint8_t *data, size_t size) = 0;
    virtual Bytes finish() = 0;
};

struct HashAlgorithm {
    std::string_view name; // for the command line
    std::string_view tag;  // in lines of the form TAG (FILE) = DIGEST
    size_t size;           // of the digest, in bytes
    std::unique_ptr<Hash> (*start)();
};

// All of them; the first is the default. Where several have the same size, the first of these is
// meant by a digest without a name.
std::span<const HashAlgorithm> hash_algorithms();

} // namespace qal::tool
