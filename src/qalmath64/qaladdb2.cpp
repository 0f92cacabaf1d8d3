#include "base/require.hpp"

#include <qal/qalmath64.h>

static constexpr char qal_source[] = "../src/qalmath64/qaladdb2";

// Digits up to number 131 pass, one more than a full buffer has: the limit is the number of words,
// and programs count on the sums that end there as on the failure of those that do not.
#define REQUIRE_ROOM(i)                                                                            \
    QAL_REQUIRE((i) <= QALBIG_SIZE, "i<=(((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3)")

qald *qaladdb2(qald *x, uint64_t n)
{
    uint64_t i = n / 64 + 1, addend = uint64_t{1} << (n % 64);
    REQUIRE_ROOM(i);
    while (x[0] < i)
        x[++x[0]] = 0;
    while ((x[i] += addend) < addend) {
        addend = 1;
        i++;
        REQUIRE_ROOM(i);
        if (x[0] < i)
            x[++x[0]] = 0;
    }
    return x;
}
