#include <qal/qalec.h>

#include "qalec/copy_point.hpp"

qalecpoint *qalecic(const qaleccurve *curve, qalecpoint *table, const qalecpoint *P, uint32_t w)
{
    // 2P waits in the place of P.
    const uint64_t size = uint64_t{1} << (w - 1);
    curve->dbl(curve, &table[0], P);
    qalecpa(curve, &table[1], P, &table[0]);
    for (uint64_t i = 2; i < size; i++)
        qalecpa(curve, &table[i], &table[0], &table[i - 1]);
    qal::ec::copy_point(&table[0], P);
    return table;
}
