#include <qal/qalmath64.h>

qald *qalclip(qald *x)
{
    while (x[0] > 0 && x[x[0]] == 0)
        x[0]--;
    return x;
}
