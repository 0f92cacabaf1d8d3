// Loads and stores of words in a stated byte order, at any alignment.
#ifndef QAL_BASE_BYTES_HPP
#define QAL_BASE_BYTES_HPP

#include <stdint.h>
#include <string.h>

namespace qal::base {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "x86-64 only");

static inline uint64_t load_le64(const uint8_t *in)
{
    uint64_t value;
    memcpy(&value, in, sizeof value);
    return value;
}

static inline uint32_t load_be32(const uint8_t *in)
{
    uint32_t value;
    memcpy(&value, in, sizeof value);
    return __builtin_bswap32(value);
}

static inline void store_be64(uint8_t *out, uint64_t value)
{
    value = __builtin_bswap64(value);
    memcpy(out, &value, sizeof value);
}

static inline void store_le64(uint8_t *out, uint64_t value)
{
    memcpy(out, &value, sizeof value);
}

} // namespace qal::base

#endif
