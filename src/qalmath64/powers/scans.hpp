// The three ways to scan an exponent, each once for all forms of numbers: sliding windows over odd
// powers and single bits from the lowest up, for public exponents, and fixed windows in constant
// time. Shapes and aliasing are those of powers.hpp. The time of functions named _var depends on e.
//
// A form F has a value, a number in Montgomery form modulo an odd p of n digits, for R = 2^r_bits
// with a multiple of 16. Numbers are arrays of words.
//   F::Word, F::most_words   what a number is an array of, and how many of them it has at most
//   F(p, n), r_bits()
//   split(w, x, n)           w = x for x of up to n digits of 64 bits
//   set(w), get(w)           value = w, w = value
//   multiply(w), square()    value = value w / R and value^2 / R modulo p
//   leave()                  value = value / R modulo p
//   write(r)                 r = value on n digits, below p
// For sliding windows, where x is a number with a length word and in Montgomery form of 2^(64 n):
//   set_digits_form_var(x)   value = x, in the form's own Montgomery form
//   factor_var(room, x)      a factor that has the same effect as x; it may be in the room
//   to_digits_form()         value in Montgomery form of 2^(64 n)
// For fixed windows:
//   F::Table                 up to most_entries numbers, in the form's own Montgomery form
//   table.write(i, form)     entry i = value; entries are written in their order
//   table.entry(i)           entry i, where i is not secret
//   table.read(w, i, count)  w = entry i in constant time: reads all of the first `count` entries
//   begin(table, x)          entries 0 and 1 = 1 and x of 2n digits, below p 2^(64 n), where value
//                            is R^2 modulo p before; leaves x as value
//
// This is included in files with flags of their own: everything has internal linkage.
#ifndef QAL_QALMATH64_POWERS_SCANS_HPP
#define QAL_QALMATH64_POWERS_SCANS_HPP

#include "base/wipe.hpp"
#include "qalmath64/powers/powers.hpp"

#include <string.h>

namespace qal::math {
namespace {

// Sliding windows

// Widest window of an exponent's bits.
constexpr int64_t sliding_window_bits = 5;

// value = value^(2^bits) x^f from the left, where f is the lowest bits of e; power.multiply(i) is a
// product by x^(2i + 1). Returns how many products it took besides the squares.
template<class Power>
inline uint64_t slide_var(Power &power, const qald *e, uint64_t bits)
{
    uint64_t products = 0;
    while (bits > 0) {
        int64_t length;
        const uint64_t window = qalgetslide(e, bits - 1, sliding_window_bits, &length);
        bits -= static_cast<uint64_t>(length);
        for (; length > 0; length--)
            power.square();
        if (window != 0) {
            power.multiply(window / 2);
            products++;
        }
    }
    return products;
}

// value = x^e for e other than zero; power.set(i) sets x^(2i + 1).
template<class Power>
inline void slide_from_top_var(Power &power, const qald *e)
{
    const uint64_t bits = qalbitlen(e, 1);
    int64_t length;
    power.set(qalgetslide(e, bits - 1, sliding_window_bits, &length) / 2);
    slide_var(power, e, bits - static_cast<uint64_t>(length));
}

// A form's value with a table of odd powers.
template<class F>
class OddPowers {
public:
    OddPowers(F &form, const qald *table, size_t stride)
        : form_(form), table_(table), stride_(stride)
    {
    }
    OddPowers(const OddPowers &) = delete;
    OddPowers &operator=(const OddPowers &) = delete;
    ~OddPowers() { base::wipe(room_, sizeof room_); }

    void set(size_t i) { form_.set_digits_form_var(table_ + i * stride_); }
    void multiply(size_t i) { form_.multiply(form_.factor_var(room_, table_ + i * stride_)); }
    void square() { form_.square(); }

private:
    F &form_;
    const qald *table_;
    size_t stride_;
    typename F::Word room_[F::most_words];
};

template<class F>
inline void sliding_var(F &form, qald *r, const qald *table, size_t stride, const qald *e, size_t n)
{
    OddPowers<F> power(form, table, stride);
    slide_from_top_var(power, e);
    form.to_digits_form();
    form.write(r + 1);
    r[0] = n;
    qalclip(r);
}

// Fixed windows

constexpr unsigned widest_fixed_window = 5;
constexpr size_t most_entries = size_t{1} << widest_fixed_window;

// The window that suits the exponent's length best, with the table of all 2^w powers.
constexpr unsigned fixed_window(size_t bits)
{
    return bits <= 8 ? 1 : bits <= 24 ? 2 : bits <= 80 ? 3 : bits <= 256 ? 4 : widest_fixed_window;
}

// Bits i to i + w - 1 of an exponent of `bits` bits; i is not secret.
inline unsigned exponent_window(const qald *e, size_t bits, size_t i, unsigned w)
{
    const size_t digit = i / 64, offset = i % 64;
    qald window = e[digit] >> offset;
    if (offset + w > 64 && 64 * (digit + 1) < bits)
        window |= e[digit + 1] << (64 - offset);
    return static_cast<unsigned>(window & ((1u << w) - 1));
}

// One exponentiation on its way.
template<class F>
struct Lane {
    const SecretPower &power;
    F form;
    typename F::Table table;
    typename F::Word factor[F::most_words];

    Lane(const SecretPower &of, size_t n) : power(of), form(of.p, n), table(n) {}
    Lane(const Lane &) = delete;
    Lane &operator=(const Lane &) = delete;
    ~Lane() { base::wipe(factor, sizeof factor); }
};

// All lanes go in step: a product of few digits leaves the processor room for another one, which
// must not wait for it.
template<class F, size_t count>
inline void fixed(Lane<F> (&lanes)[count], size_t n, size_t bits)
{
    const auto each = [&lanes](auto &&step) {
        for (Lane<F> &lane : lanes)
            step(lane);
    };
    // R^2 without a division, for R = 2^k: four squares make it of 2^(k / 16) R.
    constexpr unsigned squares = 4;
    each([&](Lane<F> &lane) {
        qald start[most_secret_digits];
        const size_t k = lane.form.r_bits();
        power_of_two_secret(start, k + (k >> squares), lane.power.p, n);
        lane.form.split(lane.factor, start, n);
        lane.form.set(lane.factor);
        base::wipe(start, sizeof start);
    });
    for (unsigned i = 0; i < squares; i++)
        each([](Lane<F> &lane) { lane.form.square(); });

    const unsigned w = fixed_window(bits);
    const size_t entries = size_t{1} << w;
    each([](Lane<F> &lane) {
        lane.form.begin(lane.table, lane.power.x);
        lane.form.get(lane.factor);
    });
    for (size_t i = 2; i < entries; i++) {
        if (i % 2 == 0) {
            each([i](Lane<F> &lane) { lane.form.set(lane.table.entry(i / 2)); });
            each([](Lane<F> &lane) { lane.form.square(); });
        } else {
            each([](Lane<F> &lane) { lane.form.multiply(lane.factor); });
        }
        each([i](Lane<F> &lane) { lane.table.write(i, lane.form); });
    }

    // An exponent of no bits has the window 0.
    const auto read = [&](Lane<F> &lane, size_t i) {
        const unsigned window = bits == 0 ? 0 : exponent_window(lane.power.e, bits, i * w, w);
        lane.table.read(lane.factor, window, entries);
    };
    const size_t last = bits == 0 ? 0 : (bits - 1) / w;
    each([&](Lane<F> &lane) {
        read(lane, last);
        lane.form.set(lane.factor);
    });
    for (size_t i = last; i-- > 0;) {
        for (unsigned j = 0; j < w; j++)
            each([](Lane<F> &lane) { lane.form.square(); });
        each([&](Lane<F> &lane) { read(lane, i); });
        each([](Lane<F> &lane) { lane.form.multiply(lane.factor); });
    }
    each([](Lane<F> &lane) {
        lane.form.leave();
        lane.form.write(lane.power.r);
    });
}

// Upward

// r = 2^bits mod p on digits, for p with a length word.
inline void power_of_two_var(qald *r, uint64_t bits, const qald *p)
{
    qald remainder[QALBIG_SIZE];
    qaldiv(qalexpb2(remainder, bits), p, nullptr, remainder);
    memcpy(r, remainder + 1, remainder[0] * sizeof *r);
    memset(r + remainder[0], 0, (p[0] - remainder[0]) * sizeof *r);
}

// The bits of e from the lowest one up, as those of e' from the highest one down. The power is 1 up
// to the lowest bit of e that is set, and x from there on. The highest bit of e is always set: its
// product takes x itself in place of x R, and so leaves Montgomery form on the way.
template<class F>
inline void upward_var(F &form, const PublicPower &power)
{
    const size_t n = power.p[0];
    struct {
        typename F::Word plain[F::most_words], in_form[F::most_words];
    } x;
    qald square[most_public_digits];
    power_of_two_var(square, 2 * form.r_bits(), power.p);
    form.split(x.in_form, square, n);
    form.set(x.in_form);
    form.split(x.plain, power.x, n);
    form.multiply(x.plain);
    form.get(x.in_form);

    const qald *const e = power.e;
    const uint64_t last = qalbitlen(e, 1) - 1;
    const auto bit = [e](uint64_t i) { return e[i / 64 + 1] >> (i % 64) & 1; };
    uint64_t i = 0;
    while (bit(i) == 0)
        i++;
    if (i == last) {
        form.leave();
    } else {
        while (++i < last) {
            form.square();
            if (bit(i) != 0)
                form.multiply(x.in_form);
        }
        form.square();
        form.multiply(x.plain);
    }
    form.write(power.r);
    base::wipe(&x, sizeof x);
}

} // namespace
} // namespace qal::math

#endif
