#include <qal/qalec.h>

#include "qalec/copy_point.hpp"

qalecpoint *qalecakp(const qaleccurve *curve, qalecpoint *R, const qald *k, const qalecpoint *P,
                     const qald *l, const qalecpoint *Q)
{
    // i P + j Q at 4i + j
    qalecpoint table[16];
    qalecpcr(curve, &table[0], nullptr, nullptr);
    qal::ec::copy_point(&table[4], P);
    qalecpa(curve, &table[8], P, P);
    qalecpa(curve, &table[12], &table[8], P);
    qal::ec::copy_point(&table[1], Q);
    qalecpa(curve, &table[2], Q, Q);
    qalecpa(curve, &table[3], &table[2], Q);
    for (int i = 4; i < 16; i += 4)
        for (int j = 1; j < 4; j++)
            qalecpa(curve, &table[i + j], &table[i], &table[j]);

    const uint64_t k_digits = qalbitlen(k, 2), l_digits = qalbitlen(l, 2);
    qalecpcr(curve, R, nullptr, nullptr);
    for (uint64_t i = k_digits > l_digits ? k_digits : l_digits; i-- > 0;) {
        curve->dbl(curve, R, R);
        curve->dbl(curve, R, R);
        const uint64_t index = 4 * qalgetwin(k, i, 2) + qalgetwin(l, i, 2);
        if (index != 0)
            qalecpa(curve, R, R, &table[index]);
    }
    return R;
}
