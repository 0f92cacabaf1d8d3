// Elliptic curves and GOST R 34.10-2001 from their mathematics, with GMP.
#ifndef QAL_TESTS_QALEC_MODEL_HPP
#define QAL_TESTS_QALEC_MODEL_HPP

#include "support/numbers.hpp"
#include "support/vectors.hpp"

#include <qal/qalec.h>
#include <qal/rds.h>

#include <stdexcept>
#include <string>

namespace qal::test {

inline mpz_class modulo(const mpz_class &x, const mpz_class &p)
{
    mpz_class r;
    mpz_mod(r.get_mpz_t(), x.get_mpz_t(), p.get_mpz_t());
    return r;
}

inline mpz_class inverse(const mpz_class &x, const mpz_class &p)
{
    mpz_class r;
    if (mpz_invert(r.get_mpz_t(), x.get_mpz_t(), p.get_mpz_t()) == 0)
        throw std::domain_error("no inverse");
    return r;
}

inline mpz_class below(Random &random, const mpz_class &bound)
{
    return modulo(random_number(random, digits_of(bound) + 1), bound);
}

// A number at which carries go wrong, or an edge of [0, p).
inline mpz_class element(Random &random, const mpz_class &p)
{
    switch (random.below(8)) {
    case 0:
        return modulo(mpz_class(static_cast<unsigned long>(random.below(3))), p);
    case 1:
        return modulo(p - 1 - static_cast<unsigned long>(random.below(3)), p);
    default:
        return below(random, p);
    }
}

inline mpz_class next_prime(const mpz_class &x)
{
    mpz_class r;
    mpz_nextprime(r.get_mpz_t(), x.get_mpz_t());
    return r;
}

// The square root modulo a prime p that is 3 modulo 4; false if there is none.
inline bool square_root(mpz_class &root, const mpz_class &x, const mpz_class &p)
{
    const mpz_class e = (p + 1) / 4;
    mpz_powm(root.get_mpz_t(), x.get_mpz_t(), e.get_mpz_t(), p.get_mpz_t());
    return modulo(root * root - x, p) == 0;
}

inline mpz_class from_be(const Bytes &bytes)
{
    mpz_class value;
    mpz_import(value.get_mpz_t(), bytes.size(), 1, 1, 1, 0, bytes.data());
    return value;
}

// Right-aligned.
inline Bytes to_be(const mpz_class &value, size_t size = 32)
{
    Bytes bytes(size);
    const size_t used = (mpz_sizeinbase(value.get_mpz_t(), 2) + 7) / 8;
    if (value != 0)
        mpz_export(bytes.data() + (size - used), nullptr, 1, 1, 1, 0, value.get_mpz_t());
    return bytes;
}

struct Affine {
    mpz_class x, y;
    bool infinite = true;

    Affine() = default;
    Affine(mpz_class px, mpz_class py) : x(std::move(px)), y(std::move(py)), infinite(false) {}

    bool operator==(const Affine &other) const
    {
        return infinite == other.infinite && (infinite || (x == other.x && y == other.y));
    }
};

struct CurveModel {
    mpz_class p, a, b;

    [[nodiscard]] bool contains(const Affine &P) const
    {
        return P.infinite || modulo(P.y * P.y - (P.x * P.x + a) * P.x - b, p) == 0;
    }

    [[nodiscard]] Affine negative(const Affine &P) const
    {
        return P.infinite ? P : Affine(P.x, modulo(-P.y, p));
    }

    // By chord and tangent.
    [[nodiscard]] Affine sum(const Affine &P, const Affine &Q) const
    {
        if (P.infinite)
            return Q;
        if (Q.infinite)
            return P;
        mpz_class slope;
        if (P.x != Q.x)
            slope = (P.y - Q.y) * inverse(modulo(P.x - Q.x, p), p);
        else if (P.y != Q.y || P.y == 0)
            return {};
        else
            slope = (3 * P.x * P.x + a) * inverse(2 * P.y, p);
        const mpz_class x = modulo(slope * slope - P.x - Q.x, p);
        return {x, modulo(slope * (P.x - x) - P.y, p)};
    }

    [[nodiscard]] Affine multiple(const mpz_class &k, const Affine &P) const
    {
        Affine R;
        for (size_t i = mpz_sizeinbase(k.get_mpz_t(), 2); i-- > 0;) {
            R = sum(R, R);
            if (mpz_tstbit(k.get_mpz_t(), i))
                R = sum(R, P);
        }
        return R;
    }
};

// Domain parameters of a signature.
struct Domain {
    std::string name;
    CurveModel curve;
    mpz_class q;
    Affine G;

    int init(rds_ctx *ctx) const
    {
        return rds_init(ctx, to_be(curve.p).data(), to_be(curve.a).data(), to_be(curve.b).data(),
                        to_be(q).data(), to_be(G.x).data(), to_be(G.y).data());
    }
};

// Those of the standards.
inline std::vector<Domain> published_domains()
{
    std::vector<Domain> domains;
    VectorFile("gost3410/curves.vec").each("curve", [&](Vector &vector) {
        const auto number = [&](const char *name) { return from_be(vector.bytes(name)); };
        domains.push_back({vector.text("Name"),
                           {number("P"), number("A"), number("B")},
                           number("Q"),
                           {number("X"), number("Y")}});
    });
    return domains;
}

inline Domain published_domain(const std::string &name)
{
    for (const Domain &domain : published_domains())
        if (domain.name == name)
            return domain;
    throw std::invalid_argument("no curve " + name);
}

// A curve with a point of that order, 4 to 10, from Tate's normal form
//   y^2 + (1 - c) x y - b y = x^3 - b x^2 with the point (0, 0),
// whose b and c are functions of one parameter for each order (D. S. Kubert, 1976). The order q of
// the domain is another number: nothing needs it to be right.
inline Domain small_order_domain(const mpz_class &p, unsigned order, const mpz_class &t,
                                 const mpz_class &q)
{
    const auto over = [&](const mpz_class &x, const mpz_class &y) {
        return modulo(x * inverse(modulo(y, p), p), p);
    };
    mpz_class b, c, d;
    switch (order) {
    case 4:
        b = t, c = 0;
        break;
    case 5:
        b = t, c = t;
        break;
    case 6:
        b = t + t * t, c = t;
        break;
    case 7:
        b = t * t * t - t * t, c = t * t - t;
        break;
    case 8:
        b = (2 * t - 1) * (t - 1), c = over(b, t);
        break;
    case 9:
        c = t * t * (t - 1), b = c * (t * (t - 1) + 1);
        break;
    default: // 10
        d = over(t * t, t - (t - 1) * (t - 1));
        c = t * d - t, b = c * d;
    }
    const mpz_class a1 = 1 - c, a2 = -b, a3 = -b;
    const mpz_class b2 = a1 * a1 + 4 * a2, b4 = a1 * a3, b6 = a3 * a3;
    const mpz_class c4 = b2 * b2 - 24 * b4, c6 = 36 * b2 * b4 - b2 * b2 * b2 - 216 * b6;
    return {"order " + std::to_string(order),
            {p, modulo(-27 * c4, p), modulo(-54 * c6, p)},
            q,
            {modulo(3 * b2, p), modulo(108 * a3, p)}};
}

// A curve of the library with its numbers.
struct Curve : qaleccurve {
    explicit Curve(const CurveModel &model)
    {
        if (qaleccr(this, Number(model.p), Number(model.a), Number(model.b)) != this)
            throw std::runtime_error("qaleccr");
    }
};

inline mpz_class plain(const qalpff *f, const qald *x)
{
    qalfe z;
    f->out(f, z, x);
    return value_of(z);
}

inline qalecpoint make_point(const qaleccurve *curve, const Affine &P)
{
    qalecpoint point;
    Number x(P.x), y(P.y);
    if (qalecpcr(curve, &point, P.infinite ? nullptr : x.words(),
                 P.infinite ? nullptr : y.words()) != &point)
        throw std::runtime_error("qalecpcr");
    return point;
}

// Other coordinates of the same point.
inline void rescale(const qaleccurve *curve, qalecpoint *point, const mpz_class &factor)
{
    const qalpff *const f = &curve->field;
    qalfe z, power;
    f->in(f, z, Number(factor));
    f->mul(f, point->Z, z, point->Z);
    f->sqr(f, z, power);
    f->mul(f, point->X, power, point->X);
    f->mul(f, power, z, power);
    f->mul(f, point->Y, power, point->Y);
}

inline Affine affine(const qaleccurve *curve, const qalecpoint &point)
{
    qalecpoint copy = point;
    qalfe x, y;
    if (qalecpxy(curve, &copy, x, y) == 0)
        return {};
    return {value_of(x), value_of(y)};
}

} // namespace qal::test

#endif
