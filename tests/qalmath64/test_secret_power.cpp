// Exponentiation for secrets, in all variants, against GMP.
#include "qalmath64/powers/powers.hpp"
#include "support/numbers.hpp"
#include "support/sweeps.hpp"

#include <gtest/gtest.h>

using namespace qal::test;
using namespace qal::math;

namespace {

QAL_POWER_ROUTINES(QAL_VARIANT_TABLE);

mpz_class power_modulo(const mpz_class &x, const mpz_class &e, const mpz_class &p)
{
    mpz_class r;
    mpz_powm(r.get_mpz_t(), x.get_mpz_t(), e.get_mpz_t(), p.get_mpz_t());
    return r;
}

// An odd number of n digits, the highest not zero: among them the least, the greatest, and those
// whose highest bit is at either end of the digit.
mpz_class modulus(Random &random, size_t n)
{
    switch (random.below(8)) {
    case 0:
        return power_of_two(64 * n) - 1;
    case 1:
        return power_of_two(64 * n - 1) + 1;
    case 2:
        return (power_of_two(64 * (n - 1)) + random_number(random, random.below(n))) | 1;
    case 3:
        return random_number(random, n) % power_of_two(64 * n - random.below(63)) |
               power_of_two(64 * n - 64) | 1;
    default:
        return random_number(random, n) | 1;
    }
}

mpz_class base(Random &random, const mpz_class &p, size_t n)
{
    switch (random.below(10)) {
    case 0:
        return 0;
    case 1:
        return 1;
    case 2:
        return p - 1;
    case 3:
        return p;
    case 4:
        return p * power_of_two(64 * n) - 1;
    case 5:
        return p * (power_of_two(64 * n) - 1);
    case 6:
        return random_number(random, random.below(n + 1)) % p;
    default:
        return random_number(random, 2 * n) % (p * power_of_two(64 * n));
    }
}

mpz_class exponent(Random &random, size_t bits)
{
    mpz_class e = random_number(random, bits / 64 + 1) % power_of_two(bits);
    switch (random.below(8)) {
    case 0:
        return 0;
    case 1:
        return bits > 0 ? 1 : 0;
    case 2:
        return power_of_two(bits) - 1;
    case 3:
        return power_of_two(bits) >> 1;
    case 4:
        return e >> random.below(bits + 1);
    default:
        return e;
    }
}

// What one exponentiation takes, between inaccessible pages, and what it shall give.
struct Case {
    Case(Random &random, size_t n, size_t bits) : Case(modulus(random, n), random, n, bits) {}
    Case(const mpz_class &p_value, Random &random, size_t n, size_t bits)
        : Case(p_value, base(random, p_value, n), exponent(random, bits), n, bits)
    {
    }
    Case(const mpz_class &p_value, const mpz_class &x_value, const mpz_class &e_value, size_t n,
         size_t bits)
        : expected(power_modulo(x_value, e_value, p_value)), r(0, n), x(x_value, 2 * n),
          e(e_value, (bits + 63) / 64), p(p_value, n)
    {
    }

    SecretPower power() { return {r, x, e, p}; }

    mpz_class expected;
    Digits r, x, e, p;
};

size_t exponent_bits(Random &random, size_t n)
{
    static constexpr size_t some[] = {0,  1,  2,   5,   8,   9,   24,  25,  63,  64, 65,
                                      80, 81, 128, 159, 160, 161, 240, 241, 255, 256};
    return random.below(4) != 0 ? some[random.below(std::size(some))] : 64 * n - random.below(3);
}

} // namespace

TEST(SecretPower, PowersOfTwo)
{
    Random random;
    for (size_t n = 1; n <= most_secret_digits; n++) {
        for (int round = 0; round < 200; round++) {
            const size_t bits = 64 * n + random.below(round % 8 == 0 ? 64 * n : 200);
            const mpz_class p = modulus(random, n);
            const Digits divisor(p, n);
            Digits r(0, n);
            power_of_two_secret(r, bits, divisor, n);
            ASSERT_EQ(r.value(), power_of_two(bits) % p) << p << " " << bits;
        }
    }
}

TEST(SecretPower, Singles)
{
    Random random;
    for (size_t n = 1; n <= most_secret_digits; n++) {
        for (int round = 0; round < 40; round++) {
            const size_t bits = exponent_bits(random, n);
            Case c(random, n, bits);
            SCOPED_TRACE(std::to_string(n) + " digits, " + std::to_string(bits) + " bits");
            each_variant(power_secret_variants, [&](const auto &power) {
                power.run(c.power(), n, bits);
                ASSERT_EQ(c.r.value(), c.expected);
            });
        }
    }
}

TEST(SecretPower, Pairs)
{
    Random random;
    for (size_t n = 1; n <= most_secret_digits; n++) {
        for (int round = 0; round < 20; round++) {
            const size_t bits = exponent_bits(random, n);
            Case first(random, n, bits), second(random, n, bits);
            SCOPED_TRACE(std::to_string(n) + " digits, " + std::to_string(bits) + " bits");
            each_variant(power_secret_pair_variants, [&](const auto &power) {
                power.run(first.power(), second.power(), n, bits);
                ASSERT_EQ(first.r.value(), first.expected);
                ASSERT_EQ(second.r.value(), second.expected);
            });
        }
    }
}

// As for a private key: one base for both moduli.
TEST(SecretPower, PairsWithOneBase)
{
    Random random;
    for (size_t n = 4; n <= 16; n += 4) {
        const size_t bits = 64 * n;
        for (int round = 0; round < 5; round++) {
            const mpz_class p = modulus(random, n), q = modulus(random, n);
            const mpz_class x = random_number(random, 2 * n) % (p * q);
            Case first(p, x, exponent(random, bits), n, bits);
            Case second(q, x, exponent(random, bits), n, bits);
            each_variant(power_secret_pair_variants, [&](const auto &power) {
                SecretPower other = second.power();
                other.x = first.x;
                power.run(first.power(), other, n, bits);
                ASSERT_EQ(first.r.value(), first.expected);
                ASSERT_EQ(second.r.value(), second.expected);
            });
        }
    }
}

TEST(SecretPower, InPlace)
{
    Random random;
    for (size_t n = 1; n <= most_secret_digits; n++) {
        const size_t bits = 64 * n;
        each_variant(power_secret_variants, [&](const auto &power) {
            for (int operand = 0; operand < 4; operand++) {
                Case c(random, n, bits);
                qald *const places[] = {c.x, c.x + n, c.e, c.p};
                SecretPower job = c.power();
                job.r = places[operand];
                power.run(job, n, bits);
                const Digits &owner = operand < 2 ? c.x : operand == 2 ? c.e : c.p;
                const mpz_class r = owner.value(operand == 1 ? n : 0);
                ASSERT_EQ(operand == 0 ? mpz_class(r % power_of_two(64 * n)) : r, c.expected);
            }
        });
        each_variant(power_secret_pair_variants, [&](const auto &power) {
            Case first(random, n, bits), second(random, n, bits);
            SecretPower one = first.power(), other = second.power();
            one.r = first.x;
            other.r = second.p;
            power.run(one, other, n, bits);
            ASSERT_EQ(first.x.value() % power_of_two(64 * n), first.expected);
            ASSERT_EQ(second.p.value(), second.expected);
        });
    }
}
