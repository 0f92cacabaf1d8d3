// What the conversions share.
#ifndef QAL_QALMATH64_CONVERSION_HPP
#define QAL_QALMATH64_CONVERSION_HPP

#include <qal/qalmath64.h>

namespace qal::math {

// A full buffer's digits hold this many bytes; more are not read.
constexpr uint32_t most_bytes = 8 * (QALBIG_SIZE - 1);

inline uint32_t capped(uint32_t n)
{
    return n < most_bytes ? n : most_bytes;
}

// How many of a number's bytes go into a buffer of the given size.
inline uint32_t written_bytes(uint64_t bytes, uint32_t size)
{
    return bytes < size ? static_cast<uint32_t>(bytes) : size;
}

} // namespace qal::math

#endif
