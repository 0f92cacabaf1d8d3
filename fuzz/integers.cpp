// Sums, products, quotients, shifts, signed numbers and bit strings, against GMP.
#include "numbers.hpp"

#include <qal/rsa.h>

#include <memory>

using namespace qal::fuzz;

namespace {

void check_sums(Input &in)
{
    const mpz_class x = number(in, 129), y = in.flag() ? x : number(in, 129);
    const auto edge = in.edge();
    const size_t n = digits_of(x), m = digits_of(y), most = std::max(n, m);
    Number b(y, m, edge), sum(x, most + 1, edge), exclusive(x, most, edge);
    ASSERT_EQ(qalcmp(exclusive, b), cmp(x, y) > 0 ? 1 : cmp(x, y) < 0 ? -1 : 0);
    expect_number(qaladd(sum, b), sum, x + y);
    expect_number(qaladd2m(exclusive, b), exclusive, x ^ y);
    Number larger(x < y ? y : x, most, edge), smaller(x < y ? x : y, std::min(n, m), edge);
    expect_number(qalsub(larger, smaller), larger, abs(x - y));
    ASSERT_EQ(value_of(b), y);

    Number twice(x, n + 1, edge), zero(x, n, edge), none(x, n, edge);
    expect_number(qaladd(twice, twice), twice, 2 * x);
    expect_number(qalsub(zero, zero), zero, 0);
    expect_number(qaladd2m(none, none), none, 0);
}

void check_products(Input &in)
{
    const mpz_class x = number(in, 80);
    const mpz_class y = number(in, 130 - digits_of(x));
    const auto edge = in.edge();
    const size_t n = digits_of(x), m = digits_of(y);
    Number a(x, n, edge), b(y, m, edge), product(0, n + m, edge);
    expect_number(qalmul(a, b, product), product, x * y);
    expect_number(qalmul(b, a, product), product, x * y);
    if (2 * n <= capacity) {
        Number square(0, 2 * n, edge), itself(0, 2 * n, edge);
        expect_number(qalsqr(a, square), square, x * x);
        expect_number(qalmul(a, a, itself), itself, x * x);
    }
    ASSERT_EQ(value_of(a), x);
    ASSERT_EQ(value_of(b), y);
}

void check_division(Input &in)
{
    mpz_class y = number(in, 129), x;
    if (y == 0)
        y = 1;
    // Any dividend, or one that is made of a quotient and a remainder at the edge.
    const size_t n_quotient = digits_of(y) < 128 ? 128 - digits_of(y) : 0;
    switch (in.below(4)) {
    case 0:
        x = number(in, 128);
        break;
    case 1:
        x = y * number(in, n_quotient);
        break;
    case 2:
        x = y * number(in, n_quotient) + y - 1;
        break;
    default:
        x = y * number(in, n_quotient);
        x += number(in, 128) % y;
        break;
    }
    if (digits_of(x) > 128)
        x >>= 64;
    const auto edge = in.edge();
    const size_t n = digits_of(x), m = digits_of(y), room = n >= m ? n - m + 1 : 0;
    const mpz_class quotient = x / y, remainder = x % y;
    Number dividend(x, n, edge), divisor(y, m, edge), q(0, room, edge), r(0, n + 2, edge);
    qaldiv(dividend, divisor, q, r);
    expect_number(q, q, quotient);
    expect_number(r, r, remainder);
    Number rest(0, n + 2, edge), place(x, n + 2, edge), alone(x, n + 2, edge);
    qaldiv(dividend, divisor, nullptr, rest);
    expect_number(rest, rest, remainder);
    qaldiv(place, divisor, q, place);
    expect_number(place, place, remainder);
    expect_number(q, q, quotient);
    qaldiv(alone, divisor, nullptr, alone);
    expect_number(alone, alone, remainder);
    ASSERT_EQ(value_of(dividend), x);
    ASSERT_EQ(value_of(divisor), y);
}

void check_digits(Input &in)
{
    const qald divisor = std::max<qald>(digit(in, 5), 1), low = digit(in, divisor);
    ASSERT_EQ(qalinverse(low | 1) * (low | 1), 1);

    const qald normalised = divisor | qald{1} << 63, high = digit(in, normalised) % normalised;
    const mpz_class x = (mpz_class(high) << 64) + low;
    qald q = 0;
    ASSERT_EQ(qaldivs(high, low, normalised, &q), mpz_class(x % normalised).get_ui());
    ASSERT_EQ(q, mpz_class(x / normalised).get_ui());
    ASSERT_EQ(qaldivs(high, low, normalised, nullptr), mpz_class(x % normalised).get_ui());

    const mpz_class long_one = number(in, 130);
    Number dividend(long_one, digits_of(long_one), in.edge());
    ASSERT_EQ(qalmodd(dividend, divisor), mpz_class(long_one % divisor).get_ui());
}

void check_powers_of_two(Input &in)
{
    const mpz_class x = number(in, 129);
    const size_t n = digits_of(x), bits = in.below(64 * 140), unit = 1 + in.below(200);
    const auto edge = in.edge();
    Number a(x, n, edge);
    const size_t length = x == 0 ? 0 : mpz_sizeinbase(x.get_mpz_t(), 2);
    ASSERT_EQ(qalbitlen(a, unit), (length + unit - 1) / unit);

    const size_t room = std::min(n + bits / 64 + 1, capacity);
    const mpz_class left = (x << bits) % power_of_two(64 * capacity), right = x >> bits;
    Number up(0, room, edge), down(0, n - std::min(n, bits / 64), edge);
    expect_number(qalshl(a, bits, up), up, left);
    expect_number(qalshr(a, bits, down), down, right);
    ASSERT_EQ(value_of(a), x);
    Number up_in_place(x, std::max(n, room), edge), down_in_place(x, n, edge);
    expect_number(qalshl(up_in_place, bits, up_in_place), up_in_place, left);
    expect_number(qalshr(down_in_place, bits, down_in_place), down_in_place, right);

    Number low(x, n, edge);
    expect_number(qalmodexpb2(low, bits), low, x % power_of_two(bits));
    if (bits / 64 < 129) {
        Number power(0, bits / 64 + 1, edge), sum(x, std::max(n, bits / 64 + 1) + 1, edge);
        expect_number(qalexpb2(power, bits), power, power_of_two(bits));
        expect_number(qaladdb2(sum, bits), sum, x + power_of_two(bits));
    }
}

// The folds of qalmodsf() with a subtraction of one digit: the remainder for every c below 2^32.
void check_special_modulus(Input &in)
{
    const size_t k = 2 + in.below(63);
    const qald c = std::max<qald>(in.word(4), 1);
    const mpz_class p = power_of_two(64 * k) - c;
    const bool near_a_multiple = in.flag();
    mpz_class x = number(in, near_a_multiple ? k : 2 * k);
    if (near_a_multiple)
        x = p * x + in.byte();
    const size_t n = digits_of(x);
    Number a(x, std::max(n, k), in.edge()), modulus(p);
    expect_number(qalmodsf(a, modulus, static_cast<int32_t>(64 * k), c), a, x % p);
    for (size_t i = a.words()[0] + 1; i <= n; i++)
        ASSERT_EQ(a.words()[i], 0);
}

void check_euclid(Input &in)
{
    const mpz_class factor = number(in, 8), x = factor * number(in, 60),
                    y = in.flag() ? x : mpz_class(factor * number(in, 60));
    const auto edge = in.edge();
    const size_t n = digits_of(x), m = digits_of(y), most = std::max(n, m);
    const mpz_class divisor = gcd(x, y);
    Number a(x, n, edge), b(y, m, edge), g(0, most, edge), in_a(x, most, edge), in_b(y, most, edge);
    expect_number(GCD(a, b, g), g, divisor);
    expect_number(GCD(in_a, b, in_a), in_a, divisor);
    expect_number(GCD(a, in_b, in_b), in_b, divisor);
    ASSERT_EQ(value_of(a), x);
    ASSERT_EQ(value_of(b), y);
}

qalsi signed_number(const mpz_class &value, bool negative_zero)
{
    qalsi s;
    std::memset(&s, 0xa5, sizeof s);
    Number magnitude(abs(value));
    std::memcpy(s.mag, magnitude.words(), (magnitude.words()[0] + 1) * sizeof(qald));
    s.sign = value < 0 || (value == 0 && negative_zero) ? -1 : 1;
    return s;
}

mpz_class value_of(const qalsi &s)
{
    EXPECT_TRUE(is_normalised(s.mag));
    EXPECT_TRUE(s.sign == 1 || s.sign == -1);
    return s.sign * qal::test::value_of(s.mag);
}

void check_signed(Input &in)
{
    const auto signed_value = [&](size_t most) {
        const mpz_class magnitude = number(in, most);
        return in.flag() ? mpz_class(-magnitude) : magnitude;
    };
    const mpz_class x = signed_value(63);
    const mpz_class y = in.flag() ? x : signed_value(31);
    const mpz_class factor = number(in, digits_of(y) > 31 ? 0 : 32);
    // Each in memory of its own.
    const auto a = std::make_unique<qalsi>(signed_number(x, in.flag()));
    const auto b = std::make_unique<qalsi>(signed_number(y, in.flag()));
    const auto d = std::make_unique<qalsi>();
    Number q(factor);
    ASSERT_EQ(qalsicopy(d.get(), a.get()), d.get());
    ASSERT_EQ(qalsisub(d.get(), b.get()), d.get());
    ASSERT_EQ(value_of(*d), x - y);
    ASSERT_EQ(qalsisubmul(d.get(), a.get(), q, b.get()), d.get());
    ASSERT_EQ(value_of(*d), x - factor * y);
    *d = *a;
    ASSERT_EQ(value_of(*qalsisubmul(d.get(), d.get(), q, b.get())), x - factor * y);
    *d = *b;
    ASSERT_EQ(value_of(*qalsisubmul(d.get(), a.get(), q, d.get())), x - factor * y);
    ASSERT_EQ(value_of(*qalsisub(a.get(), a.get())), 0);
}

void check_bit_strings(Input &in)
{
    constexpr uint32_t none = 0xffffffff;
    const auto bits = static_cast<int32_t>(in.below(8321));
    const size_t words = (static_cast<size_t>(bits) + 63) / 64;
    const qald fill = digit(in, 0);
    Number bs(0, words, in.edge());
    ASSERT_EQ(qalbscr(bs, bits, fill), bs.words());
    ASSERT_EQ(qalbslen(bs), 64 * words);
    std::vector<bool> model(64 * words);
    for (size_t i = 0; i < model.size(); i++)
        model[i] = fill >> i % 64 & 1;
    while (!in.empty()) {
        const uint64_t i = in.flag() ? in.word() : in.below(64 * words + 65);
        const uint32_t val = in.flag();
        ASSERT_EQ(qalbssetbit(bs, i, val), i < model.size() ? val : none);
        if (i < model.size())
            model[i] = val != 0;
        uint64_t next = i + 1;
        while (next < model.size() && model[next] != (val != 0))
            next++;
        ASSERT_EQ(qalbsnextval(bs, i, static_cast<int32_t>(val)),
                  next < model.size() ? next : none);
    }
    for (size_t i = 0; i < model.size(); i++)
        ASSERT_EQ(bs.words()[1 + i / 64] >> i % 64 & 1, model[i]);
}

} // namespace

QAL_FUZZ_TARGET
{
    static constexpr decltype(&check_sums) checks[] = {
        check_sums,   check_products,      check_division,
        check_digits, check_powers_of_two, check_special_modulus,
        check_euclid, check_signed,        check_bit_strings};
    in.one_of(checks)(in);
}
