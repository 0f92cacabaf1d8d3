#include <qal/qalmath64.h>

#include <string.h>

qald *qalcopy(qald *dst, const qald *src)
{
    memmove(dst, src, (src[0] + 1) * sizeof *src);
    return dst;
}
