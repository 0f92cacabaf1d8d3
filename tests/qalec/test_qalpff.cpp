// Prime fields of all sizes, against GMP.
#include "qalec/model.hpp"
#include "support/preconditions.hpp"

#include <qal/qalpff.h>

#include <gtest/gtest.h>

#include <functional>

using namespace qal::test;

namespace {

constexpr size_t room = 8; // digits of an element

struct Field {
    mpz_class p;
    qalpff pf;
    bool special;
    mpz_class R;

    explicit Field(const mpz_class &modulus) : p(modulus)
    {
        std::memset(&pf, 0xa5, sizeof pf);
        EXPECT_EQ(qalpff_init(&pf, Number(p)), &pf);
        R = mpz_class(1) << (64 * digits_of(p));
        special = digits_of(p) >= 2 && R - p < (mpz_class(1) << 64);
    }

    [[nodiscard]] mpz_class internal(const mpz_class &x) const
    {
        return special ? modulo(x, p) : modulo(x * R, p);
    }
    [[nodiscard]] mpz_class external(const mpz_class &x) const
    {
        return special ? modulo(x, p) : modulo(x * inverse(R, p), p);
    }
};

// Primes of 1 to 8 digits: random ones, the largest and the smallest of their size; and 2^(64 n) -
// c.
std::vector<mpz_class> primes(Random &random)
{
    std::vector<mpz_class> list{3, 5, 7, 251};
    for (size_t n = 1; n <= 8; n++) {
        const mpz_class R = mpz_class(1) << (64 * n), half = R / 2;
        mpz_class p;
        do {
            p = next_prime(half + below(random, half));
        } while (p > R);
        list.push_back(p);
        list.push_back(next_prime((R >> 64) + 1)); // odd, also for one digit
        list.push_back(next_prime(R >> 1));
        for (mpz_class c = 1, found = 0; found < 2; c += 2) {
            if (mpz_probab_prime_p(mpz_class(R - c).get_mpz_t(), 20)) {
                list.push_back(R - c);
                found++;
            }
        }
        // c of a full digit, and one bit too many
        mpz_class c = (mpz_class(1) << 64) - 1;
        while (n > 1 && !mpz_probab_prime_p(mpz_class(R - c).get_mpz_t(), 20))
            c -= 2;
        list.push_back(n > 1 ? mpz_class(R - c) : mpz_class(65537));
        c = (mpz_class(1) << 64) + 1;
        while (n > 1 && !mpz_probab_prime_p(mpz_class(R - c).get_mpz_t(), 20))
            c += 2;
        list.push_back(n > 1 ? mpz_class(R - c) : mpz_class(13));
    }
    return list;
}

void expect_element(const qald *returned, Number &z, const mpz_class &expected)
{
    ASSERT_EQ(returned, z.words());
    ASSERT_TRUE(is_normalised(z));
    ASSERT_EQ(value_of(z), expected);
}

// An operation of two operands, apart and in place of each.
void check_two(Random &random, const mpz_class &a, const mpz_class &b, const mpz_class &expected,
               const std::function<qald *(const qald *, const qald *, qald *)> &run)
{
    Number x(a, room, some_edge(random)), y(b, room, some_edge(random)), z(0, room);
    expect_element(run(x, y, z), z, expected);
    ASSERT_EQ(value_of(x), a);
    ASSERT_EQ(value_of(y), b);
    Number u(a, room), v(b, room);
    expect_element(run(u, y, u), u, expected);
    expect_element(run(x, v, v), v, expected);
}

void check_one(Random &random, const mpz_class &a, const mpz_class &expected,
               const std::function<qald *(const qald *, qald *)> &run)
{
    Number x(a, room, some_edge(random)), z(0, room);
    expect_element(run(x, z), z, expected);
    ASSERT_EQ(value_of(x), a);
    expect_element(run(x, x), x, expected);
}

} // namespace

TEST(PrimeField, RecordTellsTheFamily)
{
    Random random;
    for (const mpz_class &p : primes(random)) {
        const Field field(p);
        const qalpff &pf = field.pf;
        EXPECT_EQ(value_of(pf.p), p);
        EXPECT_EQ(pf.l, 64 * digits_of(p));
        EXPECT_EQ(pf.setzero, qalpffsetzero);
        EXPECT_EQ(pf.add, qalpffadd);
        EXPECT_EQ(pf.sub, qalpffsub);
        EXPECT_EQ(pf.div2, qalpffdiv2);
        EXPECT_EQ(pf.in, field.special ? qalpffpsfin : qalpffmontin);
        EXPECT_EQ(pf.out, field.special ? qalpffpsfout : qalpffmontout);
        EXPECT_EQ(pf.setone, field.special ? qalpffpsfsetone : qalpffmontsetone);
        EXPECT_EQ(pf.mul, field.special ? qalpffpsfmul : qalpffmontmul);
        EXPECT_EQ(pf.sqr, field.special ? qalpffpsfsqr : qalpffmontsqr);
        EXPECT_EQ(pf.inv, field.special ? qalpffpsfinv : qalpffmontinv);
        const uint64_t p0 = mpz_getlimbn(p.get_mpz_t(), 0);
        if (field.special) {
            EXPECT_EQ(pf.k, 0 - p0);
            for (const qald word : pf.one)
                EXPECT_EQ(word, 0xa5a5a5a5a5a5a5a5); // left as it was
        } else {
            EXPECT_EQ(pf.k * p0, ~uint64_t{0});
            EXPECT_EQ(value_of(pf.one), modulo(field.R, p));
        }
    }
}

TEST(PrimeField, UnusableModuli)
{
    qalpff pf;
    std::memset(&pf, 0x5a, sizeof pf);
    const qalpff before = pf;
    EXPECT_EQ(qalpff_init(&pf, nullptr), nullptr);
    EXPECT_EQ(qalpff_init(&pf, QALBIG_ZERO), nullptr);
    EXPECT_EQ(std::memcmp(&pf, &before, sizeof pf), 0);
    // An all-ones upper part and zero at the bottom is still of the special form.
    Number shape(((mpz_class(1) << 128) - (mpz_class(1) << 64)));
    EXPECT_EQ(qalpff_init(&pf, shape), &pf);
    EXPECT_EQ(pf.mul, qalpffpsfmul);
    EXPECT_EQ(pf.k, 0U);
}

TEST(PrimeField, Operations)
{
    Random random;
    for (const mpz_class &p : primes(random)) {
        const Field field(p);
        const qalpff *const f = &field.pf;
        SCOPED_TRACE("p = " + p.get_str(16));
        const mpz_class half = inverse(2, p);
        for (int round = 0; round < 300; round++) {
            const mpz_class a = element(random, p), b = round % 16 ? element(random, p) : a;
            check_two(random, a, b, modulo(a + b, p),
                      [f](const qald *x, const qald *y, qald *z) { return f->add(f, x, y, z); });
            check_two(random, a, b, modulo(a - b, p),
                      [f](const qald *x, const qald *y, qald *z) { return f->sub(f, x, y, z); });
            check_two(random, a, b, field.external(a * b),
                      [f](const qald *x, const qald *y, qald *z) { return f->mul(f, x, y, z); });
            check_one(random, a, field.external(a * a),
                      [f](const qald *x, qald *z) { return f->sqr(f, x, z); });
            check_one(random, a, modulo(a * half, p),
                      [f](const qald *x, qald *z) { return f->div2(f, x, z); });
            check_one(random, a, field.internal(a),
                      [f](const qald *x, qald *z) { return f->in(f, z, x); });
            check_one(random, a, field.external(a),
                      [f](const qald *x, qald *z) { return f->out(f, z, x); });
            check_one(random, a, a == 0 ? p : field.internal(field.internal(inverse(a, p))),
                      [f](const qald *x, qald *z) { return f->inv(f, x, z); });

            // Numbers that are not reduced, and longer than the modulus.
            const mpz_class wide = random_number(random, random.below(100));
            Number x(wide), z(0, room);
            expect_element(f->in(f, z, x), z, field.internal(wide));
            expect_element(f->setzero(f, z), z, 0);
            expect_element(f->setone(f, z), z, field.internal(1));
        }
    }
}

TEST(PrimeField, HalfOfOdd)
{
    const mpz_class p = (mpz_class(1) << 512) - 569;
    const Field field(p);
    Number a(p - 2, room), z(0, room);
    expect_element(qalpffdiv2(&field.pf, a, z), z, p - 1);
    expect_element(qalpffadd(&field.pf, z, z, z), z, p - 2);
}

TEST(PrimeField, Powers)
{
    Random random;
    for (const mpz_class &p : primes(random)) {
        const Field field(p);
        const qalpff *const f = &field.pf;
        for (unsigned round = 0; round < 20; round++) {
            const mpz_class plain = element(random, p), x = field.internal(plain);
            const mpz_class e = round < 2 ? mpz_class(round) : random_number(random, round / 2);
            mpz_class expected;
            mpz_powm(expected.get_mpz_t(), plain.get_mpz_t(), e.get_mpz_t(), p.get_mpz_t());
            if (e == 0)
                expected = 1;
            check_one(random, x, field.internal(expected),
                      [&](const qald *base, qald *z) { return qalpffpow(f, base, Number(e), z); });
        }
    }
}

TEST(PrimeFieldDeathTest, Preconditions)
{
    const Field field(mpz_class(251));
    Number x(5, room);
    EXPECT_PRECONDITION(qalpff_init(nullptr, QALBIG_THREE), "pf != 0", "../src/qalec/qalpff",
                        "qalpff_init");
    EXPECT_PRECONDITION(qalpff_init(nullptr, nullptr), "pf != 0", "../src/qalec/qalpff",
                        "qalpff_init");
    EXPECT_PRECONDITION(qalpffpow(&field.pf, QALBIG_ONE, x, x), "exp != z", "../src/qalec/qalpff",
                        "qalpffpow");
}
