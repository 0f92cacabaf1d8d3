// Montgomery arithmetic, windows of exponents and exponentiation, against GMP.
#include "qalmath64/kernels/montgomery.hpp"

#include "support/numbers.hpp"
#include "support/preconditions.hpp"
#include "support/sweeps.hpp"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

using namespace qal::test;

namespace {

QAL_MONTGOMERY_ROUTINES(QAL_VARIANT_TABLE);

mpz_class inverse_of(const mpz_class &a, const mpz_class &p)
{
    mpz_class inverse;
    mpz_invert(inverse.get_mpz_t(), a.get_mpz_t(), p.get_mpz_t());
    return p == 1 ? mpz_class(0) : inverse;
}

mpz_class power_mod(const mpz_class &x, const mpz_class &e, const mpz_class &p)
{
    mpz_class power;
    mpz_powm(power.get_mpz_t(), x.get_mpz_t(), e.get_mpz_t(), p.get_mpz_t());
    return power;
}

// (t + m p) / 2^k with the m below 2^k that makes it whole, less p once if it is not less.
mpz_class reduced(const mpz_class &t, const mpz_class &p, size_t k)
{
    const mpz_class r = power_of_two(k);
    const mpz_class m = k == 0 ? mpz_class(0) : mpz_class((r - t * inverse_of(p, r) % r) % r);
    const mpz_class x = (t + m * p) / r;
    return x >= p ? mpz_class(x - p) : x;
}

uint64_t constant_of(const mpz_class &p)
{
    return qalinverse(0 - mpz_class(p % power_of_two(64)).get_ui());
}

// An odd modulus in room of its own, with what Montgomery's arithmetic needs of it.
struct Modulus {
    mpz_class value;
    size_t n;
    uint64_t c;
    uint32_t k;
    Number p;

    explicit Modulus(const mpz_class &odd)
        : value(odd), n(digits_of(odd)), c(constant_of(odd)), k(static_cast<uint32_t>(64 * n)),
          p(odd)
    {
    }
    Modulus(Random &random, size_t digits) : Modulus(random_number(random, digits) | 1) {}

    [[nodiscard]] mpz_class in_form(const mpz_class &x) const { return (x << k) % value; }
};

constexpr char mul_path[] = "../src/qalmath64/qalmulmont";
constexpr char sqr_path[] = "../src/qalmath64/qalsqrmont";

} // namespace

TEST(Montgomery, ConstantIsOfTheNegatedModulus)
{
    Random random;
    for (int round = 0; round < 1000; round++) {
        const Modulus p(random, 1 + random.below(5));
        ASSERT_EQ(mpz_class(p.value * mpz_class(p.c) % power_of_two(64)), power_of_two(64) - 1);
    }
}

// The radix is not that of p's digits, though it is that of the factors' digits.
TEST(Montgomery, RadixOfShortFactors)
{
    Random random;
    for (int round = 0; round < 200; round++) {
        const uint64_t high = random.word() | 1;
        Modulus p((mpz_class(high) << 64) + 1);
        const mpz_class a = random_number(random, 1), b = random_number(random, 1);
        Number x(a, 1), y(b, 1), r(0, 5), square(0, 5);
        expect_number(qalmulmont(p.c, 64, p.p, x, y, r), r, reduced(a * b, p.value, 64));
        expect_number(qalsqrmont(p.c, 64, p.p, x, square), square, reduced(a * a, p.value, 64));
    }
}

TEST(Montgomery, KernelsOfAllLengths)
{
    Random random;
    for (size_t n = 1; n <= 65; n++) {
        for (int round = 0; round < (n <= 16 ? 400 : 60); round++) {
            const mpz_class p = random_number(random, n) | 1;
            // Operands need not be below the modulus.
            const mpz_class a = random_number(random, random.below(5) ? n : random.below(n + 1));
            const mpz_class b = random.below(4) ? random_number(random, n) : mpz_class(p - 1);
            const Digits x(a, n), y(b, n), modulus(p, n);
            each_variant(qal_mont_mul_variants, [&](const auto &multiply) {
                Digits r(0, 2 * n);
                multiply.run(r, x, y, modulus, n, constant_of(p));
                ASSERT_EQ(r.value() % power_of_two(64 * n), reduced(a * b, p, 64 * n));
                multiply.run(r, x, x, modulus, n, constant_of(p));
                ASSERT_EQ(r.value() % power_of_two(64 * n), reduced(a * a, p, 64 * n));
            });
            each_variant(qal_mont_sqr_variants, [&](const auto &square) {
                Digits r(0, 2 * n);
                square.run(r, x, modulus, n, constant_of(p));
                ASSERT_EQ(r.value() % power_of_two(64 * n), reduced(a * a, p, 64 * n));
            });
        }
    }
}

// The kernels of one size need no more room than the result, which may replace an operand.
TEST(Montgomery, KernelsInPlace)
{
    if ((processor_features() & qal::base::cpu_bmi2_adx) == 0)
        GTEST_SKIP() << "needs BMI2 and ADX";
    Random random;
    for (int round = 0; round < 20000; round++) {
        const size_t n = round % 2 ? 4 : 8;
        const auto multiply = n == 4 ? qal_mont_mul_4_bmi2adx : qal_mont_mul_8_bmi2adx;
        const mpz_class p = random_number(random, n) | 1;
        const mpz_class a = random_number(random, n), b = random_number(random, n);
        const uint64_t c = constant_of(p);
        const mpz_class expected = reduced(a * b, p, 64 * n);
        Digits x(a, n), y(b, n), modulus(p, n), r(0, n);
        multiply(r, x, y, modulus, c);
        ASSERT_EQ(r.value(), expected);
        multiply(x, x, y, modulus, c);
        ASSERT_EQ(x.value(), expected);
        Digits again(a, n);
        multiply(y, again, y, modulus, c);
        ASSERT_EQ(y.value(), expected);
        multiply(modulus, again, Digits(b, n), modulus, c);
        ASSERT_EQ(modulus.value(), expected);
        const Digits again_modulus(p, n);
        (n == 4 ? qal_mont_sqr_4_bmi2adx : qal_mont_sqr_8_bmi2adx)(again, again, again_modulus, c);
        ASSERT_EQ(again.value(), reduced(a * a, p, 64 * n));
    }
}

TEST(Montgomery, ReductionByAnyCount)
{
    Random random;
    for (size_t n = 1; n <= 64; n++) {
        for (int round = 0; round < 150; round++) {
            Modulus p(random, n);
            const size_t k = random.below(3) ? p.k : random.below(64 * n + 65);
            // Up to 2 n + 1 digits, which is more than any product.
            const mpz_class t = random_number(random, random.below(2 * n + 2));
            Number x(t, 2 * n + 1, some_edge(random));
            expect_number(qalmontcom(p.c, static_cast<uint32_t>(k), p.p, x), x,
                          reduced(t, p.value, k));
        }
    }
    Modulus p(random, 3);
    const mpz_class t = random_number(random, 5);
    Number x(t, 7);
    qalmontcom(p.c, 100, p.p, x);
    EXPECT_EQ(value_of(x) * power_of_two(100) % p.value, t % p.value);
}

TEST(Montgomery, ProductsAndSquares)
{
    Random random;
    for (size_t n = 1; n <= 64; n++) {
        for (int round = 0; round < 200; round++) {
            Modulus p(random, n);
            const auto k = static_cast<uint32_t>(random.below(3) ? p.k : random.below(64 * n + 65));
            const mpz_class a = random_number(random, random.below(4) ? n : random.below(n + 1));
            const mpz_class b = random_number(random, random.below(4) ? n : random.below(n + 1));
            const auto edge = some_edge(random);
            Number x(a, digits_of(a), edge), y(b, digits_of(b), edge), t(0, 2 * n + 1, edge);
            expect_number(qalmulmont(p.c, k, p.p, x, y, t), t, reduced(a * b, p.value, k));
            expect_number(qalmulmont(p.c, k, p.p, x, x, t), t, reduced(a * a, p.value, k));
            expect_number(qalsqrmont(p.c, k, p.p, x, t), t, reduced(a * a, p.value, k));
            ASSERT_EQ(value_of(x), a);
            ASSERT_EQ(value_of(y), b);
            ASSERT_EQ(value_of(p.p), p.value);
        }
    }
}

TEST(MontgomeryDeathTest, Products)
{
    constexpr char room[] =
        "((*a)+(*b)) <= ((((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3)-1)";
    Number p(7, capacity), a(1, capacity), b(1, capacity), t(0, capacity);
    EXPECT_PRECONDITION(qalmulmont(1, 64, nullptr, a, b, t), "p!=0", mul_path, "qalmulmont");
    EXPECT_PRECONDITION(qalmulmont(1, 64, p, nullptr, b, t), "a!=0", mul_path, "qalmulmont");
    EXPECT_PRECONDITION(qalmulmont(1, 64, p, a, nullptr, t), "b!=0", mul_path, "qalmulmont");
    EXPECT_PRECONDITION(qalmulmont(1, 64, p, a, b, nullptr), "t!=0", mul_path, "qalmulmont");
    EXPECT_PRECONDITION(qalmulmont(1, 64, nullptr, nullptr, nullptr, nullptr), "p!=0", mul_path,
                        "qalmulmont");
    a.words()[0] = 2;
    EXPECT_PRECONDITION(qalmulmont(1, 64, p, a, b, t), "(*a) <= (*p)", mul_path, "qalmulmont");
    EXPECT_PRECONDITION(qalmulmont(1, 64, p, b, a, t), "(*b) <= (*p)", mul_path, "qalmulmont");
    a.words()[0] = 130;
    EXPECT_PRECONDITION(qalmulmont(1, 64, p, a, b, t), room, mul_path, "qalmulmont");
}

TEST(MontgomeryDeathTest, Squares)
{
    constexpr char room[] = "(*a)*2 <= ((((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3)-1)";
    Number p(7, capacity), a(1, capacity), t(0, capacity);
    EXPECT_PRECONDITION(qalsqrmont(1, 64, nullptr, a, t), "p!=0", sqr_path, "qalsqrmont");
    EXPECT_PRECONDITION(qalsqrmont(1, 64, p, nullptr, t), "a!=0", sqr_path, "qalsqrmont");
    EXPECT_PRECONDITION(qalsqrmont(1, 64, p, a, nullptr), "t!=0", sqr_path, "qalsqrmont");
    a.words()[0] = 2;
    EXPECT_PRECONDITION(qalsqrmont(1, 64, p, a, t), "(*a) <= (*p)", sqr_path, "qalsqrmont");
    a.words()[0] = 66;
    EXPECT_PRECONDITION(qalsqrmont(1, 64, p, a, t), room, sqr_path, "qalsqrmont");
}

TEST(Montgomery, Unity)
{
    Random random;
    for (int round = 0; round < 5000; round++) {
        const size_t n = 1 + random.below(64), k = random.below(64 * 126);
        const mpz_class p = random_number(random, n);
        Number modulus(p), x(0, capacity);
        expect_number(qalunitymont(static_cast<int32_t>(k), modulus, x), x, power_of_two(k) % p);
    }
}

// The window that begins at bit i, from the text of the definition.
TEST(Windows, Sliding)
{
    Random random;
    for (int round = 0; round < 60000; round++) {
        const mpz_class e = random_number(random, random.below(5));
        const size_t bits = mpz_sizeinbase(e.get_mpz_t(), 2), i = random.below(bits + 70);
        const auto w = static_cast<int64_t>(1 + random.below(20));
        Number number(e);
        int64_t length = -1;
        const uint64_t window = qalgetslide(number, i, w, &length);

        uint64_t expected = 0;
        auto taken = static_cast<int64_t>(i + 1);
        if (e != 0) {
            const size_t start = i < bits ? i : bits - 1;
            size_t highest = start + 1;
            while (highest > 0 && !mpz_tstbit(e.get_mpz_t(), highest - 1))
                highest--;
            if (highest > 0 && highest - 1 < i) {
                taken = static_cast<int64_t>(i - (highest - 1));
            } else if (highest > 0) {
                uint64_t value = 0;
                for (int64_t j = 0; j < w && static_cast<size_t>(j) <= i; j++) {
                    const int bit = mpz_tstbit(e.get_mpz_t(), i - static_cast<size_t>(j));
                    value = 2 * value + static_cast<uint64_t>(bit);
                    if (bit) {
                        expected = value;
                        taken = j + 1;
                    }
                }
            }
        }
        ASSERT_EQ(window, expected) << e << " from " << i << " by " << w;
        ASSERT_EQ(length, taken) << e << " from " << i << " by " << w;
    }

    Number e(45);
    int64_t length;
    EXPECT_EQ(qalgetslide(e, 5, 5, &length), 11);
    EXPECT_EQ(length, 4);
    EXPECT_EQ(qalgetslide(e, 1, 5, &length), 0);
    EXPECT_EQ(length, 1);
    EXPECT_EQ(qalgetslide(e, 0, 5, &length), 1);
    EXPECT_EQ(length, 1);
}

TEST(Windows, Fixed)
{
    Random random;
    for (int round = 0; round < 60000; round++) {
        const mpz_class e = random_number(random, random.below(6));
        const size_t n = random.below(64), i = random.below(400 / (n + 1) + 2);
        Number number(e);
        // The mask is of 32 bits with its sign: all bits for a width of 31 and its multiples by
        // 32, none for 32.
        const int32_t mask = static_cast<int32_t>(static_cast<uint32_t>(uint64_t{1} << n % 32) - 1);
        const mpz_class bits = (e >> (i * n)) % power_of_two(64);
        // Digits beyond the second are never looked at, which 63 bits cannot need.
        ASSERT_EQ(qalgetwin(number, i, n),
                  bits.get_ui() & static_cast<uint64_t>(static_cast<int64_t>(mask)))
            << e << " " << i << " " << n;
    }
}

TEST(WindowsDeathTest, Width)
{
    Number e(45);
    EXPECT_PRECONDITION(qalgetwin(e, 0, 64), "n<(sizeof(qald)*8)", "../src/qalmath64/qalgetwin",
                        "qalgetwin");
}

TEST(Exponentiation, OddModulus)
{
    Random random;
    std::vector<qald> work(18 * QALBIG_SIZE);
    for (int round = 0; round < 1500; round++) {
        const size_t n = 1 + (random.below(10) ? random.below(20) : random.below(63));
        const mpz_class p = random_number(random, n) | 1;
        const mpz_class x = random_number(random, random.below(n + 1)) % p;
        const mpz_class e = random_number(random, random.below(n < 8 ? 2 * n : 4));
        if (p == 1)
            continue;
        Number base(x, n), exponent(e), modulus(p), r(0, 2 * n + 1), other(0, 2 * n + 1);
        expect_number(qalpowmod(work.data(), base, exponent, modulus, r), r, power_mod(x, e, p));
        ASSERT_EQ(qalpowmodstart(work.data(), base, modulus), work.data());
        // The table is of odd powers in Montgomery form.
        for (size_t i = 0; i < 16; i++)
            ASSERT_EQ(value_of(work.data() + i * QALBIG_SIZE),
                      (power_mod(x, 2 * i + 1, p) << (64 * n)) % p);
        expect_number(qalpowmodstop(work.data(), exponent, modulus, other), other,
                      power_mod(x, e, p));
        // The result may replace the base.
        Number place(x, 2 * n + 1);
        expect_number(qalpowmod(work.data(), place, exponent, modulus, place), place,
                      power_mod(x, e, p));
    }
}

TEST(Exponentiation, EvenModulus)
{
    Random random;
    std::vector<qald> work(18 * QALBIG_SIZE);
    for (int round = 0; round < 500; round++) {
        const size_t n = 1 + random.below(12);
        const mpz_class p = (random_number(random, n) >> 1) * 2 + 2 * (n == 1);
        // An exponent of 1 finds the base as it is in the table: below p here.
        const mpz_class x = random_number(random, random.below(n + 1)) % p;
        const mpz_class e = random_number(random, random.below(4));
        Number base(x, n), exponent(e), modulus(p), r(0, 2 * n + 2);
        expect_number(qalpowmod(work.data(), base, exponent, modulus, r), r, power_mod(x, e, p));
        ASSERT_EQ(qalpowmodstart(work.data(), base, modulus), work.data());
        for (size_t i = 0; i < 16; i++)
            ASSERT_EQ(value_of(work.data() + i * QALBIG_SIZE), power_mod(x, 2 * i + 1, p));
    }
}

TEST(Exponentiation, Examples)
{
    std::vector<qald> work(18 * QALBIG_SIZE);
    const auto power = [&](const mpz_class &x, const mpz_class &e, const mpz_class &p) {
        Number base(x), exponent(e), modulus(p), r(0, 2 * digits_of(p) + 2);
        return value_of(qalpowmod(work.data(), base, exponent, modulus, r));
    };
    EXPECT_EQ(power(3, 5, 100), 43);
    EXPECT_EQ(power(3, 0, 100), 1);
    EXPECT_EQ(power(3, 0, 101), 1);
    EXPECT_EQ(power(3, 1, 101), 3);
    EXPECT_EQ(power(0, 5, 101), 0);
    for (const unsigned e : {0U, 5U}) {
        Number exponent(e), one(1), r(7, 3);
        EXPECT_EQ(value_of(qalpowmodstop(work.data(), exponent, one, r)), 0) << e;
    }
    const mpz_class p = power_of_two(64 * 63) - 1;
    EXPECT_EQ(power(2, 64 * 63 + 5, p), 32);
}

TEST(ExponentiationDeathTest, OddModulusOf64Digits)
{
    std::vector<qald> work(18 * QALBIG_SIZE);
    Number base(3, 64), exponent(5), modulus(power_of_two(64 * 64) - 1), r(0, capacity);
    EXPECT_PRECONDITION(qalpowmod(work.data(), base, exponent, modulus, r),
                        "(((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3) >= ( x[0]+3 )",
                        "../src/qalmath64/qaldiv", "qaldiv");
}

TEST(Exponentiation, InMontgomeryForm)
{
    Random random;
    std::vector<qald> work(16 * QALBIG_SIZE);
    for (int round = 0; round < 1500; round++) {
        Modulus p(random, 1 + (random.below(10) ? random.below(18) : random.below(64)));
        if (p.value == 1)
            continue;
        const mpz_class x = random_number(random, random.below(p.n + 1)) % p.value;
        const mpz_class e = random_number(random, random.below(5)),
                        expected = power_mod(x, e, p.value);
        Number base(p.in_form(x), p.n), one(p.in_form(1), p.n), exponent(e);
        Number r(0, 2 * p.n + 1), other(0, 2 * p.n + 1);
        ASSERT_EQ(qalpowmont(work.data(), one, p.c, p.k, p.p, base, exponent, r), 0);
        expect_number(r, r, p.in_form(expected));
        ASSERT_EQ(qalpowmontstart(work.data(), p.c, p.k, p.p, base), work.data());
        for (size_t i = 0; i < 16; i++)
            ASSERT_EQ(value_of(work.data() + i * QALBIG_SIZE),
                      p.in_form(power_mod(x, 2 * i + 1, p.value)));
        expect_number(qalpowmontstop(work.data(), one, p.c, p.k, p.p, exponent, other), other,
                      p.in_form(expected));

        const size_t entries = 16, stride = p.n + 1;
        std::vector<qald> table(entries * stride + 131);
        ASSERT_EQ(qalmontic(table.data(), 5, p.c, p.k, p.p, base), table.data());
        for (size_t i = 0; i < entries; i++)
            ASSERT_EQ(value_of(table.data() + i * stride),
                      p.in_form(power_mod(x, 2 * i + 1, p.value)));
        for (const uint32_t most : {0U, 1U, 64U, 5000U}) {
            Number padded(0, 2 * p.n + 1);
            expect_number(qalicpowmont(table.data(), 5, most, one, p.c, p.k, p.p, exponent, padded),
                          padded, p.in_form(expected));
        }
    }
}

// Radices other than that of p's digits, and bases that are not below p: of those the result is a
// representative, which need not be the least.
TEST(Exponentiation, InUnusualMontgomeryForms)
{
    Random random;
    std::vector<qald> work(16 * QALBIG_SIZE), table(17 * QALBIG_SIZE);
    for (int round = 0; round < 400; round++) {
        Modulus p(random, 1 + random.below(12));
        if (p.value == 1)
            continue;
        const bool unusual = random.below(2) == 0;
        if (unusual) {
            const auto least = static_cast<uint32_t>(mpz_sizeinbase(p.value.get_mpz_t(), 2));
            p.k = least + static_cast<uint32_t>(random.below(64 * p.n + 64 - least));
        }
        const mpz_class e = random_number(random, random.below(4));
        mpz_class x = p.in_form(random_number(random, p.n) % p.value);
        if (!unusual)
            x += (power_of_two(64 * p.n) - 1 - x) / p.value * p.value;
        Number base(x, p.n), one(p.in_form(1), p.n), exponent(e);
        Number r(0, 2 * p.n + 1), other(0, 2 * p.n + 1);
        // x = y 2^k
        mpz_class radix = (mpz_class(1) << p.k) % p.value, inverse = inverse_of(radix, p.value);
        const mpz_class expected = p.in_form(power_mod(x * inverse % p.value, e, p.value));
        qalpowmontstart(work.data(), p.c, p.k, p.p, base);
        ASSERT_EQ(qalpowmontstop(work.data(), one, p.c, p.k, p.p, exponent, r), r.words());
        ASSERT_EQ(value_of(r) % p.value, expected) << "k " << p.k << ", p " << p.value;
        ASSERT_TRUE(is_normalised(r));
        qalmontic(table.data(), 5, p.c, p.k, p.p, base);
        ASSERT_EQ(qalicpowmont(table.data(), 5, 0, one, p.c, p.k, p.p, exponent, other),
                  other.words());
        ASSERT_EQ(value_of(other), value_of(r));
        if (unusual) {
            ASSERT_LT(value_of(r), p.value);
        }
    }
}

TEST(Exponentiation, CompactTablesOfAllWidths)
{
    Random random;
    for (uint32_t w = 2; w <= 7; w++) {
        for (int round = 0; round < 100; round++) {
            const Modulus odd(random, 1 + random.below(9));
            Modulus p(odd.value);
            const mpz_class x = random_number(random, p.n) % p.value;
            Number base(p.in_form(x), p.n);
            const size_t entries = size_t{1} << (w - 1), stride = p.n + 1;
            // The last product begins in the last entry and has n + 1 digits more.
            GuardedBytes room((entries * stride + p.n + 1) * sizeof(qald));
            qald *const table = reinterpret_cast<qald *>(room.data());
            qalmontic(table, w, p.c, p.k, p.p, base);
            for (size_t i = 0; i < entries; i++)
                ASSERT_EQ(value_of(table + i * stride),
                          p.in_form(power_mod(x, 2 * i + 1, p.value)));
        }
    }
}

TEST(ExponentiationDeathTest, CompactTable)
{
    constexpr char path[] = "../src/qalmath64/qalmontic";
    std::vector<qald> table(16 * QALBIG_SIZE);
    Number p(7, capacity), x(1);
    EXPECT_PRECONDITION(qalmontic(nullptr, 5, 1, 64, p, x), "powers != 0", path, "qalmontic");
    EXPECT_PRECONDITION(qalmontic(table.data(), 5, 1, 64, nullptr, x), "p != 0", path, "qalmontic");
    EXPECT_PRECONDITION(qalmontic(table.data(), 5, 1, 64, p, nullptr), "x != 0", path, "qalmontic");
    p.words()[0] = 65;
    EXPECT_PRECONDITION(qalmontic(table.data(), 5, 1, 64, p, x),
                        "((*p)*2+2) <= (((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3)", path,
                        "qalmontic");
}

TEST(Primality, AgainstGmp)
{
    Random random;
    for (unsigned n = 3; n < 20000; n++) {
        Number number(n);
        ASSERT_EQ(qalrmt(number, 16), mpz_probab_prime_p(mpz_class(n).get_mpz_t(), 30) != 0) << n;
    }
    for (size_t n = 1; n <= 12; n++) {
        for (int round = 0; round < 30; round++) {
            mpz_class p, q;
            mpz_nextprime(p.get_mpz_t(), random_number(random, n).get_mpz_t());
            mpz_nextprime(q.get_mpz_t(), random_number(random, 1).get_mpz_t());
            Number prime(p), product(p * q), next(p + 2);
            ASSERT_EQ(qalrmt(prime, 5), 1) << p;
            ASSERT_EQ(qalrmt(product, 10), 0) << p << " " << q;
            ASSERT_EQ(qalrmt(next, 10) != 0,
                      mpz_probab_prime_p(mpz_class(p + 2).get_mpz_t(), 30) != 0);
        }
    }
}

// 1 says of every number that it is prime, so it is no base. Of the others below 15 only 14 says so
// of 15: one in thirteen. With 1 it would be two in fourteen.
TEST(Primality, OneIsNoBase)
{
    Number fifteen(15);
    constexpr int calls = 20000;
    int wrong = 0;
    for (int call = 0; call < calls; call++)
        wrong += qalrmt(fifteen, 1);
    EXPECT_GT(wrong, calls / 26);
    EXPECT_LT(wrong, calls / 9);
}

TEST(Primality, Examples)
{
    const auto answer = [](const mpz_class &n, uint32_t rounds) {
        Number number(n);
        return qalrmt(number, rounds);
    };
    EXPECT_EQ(answer(2, 0), 1);
    EXPECT_EQ(answer(2, 5), 1);
    EXPECT_EQ(answer(0, 5), 0);
    EXPECT_EQ(answer(4, 5), 0);
    EXPECT_EQ(answer(power_of_two(500), 5), 0);
    EXPECT_EQ(answer(561, 20), 0);
    EXPECT_EQ(answer(3, 5), 1);
    // No round, no proof.
    EXPECT_EQ(answer(561, 0), 1);
    EXPECT_EQ(answer(9, 0), 1);
}

// There is no odd part in zero, and the search for it has no end.
TEST(Primality, OfOneDoesNotEnd)
{
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        Number one(1);
        alarm(1);
        qalrmt(one, 1);
        _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGALRM);
}
