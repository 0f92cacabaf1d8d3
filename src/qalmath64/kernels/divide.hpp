// Division of digits by a divisor whose top bit is set.
#ifndef QAL_QALMATH64_DIVIDE_HPP
#define QAL_QALMATH64_DIVIDE_HPP

#include "qalmath64/kernels/digits.hpp"

namespace qal::math {

// The reciprocal (2^128 - 1) / d - 2^64 of one digit, and division of two digits by it, after
// Moeller and Granlund, "Improved division by invariant integers", IEEE Trans. Computers 60 (2011).
class Reciprocal1 {
public:
    explicit Reciprocal1(qald d) : d_(d)
    {
        qald remainder;
        __asm__("divq %4" : "=a"(v_), "=d"(remainder) : "a"(~qald{0}), "d"(~d), "r"(d) : "cc");
    }

    // The quotient of (high, low) for high < d; the remainder replaces high.
    qald divide(qald &high, qald low) const
    {
        const uint128 estimate = uint128{v_} * high + (uint128{high} << 64 | low);
        qald q = static_cast<qald>(estimate >> 64) + 1;
        qald r = low - q * d_;
        if (r > static_cast<qald>(estimate)) {
            q--;
            r += d_;
        }
        if (__builtin_expect(r >= d_, 0)) {
            q++;
            r -= d_;
        }
        high = r;
        return q;
    }

    qald value() const { return v_; }

private:
    qald d_, v_;
};

// The reciprocal (2^192 - 1) / (d1, d0) - 2^64 of two digits, and division of three digits by it.
class Reciprocal2 {
public:
    Reciprocal2(qald d1, qald d0) : d1_(d1), d0_(d0), v_(Reciprocal1(d1).value())
    {
        // What one digit of the divisor gave is too large by the share of the other.
        qald p = d1 * v_ + d0;
        if (p < d0) {
            v_--;
            if (p >= d1) {
                v_--;
                p -= d1;
            }
            p -= d1;
        }
        const uint128 t = uint128{v_} * d0;
        p += static_cast<qald>(t >> 64);
        if (p < static_cast<qald>(t >> 64)) {
            v_--;
            if (p > d1 || (p == d1 && static_cast<qald>(t) >= d0))
                v_--;
        }
    }

    // The quotient of (r1, r0, low) for (r1, r0) < d, the remainder replacing r1 and r0.
    qald divide(qald &r1, qald &r0, qald low) const
    {
        const uint128 estimate = uint128{v_} * r1 + (uint128{r1} << 64 | r0);
        qald q = static_cast<qald>(estimate >> 64);
        const qald middle = r0 - q * d1_;
        const uint128 product = uint128{q} * d0_ + (uint128{d1_} << 64 | d0_);
        q++;
        const uint128 r = (uint128{middle} << 64 | low) - product;
        r0 = static_cast<qald>(r);
        r1 = static_cast<qald>(r >> 64);
        // As likely as not: by a mask, since a branch would be mispredicted.
        const qald back = 0 - static_cast<qald>(r1 >= static_cast<qald>(estimate));
        q += back;
        const uint128 sum = (uint128{r1} << 64 | r0) + (uint128{d1_ & back} << 64 | (d0_ & back));
        r0 = static_cast<qald>(sum);
        r1 = static_cast<qald>(sum >> 64);
        if (__builtin_expect(r1 >= d1_, 0)) {
            if (r1 > d1_ || r0 >= d0_) {
                q++;
                const uint128 less = (uint128{r1} << 64 | r0) - (uint128{d1_} << 64 | d0_);
                r0 = static_cast<qald>(less);
                r1 = static_cast<qald>(less >> 64);
            }
        }
        return q;
    }

private:
    qald d1_, d0_, v_;
};

// q = x / d and x = x mod d for one digit d, with x < d * 2^(64 n) on n digits and `high` above
// them. q may be null.
inline qald divide_by_digit(qald *q, const qald *x, size_t n, qald high, qald d)
{
    const Reciprocal1 reciprocal(d);
    while (n-- > 0) {
        const qald digit = reciprocal.divide(high, x[n]);
        if (q != nullptr)
            q[n] = digit;
    }
    return high;
}

// What qal_submul_row does, without a call for two digits: a division by four is that of a curve.
inline qald subtract_product(qald *x, const qald *d, size_t n, qald digit)
{
    if (n != 2)
        return qal_submul_row(x, d, n, digit);
    const uint128 low = uint128{d[0]} * digit;
    const uint128 high = uint128{d[1]} * digit + static_cast<qald>(low >> 64);
    const uint128 left = uint128{x[1]} << 64 | x[0];
    const uint128 product = uint128{static_cast<qald>(high)} << 64 | static_cast<qald>(low);
    x[0] = static_cast<qald>(left - product);
    x[1] = static_cast<qald>((left - product) >> 64);
    return static_cast<qald>(high >> 64) + (left < product);
}

// x mod d takes the place of the lower m digits of x, of n + 1 digits, with the upper m + 1 less
// than 2^64 d; n + 1 - m digits of quotient go to q, which may be null. m is at least two.
inline void divide(qald *q, qald *x, size_t n, const qald *d, size_t m)
{
    // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.Assign): it misses what vectors store.
    const qald d1 = d[m - 1], d0 = d[m - 2];
    const Reciprocal2 reciprocal(d1, d0);
    // The upper two digits of what is left are in registers.
    qald r1 = x[n], r0 = x[n - 1];
    for (size_t j = n - m + 1; j-- > 0;) {
        qald *window = x + j;
        qald digit;
        if (__builtin_expect(r1 == d1 && r0 == d0, 0)) {
            // The quotient of three digits would not fit. As the window is less than 2^64 d, and
            // not less than 2^64 (d - 2^(64 (m - 2))), the digit is the largest.
            digit = ~qald{0};
            window[m - 1] = r0;
            qal_submul_row(window, d, m, digit);
            r1 = window[m - 1];
            r0 = window[m - 2];
        } else {
            digit = reciprocal.divide(r1, r0, window[m - 2]);
            if (m > 2) {
                const qald borrow = subtract_product(window, d, m - 2, digit);
                const qald carry = r0 < borrow;
                r0 -= borrow;
                const bool negative = r1 < carry;
                r1 -= carry;
                if (__builtin_expect(negative, 0)) {
                    digit--;
                    window[m - 2] = r0;
                    window[m - 1] = r1;
                    qal_add_row(window, window, d, m);
                    r0 = window[m - 2];
                    r1 = window[m - 1];
                }
            }
        }
        if (q != nullptr)
            q[j] = digit;
    }
    x[m - 1] = r1;
    x[m - 2] = r0;
}

} // namespace qal::math

#endif
