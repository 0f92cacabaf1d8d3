#include <qal/qalmath64.h>

qald *qalconvert(qald *x, uint64_t v)
{
    x[0] = v != 0;
    x[1] = v;
    return x;
}
