// Exponentiation in Montgomery form from a table of odd powers. Shapes and aliasing: qalmath64.h.
// Time depends on the exponent, even where maxbits is given.
#include "qalmath64/powers/number_forms.hpp"

using namespace qal::math;

qald *qalicpowmont(const qald *powers, uint32_t w, uint32_t maxbits, const qald *one, uint64_t c,
                   uint32_t k, const qald *p, const qald *e, qald *r)
{
    if (maxbits == 0 && qalbitlen(e, 1) != 0 && is_usual_form(k, p) && qalcmp(powers, p) < 0) {
        raise_odd_powers_var(r, powers, p[0] + 1, e, p);
        return r;
    }
    NumberPower<MontgomeryForm> power({c, k, p}, powers, p[0] + 1);
    power.set_number(one);
    // Windows are of five bits whatever w is; w counts only in how many products there shall be.
    uint64_t products = slide_var(power, e, qalbitlen(e, 1));
    qalcopy(r, power.value());
    // The number of products must not tell how many windows the exponent has: the missing ones are
    // made on the copy, and what becomes of it does not matter.
    if (maxbits != 0) {
        const uint64_t target = (uint64_t{maxbits} + w - 1) / w;
        for (; products < target; products++)
            power.multiply(0);
    }
    return r;
}
