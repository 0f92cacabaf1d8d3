#include "qalmath64/exponentiate.hpp"

using namespace qal::math;

qald *qalpowmontstop(qald *work, const qald *one, uint64_t c, uint32_t k, const qald *p,
                     const qald *e, qald *r)
{
    Power power(one);
    raise(MontgomeryForm{c, k, p}, power, work, QALBIG_SIZE, e);
    return qalcopy(r, power.value());
}
