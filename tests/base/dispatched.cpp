#include "base/dispatched.hpp"
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
using namespace qal::ec;
using namespace qal::gost;
using namespace qal::math;
using namespace qal::ru;
using namespace qal::ua;

// V for every routine of every family.
#define EVERY_ROUTINE                                                                              \
    QAL_CURVE256_ROUTINES(V);                                                                      \
    QAL_ENGINE_ROUTINES(V);                                                                        \
    QAL_G28147_ROUTINES(V);                                                                        \
    QAL_GR341194_ROUTINES(V);                                                                      \
    QAL_KERNEL_ROUTINES(V);                                                                        \
    QAL_KUZNYECHIK_EXPORTS(V);                                                                     \
    QAL_KUZNYECHIK_ROUTINES(V);                                                                    \
    QAL_MONTGOMERY_ROUTINES(V);                                                                    \
    QAL_POLYNOMIAL_ROUTINES(V);                                                                    \
    QAL_POWER_ROUTINES(V);                                                                         \
    QAL_PRODUCT_ROUTINES(V);                                                                       \
    QAL_STREEBOG_EXPORTS(V);                                                                       \
    QAL_STREEBOG_ROUTINES(V)

#define V(routine, ...) extern "C" decltype(&routine) qal_resolve_##routine()
EVERY_ROUTINE;
#undef V

namespace qal::test {

std::vector<Dispatched> dispatched_names()
{
    std::vector<Dispatched> names;
#define VARIANT(routine, isa)                                                                      \
    names.back().variants.push_back({#isa, needs_##isa, reinterpret_cast<Address>(routine##_##isa)})
#define V(routine, ...)                                                                            \
    names.push_back(                                                                               \
        {#routine, [] { return reinterpret_cast<Address>(qal_resolve_##routine()); }, {}});        \
    QAL_EACH_VARIANT(VARIANT, routine, __VA_ARGS__)
    EVERY_ROUTINE;
    return names;
}

} // namespace qal::test
