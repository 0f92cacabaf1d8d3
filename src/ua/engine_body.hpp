// The engine over a representation of a field's elements: inversion, tables, multiplication and
// compression. Shapes, aliasing and timing are as in engine.hpp. A file with compiler flags of its
// own includes this for its representation, so everything has internal linkage.
//
// A representation F has
//   F::f                         the field polynomial,
//   F::E                         an element, always reduced,
//   load(words), store(words, a) conversion from and to bare words,
//   add, mul, sqr                arithmetic in the field,
//   is_zero(a)                   all ones if a is zero, otherwise 0,
//   masked(a, mask)              a if the mask is all ones, 0 if it is 0,
//   load_reduced(words)          load for polynomials of any degree that the words have room for;
// all of them are constant time.
#pragma once

#include "base/secrecy.hpp"
#include "base/wipe.hpp"
#include "ua/engine.hpp"
#include "ua/reduce.hpp"

#include <string.h>

namespace qal::ua {

namespace {

// The trace as a mask: bit i is Tr(x^i), so the trace of an element is the parity of its bits under
// the mask. For odd m, Tr(1) = 1. Tr(x^k) is the sum p_k of the k-th powers of the roots of the
// field polynomial; Newton's identities give it from the coefficients e_j at x^(m-j):
//   p_k = e_1 p_(k-1) + ... + e_(k-1) p_1 + k e_k.
struct TraceMask {
    uint64_t words[largest_field.words()] = {};

    constexpr explicit TraceMask(const FieldPolynomial &f)
    {
        bool p[largest_field.m + 1] = {};
        p[0] = true;
        for (unsigned k = 1; k < f.m; k++) {
            for (unsigned i = 1; i < f.terms(); i++) {
                const unsigned j = f.m - f.term(i);
                if (j < k)
                    p[k] ^= p[k - j];
                else if (j == k)
                    p[k] ^= (k & 1) != 0;
            }
        }
        for (unsigned k = 0; k < f.m; k++)
            words[k / 64] |= uint64_t{p[k]} << (k % 64);
    }
};

// Digits of the non-adjacent form: one more than the bits of the longest scalar.
constexpr unsigned longest_scalar = 64 * largest_field.words();
constexpr unsigned wnaf_digits = longest_scalar + 1;

// The `count` bits of k from `position` on.
inline unsigned bits_at(const qald *k, unsigned position, unsigned count)
{
    const unsigned word = position / 64, shift = position % 64;
    uint64_t bits = word < k[0] ? k[word + 1] >> shift : 0;
    if (shift + count > 64 && word + 1 < k[0])
        bits |= k[word + 2] << (64 - shift);
    return static_cast<unsigned>(bits & ((uint64_t{1} << count) - 1));
}

// Non-adjacent form of width w: digits are zero, or odd and below 2^(w-1) in absolute value; of w
// consecutive digits at most one is not zero. Returns the number of digits up to the highest one
// that is not zero.
inline unsigned recode_var(signed char *digits, const qald *k, unsigned w)
{
    memset(digits, 0, wnaf_digits);
    const unsigned bits = 64 * static_cast<unsigned>(k[0]);
    unsigned carry = 0, length = 0;
    for (unsigned i = 0; i < wnaf_digits && (i < bits || carry != 0);) {
        if (bits_at(k, i, 1) == carry) {
            i++;
            continue;
        }
        int digit = static_cast<int>(bits_at(k, i, w) + carry);
        carry = static_cast<unsigned>(digit) >> (w - 1);
        digit -= static_cast<int>(carry << w);
        digits[i] = static_cast<signed char>(digit);
        length = i + 1;
        i += w;
    }
    return length;
}

template<typename F>
struct Curves {
    using E = typename F::E;
    static constexpr const FieldPolynomial &f = F::f;
    static constexpr unsigned n = f.halves();
    static constexpr unsigned most_entries = window_entries;

    struct Projective {
        E x, y, z;
    };
    struct Affine {
        E x, y;
    };
    struct Coefficients {
        bool a;
        E b;

        explicit Coefficients(const qale2curve *curve) : a(curve->a == 1), b(F::load(curve->b + 1))
        {
        }
    };

    static E one()
    {
        const qal2d words[QAL2P_SIZE] = {1};
        return F::load(words);
    }

    static E zero()
    {
        const qal2d words[QAL2P_SIZE] = {};
        return F::load(words);
    }

    static void store(qal2d *r, const E &a)
    {
        r[0] = n;
        F::store(r + 1, a);
    }

    static Projective load(const qale2point *P)
    {
        return {F::load(P->X + 1), F::load(P->Y + 1), F::load(P->Z + 1)};
    }

    static void store(qale2point *P, const Projective &p)
    {
        store(P->X, p.x);
        store(P->Y, p.y);
        store(P->Z, p.z);
    }

    static Affine load(const qale2affine *P) { return {F::load(P->x + 1), F::load(P->y + 1)}; }

    static bool none(const E &a) { return F::is_zero(a) != 0; }

    static E sqr_times(E a, unsigned times)
    {
        for (; times > 0; times--)
            a = F::sqr(a);
        return a;
    }

    // a^(2^(m-1) - 1) by doublings of the run of ones in the exponent, then a square: Itoh and
    // Tsujii, "A fast algorithm for computing multiplicative inverses in GF(2^m)", 1988.
    static E inverse(const E &a)
    {
        constexpr unsigned ones = f.m - 1;
        E power = a; // a^(2^run - 1)
        unsigned run = 1;
        for (unsigned bit = 32 - static_cast<unsigned>(__builtin_clz(ones)) - 1; bit-- > 0;) {
            power = F::mul(sqr_times(power, run), power);
            run *= 2;
            if (ones >> bit & 1) {
                power = F::mul(F::sqr(power), a);
                run++;
            }
        }
        return F::sqr(power);
    }

    static unsigned trace_of(const E &a)
    {
        static constexpr TraceMask mask(f);
        uint64_t words[largest_field.words()] = {}, sum = 0;
        qal2d halves[QAL2P_SIZE] = {};
        F::store(halves, a);
        memcpy(words, halves, n * sizeof *halves);
        for (unsigned i = 0; i < f.words(); i++)
            sum ^= words[i] & mask.words[i];
        return static_cast<unsigned>(__builtin_parityll(sum));
    }

    // The formulas are those of qale2_addition.cpp, operation by operation.
    static Projective twice(const Coefficients &c, const Projective &p)
    {
        const E z2 = F::sqr(p.z), x2 = F::sqr(p.x);
        Projective r;
        r.z = F::mul(z2, x2);
        const E bz4 = F::mul(F::sqr(z2), c.b);
        r.x = F::add(F::sqr(x2), bz4);
        E t = F::add(F::sqr(p.y), bz4);
        if (c.a)
            t = F::add(t, r.z);
        r.y = F::add(F::mul(r.x, t), F::mul(bz4, r.z));
        return r;
    }

    // A sum of points that are neither equal nor opposite; if they are, or p is infinity, r.z is
    // zero. big_b is zero for equal and opposite points, and big_a then tells which: it is zero for
    // equal ones.
    struct Sum {
        Projective r;
        E big_a, big_b;
    };

    static Sum sum(const Coefficients &c, const Projective &p, const Affine &q)
    {
        Sum s;
        const E z2 = F::sqr(p.z);
        s.big_b = F::add(p.x, F::mul(p.z, q.x));
        s.big_a = F::add(p.y, F::mul(z2, q.y));
        E cc = F::mul(p.z, s.big_b);
        s.r.z = F::sqr(cc);
        const E ac = F::mul(cc, s.big_a);
        if (c.a)
            cc = F::add(cc, z2);
        s.r.x = F::add(F::add(F::mul(F::sqr(s.big_b), cc), F::sqr(s.big_a)), ac);
        const E u = F::add(F::mul(q.x, s.r.z), s.r.x);
        s.r.y = F::add(F::mul(F::add(ac, s.r.z), u), F::mul(F::sqr(s.r.z), F::add(q.x, q.y)));
        return s;
    }

    // The group law for all points, as qale2pd() and qale2pa() have it.
    static void double_any_var(const Coefficients &c, Projective &p)
    {
        if (none(p.z))
            p = {zero(), zero(), zero()};
        else
            p = twice(c, p);
    }

    static void add_any_var(const Coefficients &c, Projective &p, const Affine &q)
    {
        if (none(q.x) && none(q.y))
            return;
        if (none(p.z)) {
            p = {q.x, q.y, one()};
            return;
        }
        const Sum s = sum(c, p, q);
        if (!none(s.big_b))
            p = s.r;
        else if (none(s.big_a))
            p = twice(c, {q.x, q.y, one()});
        else
            p = {zero(), zero(), zero()};
    }

    // table[i] = (2 i + 1) P for i < count, by two inversions: that of x for 2 P, and one for all z
    // together (Montgomery's trick). Returns false if a multiple is infinity.
    static bool odd_multiples_of_var(const Coefficients &c, Affine *table, const Affine &p,
                                     unsigned count)
    {
        table[0] = p;
        if (none(p.x))
            return false;
        // 2 P, affine.
        const E l = F::add(p.x, F::mul(p.y, inverse(p.x)));
        Affine t;
        t.x = F::add(F::sqr(l), l);
        if (c.a)
            t.x = F::add(t.x, one());
        t.y = F::add(F::sqr(p.x), F::add(F::mul(l, t.x), t.x));

        // products[i]: of the z of the multiples up to i.
        Projective multiples[most_entries];
        E products[most_entries];
        multiples[0] = {p.x, p.y, one()};
        products[0] = one();
        for (unsigned i = 1; i < count; i++) {
            multiples[i] = sum(c, multiples[i - 1], t).r;
            products[i] = F::mul(products[i - 1], multiples[i].z);
        }
        if (none(products[count - 1]))
            return false;
        E rest = inverse(products[count - 1]);
        for (unsigned i = count - 1; i > 0; i--) {
            const E z = F::mul(rest, products[i - 1]);
            rest = F::mul(rest, multiples[i].z);
            table[i].x = F::mul(multiples[i].x, z);
            table[i].y = F::mul(multiples[i].y, F::sqr(z));
        }
        return true;
    }

    // The entry of the table with this index. Reads all entries.
    static Affine look_up(const qale2affine *table, unsigned index)
    {
        Affine r = {zero(), zero()};
        for (unsigned i = 0; i < static_cast<unsigned>(window_entries); i++) {
            const uint64_t mask = 0 - (((uint64_t{i} ^ index) - 1) >> 63);
            const Affine entry = load(table + i);
            r.x = F::add(r.x, F::masked(entry.x, mask));
            r.y = F::add(r.y, F::masked(entry.y, mask));
        }
        return r;
    }

    static void invert(qal2d *r, const qal2d *a)
    {
        F::store(r + 1, inverse(F::load_reduced(a + 1)));
    }

    static unsigned trace(const qal2d *z) { return trace_of(F::load(z + 1)); }

    static void half_trace(qal2d *r, const qal2d *z)
    {
        const E t = F::load(z + 1);
        E h = t;
        for (unsigned i = 0; i < (f.m - 1) / 2; i++)
            h = F::add(F::sqr(F::sqr(h)), t);
        F::store(r + 1, h);
    }

    static void square_root(qal2d *r, const qal2d *z)
    {
        F::store(r + 1, sqr_times(F::load(z + 1), f.m - 1));
    }

    static bool odd_multiples_var(const qale2curve *curve, qale2affine *table, const qale2point *P,
                                  int32_t ws)
    {
        if (ws < 2 || ws > static_cast<int32_t>(window_width))
            return false;
        const unsigned count = 1U << (ws - 1);
        const Coefficients c(curve);
        const Projective p = load(P);
        if (none(p.z))
            return false;
        const E z = inverse(p.z);
        Affine multiples[most_entries];
        if (!odd_multiples_of_var(c, multiples, {F::mul(p.x, z), F::mul(p.y, F::sqr(z))}, count))
            return false;
        for (unsigned i = 0; i < count; i++) {
            store(table[i].x, multiples[i].x);
            store(table[i].y, multiples[i].y);
        }
        return true;
    }

    static void multiply_var(qale2kpic_ctx *ctx)
    {
        const Coefficients c(ctx->curve);
        Projective q = {zero(), zero(), zero()};
        while (ctx->bits > 0) {
            int64_t length;
            const uint64_t digit = qalgetslide(ctx->k, ctx->bits - 1, ctx->ws, &length);
            ctx->bits -= static_cast<uint64_t>(length);
            for (; length > 0; length--)
                double_any_var(c, q);
            if (digit != 0)
                add_any_var(c, q, load(ctx->powers + (digit - 1) / 2));
        }
        store(&ctx->Q, q);
    }

    // Joye and Tunstall, "Exponent recoding and regular exponentiation algorithms", AFRICACRYPT
    // 2009. For odd k and windows of w bits, k = sum of d_i 2^(w i) with odd digits below 2^w in
    // absolute value: d_i = (floor(k / 2^(w i)) mod 2^(w+1), with bit 0 set) - 2^w, and the topmost
    // digit is floor(k / 2^(w i)) with bit 0 set. An even k is replaced by n - k, which is odd, and
    // the multiple by its opposite.
    static bool multiply_windows(const qale2curve *curve, qale2point *Q, const qald *k,
                                 const qald *order, const qale2affine *table, unsigned from,
                                 unsigned to)
    {
        constexpr unsigned w = window_width, most_digits = largest_field.words();
        const Coefficients c(curve);
        const unsigned top = window_count(qalbitlen(order, 1)) - 1;
        const auto digits = static_cast<unsigned>(order[0]);
        // odd = k or n - k, with a word of zeros above it.
        qald odd[most_digits + 1] = {};
        const uint64_t even = (k[0] == 0 ? 0 : k[1] & 1) - 1; // all ones for even k
        uint64_t borrow = 0;
        for (unsigned i = 0; i < digits; i++) {
            const uint64_t d = i < k[0] ? k[i + 1] : 0, m = order[i + 1];
            const uint64_t difference = m - d, result = difference - borrow;
            borrow = static_cast<uint64_t>(m < d) | static_cast<uint64_t>(difference < borrow);
            odd[i] = (result & even) | (d & ~even);
        }

        Projective q = from == top ? Projective{zero(), zero(), zero()} : load(Q);
        bool good = true;
        for (unsigned i = from + 1; i-- > to && good;) {
            const unsigned word = w * i / 64, shift = w * i % 64;
            uint64_t digit = odd[word] >> shift;
            if (shift + w + 1 > 64)
                digit |= odd[word + 1] << (64 - shift);
            digit = (digit & ((1U << (w + 1)) - 1)) | 1;
            // The absolute value and the sign of digit - 2^w, or of the digit itself at the top.
            const uint64_t base = i == top ? 0 : uint64_t{1} << w;
            const uint64_t value = digit - base, negative = 0 - (value >> 63);
            const auto size = static_cast<unsigned>((value ^ negative) - negative);
            Affine entry = look_up(table, size / 2);
            // An entry of infinity (x = y = 0) cannot be added. Only a base point of small order
            // has one; z is zero from there on.
            const uint64_t there = ~(F::is_zero(entry.x) & F::is_zero(entry.y));
            entry.y = F::add(entry.y, F::masked(entry.x, negative ^ even));
            if (i == top) {
                q = {entry.x, entry.y, F::masked(one(), there)};
                continue;
            }
            for (unsigned j = 0; j < w; j++)
                q = twice(c, q);
            q = sum(c, q, entry).r;
            q.z = F::masked(q.z, there);
            good = base::declassified(!none(q.z)); // public: fails with negligible probability
        }
        store(Q, q);
        base::wipe(odd, sizeof odd);
        return good;
    }

    // x = X/Z and y/x = Y/(X Z), with one inversion. Infinity gives zeros.
    static unsigned make_affine(qale2point *P)
    {
        const Projective p = load(P);
        const E both = F::mul(p.x, p.z), inverted = inverse(both);
        const E x = F::mul(F::sqr(p.x), inverted), slope = F::mul(p.y, inverted);
        store(P, {x, F::mul(x, slope), F::mul(both, inverted)});
        return trace_of(slope);
    }

    // Montgomery's ladder on abscissas: López and Dahab, "Fast multiplication on elliptic curves
    // over GF(2^m) without precomputation", CHES '99. The two points differ by P throughout, and
    // the formulas hold for infinity, (X : 0), as well.
    static void multiply_abscissa(const qale2curve *curve, qal2d *r, const qald *k, unsigned bits,
                                  const qal2d *px, unsigned doublings)
    {
        const Coefficients c(curve);
        const E x = F::load(px + 1);
        E x1 = one(), z1 = zero(), x2 = x, z2 = one();
        uint64_t swapped = 0;
        const auto exchange = [](E &u, E &v, uint64_t mask) {
            const E difference = F::masked(F::add(u, v), mask);
            u = F::add(u, difference);
            v = F::add(v, difference);
        };
        for (unsigned i = bits; i-- > 0;) {
            const uint64_t word = i / 64 < k[0] ? k[i / 64 + 1] : 0,
                           bit = 0 - (word >> (i % 64) & 1);
            exchange(x1, x2, bit ^ swapped);
            exchange(z1, z2, bit ^ swapped);
            swapped = bit;
            // (x2 : z2) += (x1 : z1), (x1 : z1) *= 2
            const E u = F::mul(x1, z2), v = F::mul(x2, z1);
            z2 = F::sqr(F::add(u, v));
            x2 = F::add(F::mul(x, z2), F::mul(u, v));
            double_abscissa(c, x1, z1);
        }
        exchange(x1, x2, swapped);
        exchange(z1, z2, swapped);
        for (; doublings > 0; doublings--)
            double_abscissa(c, x1, z1);
        store(r, F::mul(x1, inverse(z1)));
    }

    static void double_abscissa(const Coefficients &c, E &x, E &z)
    {
        const E xx = F::sqr(x), zz = F::sqr(z);
        z = F::mul(xx, zz);
        x = F::add(F::sqr(xx), F::mul(c.b, F::sqr(zz)));
    }

    static bool joint_abscissa_var(const qale2curve *curve, qal2d *r, const qald *s,
                                   const qale2affine *multiples, const qald *k, const qale2point *Q)
    {
        constexpr unsigned w1 = window_width + 1, w2 = 5, count = 1U << (w2 - 2);
        const Coefficients c(curve);
        signed char d1[wnaf_digits], d2[wnaf_digits];
        const unsigned length1 = recode_var(d1, s, w1);
        Affine own[count];
        const Affine point = {F::load(Q->X + 1), F::load(Q->Y + 1)};
        // If a multiple is infinity, Q has a small order; then only Q itself is used.
        const bool wide = odd_multiples_of_var(c, own, point, count);
        const unsigned length2 = recode_var(d2, k, wide ? w2 : 2);
        Projective q = {zero(), zero(), zero()};
        for (unsigned i = length1 > length2 ? length1 : length2; i-- > 0;) {
            double_any_var(c, q);
            if (d1[i] != 0)
                add_digit_var(c, q, load(multiples + (d1[i] < 0 ? -d1[i] : d1[i]) / 2), d1[i] < 0);
            if (d2[i] != 0)
                add_digit_var(c, q, own[(d2[i] < 0 ? -d2[i] : d2[i]) / 2], d2[i] < 0);
        }
        store(r, F::mul(q.x, inverse(q.z)));
        return !none(q.z);
    }

    static void add_digit_var(const Coefficients &c, Projective &q, Affine p, bool negative)
    {
        if (negative)
            p.y = F::add(p.y, p.x);
        add_any_var(c, q, p);
    }
};

template<typename F>
constexpr Engine engine_over = {
    Curves<F>::invert,
    Curves<F>::trace,
    Curves<F>::half_trace,
    Curves<F>::square_root,
    Curves<F>::odd_multiples_var,
    Curves<F>::multiply_var,
    Curves<F>::multiply_windows,
    Curves<F>::make_affine,
    Curves<F>::multiply_abscissa,
    Curves<F>::joint_abscissa_var,
};

// The engines over representations of all fields, in the order of `fields`.
template<typename... F>
struct EnginesOver {
    static_assert(sizeof...(F) == field_count);
    static constexpr bool in_order()
    {
        unsigned i = 0;
        return ((F::f == fields[i++]) && ...);
    }
    static_assert(in_order());
    static constexpr Engine list[] = {engine_over<F>...};
};

} // namespace

} // namespace qal::ua
