#include <qal/qalmath64.h>

#include <stdarg.h>

qald *qalvalueof64(qald *x, int32_t k, ...)
{
    va_list digits;
    va_start(digits, k);
    x[0] = static_cast<uint64_t>(k);
    for (int32_t i = k; i > 0; i--)
        x[i] = va_arg(digits, uint64_t);
    va_end(digits);
    return qalclip(x);
}
