// The odd powers of the base for qalpowmontstop, in Montgomery form. Shapes and aliasing:
// qalmath64.h. Time depends on x and p.
#include "qalmath64/powers/number_forms.hpp"

using namespace qal::math;

qald *qalpowmontstart(qald *work, uint64_t c, uint32_t k, const qald *p, const qald *x)
{
    const MontgomeryForm form = {c, k, p};
    form.square(x, work);
    form.multiply(work, x, work + QALBIG_SIZE);
    for (size_t i = 2; i < odd_powers; i++)
        form.multiply(work, work + (i - 1) * QALBIG_SIZE, work + i * QALBIG_SIZE);
    return qalcopy(work, x);
}
