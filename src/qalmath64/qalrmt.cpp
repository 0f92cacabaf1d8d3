#include "qalmath64/powers/number_forms.hpp"

#include <string.h>

using namespace qal::math;

namespace {

// Bases of a primality test are no secret: a fast generator serves. It starts from where the stack
// is and from the clock of the processor, so that calls differ and share nothing.
class Bases {
public:
    explicit Bases(const void *place)
        : state_(static_cast<uint32_t>(reinterpret_cast<uintptr_t>(place)) ^ __builtin_ia32_rdtsc())
    {
    }

    void fill(qald *digits, size_t n)
    {
        for (size_t i = 0; i < n; i++) {
            qald digit = 0;
            for (int byte = 0; byte < 8; byte++) {
                state_ = state_ * 1103515245 + 12345;
                digit = digit << 8 | (state_ >> 16 & 0xff);
            }
            digits[i] = digit;
        }
    }

private:
    uint64_t state_;
};

} // namespace

// Miller and Rabin's test.
int qalrmt(const qald *n, uint32_t rounds)
{
    if (qalcmp(n, QALBIG_TWO) == 0)
        return 1;
    if (!is_odd(n))
        return 0;

    // n - 1 = 2^t m. For n = 1 there is no odd m, and this does not end: callers never ask that.
    qald last[QALBIG_SIZE], m[QALBIG_SIZE], one[QALBIG_SIZE];
    qalsub(qalcopy(last, n), QALBIG_ONE);
    uint64_t t = 1;
    while (qalgetwin(last, t, 1) == 0)
        t++;
    qalshr(last, t, m);

    const MontgomeryForm form = usual_form(n);
    qalunitymont(static_cast<int32_t>(form.k), n, one);
    const uint64_t bits = qalbitlen(n, 1);
    qald table[odd_powers * (QALBIG_SIZE / 2)], x[QALBIG_SIZE], square[QALBIG_SIZE];
    Bases bases(&table);
    for (; rounds > 0; rounds--) {
        // A base in Montgomery form, other than 0 and 1.
        do {
            bases.fill(x + 1, n[0]);
            x[0] = n[0];
            qalmodexpb2(qalclip(x), bits);
            if (qalcmp(x, n) >= 0)
                qalsub(x, n);
        } while (x[0] == 0 || qalcmp(x, one) == 0);

        qalmontic(table, sliding_window_bits, form.c, form.k, n, x);
        qalicpowmont(table, sliding_window_bits, 0, one, form.c, form.k, n, m, x);
        qalmontcom(form.c, form.k, n, x);
        if (qalcmp(x, QALBIG_ONE) == 0 || qalcmp(x, last) == 0)
            continue;
        uint64_t squarings = t - 1;
        for (; squarings > 0; squarings--) {
            qalsqr(x, square);
            qaldiv(square, n, nullptr, square);
            qalcopy(x, square);
            if (qalcmp(x, QALBIG_ONE) == 0)
                return 0;
            if (qalcmp(x, last) == 0)
                break;
        }
        if (squarings == 0)
            return 0;
    }
    return 1;
}
