#include "base/require.hpp"

#include <qal/qalmath64.h>

static constexpr char qal_source[] = "../src/qalmath64/qaldivs";

uint64_t qaldivs(uint64_t xh, uint64_t xl, uint64_t y, uint64_t *q)
{
    QAL_REQUIRE(xh < y, "xh<y");
    QAL_REQUIRE(y >> 63 != 0, "y>>((sizeof(qald)*8)-1)");
    uint64_t quotient, remainder;
    __asm__("divq %4" : "=a"(quotient), "=d"(remainder) : "a"(xl), "d"(xh), "r"(y) : "cc");
    if (q != nullptr)
        *q = quotient;
    return remainder;
}
