// Polynomials over GF(2) and points of binary curves against their definitions.
#include "binary_domains.hpp"

#include <map>

using namespace qal::fuzz;

namespace {

// Bare words between inaccessible pages.
class Words {
public:
    Words(const Poly &value, size_t n, GuardedBytes::Edge edge)
        : n_(n), bytes_(bytes_of(value, 4 * n), edge)
    {
    }

    operator qal2d *() { return reinterpret_cast<qal2d *>(bytes_.data()); }
    Poly value() { return Polynomial::value_of_words(*this, n_); }

private:
    size_t n_;
    GuardedBytes bytes_;
};

// A polynomial of up to `bits` coefficients: any, or runs of ones.
Poly polynomial(Input &in, size_t bits)
{
    const Poly all = power_of_two(bits) - 1;
    switch (in.below(3)) {
    case 0:
        return (all ^ poly_of(in.bytes(in.below(8)))) & all;
    case 1:
        return number(in, 14) & all;
    default:
        return poly_of(in.bytes((bits + 7) / 8)) & all;
    }
}

void check_products(Input &in)
{
    const auto edge = in.edge();
    const size_t n = in.below(40) + 1, m = in.below(40);
    const Poly x = polynomial(in, 32 * n), y = polynomial(in, 32 * m);
    Words a(x, n, edge), b(y, m, edge), r(0, n + m, edge);
    gf2x_mul(r, a, static_cast<int32_t>(n), b, static_cast<int32_t>(m));
    ASSERT_EQ(r.value(), product(x, y));

    const Poly s = polynomial(in, 32 * n);
    const auto word = static_cast<qal2d>(in.word(4));
    const Poly whole = product(x, word);
    Words once(0, n, edge), sum(s, n, edge);
    ASSERT_EQ(gf2x_mul_1_n(once, a, static_cast<int32_t>(n), word),
              mpz_class(whole >> (32 * n)).get_ui());
    ASSERT_EQ(once.value(), whole % power_of_two(32 * n));
    ASSERT_EQ(gf2x_addmul_1_n(sum, sum, a, static_cast<int32_t>(n), word),
              mpz_class(whole >> (32 * n)).get_ui());
    ASSERT_EQ(sum.value(), (whole % power_of_two(32 * n)) ^ s);
}

void check_kernels(Input &in)
{
    static constexpr struct {
        size_t bits;
        void (*multiply)(qal2d *, const qal2d *, const qal2d *);
    } products[] = {{160, pmult160x160}, {192, pmult192x192}, {224, pmult224x224},
                    {256, pmult256x256}, {257, pmult257x257}, {288, pmult288x288},
                    {448, pmult448x448}};
    static constexpr struct {
        size_t bits;
        void (*square)(qal2d *, const qal2d *);
    } squares[] = {{192, psqr192x192}, {288, psqr288x288}, {448, psqr448x448}};
    static constexpr struct {
        ModelField field;
        size_t words, kept;
        void (*reduce)(qal2d *);
    } reductions[] = {{model_fields[0], 11, 6, reduce163_7_6_3_1},
                      {model_fields[1], 12, 6, reduce191_9_1},
                      {model_fields[2], 18, 9, reduce257_12_1},
                      {model_fields[3], 28, 14, reduce431_5_3_1}};
    const auto edge = in.edge();
    const auto &p = in.one_of(products);
    const Poly x = polynomial(in, p.bits), y = polynomial(in, p.bits);
    const size_t n = (p.bits + 31) / 32;
    Words a(x, n, edge), b(y, n, edge), r(0, p.bits == 257 ? 17 : 2 * n, edge);
    p.multiply(r, a, b);
    ASSERT_EQ(r.value(), product(x, y));
    p.multiply(r, a, a);
    ASSERT_EQ(r.value(), product(x, x));

    const auto &s = in.one_of(squares);
    const Poly z = polynomial(in, s.bits);
    Words c(z, s.bits / 32, edge), square(0, s.bits / 16, edge), place(z, s.bits / 16, edge);
    s.square(square, c);
    ASSERT_EQ(square.value(), product(z, z));
    s.square(place, place);
    ASSERT_EQ(place.value(), product(z, z));

    // Of products of elements, whose degrees are at most 2 m - 2.
    const auto &reduction = in.one_of(reductions);
    const Poly w = polynomial(in, 2 * reduction.field.m - 1);
    Words v(w, reduction.words, edge);
    reduction.reduce(v);
    ASSERT_EQ(v.value() % power_of_two(32 * reduction.kept),
              remainder(w, reduction.field.modulus()));
}

void check_elements(Input &in)
{
    const TestDomain &domain = published_domain(in);
    const ModelField &field = domain.model().field;
    const uint32_t n = field.words();
    const Poly x = element(in, field), y = in.flag() ? x : element(in, field);
    for (const qale2curve &curve : {domain.test.curve, general(domain.test.curve)}) {
        Polynomial a(x, n), b(y, n), r(power_of_two(32 * n) - 1, n);
        ASSERT_EQ(qale2bfmul(&curve, r, a, b), r.words());
        ASSERT_EQ(r.value(), field.mul(x, y));
        ASSERT_EQ(qale2bfsqr(&curve, r, a), r.words());
        ASSERT_EQ(r.value(), field.sqr(x));
        ASSERT_EQ(qal2add(r, a, b), r.words());
        ASSERT_EQ(r.value(), x ^ y);
        ASSERT_EQ(qal2p_is_equal(a, b), x == y);
        ASSERT_EQ(qal2p_is_zero(a), x == 0);
        ASSERT_EQ(qal2p_is_one(a), x == 1);
        ASSERT_EQ(qal2p_deg(a), x == 0 ? 0 : static_cast<int32_t>(length(x)) - 1);
        const auto no = static_cast<int32_t>(in.below(32 * n));
        ASSERT_EQ(qal2pgbit(a, no), coefficient(x, static_cast<size_t>(no)));
        if (x != 0) {
            ASSERT_EQ(qale2bfinv(&curve, r, a), r.words());
            ASSERT_EQ(r.value(), field.inv(x));
            ASSERT_EQ(qale2bfinv(&curve, a, a), a.words());
            ASSERT_EQ(a.value(), field.inv(x));
        }
        const bool set = in.flag();
        qal2psbit(b, no, set);
        ASSERT_EQ(coefficient(b.value(), static_cast<size_t>(no)), set);
    }
}

// Modulo any trinomial or pentanomial, not only those with a reduction of their own.
void check_inverses(Input &in)
{
    const auto between = [&](uint32_t least, uint32_t most) {
        return least + static_cast<uint32_t>(in.below(most - least + 1));
    };
    ModelField field{between(4, 431), 0, 0, 0};
    if (field.m % 32 == 0)
        field.m--;
    field.a = between(3, field.m - 1);
    if (in.flag()) {
        field.b = between(2, field.a - 1);
        field.c = between(1, field.b - 1);
    }
    const Poly x = element(in, field);
    // Others have no inverse, and there is no end to the search for it.
    Poly a = field.modulus(), b = x;
    while (b != 0) {
        a = remainder(a, b);
        std::swap(a, b);
    }
    if (a != 1)
        return;
    const uint32_t n = field.words();
    Polynomial u(x, n), r(power_of_two(32 * n) - 1, n);
    ASSERT_EQ(qal2invm(r, u, field.m, field.a, field.b, field.c), r.words());
    ASSERT_EQ(r.value(), field.inv(x));
    ASSERT_EQ(qal2invm(u, u, field.m, field.a, field.b, field.c), u.words());
    ASSERT_EQ(u.value(), field.inv(x));
}

// The ordinate of the point with x = 0.
const Poly &root_of_b(const TestCurve &curve)
{
    static std::map<uint32_t, Poly> roots;
    Poly &root = roots[curve.model.field.m];
    if (root == 0) {
        root = curve.model.b;
        for (uint32_t i = 1; i < curve.model.field.m; i++)
            root = curve.model.field.sqr(root);
    }
    return root;
}

// A point: a small multiple of the base point, with that of order 2 added or not, in any projective
// coordinates.
struct Point {
    ModelPoint model;
    qale2point point;

    Point(Input &in, const TestCurve &curve)
    {
        const ModelField &field = curve.model.field;
        model = curve.model.mul(in.below(64), curve.model.G);
        if (in.flag()) {
            model = curve.model.add(model, {false, 0, root_of_b(curve)});
        }
        if (in.flag())
            model.y ^= model.x;
        point = curve.point(model);
        Poly z = in.flag() ? Poly(1) : element(in, field);
        if (model.infinite || z == 0)
            return;
        set(point.X, field.mul(model.x, z), field.words());
        set(point.Y, field.mul(model.y, field.sqr(z)), field.words());
        set(point.Z, z, field.words());
    }
};

void check_points(Input &in)
{
    const TestDomain &domain = published_domain(in);
    const TestCurve &test = domain.test;
    const Point p(in, test), q = in.flag() ? p : Point(in, test);
    const ModelPoint sum = test.model.add(p.model, q.model);
    const ModelPoint twice = test.model.add(p.model, p.model);
    const Poly compressed = test.model.compress(p.model);
    qale2point affine_q = test.point(q.model);
    for (const qale2curve &curve : {test.curve, general(test.curve)}) {
        qale2point R, S = p.point, T = affine_q;
        ASSERT_EQ(qale2pd(&curve, &R, &p.point), &R);
        ASSERT_EQ(test.model_of(R), twice);
        ASSERT_EQ(qale2paa(&curve, &R, &p.point, &affine_q), &R);
        ASSERT_EQ(test.model_of(R), sum);
        ASSERT_EQ(qale2paa(&curve, &S, &S, &affine_q), &S);
        ASSERT_EQ(test.model_of(S), sum);
        ASSERT_EQ(qale2paa(&curve, &T, &p.point, &T), &T);
        ASSERT_EQ(test.model_of(T), sum);
        ASSERT_EQ(qale2pa(&curve, &R, &p.point, affine_q.X, affine_q.Y), &R);
        ASSERT_EQ(test.model_of(R), sum);

        // Compressed and back: the same point, if its order is odd or it is a double.
        qal2p c;
        R = p.point;
        qale2comp(&curve, c, &R);
        ASSERT_EQ(poly_of(c), compressed);
        R = test.point(twice);
        qale2comp(&curve, c, &R);
        if (!twice.infinite) {
            ASSERT_EQ(qale2exp(&curve, &S, c), &S);
            ASSERT_EQ(test.model_of(S), twice);
        }
    }
}

void check_multiples(Input &in)
{
    const TestDomain &domain = published_domain(in);
    const TestCurve &test = domain.test;
    const Point p(in, test), q(in, test);
    const mpz_class k = number(in, 8), l = number(in, 8);
    const auto ws = static_cast<int32_t>(2 + in.below(6));
    const qale2curve curve = general(test.curve);
    Number u(k), v(l);
    qale2point expected, R;
    qale2kp(&curve, &expected, u, &p.point);
    ASSERT_EQ(qale2kp(&test.curve, &R, u, &p.point), &R);
    ASSERT_EQ(test.model_of(R), test.model_of(expected));
    if (k < 0x10000) {
        ASSERT_EQ(test.model_of(R), test.model.mul(k, p.model));
    }
    std::vector<qale2affine> table(size_t{1} << (ws - 1));
    ASSERT_EQ(qale2ic(&test.curve, table.data(), &p.point, ws), table.data());
    ASSERT_EQ(qale2kpic(&test.curve, &R, u, table.data(), ws), &R);
    ASSERT_EQ(test.model_of(R), test.model_of(expected));
    qale2kpic_ctx ctx;
    qale2kpic_init(&ctx, &test.curve, u, table.data(), ws);
    while (qale2kpic_step(&ctx, &R) == 0) {
    }
    ASSERT_EQ(test.model_of(R), test.model_of(expected));

    qale2kp(&curve, &R, v, &q.point);
    const ModelPoint sum = test.model.add(test.model_of(expected), test.model_of(R));
    ASSERT_EQ(qale2skp(&test.curve, &R, u, &p.point, v, &q.point), &R);
    ASSERT_EQ(test.model_of(R), sum);
}

void check_creation(Input &in)
{
    const TestDomain &domain = published_domain(in);
    const TestCurve &test = domain.test;
    const ModelField &field = test.model.field;
    const Poly x = element(in, field, test.model.G.x), y = element(in, field, test.model.G.y);
    Polynomial a(x, field.words()), b(y, field.words());
    for (const qale2curve &curve : {test.curve, general(test.curve)}) {
        qale2point P;
        ASSERT_EQ(qale2pcr(&curve, &P, a, b) != nullptr, test.model.contains({false, x, y}));
        const qale2point *found = qale2pcr(&curve, &P, a, nullptr);
        if (found != nullptr) {
            ASSERT_EQ(poly_of(P.X), x);
            ASSERT_TRUE(test.model.contains({false, x, poly_of(P.Y)}));
        } else {
            // y^2 + x y = w has no solution.
            const Poly w = field.mul(x ^ Poly(test.model.a), field.sqr(x)) ^ test.model.b;
            ASSERT_TRUE(x != 0 && field.trace(field.mul(w, field.sqr(field.inv(x)))) == 1);
        }
        if (qale2exp(&curve, &P, a) != nullptr) {
            const ModelPoint p{false, poly_of(P.X), poly_of(P.Y)};
            ASSERT_TRUE(test.model.contains(p));
            ASSERT_EQ(test.model.compress(p), x);
        }
    }
}

} // namespace

QAL_FUZZ_TARGET
{
    static constexpr decltype(&check_points) checks[] = {
        check_products,  check_kernels,  check_elements, check_points,
        check_multiples, check_creation, check_inverses};
    in.one_of(checks)(in);
}
