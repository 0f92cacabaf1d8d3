// Products and squares of bare polynomials over GF(2), in the variants that dispatch.cpp chooses
// from. Shapes and aliasing are as in qal2poly.h for the names without endings. Constant time.
#ifndef QAL_UA_KERNELS_HPP
#define QAL_UA_KERNELS_HPP

#include "base/variants.hpp"

#include <qal/qal2poly.h>

// pmult257x257() after its precondition checks.
extern "C" [[gnu::visibility("hidden")]] void qal_pmult257(qal2d *r, const qal2d *a,
                                                           const qal2d *b);

#define QAL_POLYNOMIAL_ROUTINES(V)                                                                 \
    V(pmult160x160, avx2_pclmul, portable);                                                        \
    V(pmult192x192, avx2_pclmul, portable);                                                        \
    V(pmult224x224, avx2_pclmul, portable);                                                        \
    V(pmult256x256, avx2_pclmul, portable);                                                        \
    V(pmult288x288, avx2_pclmul, portable);                                                        \
    V(pmult448x448, avx2_pclmul, portable);                                                        \
    V(qal_pmult257, avx2_pclmul, portable);                                                        \
    V(psqr192x192, avx2_pclmul, portable);                                                         \
    V(psqr288x288, avx2_pclmul, portable);                                                         \
    V(psqr448x448, avx2_pclmul, portable)

namespace qal::ua {

QAL_POLYNOMIAL_ROUTINES(QAL_DECLARE_VARIANTS);

// Products for the engine, which do not wipe the stack below them: the engine's callers do.
void pmult192x192_unwiped(qal2d *r, const qal2d *a, const qal2d *b);
void pmult448x448_unwiped(qal2d *r, const qal2d *a, const qal2d *b);
void pmult257_unwiped(qal2d *r, const qal2d *a, const qal2d *b);

} // namespace qal::ua

#endif
