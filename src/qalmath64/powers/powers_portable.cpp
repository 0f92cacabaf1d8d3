// The powers of powers.hpp in digits of 64 bits.
#include "qalmath64/powers/form64.hpp"
#include "qalmath64/powers/number_forms.hpp"

namespace qal::math {
namespace {

// Room for a product that is reduced: see qal_mont_mul.
constexpr size_t most_table_digits = 65;

// More than products of eight digits and less use of the stack, where they leave the last result.
constexpr size_t kernel_stack = 2048;

} // namespace

void raise_odd_powers_var_portable(qald *r, const qald *table, size_t stride, const qald *e,
                                   const qald *p)
{
    if (p[0] > most_table_digits) { // Numbers' products refuse what is too long for them.
        NumberPower<MontgomeryForm> power(usual_form(p), table, stride);
        slide_from_top_var(power, e);
        qalcopy(r, power.value());
        return;
    }
    Form64<most_table_digits> form(p + 1, p[0]);
    sliding_var(form, r, table, stride, e, p[0]);
}

void power_secret_portable(const SecretPower &power, size_t n, size_t bits)
{
    Lane<Form64<most_secret_digits>> lanes[] = {{power, n}};
    fixed(lanes, n, bits);
    base::wipe_stack<kernel_stack>();
}

void power_secret_pair_portable(const SecretPower &first, const SecretPower &second, size_t n,
                                size_t bits)
{
    Lane<Form64<most_secret_digits>> lanes[] = {{first, n}, {second, n}};
    fixed(lanes, n, bits);
    base::wipe_stack<kernel_stack>();
}

void power_public_var_portable(const PublicPower &power)
{
    Form64<most_public_digits> form(power.p + 1, power.p[0]);
    upward_var(form, power);
}

} // namespace qal::math
