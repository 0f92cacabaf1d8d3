// The one place that chooses between variants of a routine.
//
// Each dispatched name is a GNU indirect function: the loader calls its resolver once while it
// relocates the library and binds the name to the answer, so that there is nothing to initialise,
// nothing writable afterwards and no cost per call.
//
// A resolver runs before relocation has finished. It may call nothing but what is inlined into it,
// and this file is compiled without sanitizers, stack protector, coverage and link-time
// optimisation (cmake/QalIsa.cmake sees to that). Resolvers are external functions because clang
// demands it. Never give an indirect function an alias: gcc 12 would call the resolver instead.
//
// QAL_ISA_CAP, one of IsaCap, is given to this file alone, so that builds with different caps have
// all other objects in common.
#include "base/cpu.hpp"
#include "base/variants.hpp"
#include "gost28147/g28147_kernels.hpp"
#include "gost28147/gr341194_kernels.hpp"
#include "qalec/curve256.hpp"
#include "qalmath64/kernels/kernels.hpp"
#include "qalmath64/kernels/montgomery.hpp"
#include "qalmath64/kernels/multiply.hpp"
#include "qalmath64/powers/powers.hpp"
#include "ru/kuznyechik_kernels.hpp"
#include "ru/streebog_kernels.hpp"
#include "ua/engine.hpp"
#include "ua/kernels.hpp"

using namespace qal::base;
using namespace qal::ru;
using namespace qal::ua;

#define QAL_CHOOSE(routine, isa)                                                                   \
    if (has_bits(cpu, needs_##isa))                                                                \
    return routine##_##isa

// Defines the routine, declared before, as an indirect function, bound to the first variant that
// has all that it needs. The resolver has a name of its own so that tests can ask for its choice.
#define QAL_DISPATCH(routine, ...)                                                                 \
    extern "C" [[gnu::visibility("hidden"), gnu::used]] decltype(&routine) qal_resolve_##routine() \
    {                                                                                              \
        const uint32_t cpu = cpu_features(QAL_ISA_CAP);                                            \
        QAL_EACH_VARIANT(QAL_CHOOSE, routine, __VA_ARGS__);                                        \
        return nullptr; /* never: the last one needs nothing */                                    \
    }                                                                                              \
    extern decltype(routine) routine __attribute__((ifunc("qal_resolve_" #routine)))

namespace qal::ec {
QAL_CURVE256_ROUTINES(QAL_DISPATCH);
}

namespace qal::gost {
QAL_G28147_ROUTINES(QAL_DISPATCH);
QAL_GR341194_ROUTINES(QAL_DISPATCH);
} // namespace qal::gost

namespace qal::math {
QAL_POWER_ROUTINES(QAL_DISPATCH);
}

namespace qal::ru {
QAL_KUZNYECHIK_ROUTINES(QAL_DISPATCH);
QAL_STREEBOG_ROUTINES(QAL_DISPATCH);
} // namespace qal::ru

namespace qal::ua {
QAL_ENGINE_ROUTINES(QAL_DISPATCH);
}

extern "C" {
QAL_KERNEL_ROUTINES(QAL_DISPATCH);
QAL_PRODUCT_ROUTINES(QAL_DISPATCH);
QAL_MONTGOMERY_ROUTINES(QAL_DISPATCH);
QAL_KUZNYECHIK_EXPORTS(QAL_DISPATCH);
QAL_STREEBOG_EXPORTS(QAL_DISPATCH);
QAL_POLYNOMIAL_ROUTINES(QAL_DISPATCH);
}
