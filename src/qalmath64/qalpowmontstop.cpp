// x^e in Montgomery form from the odd powers of x. Shapes and aliasing: qalmath64.h. Time depends
// on e and p.
#include "qalmath64/powers/number_forms.hpp"

using namespace qal::math;

qald *qalpowmontstop(qald *work, const qald *one, uint64_t c, uint32_t k, const qald *p,
                     const qald *e, qald *r)
{
    if (qalbitlen(e, 1) != 0 && is_usual_form(k, p) && qalcmp(work, p) < 0) {
        raise_odd_powers_var(r, work, QALBIG_SIZE, e, p);
        return r;
    }
    NumberPower<MontgomeryForm> power({c, k, p}, work, QALBIG_SIZE);
    power.set_number(one);
    slide_var(power, e, qalbitlen(e, 1));
    return qalcopy(r, power.value());
}
