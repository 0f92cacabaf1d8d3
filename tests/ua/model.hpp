// Polynomials over GF(2), binary fields and the group of a binary curve, written down from their
// definitions. A polynomial is a number whose bit i is the coefficient of x^i.
#pragma once

#include "support/bytes.hpp"
#include "support/numbers.hpp"
#include "support/vectors.hpp"

#include <qal/qale2.h>

#include <gmpxx.h>

#include <array>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace qal::test {

using Poly = mpz_class;

inline size_t length(const Poly &a)
{
    return a == 0 ? 0 : mpz_sizeinbase(a.get_mpz_t(), 2);
}

inline bool coefficient(const Poly &a, size_t i)
{
    return mpz_tstbit(a.get_mpz_t(), i) != 0;
}

inline Poly product(const Poly &a, const Poly &b)
{
    Poly r = 0;
    for (size_t i = 0; i < length(b); i++)
        if (coefficient(b, i))
            r ^= a << i;
    return r;
}

inline Poly remainder(Poly a, const Poly &f)
{
    while (length(a) >= length(f))
        a ^= f << (length(a) - length(f));
    return a;
}

struct ModelField {
    uint32_t m, a, b, c;

    [[nodiscard]] Poly modulus() const
    {
        Poly f = (Poly(1) << m) ^ (Poly(1) << a) ^ 1;
        return b == 0 ? f : Poly(f ^ (Poly(1) << b) ^ (Poly(1) << c));
    }
    [[nodiscard]] uint32_t words() const { return (m + 31) / 32; }
    [[nodiscard]] Poly mul(const Poly &u, const Poly &v) const
    {
        return remainder(product(u, v), modulus());
    }
    [[nodiscard]] Poly sqr(const Poly &u) const
    {
        Poly spread = 0;
        for (size_t i = 0; i < length(u); i++)
            if (coefficient(u, i))
                mpz_setbit(spread.get_mpz_t(), 2 * i);
        return remainder(spread, modulus());
    }
    [[nodiscard]] Poly inv(const Poly &u) const
    {
        // r0 = s0 u, r1 = s1 u modulo f
        Poly r0 = modulus(), r1 = remainder(u, modulus()), s0 = 0, s1 = 1;
        while (r1 != 1) {
            if (r1 == 0)
                throw std::domain_error("no inverse");
            while (length(r0) >= length(r1)) {
                const size_t shift = length(r0) - length(r1);
                r0 ^= r1 << shift;
                s0 ^= s1 << shift;
            }
            std::swap(r0, r1);
            std::swap(s0, s1);
        }
        return remainder(s1, modulus());
    }
    [[nodiscard]] int trace(const Poly &u) const
    {
        Poly sum = u, power = u;
        for (uint32_t i = 1; i < m; i++) {
            power = sqr(power);
            sum ^= power;
        }
        return sum == 0 ? 0 : sum == 1 ? 1 : throw std::logic_error("trace");
    }
    [[nodiscard]] Poly random(Random &random) const
    {
        Poly r;
        const Bytes bytes = random.below(3) ? random.bytes((m + 7) / 8) : random.runs((m + 7) / 8);
        mpz_import(r.get_mpz_t(), bytes.size(), -1, 1, 0, 0, bytes.data());
        return r & ((Poly(1) << m) - 1);
    }
};

inline constexpr ModelField model_fields[] = {
    {163, 7, 6, 3}, {191, 9, 0, 0}, {257, 12, 0, 0}, {431, 5, 3, 1}};

struct ModelPoint {
    bool infinite = true;
    Poly x, y;

    bool operator==(const ModelPoint &) const = default;
};

struct ModelCurve {
    std::string name;
    ModelField field{};
    uint32_t a{};
    Poly b, n;
    uint64_t cofactor{};
    ModelPoint G;

    [[nodiscard]] bool contains(const ModelPoint &p) const
    {
        if (p.infinite)
            return true;
        const Poly xx = field.sqr(p.x);
        return (field.sqr(p.y) ^ field.mul(p.x, p.y)) ==
               (field.mul(xx, p.x) ^ (a != 0 ? xx : Poly(0)) ^ b);
    }
    [[nodiscard]] static ModelPoint negative(ModelPoint p)
    {
        p.y ^= p.x;
        return p;
    }
    [[nodiscard]] ModelPoint add(const ModelPoint &p, const ModelPoint &q) const
    {
        if (p.infinite)
            return q;
        if (q.infinite)
            return p;
        Poly l;
        ModelPoint r;
        if (p.x == q.x) {
            if (p.y != q.y || p.x == 0)
                return {};
            l = p.x ^ field.mul(p.y, field.inv(p.x));
            r.x = field.sqr(l) ^ l ^ Poly(a);
            r.y = field.sqr(p.x) ^ field.mul(l ^ Poly(1), r.x);
        } else {
            l = field.mul(p.y ^ q.y, field.inv(p.x ^ q.x));
            r.x = field.sqr(l) ^ l ^ p.x ^ q.x ^ Poly(a);
            r.y = field.mul(l, p.x ^ r.x) ^ r.x ^ p.y;
        }
        r.infinite = false;
        return r;
    }
    [[nodiscard]] ModelPoint mul(const mpz_class &k, const ModelPoint &p) const
    {
        ModelPoint r;
        for (size_t i = length(k); i-- > 0;) {
            r = add(r, r);
            if (coefficient(k, i))
                r = add(r, p);
        }
        return r;
    }
    // The compressed point, as the standard describes it.
    [[nodiscard]] Poly compress(const ModelPoint &p) const
    {
        if (p.infinite || p.x == 0)
            return 0;
        Poly c = p.x;
        if (field.trace(field.mul(p.y, field.inv(p.x))))
            mpz_setbit(c.get_mpz_t(), 0);
        else
            mpz_clrbit(c.get_mpz_t(), 0);
        return c;
    }
};

inline Poly poly_of(const Bytes &bytes)
{
    Poly r;
    mpz_import(r.get_mpz_t(), bytes.size(), -1, 1, 0, 0, bytes.data());
    return r;
}

// size bytes, least significant first.
inline Bytes bytes_of(const Poly &a, size_t size)
{
    Bytes bytes(size);
    for (size_t i = 0; i < length(a); i++)
        if (coefficient(a, i))
            bytes.at(i / 8) = static_cast<uint8_t>(bytes.at(i / 8) | 1 << (i % 8));
    return bytes;
}

inline ModelCurve model_curve(Vector &vector)
{
    ModelCurve curve;
    curve.name = vector.text("Name");
    for (const ModelField &field : model_fields)
        if (vector.text("Field") == std::to_string(field.m) + "," + std::to_string(field.a) + "," +
                                        std::to_string(field.b) + "," + std::to_string(field.c))
            curve.field = field;
    curve.a = static_cast<uint32_t>(vector.number("A"));
    curve.cofactor = vector.number("Cofactor");
    curve.b = poly_of(vector.bytes("B"));
    curve.n = poly_of(vector.bytes("N"));
    curve.G = {false, poly_of(vector.bytes("X")), poly_of(vector.bytes("Y"))};
    return curve;
}

// The published curves.
inline std::vector<ModelCurve> model_curves()
{
    std::vector<ModelCurve> curves;
    VectorFile file("dstu4145/dstu4145.vec");
    file.each("curve", [&](Vector &vector) { curves.push_back(model_curve(vector)); });
    return curves;
}

inline ModelCurve model_curve(const std::string &name)
{
    for (ModelCurve &curve : model_curves())
        if (curve.name == name)
            return curve;
    throw std::runtime_error("no curve " + name);
}

// A polynomial of the library with `words` words, between inaccessible pages, with marked words
// behind those that count.
class Polynomial {
public:
    Polynomial(const Poly &value, uint32_t words)
        : bytes_((words + 1) * sizeof(qal2d)), words_(reinterpret_cast<qal2d *>(bytes_.data()))
    {
        words_[0] = words;
        for (uint32_t i = 0; i < words; i++)
            words_[i + 1] =
                static_cast<qal2d>(mpz_class((value >> (32 * i)) & 0xffffffff).get_ui());
    }

    operator qal2d *() { return words_; }
    qal2d *words() { return words_; }
    [[nodiscard]] Poly value() const { return value_of_words(words_ + 1, words_[0]); }

    static Poly value_of_words(const qal2d *words, size_t n)
    {
        Poly r;
        mpz_import(r.get_mpz_t(), n, -1, sizeof *words, 0, 0, words);
        return r;
    }

private:
    GuardedBytes bytes_;
    qal2d *words_;
};

inline Poly poly_of(const qal2d *p)
{
    return Polynomial::value_of_words(p + 1, p[0]);
}

// A polynomial in a full buffer, as they stand in records.
inline void set(qal2d *p, const Poly &value, uint32_t words)
{
    std::fill(p, p + QAL2P_SIZE, 0xa5a5a5a5);
    Polynomial exact(value, words);
    std::copy_n(exact.words(), words + 1, p);
}

// The same curve for the library.
struct TestCurve {
    ModelCurve model;
    qale2curve curve{};

    explicit TestCurve(const ModelCurve &from) : model(from)
    {
        const Bytes b = bytes_of(model.b, (model.field.m + 8) / 8);
        const ModelField &f = model.field;
        if (qale2cr(&curve, f.m, f.a, f.b, f.c, model.a, b.data()) != &curve)
            throw std::runtime_error("qale2cr refuses " + model.name);
    }

    [[nodiscard]] qale2point point(const ModelPoint &p) const
    {
        qale2point r;
        set(r.X, p.infinite ? Poly(0) : p.x, model.field.words());
        set(r.Y, p.infinite ? Poly(0) : p.y, model.field.words());
        set(r.Z, p.infinite ? 0 : 1, model.field.words());
        return r;
    }
    // The same point with another Z.
    [[nodiscard]] qale2point projective(const ModelPoint &p, Random &random) const
    {
        if (p.infinite)
            return point(p);
        const ModelField &f = model.field;
        Poly z = f.random(random);
        if (z == 0)
            z = 1;
        qale2point r;
        set(r.X, f.mul(p.x, z), f.words());
        set(r.Y, f.mul(p.y, f.sqr(z)), f.words());
        set(r.Z, z, f.words());
        return r;
    }
    [[nodiscard]] ModelPoint model_of(const qale2point &p) const
    {
        const ModelField &f = model.field;
        if (poly_of(p.Z) == 0)
            return {};
        const Poly t = f.inv(poly_of(p.Z));
        return {false, f.mul(poly_of(p.X), t), f.mul(poly_of(p.Y), f.sqr(t))};
    }
    // A random point of the curve; of any order, or in the group of G.
    [[nodiscard]] ModelPoint random_point(Random &random, bool in_group = true) const
    {
        ModelPoint p = model.mul(random.word() >> 40, model.G);
        // (0, sqrt b) has the order 2.
        if (!in_group && random.below(2)) {
            Poly root = model.b;
            for (uint32_t i = 1; i < model.field.m; i++)
                root = model.field.sqr(root);
            p = model.add(p, {false, 0, root});
        }
        return p;
    }
};

} // namespace qal::test
