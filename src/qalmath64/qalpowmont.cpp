// x^e in Montgomery form. Shapes and aliasing: qalmath64.h. Time depends on x, e and p.
#include <qal/qalmath64.h>

int qalpowmont(qald *work, const qald *one, uint64_t c, uint32_t k, const qald *p, const qald *x,
               const qald *e, qald *r)
{
    qalpowmontstart(work, c, k, p, x);
    qalpowmontstop(work, one, c, k, p, e, r);
    return 0;
}
