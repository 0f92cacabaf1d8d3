// Copying points.
#ifndef QAL_QALEC_COPY_POINT_HPP
#define QAL_QALEC_COPY_POINT_HPP

#include <qal/qalec.h>

namespace qal::ec {

// Digits beyond the lengths are not read: they may never have been written. z may be a.
inline qalecpoint *copy_point(qalecpoint *z, const qalecpoint *a)
{
    qalcopy(z->X, a->X);
    qalcopy(z->Y, a->Y);
    qalcopy(z->Z, a->Z);
    return z;
}

} // namespace qal::ec

#endif
