#include <qal/qalmath64.h>

uint32_t qalputle(uint8_t *base, uint64_t off, uint32_t size, const qald *x)
{
    return qaltorbase256(base + off, size, x);
}
