#include <qal/qalmath64.h>

#include <string.h>

qald *qaladd2m(qald *x, const qald *y)
{
    const uint64_t n = x[0], m = y[0], common = n < m ? n : m;
    for (uint64_t i = 1; i <= common; i++)
        x[i] ^= y[i];
    if (m > n) {
        memcpy(x + n + 1, y + n + 1, (m - n) * sizeof *x);
        x[0] = m;
    }
    return qalclip(x);
}
