#include "qalmath64/powers/exponentiate.hpp"
#include "qalmath64/powers/odd_powers.hpp"

using namespace qal::math;

qald *qalpowmontstop(qald *work, const qald *one, uint64_t c, uint32_t k, const qald *p,
                     const qald *e, qald *r)
{
    if (qalbitlen(e, 1) != 0 && is_usual_form(k, p) && qalcmp(work, p) < 0) {
        raise_odd_powers(r, work, QALBIG_SIZE, e, p);
        return r;
    }
    Power power(one);
    raise(MontgomeryForm{c, k, p}, power, work, QALBIG_SIZE, e, qalbitlen(e, 1));
    return qalcopy(r, power.value());
}
