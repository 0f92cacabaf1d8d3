#include "qalmath64/kernels/digits.hpp"

#include <string.h>

using namespace qal::math;

namespace {

// A number of as many digits as it takes, with room for one more than a full buffer.
struct Wide {
    size_t n = 0;
    qald digit[QALBIG_SIZE + 1];

    explicit Wide(qald v) : n(v != 0) { digit[0] = v; }
    explicit Wide(const qald *x) : n(x[0]) { memcpy(digit, x + 1, n * sizeof *x); }

    void clip()
    {
        while (n > 0 && digit[n - 1] == 0)
            n--;
    }

    unsigned trailing_zeros() const
    {
        return digit[0] == 0 ? 63 : static_cast<unsigned>(__builtin_ctzll(digit[0]));
    }

    void halve(unsigned bits)
    {
        if (n > 0)
            shift_right(digit, n, bits);
        clip();
    }

    void twofold(unsigned bits)
    {
        const qald out = n == 0 ? 0 : shift_left(digit, digit, n, bits);
        if (out != 0)
            digit[n++] = out;
    }

    bool operator>(const Wide &other) const
    {
        return n != other.n ? n > other.n : is_less(other.digit, digit, n);
    }

    // Of a number that is not less than the other.
    void subtract(const Wide &other)
    {
        if (other.n == 0)
            return;
        qald borrow = qal_sub_row(digit, digit, other.digit, other.n);
        for (size_t i = other.n; borrow != 0; i++)
            borrow = digit[i]-- == 0;
        clip();
    }

    void add(const Wide &other)
    {
        for (; n < other.n; n++)
            digit[n] = 0;
        if (other.n == 0)
            return;
        qald carry = qal_add_row(digit, digit, other.digit, other.n);
        for (size_t i = other.n; i < n && carry != 0; i++)
            carry = ++digit[i] == 0;
        if (carry != 0)
            digit[n++] = carry;
    }
};

} // namespace

// Kaliski's almost inverse, "The Montgomery inverse and its applications", IEEE Trans. Computers 44
// (1995): r becomes -2^k / a modulo p, with r, s <= 2p and k at most twice the bits of p.
//
// Runs of halvings are taken as one shift, and the k halvings modulo p at the end 64 at a time, as
// Montgomery reduction does them. For 0 <= r <= p its result is the same number, p for p included.
qald *qalmodinv(const qald *a, const qald *p, qald *out)
{
    Wide u(p), v(a), r(qald{0}), s(qald{1});
    const Wide modulus(p);
    uint64_t k = 0;
    while (v.n != 0) {
        unsigned bits = u.trailing_zeros();
        if (bits != 0) {
            u.halve(bits);
            s.twofold(bits);
        } else if ((bits = v.trailing_zeros()) != 0) {
            v.halve(bits);
            r.twofold(bits);
        } else if (u > v) {
            bits = 1;
            u.subtract(v);
            u.halve(1);
            r.add(s);
            s.twofold(1);
        } else {
            bits = 1;
            v.subtract(u);
            v.halve(1);
            s.add(r);
            r.twofold(1);
        }
        k += bits;
    }
    if (!(modulus > r))
        r.subtract(modulus);

    // From here on as many digits as p has, and one more.
    const size_t n = modulus.n;
    qald x[QALBIG_SIZE + 1];
    memcpy(x, modulus.digit, n * sizeof *x);
    for (; r.n < n; r.n++)
        r.digit[r.n] = 0;
    qal_sub_row(x, x, r.digit, n);
    const qald c = montgomery_constant(modulus.digit[0]);
    for (; k > 0; k -= k < 64 ? k : 64) {
        const unsigned bits = k < 64 ? static_cast<unsigned>(k) : 64;
        const qald mask = ~qald{0} >> (64 - bits);
        x[n] = qal_addmul_row(x, modulus.digit, n, (x[0] * c) & mask);
        if (bits == 64)
            memmove(x, x + 1, n * sizeof *x);
        else
            shift_right(x, n + 1, bits);
    }
    out[0] = n;
    memcpy(out + 1, x, n * sizeof *x);
    return qalclip(out);
}
