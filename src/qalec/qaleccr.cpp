#include <qal/qalec.h>

#include <string.h>

qaleccurve *qaleccr(qaleccurve *curve, const qald *p, const qald *a, const qald *b)
{
    if (curve == nullptr || p == nullptr || a == nullptr || b == nullptr)
        return nullptr;
    memset(curve, 0, sizeof *curve);
    qalpff *const field = &curve->field;
    if (qalpff_init(field, p) != field)
        return nullptr;
    field->in(field, curve->a, a);
    field->in(field, curve->b, b);
    qald sum[QALBIG_SIZE];
    qaladd(qalcopy(sum, a), QALBIG_THREE);
    curve->dbl = qalcmp(sum, p) == 0 ? qalecpd_3 : qalecpd;
    return curve;
}

void qaleccl(qaleccurve *curve)
{
    if (curve != nullptr)
        memset(curve, 0, sizeof *curve);
}
