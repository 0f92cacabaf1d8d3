// Bit strings, signed numbers, Euclid's algorithm and the exponentiation, against GMP.
#include "rsa/model.hpp"
#include "support/preconditions.hpp"

#include <gtest/gtest.h>

#include <unistd.h>

using namespace qal::test;

namespace {

constexpr uint32_t none = 0xffffffff;

// A signed number of the library.
qalsi signed_number(const mpz_class &value, int32_t sign_of_zero = 1)
{
    qalsi s;
    std::memset(&s, 0xa5, sizeof s);
    Number magnitude(abs(value));
    std::memcpy(s.mag, magnitude.words(), (magnitude.words()[0] + 1) * sizeof(qald));
    s.sign = sgn(value) == 0 ? sign_of_zero : sgn(value);
    return s;
}

mpz_class value_of(const qalsi &s)
{
    EXPECT_TRUE(is_normalised(s.mag));
    EXPECT_TRUE(s.sign == 1 || s.sign == -1);
    return s.sign * qal::test::value_of(s.mag);
}

mpz_class some_signed(Random &random, size_t most)
{
    const mpz_class value = random_number(random, random.below(most + 1));
    return random.below(2) ? value : mpz_class(-value);
}

} // namespace

TEST(BitString, Begin)
{
    for (const int32_t bits : {0, 1, 63, 64, 65, 127, 128, 129, 8128, 8319, 8320}) {
        const size_t words = (static_cast<size_t>(bits) + 63) / 64;
        Number bs(0, words);
        EXPECT_EQ(qalbscr(bs, bits, 0x0123456789abcdef), bs.words());
        EXPECT_EQ(qalbslen(bs), 64 * words);
        for (size_t i = 0; i <= words; i++)
            EXPECT_EQ(bs.words()[i], i == 0 ? words : 0x0123456789abcdef);
    }
}

TEST(BitString, SetBit)
{
    for (const size_t words : {size_t{0}, size_t{1}, size_t{2}, size_t{130}}) {
        for (const uint64_t fill : {uint64_t{0}, ~uint64_t{0}, uint64_t{0xaaaaaaaa}}) {
            Number bs(0, words), expected(0, words);
            for (uint64_t i = 0; i < 64 * words; i++) {
                for (const uint32_t val : {0u, 1u}) {
                    qalbscr(bs, static_cast<int32_t>(64 * words), fill);
                    qalbscr(expected, static_cast<int32_t>(64 * words), fill);
                    qald &word = expected.words()[1 + i / 64];
                    word = (word & ~(qald{1} << i % 64)) | (qald{val} << i % 64);
                    ASSERT_EQ(qalbssetbit(bs, i, val), val);
                    ASSERT_EQ(std::memcmp(bs.words(), expected.words(), (words + 1) * sizeof(qald)),
                              0);
                }
            }
            qalbscr(bs, static_cast<int32_t>(64 * words), fill);
            const uint64_t end = 64 * words;
            for (const uint64_t i :
                 {end, end + 1, end + 63, end + 64, uint64_t{1} << 63, ~uint64_t{0}}) {
                EXPECT_EQ(qalbssetbit(bs, i, 1), none);
                EXPECT_EQ(qalbssetbit(bs, i, 0), none);
            }
            for (size_t i = 1; i <= words; i++)
                EXPECT_EQ(bs.words()[i], fill);
        }
    }
}

TEST(BitString, NextValue)
{
    Random random;
    for (size_t words = 0; words < 6; words++) {
        for (int repeat = 0; repeat < 50; repeat++) {
            Number bs(0, words);
            bs.words()[0] = words;
            for (size_t i = 1; i <= words; i++)
                bs.words()[i] = random.below(3) == 0   ? 0
                                : random.below(2) == 0 ? ~qald{0}
                                                       : random.word() & random.word();
            for (uint64_t i = 0; i < 64 * words + 70; i++) {
                for (const int32_t v : {0, 1}) {
                    uint64_t expected = i + 1;
                    while (expected < 64 * words &&
                           (bs.words()[1 + expected / 64] >> expected % 64 & 1) !=
                               static_cast<qald>(v))
                        expected++;
                    ASSERT_EQ(qalbsnextval(bs, i, v), expected < 64 * words ? expected : none);
                }
                ASSERT_EQ(qalbsnextval(bs, i, 2), none);
                ASSERT_EQ(qalbsnextval(bs, i, -1), none);
            }
            if (words > 0) {
                const bool first = (bs.words()[1] & 1) != 0;
                EXPECT_EQ(qalbsnextval(bs, ~uint64_t{0}, first), 0u);
            }
        }
    }
}

TEST(BitString, Preconditions)
{
    const std::string limit = "l <= ((((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3)-1)";
    Number bs(0, 130);
    EXPECT_PRECONDITION(qalbscr(bs, 8321, 0), limit, "../src/rsa/qalbs", "qalbscr");
    EXPECT_PRECONDITION(qalbscr(bs, 0x7fffffff, 0), limit, "../src/rsa/qalbs", "qalbscr");
    qalbscr(bs, 64, 0);
    const std::string bit = "(val == 0) || (val == 1)";
    EXPECT_PRECONDITION(qalbssetbit(bs, 0, 2), bit, "../src/rsa/qalbs", "qalbssetbit");
    EXPECT_PRECONDITION(qalbssetbit(bs, 64, none), bit, "../src/rsa/qalbs", "qalbssetbit");
}

TEST(Signed, CreateAndCopy)
{
    Random random;
    for (size_t n = 0; n <= 64; n++) {
        const mpz_class value = random_number(random, n);
        Number x(value);
        qalsi s;
        std::memset(&s, 0xa5, sizeof s);
        EXPECT_EQ(qalsicr(&s, x), &s);
        EXPECT_EQ(value_of(s), value);
        EXPECT_EQ(s.sign, 1);
        s.sign = -1;
        qalsi d;
        EXPECT_EQ(qalsicopy(&d, &s), &d);
        EXPECT_EQ(value_of(d), -value);
        EXPECT_EQ(d.sign, -1);
        EXPECT_EQ(qalsicopy(&d, &d), &d);
        EXPECT_EQ(value_of(d), -value);
    }
}

TEST(Signed, Subtract)
{
    Random random;
    for (int repeat = 0; repeat < 3000; repeat++) {
        const mpz_class x = some_signed(random, 63);
        const mpz_class y = random.below(6) == 0   ? x
                            : random.below(6) == 0 ? mpz_class(-x)
                                                   : some_signed(random, 63);
        const int32_t zero = random.below(2) ? 1 : -1;
        qalsi a = signed_number(x, zero), b = signed_number(y, -zero);
        const qalsi b_before = b;
        const int32_t sign = a.sign;
        EXPECT_EQ(qalsisub(&a, &b), &a);
        ASSERT_EQ(value_of(a), x - y);
        // A zero, and every result that is not reached through zero, has the sign that was.
        if (abs(x) >= abs(y) || sgn(x) * sgn(y) < 0) {
            ASSERT_EQ(a.sign, sign);
        }
        EXPECT_EQ(value_of(b), value_of(b_before));
    }
    for (const int32_t sign : {1, -1}) {
        qalsi a = signed_number(sign * 5);
        EXPECT_EQ(qalsisub(&a, &a), &a);
        EXPECT_EQ(value_of(a), 0);
        EXPECT_EQ(a.sign, sign);
    }
}

TEST(Signed, SubtractProduct)
{
    Random random;
    for (int repeat = 0; repeat < 3000; repeat++) {
        const mpz_class x = some_signed(random, 63), y = some_signed(random, 31);
        const mpz_class factor = random_number(random, random.below(32));
        qalsi a = signed_number(x), b = signed_number(y), d;
        Number q(factor);
        EXPECT_EQ(qalsisubmul(&d, &a, q, &b), &d);
        ASSERT_EQ(value_of(d), x - factor * y);
        qalsi in_a = a, in_b = b;
        EXPECT_EQ(qalsisubmul(&in_a, &in_a, q, &b), &in_a);
        ASSERT_EQ(value_of(in_a), x - factor * y);
        EXPECT_EQ(qalsisubmul(&in_b, &a, q, &in_b), &in_b);
        ASSERT_EQ(value_of(in_b), x - factor * y);
    }
    // A product that cancels against more than its result has room for.
    const mpz_class large = (mpz_class(1) << 4096) - 1;
    qalsi a = signed_number(large), b = signed_number(large);
    Number one(1);
    qalsisubmul(&a, &a, one, &b);
    EXPECT_EQ(value_of(a), 0);
}

TEST(Euclid, GreatestCommonDivisor)
{
    Random random;
    for (int repeat = 0; repeat < 2000; repeat++) {
        const mpz_class factor = random_number(random, random.below(10));
        const mpz_class x = factor * random_number(random, random.below(40)),
                        y = random.below(20) == 0
                                ? x
                                : mpz_class(factor * random_number(random, random.below(40)));
        const mpz_class expected = gcd(x, y);
        Number a(x), b(y), g(0, std::max(digits_of(x), digits_of(y)));
        EXPECT_EQ(GCD(a, b, g), g.words());
        ASSERT_EQ(value_of(g), expected);
        ASSERT_TRUE(is_normalised(g));
        Number in_a(x, std::max(digits_of(x), digits_of(y))),
            in_b(y, std::max(digits_of(x), digits_of(y)));
        ASSERT_EQ(value_of(GCD(in_a, b, in_a)), expected);
        ASSERT_EQ(value_of(GCD(a, in_b, in_b)), expected);
    }
    Number zero(0), twelve(12), eighteen(18), g(0, 1);
    EXPECT_EQ(value_of(GCD(twelve, eighteen, g)), 6);
    EXPECT_EQ(value_of(GCD(eighteen, twelve, g)), 6);
    EXPECT_EQ(value_of(GCD(zero, twelve, g)), 12);
    EXPECT_EQ(value_of(GCD(twelve, zero, g)), 12);
    EXPECT_EQ(value_of(GCD(zero, zero, g)), 0);
}

TEST(Euclid, Inverse)
{
    Random random;
    for (int repeat = 0; repeat < 2000; repeat++) {
        mpz_class m = random_number(random, 1 + random.below(32));
        if (m < 2)
            m += 2;
        mpz_class x = random_number(random, random.below(34));
        if (random.below(8) == 0)
            x = m - 1;
        if (random.below(8) == 0)
            x = 1;
        while (gcd(x, m) != 1 || x == 0)
            x += 1;
        Number a(x, std::max(digits_of(x), digits_of(m))), modulus(m);
        ASSERT_EQ(inv_mod_extgcd(a, modulus), a.words());
        ASSERT_EQ(value_of(a), x == 1 ? mpz_class(1) : inverse(x, m)) << x << " mod " << m;
        ASSERT_TRUE(is_normalised(a));
        ASSERT_EQ(value_of(modulus), m);
    }
}

// There is no other answer to the question for an inverse that does not exist.
TEST(Euclid, NoInverseDoesNotEnd)
{
    for (const unsigned x : {0u, 6u, 9u}) {
        EXPECT_EXIT(
            {
                Number a(x, 1);
                Number m(9);
                alarm(1);
                inv_mod_extgcd(a, m);
            },
            testing::KilledBySignal(SIGALRM), "");
    }
}

TEST(RsaPowMod, AgainstGmp)
{
    Random random;
    for (int repeat = 0; repeat < 600; repeat++) {
        const size_t n = 1 + random.below(16);
        mpz_class m = random_number(random, n);
        m |= 1;
        const mpz_class e = random_number(random, random.below(random.below(4) ? n + 1 : 20));
        const mpz_class x = random.below(10) == 0 ? m
                            : random.below(10) == 0
                                ? mpz_class(m - 1)
                                : random_number(random, random.below(2 * n + 3));
        const mpz_class expected = power(x, e, m);
        Number base(x), exponent(e), modulus(m), r(0, digits_of(m));
        ASSERT_EQ(rsapowmod(base, exponent, modulus, r), r.words());
        ASSERT_EQ(value_of(r), expected) << x << "^" << e << " mod " << m;
        ASSERT_TRUE(is_normalised(r));

        Number in_x(x, std::max(digits_of(x), digits_of(m)));
        ASSERT_EQ(value_of(rsapowmod(in_x, exponent, modulus, in_x)), expected);
        Number in_e(e, std::max(digits_of(e), digits_of(m)));
        ASSERT_EQ(value_of(rsapowmod(base, in_e, modulus, in_e)), expected);
        Number in_m(m);
        ASSERT_EQ(value_of(rsapowmod(base, exponent, in_m, in_m)), expected);
    }
}

TEST(RsaPowMod, Edges)
{
    for (const unsigned x : {0u, 1u, 2u, 7u, 8u}) {
        for (const unsigned e : {0u, 1u, 2u, 5u}) {
            for (const unsigned m : {1u, 3u, 7u, 9u}) {
                Number base(x), exponent(e), modulus(m), r(0, 1);
                EXPECT_EQ(value_of(rsapowmod(base, exponent, modulus, r)), power(x, e, m))
                    << x << " " << e << " " << m;
            }
        }
    }
    Number base(5), exponent(3), zero(0), r(0, 1);
    EXPECT_EQ(value_of(rsapowmod(base, exponent, zero, r)), 0);
}
