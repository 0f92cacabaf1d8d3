#include "base/wipe.hpp"

#include <qal/rsa.h>

namespace {

// a -= the number of this magnitude and sign.
qalsi *subtract(qalsi *a, const qald *magnitude, int32_t sign)
{
    if (a->sign != sign) {
        qaladd(a->mag, magnitude);
    } else if (qalcmp(a->mag, magnitude) < 0) {
        qald difference[QALBIG_SIZE];
        qalcopy(a->mag, qalsub(qalcopy(difference, magnitude), a->mag));
        qal::base::wipe(difference, sizeof difference);
        a->sign = -sign;
    } else {
        qalsub(a->mag, magnitude);
    }
    return a;
}

} // namespace

qalsi *qalsicr(qalsi *s, const qald *x)
{
    qalcopy(s->mag, x);
    s->sign = 1;
    return s;
}

qalsi *qalsicopy(qalsi *d, const qalsi *s)
{
    qalcopy(d->mag, s->mag);
    d->sign = s->sign;
    return d;
}

qalsi *qalsisub(qalsi *a, const qalsi *b)
{
    return subtract(a, b->mag, b->sign);
}

qalsi *qalsisubmul(qalsi *d, const qalsi *a, const qald *q, const qalsi *b)
{
    qald product[QALBIG_SIZE];
    qalmul(q, b->mag, product);
    const int32_t sign = b->sign;
    subtract(qalsicopy(d, a), product, sign);
    qal::base::wipe(product, sizeof product);
    return d;
}
