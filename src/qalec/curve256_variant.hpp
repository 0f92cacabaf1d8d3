// The functions of curve256.hpp, under the names that QAL_CURVE256_VARIANT makes of them.
#include "qalec/curve256_points.hpp"

namespace qal::ec {

QAL_CURVE256_MULTIPLY_BASE(QAL_CURVE256_VARIANT(curve256_multiply_base))
{
    in_group(curve, [=](const auto &group) {
        Addend multiples[table256_size];
        given_multiples(group, multiples, table);
        group.multiply(xy, multiples, n, curve->k);
    });
}

QAL_CURVE256_MULTIPLY(QAL_CURVE256_VARIANT(curve256_multiply))
{
    in_group(curve, [=](const auto &group) {
        Addend multiples[table256_size];
        group.odd_multiples(multiples, table256_size, plain_point(group, P));
        group.multiply(xy, multiples, n, curve->k);
    });
}

QAL_CURVE256_CONTAINS(QAL_CURVE256_VARIANT(curve256_contains))
{
    return in_group(curve, [=](const auto &group) {
        const Point p = plain_point(group, P);
        if (group.f.is_zero(p.Z))
            return true;
        Fe t, u;
        group.f.sqr(t, p.X);
        group.f.add(t, t, group.a);
        group.f.mul(t, t, p.X);
        group.f.add(t, t, from_digits(curve->b));
        group.f.sqr(u, p.Y);
        group.f.sub(t, t, u);
        return group.f.is_zero(t) != 0;
    });
}

QAL_CURVE256_MATCHES(QAL_CURVE256_VARIANT(curve256_matches))
{
    return in_group(curve, [=](const auto &group) {
        constexpr int width = 5, size = 1 << (width - 2);
        Addend of_G[size], of_P[size];
        group.odd_multiples(of_G, size, plain_point(group, G));
        group.odd_multiples(of_P, size, plain_point(group, P));
        Point sum;
        group.joint_multiple(sum, width, of_G, u, of_P, v);
        return !group.f.is_zero(sum.Z) && group.has_abscissa(sum, from_digits(r), from_digits(q));
    });
}

QAL_CURVE256_TO_AFFINE(QAL_CURVE256_VARIANT(curve256_to_affine))
{
    in_group(curve, [=](const auto &group) { group.to_affine(xy, jacobian_point(XYZ), curve->k); });
}

QAL_CURVE256_HAS_ABSCISSA(QAL_CURVE256_VARIANT(curve256_has_abscissa))
{
    return in_group(curve, [=](const auto &group) {
        return group.has_abscissa(jacobian_point(XYZ), from_digits(r), from_digits(q));
    });
}

QAL_SCALAR256_SUM_OF_PRODUCTS(QAL_CURVE256_VARIANT(scalar256_sum_of_products))
{
    MontgomeryField f;
    f.set_up(from_digits(q), negative_inverse(q[0]));
    Fe products[2];
    f.mul(products[0], from_digits(w), from_digits(x));
    f.mul(products[1], from_digits(y), from_digits(s));
    f.add(products[0], products[0], products[1]);
    f.mul(products[0], products[0], f.square);
    memcpy(z, products[0].d, sizeof products[0].d);
}

QAL_SCALAR256_INVERT(QAL_CURVE256_VARIANT(scalar256_invert))
{
    Fe inverse;
    const uint64_t invertible =
        invert256(inverse, from_digits(x), from_digits(q), negative_inverse(q[0]));
    memcpy(z, inverse.d, sizeof inverse.d);
    return invertible != 0;
}

} // namespace qal::ec
