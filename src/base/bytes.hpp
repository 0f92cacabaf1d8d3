// Loads and stores of words in a stated byte order, at any alignment.
#ifndef QAL_BASE_BYTES_HPP
#define QAL_BASE_BYTES_HPP

#include <emmintrin.h>
#include <stddef.h>
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

static inline uint32_t load_le32(const uint8_t *in)
{
    uint32_t value;
    memcpy(&value, in, sizeof value);
    return value;
}

static inline void store_le32(uint8_t *out, uint32_t value)
{
    memcpy(out, &value, sizeof value);
}

static inline uint32_t load_be32(const uint8_t *in)
{
    uint32_t value;
    memcpy(&value, in, sizeof value);
    return __builtin_bswap32(value);
}

static inline uint64_t load_be64(const uint8_t *in)
{
    uint64_t value;
    memcpy(&value, in, sizeof value);
    return __builtin_bswap64(value);
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

// out = a ^ b; out may be a or b.
static inline void xor_bytes(uint8_t *out, const uint8_t *a, const uint8_t *b, size_t size)
{
    size_t i = 0;
    for (; i + 16 <= size; i += 16) {
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i *>(a + i));
        const __m128i y = _mm_loadu_si128(reinterpret_cast<const __m128i *>(b + i));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out + i), _mm_xor_si128(x, y));
    }
    for (; i < size; i++)
        out[i] = static_cast<uint8_t>(a[i] ^ b[i]);
}

} // namespace qal::base

#endif
