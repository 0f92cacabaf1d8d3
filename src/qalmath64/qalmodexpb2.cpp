#include <qal/qalmath64.h>

qald *qalmodexpb2(qald *x, uint64_t n)
{
    const uint64_t whole = n / 64;
    if (whole >= x[0])
        return x;
    x[0] = whole + 1;
    // With n a multiple of 64 nothing is left of the top digit, and it is clipped.
    x[whole + 1] &= (uint64_t{1} << (n % 64)) - 1;
    return qalclip(x);
}
