// Strings of 32 bytes, numbers and digits: what stands between the contexts of rds.h and the
// engine.
//
// Digits are four, least significant first. Nothing here has a branch or an address that depends on
// them, except where it says so.
#ifndef QAL_QALEC_SCALARS256_HPP
#define QAL_QALEC_SCALARS256_HPP

#include <qal/rds.h>

#include "base/bytes.hpp"
#include "qalec/curve256.hpp"
#include "qalmath64/kernels/digits.hpp"

namespace qal::ec {

constexpr uint32_t bytes256 = 32;

// More than what the engine and the hash of VKO use of the stack.
constexpr size_t stack256 = 24576;

struct Scalar {
    uint64_t d[digits256];
};

// From bytes, most significant first.
inline Scalar load_scalar(const uint8_t *in)
{
    return {{base::load_be64(in + 24), base::load_be64(in + 16), base::load_be64(in + 8),
             base::load_be64(in)}};
}

inline void store_digits(uint8_t *out, const uint64_t *d)
{
    for (int i = 0; i < digits256; i++)
        base::store_be64(out + 8 * i, d[digits256 - 1 - i]);
}

// From a number of at most four digits. Branches on its length.
inline Scalar scalar_of(const qald *x)
{
    Scalar r = {};
    for (uint64_t i = 0; i < x[0]; i++)
        r.d[i] = x[i + 1];
    return r;
}

// Number in a buffer of five words. Branches on its length.
inline qald *number_of(qald *x, const Scalar &a)
{
    x[0] = digits256;
    for (int i = 0; i < digits256; i++)
        x[i + 1] = a.d[i];
    return qalclip(x);
}

inline bool is_zero(const Scalar &a)
{
    return (a.d[0] | a.d[1] | a.d[2] | a.d[3]) == 0;
}

// r = a - b mod 2^256; returns the borrow.
inline uint64_t subtract(Scalar &r, const Scalar &a, const Scalar &b)
{
    uint64_t borrow = 0;
    for (int i = 0; i < digits256; i++) {
        const math::uint128 difference = math::uint128{a.d[i]} - b.d[i] - borrow;
        r.d[i] = static_cast<uint64_t>(difference);
        borrow = static_cast<uint64_t>(difference >> 64) & 1;
    }
    return borrow;
}

inline bool is_less(const Scalar &a, const Scalar &b)
{
    Scalar difference;
    return subtract(difference, a, b) != 0;
}

// 0 < a < bound
inline bool is_in_range(const Scalar &a, const Scalar &bound)
{
    const unsigned zero = is_zero(a), less = is_less(a, bound);
    return (less & ~zero) != 0;
}

// a mod q for q of at least 254 bits, or 2^254 - 1: four times q are not less than 2^256 - 4.
inline void reduce(Scalar &a, const Scalar &q)
{
    for (int i = 0; i < 4; i++) {
        Scalar less;
        const uint64_t keep = 0 - subtract(less, a, q);
        for (int j = 0; j < digits256; j++)
            a.d[j] = less.d[j] ^ ((less.d[j] ^ a.d[j]) & keep);
    }
}

inline Curve256 curve_of(const rds_ctx *ctx)
{
    const Scalar p = scalar_of(ctx->curve.field.p), a = scalar_of(ctx->curve.a),
                 b = scalar_of(ctx->curve.b);
    Curve256 curve;
    for (int i = 0; i < digits256; i++) {
        curve.p[i] = p.d[i];
        curve.a[i] = a.d[i];
        curve.b[i] = b.d[i];
    }
    curve.k = math::montgomery_constant(p.d[0]);
    curve.special = (p.d[1] & p.d[2] & p.d[3]) == ~uint64_t{0};
    return curve;
}

// The base point, for operations that do not use the table of its multiples.
inline void base_point(uint64_t *xy, const rds_ctx *ctx)
{
    const qalpff *const f = &ctx->curve.field;
    Scalar x = {}, y = {};
    if (ctx->G.Z[0] != 0) {
        qalfe number;
        x = scalar_of(f->out(f, number, ctx->G.X));
        y = scalar_of(f->out(f, number, ctx->G.Y));
    }
    for (int i = 0; i < digits256; i++) {
        xy[i] = x.d[i];
        xy[digits256 + i] = y.d[i];
    }
}

// w x + y s mod q for x and s below q. An even q, which can only be a mistake, is accepted by the
// interface; it has no arithmetic in Montgomery's form, and no secrets worth keeping either.
inline Scalar sum_of_products(const Scalar &q, const Scalar &w, const Scalar &x, const Scalar &y,
                              const Scalar &s)
{
    Scalar z;
    if (q.d[0] % 2 != 0) {
        scalar256_sum_of_products(q.d, w.d, x.d, y.d, s.d, z.d);
        return z;
    }
    qald a[1 + digits256], b[1 + digits256], sum[2 * digits256 + 4], product[2 * digits256 + 1];
    qalmul(number_of(a, w), number_of(b, x), sum);
    qalmul(number_of(a, y), number_of(b, s), product);
    qaladd(sum, product);
    qaldiv(sum, number_of(a, q), nullptr, sum);
    return scalar_of(sum);
}

// 1 / x mod q for 0 < x < q. Where there is none, with a q that is no prime, the result is what
// qalmodinv() makes of it. Branches on that.
inline Scalar inverse(const Scalar &q, const Scalar &x)
{
    Scalar z;
    if (q.d[0] % 2 != 0 && scalar256_invert(q.d, x.d, z.d))
        return z;
    qald a[1 + digits256], b[1 + digits256], out[1 + digits256];
    return scalar_of(qalmodinv(number_of(a, x), number_of(b, q), out));
}

// A public key: x and y, most significant byte first. False unless both are below p and the point
// is on the curve, or infinity.
inline bool load_point(uint64_t *xy, const Curve256 &curve, const uint8_t *in)
{
    const Scalar x = load_scalar(in), y = load_scalar(in + bytes256),
                 p = {{curve.p[0], curve.p[1], curve.p[2], curve.p[3]}};
    for (int i = 0; i < digits256; i++) {
        xy[i] = x.d[i];
        xy[digits256 + i] = y.d[i];
    }
    return is_less(x, p) && is_less(y, p) && curve256_contains(&curve, xy);
}

} // namespace qal::ec

#endif
