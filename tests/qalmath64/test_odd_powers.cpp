// Exponentiation from tables of odd powers, in all variants, against GMP.
#include "qalmath64/powers/powers.hpp"

#include "qalmath64/powers/number_forms.hpp"
#include "support/numbers.hpp"
#include "support/preconditions.hpp"
#include "support/sweeps.hpp"

#include <gtest/gtest.h>

using namespace qal::test;
using namespace qal::math;

namespace {

QAL_POWER_ROUTINES(QAL_VARIANT_TABLE);

// The odd powers of x in Montgomery form, `stride` words apart. Their digits end before an
// inaccessible page; what they do not fill of their room is not zero.
class Table {
public:
    Table(const mpz_class &x, const mpz_class &p, size_t stride)
        : bytes_(odd_powers * stride * sizeof(qald)),
          words_(reinterpret_cast<qald *>(bytes_.data()))
    {
        const mpz_class form = power_of_two(64 * digits_of(p)) % p, square = x * x % p;
        mpz_class power = x * form % p;
        std::memset(words_, 0xa5, odd_powers * stride * sizeof(qald));
        for (size_t i = 0; i < odd_powers; i++) {
            qald *const entry = words_ + i * stride;
            entry[0] = digits_of(power);
            for (size_t j = 0; j < entry[0]; j++)
                entry[j + 1] = mpz_getlimbn(power.get_mpz_t(), static_cast<mp_size_t>(j));
            power = power * square % p;
        }
    }

    operator const qald *() const { return words_; }

private:
    GuardedBytes bytes_;
    qald *words_;
};

void check(const mpz_class &x, const mpz_class &e, const mpz_class &p, size_t stride)
{
    const size_t n = digits_of(p);
    SCOPED_TRACE(std::to_string(n) + " digits, stride " + std::to_string(stride));
    const Table table(x, p, stride);
    Number exponent(e), modulus(p);
    mpz_class expected;
    mpz_powm(expected.get_mpz_t(), x.get_mpz_t(), e.get_mpz_t(), p.get_mpz_t());
    expected = expected * power_of_two(64 * n) % p;
    each_variant(raise_odd_powers_var_variants, [&](const auto &raise) {
        Number r(0, n);
        raise.run(r, table, stride, exponent, modulus);
        ASSERT_TRUE(is_normalised(r));
        ASSERT_EQ(value_of(r), expected);
    });
}

mpz_class modulus(Random &random, size_t n)
{
    switch (random.below(6)) {
    case 0:
        return power_of_two(64 * n) - 1;
    case 1:
        return power_of_two(64 * n - 1) + 1;
    case 2:
        return power_of_two(64 * (n - 1)) | 1;
    default:
        return random_number(random, n) | 1;
    }
}

} // namespace

TEST(OddPowers, OfAllLengths)
{
    Random random;
    for (size_t n = 1; n <= 40; n++) {
        for (int round = 0; round < 12; round++) {
            const mpz_class p = modulus(random, n);
            mpz_class x = random_number(random, random.below(n + 1)) % p;
            if (round == 0)
                x = p - 1;
            const size_t digits = 1 + random.below(round % 4 == 0 ? n : 2);
            check(x, random_number(random, digits), p, round % 2 ? n + 1 : QALBIG_SIZE);
        }
    }
}

TEST(OddPowers, OfAllSmallExponents)
{
    Random random;
    for (size_t n = 7; n <= 32; n += 5) {
        const mpz_class p = modulus(random, n), x = random_number(random, n) % p;
        for (unsigned e = 1; e <= 130; e++)
            check(x, e, p, n + 1);
    }
}

// No product of numbers with 66 digits has room. Exponents of one window take none.
TEST(OddPowersDeathTest, OfTooManyDigits)
{
    constexpr char room[] = "(*a)*2 <= ((((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3)-1)";
    constexpr size_t n = 66;
    const mpz_class p = power_of_two(64 * n) - 1, x = p - 2;
    check(x, 1, p, n + 1);
    const Table table(x, p, n + 1);
    Number r(0, n), e(2), modulus(p);
    each_variant(raise_odd_powers_var_variants, [&](const auto &raise) {
        EXPECT_PRECONDITION(raise.run(r, table, n + 1, e, modulus), room,
                            "../src/qalmath64/qalsqrmont", "qalsqrmont");
    });
}
