// Powers by the bits of the exponent from the lowest one up, in all variants, against GMP.
#include "qalmath64/powers/powers.hpp"
#include "support/numbers.hpp"
#include "support/sweeps.hpp"

#include <gtest/gtest.h>

using namespace qal::test;
using namespace qal::math;

namespace {

QAL_POWER_ROUTINES(QAL_VARIANT_TABLE);

mpz_class reversed_bits(const mpz_class &e)
{
    mpz_class r = 0;
    for (size_t i = 0; i < mpz_sizeinbase(e.get_mpz_t(), 2); i++)
        r = 2 * r + (mpz_tstbit(e.get_mpz_t(), i) ? 1 : 0);
    return r;
}

} // namespace

TEST(PublicPower, AgainstGmp)
{
    each_variant(power_public_var_variants, [](const auto &variant) {
        Random random;
        for (size_t n = 1; n <= most_public_digits; n++) {
            for (int repeat = 0; repeat < 60; repeat++) {
                // A modulus is not less than the 2^8th part of what its digits hold.
                mpz_class m = random_number(random, n);
                if (repeat % 3 == 0)
                    m = mpz_class(1) << (64 * n - 8);
                mpz_setbit(m.get_mpz_t(), 64 * n - 1 - random.below(8));
                m |= 1;
                const mpz_class ones = (mpz_class(1) << (64 * n)) - 1;
                const mpz_class x = repeat % 10 == 0   ? ones
                                    : repeat % 10 == 1 ? mpz_class(m - 1)
                                    : repeat % 10 == 2 ? m
                                    : repeat % 10 == 3 ? mpz_class(0)
                                                       : random_number(random, n);
                mpz_class e =
                    repeat % 2 ? mpz_class(65537) : random_number(random, 1 + random.below(2));
                if (repeat % 14 == 0)
                    e = mpz_class(1) << random.below(70);
                Number modulus(m), exponent(e);
                Digits base(x, n), r(0, n), in_place(x, n);
                mpz_class expected;
                const mpz_class reversed = reversed_bits(e);
                mpz_powm(expected.get_mpz_t(), x.get_mpz_t(), reversed.get_mpz_t(), m.get_mpz_t());
                variant.run({r, base, modulus, exponent});
                ASSERT_EQ(r.value(), expected) << x << "^" << e << " mod " << m;
                variant.run({in_place, in_place, modulus, exponent});
                ASSERT_EQ(in_place.value(), expected);
            }
        }
    });
}
