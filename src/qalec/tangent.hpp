// Doubling, from the slope of the tangent on.
#ifndef QAL_QALEC_TANGENT_HPP
#define QAL_QALEC_TANGENT_HPP

#include <qal/qalec.h>

namespace qal::ec {

// z = 2a for a finite a with Y other than zero and m = 3 X^2 + a Z^4, which is overwritten: the end
// of IEEE 1363-2000, A.10.4. z may be a.
inline qalecpoint *along_tangent(const qalpff *f, qalecpoint *z, const qalecpoint *a, qald *m)
{
    qalfe s, t;
    f->add(f, a->Y, a->Y, t);
    f->mul(f, t, a->Z, z->Z);
    f->sqr(f, t, t);
    f->mul(f, t, a->X, s); // 4 X Y^2
    f->sqr(f, t, t);
    f->div2(f, t, z->Y); // 8 Y^4
    f->sqr(f, m, t);
    f->sub(f, t, s, t);
    f->sub(f, t, s, z->X);
    f->sub(f, s, z->X, s);
    f->mul(f, m, s, m);
    f->sub(f, m, z->Y, z->Y);
    return z;
}

} // namespace qal::ec

#endif
