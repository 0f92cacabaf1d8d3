#include "qalmath64/kernels/multiply.hpp"

using namespace qal::math;

namespace {

// Factors are split if the shorter one has 7/8 of the longer one's digits; the sum of both is at
// most a full buffer's.
constexpr size_t most_half = (most_digits * 8 / (8 + 7) + 1) / 2;

constexpr qald zero[most_half] = {};

// x += a digit, on n digits; returns the carry.
qald add_digit(qald *x, size_t n, qald digit)
{
    for (size_t i = 0; i < n; i++) {
        const uint128 sum = uint128{x[i]} + digit;
        x[i] = static_cast<qald>(sum);
        digit = static_cast<qald>(sum >> 64);
    }
    return digit;
}

// r[0..h) = |x0 - x1| for x0 of h digits and x1 of the n - h digits above, h at most; returns all
// ones if x0 < x1, else 0.
qald difference(qald *r, const qald *x, size_t n, size_t h)
{
    const size_t high = n - h;
    qald borrow = qal_sub_row(r, x, x + h, high);
    for (size_t i = high; i < h; i++) {
        r[i] = x[i] - borrow;
        borrow = r[i] > x[i];
    }
    const qald negative = 0 - borrow;
    qal_add_signed_row(r, zero, r, h, negative);
    return negative;
}

// Puts a product together. r[0..2h) holds x0 y0 and r[2h..2h + high) x1 y1; what is added at h is
// x0 y1 + x1 y0 = x0 y0 + x1 y1 - (x0 - x1)(y0 - y1), where d is the last product without its sign,
// and `minus` all ones if the sign is not negative.
void add_middle(qald *r, size_t h, size_t high, const qald *d, qald minus)
{
    qald middle[2 * most_half];
    qald top = qal_add_row(middle, r, r + 2 * h, high);
    for (size_t i = high; i < 2 * h; i++)
        middle[i] = r[i];
    top = add_digit(middle + high, 2 * h - high, top);
    top += qal_add_signed_row(middle, middle, d, 2 * h, minus) + minus;
    top += qal_add_row(r + h, r + h, middle, 2 * h);
    add_digit(r + 3 * h, high - h, top);
}

} // namespace

void qal_multiply(qald *r, const qald *a, size_t n, const qald *b, size_t m)
{
    const size_t longer = n > m ? n : m, shorter = n > m ? m : n, h = (longer + 1) / 2;
    if (shorter < QAL_KARATSUBA_DIGITS || 8 * shorter < 7 * longer) {
        qal_mul_digits(r, a, n, b, m);
        return;
    }
    qald d[2 * most_half];
    const qald plus = difference(r, a, n, h) ^ difference(r + h, b, m, h);
    qal_multiply(d, r, h, r + h, h);
    qal_multiply(r, a, h, b, h);
    qal_multiply(r + 2 * h, a + h, n - h, b + h, m - h);
    add_middle(r, h, n + m - 2 * h, d, ~plus);
}

void qal_square(qald *r, const qald *a, size_t n)
{
    if (n < QAL_KARATSUBA_SQUARE_DIGITS) {
        qal_sqr_digits(r, a, n);
        return;
    }
    const size_t h = (n + 1) / 2;
    qald d[2 * most_half];
    difference(r, a, n, h);
    qal_square(d, r, h);
    qal_square(r, a, h);
    qal_square(r + 2 * h, a + h, n - h);
    add_middle(r, h, 2 * (n - h), d, ~qald{0});
}
