#include <qal/qalmath64.h>

#include <stdarg.h>

qald *qalvalueof32(qald *x, int32_t k, ...)
{
    va_list words;
    va_start(words, k);
    x[0] = (static_cast<uint64_t>(k) + 1) / 2;
    for (uint64_t i = 1; i <= x[0]; i++)
        x[i] = 0;
    for (int32_t p = k - 1; p >= 0; p--)
        x[p / 2 + 1] |= static_cast<uint64_t>(va_arg(words, uint32_t)) << (32 * (p % 2));
    va_end(words);
    return qalclip(x);
}
