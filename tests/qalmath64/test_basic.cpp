// Constructors, comparison, addition, subtraction and shifts, against GMP.
#include "support/numbers.hpp"
#include "support/preconditions.hpp"

#include <gtest/gtest.h>

using namespace qal::test;

TEST(Numbers, Constants)
{
    EXPECT_EQ(value_of(QALBIG_ZERO), 0);
    EXPECT_EQ(value_of(QALBIG_ONE), 1);
    EXPECT_EQ(value_of(QALBIG_TWO), 2);
    EXPECT_EQ(value_of(QALBIG_THREE), 3);
}

TEST(Numbers, Clip)
{
    for (size_t zeros = 0; zeros <= 10; zeros++) {
        for (size_t digits = 0; digits <= 5; digits++) {
            Number x(0, digits + zeros);
            x.words()[0] = digits + zeros;
            for (size_t i = 1; i <= digits + zeros; i++)
                x.words()[i] = i == digits || (i < digits && i % 2);
            EXPECT_EQ(qalclip(x), x.words());
            EXPECT_EQ(x.words()[0], digits);
        }
    }
}

TEST(Numbers, CopyMayOverlap)
{
    Random random;
    for (size_t n = 0; n <= capacity; n++) {
        const mpz_class value = random_number(random, n);
        Number source(value), destination(0, n);
        expect_number(qalcopy(destination, source), destination, value);
        for (const size_t distance : {size_t{0}, size_t{1}, size_t{2}, n / 2}) {
            std::vector<qald> words(2 * n + 4, 7);
            qald *up = words.data() + distance;
            std::memcpy(words.data(), source.words(), (n + 1) * sizeof(qald));
            EXPECT_EQ(qalcopy(up, words.data()), up);
            EXPECT_EQ(value_of(up), value);
            qald *down = words.data();
            EXPECT_EQ(qalcopy(down, up), down);
            EXPECT_EQ(value_of(down), value);
        }
    }
}

TEST(Numbers, Convert)
{
    for (const uint64_t v : {uint64_t{0}, uint64_t{1}, uint64_t{1} << 63, ~uint64_t{0}}) {
        Number x(0, 1);
        EXPECT_EQ(qalconvert(x, v), x.words());
        EXPECT_EQ(x.words()[0], v != 0);
        EXPECT_EQ(x.words()[1], v); // written in any case
    }
}

TEST(Numbers, ClearOnlyGivesNotice)
{
    Number x(mpz_class("123456789012345678901234567890"));
    const mpz_class before = value_of(x);
    testing::internal::CaptureStdout();
    EXPECT_EQ(qalclear(x), x.words());
    EXPECT_EQ(qalclear(x), x.words());
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Deprecated qalclear!\nDeprecated qalclear!\n");
    EXPECT_EQ(value_of(x), before);
}

TEST(Numbers, ValueOf32)
{
    Number x(0, 3);
    qalvalueof32(x, 3, 0x1U, 0x2U, 0x3U);
    EXPECT_EQ(x.words()[0], 2U);
    EXPECT_EQ(x.words()[2], 1U);
    EXPECT_EQ(x.words()[1], 0x200000003U);
    EXPECT_EQ(qalvalueof32(x, 0), x.words());
    EXPECT_EQ(x.words()[0], 0U);
    EXPECT_EQ(value_of(qalvalueof32(x, 5, 0U, 0U, 0U, 0xffffffffU, 0x80000000U)),
              mpz_class("ffffffff80000000", 16));
    EXPECT_EQ(value_of(qalvalueof32(x, 1, 7U)), 7);
    EXPECT_EQ(value_of(qalvalueof32(x, 6, 0x80000000U, 1U, 2U, 3U, 4U, 5U)),
              mpz_class("800000000000000100000002000000030000000400000005", 16));
}

TEST(Numbers, ValueOf64)
{
    Number x(0, 3);
    EXPECT_EQ(qalvalueof64(x, 0), x.words());
    EXPECT_EQ(x.words()[0], 0U);
    qalvalueof64(x, 3, uint64_t{0}, uint64_t{2}, ~uint64_t{0});
    EXPECT_EQ(x.words()[0], 2U);
    EXPECT_EQ(value_of(x), mpz_class("2ffffffffffffffff", 16));
    EXPECT_EQ(value_of(qalvalueof64(x, 3, uint64_t{1}, uint64_t{0}, uint64_t{0})), mpz_class(1)
                                                                                       << 128);
    EXPECT_EQ(value_of(qalvalueof64(x, 2, uint64_t{0}, uint64_t{0})), 0);
}

TEST(Numbers, Compare)
{
    Random random;
    for (int round = 0; round < 100'000; round++) {
        const mpz_class a = random_number(random, some_length(random));
        mpz_class b = random.below(3) ? random_number(random, random.below(3) ? digits_of(a)
                                                                              : some_length(random))
                                      : a;
        // Numbers that differ in one digit.
        if (a != 0 && random.below(3) == 0)
            b = a ^ (mpz_class(1) << random.below(mpz_sizeinbase(a.get_mpz_t(), 2)));
        Number x(a, digits_of(a), some_edge(random)), y(b, digits_of(b), some_edge(random));
        const int expected = cmp(a, b);
        ASSERT_EQ(qalcmp(x, y), (expected > 0) - (expected < 0));
        ASSERT_EQ(qalcmp(x, x), 0);
    }
    EXPECT_EQ(qalcmp(QALBIG_ZERO, QALBIG_ZERO), 0);
    EXPECT_EQ(qalcmp(QALBIG_ZERO, QALBIG_ONE), -1);
    EXPECT_EQ(qalcmp(QALBIG_THREE, QALBIG_TWO), 1);
}

TEST(Numbers, Add)
{
    Random random;
    for (int round = 0; round < 100'000; round++) {
        const mpz_class a = random_number(random, random.below(capacity));
        const mpz_class b =
            random_number(random, random.below(4) ? some_length(random) % capacity : digits_of(a));
        const mpz_class sum = a + b;
        // Room for the digits of the sum alone: nothing is written beyond them.
        Number x(a, std::max(digits_of(sum), digits_of(a)), some_edge(random));
        Number y(b, digits_of(b), some_edge(random));
        expect_number(qaladd(x, y), x, sum);
        ASSERT_EQ(value_of(y), b);

        Number twice(a, digits_of(mpz_class(a + a)));
        expect_number(qaladd(twice, twice), twice, a + a);
    }
    for (size_t n = 0; n < capacity; n++) {
        const mpz_class ones = (mpz_class(1) << (64 * n)) - 1;
        for (size_t m = 0; m <= n; m++) {
            const mpz_class other = (mpz_class(1) << (64 * m)) - 1;
            Number x(ones, n + 1), y(other), z(other, n + 1), w(ones);
            expect_number(qaladd(x, y), x, ones + other);
            expect_number(qaladd(z, w), z, ones + other);
        }
    }
}

TEST(Numbers, Subtract)
{
    Random random;
    for (int round = 0; round < 100'000; round++) {
        mpz_class a = random_number(random, some_length(random));
        mpz_class b = random_number(random, random.below(3) ? some_length(random) : digits_of(a));
        if (random.below(4) == 0)
            b = a ^ (mpz_class(1) << random.below(64 * digits_of(a) + 1));
        if (a < b)
            std::swap(a, b);
        Number x(a, digits_of(a), some_edge(random)), y(b, digits_of(b), some_edge(random));
        expect_number(qalsub(x, y), x, a - b);
        ASSERT_EQ(value_of(y), b);
        Number self(a);
        expect_number(qalsub(self, self), self, 0);
    }
    for (size_t n = 1; n <= capacity; n++) {
        const mpz_class power = mpz_class(1) << (64 * (n - 1));
        Number x(power), y(mpz_class(1));
        expect_number(qalsub(x, y), x, power - 1);
    }
}

TEST(Numbers, AddOverGf2)
{
    Random random;
    for (int round = 0; round < 50'000; round++) {
        const mpz_class a = random_number(random, some_length(random));
        mpz_class b = random_number(random, random.below(3) ? some_length(random) : digits_of(a));
        if (random.below(3) == 0) // tops that cancel
            b = a ^ random_number(random, random.below(digits_of(a) + 1));
        Number x(a, std::max(digits_of(a), digits_of(b)), some_edge(random)), y(b);
        expect_number(qaladd2m(x, y), x, a ^ b);
        ASSERT_EQ(value_of(y), b);
        Number self(a);
        expect_number(qaladd2m(self, self), self, 0);
    }
}

TEST(Numbers, ShiftLeft)
{
    Random random;
    const mpz_class limit = mpz_class(1) << (64 * capacity);
    for (int round = 0; round < 100'000; round++) {
        const mpz_class a = random_number(random, some_length(random));
        const uint64_t s = random.below(4) == 0   ? 64 * random.below(capacity + 2)
                           : random.below(3) == 0 ? random.below(64)
                                                  : random.below(64 * (capacity + 2));
        const mpz_class expected = (a << s) % limit;
        const size_t room = std::min(digits_of(a) + s / 64 + 1, capacity);
        Number x(a), y(0, room, some_edge(random));
        expect_number(qalshl(x, s, y), y, expected);
        ASSERT_EQ(value_of(x), a);
        Number place(a, std::max(room, digits_of(a)), some_edge(random));
        expect_number(qalshl(place, s, place), place, expected);
    }
    const mpz_class full = limit - 1;
    for (const uint64_t s : {uint64_t{64 * 130}, uint64_t{64 * 130 + 1}, ~uint64_t{0}}) {
        Number x(full);
        expect_number(qalshl(x, s, x), x, 0);
    }
    Number x(full), zero(0, 0);
    expect_number(qalshl(x, 1, x), x, full - 1);
    expect_number(qalshl(zero, 5, zero), zero, 0);
    expect_number(qalshl(zero, 64, zero), zero, 0);
}

TEST(NumbersDeathTest, ShiftLeft)
{
    Number x(mpz_class(1), 2);
    EXPECT_PRECONDITION(qalshl(nullptr, 1, x), "x != 0", "../src/qalmath64/qalshl", "qalshl");
    EXPECT_PRECONDITION(qalshl(nullptr, 1, nullptr), "x != 0", "../src/qalmath64/qalshl", "qalshl");
    EXPECT_PRECONDITION(qalshl(x, 1, nullptr), "y != 0", "../src/qalmath64/qalshl", "qalshl");
}

TEST(Numbers, ShiftRight)
{
    Random random;
    for (int round = 0; round < 100'000; round++) {
        const mpz_class a = random_number(random, some_length(random));
        const uint64_t s = random.below(4) == 0   ? 64 * random.below(capacity + 2)
                           : random.below(3) == 0 ? random.below(64)
                                                  : random.below(64 * (digits_of(a) + 1));
        const mpz_class expected = a >> s;
        const size_t left = digits_of(a) > s / 64 ? digits_of(a) - s / 64 : 0;
        Number x(a), y(0, left, some_edge(random));
        expect_number(qalshr(x, s, y), y, expected);
        ASSERT_EQ(value_of(x), a);
        expect_number(qalshr(x, s, x), x, expected);
    }
    Number x(mpz_class(5));
    expect_number(qalshr(x, ~uint64_t{0}, x), x, 0);
}

TEST(Numbers, BitLength)
{
    Random random;
    for (int round = 0; round < 50'000; round++) {
        const mpz_class a = random_number(random, some_length(random));
        Number x(a);
        const uint64_t bits = a == 0 ? 0 : mpz_sizeinbase(a.get_mpz_t(), 2);
        for (const uint64_t u : {1U, 3U, 8U, 32U, 64U, 5000U})
            ASSERT_EQ(qalbitlen(x, u), (bits + u - 1) / u);
    }
    Number x(mpz_class(255)), y(mpz_class(256));
    EXPECT_EQ(qalbitlen(x, 8), 1U);
    EXPECT_EQ(qalbitlen(y, 8), 2U);
    EXPECT_EQ(qalbitlen(QALBIG_ZERO, 8), 0U);
}
