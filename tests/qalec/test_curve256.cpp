// The engine below signatures and key agreement, every variant of it: its arithmetic against GMP,
// its points against the general operations.
#include "qalec/curve256.hpp"
#include "qalec/field256_variants.hpp"
#include "qalec/model.hpp"
#include "qalec/recoding256.hpp"
#include "support/sweeps.hpp"

#include <gtest/gtest.h>

#include <array>

using namespace qal::test;
using namespace qal::ec;

namespace {

QAL_CURVE256_ROUTINES(QAL_VARIANT_TABLE);

typedef uint64_t Digits4[4];

const mpz_class two256 = mpz_class(1) << 256;

void export_digits(uint64_t *d, const mpz_class &x)
{
    for (mp_size_t i = 0; i < 4; i++)
        d[i] = mpz_getlimbn(x.get_mpz_t(), i);
}

mpz_class import_digits(const uint64_t *d)
{
    mpz_class x;
    mpz_import(x.get_mpz_t(), 4, -1, 8, 0, 0, d);
    return x;
}

// Numbers of four digits, at their edges and at those of p and of c = 2^256 - p.
mpz_class operand(Random &random, const mpz_class &p)
{
    mpz_class near = static_cast<unsigned long>(random.below(5));
    switch (random.below(10)) {
    case 0:
        return near;
    case 1:
        return two256 - 1 - near;
    case 2:
        return modulo(p + near - 2, two256);
    case 3:
        return modulo(two256 - p + near - 2, two256);
    default:
        return modulo(random_number(random, 4), two256);
    }
}

struct Modulus {
    mpz_class p;
    bool special;
};

std::vector<Modulus> moduli(Random &random)
{
    std::vector<Modulus> list;
    for (const uint64_t c : {uint64_t{1}, uint64_t{189}, uint64_t{617}, uint64_t{0xffffffff},
                             uint64_t{1} << 63 | 1, ~uint64_t{0}, random.word() | 1}) {
        const mpz_class p = two256 - mpz_class(static_cast<unsigned long>(c));
        list.push_back({p, true});
        list.push_back({p, false});
    }
    list.push_back({two256 / 4 - 1, false});
    list.push_back({two256 / 4 + 1, false});
    list.push_back({two256 / 2 - 1, false});
    list.push_back({two256 / 2 + 1, false});
    for (int i = 0; i < 4; i++)
        list.push_back({two256 / 4 + below(random, 3 * two256 / 8) * 2 + 1, false});
    return list;
}

std::vector<std::pair<const char *, Field256Variant>> variants()
{
    std::vector<std::pair<const char *, Field256Variant>> list{{"portable", field256_portable()}};
    if (processor_features() & qal::base::cpu_bmi2_adx)
        list.emplace_back("bmi2adx", field256_bmi2adx());
    return list;
}

} // namespace

TEST(Engine, FieldArithmetic)
{
    Random random;
    for (const auto &[name, variant] : variants()) {
        for (const Modulus &modulus : moduli(random)) {
            const mpz_class &p = modulus.p;
            SCOPED_TRACE(std::string(name) + ", p = " + p.get_str(16));
            const Field256 &f = modulus.special ? variant.special : variant.montgomery;
            const mpz_class R = modulus.special ? mpz_class(1) : inverse(modulo(two256, p), p),
                            half = (p + 1) / 2;
            Digits4 P, A, B, Z;
            export_digits(P, p);
            for (int round = 0; round < 20'000; round++) {
                // Montgomery elements are reduced, special ones need not be.
                mpz_class a = operand(random, p), b = operand(random, p);
                if (!modulus.special) {
                    a = modulo(a, p);
                    b = modulo(b, p);
                }
                export_digits(A, a);
                export_digits(B, b);
                const auto check = [&](Field256::Operation *run, const mpz_class &expected) {
                    run(P, A, B, Z);
                    const mpz_class z = import_digits(Z);
                    ASSERT_EQ(modulo(z - expected, p), 0)
                        << "a = " << a.get_str(16) << ", b = " << b.get_str(16);
                    ASSERT_TRUE(modulus.special || z < p);
                };
                check(f.add, a + b);
                check(f.sub, a - b);
                check(f.half, a * half);
                check(f.mul, a * b * R);
                check(f.sqr, a * a * R);
                check(f.out, a * R);
                ASSERT_LT(import_digits(Z), p);
                f.is_zero(P, A, B, Z);
                ASSERT_EQ(Z[0], modulo(a, p) == 0 ? ~uint64_t{0} : 0);
                if (a < p) {
                    f.in(P, A, B, Z);
                    ASSERT_EQ(modulo(import_digits(Z) * R - a, p), 0);
                }
            }
        }
    }
}

// Four products side by side, of factors that need not be below 2^256.
TEST(Engine, FieldProductsInLanes)
{
    if ((processor_features() & qal::base::needs_avx512) == 0)
        GTEST_SKIP() << "needs AVX-512";
    Random random;
    for (const uint64_t c : {uint64_t{1}, uint64_t{189}, uint64_t{617}, uint64_t{0xffffffff},
                             (uint64_t{1} << 40) - 1, random.word() >> 24 | 1}) {
        const mpz_class p = two256 - mpz_class(static_cast<unsigned long>(c));
        SCOPED_TRACE("p = " + p.get_str(16));
        Digits4 P, A[4], B[4], R[4];
        export_digits(P, p);
        for (int round = 0; round < 50'000; round++) {
            mpz_class a[4], b[4];
            uint64_t a_top[4], b_top[4];
            for (int lane = 0; lane < 4; lane++) {
                a[lane] = operand(random, p);
                b[lane] = operand(random, p);
                a_top[lane] = random.below(3) ? random.below(16) : 15;
                b_top[lane] = random.below(3) ? random.below(16) : 15;
                export_digits(A[lane], a[lane]);
                export_digits(B[lane], b[lane]);
            }
            field256_avx512_mul(P, A, a_top, B, b_top, R);
            for (int lane = 0; lane < 4; lane++) {
                const mpz_class x = a[lane] + two256 * mpz_class(a_top[lane]),
                                y = b[lane] + two256 * mpz_class(b_top[lane]);
                ASSERT_EQ(modulo(import_digits(R[lane]) - x * y, p), 0)
                    << x.get_str(16) << " * " << y.get_str(16);
            }
        }
    }
}

// The bounds of sums are counted for c below 2^40.
TEST(Engine, LanesHaveRoomForSmallC)
{
    const uint64_t least = uint64_t{1} << 40;
    EXPECT_TRUE(field256_avx512_has_room_for(1));
    EXPECT_TRUE(field256_avx512_has_room_for(least - 1));
    EXPECT_FALSE(field256_avx512_has_room_for(least));
    EXPECT_FALSE(field256_avx512_has_room_for(~uint64_t{0}));
}

// What the batches of an inversion promise each other, which its result rarely depends on: from
// (-2p, p) they stay there, for all multipliers there can be.
TEST(Engine, BatchesOfInversionsKeepTheirBounds)
{
    using Limbs = std::array<int64_t, 5>;
    const auto limbs_of = [](mpz_class x) {
        Limbs limbs;
        for (int64_t &limb : limbs) {
            const mpz_class low = modulo(x, mpz_class(1) << 62);
            limb = &limb == &limbs.back() ? x.get_si() : low.get_si();
            x = (x - low) >> 62;
        }
        return limbs;
    };
    const auto value_of_limbs = [](const Limbs &limbs) {
        mpz_class x = 0;
        for (size_t i = limbs.size(); i-- > 0;)
            x = (x << 62) + limbs[i];
        return x;
    };
    const int64_t most = int64_t{1} << 62;
    const std::vector<std::array<int64_t, 2>> extremes = {{most, 0},
                                                          {-most, 0},
                                                          {0, most},
                                                          {0, -most},
                                                          {most - 1, 1},
                                                          {1 - most, 1},
                                                          {most - 1, -1},
                                                          {1 - most, -1},
                                                          {1, most - 1},
                                                          {-1, 1 - most},
                                                          {most / 2, most / 2},
                                                          {-most / 2, -most / 2},
                                                          {most / 2 - 1, most / 2},
                                                          {1, 0}};
    Random random;
    for (const auto &[name, variant] : variants()) {
        for (const Modulus &modulus : moduli(random)) {
            const mpz_class &p = modulus.p;
            SCOPED_TRACE(std::string(name) + ", p = " + p.get_str(16));
            Digits4 P;
            export_digits(P, p);
            const auto within = [&] {
                const mpz_class edges[] = {1 - 2 * p, -p - 1, -p, 1 - p, -1, 0, 1, p - 1};
                const size_t i = random.below(12);
                return i < 8 ? edges[i] : mpz_class(below(random, 3 * p - 1) - 2 * p + 1);
            };
            for (int round = 0; round < 1'000; round++) {
                const auto &[u, v] = extremes[random.below(extremes.size())];
                const auto &[q, r] = extremes[random.below(extremes.size())];
                const mpz_class d = within(), e = within();
                Limbs new_d = limbs_of(d), new_e = limbs_of(e);
                const int64_t uvqr[] = {u, v, q, r};
                variant.apply_modulo(P, uvqr, new_d.data(), new_e.data());
                const auto check = [&](const Limbs &limbs, int64_t a, int64_t b) {
                    const mpz_class x = value_of_limbs(limbs);
                    ASSERT_EQ(modulo((x << 62) - (a * d + b * e), p), 0) << a << " " << b;
                    ASSERT_GT(x, -2 * p) << a << " " << b << " " << d << " " << e;
                    ASSERT_LT(x, p) << a << " " << b << " " << d << " " << e;
                };
                check(new_d, u, v);
                check(new_e, q, r);
            }
        }
    }
}

TEST(Engine, Inverses)
{
    Random random;
    for (const auto &[name, variant] : variants()) {
        for (const Modulus &modulus : moduli(random)) {
            const mpz_class &p = modulus.p;
            SCOPED_TRACE(std::string(name) + ", p = " + p.get_str(16));
            Digits4 P, A;
            uint64_t Z[5];
            export_digits(P, p);
            for (int round = 0; round < 1'000; round++) {
                const mpz_class a = modulo(operand(random, p), p);
                mpz_class expected;
                const bool invertible =
                    mpz_invert(expected.get_mpz_t(), a.get_mpz_t(), p.get_mpz_t()) != 0;
                export_digits(A, a);
                variant.invert(P, A, A, Z);
                ASSERT_EQ(Z[4], invertible ? ~uint64_t{0} : 0) << a.get_str(16);
                if (invertible) {
                    ASSERT_EQ(import_digits(Z), expected) << a.get_str(16);
                } else if (a == 0) {
                    ASSERT_EQ(import_digits(Z), 0);
                }
            }
        }
    }
}

TEST(Engine, Scalars)
{
    Random random;
    for (const Modulus &modulus : moduli(random)) {
        const mpz_class &q = modulus.p;
        for (int round = 0; round < 2'000; round++) {
            const mpz_class w = operand(random, q), x = modulo(operand(random, q), q),
                            y = operand(random, q), s = modulo(operand(random, q), q);
            Digits4 Q, W, X, Y, S, Z;
            export_digits(Q, q);
            export_digits(W, w);
            export_digits(X, x);
            export_digits(Y, y);
            export_digits(S, s);
            each_variant(scalar256_sum_of_products_variants, [&](const auto &variant) {
                variant.run(Q, W, X, Y, S, Z);
                ASSERT_EQ(import_digits(Z), modulo(w * x + y * s, q));
            });
            mpz_class expected;
            const bool invertible =
                mpz_invert(expected.get_mpz_t(), x.get_mpz_t(), q.get_mpz_t()) != 0;
            each_variant(scalar256_invert_variants, [&](const auto &variant) {
                ASSERT_EQ(variant.run(Q, X, Z), invertible);
                if (invertible) {
                    ASSERT_EQ(import_digits(Z), expected);
                }
            });
        }
    }
}

namespace {

// A curve for the engine and for the general operations.
struct Both {
    Domain domain;
    Curve curve;
    Curve256 engine;
    qalecpoint G, table[16];

    explicit Both(const Domain &d) : domain(d), curve(d.curve), G(make_point(&curve, d.G))
    {
        export_digits(engine.p, d.curve.p);
        export_digits(engine.a, value_of(curve.a));
        export_digits(engine.b, value_of(curve.b));
        engine.special = curve.field.mul == qalpffpsfmul;
        engine.k = engine.special ? qalinverse(0 - engine.p[0]) : curve.field.k;
        qalecic(&curve, table, &G, 5);
    }

    [[nodiscard]] Affine multiple(const mpz_class &n, const Affine &P) const
    {
        const qalecpoint point = make_point(&curve, P);
        qalecpoint R;
        qaleckp(&curve, &R, Number(n), &point);
        return affine(&curve, R);
    }
};

void export_point(uint64_t *xy, const Affine &P)
{
    export_digits(xy, P.infinite ? mpz_class(0) : P.x);
    export_digits(xy + 4, P.infinite ? mpz_class(0) : P.y);
}

Affine import_point(const uint64_t *xy)
{
    const Affine P(import_digits(xy), import_digits(xy + 4));
    return P.x == 0 && P.y == 0 ? Affine() : P;
}

std::vector<Domain> domains(Random &random)
{
    std::vector<Domain> list = published_domains();
    for (const mpz_class &p :
         {mpz_class(two256 - 189), mpz_class(two256 - 617),
          next_prime(two256 - (mpz_class(1) << 40)), next_prime(two256 - (mpz_class(1) << 64)),
          next_prime(two256 / 4), next_prime(two256 / 2 - 1000),
          next_prime(two256 / 2 + below(random, two256 / 4))}) {
        for (unsigned order = 4; order <= 10; order++)
            list.push_back(small_order_domain(p, order, below(random, p), two256 / 2 + 1));
        // order 2 with a = -3, and infinity
        const mpz_class x = below(random, p), b = modulo(-(x * x - 3) * x, p);
        list.push_back({"order 2", {p, p - 3, b}, two256 - 1, {x, 0}});
        list.push_back({"infinity", {p, p - 3, b}, two256 - 1, {}});
    }
    return list;
}

mpz_class scalar(Random &random, const mpz_class &q)
{
    return random.below(3) ? operand(random, q)
                           : mpz_class(static_cast<unsigned long>(random.below(70)));
}

} // namespace

TEST(Engine, Multiples)
{
    Random random;
    for (const Domain &domain : domains(random)) {
        SCOPED_TRACE(domain.name + ", p = " + domain.curve.p.get_str(16));
        const Both both(domain);
        for (int round = 0; round < 50; round++) {
            const mpz_class n = round < 12   ? mpz_class(round)
                                : round < 24 ? modulo(domain.q - 6 + (round - 12), two256)
                                             : scalar(random, domain.q);
            const Affine expected = both.multiple(n, domain.G);
            Digits4 N;
            uint64_t P[8], xy[8];
            export_digits(N, n);
            export_point(P, domain.G);
            each_variant(curve256_multiply_base_variants, [&](const auto &variant) {
                variant.run(&both.engine, both.table, N, xy);
                ASSERT_EQ(import_point(xy), expected) << n.get_str(16);
            });
            each_variant(curve256_multiply_variants, [&](const auto &variant) {
                variant.run(&both.engine, P, N, xy);
                ASSERT_EQ(import_point(xy), expected) << n.get_str(16);
            });
        }
    }
}

// Digits of scalars are what they say they are, and no step of a multiplication meets a multiple of
// the point that it adds, for whatever order below which the scalars are.
TEST(Engine, RegularScalars)
{
    Random random;
    for (int round = 0; round < 30'000; round++) {
        const mpz_class q = (two256 / 4 - 1 + below(random, 3 * two256 / 4)) | 1;
        const mpz_class near = static_cast<unsigned long>(random.below(200));
        const mpz_class edges[] = {1 + near,
                                   q - 1 - near,
                                   q / 2 - 100 + near,
                                   two256 / 64 - 100 + near,
                                   two256 / 64 * 16 - 100 + near,
                                   1 + below(random, q - 1)};
        const mpz_class n = modulo(edges[random.below(6)] - 1, q - 1) + 1;
        Digits4 N;
        export_digits(N, n);
        const RegularScalar scalar(N);
        // The sum is a multiple of a point of order q, to which that many times the point are
        // added.
        mpz_class sum = 2 * static_cast<unsigned long>(scalar.top_index()) + 1;
        const auto add = [&](const mpz_class &d) {
            ASSERT_NE(modulo(sum, q), 0) << n << " modulo " << q;
            ASSERT_NE(modulo(sum - d, q), 0) << n << " modulo " << q;
            ASSERT_NE(modulo(sum + d, q), 0) << n << " modulo " << q;
            sum += d;
        };
        ASSERT_LT(sum, 32);
        for (unsigned i = regular_digits - 1; i-- > 0;) {
            const RegularDigit digit = scalar.digit(i);
            ASSERT_LT(digit.index, 16);
            sum *= 32;
            const mpz_class d = 2 * static_cast<unsigned long>(digit.index) + 1;
            add(digit.negative ? mpz_class(-d) : d);
        }
        if (scalar.m_is_even)
            add(-1);
        sum *= 2;
        if (scalar.n_is_odd)
            add(scalar.s_is_negative ? -1 : 1);
        ASSERT_EQ(sum, n);
        if (HasFatalFailure())
            return;
    }
}

// A second multiplication, by the variant for general registers, is not for scalars below a prime
// order: that would tell which they are.
TEST(Engine, OneMultiplicationIsEnough)
{
    if ((processor_features() & qal::base::needs_avx512) == 0)
        GTEST_SKIP() << "needs AVX-512";
    Random random;
    for (const Domain &domain : published_domains()) {
        const Both both(domain);
        if (!both.engine.special)
            continue;
        SCOPED_TRACE(domain.name);
        const mpz_class &q = domain.q;
        std::vector<mpz_class> scalars = {0};
        for (int i = 1; i <= 70; i++)
            for (const mpz_class &n : {mpz_class(i), mpz_class(q - i), mpz_class(q / 2 - 35 + i),
                                       mpz_class(two256 / 64 - 35 + i), below(random, q)})
                scalars.push_back(n);
        uint64_t G[8], xy[8];
        export_point(G, domain.G);
        for (const mpz_class &n : scalars) {
            Digits4 N;
            export_digits(N, n);
            const Affine expected = both.multiple(n, domain.G);
            ASSERT_TRUE(curve256_multiply_base_once_avx512(&both.engine, both.table, N, xy)) << n;
            ASSERT_EQ(import_point(xy), expected) << n;
            ASSERT_TRUE(curve256_multiply_once_avx512(&both.engine, G, N, xy)) << n;
            ASSERT_EQ(import_point(xy), expected) << n;
        }
    }
}

TEST(Engine, PointsOnTheCurve)
{
    Random random;
    for (const Domain &domain : domains(random)) {
        const Both both(domain);
        for (int round = 0; round < 30; round++) {
            Affine P = domain.curve.multiple(below(random, 1000), domain.G);
            bool there = true;
            if (round % 2) {
                P = Affine(element(random, domain.curve.p), element(random, domain.curve.p));
                there = (P.x == 0 && P.y == 0) || domain.curve.contains(P);
            }
            uint64_t xy[8];
            export_point(xy, P);
            each_variant(curve256_contains_variants, [&](const auto &variant) {
                ASSERT_EQ(variant.run(&both.engine, xy), there);
            });
        }
    }
}

TEST(Engine, JointMultiples)
{
    Random random;
    for (const Domain &domain : domains(random)) {
        SCOPED_TRACE(domain.name + ", p = " + domain.curve.p.get_str(16));
        const Both both(domain);
        for (int round = 0; round < 40; round++) {
            const mpz_class u = scalar(random, domain.q), v = scalar(random, domain.q);
            const Affine Q = both.multiple(below(random, 1000), domain.G);
            const Affine sum = domain.curve.sum(both.multiple(u, domain.G), both.multiple(v, Q));
            // q small enough that several abscissas have one remainder
            const mpz_class q = random.below(2) ? domain.q : mpz_class(two256 / 4 + 1);
            const mpz_class r = sum.infinite ? mpz_class(5) : modulo(sum.x, q);
            if (r == 0)
                continue; // out of range
            Digits4 U, V, order, R, wrong;
            uint64_t G[8], xy[8];
            export_digits(U, u);
            export_digits(V, v);
            export_digits(order, q);
            export_digits(R, r);
            export_digits(wrong, r == 1 ? mpz_class(2) : mpz_class(r - 1));
            export_point(G, domain.G);
            export_point(xy, Q);
            each_variant(curve256_matches_variants, [&](const auto &variant) {
                ASSERT_EQ(variant.run(&both.engine, G, xy, U, V, order, R), !sum.infinite);
                ASSERT_FALSE(variant.run(&both.engine, G, xy, U, V, order, wrong));
            });
        }
    }
}
