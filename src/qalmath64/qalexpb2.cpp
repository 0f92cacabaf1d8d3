#include <qal/qalmath64.h>

#include <string.h>

qald *qalexpb2(qald *x, uint64_t n)
{
    const uint64_t whole = n / 64;
    memset(x + 1, 0, whole * sizeof *x);
    x[0] = whole + 1;
    x[whole + 1] = uint64_t{1} << (n % 64);
    return x;
}
