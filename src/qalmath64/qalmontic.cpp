// The odd powers of x up to x^(2^w - 1) in Montgomery form, p[0] + 1 words apart, for qalicpowmont.
// Shapes and aliasing: qalmath64.h. Time depends on x and p.
#include "base/require.hpp"
#include "qalmath64/powers/number_forms.hpp"

static constexpr char qal_source[] = "../src/qalmath64/qalmontic";

using namespace qal::math;

qald *qalmontic(qald *powers, uint32_t w, uint64_t c, uint32_t k, const qald *p, const qald *x)
{
    QAL_REQUIRE(powers != nullptr, "powers != 0");
    QAL_REQUIRE(p != nullptr, "p != 0");
    QAL_REQUIRE(x != nullptr, "x != 0");
    QAL_REQUIRE(p[0] * 2 + 2 <= QALBIG_SIZE,
                "((*p)*2+2) <= (((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3)");
    const MontgomeryForm form = {c, k, p};
    const size_t entries = size_t{1} << (w - 1), stride = p[0] + 1;
    // An entry has no room for the product that it comes from.
    qald square[QALBIG_SIZE], power[QALBIG_SIZE];
    form.square(x, square);
    const qald *before = x;
    for (size_t i = 1; i < entries; i++) {
        form.multiply(square, before, power);
        before = qalcopy(powers + i * stride, power);
    }
    qalcopy(powers, x);
    qal::base::wipe(square, sizeof square);
    qal::base::wipe(power, sizeof power);
    return powers;
}
