#include "qalmath64/powers/odd_powers.hpp"

#include "qalmath64/powers/exponentiate.hpp"

namespace qal::math {

void raise_odd_powers_portable(qald *r, const qald *table, size_t stride, const qald *e,
                               const qald *p)
{
    const MontgomeryForm form = usual_form(p);
    uint64_t bits = qalbitlen(e, 1);
    int64_t length;
    const uint64_t window = qalgetslide(e, bits - 1, window_bits, &length);
    Power power(table + window / 2 * stride);
    raise(form, power, table, stride, e, bits - static_cast<uint64_t>(length));
    qalcopy(r, power.value());
}

} // namespace qal::math
