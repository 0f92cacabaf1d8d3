#include "base/require.hpp"

#include <qal/qalmath64.h>

static constexpr char qal_source[] = "../src/qalmath64/qalgetwin";

uint64_t qalgetwin(const qald *e, uint64_t i, uint64_t n)
{
    QAL_REQUIRE(n < 64, "n<(sizeof(qald)*8)");
    const uint64_t offset = i * n, index = offset / 64;
    const unsigned bits = offset % 64;
    if (index >= e[0])
        return 0;
    uint64_t window = e[index + 1] >> bits;
    if (bits + n > 64 && index + 1 < e[0])
        window |= e[index + 2] << (64 - bits);
    // The mask is a 32-bit shift of 1, less 1: windows of 32 bits and more lose bits (32 are none).
    // Nothing wider than a few bits is ever asked for; what others would get is kept as it is.
    return window & ((uint32_t{1} << (n % 32)) - 1);
}
