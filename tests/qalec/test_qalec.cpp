// Points of curves over fields of all sizes: coordinates against the formulas, sums against chord
// and tangent, and all points of small curves.
#include "qalec/model.hpp"
#include "support/preconditions.hpp"

#include <gtest/gtest.h>

using namespace qal::test;

namespace {

struct Jacobian {
    mpz_class X, Y, Z;

    bool operator==(const Jacobian &o) const { return X == o.X && Y == o.Y && Z == o.Z; }
};

Jacobian plain(const qaleccurve *curve, const qalecpoint &P)
{
    const qalpff *const f = &curve->field;
    return {qal::test::plain(f, P.X), qal::test::plain(f, P.Y), qal::test::plain(f, P.Z)};
}

// IEEE 1363, A.10.5 and A.10.4, with plain numbers.
Jacobian sum_formula(const mpz_class &p, const Jacobian &A, const Jacobian &B)
{
    const mpz_class U1 = A.X * B.Z * B.Z, U2 = B.X * A.Z * A.Z, S1 = A.Y * B.Z * B.Z * B.Z,
                    S2 = B.Y * A.Z * A.Z * A.Z, W = U1 - U2, R = S1 - S2, T = U1 + U2, M = S1 + S2;
    const mpz_class X = modulo(R * R - T * W * W, p), V = T * W * W - 2 * X;
    return {X, modulo((V * R - M * W * W * W) * inverse(2, p), p), modulo(A.Z * B.Z * W, p)};
}

Jacobian twice_formula(const CurveModel &curve, const Jacobian &A)
{
    const mpz_class M = 3 * A.X * A.X + curve.a * A.Z * A.Z * A.Z * A.Z, S = 4 * A.X * A.Y * A.Y;
    const mpz_class X = modulo(M * M - 2 * S, curve.p);
    return {X, modulo(M * (S - X) - 8 * A.Y * A.Y * A.Y * A.Y, curve.p),
            modulo(2 * A.Y * A.Z, curve.p)};
}

// Curves through a random point, over fields of both families and of 1 to 8 digits; every other one
// has a = -3.
struct Sample {
    CurveModel model;
    Affine P;
};

std::vector<Sample> samples(Random &random)
{
    std::vector<Sample> list;
    for (size_t n = 1; n <= 8; n++) {
        const mpz_class R = mpz_class(1) << (64 * n);
        mpz_class special = R - 1;
        while (!mpz_probab_prime_p(special.get_mpz_t(), 20))
            special -= 2;
        for (const mpz_class &p : {special, next_prime(R / 2 + below(random, R / 4))}) {
            for (const bool minus_3 : {false, true}) {
                const mpz_class a = minus_3 ? mpz_class(p - 3) : below(random, p),
                                x = below(random, p), y = below(random, p);
                list.push_back({{p, a, modulo(y * y - (x * x + a) * x, p)}, {x, y}});
            }
        }
    }
    return list;
}

bool is_all_zero(const void *record, size_t size)
{
    const auto *const bytes = static_cast<const uint8_t *>(record);
    return std::all_of(bytes, bytes + size, [](uint8_t byte) { return byte == 0; });
}

// Sum and doubling, apart and in place, with exact coordinates.
void check_sum(const Curve &curve, const CurveModel &model, const qalecpoint &A,
               const qalecpoint &B)
{
    const Affine a = affine(&curve, A), b = affine(&curve, B), expected = model.sum(a, b);
    qalecpoint z, in_first = A, in_second = B;
    ASSERT_EQ(qalecpa(&curve, &z, &A, &B), &z);
    ASSERT_EQ(qalecpa(&curve, &in_first, &in_first, &B), &in_first);
    ASSERT_EQ(qalecpa(&curve, &in_second, &A, &in_second), &in_second);
    ASSERT_EQ(affine(&curve, z), expected);
    const Jacobian j = plain(&curve, z);
    ASSERT_EQ(plain(&curve, in_first), j);
    ASSERT_EQ(plain(&curve, in_second), j);
    if (a.infinite)
        ASSERT_EQ(j, plain(&curve, B));
    else if (b.infinite)
        ASSERT_EQ(j, plain(&curve, A));
    else if (expected.infinite)
        ASSERT_EQ(j, (Jacobian{0, 0, 0}));
    else if (a == b)
        ASSERT_EQ(j, twice_formula(model, plain(&curve, A)));
    else
        ASSERT_EQ(j, sum_formula(model.p, plain(&curve, A), plain(&curve, B)));
}

void check_twice(const Curve &curve, const CurveModel &model, const qalecpoint &A)
{
    const Affine expected = model.sum(affine(&curve, A), affine(&curve, A));
    std::vector<decltype(&qalecpd)> routines{qalecpd, curve.dbl};
    for (const auto run : routines) {
        qalecpoint z, in_place = A;
        ASSERT_EQ(run(&curve, &z, &A), &z);
        ASSERT_EQ(run(&curve, &in_place, &in_place), &in_place);
        ASSERT_EQ(affine(&curve, z), expected);
        const Jacobian j =
            expected.infinite ? Jacobian{0, 0, 0} : twice_formula(model, plain(&curve, A));
        ASSERT_EQ(plain(&curve, z), j);
        ASSERT_EQ(plain(&curve, in_place), j);
    }
}

} // namespace

TEST(Curves, Creation)
{
    Number p(1009), a(1006), b(5), longer(2015), a_over(2018), zero(0);
    qaleccurve curve;
    ASSERT_EQ(qaleccr(&curve, p, a, b), &curve);
    EXPECT_EQ(curve.dbl, qalecpd_3);
    EXPECT_EQ(plain(&curve.field, curve.a), 1006);
    EXPECT_EQ(plain(&curve.field, curve.b), 5);
    // The same class, but not p - 3.
    ASSERT_EQ(qaleccr(&curve, p, longer, a_over), &curve);
    EXPECT_EQ(curve.dbl, qalecpd);
    EXPECT_EQ(plain(&curve.field, curve.a), 1006);
    EXPECT_EQ(plain(&curve.field, curve.b), 0);
    EXPECT_EQ(qaleccr(nullptr, p, a, b), nullptr);
    EXPECT_EQ(qaleccr(&curve, nullptr, a, b), nullptr);
    EXPECT_EQ(qaleccr(&curve, p, nullptr, b), nullptr);
    EXPECT_EQ(qaleccr(&curve, p, a, nullptr), nullptr);
    EXPECT_FALSE(is_all_zero(&curve, sizeof curve)); // nothing was written
    EXPECT_EQ(qaleccr(&curve, zero, a, b), nullptr);
    EXPECT_TRUE(is_all_zero(&curve, sizeof curve));
    ASSERT_EQ(qaleccr(&curve, p, a, b), &curve);
    qaleccl(&curve);
    EXPECT_TRUE(is_all_zero(&curve, sizeof curve));
    qaleccl(nullptr);
}

TEST(Curves, SpecialFieldLeavesOneZero)
{
    const Curve curve({(mpz_class(1) << 256) - 617, 7, 8});
    EXPECT_TRUE(is_all_zero(curve.field.one, sizeof curve.field.one));
}

TEST(Curves, PointCreation)
{
    const CurveModel model{1009, 17, 33};
    const Curve curve(model);
    qalecpoint point;
    for (unsigned x = 0; x < 1009; x++) {
        for (unsigned y = 0; y < 1009; y += 1 + (x * 7 + y) % 13) {
            const bool there = (x == 0 && y == 0) || model.contains({x, y});
            std::memset(&point, 0xee, sizeof point);
            ASSERT_EQ(qalecpcr(&curve, &point, Number(x), Number(y)), there ? &point : nullptr);
            if (!there || (x == 0 && y == 0)) {
                ASSERT_TRUE(is_all_zero(&point, sizeof point));
            } else {
                ASSERT_EQ(affine(&curve, point), Affine(x, y));
                ASSERT_EQ(plain(&curve, point).Z, 1);
            }
        }
    }
    EXPECT_EQ(qalecpcr(nullptr, &point, nullptr, nullptr), nullptr);
    EXPECT_EQ(qalecpcr(&curve, nullptr, nullptr, nullptr), nullptr);
    std::memset(&point, 0xee, sizeof point);
    EXPECT_EQ(qalecpcr(&curve, &point, nullptr, nullptr), &point);
    EXPECT_TRUE(is_all_zero(&point, sizeof point));
    // One coordinate missing is zero; and coordinates are reduced.
    const Curve square({1009, 17, 4});
    ASSERT_EQ(qalecpcr(&square, &point, nullptr, QALBIG_TWO), &point);
    EXPECT_EQ(affine(&square, point), Affine(0, 2));
    ASSERT_EQ(qalecpcr(&square, &point, Number(1009), Number(1011)), &point);
    EXPECT_EQ(affine(&square, point), Affine(0, 2));
    ASSERT_EQ(qalecpcr(&square, &point, Number(2018), nullptr), &point);
    EXPECT_TRUE(is_all_zero(&point, sizeof point));
    const Curve root({1009, 17, 1009 - 18});
    ASSERT_EQ(qalecpcr(&root, &point, QALBIG_ONE, nullptr), &point);
    EXPECT_EQ(affine(&root, point), Affine(1, 0));
    qalecpcl(&point);
    EXPECT_TRUE(is_all_zero(&point, sizeof point));
    qalecpcl(nullptr);
}

TEST(Curves, SumsOfPoints)
{
    Random random;
    for (const Sample &sample : samples(random)) {
        SCOPED_TRACE("p = " + sample.model.p.get_str(16) + ", a = " + sample.model.a.get_str(16));
        const Curve curve(sample.model);
        ASSERT_EQ(curve.dbl, sample.model.a + 3 == sample.model.p ? qalecpd_3 : qalecpd);
        std::vector<qalecpoint> points{make_point(&curve, {})};
        for (int i = 0; i < 4; i++) {
            const Affine P = sample.model.multiple(below(random, 1 << 20) + 1, sample.P);
            points.push_back(make_point(&curve, P));
            points.push_back(points.back());
            rescale(&curve, &points.back(), below(random, sample.model.p - 1) + 1);
            points.push_back(make_point(&curve, sample.model.negative(P)));
            rescale(&curve, &points.back(), below(random, sample.model.p - 1) + 1);
        }
        // Infinity with coordinates left over.
        points.push_back(points[1]);
        points.back().Z[0] = 0;
        for (const qalecpoint &A : points) {
            check_twice(curve, sample.model, A);
            for (const qalecpoint &B : points)
                check_sum(curve, sample.model, A, B);
        }
    }
}

TEST(Curves, AffineCoordinates)
{
    Random random;
    for (const Sample &sample : samples(random)) {
        const Curve curve(sample.model);
        qalecpoint point = make_point(&curve, sample.P);
        rescale(&curve, &point, below(random, sample.model.p - 1) + 1);
        const qalecpoint before = point;
        Number x(0, 8), y(0, 8);
        EXPECT_EQ(qalecpxy(&curve, &point, x, y), 1);
        EXPECT_EQ(Affine(value_of(x), value_of(y)), sample.P);
        EXPECT_EQ(plain(&curve, point), (Jacobian{sample.P.x, sample.P.y, 1}));
        EXPECT_EQ(qalecpxy(&curve, &point, y, x), 1);
        EXPECT_EQ(Affine(value_of(y), value_of(x)), sample.P);
        // One of them, or none: normalised all the same.
        point = before;
        EXPECT_EQ(qalecpxy(&curve, &point, x, nullptr), 1);
        EXPECT_EQ(value_of(x), sample.P.x);
        EXPECT_EQ(plain(&curve, point).Y, sample.P.y);
        point = before;
        EXPECT_EQ(qalecpxy(&curve, &point, nullptr, nullptr), 1);
        EXPECT_EQ(plain(&curve, point), (Jacobian{sample.P.x, sample.P.y, 1}));

        point = before;
        EXPECT_EQ(qalecpneg(&curve, &point), &point);
        EXPECT_EQ(plain(&curve, point), (Jacobian{sample.P.x, sample.model.p - sample.P.y, 1}));

        qalecpoint infinity = before;
        infinity.Z[0] = 0;
        EXPECT_EQ(qalecpxy(&curve, &infinity, x, y), 0);
        EXPECT_EQ(value_of(x), 0);
        EXPECT_EQ(value_of(y), 0);
        EXPECT_EQ(qalecpxy(&curve, &infinity, nullptr, nullptr), 0);
        EXPECT_EQ(qalecpneg(&curve, &infinity), &infinity);
        EXPECT_EQ(infinity.Z[0], 0U);
        EXPECT_EQ(value_of(infinity.Y), value_of(before.Y));
    }
}

TEST(Curves, NegativeOfOrderTwoIsNotReduced)
{
    const mpz_class special = (mpz_class(1) << 256) - 617;
    for (const mpz_class &p : {mpz_class(1009), special}) {
        const Curve curve({p, 17, p - 18});
        qalecpoint point = make_point(&curve, {1, 0});
        qalecpneg(&curve, &point);
        EXPECT_EQ(value_of(point.Y), p);
        // Which takes part in sums as zero.
        const qalecpoint P = make_point(&curve, {1, 0});
        qalecpoint sum;
        qalecpa(&curve, &sum, &point, &P);
        EXPECT_EQ(sum.Z[0], 0U);
    }
}

TEST(Curves, EveryPointOfSmallCurves)
{
    for (const unsigned p : {5U, 7U, 11U, 13U}) {
        for (unsigned a = 0; a < p; a++) {
            for (unsigned b = 0; b < p; b++) {
                if ((4 * a * a * a + 27 * b * b) % p == 0)
                    continue;
                const CurveModel model{p, a, b};
                const Curve curve(model);
                std::vector<Affine> group{{}};
                for (unsigned x = 0; x < p; x++)
                    for (unsigned y = 0; y < p; y++)
                        // (0, 0) stands for infinity.
                        if ((x != 0 || y != 0) && model.contains({x, y}))
                            group.emplace_back(x, y);
                std::vector<qalecpoint> points;
                for (const Affine &P : group) {
                    points.push_back(make_point(&curve, P));
                    rescale(&curve, &points.back(), 1 + (a + b + points.size()) % (p - 1));
                }
                for (const qalecpoint &A : points) {
                    check_twice(curve, model, A);
                    for (const qalecpoint &B : points)
                        check_sum(curve, model, A, B);
                }
                // All multiples of all points, by all forms of multiplication.
                for (size_t i = 0; i < points.size(); i++) {
                    Affine expected;
                    qalecpoint table[16];
                    ASSERT_EQ(qalecic(&curve, table, &points[i], 5), table);
                    for (unsigned k = 0; k <= 26; k++) {
                        qalecpoint R;
                        ASSERT_EQ(qaleckp(&curve, &R, Number(k), &points[i]), &R);
                        ASSERT_EQ(affine(&curve, R), expected);
                        ASSERT_EQ(qalecickp(&curve, &R, table, Number(k), 5, k % 3 * 100), &R);
                        ASSERT_EQ(affine(&curve, R), expected);
                        const size_t j = (i + k) % points.size();
                        const unsigned l = (3 * k + a) % 23;
                        ASSERT_EQ(
                            qalecakp(&curve, &R, Number(k), &points[i], Number(l), &points[j]), &R);
                        ASSERT_EQ(affine(&curve, R),
                                  model.sum(expected, model.multiple(l, group[j])));
                        expected = model.sum(expected, group[i]);
                    }
                }
            }
        }
    }
}

TEST(Curves, Multiples)
{
    Random random;
    for (const Sample &sample : samples(random)) {
        const Curve curve(sample.model);
        qalecpoint P = make_point(&curve, sample.P);
        rescale(&curve, &P, below(random, sample.model.p - 1) + 1);
        for (int round = 0; round < 6; round++) {
            const mpz_class k = random_number(random, random.below(9));
            const Affine expected = sample.model.multiple(k, sample.P);
            qalecpoint R = P;
            ASSERT_EQ(qaleckp(&curve, &R, Number(k), &R), &R); // in place of P
            ASSERT_EQ(affine(&curve, R), expected);

            const mpz_class l = random_number(random, random.below(9));
            const Affine Q = sample.model.multiple(l + 12345, sample.P);
            const qalecpoint q = make_point(&curve, Q);
            const Affine joint = sample.model.sum(expected, sample.model.multiple(l, Q));
            for (int place = 0; place < 3; place++) {
                qalecpoint first = P, second = q, apart;
                qalecpoint *const result = place == 0 ? &apart : place == 1 ? &first : &second;
                ASSERT_EQ(qalecakp(&curve, result, Number(k), &first, Number(l), &second), result);
                ASSERT_EQ(affine(&curve, *result), joint);
            }
            qalecakp(&curve, &R, Number(k), &P, Number(l), &P);
            ASSERT_EQ(affine(&curve, R), sample.model.multiple(k + l, sample.P));
            qalecakp(&curve, &R, QALBIG_ZERO, &P, QALBIG_ZERO, &q);
            ASSERT_EQ(R.Z[0], 0U);
        }
    }
}

TEST(Curves, TablesOfEveryWidth)
{
    Random random;
    for (const Sample &sample : samples(random)) {
        const Curve curve(sample.model);
        const qalecpoint P = make_point(&curve, sample.P);
        for (uint32_t w = 1; w <= 7; w++) {
            const size_t size = std::max<size_t>(2, size_t{1} << (w - 1));
            GuardedBytes memory(size * sizeof(qalecpoint));
            auto *const table = reinterpret_cast<qalecpoint *>(memory.data());
            ASSERT_EQ(qalecic(&curve, table, &P, w), table);
            for (size_t i = 0; i < size; i++)
                ASSERT_EQ(affine(&curve, table[i]), sample.model.multiple(2 * i + 1, sample.P));
            ASSERT_EQ(plain(&curve, table[0]), plain(&curve, P));
            memory.make_read_only();
            for (const uint32_t padbits : {0U, 1U, 256U, 600U}) {
                const mpz_class k = random_number(random, random.below(5));
                qalecpoint R;
                ASSERT_EQ(qalecickp(&curve, &R, table, Number(k), w, padbits), &R);
                ASSERT_EQ(affine(&curve, R), sample.model.multiple(k, sample.P));
            }
        }
    }
}

namespace {

// Counts the additions of a multiplication: each takes one `sub` for X3, unlike copies.
size_t additions;

qald *counting_div2(const qalpff *pf, const qald *a, qald *z)
{
    additions++;
    return qalpffdiv2(pf, a, z);
}

qalecpoint *uncounted_twice(const qaleccurve *curve, qalecpoint *z, const qalecpoint *a)
{
    const size_t before = additions;
    qalecpd(curve, z, a);
    additions = before;
    return z;
}

} // namespace

TEST(Curves, PaddingAddsPoints)
{
    Random random;
    const Sample sample = samples(random)[12];
    Curve curve(sample.model);
    qalecpoint table[16], R, P = make_point(&curve, sample.P);
    qalecic(&curve, table, &P, 5);
    curve.field.div2 = counting_div2;
    curve.dbl = uncounted_twice;
    const auto count = [&](const mpz_class &k, uint32_t padbits) {
        additions = 0;
        qalecickp(&curve, &R, table, Number(k), 5, padbits);
        return additions;
    };
    // The first addition is to infinity, and a copy. For k = 1 the next one doubles.
    EXPECT_EQ(count(31, 0), 0U);
    EXPECT_EQ(count(31 + 32 * 31, 0), 1U);
    EXPECT_EQ(count(31, 256), 51U);
    EXPECT_EQ(count(31 + 32 * 31, 256), 51U);
    EXPECT_EQ(count(31 + 32 * 31, 10), 1U);
    EXPECT_EQ(count(31 + 32 * 31, 11), 2U);
}

TEST(CurvesDeathTest, Preconditions)
{
    const Curve curve({1009, 17, 33});
    qalecpoint P = make_point(&curve, {});
    const auto sum = [](const qaleccurve *c, qalecpoint *z, const qalecpoint *a,
                        const qalecpoint *b, const char *expression) {
        EXPECT_PRECONDITION(qalecpa(c, z, a, b), expression, "../src/qalec/qalecpa", "qalecpa");
    };
    sum(nullptr, nullptr, nullptr, nullptr, "curve != 0");
    sum(&curve, nullptr, nullptr, nullptr, "a != 0");
    sum(&curve, nullptr, &P, nullptr, "b != 0");
    sum(&curve, nullptr, &P, &P, "z != 0");
    EXPECT_PRECONDITION(qalecpd(nullptr, nullptr, nullptr), "curve!=0", "../src/qalec/qalecpd",
                        "qalecpd");
    EXPECT_PRECONDITION(qalecpd(&curve, nullptr, nullptr), "z!=0", "../src/qalec/qalecpd",
                        "qalecpd");
    EXPECT_PRECONDITION(qalecpd(&curve, &P, nullptr), "a!=0", "../src/qalec/qalecpd", "qalecpd");
    EXPECT_PRECONDITION(qalecpd_3(nullptr, nullptr, nullptr), "curve!=0", "../src/qalec/qalecpd_3",
                        "qalecpd_3");
    EXPECT_PRECONDITION(qalecpd_3(&curve, nullptr, nullptr), "z!=0", "../src/qalec/qalecpd_3",
                        "qalecpd_3");
    EXPECT_PRECONDITION(qalecpd_3(&curve, &P, nullptr), "a!=0", "../src/qalec/qalecpd_3",
                        "qalecpd_3");
    EXPECT_PRECONDITION(qalecpxy(nullptr, nullptr, nullptr, nullptr), "curve!= 0",
                        "../src/qalec/qalecpxy", "qalecpxy");
    EXPECT_PRECONDITION(qalecpxy(&curve, nullptr, nullptr, nullptr), "point!= 0",
                        "../src/qalec/qalecpxy", "qalecpxy");
    EXPECT_PRECONDITION(qalecpneg(&curve, nullptr), "point!= 0", "../src/qalec/qalecpxy",
                        "qalecpxy");
}
