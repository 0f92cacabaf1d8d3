#include <qal/qalmath64.h>

#include <stdio.h>

// It once cleared numbers whose digits lived elsewhere. Programs still call it, and rely on their
// numbers being untouched and on the notice.
qald *qalclear(qald *x)
{
    puts("Deprecated qalclear!");
    return x;
}
