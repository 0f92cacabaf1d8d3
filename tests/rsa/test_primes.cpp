// The random pool, the tests of primality and the search for primes, against a plain model.
#include "rsa/model.hpp"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <tuple>

using namespace qal::test;

namespace {

// Odd numbers of so many bits: primes, products of two, and whatever comes.
mpz_class some_odd(Random &random, size_t bits)
{
    mpz_class x = from_bytes(random.bytes((bits + 7) / 8));
    mpz_fdiv_r_2exp(x.get_mpz_t(), x.get_mpz_t(), bits);
    mpz_setbit(x.get_mpz_t(), bits - 1);
    x |= 1;
    if (random.below(2))
        mpz_nextprime(x.get_mpz_t(), x.get_mpz_t());
    return x;
}

PoolGenerator constant_generator(uint8_t byte)
{
    PoolGenerator generator(1);
    generator.style = PoolGenerator::Style::constant;
    generator.constant = byte;
    return generator;
}

} // namespace

TEST(RandomPool, Begin)
{
    PoolGenerator generator(1);
    const InstalledGenerator installed(generator);
    InstalledGenerator::answer() = 12345;
    Number n(97);
    rsa_keygen_rp rp;
    std::memset(&rp, 0xa5, sizeof rp);
    EXPECT_EQ(rsa_keygen_rp_init(&rp, n), 12345);
    InstalledGenerator::answer() = 0;
    EXPECT_EQ(rp.n, n.words());
    EXPECT_EQ(rp.pos, 0);
    EXPECT_EQ(Bytes(rp.pool, rp.pool + 256), generator.next());
    EXPECT_EQ(InstalledGenerator::calls(), 1u);
}

TEST(RandomPool, BasesShareAllBytesButOne)
{
    Random random;
    for (const size_t bits : std::vector<size_t>{2, 3, 7, 8, 9, 63, 64, 65, 255, 256, 511, 512,
                                                 1023, 1024, 2047, 2048}) {
        const mpz_class value = some_odd(random, bits);
        PoolGenerator generator(bits);
        const InstalledGenerator installed(generator);
        ModelPool model(generator, value);
        Number n(value);
        rsa_keygen_rp rp;
        rsa_keygen_rp_init(&rp, n);
        for (int i = 0; i < 600; i++) {
            Number out(0, digits_of(value) + 1);
            ASSERT_EQ(rsa_keygen_rp_get(&rp, out), out.words());
            ASSERT_EQ(value_of(out), model.draw()) << bits << " bits, base " << i;
            ASSERT_TRUE(is_normalised(out));
            ASSERT_EQ(static_cast<size_t>(rp.pos), model.position);
            ASSERT_EQ(InstalledGenerator::calls(), generator.calls);
        }
    }
}

TEST(RandomPool, WithoutGeneratorNothingEnds)
{
    EXPECT_EXIT(
        {
            uint8_t buffer[256];
            alarm(1);
            dummy_gen_rnd(buffer, sizeof buffer);
        },
        testing::KilledBySignal(SIGALRM), "");
    EXPECT_EQ(rsa_gen_rnd, dummy_gen_rnd);
    EXPECT_EXIT(
        {
            Number n(1009);
            alarm(1);
            std::ignore = isPrime(n);
        },
        testing::KilledBySignal(SIGALRM), "");
    // Zeros are no bases.
    EXPECT_EXIT(
        {
            const InstalledGenerator installed(constant_generator(0));
            Number n(1009);
            alarm(1);
            std::ignore = isPrime(n);
        },
        testing::KilledBySignal(SIGALRM), "");
}

TEST(MillerRabin, AgainstModel)
{
    Random random;
    for (int repeat = 0; repeat < 400; repeat++) {
        const size_t bits = random.below(3) ? 3 + random.below(100) : 100 + random.below(925);
        const mpz_class value = some_odd(random, bits);
        const auto rounds = static_cast<uint32_t>(random.below(6));
        PoolGenerator generator(random.word());
        const InstalledGenerator installed(generator);
        Number n(value);
        const bool expected = model_miller_rabin(generator, value, rounds);
        ASSERT_EQ(RabinMiller(n, rounds), expected) << value << ", rounds " << rounds;
        ASSERT_EQ(InstalledGenerator::calls(), generator.calls);
    }
}

// All odd numbers that are small, with few rounds, so that many composite numbers pass: each base
// must be the model's.
TEST(MillerRabin, Liars)
{
    PoolGenerator generator(7);
    const InstalledGenerator installed(generator);
    size_t liars = 0;
    for (unsigned value = 3; value < 6000; value += 2) {
        Number n(value);
        const bool expected = model_miller_rabin(generator, value, 1);
        ASSERT_EQ(RabinMiller(n, 1), expected) << value;
        liars += expected && mpz_probab_prime_p(mpz_class(value).get_mpz_t(), 30) == 0;
    }
    EXPECT_GT(liars, 3u);
    EXPECT_EQ(InstalledGenerator::calls(), generator.calls);
}

// Numbers with many factors of two below them take many squarings.
TEST(MillerRabin, Squarings)
{
    for (const unsigned shift : {1u, 2u, 3u, 62u, 63u, 64u, 65u, 127u, 128u, 1000u}) {
        for (unsigned odd = 1; odd < 200; odd += 2) {
            const mpz_class value = (mpz_class(odd) << shift) + 1;
            PoolGenerator generator(odd);
            const InstalledGenerator installed(generator);
            Number n(value);
            ASSERT_EQ(RabinMiller(n, 2), model_miller_rabin(generator, value, 2)) << value;
        }
    }
}

TEST(MillerRabin, EvenNumbersCostOnePool)
{
    Random random;
    for (const unsigned digit : {0u, 2u, 4u, 0x80000000u}) {
        for (size_t n = 0; n <= 16; n++) {
            PoolGenerator generator(n);
            const InstalledGenerator installed(generator);
            Number x((n == 0 ? mpz_class(0) : random_number(random, n) << 64) + digit);
            EXPECT_EQ(RabinMiller(x, 5), 0);
            EXPECT_EQ(InstalledGenerator::calls(), 1u);
        }
    }
    PoolGenerator generator(1);
    const InstalledGenerator installed(generator);
    Number one(1);
    EXPECT_EQ(RabinMiller(one, 1), 0);
}

TEST(IsPrime, SmallNumbersAgainstModel)
{
    PoolGenerator generator(3);
    const InstalledGenerator installed(generator);
    for (unsigned value = 2; value < 20000; value++) {
        Number n(value);
        ASSERT_EQ(isPrime(n), model_is_prime(generator, value)) << value;
    }
    EXPECT_EQ(InstalledGenerator::calls(), generator.calls);
    Number zero(0), one(1);
    EXPECT_EQ(isPrime(zero), 0);
    EXPECT_EQ(isPrime(one), 0);
}

TEST(IsPrime, DivisorsOfLongNumbers)
{
    Random random;
    const std::vector<unsigned> primes = primes_up_to(997);
    ASSERT_EQ(primes.size(), 168u);
    for (size_t digits = 1; digits <= 16; digits++) {
        const mpz_class prime = random_prime(random, 64 * digits - 10);
        for (const unsigned p : primes) {
            // Composite numbers that bases of ones would not find.
            const InstalledGenerator installed(constant_generator(0xff));
            Number n(prime * p);
            ASSERT_EQ(isPrime(n), 0) << p;
            ASSERT_EQ(InstalledGenerator::calls(), 0u) << p;
        }
    }
}

// With one base to a pool, calls of the generator are rounds.
TEST(IsPrime, Rounds)
{
    Random random;
    PoolGenerator generator(1);
    generator.style = PoolGenerator::Style::one_base;
    constexpr struct {
        size_t bits;
        size_t rounds;
    } expected[] = {{100, 27}, {149, 27}, {150, 18}, {199, 18}, {200, 15}, {249, 15},
                    {250, 12}, {299, 12}, {300, 9},  {349, 9},  {350, 8},  {399, 8},
                    {400, 7},  {449, 7},  {450, 6},  {549, 6},  {550, 5},  {649, 5},
                    {650, 4},  {849, 4},  {850, 3},  {1024, 3}};
    for (const auto &[bits, rounds] : expected) {
        const mpz_class prime = random_prime(random, bits);
        {
            const InstalledGenerator installed(generator);
            Number n(prime);
            EXPECT_EQ(isPrime(n), 1);
            EXPECT_EQ(InstalledGenerator::calls(), rounds) << bits << " bits";
        }
        {
            const InstalledGenerator installed(generator);
            Number x(prime, 16);
            EXPECT_EQ(find_prime_near(x), 1);
            EXPECT_EQ(value_of(x), prime);
            EXPECT_EQ(InstalledGenerator::calls(), rounds) << bits << " bits";
        }
    }
}

TEST(RsaPrime, SizeAndExponent)
{
    Random random;
    const InstalledGenerator installed(PoolGenerator(5));
    for (const size_t bits : std::vector<size_t>{512, 1024, 1536, 2048}) {
        const mpz_class prime = random_prime(random, bits / 2);
        Number n(prime);
        EXPECT_EQ(rsa_prime_ok(n, bits), 1);
        EXPECT_EQ(rsa_prime_ok(n, bits + 1), 1);
        EXPECT_EQ(rsa_prime_ok(n, bits + 2), 0);
        EXPECT_EQ(rsa_prime_ok(n, bits - 1), 0);
        EXPECT_EQ(isRSAPrime(n, bits), 1);
        EXPECT_EQ(isRSAPrime(n, bits + 2), 0);
        EXPECT_EQ(rsa_prime_ok(n, bits + (uint64_t{1} << 32)), 0);

        // Primes that leave 1 by 65537, and composite numbers that do not.
        mpz_class bad = (prime / 131074) * 131074 + 1;
        while (mpz_probab_prime_p(bad.get_mpz_t(), 30) == 0)
            bad -= 131074;
        ASSERT_EQ(bits_of(bad), bits / 2);
        Number b(bad);
        EXPECT_EQ(rsa_prime_ok(b, bits), 0);
        EXPECT_EQ(isRSAPrime(b, bits), 0);
        mpz_class c = prime + 2;
        while (mpz_probab_prime_p(c.get_mpz_t(), 30) != 0 || c % 65537 == 1)
            c += 2;
        Number not_prime(c);
        EXPECT_EQ(rsa_prime_ok(not_prime, bits), 1);
        EXPECT_EQ(isRSAPrime(not_prime, bits), 0);
    }
}

TEST(FindPrime, AgainstModel)
{
    Random random;
    for (int repeat = 0; repeat < 60; repeat++) {
        const size_t bits = repeat < 40 ? 12 + random.below(200) : 200 + random.below(825);
        mpz_class value = some_odd(random, bits);
        if (random.below(8) == 0)
            value -= 1;
        PoolGenerator generator(random.word());
        const InstalledGenerator installed(generator);
        Number x(value, 16);
        mpz_class expected = value;
        const bool found = model_find_prime(generator, expected);
        ASSERT_EQ(find_prime_near(x), found) << value;
        ASSERT_EQ(value_of(x), expected);
        ASSERT_EQ(InstalledGenerator::calls(), generator.calls);
    }
}

// Starts that small primes divide, 23 among them, which the sieve does not know, and even ones,
// from which the odd candidates are at odd distances: each candidate costs a call of the generator.
TEST(FindPrime, CallsCountCandidates)
{
    Random random;
    for (const unsigned step : {1u, 2u, 3u, 7u, 23u, 29u, 3571u}) {
        for (int repeat = 0; repeat < 10; repeat++) {
            mpz_class value = some_odd(random, 14 + random.below(500));
            value -= value % step;
            PoolGenerator generator(random.word());
            const InstalledGenerator installed(generator);
            Number x(value, 16);
            mpz_class expected = value;
            const bool found = model_find_prime(generator, expected);
            ASSERT_EQ(find_prime_near(x), found);
            ASSERT_EQ(value_of(x), expected);
            ASSERT_EQ(InstalledGenerator::calls(), generator.calls);
            const std::vector<size_t> candidates = model_candidates(value);
            const mpz_class distance = expected - value;
            const auto tested =
                std::lower_bound(candidates.begin(), candidates.end(), distance.get_ui()) -
                candidates.begin();
            ASSERT_EQ(InstalledGenerator::calls(), static_cast<size_t>(tested) + 1);
        }
    }
}

TEST(FindPrime, SmallStarts)
{
    for (unsigned value = 0; value < 200; value++) {
        PoolGenerator generator(value);
        const InstalledGenerator installed(generator);
        Number x(value, 16);
        if (value == 1)
            continue; // one is not a number for the test
        mpz_class expected = value;
        const bool found = model_find_prime(generator, expected);
        ASSERT_EQ(find_prime_near(x), found) << value;
        ASSERT_EQ(value_of(x), expected) << value;
        ASSERT_EQ(InstalledGenerator::calls(), generator.calls) << value;
    }
}

TEST(FindPrime, EndsWithSixteenDigits)
{
    PoolGenerator generator(1);
    const InstalledGenerator installed(generator);
    const mpz_class value = (mpz_class(1) << 1024) - 1;
    Number x(value, 16);
    mpz_class expected = value;
    EXPECT_FALSE(model_find_prime(generator, expected));
    EXPECT_EQ(find_prime_near(x), 0);
    EXPECT_EQ(value_of(x), value);
    EXPECT_EQ(InstalledGenerator::calls(), generator.calls);
    EXPECT_EQ(InstalledGenerator::calls(), 1u);

    Number longer(value + 1);
    EXPECT_EQ(find_prime_near(longer), 0);
    EXPECT_EQ(value_of(longer), value + 1);
    EXPECT_EQ(InstalledGenerator::calls(), 1u);
}
