#include <qal/qalmath64.h>

qald *qalgetbe(qald *x, const uint8_t *base, uint64_t off, uint32_t n)
{
    return qalfrombase256(x, base + off, n);
}
