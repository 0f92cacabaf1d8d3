// Multiplication of points with AVX-512 IFMA, modulo p = 2^256 - c with c below 2^40: the
// coordinates of one point side by side in the four lanes of a register, five registers to 52 bits
// each. The formulas are arranged in levels of up to four products that do not depend on each
// other; a doubling has three levels, an addition five.
//
// Points carry W = a Z^4 as a fourth coordinate, which makes one formula of doubling fit all curves
// (H. Cohen, A. Miyaji, T. Ono, "Efficient elliptic curve exponentiation using mixed coordinates",
// 1998). Additions know nothing of equal, opposite and infinite points: any of those makes Z zero,
// and once zero it stays so. Then, and for other p, the variant for general registers does it all
// again. Multiples of a point of prime order q by secret scalars below q never take that: the
// digits of scalars are chosen so that no such points meet.
#include "base/ct_avx512.hpp"
#include "base/secrecy.hpp"
#include "qalec/curve256.hpp"
#include "qalec/field256_avx512.hpp"
#include "qalec/recoding256.hpp"

namespace qal::ec {
namespace {

// A point: X, Y, Z and W, which still lacks a factor, the last lane of f.
struct Point4 {
    F4 p, f;
};

// A point to add: (X, Z, Z^2, Z^3), and Y in all lanes.
struct alignas(64) Addend4 {
    uint64_t limb[limbs][8];
};

struct Group4 {
    Field4 field;
    Fe modulus;
    F4 a;
    // Multiples of p for the lanes of a subtraction.
    F4 p2000, p2500, p0300, p0200, p2040, p5555;

    explicit Group4(const Curve256 *curve)
        : field(0 - curve->p[0]), modulus{{curve->p[0], curve->p[1], curve->p[2], curve->p[3]}},
          a(splat({{curve->a[0], curve->a[1], curve->a[2], curve->a[3]}})),
          p2000(field.multiples(2, 0, 0, 0)), p2500(field.multiples(2, 5, 0, 0)),
          p0300(field.multiples(0, 3, 0, 0)), p0200(field.multiples(0, 2, 0, 0)),
          p2040(field.multiples(2, 0, 4, 0)), p5555(field.multiples(5, 5, 5, 5))
    {
    }

    [[gnu::always_inline]] F4 mul(const F4 &x, const F4 &y) const { return field.mul(x, y); }

    // Coordinates are any before; afterwards X, Y, Z and W are less than 6, 4, 2 and 4 units.
    [[gnu::always_inline]] void twice(Point4 &s) const
    {
        // X^2, Y^2, Y Z, W
        const F4 r1 = mul(permute<0, 1, 1, 3>(s.p), blend<8>(s.p, s.f));
        // M = 3 X^2 + W and D = 2 Y^2: (M, X, D, W) and (M, D, D, 2 Y Z)
        const F4 r2 = add<all>(r1, r1);
        const F4 m = add<1>(add<1>(r2, r1), permute<3, 3, 3, 3>(r1));
        const F4 d = permute<1, 1, 1, 2>(r2);
        const F4 right = normalised(blend<14>(m, d));
        const F4 left =
            normalised(blend<8>(blend<2>(blend<4>(m, d), permute<0, 0, 0, 0>(s.p)), r1));
        // M^2, X D, D^2
        const F4 q = mul(left, right);
        // (6 X D - M^2, M^2 - 4 X D, D^2): X' is in the middle, and S - X' before it
        const F4 xd = permute<1, 1, 1, 1>(q), xd2 = add<all>(xd, xd), xd4 = add<all>(xd2, xd2);
        F4 e = negative<1>(permute<0, 0, 2, 2>(q));
        e = sub<2>(add<1>(add<1>(e, xd4), xd2), xd4);
        e = normalised(add<3>(e, p2500));
        // M (S - X'), ., D^2 W
        const F4 r3 = mul(permute<0, 0, 3, 3>(left), e);
        // Y' = M (S - X') - 2 D^2, W' = 4 D^2 W
        F4 y = permute<0, 0, 2, 2>(r3);
        const F4 dd = permute<2, 2, 2, 2>(e);
        y = add<2>(sub<2>(sub<2>(y, dd), dd), p0300);
        y = add<8>(y, y);
        y = add<8>(y, y);
        y = blend<1>(y, permute<1, 1, 1, 1>(e));
        y = blend<4>(y, permute<3, 3, 3, 3>(right));
        s.p = normalised(y);
        s.f = splat({{1, 0, 0, 0}});
    }

    // Coordinates are any before; afterwards X, Y and Z are less than 5, 3 and 1 units.
    [[gnu::always_inline]] void add_point(Point4 &s, const F4 &q, const F4 &q_y) const
    {
        const F4 z = permute<2, 2, 2, 2>(s.p);
        // Z1^2, Z1 Z2, U1 = X1 Z2^2, S1 = Y1 Z2^3
        const F4 r1 = normalised(mul(permute<2, 2, 0, 1>(s.p), blend<1>(q, z)));
        const F4 zz = permute<1, 1, 1, 1>(r1);
        // U2 = X2 Z1^2, Z1^3, (Z1 Z2)^2
        F4 r2 = mul(permute<0, 0, 1, 1>(r1), blend<4>(blend<2>(q, z), zz));
        r2 = sub<1>(r2, permute<2, 2, 2, 2>(r1));
        r2 = normalised(add<1>(r2, p2000)); // H = U2 - U1 comes first
        // H^2, S2 = Y2 Z1^3, Z' = Z1 Z2 H, a (Z1 Z2)^2
        F4 r3 = mul(permute<0, 1, 0, 2>(r2), blend<8>(blend<4>(blend<2>(r2, q_y), zz), a));
        r3 = sub<2>(r3, permute<3, 3, 3, 3>(r1));
        r3 = normalised(add<2>(r3, p0200)); // R = S2 - S1 comes second
        // H^3, R^2, V = U1 H^2, a (Z1 Z2)^4
        const F4 left = blend<4>(r3, permute<0, 0, 0, 0>(r3));
        const F4 r4 = mul(left, blend<8>(blend<4>(blend<2>(r2, r3), r1), permute<2, 2, 2, 2>(r2)));
        // (V - X', H^3, X', a (Z1 Z2)^4) with X' = R^2 - H^3 - 2 V
        const F4 rr = permute<1, 1, 1, 1>(r4), v = permute<2, 2, 2, 2>(r4);
        F4 e = negative<4>(permute<0, 0, 0, 3>(r4));
        e = sub<4>(sub<4>(add<4>(e, rr), v), v);
        e = add<1>(add<1>(add<1>(sub<1>(e, rr), v), v), v);
        e = normalised(add<5>(e, p2040));
        // R (V - X'), S1 H^3, H^4
        const F4 r5 =
            mul(blend<4>(blend<2>(permute<1, 1, 1, 1>(r3), permute<3, 3, 3, 3>(r1)), left),
                blend<4>(e, left));
        F4 y = permute<0, 0, 2, 2>(r5);
        y = normalised(add<2>(sub<2>(y, r5), p0200));
        s.p = blend<4>(blend<2>(permute<2, 2, 2, 3>(e), y), r3);
        s.f = y;
    }

    [[nodiscard]] Addend4 addend(const Point4 &s) const
    {
        // Z^2 in all lanes, then (., ., Z^2, Z^3)
        const F4 z = permute<2, 2, 2, 2>(s.p), zz = normalised(mul(z, z)),
                 zzz = normalised(mul(zz, z));
        const F4 low = blend<8>(blend<4>(blend<2>(s.p, z), zz), zzz), y = permute<1, 1, 1, 1>(s.p);
        Addend4 r;
#pragma GCC unroll 10
        for (int i = 0; i < limbs; i++) {
            _mm256_store_si256(reinterpret_cast<__m256i *>(r.limb[i]), low.limb[i]);
            _mm256_store_si256(reinterpret_cast<__m256i *>(r.limb[i] + 4), y.limb[i]);
        }
        return r;
    }

    // Of plain coordinates.
    [[nodiscard]] Point4 point(const Fe &X, const Fe &Y, const Fe &Z) const
    {
        const F4 z = splat(Z), zz = normalised(mul(z, z)), w = normalised(mul(zz, zz));
        return {blend<8>(blend<4>(blend<2>(splat(X), splat(Y)), z), w), a};
    }

    // Of an entry: (X, Y, Z, Z^4), which takes a to be W.
    [[nodiscard]] Point4 point(const F4 &x, const F4 &y) const
    {
        const F4 zz = permute<2, 2, 2, 2>(x), w = normalised(mul(zz, zz));
        return {blend<8>(blend<4>(blend<2>(x, y), permute<1, 1, 1, 1>(x)), w), a};
    }

    // The odd multiples of s, of which W is not needed.
    void odd_multiples(Addend4 *table, int size, Point4 s) const
    {
        table[0] = addend(s);
        Point4 d = s;
        twice(d);
        const Addend4 step = addend(d);
        for (int i = 1; i < size; i++) {
            add_point(s, first(step), second(step));
            table[i] = addend(s);
        }
    }

    static F4 first(const Addend4 &q)
    {
        return half(q, 0);
    }
    static F4 second(const Addend4 &q)
    {
        return half(q, 4);
    }

    static F4 half(const Addend4 &q, int from)
    {
        F4 r;
#pragma GCC unroll 10
        for (int i = 0; i < limbs; i++)
            r.limb[i] = _mm256_load_si256(reinterpret_cast<const __m256i *>(q.limb[i] + from));
        return r;
    }

    // -y under the mask, for y of less than 4 units; zero is 5 p.
    [[nodiscard]] static F4 negative_if(const F4 &y, const F4 &zero, uint64_t mask)
    {
        const __m256i m = _mm256_set1_epi64x(static_cast<int64_t>(mask));
        F4 r;
#pragma GCC unroll 10
        for (int i = 0; i < limbs; i++) {
            const __m256i negated = _mm256_sub_epi64(zero.limb[i], y.limb[i]);
            r.limb[i] =
                _mm256_or_si256(_mm256_and_si256(m, negated), _mm256_andnot_si256(m, y.limb[i]));
        }
        return normalised(r);
    }

    // X, Y and Z, plain; whether Z is other than zero modulo p.
    bool coordinates(uint64_t *XYZ, const Point4 &s) const
    {
        Fe x = {};
        for (int lane = 0; lane < 3; lane++) {
            x = field.lane(s.p, lane);
            memcpy(XYZ + digits256 * lane, x.d, sizeof x.d);
        }
        return mask_if_zero(x) == 0 && mask_if_equal(x, modulus) == 0;
    }
};

bool is_suitable(const Curve256 *curve)
{
    return curve->special && Field4::has_room_for(0 - curve->p[0]);
}

Fe element(const qald *x)
{
    Fe r = {};
    for (uint64_t i = 0; i < x[0] && i < digits256; i++)
        r.d[i] = x[i + 1];
    return r;
}

void given_multiples(const Group4 &group, Addend4 *table, const qalecpoint *points)
{
    for (int i = 0; i < table256_size; i++)
        table[i] = group.addend(
            group.point(element(points[i].X), element(points[i].Y), element(points[i].Z)));
}

Point4 plain_point(const Group4 &group, const uint64_t *P)
{
    uint64_t any = 0;
    for (int i = 0; i < 2 * digits256; i++)
        any |= P[i];
    return group.point({{P[0], P[1], P[2], P[3]}}, {{P[4], P[5], P[6], P[7]}},
                       {{any != 0, 0, 0, 0}});
}

// The entry of that index, which is secret: all are read.
void look_up(Addend4 &r, const Addend4 *table, uint64_t index)
{
    __m512i chosen[limbs] = {};
    for (int i = 0; i < table256_size; i++) {
        const __m512i here = base::mask_if_equal_512(static_cast<uint64_t>(i), index);
#pragma GCC unroll 10
        for (int j = 0; j < limbs; j++)
            chosen[j] = base::or_under(chosen[j], here, _mm512_load_si512(table[i].limb[j]));
    }
#pragma GCC unroll 10
    for (int j = 0; j < limbs; j++)
        _mm512_store_si512(r.limb[j], chosen[j]);
}

// x under the mask, y elsewhere.
F4 chosen(const F4 &x, const F4 &y, uint64_t mask)
{
    const __m256i m = _mm256_set1_epi64x(static_cast<int64_t>(mask));
    F4 r;
#pragma GCC unroll 10
    for (int i = 0; i < limbs; i++)
        r.limb[i] =
            _mm256_or_si256(_mm256_and_si256(m, x.limb[i]), _mm256_andnot_si256(m, y.limb[i]));
    return r;
}

// s += q, or s -= q under the mask `negative`, under the mask `wanted`.
void add_if(const Group4 &group, Point4 &s, const Addend4 &q, uint64_t negative, uint64_t wanted)
{
    Point4 sum = s;
    group.add_point(sum, Group4::first(q),
                    Group4::negative_if(Group4::second(q), group.p5555, negative));
    s = {chosen(sum.p, s.p, wanted), chosen(sum.f, s.f, wanted)};
}

// xy = n P for the odd multiples of P; false if it was not found. 1 stands in for n = 0.
bool multiple(const Curve256 *curve, const Group4 &group, uint64_t *xy, const Addend4 *table,
              const uint64_t *n)
{
    const uint64_t none = mask_if_zero(Fe{{n[0], n[1], n[2], n[3]}});
    const uint64_t positive[digits256] = {n[0] | (none & 1), n[1], n[2], n[3]};
    const RegularScalar scalar(positive);
    Addend4 q;
    look_up(q, table, scalar.top_index());
    Point4 sum = group.point(Group4::first(q), Group4::second(q));
    for (unsigned i = regular_digits - 1; i-- > 0;) {
        for (unsigned j = 0; j < regular_width; j++)
            group.twice(sum);
        const RegularDigit digit = scalar.digit(i);
        look_up(q, table, digit.index);
        group.add_point(sum, Group4::first(q),
                        Group4::negative_if(Group4::second(q), group.p5555, digit.negative));
    }
    add_if(group, sum, table[0], ~uint64_t{0}, scalar.m_is_even);
    group.twice(sum);
    add_if(group, sum, table[0], scalar.s_is_negative, scalar.n_is_odd);

    // Of a point of prime order this says nothing about a scalar below that.
    uint64_t XYZ[3 * digits256];
    if (!base::declassified(group.coordinates(XYZ, sum)))
        return false;
    for (int i = 2 * digits256; i < 3 * digits256; i++)
        XYZ[i] &= ~none;
    curve256_to_affine_bmi2adx(curve, XYZ, xy);
    return true;
}

} // namespace

bool curve256_multiply_base_once_avx512(const Curve256 *curve, const qalecpoint *table,
                                        const uint64_t *n, uint64_t *xy)
{
    if (!is_suitable(curve))
        return false;
    const Group4 group(curve);
    Addend4 multiples[table256_size];
    given_multiples(group, multiples, table);
    return multiple(curve, group, xy, multiples, n);
}

bool curve256_multiply_once_avx512(const Curve256 *curve, const uint64_t *P, const uint64_t *n,
                                   uint64_t *xy)
{
    if (!is_suitable(curve))
        return false;
    const Group4 group(curve);
    Addend4 multiples[table256_size];
    group.odd_multiples(multiples, table256_size, plain_point(group, P));
    return multiple(curve, group, xy, multiples, n);
}

QAL_CURVE256_MULTIPLY_BASE(curve256_multiply_base_avx512)
{
    if (!curve256_multiply_base_once_avx512(curve, table, n, xy))
        curve256_multiply_base_bmi2adx(curve, table, n, xy);
}

QAL_CURVE256_MULTIPLY(curve256_multiply_avx512)
{
    if (!curve256_multiply_once_avx512(curve, P, n, xy))
        curve256_multiply_bmi2adx(curve, P, n, xy);
}

QAL_CURVE256_MATCHES(curve256_matches_avx512)
{
    constexpr int width = 5, size = 1 << (width - 2);
    if (!is_suitable(curve))
        return curve256_matches_bmi2adx(curve, G, P, u, v, q, r);
    const Group4 group(curve);
    Addend4 of_G[size], of_P[size];
    group.odd_multiples(of_G, size, plain_point(group, G));
    group.odd_multiples(of_P, size, plain_point(group, P));

    int16_t digits[2][257];
    const int lengths[2] = {non_adjacent_form(digits[0], u, width),
                            non_adjacent_form(digits[1], v, width)};
    const Addend4 *const tables[2] = {of_G, of_P};
    Point4 sum = {};
    bool started = false;
    for (int i = (lengths[0] > lengths[1] ? lengths[0] : lengths[1]) - 1; i >= 0; i--) {
        if (started)
            group.twice(sum);
        for (int j = 0; j < 2; j++) {
            const int digit = digits[j][i];
            if (digit == 0)
                continue;
            const Addend4 &entry = tables[j][(digit < 0 ? -digit : digit) / 2];
            const F4 y = Group4::negative_if(Group4::second(entry), group.p5555,
                                             digit < 0 ? ~uint64_t{0} : 0);
            if (started) {
                group.add_point(sum, Group4::first(entry), y);
            } else {
                sum = group.point(Group4::first(entry), y);
                started = true;
            }
        }
    }
    uint64_t XYZ[3 * digits256];
    if (!started || !group.coordinates(XYZ, sum))
        return curve256_matches_bmi2adx(curve, G, P, u, v, q, r);
    return curve256_has_abscissa_bmi2adx(curve, XYZ, q, r);
}

} // namespace qal::ec
