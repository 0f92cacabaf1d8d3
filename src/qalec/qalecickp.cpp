#include <qal/qalec.h>

#include "base/wipe.hpp"
#include "qalec/copy_point.hpp"

qalecpoint *qalecickp(const qaleccurve *curve, qalecpoint *R, const qalecpoint *table,
                      const qald *k, uint32_t w, uint32_t padbits)
{
    uint64_t additions = 0;
    qalecpcr(curve, R, nullptr, nullptr);
    for (uint64_t left = qalbitlen(k, 1); left > 0;) {
        int64_t bits;
        const uint64_t window = qalgetslide(k, left - 1, w, &bits);
        left -= static_cast<uint64_t>(bits);
        for (; bits > 0; bits--)
            curve->dbl(curve, R, R);
        if (window != 0) {
            qalecpa(curve, R, R, &table[window / 2]);
            additions++;
        }
    }

    qalecpoint scratch;
    if (padbits != 0) {
        const uint64_t wanted = (uint64_t{padbits} + w - 1) / w;
        qal::ec::copy_point(&scratch, R);
        for (; additions < wanted; additions++)
            qalecpa(curve, &scratch, &scratch, &table[0]);
    }
    qal::base::wipe(&scratch, sizeof scratch);
    return R;
}
