// Curves over binary fields against the group law, the engines against the general routines.
#include "support/preconditions.hpp"
#include "support/sweeps.hpp"
#include "ua/engine.hpp"
#include "ua/model.hpp"

#include <gtest/gtest.h>

#include <cstring>

using namespace qal::test;
using namespace qal::ua;

namespace {

constexpr char path[] = "../src/ua/qale2";
constexpr char poly_path[] = "../src/ua/qal2poly";

#define CAPACITY "((1+(((431-1)+1+(sizeof(qal2d)<<3)-1)/((sizeof(qal2d)<<3)))))"

std::string count_text(const std::string &name)
{
    return "(0 < *" + name + ") && (*" + name + " <= " CAPACITY "-1)";
}

// A curve whose record has a routine of its own, so that the general routines do all the work.
template<auto multiply>
void own_multiply(qal2d *r, const qal2d *u, const qal2d *v)
{
    multiply(r, u, v);
}

qale2curve general(const qale2curve &curve)
{
    qale2curve r = curve;
    r.mul = curve.mod_m == 431   ? own_multiply<pmult448x448>
            : curve.mod_m == 257 ? own_multiply<pmult257x257>
                                 : own_multiply<pmult192x192>;
    return r;
}

std::vector<TestCurve> curves()
{
    std::vector<TestCurve> all;
    for (const ModelCurve &model : model_curves())
        if (model.name != "m163x")
            all.emplace_back(model);
    return all;
}

template<typename Check>
void on_every_curve(Check check)
{
    for (TestCurve &curve : curves()) {
        SCOPED_TRACE(curve.model.name);
        check(curve);
    }
}

// The coordinates themselves.
bool same(const qale2point &p, const qale2point &q)
{
    return poly_of(p.X) == poly_of(q.X) && poly_of(p.Y) == poly_of(q.Y) &&
           poly_of(p.Z) == poly_of(q.Z) && p.X[0] == q.X[0];
}

bool same(const qale2affine &p, const qale2affine &q)
{
    return poly_of(p.x) == poly_of(q.x) && poly_of(p.y) == poly_of(q.y);
}

// A buffer whose contents must not matter.
qale2point dirty_point()
{
    qale2point p;
    std::memset(&p, 0xa5, sizeof p);
    return p;
}

mpz_class random_scalar(Random &random, const mpz_class &bound)
{
    const size_t bytes = mpz_sizeinbase(bound.get_mpz_t(), 256);
    mpz_class k = poly_of(random.below(2) ? random.bytes(bytes) : random.runs(bytes));
    return k % bound;
}

} // namespace

TEST(BinaryCurves, PublishedBasePoints)
{
    for (const ModelCurve &model : model_curves()) {
        SCOPED_TRACE(model.name);
        EXPECT_TRUE(model.contains(model.G));
        TestCurve test(model);
        const qale2point G = test.point(model.G);
        qale2point R = dirty_point();
        Number n(model.n);
        qale2kp(&test.curve, &R, n, &G);
        EXPECT_TRUE(qale2p_is_inf(&test.curve, &R));
        Number less(model.n - 1);
        qale2kp(&test.curve, &R, less, &G);
        EXPECT_EQ(test.model_of(R), ModelCurve::negative(model.G));
    }
}

TEST(BinaryCurves, Creation)
{
    on_every_curve([](TestCurve &test) {
        const ModelField &f = test.model.field;
        EXPECT_EQ(test.curve.mod_m, f.m);
        EXPECT_EQ(test.curve.mod_a, f.a);
        EXPECT_EQ(test.curve.mod_b, f.b);
        EXPECT_EQ(test.curve.mod_c, f.c);
        EXPECT_EQ(test.curve.a, test.model.a);
        EXPECT_EQ(poly_of(test.curve.b), test.model.b);
        qale2curve curve;
        Bytes b((f.m + 8) / 8);
        // b = 0, and degrees of m and above
        EXPECT_EQ(qale2cr(&curve, f.m, f.a, f.b, f.c, 1, b.data()), nullptr);
        b[f.m / 8] = static_cast<uint8_t>(1 << (f.m % 8));
        EXPECT_EQ(qale2cr(&curve, f.m, f.a, f.b, f.c, 1, b.data()), nullptr);
        b[f.m / 8] = 0;
        b[0] = 1;
        EXPECT_EQ(qale2cr(&curve, f.m, f.a, f.b, f.c, 1, b.data()), &curve);
        EXPECT_EQ(qale2cr(&curve, f.m, f.a, f.b, f.c, 0, b.data()), &curve);
        EXPECT_EQ(qale2cr(&curve, f.m, f.a, f.b, f.c, 2, b.data()), nullptr);
        EXPECT_EQ(qale2cr(&curve, f.m, f.a + 1, f.b, f.c, 0, b.data()), nullptr);
        EXPECT_EQ(qale2cr(&curve, f.m, f.a, f.b + 1, f.c, 0, b.data()), nullptr);
        EXPECT_EQ(qale2cr(&curve, f.m, f.a, f.b, f.c + 1, 0, b.data()), nullptr);
        EXPECT_EQ(qale2cr(&curve, f.m + 1, f.a, f.b, f.c, 0, b.data()), nullptr);
        qale2cl(&test.curve);
        const qale2curve zero{};
        EXPECT_EQ(std::memcmp(&test.curve, &zero, sizeof zero), 0);
    });
    qale2curve curve;
    const Bytes b(64, 1);
    EXPECT_EQ(qale2cr(&curve, 233, 74, 0, 0, 1, b.data()), nullptr);
    EXPECT_EQ(qale2cr(&curve, 160, 5, 3, 2, 1, b.data()), nullptr);
    EXPECT_EQ(qale2cr(&curve, 432, 5, 3, 1, 1, b.data()), nullptr);
}

TEST(BinaryCurves, FieldOperations)
{
    Random random;
    on_every_curve([&](TestCurve &test) {
        const ModelField &f = test.model.field;
        const uint32_t n = f.words();
        for (int round = 0; round < 200; round++) {
            const Poly x = f.random(random), y = f.random(random);
            Polynomial a(x, n), b(y, n), r(f.random(random), n);
            ASSERT_EQ(qale2bfmul(&test.curve, r, a, b), r.words());
            ASSERT_EQ(r.value(), f.mul(x, y));
            ASSERT_EQ(qale2bfsqr(&test.curve, r, a), r.words());
            ASSERT_EQ(r.value(), f.mul(x, x));
            if (x != 0) {
                ASSERT_EQ(qale2bfinv(&test.curve, r, a), r.words());
                ASSERT_EQ(f.mul(r.value(), x), 1);
            }
            qale2bfmul(&test.curve, b, a, b);
            ASSERT_EQ(b.value(), f.mul(x, y));
            qale2bfmul(&test.curve, b, b, b);
            ASSERT_EQ(b.value(), f.sqr(f.mul(x, y)));
            qale2bfsqr(&test.curve, a, a);
            ASSERT_EQ(a.value(), f.sqr(x));
        }
    });
}

TEST(BinaryCurves, PointCreation)
{
    Random random;
    on_every_curve([&](TestCurve &test) {
        const ModelField &f = test.model.field;
        const uint32_t n = f.words();
        qale2point P = dirty_point();
        EXPECT_EQ(qale2pcr(nullptr, &P, nullptr, nullptr), nullptr);
        EXPECT_EQ(qale2pcr(&test.curve, &P, nullptr, nullptr), &P);
        EXPECT_TRUE(qale2p_is_inf(&test.curve, &P));
        EXPECT_EQ(P.X[0], n);
        EXPECT_EQ(poly_of(P.X) | poly_of(P.Y) | poly_of(P.Z), 0);

        const ModelPoint p = test.random_point(random);
        Polynomial x(p.x, n), y(p.y, n), wrong(p.y ^ 1, n);
        EXPECT_EQ(qale2pcr(&test.curve, &P, x, y), &P);
        EXPECT_EQ(test.model_of(P), p);
        EXPECT_EQ(poly_of(P.Z), 1);
        EXPECT_EQ(qale2pcr(&test.curve, &P, x, wrong), nullptr);

        // y from x: one of the two; the half-trace's.
        EXPECT_EQ(qale2pcr(&test.curve, &P, x, nullptr), &P);
        const ModelPoint found = test.model_of(P);
        EXPECT_TRUE(found == p || found == ModelCurve::negative(p));
        const Poly w = f.mul(p.x ^ Poly(test.model.a), f.sqr(p.x)) ^ test.model.b;
        const Poly t = f.mul(w, f.sqr(f.inv(p.x)));
        Poly half = t, power = t;
        for (uint32_t i = 0; i < (f.m - 1) / 2; i++) {
            power = f.sqr(f.sqr(power));
            half ^= power;
        }
        EXPECT_EQ(found.y, f.mul(half, p.x));

        // x = 0: y is the root of b, given or not.
        Polynomial zero(0, n);
        EXPECT_EQ(qale2pcr(&test.curve, &P, zero, nullptr), &P);
        EXPECT_EQ(f.sqr(poly_of(P.Y)), test.model.b);
        Polynomial root(poly_of(P.Y), n);
        EXPECT_EQ(qale2pcr(&test.curve, &P, nullptr, root), &P);
        EXPECT_EQ(qale2pcr(&test.curve, &P, nullptr, x), nullptr);

        // Some x have no y.
        int refused = 0;
        for (int i = 0; i < 40; i++) {
            const Poly candidate = f.random(random) | 2;
            const Poly right =
                f.mul(candidate ^ Poly(test.model.a), f.sqr(candidate)) ^ test.model.b;
            Polynomial some(candidate, n);
            const bool none = f.trace(f.mul(right, f.sqr(f.inv(candidate)))) == 1;
            ASSERT_EQ(qale2pcr(&test.curve, &P, some, nullptr) == nullptr, none);
            ASSERT_TRUE(!none || poly_of(P.Y) == 0);
            refused += none;
        }
        EXPECT_GT(refused, 0);
        qale2pcl(&P);
        const qale2point nothing{};
        EXPECT_EQ(std::memcmp(&P, &nothing, sizeof P), 0);
    });
}

TEST(BinaryCurves, GroupLaw)
{
    Random random;
    on_every_curve([&](TestCurve &test) {
        const ModelCurve &model = test.model;
        std::vector<ModelPoint> points = {{}};
        for (int i = 0; i < 5; i++)
            points.push_back(test.random_point(random, false));
        points.push_back(ModelCurve::negative(points[1]));
        points.push_back(model.add(points[1], points[1]));
        points.push_back(model.add(model.mul(model.n, points[2]), {})); // of order 1 or 2
        points.push_back(model.add(points[3], ModelCurve::negative(points[1])));
        for (const qale2curve &curve : {test.curve, general(test.curve)}) {
            for (const ModelPoint &p : points) {
                qale2point P = test.projective(p, random), R = dirty_point();
                ASSERT_TRUE(model.contains(p));
                ASSERT_EQ(qale2pd(&curve, &R, &P), &R);
                ASSERT_EQ(test.model_of(R), model.add(p, p));
                qale2pcp(&curve, &R, &P);
                ASSERT_TRUE(same(R, P));
                ASSERT_EQ(qale2pcp(&curve, &R, &R), &R);
                ASSERT_EQ(qale2pd(&curve, &R, &R), &R);
                ASSERT_EQ(test.model_of(R), model.add(p, p));
                R = P;
                ASSERT_EQ(qale2pneg(&curve, &R), &R);
                ASSERT_EQ(test.model_of(R), p.infinite ? p : ModelCurve::negative(p));
                ASSERT_EQ(qale2p_is_inf(&curve, &P), p.infinite);

                qal2p x, y;
                R = P;
                ASSERT_EQ(qale2pxy(&curve, &R, x, y), !p.infinite);
                ASSERT_EQ(poly_of(x), p.x);
                ASSERT_EQ(poly_of(y), p.y);
                ASSERT_EQ(poly_of(R.Z), p.infinite ? 0 : 1);
                ASSERT_EQ(test.model_of(R), p);
                ASSERT_EQ(qale2pxy(&curve, &R, nullptr, nullptr), !p.infinite);

                for (const ModelPoint &q : points) {
                    qale2point Q = test.point(q);
                    const ModelPoint sum = model.add(p, q);
                    R = dirty_point();
                    ASSERT_EQ(qale2paa(&curve, &R, &P, &Q), &R);
                    ASSERT_EQ(test.model_of(R), sum);
                    R = dirty_point();
                    ASSERT_EQ(qale2pa(&curve, &R, &P, Q.X, Q.Y), &R);
                    ASSERT_EQ(test.model_of(R), sum);
                    R = P;
                    ASSERT_EQ(qale2paa(&curve, &R, &R, &Q), &R);
                    ASSERT_EQ(test.model_of(R), sum);
                    R = P;
                    ASSERT_EQ(qale2pa(&curve, &R, &R, Q.X, Q.Y), &R);
                    ASSERT_EQ(test.model_of(R), sum);
                    ASSERT_EQ(qale2paa(&curve, &Q, &P, &Q), &Q);
                    ASSERT_EQ(test.model_of(Q), sum);
                }
            }
            // To infinity, what is not on the curve cannot be added.
            qale2point infinity = test.point({}), R = dirty_point();
            Polynomial x(points[1].x, model.field.words()), y(points[1].y ^ 1, model.field.words());
            ASSERT_EQ(qale2pa(&curve, &R, &infinity, x, y), nullptr);
            // With x = y = 0 the point stays, coordinates and all.
            qale2point P = test.projective(points[1], random);
            Polynomial zero(0, model.field.words());
            ASSERT_EQ(qale2pa(&curve, &R, &P, zero, zero), &R);
            ASSERT_TRUE(same(R, P));
        }
    });
}

TEST(BinaryCurves, Tables)
{
    Random random;
    on_every_curve([&](TestCurve &test) {
        const qale2curve plain = general(test.curve);
        for (const int32_t ws : {2, 3, 5, 6, 7}) {
            const size_t count = size_t{1} << (ws - 1);
            const ModelPoint p = test.random_point(random, false);
            const qale2point P = test.projective(p, random);
            std::vector<qale2affine> table(count), expected(count);
            ASSERT_EQ(qale2ic(&test.curve, table.data(), &P, ws), table.data());
            qale2ic(&plain, expected.data(), &P, ws);
            const ModelPoint twice = test.model.add(p, p);
            ModelPoint multiple = p;
            for (size_t i = 0; i < count; i++) {
                ASSERT_TRUE(same(table[i], expected[i]));
                ASSERT_EQ(poly_of(table[i].x), multiple.x);
                ASSERT_EQ(poly_of(table[i].y), multiple.y);
                multiple = test.model.add(multiple, twice);
            }
        }
        // Points of order 1 and 2 have tables, too.
        const ModelPoint half = test.model.mul(test.model.n, test.random_point(random, false));
        for (const ModelPoint &p : {ModelPoint{}, half}) {
            const qale2point P = test.projective(p, random);
            qale2affine table[16];
            qale2ic(&test.curve, table, &P, 5);
            for (const qale2affine &entry : table) {
                ASSERT_EQ(poly_of(entry.x), p.x);
                ASSERT_EQ(poly_of(entry.y), p.y);
            }
        }
    });
}

TEST(BinaryCurves, MultiplicationByScalars)
{
    Random random;
    on_every_curve([&](TestCurve &test) {
        const ModelCurve &model = test.model;
        const qale2curve plain = general(test.curve);
        std::vector<mpz_class> scalars = {0, 1, 2, 31, 33, 64};
        for (int i = 0; i < 2; i++)
            scalars.push_back(random_scalar(random, model.n));
        scalars.push_back(model.n);
        scalars.push_back(2 * model.n + 7);
        for (size_t i = 0; i < scalars.size(); i++) {
            const ModelPoint p = test.random_point(random, i % 2 == 0);
            const qale2point P = test.projective(p, random);
            const mpz_class &k = scalars[i];
            Number number(k);
            const ModelPoint expected = model.mul(k, p);
            qale2point R = dirty_point(), S = dirty_point();
            ASSERT_EQ(qale2kp(&test.curve, &R, number, &P), &R);
            ASSERT_EQ(test.model_of(R), expected) << k;
            // The engine goes the way of the general routines: projective coordinates agree.
            qale2kp(&plain, &S, number, &P);
            ASSERT_TRUE(same(R, S)) << k;
            R = P;
            qale2kp(&test.curve, &R, number, &R);
            ASSERT_TRUE(same(R, S));

            for (const int32_t ws : {2, 4, 6}) {
                std::vector<qale2affine> table(size_t{1} << (ws - 1));
                qale2ic(&test.curve, table.data(), &P, ws);
                ASSERT_EQ(qale2kpic(&test.curve, &R, number, table.data(), ws), &R);
                ASSERT_EQ(test.model_of(R), expected);
                // Step by step, a window each.
                qale2kpic_ctx ctx;
                ASSERT_EQ(qale2kpic_init(&ctx, &test.curve, number, table.data(), ws), &ctx);
                uint64_t bits = length(k);
                ASSERT_EQ(ctx.bits, bits);
                S = dirty_point();
                for (bool done = false; !done;) {
                    int64_t window = 0;
                    if (bits > 0)
                        qalgetslide(number, bits - 1, ws, &window);
                    bits -= static_cast<uint64_t>(window);
                    done = qale2kpic_step(&ctx, &S) != 0;
                    ASSERT_EQ(ctx.bits, bits);
                    ASSERT_EQ(done, bits == 0);
                    Number so_far(k >> bits);
                    qale2point T;
                    qale2kp(&plain, &T, so_far, &P);
                    ASSERT_EQ(test.model_of(ctx.Q), test.model_of(T));
                }
                ASSERT_TRUE(same(R, S));
                // Further steps do nothing but tell.
                ASSERT_EQ(qale2kpic_step(&ctx, nullptr), 1);
                ASSERT_TRUE(same(ctx.Q, R));
            }
        }
    });
}

TEST(BinaryCurves, SumsOfMultiples)
{
    Random random;
    on_every_curve([&](TestCurve &test) {
        const ModelCurve &model = test.model;
        const ModelPoint p = test.random_point(random), q = test.random_point(random);
        const mpz_class k = random_scalar(random, model.n), l = random_scalar(random, model.n);
        struct Case {
            mpz_class k;
            ModelPoint p;
            mpz_class l;
            ModelPoint q;
        };
        for (const Case &c :
             {Case{k, p, l, q}, Case{0, p, l, q}, Case{k, p, 0, q}, Case{k, p, k, p},
              Case{k, p, k, ModelCurve::negative(p)}, Case{k, {}, l, q}}) {
            const qale2point P = test.projective(c.p, random), Q = test.projective(c.q, random);
            Number u(c.k), v(c.l);
            qale2point R = dirty_point();
            ASSERT_EQ(qale2skp(&test.curve, &R, u, &P, v, &Q), &R);
            ASSERT_EQ(test.model_of(R), model.add(model.mul(c.k, c.p), model.mul(c.l, c.q)));
        }
    });
}

TEST(BinaryCurves, Compression)
{
    Random random;
    on_every_curve([&](TestCurve &test) {
        const ModelCurve &model = test.model;
        const uint32_t n = model.field.words();
        for (const qale2curve &curve : {test.curve, general(test.curve)}) {
            for (int round = 0; round < 4; round++) {
                const ModelPoint p = test.random_point(random);
                qale2point P = test.projective(p, random), R = dirty_point();
                qal2p c;
                std::memset(c, 0xa5, sizeof c);
                ASSERT_EQ(qale2comp(&curve, c, &P), c);
                ASSERT_EQ(c[0], n);
                ASSERT_EQ(poly_of(c), model.compress(p));
                ASSERT_EQ(poly_of(P.Z), 1);
                ASSERT_EQ(qale2exp(&curve, &R, c), &R);
                ASSERT_EQ(test.model_of(R), p);
                ASSERT_EQ(poly_of(R.Z), 1);
                // The other bit is the opposite point.
                qal2pinc(c);
                ASSERT_EQ(qale2exp(&curve, &R, c), &R);
                ASSERT_EQ(test.model_of(R), ModelCurve::negative(p));
            }
            // Infinity becomes zero, and so does the point with x = 0, which alone comes back.
            qale2point P = test.point({}), R = dirty_point();
            qal2p c;
            ASSERT_EQ(poly_of(qale2comp(&curve, c, &P)), 0);
            ASSERT_EQ(qale2exp(&curve, &R, c), &R);
            ASSERT_EQ(poly_of(R.X), 0);
            ASSERT_EQ(model.field.sqr(poly_of(R.Y)), model.b);
            ASSERT_EQ(poly_of(qale2comp(&curve, c, &R)), 0);
            // About half of the elements are no points.
            int refused = 0;
            for (int i = 0; i < 20; i++) {
                Polynomial some(model.field.random(random) | 2, n);
                if (qale2exp(&curve, &R, some) == nullptr) {
                    refused++;
                } else {
                    ASSERT_TRUE(model.contains(test.model_of(R)));
                    ASSERT_EQ(model.compress(test.model_of(R)), some.value());
                }
            }
            EXPECT_GT(refused, 0);
            EXPECT_LT(refused, 20);
        }
        // x = 1 or nothing.
        Polynomial one(1, n);
        qale2point R = dirty_point();
        qale2exp(&test.curve, &R, one);
    });
}

// The engines by name, each against the model; dispatch takes one of them.
TEST(BinaryCurves, Engines)
{
    const std::vector<Variant<const Engine *()>> variants = {
        {"portable", 0, engines_portable},
        {"avx2_pclmul", qal::base::needs_avx2_pclmul, engines_avx2_pclmul}};
    Random random;
    each_variant(variants, [&](const Variant<const Engine *()> &variant) {
        size_t index = 0;
        on_every_curve([&](TestCurve &test) {
            const Engine &engine = variant.run()[index++];
            const ModelCurve &model = test.model;
            const ModelField &f = model.field;
            const uint32_t n = f.words();
            for (int round = 0; round < 60; round++) {
                const Poly x = round == 0 ? Poly(0) : f.random(random);
                Polynomial a(x, n), r(f.random(random), n);
                engine.invert(r, a);
                ASSERT_EQ(f.mul(r.value(), x), x == 0 ? 0 : 1);
                ASSERT_EQ(engine.trace(a), static_cast<unsigned>(f.trace(x)));
                engine.square_root(r, a);
                ASSERT_EQ(f.sqr(r.value()), x);
                engine.half_trace(r, a);
                ASSERT_EQ(f.sqr(r.value()) ^ r.value(), x ^ Poly(f.trace(x)));
            }
            for (uint32_t bit = 0; bit < f.m; bit += 23) {
                Polynomial a(Poly(1) << bit, n);
                ASSERT_EQ(engine.trace(a), static_cast<unsigned>(f.trace(a.value())));
            }

            const qale2point G = test.point(model.G);
            qale2affine table[window_entries];
            ASSERT_TRUE(engine.odd_multiples_var(&test.curve, table, &G, 6));
            const unsigned windows = window_count(length(model.n));
            Number order(model.n);
            for (int round = 0; round < 6; round++) {
                const mpz_class k =
                    round == 0 ? mpz_class(model.n - 65000) : random_scalar(random, model.n);
                Number number(k);
                const ModelPoint expected = model.mul(k, model.G);
                qale2point Q = dirty_point();
                ASSERT_TRUE(
                    engine.multiply_windows(&test.curve, &Q, number, order, table, windows - 1, 0));
                ASSERT_EQ(test.model_of(Q), expected);
                qale2point affine = Q;
                const unsigned bit = engine.make_affine(&affine);
                ASSERT_EQ(test.model_of(affine), expected);
                ASSERT_EQ(poly_of(affine.Z), 1);
                ASSERT_EQ((poly_of(affine.X) & ~Poly(1)) | Poly(bit), model.compress(expected));
                // In two parts.
                const auto middle = static_cast<unsigned>(1 + random.below(windows - 1));
                Q = dirty_point();
                ASSERT_TRUE(engine.multiply_windows(&test.curve, &Q, number, order, table,
                                                    windows - 1, middle));
                ASSERT_TRUE(
                    engine.multiply_windows(&test.curve, &Q, number, order, table, middle - 1, 0));
                ASSERT_EQ(test.model_of(Q), expected);

                // Abscissas, of points of any order.
                qal2p c;
                const ModelPoint p = round == 1
                                         ? model.mul(model.n, test.random_point(random, false))
                                         : test.random_point(random, round % 2 == 0);
                if (p.infinite)
                    continue;
                Polynomial px(p.x, n);
                {
                    const unsigned doublings = static_cast<unsigned>(round) % 3;
                    const auto bits = static_cast<unsigned>(length(model.n) + random.below(3));
                    engine.multiply_abscissa(&test.curve, c, number, bits, px, doublings);
                    ASSERT_EQ(poly_of(c), model.mul(k << doublings, p).x);
                }
                const mpz_class s = round == 2 ? mpz_class(0) : random_scalar(random, model.n);
                Number first(s);
                const qale2point P = test.point(p);
                const ModelPoint sum = model.add(model.mul(s, model.G), model.mul(k, p));
                ASSERT_EQ(engine.joint_abscissa_var(&test.curve, c, first, table, number, &P),
                          !sum.infinite);
                ASSERT_EQ(poly_of(c), sum.x);
            }
            // s G + r G with equal, opposite and cancelling parts.
            for (const auto &[s, r] :
                 {std::pair<int, int>{1, 1}, {3, 3}, {5, 1}, {0, 0}, {2, 62}}) {
                for (const bool opposite : {false, true}) {
                    qal2p c;
                    Number first(s), second(opposite ? mpz_class(model.n - r) : mpz_class(r));
                    const int total = opposite ? s - r : s + r;
                    const ModelPoint size = model.mul(std::abs(total), model.G);
                    const ModelPoint sum =
                        total < 0 && !size.infinite ? ModelCurve::negative(size) : size;
                    ASSERT_EQ(engine.joint_abscissa_var(&test.curve, c, first, table, second, &G),
                              !sum.infinite);
                    ASSERT_EQ(poly_of(c), sum.x);
                }
            }
            // Small scalars and their opposites: right, or said to have failed.
            int failures = 0;
            for (const int k : {0, 1, 2, 3, 62, 63, 64, 65, 126, 127, 128, 130}) {
                const ModelPoint multiple = model.mul(k, model.G);
                for (const bool opposite : {false, true}) {
                    if (opposite && k == 0)
                        continue; // k is below n
                    Number number(opposite ? mpz_class(model.n - k) : mpz_class(k));
                    qale2point Q = dirty_point();
                    if (engine.multiply_windows(&test.curve, &Q, number, order, table, windows - 1,
                                                0))
                        ASSERT_EQ(test.model_of(Q),
                                  opposite ? ModelCurve::negative(multiple) : multiple);
                    else
                        failures++;
                }
            }
            EXPECT_GT(failures, 0);
        });
    });
}

// No published curve has points of order 3, but any curve with b = x^4 + x^3 does: there the points
// with this x are the opposite of what they are doubled. Their tables contain infinity.
TEST(BinaryCurves, PointsOfOrderThree)
{
    Random random;
    for (const ModelField &f : model_fields) {
        for (const uint32_t a : {0U, 1U}) {
            // y = x z, z^2 + z = x + a + b / x^2 = x^2 + a
            ModelCurve model{"of order 3", f, a, 0, 3, 0, {false, 0, 0}};
            Poly t;
            do {
                model.G.x = f.random(random);
                t = f.sqr(model.G.x) ^ Poly(a);
            } while (model.G.x <= 1 || f.trace(t) != 0);
            Poly z = t;
            for (uint32_t i = 0; i < (f.m - 1) / 2; i++)
                z = f.sqr(f.sqr(z)) ^ t;
            const Poly x3 = f.mul(f.sqr(model.G.x), model.G.x);
            model.b = f.mul(x3, model.G.x) ^ x3;
            model.G.y = f.mul(model.G.x, z);
            ASSERT_TRUE(model.contains(model.G));
            const TestCurve test(model);
            const qale2point P = test.point(model.G);
            for (unsigned k = 0; k < 30; k++) {
                const mpz_class factor = k < 24 ? mpz_class(k) : mpz_class(random.word());
                Number number(factor, 1);
                qale2point R = dirty_point();
                ASSERT_EQ(qale2kp(&test.curve, &R, number, &P), &R);
                ASSERT_EQ(test.model_of(R), model.mul(factor, model.G)) << f.m << " " << factor;
            }
        }
    }
}

// Engines are for the four fields, and for curves that have not been given other arithmetic.
TEST(BinaryCurves, WhereEnginesServe)
{
    for (const ModelField &f : model_fields) {
        const Engine *const engine = engine_of_field(f.m, f.a, f.b, f.c);
        EXPECT_NE(engine, nullptr);
        EXPECT_EQ(engine_of_field(f.m + 2, f.a, f.b, f.c), nullptr);
        EXPECT_EQ(engine_of_field(f.m, f.a + 1, f.b, f.c), nullptr);
        EXPECT_EQ(engine_of_field(f.m, f.a, f.b + 1, f.c), nullptr);
        EXPECT_EQ(engine_of_field(f.m, f.a, f.b, f.c + 1), nullptr);
    }
    Random random;
    on_every_curve([&](TestCurve &test) {
        ASSERT_NE(engine_of(&test.curve), nullptr);
        qale2curve unknown = test.curve;
        unknown.mod_a++;
        EXPECT_EQ(engine_of(&unknown), nullptr);
        const ModelPoint p = test.random_point(random);
        const mpz_class k = random_scalar(random, test.model.n);
        Number number(k);
        static decltype(test.curve.mul) mul;
        static decltype(test.curve.sqr) sqr;
        static decltype(test.curve.reduce) reduce;
        static size_t calls;
        mul = test.curve.mul, sqr = test.curve.sqr, reduce = test.curve.reduce;
        const auto own_mul = [](auto... arguments) { return calls++, mul(arguments...); };
        const auto own_sqr = [](auto... arguments) { return calls++, sqr(arguments...); };
        const auto own_reduce = [](auto... arguments) { return calls++, reduce(arguments...); };
        for (int replaced = 0; replaced < 3; replaced++) {
            qale2curve curve = test.curve;
            if (replaced == 0)
                curve.mul = own_mul;
            else if (replaced == 1)
                curve.sqr = own_sqr;
            else
                curve.reduce = own_reduce;
            EXPECT_EQ(engine_of(&curve), nullptr);
            calls = 0;
            qale2point P = test.point(p), R = dirty_point();
            qale2kp(&curve, &R, number, &P);
            EXPECT_GT(calls, 100U);
            EXPECT_EQ(test.model_of(R), test.model.mul(k, p));
        }
    });
}

TEST(BinaryCurvesDeathTest, Preconditions)
{
    TestCurve test(model_curve("m163"));
    const qale2curve *const curve = &test.curve;
    Polynomial a(3, 6), b(5, 6), other(1, 7), empty(0, 0), large(1, 15);
    EXPECT_PRECONDITION(qale2bfmul(nullptr, a, a, b), "curve != 0", path, "qale2bfmul");
    EXPECT_PRECONDITION(qale2bfmul(curve, nullptr, a, b), "r != 0", path, "qale2bfmul");
    EXPECT_PRECONDITION(qale2bfmul(curve, a, nullptr, b), "u != 0", path, "qale2bfmul");
    EXPECT_PRECONDITION(qale2bfmul(curve, a, b, nullptr), "v != 0", path, "qale2bfmul");
    EXPECT_PRECONDITION(qale2bfmul(curve, empty, a, b), count_text("r"), path, "qale2bfmul");
    EXPECT_PRECONDITION(qale2bfmul(curve, a, large, b), count_text("u"), path, "qale2bfmul");
    EXPECT_PRECONDITION(qale2bfmul(curve, a, b, large), count_text("v"), path, "qale2bfmul");
    EXPECT_PRECONDITION(qale2bfmul(curve, a, b, other), "(*r) == (*v)", path, "qale2bfmul");
    EXPECT_PRECONDITION(qale2bfmul(curve, a, other, b), "(*r) == (*u)", path, "qale2bfmul");
    EXPECT_PRECONDITION(qale2bfsqr(nullptr, a, b), "curve != 0", path, "qale2bfsqr");
    EXPECT_PRECONDITION(qale2bfsqr(curve, nullptr, b), "r != 0", path, "qale2bfsqr");
    EXPECT_PRECONDITION(qale2bfsqr(curve, a, nullptr), "u != 0", path, "qale2bfsqr");
    EXPECT_PRECONDITION(qale2bfsqr(curve, empty, b), count_text("r"), path, "qale2bfsqr");
    EXPECT_PRECONDITION(qale2bfsqr(curve, a, large), count_text("u"), path, "qale2bfsqr");
    EXPECT_PRECONDITION(qale2bfsqr(curve, a, other), "(*r) == (*u)", path, "qale2bfsqr");
    EXPECT_PRECONDITION(qale2bfmul(curve, large, a, b), count_text("r"), path, "qale2bfmul");
    EXPECT_PRECONDITION(qale2bfmul(curve, a, empty, b), count_text("u"), path, "qale2bfmul");
    EXPECT_PRECONDITION(qale2bfmul(curve, a, b, empty), count_text("v"), path, "qale2bfmul");
    EXPECT_PRECONDITION(qale2bfsqr(curve, large, b), count_text("r"), path, "qale2bfsqr");
    EXPECT_PRECONDITION(qale2bfsqr(curve, a, empty), count_text("u"), path, "qale2bfsqr");
    EXPECT_PRECONDITION(qale2bfinv(nullptr, a, b), "curve != 0", path, "qale2bfinv");

    qale2kpic_ctx ctx;
    const qald k[] = {1, 5};
    const qale2affine table[2] = {};
    EXPECT_PRECONDITION(qale2kpic_init(nullptr, curve, k, table, 2), "ctx != 0", path,
                        "qale2kpic_init");
    EXPECT_PRECONDITION(qale2kpic_init(&ctx, nullptr, k, table, 2), "curve != 0", path,
                        "qale2kpic_init");
    EXPECT_PRECONDITION(qale2kpic_init(&ctx, curve, k, nullptr, 2), "powers != 0", path,
                        "qale2kpic_init");
    EXPECT_PRECONDITION(qale2kpic_init(&ctx, curve, k, table, 1), "ws>1", path, "qale2kpic_init");

    // A field of even degree has no half-trace.
    qale2curve even = test.curve;
    even.mod_m = 162;
    qale2point R;
    Polynomial zero(0, 6);
    EXPECT_PRECONDITION(qale2exp(&even, &R, zero), "( curve->mod_m & 1) == 1", path, "solve_qe");
    EXPECT_PRECONDITION(qale2pcr(&even, &R, a, nullptr), "( curve->mod_m & 1) == 1", path,
                        "solve_qe");
    // No elements: the trace is neither 0 nor 1.
    for (const uint32_t degree : {test.model.field.m, 170U}) {
        Polynomial unreduced((Poly(1) << degree) ^ 6, 6);
        EXPECT_PRECONDITION(qale2exp(curve, &R, unreduced),
                            "( qal2p_is_zero((z)) ) || ( qal2p_is_one((z)) )", path, "tr");
    }
    EXPECT_PRECONDITION(qale2pcr(curve, &R, other, nullptr), "*a == *r", poly_path, "qal2pcopy");
}
