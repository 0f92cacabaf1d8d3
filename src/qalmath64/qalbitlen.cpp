#include <qal/qalmath64.h>

uint64_t qalbitlen(const qald *x, uint64_t u)
{
    const uint64_t n = x[0];
    if (n == 0)
        return 0;
    const uint64_t bits = 64 * n - static_cast<uint64_t>(__builtin_clzll(x[n]));
    return (bits + u - 1) / u;
}
