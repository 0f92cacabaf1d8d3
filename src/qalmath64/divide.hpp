// Division of digits by a divisor whose top bit is set.
#ifndef QAL_QALMATH64_DIVIDE_HPP
#define QAL_QALMATH64_DIVIDE_HPP

#include "qalmath64/digits.hpp"

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
    Reciprocal2(qald d1, qald d0) : d_(uint128{d1} << 64 | d0), v_(Reciprocal1(d1).value())
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
            if ((uint128{p} << 64 | static_cast<qald>(t)) >= d_)
                v_--;
        }
    }

    // The quotient of (high, low) for high < d, the remainder replacing high.
    qald divide(uint128 &high, qald low) const
    {
        const qald u2 = static_cast<qald>(high >> 64), u1 = static_cast<qald>(high);
        const uint128 estimate = uint128{v_} * u2 + high;
        qald q = static_cast<qald>(estimate >> 64);
        const qald r1 = u1 - q * static_cast<qald>(d_ >> 64);
        uint128 r = (uint128{r1} << 64 | low) - uint128{q} * static_cast<qald>(d_) - d_;
        q++;
        // As likely as not: by a mask, since a branch would be mispredicted.
        const qald back =
            0 - static_cast<qald>(static_cast<qald>(r >> 64) >= static_cast<qald>(estimate));
        q += back;
        r += d_ & (uint128{back} << 64 | back);
        if (__builtin_expect(r >= d_, 0)) {
            q++;
            r -= d_;
        }
        high = r;
        return q;
    }

private:
    uint128 d_;
    qald v_;
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

// x mod d takes the place of the lower m digits of x, of n + 1 digits, with the upper m + 1 less
// than 2^64 d; n + 1 - m digits of quotient go to q, which may be null. m is at least two.
inline void divide(qald *q, qald *x, size_t n, const qald *d, size_t m)
{
    const Reciprocal2 reciprocal(d[m - 1], d[m - 2]);
    const uint128 top = uint128{d[m - 1]} << 64 | d[m - 2];
    for (size_t j = n - m + 1; j-- > 0;) {
        qald *window = x + j;
        uint128 high = uint128{window[m]} << 64 | window[m - 1];
        qald digit;
        if (__builtin_expect(high == top, 0)) {
            // The quotient of three digits would not fit. As the window is less than 2^64 d, and
            // not less than 2^64 (d - 2^(64 (m - 2))), the digit is the largest.
            digit = ~qald{0};
            qal_submul_row(window, d, m, digit);
        } else {
            digit = reciprocal.divide(high, window[m - 2]);
            if (m > 2) {
                const qald borrow = qal_submul_row(window, d, m - 2, digit);
                const bool negative = high < borrow;
                high -= borrow;
                window[m - 2] = static_cast<qald>(high);
                window[m - 1] = static_cast<qald>(high >> 64);
                if (__builtin_expect(negative, 0)) {
                    digit--;
                    qal_add_row(window, window, d, m);
                }
            } else {
                window[0] = static_cast<qald>(high);
                window[1] = static_cast<qald>(high >> 64);
            }
        }
        if (q != nullptr)
            q[j] = digit;
    }
}

} // namespace qal::math

#endif
