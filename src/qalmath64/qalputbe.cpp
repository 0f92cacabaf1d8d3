#include <qal/qalmath64.h>

uint32_t qalputbe(uint8_t *base, uint64_t off, uint32_t size, const qald *x)
{
    return qaltobase256(base + off, size, x);
}
