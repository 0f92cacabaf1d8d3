// Products and squares of bare polynomials over GF(2), in the variants that dispatch.cpp chooses
// from. Shapes and aliasing are as in qal2poly.h for the names without endings. Constant time.
#ifndef QAL_UA_KERNELS_HPP
#define QAL_UA_KERNELS_HPP

#include <qal/qal2poly.h>

// pmult257x257() after its precondition checks.
extern "C" [[gnu::visibility("hidden")]] void qal_pmult257(qal2d *r, const qal2d *a,
                                                           const qal2d *b);

// Each name with every ending.
#define QAL_UA_PRODUCTS(apply, ending)                                                             \
    apply(pmult160x160##ending);                                                                   \
    apply(pmult192x192##ending);                                                                   \
    apply(pmult224x224##ending);                                                                   \
    apply(pmult256x256##ending);                                                                   \
    apply(pmult288x288##ending);                                                                   \
    apply(pmult448x448##ending);                                                                   \
    apply(qal_pmult257##ending)
#define QAL_UA_SQUARES(apply, ending)                                                              \
    apply(psqr192x192##ending);                                                                    \
    apply(psqr288x288##ending);                                                                    \
    apply(psqr448x448##ending)

namespace qal::ua {

#define QAL_UA_DECLARE_PRODUCT(name) void name(qal2d *r, const qal2d *a, const qal2d *b)
#define QAL_UA_DECLARE_SQUARE(name) void name(qal2d *r, const qal2d *a)
QAL_UA_PRODUCTS(QAL_UA_DECLARE_PRODUCT, _portable);
QAL_UA_SQUARES(QAL_UA_DECLARE_SQUARE, _portable);
QAL_UA_PRODUCTS(QAL_UA_DECLARE_PRODUCT, _pclmul);
QAL_UA_SQUARES(QAL_UA_DECLARE_SQUARE, _pclmul);
// Products for the engine, which do not wipe the stack below them: the engine's callers do.
QAL_UA_DECLARE_PRODUCT(pmult192x192_unwiped);
QAL_UA_DECLARE_PRODUCT(pmult448x448_unwiped);
QAL_UA_DECLARE_PRODUCT(pmult257_unwiped);
#undef QAL_UA_DECLARE_PRODUCT
#undef QAL_UA_DECLARE_SQUARE

} // namespace qal::ua

#endif
