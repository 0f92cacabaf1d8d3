#include <qal/qalec.h>

qalecpoint *qalecpneg(const qaleccurve *curve, qalecpoint *point)
{
    if (qalecpxy(curve, point, nullptr, nullptr) == 0)
        return point;
    qalfe y; // p for Y = 0, as the interface has it
    qalsub(qalcopy(y, curve->field.p), point->Y);
    qalcopy(point->Y, y);
    return point;
}
