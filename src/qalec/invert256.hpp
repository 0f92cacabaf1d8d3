// Inverses modulo an odd number of at most 256 bits, by a fixed sequence of operations.
//
// D. J. Bernstein and B.-Y. Yang, "Fast constant-time gcd computation and modular inversion"
// (2019): division steps on (delta, f, g), f odd, in their variant that starts from delta = 1/2.
// 590 steps reach g = 0 for numbers of 256 bits. Here are ten times 62, each batch on the low
// digits alone, then applied to the whole numbers as one matrix over 2^62.
#ifndef QAL_QALEC_INVERT256_HPP
#define QAL_QALEC_INVERT256_HPP

#include "qalec/field256.hpp"

namespace qal::ec {
namespace {

__extension__ typedef __int128 int128;

constexpr uint64_t low62 = ~uint64_t{0} >> 2;

// The sum of v[i] * 2^(62 i): all but the top one in [0, 2^62), which carries the sign.
struct Signed62 {
    int64_t v[5];
};

inline Signed62 to_signed62(const Fe &a)
{
    return {{static_cast<int64_t>(a.d[0] & low62),
             static_cast<int64_t>((a.d[0] >> 62 | a.d[1] << 2) & low62),
             static_cast<int64_t>((a.d[1] >> 60 | a.d[2] << 4) & low62),
             static_cast<int64_t>((a.d[2] >> 58 | a.d[3] << 6) & low62),
             static_cast<int64_t>(a.d[3] >> 56)}};
}

inline Fe from_signed62(const Signed62 &a)
{
    uint64_t v[5];
    for (int i = 0; i < 5; i++)
        v[i] = static_cast<uint64_t>(a.v[i]);
    return {{v[0] | v[1] << 62, v[1] >> 2 | v[2] << 60, v[2] >> 4 | v[3] << 58,
             v[3] >> 6 | v[4] << 56}};
}

// A batch takes (f, g) to (u f + v g, q f + r g) / 2^62. |u| + |v| and |q| + |r| are at most 2^62.
struct Steps62 {
    int64_t u, v, q, r;
};

// eta is -(delta + 1/2): negative where delta is positive.
[[gnu::always_inline]] inline Steps62 divide_steps62(int64_t &eta, uint64_t f, uint64_t g)
{
    uint64_t u = 1, v = 0, q = 0, r = 1;
    uint64_t e = static_cast<uint64_t>(eta);
    for (int i = 0; i < 62; i++) {
        // An odd g becomes g + f, or g - f where delta is positive; there f becomes the old g,
        // which is the difference and f together.
        uint64_t swap = barrier(static_cast<uint64_t>(static_cast<int64_t>(e) >> 63));
        const uint64_t odd = mask_of_bit(g & 1);
        g += ((f ^ swap) - swap) & odd;
        q += ((u ^ swap) - swap) & odd;
        r += ((v ^ swap) - swap) & odd;
        swap &= odd;
        e = (e ^ swap) - 1;
        f += g & swap;
        u += q & swap;
        v += r & swap;
        g >>= 1;
        u <<= 1;
        v <<= 1;
    }
    eta = static_cast<int64_t>(e);
    return {static_cast<int64_t>(u), static_cast<int64_t>(v), static_cast<int64_t>(q),
            static_cast<int64_t>(r)};
}

// (f, g) after a batch; the division is exact.
inline void apply_exactly(Signed62 &f, Signed62 &g, const Steps62 &t)
{
    int128 cf = int128{t.u} * f.v[0] + int128{t.v} * g.v[0];
    int128 cg = int128{t.q} * f.v[0] + int128{t.r} * g.v[0];
    cf >>= 62;
    cg >>= 62;
    for (int i = 1; i < 5; i++) {
        cf += int128{t.u} * f.v[i] + int128{t.v} * g.v[i];
        cg += int128{t.q} * f.v[i] + int128{t.r} * g.v[i];
        f.v[i - 1] = static_cast<int64_t>(static_cast<uint64_t>(cf) & low62);
        g.v[i - 1] = static_cast<int64_t>(static_cast<uint64_t>(cg) & low62);
        cf >>= 62;
        cg >>= 62;
    }
    f.v[4] = static_cast<int64_t>(cf);
    g.v[4] = static_cast<int64_t>(cg);
}

// (d, e) after the same batch modulo m, both in (-2m, m): multiples of m are added that make the
// division exact. inverse is 1 / m modulo 2^62.
inline void apply_modulo(Signed62 &d, Signed62 &e, const Steps62 &t, const Signed62 &m,
                         uint64_t inverse)
{
    // m for each operand that is negative, which brings it into (-m, m)
    const int64_t sd = d.v[4] >> 63, se = e.v[4] >> 63;
    int64_t md = (t.u & sd) + (t.v & se), me = (t.q & sd) + (t.r & se);
    int128 cd = int128{t.u} * d.v[0] + int128{t.v} * e.v[0];
    int128 ce = int128{t.q} * d.v[0] + int128{t.r} * e.v[0];
    md -= static_cast<int64_t>((inverse * static_cast<uint64_t>(cd) + static_cast<uint64_t>(md)) &
                               low62);
    me -= static_cast<int64_t>((inverse * static_cast<uint64_t>(ce) + static_cast<uint64_t>(me)) &
                               low62);
    cd += int128{m.v[0]} * md;
    ce += int128{m.v[0]} * me;
    cd >>= 62;
    ce >>= 62;
    for (int i = 1; i < 5; i++) {
        cd += int128{t.u} * d.v[i] + int128{t.v} * e.v[i] + int128{m.v[i]} * md;
        ce += int128{t.q} * d.v[i] + int128{t.r} * e.v[i] + int128{m.v[i]} * me;
        d.v[i - 1] = static_cast<int64_t>(static_cast<uint64_t>(cd) & low62);
        e.v[i - 1] = static_cast<int64_t>(static_cast<uint64_t>(ce) & low62);
        cd >>= 62;
        ce >>= 62;
    }
    d.v[4] = static_cast<int64_t>(cd);
    e.v[4] = static_cast<int64_t>(ce);
}

inline void carry62(Signed62 &x)
{
    for (int i = 0; i < 4; i++) {
        x.v[i + 1] += x.v[i] >> 62;
        x.v[i] = static_cast<int64_t>(static_cast<uint64_t>(x.v[i]) & low62);
    }
}

inline void add_if_negative(Signed62 &x, const Signed62 &m)
{
    const int64_t negative = static_cast<int64_t>(barrier(static_cast<uint64_t>(x.v[4] >> 63)));
    for (int i = 0; i < 5; i++)
        x.v[i] += m.v[i] & negative;
    carry62(x);
}

// 1 / x mod m for odd m and x < m, where k is -1 / m modulo 2^64. All ones if x is invertible, else
// zero; for x = 0 the result is zero.
inline uint64_t invert256(Fe &result, const Fe &x, const Fe &modulus, uint64_t k)
{
    const Signed62 m = to_signed62(modulus);
    const uint64_t inverse = (0 - k) & low62;
    Signed62 d = {}, e = {{1, 0, 0, 0, 0}}, f = m, g = to_signed62(x);
    int64_t eta = -1;
    for (int i = 0; i < 10; i++) {
        const Steps62 t =
            divide_steps62(eta, static_cast<uint64_t>(f.v[0]) | static_cast<uint64_t>(f.v[1]) << 62,
                           static_cast<uint64_t>(g.v[0]) | static_cast<uint64_t>(g.v[1]) << 62);
        apply_modulo(d, e, t, m, inverse);
        apply_exactly(f, g, t);
    }
    // f is the greatest common divisor or its negative, d has its sign.
    add_if_negative(d, m);
    const int64_t negative = static_cast<int64_t>(barrier(static_cast<uint64_t>(f.v[4] >> 63)));
    for (int i = 0; i < 5; i++)
        d.v[i] = (d.v[i] ^ negative) - negative;
    carry62(d);
    add_if_negative(d, m);
    result = from_signed62(d);
    for (int i = 0; i < 5; i++)
        f.v[i] = (f.v[i] ^ negative) - negative;
    carry62(f);
    return mask_if_zero(static_cast<uint64_t>((f.v[0] ^ 1) | f.v[1] | f.v[2] | f.v[3] | f.v[4]));
}

} // namespace
} // namespace qal::ec

#endif
