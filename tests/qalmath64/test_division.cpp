// Division, reduction and inversion, against GMP.
#include "qalmath64/kernels/divide.hpp"

#include "support/numbers.hpp"
#include "support/preconditions.hpp"

#include <gtest/gtest.h>

using namespace qal::test;

namespace {

// All four ways to call it: with and without a quotient, in place and apart.
void check_division(Random &random, const mpz_class &x, const mpz_class &y)
{
    const auto edge = some_edge(random);
    const size_t n = digits_of(x), m = digits_of(y);
    mpz_class quotient, remainder;
    mpz_tdiv_qr(quotient.get_mpz_t(), remainder.get_mpz_t(), x.get_mpz_t(), y.get_mpz_t());
    Number divisor(y, m, edge), dividend(x, n, edge);
    Number q(0, n >= m ? n - m + 1 : 0, edge), r(0, n + 2, edge);
    qaldiv(dividend, divisor, q, r);
    ASSERT_TRUE(is_normalised(q));
    ASSERT_TRUE(is_normalised(r));
    ASSERT_EQ(value_of(q), quotient) << x << " / " << y;
    ASSERT_EQ(value_of(r), remainder) << x << " / " << y;
    ASSERT_EQ(value_of(dividend), x);

    Number rest(0, n + 2, edge);
    qaldiv(dividend, divisor, nullptr, rest);
    ASSERT_TRUE(is_normalised(rest));
    ASSERT_EQ(value_of(rest), remainder);

    Number place(x, n + 2, edge), other(0, n >= m ? n - m + 1 : 0, edge);
    qaldiv(place, divisor, other, place);
    ASSERT_EQ(value_of(place), remainder);
    ASSERT_EQ(value_of(other), quotient);
    Number alone(x, n + 2, edge);
    qaldiv(alone, divisor, nullptr, alone);
    ASSERT_EQ(value_of(alone), remainder);
    ASSERT_EQ(value_of(divisor), y);
}

constexpr char div_path[] = "../src/qalmath64/qaldiv";

// The two folds and the subtraction of one digit: for c below 2^32 they give the remainder always,
// for a larger one unless the second fold carries and leaves more than a digit.
mpz_class special_remainder(const mpz_class &x, const mpz_class &p, size_t k, const mpz_class &c)
{
    const mpz_class limit = power_of_two(64 * k);
    mpz_class r = x;
    if (digits_of(x) > k) {
        r = x % limit + c * (x / limit);
        r = r % limit + c * (r / limit);
    }
    return r < p ? r : mpz_class((r - p) % power_of_two(64));
}

} // namespace

TEST(Division, AllLengths)
{
    Random random;
    for (size_t n = 0; n <= 65; n++) {
        for (size_t m = 1; m <= 65; m++) {
            for (int round = 0; round < (n < m ? 2 : 20); round++)
                check_division(random, random_number(random, n), random_number(random, m));
        }
    }
}

TEST(Division, UpToTheCapacity)
{
    Random random;
    for (int round = 0; round < 5000; round++) {
        const size_t n = 66 + random.below(128 - 66 + 1), m = 1 + random.below(128);
        check_division(random, random_number(random, n), random_number(random, m));
    }
    check_division(random, random_number(random, 128), random_number(random, 129));
}

// Two leading digits (d1, d0) whose reciprocal is one digit's, d1's, corrected twice, or not, by d0
// alone: what is left in the upper digit is d1 itself.
TEST(Division, ReciprocalsThatTheLowDigitDecides)
{
    const uint64_t divisors[][2] = {
        {9348777284355092205U, 12521802190148825668U}, // corrected
        {9561340096366950508U, 14698660041115346284U}, // corrected
        {10379871894171355887U, 17230744564778473822U},
        {9798227831691579273U, 11696796660574010322U},
    };
    Random random;
    for (const auto &[d1, d0] : divisors) {
        const qal::math::Reciprocal2 reciprocal(d1, d0);
        const mpz_class d = (mpz_class(d1) << 64) + d0;
        for (int round = 0; round < 2000; round++) {
            const mpz_class high = round % 2 ? random_number(random, 2) % d : mpz_class(d - 1);
            const uint64_t low = round % 3 ? random.word() : ~uint64_t{0};
            uint64_t r1 = mpz_class(high >> 64).get_ui(),
                     r0 = mpz_class(high % power_of_two(64)).get_ui();
            const mpz_class dividend = (high << 64) + low;
            ASSERT_EQ(reciprocal.divide(r1, r0, low), mpz_class(dividend / d).get_ui());
            ASSERT_EQ(mpz_class((mpz_class(r1) << 64) + r0), mpz_class(dividend % d));
        }
    }
}

// Dividends y q + r for chosen quotients, with r next to nothing and next to y: the estimate of a
// digit is at its limit there, and its corrections are taken.
TEST(Division, ChosenQuotients)
{
    Random random;
    for (int round = 0; round < 250000; round++) {
        const size_t m = 1 + random.below(20);
        const mpz_class y = random_number(random, m), q = random_number(random, random.below(10));
        mpz_class r;
        switch (random.below(5)) {
        case 0:
            r = 0;
            break;
        case 1:
            r = y - 1;
            break;
        case 2:
            r = y / 2;
            break;
        case 3:
            r = y - 1 - random_number(random, 1) % y;
            break;
        default:
            r = random_number(random, m) % y;
            break;
        }
        check_division(random, y * q + r, y);
    }
}

// Dividends whose highest digits are those of the divisor, or differ from them by one.
TEST(Division, LeadingDigitsOfTheDivisor)
{
    Random random;
    for (int round = 0; round < 250000; round++) {
        const size_t m = 1 + random.below(12), more = random.below(6);
        mpz_class y = random_number(random, m);
        if (random.below(2))
            y |= power_of_two(64 * m - 1);
        mpz_class x = y << (64 * more);
        switch (random.below(4)) {
        case 0:
            x += random_number(random, more);
            break;
        case 1:
            x -= random_number(random, random.below(more + 1));
            break;
        case 2:
            x -= 1;
            break;
        default:
            x += random_number(random, random.below(m + more));
            break;
        }
        if (x < 0)
            x = 0;
        check_division(random, x, y);
    }
}

TEST(Division, ByItself)
{
    Random random;
    for (size_t n = 1; n <= 65; n++) {
        const mpz_class x = random_number(random, n);
        check_division(random, x, x);
        Number number(x), q(0, 1), r(0, n + 2);
        qaldiv(number, number, q, r);
        EXPECT_EQ(value_of(q), 1);
        EXPECT_EQ(r.words()[0], 0);
    }
    check_division(random, power_of_two(128) + 5, 3);
}

TEST(Division, ByZeroDoesNothing)
{
    Number x(12345), zero(0), q(678, 2), r(91011, 4);
    qaldiv(x, zero, q, r);
    EXPECT_EQ(value_of(x), 12345);
    EXPECT_EQ(value_of(q), 678);
    EXPECT_EQ(value_of(r), 91011);
    EXPECT_EQ(value_of(zero), 0);
}

TEST(DivisionDeathTest, Capacity)
{
    Number x(1, capacity), y(1, capacity), r(0, capacity);
    x.words()[0] = 129;
    EXPECT_PRECONDITION(qaldiv(x, y, nullptr, r),
                        "(((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3) >= ( x[0]+3 )",
                        div_path, "qaldiv");
    y.words()[0] = 130;
    // The divisor is looked at first.
    EXPECT_PRECONDITION(qaldiv(x, y, nullptr, r),
                        "(((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3) >= ( y[0]+2 )",
                        div_path, "qaldiv");
}

TEST(DigitDivision, TwoDigitsByOne)
{
    Random random;
    for (int round = 0; round < 200000; round++) {
        const mpz_class d = random_number(random, 1) | power_of_two(63);
        const mpz_class high = random_number(random, random.below(2)) % d;
        const mpz_class x = (high << 64) + random_number(random, random.below(2));
        const uint64_t h = high.get_ui(), low = mpz_class(x % power_of_two(64)).get_ui();
        uint64_t q = 0;
        ASSERT_EQ(qaldivs(h, low, d.get_ui(), &q), mpz_class(x % d).get_ui());
        ASSERT_EQ(q, mpz_class(x / d).get_ui());
        ASSERT_EQ(qaldivs(h, low, d.get_ui(), nullptr), mpz_class(x % d).get_ui());
    }
}

TEST(DigitDivisionDeathTest, Preconditions)
{
    constexpr uint64_t half = uint64_t{1} << 63;
    constexpr char path[] = "../src/qalmath64/qaldivs";
    EXPECT_PRECONDITION(qaldivs(half, 0, half, nullptr), "xh<y", path, "qaldivs");
    EXPECT_PRECONDITION(qaldivs(0, 0, 0, nullptr), "xh<y", path, "qaldivs");
    EXPECT_PRECONDITION(qaldivs(0, 0, half - 1, nullptr), "y>>((sizeof(qald)*8)-1)", path,
                        "qaldivs");
}

TEST(DigitDivision, Remainders)
{
    Random random;
    for (int round = 0; round < 50000; round++) {
        const mpz_class x = random_number(random, some_length(random));
        mpz_class d = random_number(random, 1) >> random.below(64);
        if (d == 0)
            d = 1;
        Number number(x, digits_of(x), some_edge(random));
        ASSERT_EQ(qalmodd(number, d.get_ui()), mpz_class(x % d).get_ui());
    }
    Number zero(0);
    EXPECT_EQ(qalmodd(zero, 1), 0);
}

TEST(SpecialModulus, AgainstGmp)
{
    Random random;
    for (size_t k = 2; k <= 64; k++) {
        for (int round = 0; round < 500; round++) {
            mpz_class c = random_number(random, 1) >> random.below(64);
            if (random.below(2))
                c %= power_of_two(32);
            if (c == 0)
                c = 189;
            const mpz_class p = power_of_two(64 * k) - c;
            mpz_class x;
            switch (random.below(6)) {
            case 0:
                x = p - 2 + random.below(5);
                break;
            case 1:
                x = power_of_two(64 * k) - 2 + random.below(5);
                break;
            case 2:
                x = (p - 1) * (p - 1);
                break;
            case 3:
                x = power_of_two(128 * k) - 1 - random.below(3);
                break;
            case 4:
                x = p * random_number(random, random.below(k + 1));
                break;
            default:
                x = random_number(random, random.below(2 * k + 1));
                break;
            }
            const size_t n = digits_of(x);
            Number number(x, std::max(n, k), some_edge(random)), modulus(p);
            // What remains is below p; digits that are no longer part of it become zero.
            expect_number(
                qalmodsf(number, modulus, static_cast<int32_t>(64 * k), mpz_class(c).get_ui()),
                number, special_remainder(x, p, k, c));
            if (c < power_of_two(32)) {
                ASSERT_EQ(value_of(number), x % p);
            }
            for (size_t i = number.words()[0] + 1; i <= n; i++)
                ASSERT_EQ(number.words()[i], 0);
            ASSERT_EQ(value_of(modulus), p);
        }
    }
}

TEST(SpecialModulus, Examples)
{
    const mpz_class p = power_of_two(256) - 189;
    Number modulus(p);
    const auto reduced = [&](const mpz_class &x) {
        Number number(x, 8);
        return value_of(qalmodsf(number, modulus, 256, 189));
    };
    EXPECT_EQ(reduced(p), 0);
    EXPECT_EQ(reduced(p + 1), 1);
    EXPECT_EQ(reduced((p - 1) * (p - 1)), 1);
    EXPECT_EQ(reduced(power_of_two(256)), 189);
}

TEST(SpecialModulusDeathTest, Preconditions)
{
    constexpr char path[] = "../src/qalmath64/qalmodsf";
    Number x(power_of_two(512) - 1, 9), p(power_of_two(256) - 189), digit(5);
    EXPECT_PRECONDITION(qalmodsf(nullptr, p, 256, 189), "x != 0", path, "qalmodsf");
    EXPECT_PRECONDITION(qalmodsf(x, nullptr, 256, 189), "p != 0", path, "qalmodsf");
    EXPECT_PRECONDITION(qalmodsf(nullptr, nullptr, 256, 189), "x != 0", path, "qalmodsf");
    EXPECT_PRECONDITION(qalmodsf(x, p, 250, 189), "*x <= (2*l/(sizeof(qald)*8))", path, "qalmodsf");
    EXPECT_PRECONDITION(qalmodsf(x, p, 257, 189), "(l % (sizeof(qald)*8)) == 0", path, "qalmodsf");
    EXPECT_PRECONDITION(qalmodsf(x, digit, 256, 189), "*p >= 2", path, "qalmodsf");
}

TEST(Inverse, OfDigits)
{
    Random random;
    EXPECT_EQ(qalinverse(1), 1);
    EXPECT_EQ(qalinverse(3) * 3, 1);
    for (int round = 0; round < 100000; round++) {
        const uint64_t a = random_number(random, 1).get_ui() | 1;
        ASSERT_EQ(qalinverse(a) * a, 1) << a;
    }
}

TEST(Inverse, OfNumbers)
{
    Random random;
    for (int round = 0; round < 12000; round++) {
        const size_t n = 1 + (random.below(20) ? random.below(18) : random.below(65));
        const mpz_class p = random_number(random, n) | 1;
        mpz_class a = random_number(random, 1 + random.below(n)) % p, inverse;
        if (mpz_invert(inverse.get_mpz_t(), a.get_mpz_t(), p.get_mpz_t()) == 0 || p == 1)
            continue;
        Number x(a, n, some_edge(random)), modulus(p, n, some_edge(random)), out(0, n);
        expect_number(qalmodinv(x, modulus, out), out, inverse);
        ASSERT_EQ(value_of(x), a);
        ASSERT_EQ(value_of(modulus), p);
        expect_number(qalmodinv(x, modulus, x), x, inverse);
        Number again(a, n);
        expect_number(qalmodinv(again, modulus, modulus), modulus, inverse);
    }
    Number one(1), two(2, 1), seven(7), out(0, 1);
    EXPECT_EQ(value_of(qalmodinv(one, seven, out)), 1);
    EXPECT_EQ(value_of(qalmodinv(two, seven, out)), 4);
}

// What has no inverse gets the answer of the algorithm, step by step.
TEST(Inverse, OfWhatHasNone)
{
    const auto model = [](const mpz_class &a, const mpz_class &p) {
        mpz_class u = p, v = a, r = 0, s = 1;
        size_t k = 0;
        for (; v != 0; k++) {
            if (mpz_even_p(u.get_mpz_t())) {
                u /= 2;
                s *= 2;
            } else if (mpz_even_p(v.get_mpz_t())) {
                v /= 2;
                r *= 2;
            } else if (u > v) {
                u = (u - v) / 2;
                r += s;
                s *= 2;
            } else {
                v = (v - u) / 2;
                s += r;
                r *= 2;
            }
        }
        if (r >= p)
            r -= p;
        r = p - r;
        for (; k > 0; k--)
            r = mpz_odd_p(r.get_mpz_t()) ? mpz_class((r + p) / 2) : mpz_class(r / 2);
        return r;
    };
    Random random;
    for (int round = 0; round < 3000; round++) {
        const size_t n = 1 + random.below(9);
        mpz_class p = random_number(random, n) | 1, a = random_number(random, n) % p;
        switch (random.below(3)) {
        case 0:
            a = 0;
            break;
        case 1:
            a -= a % 3;
            p = p % 3 == 0 ? p : mpz_class(3 * (p >> 3 | 1));
            a %= p;
            break;
        default:
            break;
        }
        Number x(a, n), modulus(p, n), out(0, n);
        expect_number(qalmodinv(x, modulus, out), out, model(a, p));
    }
}

TEST(PowersOfTwo, AgainstGmp)
{
    Random random;
    for (size_t n = 0; n < 64 * capacity; n++) {
        Number power(0, n / 64 + 1);
        expect_number(qalexpb2(power, n), power, power_of_two(n));
    }
    for (int round = 0; round < 20000; round++) {
        const size_t digits = some_length(random);
        const mpz_class x = random_number(random, digits);
        const size_t n =
            random.below(2) ? random.below(64 * capacity + 1) : 64 * random.below(capacity + 1);
        Number rest(x, digits, some_edge(random));
        expect_number(qalmodexpb2(rest, n), rest, x % power_of_two(n));
        const mpz_class sum = x + power_of_two(n);
        if (digits_of(sum) > capacity)
            continue;
        Number number(x, std::max(digits_of(sum), digits), some_edge(random));
        expect_number(qaladdb2(number, n), number, sum);
    }
    Number ones(power_of_two(64) - 1, 2);
    EXPECT_EQ(qaladdb2(ones, 0)[0], 2);
}

TEST(PowersOfTwoDeathTest, Capacity)
{
    constexpr char expression[] = "i<=(((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3)";
    constexpr char path[] = "../src/qalmath64/qaladdb2";
    qald x[2 * QALBIG_SIZE] = {1, 1};
    EXPECT_PRECONDITION(qaladdb2(x, 64 * 131), expression, path, "qaladdb2");
    // A digit behind a full buffer passes: the expression compares with words.
    qaladdb2(x, 64 * 130);
    EXPECT_EQ(x[0], 131);
    // So does a carry up to there; beyond, it aborts.
    x[0] = 131;
    for (size_t i = 1; i <= 131; i++)
        x[i] = ~qald{0};
    EXPECT_PRECONDITION(qaladdb2(x, 0), expression, path, "qaladdb2");
}
