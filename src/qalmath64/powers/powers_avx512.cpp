// The powers of powers.hpp in digits of 52 bits, for moduli that gain from it.
#include "qalmath64/powers/form52_avx512.hpp"

namespace qal::math {
namespace {

// Below, digits of 64 bits are as fast: a table's conversion, or many products of one modulus.
constexpr size_t fewest_digits_of_table = 8;
constexpr size_t fewest_secret_digits = 5;
constexpr size_t fewest_public_digits = 16;

static_assert(most_secret_digits <= most_digits52 && most_public_digits <= most_digits52);

// Products keep their columns on the stack.
constexpr size_t kernel_stack = 4096;

} // namespace

void raise_odd_powers_var_avx512(qald *r, const qald *table, size_t stride, const qald *e,
                                 const qald *p)
{
    if (p[0] < fewest_digits_of_table || p[0] > most_digits52)
        return raise_odd_powers_var_portable(r, table, stride, e, p);
    Form52 form(p + 1, p[0]);
    sliding_var(form, r, table, stride, e, p[0]);
}

void power_secret_avx512(const SecretPower &power, size_t n, size_t bits)
{
    if (n < fewest_secret_digits)
        return power_secret_portable(power, n, bits);
    Lane<Form52> lanes[] = {{power, n}};
    fixed(lanes, n, bits);
    base::wipe_stack<kernel_stack>();
}

void power_secret_pair_avx512(const SecretPower &first, const SecretPower &second, size_t n,
                              size_t bits)
{
    if (n < fewest_secret_digits)
        return power_secret_pair_portable(first, second, n, bits);
    Lane<Form52> lanes[] = {{first, n}, {second, n}};
    fixed(lanes, n, bits);
    base::wipe_stack<kernel_stack>();
}

void power_public_var_avx512(const PublicPower &power)
{
    if (power.p[0] < fewest_public_digits)
        return power_public_var_portable(power);
    base::run_on_wiped_stack<kernel_stack>([&] {
        Form52 form(power.p + 1, power.p[0]);
        upward_var(form, power);
    });
}

} // namespace qal::math
