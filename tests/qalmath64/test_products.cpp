// Products and squares against GMP, all lengths at which blocks and halves of digits meet.
#include "qalmath64/kernels/multiply.hpp"
#include "support/numbers.hpp"
#include "support/sweeps.hpp"

#include <gtest/gtest.h>

using namespace qal::test;

namespace {

QAL_PRODUCT_ROUTINES(QAL_VARIANT_TABLE);

void check_product(Random &random, const mpz_class &a, const mpz_class &b)
{
    const auto edge = some_edge(random);
    Number x(a, digits_of(a), edge), y(b, digits_of(b), edge);
    each_variant(qalmul_variants, [&](const auto &multiply) {
        Number product(0, digits_of(a) + digits_of(b), edge);
        expect_number(multiply.run(x, y, product), product, a * b);
        ASSERT_EQ(value_of(x), a);
        ASSERT_EQ(value_of(y), b);
    });
}

void check_square(Random &random, const mpz_class &a)
{
    const auto edge = some_edge(random);
    Number x(a, digits_of(a), edge);
    each_variant(qalsqr_variants, [&](const auto &square) {
        Number result(0, 2 * digits_of(a), edge);
        expect_number(square.run(x, result), result, a * a);
        ASSERT_EQ(value_of(x), a);
    });
    // The two factors of a product may be one number.
    each_variant(qalmul_variants, [&](const auto &multiply) {
        Number product(0, 2 * digits_of(a), edge);
        expect_number(multiply.run(x, x, product), product, a * a);
    });
}

} // namespace

TEST(Products, AllLengths)
{
    Random random;
    for (size_t n = 0; n <= 65; n++) {
        for (size_t m = 0; m <= 65; m++) {
            for (int round = 0; round < 16; round++)
                check_product(random, random_number(random, n), random_number(random, m));
        }
    }
}

TEST(Products, SmallLengths)
{
    Random random;
    for (size_t n = 1; n <= 9; n++) {
        for (size_t m = 1; m <= 9; m++) {
            for (int round = 0; round < 1000; round++)
                check_product(random, random_number(random, n), random_number(random, m));
        }
    }
}

TEST(Products, UpToTheCapacity)
{
    Random random;
    for (size_t n = 66; n <= capacity; n++) {
        for (int round = 0; round < 20; round++) {
            const size_t m = random.below(capacity - n + 1);
            const mpz_class a = random_number(random, n), b = random_number(random, m);
            check_product(random, a, b);
            check_product(random, b, a);
        }
    }
}

// Halves that are equal, differ in the lowest or the highest digit, or only one of which is zero:
// the differences and the middle of Karatsuba's identity at their extremes.
TEST(Products, HalvesAtTheirExtremes)
{
    Random random;
    for (size_t n = 24; n <= 65; n++) {
        const size_t h = (n + 1) / 2;
        const mpz_class ones = power_of_two(64 * h) - 1, top = power_of_two(64 * (n - h)) - 1;
        const mpz_class some = random_number(random, n - h);
        const std::vector<mpz_class> low = {0, 1, ones, ones - 1, power_of_two(64 * h - 1), some};
        const std::vector<mpz_class> high = {1, top, top - 1, power_of_two(64 * (n - h) - 1), some};
        std::vector<mpz_class> numbers;
        for (const mpz_class &l : low) {
            for (const mpz_class &u : high)
                numbers.push_back((u << (64 * h)) + l);
        }
        for (const mpz_class &a : numbers) {
            check_square(random, a);
            for (const mpz_class &b : numbers)
                check_product(random, a, b);
        }
    }
}

TEST(Squares, AllLengths)
{
    Random random;
    for (size_t n = 0; n <= 65; n++) {
        for (int round = 0; round < (n < 10 ? 2000 : 200); round++)
            check_square(random, random_number(random, n));
    }
}

TEST(Products, LargestDigits)
{
    Random random;
    for (size_t n = 1; n <= 65; n++) {
        const mpz_class ones = power_of_two(64 * n) - 1;
        check_product(random, ones, ones);
        check_square(random, ones);
        check_square(random, power_of_two(64 * n - 1));
        check_square(random, power_of_two(64 * (n - 1)));
    }
    Number digit(power_of_two(64) - 1), product(0, 2);
    qalmul(digit, digit, product);
    EXPECT_EQ(product.words()[0], 2);
    EXPECT_EQ(product.words()[1], 1);
    EXPECT_EQ(product.words()[2], ~qald{1});
    Number small(0xffffffff), square(0, 2);
    EXPECT_EQ(qalsqr(small, square)[0], 1);
}
