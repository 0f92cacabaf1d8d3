#include "qalmath64/powers/exponentiate.hpp"
#include "qalmath64/powers/odd_powers.hpp"

using namespace qal::math;

qald *qalpowmodstop(qald *work, const qald *e, const qald *p, qald *r)
{
    if (is_odd(p)) {
        if (qalbitlen(e, 1) == 0)
            return qalconvert(r, qalcmp(p, QALBIG_ONE) != 0);
        const MontgomeryForm form = usual_form(p);
        qald power[QALBIG_SIZE];
        raise_odd_powers(power, work, QALBIG_SIZE, e, p);
        qalcopy(r, qalmontcom(form.c, form.k, p, power));
        qal::base::wipe(power, sizeof power);
        return r;
    }
    Power power(QALBIG_ONE);
    raise(PlainForm{p}, power, work, QALBIG_SIZE, e, qalbitlen(e, 1));
    return qalcopy(r, power.value());
}
