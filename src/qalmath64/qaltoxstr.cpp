#include <qal/qalmath64.h>

#include <string.h>

void qaltoxstr(const qald *x, char *t, int32_t size)
{
    if (t == nullptr || size <= 0)
        return;
    uint64_t nibbles = qalbitlen(x, 4);
    if (nibbles == 0 && size >= 2) {
        *t++ = '0';
    } else if (nibbles >= static_cast<uint64_t>(size)) {
        // No room: a row that nobody takes for a number.
        memset(t, '*', static_cast<size_t>(size) - 1);
        t += size - 1;
    } else {
        while (nibbles-- > 0)
            *t++ = "0123456789ABCDEF"[x[nibbles / 16 + 1] >> (4 * (nibbles % 16)) & 15];
    }
    *t = '\0';
}
