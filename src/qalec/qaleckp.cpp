#include <qal/qalec.h>

qalecpoint *qaleckp(const qaleccurve *curve, qalecpoint *R, const qald *k, const qalecpoint *P)
{
    constexpr uint32_t width = 5;
    qalecpoint table[1 << (width - 1)];
    qalecic(curve, table, P, width);
    return qalecickp(curve, R, table, k, width, 0);
}
