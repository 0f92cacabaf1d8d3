#include <qal/qalmath64.h>

#include <string.h>

qald *qalshr(const qald *x, uint64_t s, qald *y)
{
    const uint64_t n = x[0], whole = s / 64;
    const unsigned bits = s % 64;
    if (whole >= n) {
        y[0] = 0;
        return y;
    }
    const uint64_t length = n - whole;
    if (bits == 0) {
        memmove(y + 1, x + whole + 1, length * sizeof *y);
    } else {
        // From the bottom up, so that y may be x.
        for (uint64_t i = 1; i < length; i++)
            y[i] = x[whole + i] >> bits | x[whole + i + 1] << (64 - bits);
        y[length] = x[whole + length] >> bits;
    }
    y[0] = length;
    return qalclip(y);
}
