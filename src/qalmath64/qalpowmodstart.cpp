// The odd powers of the base for qalpowmodstop, in Montgomery form if p is odd. Shapes and
// aliasing: qalmath64.h. Time depends on x and p.
#include "qalmath64/powers/number_forms.hpp"

using namespace qal::math;

namespace {

qald *slot(qald *work, size_t i)
{
    return work + i * QALBIG_SIZE;
}

// Slots 1 to 15 from the square of the base in slot 0 and the base.
template<class Form>
void fill(const Form &form, qald *work, const qald *x)
{
    form.multiply(work, x, slot(work, 1));
    for (size_t i = 2; i < odd_powers; i++)
        form.multiply(work, slot(work, i - 1), slot(work, i));
}

} // namespace

qald *qalpowmodstart(qald *work, const qald *x, const qald *p)
{
    qald *const scratch = slot(work, odd_powers), *const other = slot(work, odd_powers + 1);
    if (is_odd(p)) {
        const MontgomeryForm form = usual_form(p);
        // Into Montgomery form by a product with R^2. It has one digit more than twice those of p
        // before it is reduced, which sets the limit of 63 digits for p.
        qalexpb2(other, 2 * uint64_t{form.k});
        qaldiv(other, p, work, other);
        form.multiply(x, other, scratch);
        form.square(scratch, work);
        fill(form, work, scratch);
        return qalcopy(work, scratch);
    }
    qalsqr(x, scratch);
    qaldiv(scratch, p, other, scratch);
    qalcopy(work, scratch);
    fill(PlainForm{p}, work, x);
    return qalcopy(work, x);
}
