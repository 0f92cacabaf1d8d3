// x^e mod p. Shapes and aliasing: qalmath64.h. Time depends on all three.
#include <qal/qalmath64.h>

qald *qalpowmod(qald *work, const qald *x, const qald *e, const qald *p, qald *r)
{
    qalpowmodstart(work, x, p);
    return qalpowmodstop(work, e, p, r);
}
