#include <qal/qalmath64.h>

qald *qalgetle(qald *x, const uint8_t *base, uint64_t off, uint32_t n)
{
    return qalfromrbase256(x, base + off, n);
}
