#include "qalmath64/kernels/montgomery.hpp"

#include <string.h>

using namespace qal::math;

qald *qalmontcom(uint64_t c, uint32_t k, const qald *p, qald *t)
{
    const size_t n = p[0], whole = k / 64, length = 2 * n + 1;
    const unsigned bits = k % 64;
    qald *const x = t + 1;
    for (size_t i = t[0]; i < length; i++)
        x[i] = 0;

    if (bits == 0 && whole == n && x[2 * n] == 0) {
        reduce(x, x, p + 1, n, c);
        t[0] = n;
        return qalclip(t);
    }

    // A multiple of p makes each digit zero, and of the last digit only the lower bits. The carry
    // out of the top digit, 0 or 1, becomes the top bit after the shift.
    qald overflow = 0;
    for (size_t i = 0; i < whole + (bits != 0); i++) {
        const qald mask = i < whole ? ~qald{0} : (qald{1} << bits) - 1;
        qald carry = qal_addmul_row(x + i, p + 1, n, (x[i] * c) & mask);
        for (size_t j = i + n; j < length && carry != 0; j++)
            carry = __builtin_add_overflow(x[j], carry, &x[j]);
        overflow += carry;
    }
    size_t left = length - whole;
    memmove(x, x + whole, left * sizeof *x);
    if (bits != 0) {
        shift_right(x, left, bits);
        x[left - 1] |= overflow << (64 - bits);
    } else if (overflow != 0) {
        x[left++] = overflow;
    }
    t[0] = left;
    qalclip(t);
    return qalcmp(t, p) >= 0 ? qalsub(t, p) : t;
}
