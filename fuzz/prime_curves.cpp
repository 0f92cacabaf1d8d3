// Prime fields of all sizes and points of curves over them, against GMP.
#include "numbers.hpp"
#include "qalec/model.hpp"

#include <memory>

using namespace qal::fuzz;

namespace {

// Primes of 1 to 8 digits, of both forms of fields.
const std::vector<mpz_class> &primes()
{
    static const std::vector<mpz_class> list = [] {
        std::vector<mpz_class> found{3, 5, 251};
        for (size_t n = 1; n <= 8; n++) {
            const mpz_class R = power_of_two(64 * n);
            found.push_back(next_prime(R / 2));
            found.push_back(next_prime(R / 3 * 2));
            mpz_class special = R - 1;
            while (mpz_probab_prime_p(special.get_mpz_t(), 20) == 0)
                special -= 2;
            found.push_back(special);
        }
        return found;
    }();
    return list;
}

mpz_class element_of(Input &in, const mpz_class &p)
{
    switch (in.below(4)) {
    case 0:
        return in.byte() % p;
    case 1:
        return modulo(p - in.byte(), p);
    default:
        return number(in, digits_of(p)) % p;
    }
}

void check_fields(Input &in)
{
    // Only inverses need a prime.
    const bool prime = in.flag();
    mpz_class p = prime ? primes()[in.below(primes().size())] : odd_number(in, 8);
    if (p < 3)
        p = 3;
    const auto edge = in.edge();
    const auto pf = std::make_unique<qalpff>();
    ASSERT_EQ(qalpff_init(pf.get(), Number(p)), pf.get());
    const qalpff *const f = pf.get();
    const mpz_class R = power_of_two(64 * digits_of(p)), c = R - p;
    const bool special = digits_of(p) >= 2 && c < power_of_two(64);
    const mpz_class x = element_of(in, p), y = element_of(in, p);
    const auto internal = [&](const mpz_class &v) {
        return special ? modulo(v, p) : modulo(v * R, p);
    };
    const size_t room = 8;
    Number a(internal(x), room, edge), b(internal(y), room, edge), z(0, room, edge);
    const mpz_class plain = number(in, 8);
    Number given(plain, digits_of(plain), edge);
    expect_number(f->out(f, z, a), z, x);
    expect_number(f->in(f, z, given), z, internal(plain));
    expect_number(f->setzero(f, z), z, 0);
    expect_number(f->setone(f, z), z, internal(1));
    expect_number(f->add(f, a, b, z), z, internal(x + y));
    expect_number(f->sub(f, a, b, z), z, internal(x - y));
    expect_number(f->mul(f, a, b, z), z, internal(x * y));
    expect_number(f->sqr(f, a, z), z, internal(x * x));
    expect_number(f->div2(f, a, z), z, modulo(internal(x) * inverse(2, p), p));
    mpz_class inverted;
    if (mpz_invert(inverted.get_mpz_t(), x.get_mpz_t(), p.get_mpz_t()) != 0) {
        expect_number(f->inv(f, a, z), z, internal(inverted));
        Number place(internal(x), room, edge);
        expect_number(f->inv(f, place, place), place, internal(inverted));
    } else if (x == 0) {
        ASSERT_EQ(value_of(f->inv(f, a, z)), p);
    }
    const mpz_class e = number(in, 2);
    Number exponent(e);
    expect_number(qalpffpow(f, a, exponent, z), z, internal(power_mod(x, e, p)));

    // In place of either operand.
    Number first(internal(x), room, edge), second(internal(y), room, edge);
    expect_number(f->mul(f, first, b, first), first, internal(x * y));
    expect_number(f->sub(f, a, second, second), second, internal(x - y));
    expect_number(f->add(f, first, first, first), first, internal(2 * x * y));
    ASSERT_EQ(value_of(a), internal(x));
    ASSERT_EQ(value_of(b), internal(y));
}

struct Sample {
    CurveModel model;
    Affine P;

    explicit Sample(Input &in)
    {
        const mpz_class &p = primes()[in.below(primes().size())];
        const mpz_class a = in.flag() ? mpz_class(p - 3) : element_of(in, p);
        P = {element_of(in, p), element_of(in, p)};
        model = {p, a, modulo(P.y * P.y - (P.x * P.x + a) * P.x, p)};
        if (P.x == 0 && P.y == 0)
            P = {};
    }

    // Without a singular point, and without a point (0, 0), which stands for infinity.
    [[nodiscard]] bool is_curve() const
    {
        const mpz_class discriminant = 4 * model.a * model.a * model.a + 27 * model.b * model.b;
        return model.b != 0 && modulo(discriminant, model.p) != 0;
    }

    // A small multiple.
    [[nodiscard]] Affine multiple(Input &in) const
    {
        const Affine Q = model.multiple(in.below(64), P);
        return in.flag() ? model.negative(Q) : Q;
    }
};

// In any coordinates.
qalecpoint point(Input &in, const Curve &curve, const CurveModel &model, const Affine &P)
{
    qalecpoint point = make_point(&curve, P);
    const mpz_class z = in.flag() ? mpz_class(1) : element_of(in, model.p);
    if (!P.infinite && z != 0)
        rescale(&curve, &point, z);
    return point;
}

void check_points(Input &in)
{
    const Sample sample(in);
    if (!sample.is_curve())
        return;
    const CurveModel &model = sample.model;
    const Curve curve(model);
    const Affine p = sample.multiple(in), q = in.flag() ? p : sample.multiple(in);
    const qalecpoint P = point(in, curve, model, p), Q = point(in, curve, model, q);
    qalecpoint R, S = P, T = Q;
    ASSERT_EQ(qalecpa(&curve, &R, &P, &Q), &R);
    ASSERT_EQ(affine(&curve, R), model.sum(p, q));
    ASSERT_EQ(affine(&curve, *qalecpa(&curve, &S, &S, &Q)), model.sum(p, q));
    ASSERT_EQ(affine(&curve, *qalecpa(&curve, &T, &P, &T)), model.sum(p, q));
    S = P;
    ASSERT_EQ(affine(&curve, *qalecpd(&curve, &R, &P)), model.sum(p, p));
    ASSERT_EQ(affine(&curve, *curve.dbl(&curve, &S, &S)), model.sum(p, p));
    if (!p.infinite && p.y != 0) {
        S = P;
        ASSERT_EQ(affine(&curve, *qalecpneg(&curve, &S)), model.negative(p));
    }

    // Whether any pair of numbers is a point.
    const Affine any{number(in, 8), number(in, 8)};
    const Affine reduced{modulo(any.x, model.p), modulo(any.y, model.p)};
    const bool is_infinity = reduced.x == 0 && reduced.y == 0;
    ASSERT_EQ(qalecpcr(&curve, &R, Number(any.x), Number(any.y)) != nullptr,
              is_infinity || model.contains(reduced));
}

void check_multiples(Input &in)
{
    const Sample sample(in);
    if (!sample.is_curve())
        return;
    const CurveModel &model = sample.model;
    const Curve curve(model);
    const Affine p = sample.multiple(in), q = in.flag() ? p : sample.multiple(in);
    const qalecpoint P = point(in, curve, model, p), Q = point(in, curve, model, q);
    const mpz_class k = number(in, 3), l = number(in, 3);
    Number u(k), v(l);
    const Affine kp = model.multiple(k, p);
    qalecpoint R;
    ASSERT_EQ(affine(&curve, *qaleckp(&curve, &R, u, &P)), kp);
    ASSERT_EQ(affine(&curve, *qalecakp(&curve, &R, u, &P, v, &Q)),
              model.sum(kp, model.multiple(l, q)));
    const auto w = static_cast<uint32_t>(1 + in.below(7));
    std::vector<qalecpoint> table(w == 1 ? 2 : size_t{1} << (w - 1));
    ASSERT_EQ(qalecic(&curve, table.data(), &P, w), table.data());
    const auto padding = static_cast<uint32_t>(in.below(300));
    ASSERT_EQ(affine(&curve, *qalecickp(&curve, &R, table.data(), u, w, padding)), kp);
}

} // namespace

QAL_FUZZ_TARGET
{
    static constexpr decltype(&check_fields) checks[] = {check_fields, check_points,
                                                         check_multiples};
    in.one_of(checks)(in);
}
