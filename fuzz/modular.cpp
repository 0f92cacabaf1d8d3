// Montgomery arithmetic, inverses, exponentiation and primality, against GMP.
#include "numbers.hpp"

#include <qal/rsa.h>

using namespace qal::fuzz;

namespace {

void check_reduction(Input &in)
{
    const auto edge = in.edge();
    Modulus p(odd_number(in, 64), edge);
    const auto k = static_cast<uint32_t>(in.flag() ? in.below(64 * p.n + 64) : p.k);
    const mpz_class t = number(in, 2 * p.n + 1);
    Number x(t, 2 * p.n + 1, edge);
    expect_number(qalmontcom(p.c, k, p.p, x), x, p.reduced(t, k));

    const auto radix = static_cast<int32_t>(in.below(64 * 126));
    Number one(0, static_cast<size_t>(radix) / 64 + 3, edge);
    expect_number(qalunitymont(radix, p.p, one), one,
                  power_of_two(static_cast<size_t>(radix)) % p.value);
}

void check_products(Input &in)
{
    const auto edge = in.edge();
    Modulus p(odd_number(in, 64), edge);
    const auto k = static_cast<uint32_t>(in.flag() ? in.below(64 * p.n + 64) : p.k);
    const mpz_class a = number(in, p.n), b = number(in, p.n);
    Number x(a, digits_of(a), edge), y(b, digits_of(b), edge), t(0, 2 * p.n + 1, edge);
    expect_number(qalmulmont(p.c, k, p.p, x, y, t), t, p.reduced(a * b, k));
    expect_number(qalmulmont(p.c, k, p.p, x, x, t), t, p.reduced(a * a, k));
    expect_number(qalsqrmont(p.c, k, p.p, x, t), t, p.reduced(a * a, k));
    ASSERT_EQ(value_of(x), a);
    ASSERT_EQ(value_of(y), b);
    ASSERT_EQ(value_of(p.p), p.value);
}

void check_inverses(Input &in)
{
    const auto edge = in.edge();
    mpz_class m = number(in, 63), a = number(in, 63);
    if (m < 2)
        m = 3;
    mpz_class inverse;
    if (mpz_invert(inverse.get_mpz_t(), a.get_mpz_t(), m.get_mpz_t()) == 0) {
        // qalmodinv() comes to an end all the same.
        if (m % 2 != 0) {
            const mpz_class below = a % m;
            Number x(below, digits_of(below), edge), modulus(m, digits_of(m), edge),
                out(0, digits_of(m), edge);
            qalmodinv(x, modulus, out);
            if (below == 0) {
                ASSERT_EQ(value_of(out), m);
            }
        }
        return;
    }
    Number x(a, std::max(digits_of(a), digits_of(m)), edge), modulus(m, digits_of(m), edge);
    expect_number(inv_mod_extgcd(x, modulus), x, inverse);
    ASSERT_EQ(value_of(modulus), m);
    if (m % 2 == 0)
        return;
    a %= m;
    Number below(a, digits_of(m), edge), out(0, digits_of(m), edge);
    expect_number(qalmodinv(below, modulus, out), out, inverse);
    ASSERT_EQ(value_of(below), a);
    expect_number(qalmodinv(below, modulus, below), below, inverse);
    Number again(a, digits_of(a), edge);
    expect_number(qalmodinv(again, modulus, modulus), modulus, inverse);
}

// For public exponents, odd and even moduli.
void check_powers(Input &in)
{
    static qald work[18 * QALBIG_SIZE];
    const auto edge = in.edge();
    mpz_class p = number(in, 63);
    if (p < 2)
        p = 3;
    const size_t n = digits_of(p);
    const mpz_class x = number(in, n) % p, e = number(in, 6), expected = power_mod(x, e, p);
    Number base(x, digits_of(x), edge), exponent(e, digits_of(e), edge), modulus(p, n, edge),
        r(0, 2 * n + 2), place(x, 2 * n + 2, edge);
    expect_number(qalpowmod(work, base, exponent, modulus, r), r, expected);
    ASSERT_EQ(qalpowmodstart(work, base, modulus), work);
    expect_number(qalpowmodstop(work, exponent, modulus, r), r, expected);
    expect_number(qalpowmod(work, place, exponent, modulus, place), place, expected);
    ASSERT_EQ(value_of(base), x);
    ASSERT_EQ(value_of(modulus), p);
}

void check_powers_in_form(Input &in)
{
    static qald work[16 * QALBIG_SIZE];
    const auto edge = in.edge();
    mpz_class odd = odd_number(in, 64);
    if (odd == 1)
        odd = 3;
    Modulus p(odd, edge);
    const mpz_class x = number(in, p.n) % p.value, e = number(in, 6);
    const mpz_class expected = p.in_form(power_mod(x, e, p.value));
    Number base(p.in_form(x), p.n, edge), one(p.in_form(1), p.n, edge), exponent(e),
        r(0, 2 * p.n + 1, edge);
    ASSERT_EQ(qalpowmont(work, one, p.c, p.k, p.p, base, exponent, r), 0);
    expect_number(r, r, expected);
    const uint32_t w = 1 + static_cast<uint32_t>(in.below(9));
    const auto most = static_cast<uint32_t>(in.word(2));
    std::vector<qald> table(16 * (p.n + 1) + 131);
    ASSERT_EQ(qalmontic(table.data(), 5, p.c, p.k, p.p, base), table.data());
    expect_number(qalicpowmont(table.data(), w, most, one, p.c, p.k, p.p, exponent, r), r,
                  expected);
}

// For secret exponents.
void check_secret_powers(Input &in)
{
    const auto edge = in.edge();
    const mpz_class m = odd_number(in, 16), x = number(in, in.flag() ? 128 : digits_of(m)),
                    e = number(in, 16), expected = power_mod(x, e, m);
    const size_t n = digits_of(m);
    Number base(x, digits_of(x), edge), exponent(e, digits_of(e), edge), modulus(m, n, edge),
        r(0, n, edge);
    expect_number(rsapowmod(base, exponent, modulus, r), r, expected);
    ASSERT_EQ(value_of(base), x);
    ASSERT_EQ(value_of(exponent), e);
    ASSERT_EQ(value_of(modulus), m);
    Number in_base(x, std::max(n, digits_of(x)), edge), in_exponent(e, std::max(n, digits_of(e)));
    expect_number(rsapowmod(in_base, exponent, modulus, in_base), in_base, expected);
    expect_number(rsapowmod(base, in_exponent, modulus, in_exponent), in_exponent, expected);
    expect_number(rsapowmod(base, exponent, modulus, modulus), modulus, expected);
}

void check_windows(Input &in)
{
    const mpz_class e = number(in, 20);
    Number number(e, digits_of(e), in.edge());
    const uint64_t n = 1 + in.below(31), i = in.below(2000);
    ASSERT_EQ(qalgetwin(number, i, n), mpz_class((e >> (i * n)) % power_of_two(n)).get_ui());

    // The windows of a scan from the left are the whole number.
    const auto w = static_cast<int64_t>(1 + in.below(20));
    mpz_class seen = 0;
    for (uint64_t left = qalbitlen(number, 1); left > 0;) {
        int64_t length = 0;
        const uint64_t window = qalgetslide(number, left - 1, w, &length);
        ASSERT_TRUE(length > 0 && static_cast<uint64_t>(length) <= left);
        ASSERT_TRUE(window == 0 || (window % 2 == 1 && length <= w));
        seen = (seen << static_cast<size_t>(length)) + window;
        left -= static_cast<uint64_t>(length);
    }
    ASSERT_EQ(seen, e);
}

void check_primality(Input &in)
{
    mpz_class x = number(in, 8);
    if (in.flag())
        mpz_nextprime(x.get_mpz_t(), x.get_mpz_t());
    if (x == 1)
        x = 3;
    Number number(x, digits_of(x), in.edge());
    ASSERT_EQ(qalrmt(number, 20) != 0, mpz_probab_prime_p(x.get_mpz_t(), 30) != 0);
    ASSERT_EQ(value_of(number), x);
}

} // namespace

QAL_FUZZ_TARGET
{
    static constexpr decltype(&check_reduction) checks[] = {
        check_reduction,      check_products,      check_inverses, check_powers,
        check_powers_in_form, check_secret_powers, check_windows,  check_primality};
    in.one_of(checks)(in);
}
