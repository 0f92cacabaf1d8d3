// Every variant of the public operation's power, against GMP.
#include "rsa/model.hpp"
#include "rsa/public_power.hpp"
#include "support/sweeps.hpp"

#include <gtest/gtest.h>

using namespace qal::test;
using namespace qal::rsa;

namespace {

const std::vector<Variant<void(const PublicPower &)>> variants = {
    {"portable", 0, public_power_portable},
    {"avx512", qal::base::cpu_avx512, public_power_avx512},
};

mpz_class reversed_bits(const mpz_class &e)
{
    mpz_class r = 0;
    for (size_t i = 0; i < bits_of(e); i++)
        r = 2 * r + (mpz_tstbit(e.get_mpz_t(), i) ? 1 : 0);
    return r;
}

} // namespace

TEST(PublicPower, AgainstGmp)
{
    each_variant(variants, [](const auto &variant) {
        Random random;
        for (size_t n = 1; n <= modulus_digits; n++) {
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
                const mpz_class expected = power(x, reversed_bits(e), m);
                variant.run({r, base, modulus, exponent});
                ASSERT_EQ(r.value(), expected) << x << "^" << e << " mod " << m;
                variant.run({in_place, in_place, modulus, exponent});
                ASSERT_EQ(in_place.value(), expected);
            }
        }
    });
}
