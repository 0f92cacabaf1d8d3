// The variants of the kernels against GMP, all lengths around their blocks of eight digits.
#include "qalmath64/kernels/kernels.hpp"
#include "support/numbers.hpp"
#include "support/sweeps.hpp"

#include <gtest/gtest.h>

using namespace qal::test;

namespace {

constexpr size_t longest = 65;

QAL_KERNEL_ROUTINES(QAL_VARIANT_TABLE);

mpz_class power(size_t n)
{
    return mpz_class(1) << (64 * n);
}

} // namespace

TEST(IntegerKernels, Rows)
{
    Random random;
    for (size_t n = 1; n <= longest; n++) {
        for (int round = 0; round < 100; round++) {
            const mpz_class a = random_number(random, n), r = random_number(random, n);
            const mpz_class b = random_number(random, 1);
            const Digits in(a, n);
            each_variant(qal_mul_row_variants, [&](const auto &row) {
                Digits out(r, n), place(a, n);
                const qald carry = row.run(out, in, n, b.get_ui());
                ASSERT_EQ(out.value() + power(n) * carry, a * b);
                ASSERT_EQ(row.run(place, place, n, b.get_ui()), carry);
                ASSERT_EQ(place.value(), out.value());
            });
            each_variant(qal_addmul_row_variants, [&](const auto &row) {
                Digits out(r, n), place(a, n);
                const qald carry = row.run(out, in, n, b.get_ui());
                ASSERT_EQ(out.value() + power(n) * carry, r + a * b);
                const qald other = row.run(place, place, n, b.get_ui());
                ASSERT_EQ(place.value() + power(n) * other, a + a * b);
            });
            each_variant(qal_submul_row_variants, [&](const auto &row) {
                Digits out(r, n), place(a, n);
                const qald borrow = row.run(out, in, n, b.get_ui());
                ASSERT_EQ(out.value() - power(n) * borrow, r - a * b);
                const qald other = row.run(place, place, n, b.get_ui());
                ASSERT_EQ(place.value() - power(n) * other, a - a * b);
            });
        }
    }
}

TEST(IntegerKernels, Sums)
{
    Random random;
    for (size_t n = 1; n <= longest; n++) {
        for (int round = 0; round < 100; round++) {
            const mpz_class a = random_number(random, n), b = random_number(random, n);
            const Digits x(a, n), y(b, n);
            Digits sum(0, n), difference(0, n), left(a, n), right(b, n);
            const qald carry = qal_add_row(sum, x, y, n);
            ASSERT_EQ(sum.value() + power(n) * carry, a + b);
            ASSERT_EQ(qal_add_row(left, left, y, n), carry);
            ASSERT_EQ(left.value(), sum.value());
            ASSERT_EQ(qal_add_row(right, x, right, n), carry);
            ASSERT_EQ(right.value(), sum.value());
            const qald borrow = qal_sub_row(difference, x, y, n);
            ASSERT_EQ(difference.value() - power(n) * borrow, a - b);
            Digits minuend(a, n), subtrahend(b, n);
            ASSERT_EQ(qal_sub_row(minuend, minuend, y, n), borrow);
            ASSERT_EQ(minuend.value(), difference.value());
            ASSERT_EQ(qal_sub_row(subtrahend, x, subtrahend, n), borrow);
            ASSERT_EQ(subtrahend.value(), difference.value());
            for (const qald minus : {qald{0}, ~qald{0}}) {
                Digits signed_sum(0, n), first(a, n), second(b, n);
                const mpz_class expected = minus ? mpz_class(a + power(n) - b) : mpz_class(a + b);
                const qald top = qal_add_signed_row(signed_sum, x, y, n, minus);
                ASSERT_EQ(signed_sum.value() + power(n) * top, expected);
                ASSERT_EQ(qal_add_signed_row(first, first, y, n, minus), top);
                ASSERT_EQ(first.value(), signed_sum.value());
                ASSERT_EQ(qal_add_signed_row(second, x, second, n, minus), top);
                ASSERT_EQ(second.value(), signed_sum.value());
            }
        }
    }
}

TEST(IntegerKernels, Products)
{
    Random random;
    for (size_t n = 1; n <= longest; n++) {
        for (size_t m = 1; m <= longest; m++) {
            for (int round = 0; round < 4; round++) {
                const mpz_class a = random_number(random, n), b = random_number(random, m);
                const Digits x(a, n), y(b, m);
                each_variant(qal_mul_digits_variants, [&](const auto &multiply) {
                    Digits out(0, n + m);
                    multiply.run(out, x, n, y, m);
                    ASSERT_EQ(out.value(), a * b);
                });
            }
        }
    }
}

TEST(IntegerKernels, Squares)
{
    Random random;
    for (size_t n = 1; n <= 2 * longest; n++) {
        for (int round = 0; round < 100; round++) {
            const mpz_class a = random_number(random, n);
            const Digits x(a, n);
            each_variant(qal_sqr_digits_variants, [&](const auto &square) {
                Digits out(0, 2 * n);
                square.run(out, x, n);
                ASSERT_EQ(out.value(), a * a);
            });
        }
    }
}

TEST(IntegerKernels, Reductions)
{
    Random random;
    for (size_t n = 1; n <= longest; n++) {
        for (int round = 0; round < 100; round++) {
            const mpz_class p = random_number(random, n) | 1;
            const mpz_class t = random_number(random, random.below(2 * n + 1));
            mpz_class c, factor;
            mpz_invert(c.get_mpz_t(), mpz_class(power(1) - p % power(1)).get_mpz_t(),
                       power(1).get_mpz_t());
            mpz_invert(factor.get_mpz_t(), mpz_class(power(n) - p).get_mpz_t(),
                       power(n).get_mpz_t());
            const mpz_class m = t * factor % power(n), expected = (t + m * p) / power(n);
            const Digits modulus(p, n);
            each_variant(qal_redc_digits_variants, [&](const auto &reduce) {
                Digits digits(t, 2 * n);
                const qald carry = reduce.run(digits, modulus, n, c.get_ui());
                ASSERT_EQ(digits.value(n) + power(n) * carry, expected);
            });
        }
    }
}
