#include <qal/qalec.h>

#include <string.h>

qalecpoint *qalecpcr(const qaleccurve *curve, qalecpoint *point, const qald *x, const qald *y)
{
    if (curve == nullptr || point == nullptr)
        return nullptr;
    memset(point, 0, sizeof *point);
    const qalpff *const f = &curve->field;
    if (x != nullptr)
        f->in(f, point->X, x);
    if (y != nullptr)
        f->in(f, point->Y, y);
    if (point->X[0] == 0 && point->Y[0] == 0)
        return point;

    f->setone(f, point->Z);
    qalfe t, u; // (x^2 + a) x + b and y^2
    f->sqr(f, point->X, t);
    f->add(f, t, curve->a, t);
    f->mul(f, t, point->X, t);
    f->add(f, t, curve->b, t);
    f->sqr(f, point->Y, u);
    if (qalcmp(t, u) == 0)
        return point;
    qalecpcl(point);
    return nullptr;
}

void qalecpcl(qalecpoint *point)
{
    if (point != nullptr)
        memset(point, 0, sizeof *point);
}
