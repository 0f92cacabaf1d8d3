// Points and scalar multiplication over the fields of field256.hpp; curve256.hpp says what for.
//
// In Jacobian coordinates (X, Y, Z) stands for (X / Z^2, Y / Z^3), and for infinity where Z is
// zero.
#ifndef QAL_QALEC_CURVE256_POINTS_HPP
#define QAL_QALEC_CURVE256_POINTS_HPP

#include "qalec/curve256.hpp"
#include "qalec/field256.hpp"
#include "qalec/invert256.hpp"
#include "qalec/recoding256.hpp"

#include <string.h>

namespace qal::ec {
namespace {

struct Point {
    Fe X, Y, Z;
};

// A point that is added often, with powers of its Z.
struct Addend {
    Fe X, Y, Z, ZZ, ZZZ;
};

template<typename Field>
struct Group {
    Field f;
    Fe a;
    bool a_is_minus_3;

    [[nodiscard]] Addend addend(const Point &p) const
    {
        Addend r = {p.X, p.Y, p.Z, {}, {}};
        f.sqr(r.ZZ, p.Z);
        f.mul(r.ZZZ, r.ZZ, p.Z);
        return r;
    }

    // r = (3 x^2 + a z^4) / 2 where zz is z^2
    [[gnu::always_inline]] void half_slope(Fe &r, const Fe &x, const Fe &zz) const
    {
        Fe t;
        if (a_is_minus_3) {
            f.sub(t, x, zz);
            f.add(r, x, zz);
            f.mul(t, t, r);
            f.half(r, t);
            f.add(r, r, t);
        } else {
            Fe z4;
            f.sqr(t, x);
            f.add(r, t, t);
            f.add(r, r, t);
            f.sqr(z4, zz);
            f.mul(t, z4, a);
            f.add(r, r, t);
            f.half(r, r);
        }
    }

    // Doubling by the tangent, with X, Y and Z divided by 4, 8 and 2. Complete: Z = 0 follows from
    // Y = 0 and from Z = 0.
    [[gnu::always_inline]] void twice(Point &r, const Point &p) const
    {
        Fe zz, yy, b, m, t;
        f.sqr(zz, p.Z);
        f.sqr(yy, p.Y);
        f.mul(r.Z, p.Y, p.Z);
        half_slope(m, p.X, zz);
        f.mul(b, p.X, yy);
        f.sqr(r.X, m);
        f.sub(r.X, r.X, b);
        f.sub(r.X, r.X, b);
        f.sqr(yy, yy);
        f.sub(t, b, r.X);
        f.mul(t, m, t);
        f.sub(r.Y, t, yy);
    }

    // p += q, by the formulas of IEEE 1363, A.10.5. With U and S the affine coordinates on the
    // common denominators, the slope is (S1 - S2) / (U1 - U2); for equal points the same formulas
    // hold when the tangent's (3 U^2 + a Z^4) / 2 and S take the places of the two differences.
    // Opposite points give Z = 0. What is infinite is sorted out at the end.
    [[gnu::always_inline]] void add_any(Point &p, const Addend &q) const
    {
        Fe zz, z, u1, u2, s1, s2, w, r, t, m;
        f.sqr(zz, p.Z);
        f.mul(z, p.Z, q.Z);
        f.mul(u1, p.X, q.ZZ);
        f.mul(u2, q.X, zz);
        f.mul(s1, p.Y, q.ZZZ);
        f.mul(s2, p.Z, zz);
        f.mul(s2, q.Y, s2);
        f.sub(w, u1, u2);
        f.add(t, u1, u2);
        f.sub(r, s1, s2);
        f.add(m, s1, s2);

        const uint64_t equal = f.is_zero(w) & f.is_zero(r);
        Fe tangent;
        f.sqr(zz, z);
        half_slope(tangent, u1, zz);
        move_if(w, s1, equal);
        move_if(r, tangent, equal);

        Point sum;
        f.mul(sum.Z, z, w);
        f.sqr(u2, w);
        f.mul(t, t, u2); // (U1 + U2) W^2
        f.sqr(sum.X, r);
        f.sub(sum.X, sum.X, t);
        f.mul(u2, u2, w);
        f.mul(m, m, u2); // (S1 + S2) W^3
        f.sub(t, t, sum.X);
        f.sub(t, t, sum.X);
        f.mul(t, t, r);
        f.sub(t, t, m);
        f.half(sum.Y, t);

        const uint64_t p_infinite = f.is_zero(p.Z), q_infinite = f.is_zero(q.Z);
        move_if(sum.X, q.X, p_infinite);
        move_if(sum.Y, q.Y, p_infinite);
        move_if(sum.Z, q.Z, p_infinite);
        move_if(sum.X, p.X, q_infinite);
        move_if(sum.Y, p.Y, q_infinite);
        move_if(sum.Z, p.Z, q_infinite);
        p = sum;
    }

    // The same for points that are no secret: the cases are branches.
    void add_public(Point &p, const Addend &q) const
    {
        if (f.is_zero(q.Z))
            return;
        if (f.is_zero(p.Z)) {
            p = {q.X, q.Y, q.Z};
            return;
        }
        Fe zz, u1, u2, s1, s2, w, r, t;
        f.sqr(zz, p.Z);
        f.mul(u1, p.X, q.ZZ);
        f.mul(u2, q.X, zz);
        f.mul(s1, p.Y, q.ZZZ);
        f.mul(s2, p.Z, zz);
        f.mul(s2, q.Y, s2);
        f.sub(w, u2, u1);
        f.sub(r, s2, s1);
        if (f.is_zero(w)) {
            if (f.is_zero(r))
                twice(p, p);
            else
                p.Z = {};
            return;
        }
        f.mul(p.Z, p.Z, q.Z);
        f.mul(p.Z, p.Z, w);
        f.sqr(t, w);
        f.mul(w, t, w);
        f.mul(u1, u1, t);
        f.sqr(t, r);
        f.sub(t, t, w);
        f.sub(t, t, u1);
        f.sub(p.X, t, u1);
        f.sub(t, u1, p.X);
        f.mul(t, t, r);
        f.mul(w, s1, w);
        f.sub(p.Y, t, w);
    }

    void negate_if(Fe &y, uint64_t mask) const
    {
        Fe negative;
        f.sub(negative, {}, y);
        move_if(y, negative, mask);
    }

    // Odd multiples 1, 3, 5, ... of p.
    void odd_multiples(Addend *table, int size, const Point &p) const
    {
        Point twofold, next = p;
        twice(twofold, p);
        const Addend step = addend(twofold);
        table[0] = addend(p);
        for (int i = 1; i < size; i++) {
            add_public(next, step);
            table[i] = addend(next);
        }
    }

    // Affine and plain; zeros for infinity, whose inverse comes out as zero.
    void to_affine(uint64_t *xy, const Point &p, uint64_t k) const
    {
        Fe z, zz, x, y;
        f.out(z, p.Z);
        invert256(z, z, f.modulus(), k);
        f.in(z, z);
        f.sqr(zz, z);
        f.mul(x, p.X, zz);
        f.mul(zz, zz, z);
        f.mul(y, p.Y, zz);
        f.out(x, x);
        f.out(y, y);
        memcpy(xy, x.d, sizeof x.d);
        memcpy(xy + digits256, y.d, sizeof y.d);
    }

    // The entry of that index, which is secret: all are read.
    static void look_up(Addend &r, const Addend *table, uint64_t index)
    {
        typedef uint64_t Pair __attribute__((vector_size(16), may_alias));
        constexpr int pairs = sizeof(Addend) / sizeof(Pair);
        Pair sum[pairs] = {};
        for (uint64_t i = 0; i < table256_size; i++) {
            const uint64_t match = mask_if_zero(i ^ index);
            const Pair mask = {match, match};
            const Pair *entry = reinterpret_cast<const Pair *>(table + i);
            for (int j = 0; j < pairs; j++)
                sum[j] |= entry[j] & mask;
        }
        memcpy(&r, sum, sizeof r);
    }

    // p += q, or p -= q under the mask `negative`, under the mask `wanted`.
    void add_if(Point &p, Addend q, uint64_t negative, uint64_t wanted) const
    {
        Point sum = p;
        negate_if(q.Y, negative);
        add_any(sum, q);
        move_if(p.X, sum.X, wanted);
        move_if(p.Y, sum.Y, wanted);
        move_if(p.Z, sum.Z, wanted);
    }

    // xy = n p, where the table has the odd multiples of p up to 31.
    void multiply(uint64_t *xy, const Addend *table, const uint64_t *n, uint64_t k) const
    {
        const RegularScalar scalar(n);
        Addend q;
        look_up(q, table, scalar.top_index());
        Point sum = {q.X, q.Y, q.Z};
        for (unsigned i = regular_digits - 1; i-- > 0;) {
            for (unsigned j = 0; j < regular_width; j++)
                twice(sum, sum);
            const RegularDigit digit = scalar.digit(i);
            look_up(q, table, digit.index);
            negate_if(q.Y, digit.negative);
            add_any(sum, q);
        }
        add_if(sum, table[0], ~uint64_t{0}, scalar.m_is_even);
        twice(sum, sum);
        add_if(sum, table[0], scalar.s_is_negative, scalar.n_is_odd);
        to_affine(xy, sum, k);
    }

    // Whether the abscissa of the point, not infinite, is r modulo q.
    [[nodiscard]] bool has_abscissa(const Point &p, const Fe &r, const Fe &q) const
    {
        // All of r, r + q, r + 2q, ... below p, over the denominator Z^2.
        Fe zz, candidate = r, t;
        f.sqr(zz, p.Z);
        do {
            if (sub_digits(t, candidate, f.modulus()) == 0)
                return false;
            f.in(t, candidate);
            f.mul(t, t, zz);
            f.sub(t, t, p.X);
            if (f.is_zero(t))
                return true;
        } while (add_digits(candidate, candidate, q) == 0);
        return false;
    }

    // u G + v P, for windows of so many bits; nothing is secret.
    void joint_multiple(Point &sum, int width, const Addend *G, const uint64_t *u, const Addend *P,
                        const uint64_t *v) const
    {
        int16_t digits[2][257];
        const int lengths[2] = {non_adjacent_form(digits[0], u, width),
                                non_adjacent_form(digits[1], v, width)};
        sum = {};
        for (int i = (lengths[0] > lengths[1] ? lengths[0] : lengths[1]) - 1; i >= 0; i--) {
            twice(sum, sum);
            const Addend *const tables[2] = {G, P};
            for (int j = 0; j < 2; j++) {
                const int digit = digits[j][i];
                if (digit > 0) {
                    add_public(sum, tables[j][digit / 2]);
                } else if (digit < 0) {
                    Addend q = tables[j][-digit / 2];
                    negate_if(q.Y, ~uint64_t{0});
                    add_public(sum, q);
                }
            }
        }
    }
};

inline Fe from_digits(const uint64_t *digits)
{
    return {{digits[0], digits[1], digits[2], digits[3]}};
}

// Digits beyond the length are not initialised.
inline Fe from_number(const qald *x)
{
    Fe r = {};
    for (uint64_t i = 0; i < x[0] && i < digits256; i++)
        r.d[i] = x[i + 1];
    return r;
}

// run(group) with the group over the field of the curve.
template<typename Run>
[[gnu::always_inline]] inline auto in_group(const Curve256 *curve, Run run)
{
    const Fe p = from_digits(curve->p), a = from_digits(curve->a);
    const auto set_up = [&](auto &group) {
        group.a = a;
        Fe t;
        group.f.add(t, group.f.one(), group.f.one());
        group.f.add(t, t, group.f.one());
        group.f.add(t, t, a);
        group.a_is_minus_3 = group.f.is_zero(t) != 0;
    };
    if (curve->special) {
        Group<SpecialField> group;
        group.f.c = 0 - p.d[0];
        set_up(group);
        return run(group);
    }
    Group<MontgomeryField> group;
    group.f.set_up(p, curve->k);
    set_up(group);
    return run(group);
}

template<typename Group>
Point plain_point(const Group &group, const uint64_t *xy)
{
    uint64_t any = 0;
    for (int i = 0; i < 2 * digits256; i++)
        any |= xy[i];
    if (any == 0)
        return {};
    Point p;
    group.f.in(p.X, from_digits(xy));
    group.f.in(p.Y, from_digits(xy + digits256));
    p.Z = group.f.one();
    return p;
}

template<typename Group>
void given_multiples(const Group &group, Addend *table, const qalecpoint *points)
{
    for (int i = 0; i < table256_size; i++)
        table[i] = group.addend(
            {from_number(points[i].X), from_number(points[i].Y), from_number(points[i].Z)});
}

inline Point jacobian_point(const uint64_t *XYZ)
{
    return {from_digits(XYZ), from_digits(XYZ + digits256), from_digits(XYZ + 2 * digits256)};
}

// -1 / q modulo 2^64 for odd q, by Newton's iteration from three right bits
inline uint64_t negative_inverse(uint64_t q)
{
    uint64_t inverse = q;
    for (int i = 0; i < 5; i++)
        inverse *= 2 - q * inverse;
    return 0 - inverse;
}

} // namespace
} // namespace qal::ec

#endif
