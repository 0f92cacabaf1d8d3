// x^e mod p from the odd powers of x. Shapes and aliasing: qalmath64.h. Time depends on e and p.
#include "qalmath64/powers/number_forms.hpp"

using namespace qal::math;

qald *qalpowmodstop(qald *work, const qald *e, const qald *p, qald *r)
{
    if (is_odd(p)) {
        if (qalbitlen(e, 1) == 0)
            return qalconvert(r, qalcmp(p, QALBIG_ONE) != 0);
        const MontgomeryForm form = usual_form(p);
        qald power[QALBIG_SIZE];
        raise_odd_powers_var(power, work, QALBIG_SIZE, e, p);
        qalcopy(r, qalmontcom(form.c, form.k, p, power));
        qal::base::wipe(power, sizeof power);
        return r;
    }
    NumberPower<PlainForm> power({p}, work, QALBIG_SIZE);
    power.set_number(QALBIG_ONE);
    slide_var(power, e, qalbitlen(e, 1));
    return qalcopy(r, power.value());
}
