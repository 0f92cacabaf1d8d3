// What machine code owes its caller: registers, flags, stack, and the way back for an unwinder.
#include "qalmath64/kernels/montgomery.hpp"

#include "support/checked_call.hpp"
#include "support/numbers.hpp"
#include "support/sweeps.hpp"

#include <gtest/gtest.h>

// 0 where the processor's trap flag has no effect.
#ifndef QAL_TEST_STEPS
#define QAL_TEST_STEPS 1
#endif

using namespace qal::test;

namespace {

template<class T>
uint64_t word(T value)
{
    if constexpr (std::is_pointer_v<T>)
        return reinterpret_cast<uintptr_t>(value);
    else
        return static_cast<uint64_t>(value);
}

// Calls it as it is and, now and then, step by step.
template<class Function, class... Arguments>
uint64_t call(bool step, Function *function, Arguments... arguments)
{
    const std::array<uint64_t, 6> words = {word(arguments)...};
    const auto *code = reinterpret_cast<const void *>(function);
    return step ? stepped_call(code, words) : checked_call(code, words);
}

// Calls check(step, random) for plain calls and for calls by steps, which take long.
template<class Check>
void plain_and_stepped(int rounds, Check check)
{
    Random random;
    for (int round = 0; round < rounds; round++) {
        for (int step = 0; step <= QAL_TEST_STEPS; step++) {
            SCOPED_TRACE(step != 0 ? "step by step" : "at once");
            check(step != 0, random);
        }
    }
}

constexpr uint32_t bmi2_adx = qal::base::needs_bmi2adx;

using Multiply = qald *(const qald *, const qald *, qald *);
using Square = qald *(const qald *, qald *);

const std::vector<Variant<Multiply>> products = {{"portable", 0, qalmul_portable},
                                                 {"bmi2adx", bmi2_adx, qalmul_bmi2adx}};
const std::vector<Variant<Square>> squares = {{"portable", 0, qalsqr_portable},
                                              {"bmi2adx", bmi2_adx, qalsqr_bmi2adx}};
const std::vector<Variant<decltype(qal_mul_row)>> mul_rows = {
    {"portable", 0, qal_mul_row_portable}, {"bmi2adx", bmi2_adx, qal_mul_row_bmi2adx}};
const std::vector<Variant<decltype(qal_mul_row)>> addmul_rows = {
    {"portable", 0, qal_addmul_row_portable}, {"bmi2adx", bmi2_adx, qal_addmul_row_bmi2adx}};
const std::vector<Variant<decltype(qal_mul_row)>> submul_rows = {
    {"portable", 0, qal_submul_row_portable}, {"bmi2adx", bmi2_adx, qal_submul_row_bmi2adx}};
const std::vector<Variant<decltype(qal_redc_digits)>> reductions = {
    {"portable", 0, qal_redc_digits_portable}, {"bmi2adx", bmi2_adx, qal_redc_digits_bmi2adx}};

} // namespace

TEST(CallingConvention, SumsAndComparisons)
{
    plain_and_stepped(200, [](bool step, Random &random) {
        const mpz_class a = random_number(random, random.below(12));
        const mpz_class b = random.below(3) ? random_number(random, random.below(12)) : a;
        Number x(a, 13), y(b);
        ASSERT_EQ(static_cast<int32_t>(call(step, qalcmp, x.words(), y.words())), a < b   ? -1
                                                                                  : a > b ? 1
                                                                                          : 0);
        ASSERT_EQ(call(step, qaladd, x.words(), y.words()), word(x.words()));
        ASSERT_EQ(value_of(x), a + b);
    });
}

TEST(CallingConvention, Products)
{
    plain_and_stepped(60, [](bool step, Random &random) {
        const size_t n = random.below(20), m = random.below(4) ? random.below(20) : n;
        const mpz_class a = random_number(random, n), b = random_number(random, m);
        Number x(a), y(b);
        each_variant(products, [&](const auto &multiply) {
            Number product(0, n + m);
            ASSERT_EQ(call(step, multiply.run, x.words(), y.words(), product.words()),
                      word(product.words()));
            ASSERT_EQ(value_of(product), a * b);
        });
        each_variant(squares, [&](const auto &square) {
            Number result(0, 2 * n);
            ASSERT_EQ(call(step, square.run, x.words(), result.words()), word(result.words()));
            ASSERT_EQ(value_of(result), a * a);
        });
    });
}

// By Karatsuba's identity they go through compiled code and the loader's stubs.
TEST(CallingConvention, LongProducts)
{
    Random random;
    const mpz_class a = random_number(random, 64), b = random_number(random, 64);
    Number x(a), y(b), product(0, 128);
    each_variant(products, [&](const auto &multiply) {
        call(false, multiply.run, x.words(), y.words(), product.words());
        ASSERT_EQ(value_of(product), a * b);
    });
    each_variant(squares, [&](const auto &square) {
        call(false, square.run, x.words(), product.words());
        ASSERT_EQ(value_of(product), a * a);
    });
}

TEST(CallingConvention, FourAndEightDigits)
{
    plain_and_stepped(10, [](bool step, Random &random) {
        for (const size_t n : {4U, 8U}) {
            const mpz_class a = random_number(random, n), b = random_number(random, n);
            Number x(a), y(b);
            each_variant(products, [&](const auto &multiply) {
                Number product(0, 2 * n);
                call(step, multiply.run, x.words(), y.words(), product.words());
                ASSERT_EQ(value_of(product), a * b);
            });
            each_variant(squares, [&](const auto &square) {
                Number result(0, 2 * n);
                call(step, square.run, x.words(), result.words());
                ASSERT_EQ(value_of(result), a * a);
            });
        }
    });
}

TEST(CallingConvention, Rows)
{
    plain_and_stepped(40, [](bool step, Random &random) {
        const size_t n = 1 + random.below(12);
        const mpz_class a = random_number(random, n), r = random_number(random, n);
        const mpz_class power = power_of_two(64 * n);
        const qald b = random.word(), minus = 0 - static_cast<qald>(random.below(2));
        Digits x(a, n), y(r, n);
        qald *const in = x, *const other = y;
        const auto check = [&](const auto &rows, const mpz_class &expected, bool subtracts) {
            each_variant(rows, [&](const auto &row) {
                Digits out(r, n);
                const qald carry = call(step, row.run, static_cast<qald *>(out), in, n, b);
                ASSERT_EQ(subtracts ? mpz_class(out.value() - power * carry)
                                    : mpz_class(out.value() + power * carry),
                          expected);
            });
        };
        check(mul_rows, a * b, false);
        check(addmul_rows, r + a * b, false);
        check(submul_rows, r - a * b, true);

        Digits out(0, n);
        qald *const sum = out;
        qald carry = call(step, qal_add_row, sum, in, other, n);
        ASSERT_EQ(out.value() + power * carry, a + r);
        carry = call(step, qal_sub_row, sum, in, other, n);
        ASSERT_EQ(out.value() - power * carry, a - r);
        carry = call(step, qal_add_signed_row, sum, in, other, n, minus);
        ASSERT_EQ(out.value() + power * carry, minus ? mpz_class(a + power - r) : mpz_class(a + r));
    });
}

TEST(CallingConvention, Montgomery)
{
    plain_and_stepped(20, [](bool step, Random &random) {
        const size_t n = random.below(2) ? 4 + 4 * random.below(2) : 1 + random.below(18);
        const mpz_class p = random_number(random, n) | 1, t = random_number(random, n);
        const qald c = qalinverse(0 - mpz_class(p % power_of_two(64)).get_ui());
        Digits modulus(p, n), factor(t, n);
        each_variant(reductions, [&](const auto &reduce) {
            Digits digits(t * t, 2 * n);
            const qald carry = call(step, reduce.run, static_cast<qald *>(digits),
                                    static_cast<qald *>(modulus), n, c);
            ASSERT_EQ((digits.value(n) + power_of_two(64 * n) * carry) * power_of_two(64 * n) % p,
                      t * t % p);
        });
        if ((processor_features() & bmi2_adx) == 0 || (n != 4 && n != 8))
            return;
        Digits r(0, n);
        qald *const result = r, *const x = factor, *const m = modulus;
        call(step, n == 4 ? qal_mont_mul_4_bmi2adx : qal_mont_mul_8_bmi2adx, result, x, x, m, c);
        ASSERT_EQ(r.value() * power_of_two(64 * n) % p, t * t % p);
        call(step, n == 4 ? qal_mont_sqr_4_bmi2adx : qal_mont_sqr_8_bmi2adx, result, x, m, c);
        ASSERT_EQ(r.value() * power_of_two(64 * n) % p, t * t % p);
    });
}
