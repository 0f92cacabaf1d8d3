#include "qalmath64/exponentiate.hpp"

using namespace qal::math;

qald *qalpowmodstop(qald *work, const qald *e, const qald *p, qald *r)
{
    if (is_odd(p)) {
        const MontgomeryForm form = usual_form(p);
        qald one[QALBIG_SIZE];
        Power power(qalunitymont(static_cast<int32_t>(form.k), p, one));
        raise(form, power, work, QALBIG_SIZE, e);
        power.multiply(form, QALBIG_ONE);
        return qalcopy(r, power.value());
    }
    Power power(QALBIG_ONE);
    raise(PlainForm{p}, power, work, QALBIG_SIZE, e);
    return qalcopy(r, power.value());
}
