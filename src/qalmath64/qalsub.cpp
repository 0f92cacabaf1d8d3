#include <qal/qalmath64.h>

qald *qalsub(qald *x, const qald *y)
{
    const uint64_t n = y[0];
    unsigned long long difference;
    unsigned char borrow = 0;
    uint64_t i = 1;
    for (; i <= n; i++) {
        const unsigned char first = __builtin_sub_overflow(x[i], y[i], &difference);
        borrow = static_cast<unsigned char>(
            first | __builtin_sub_overflow(difference, borrow, &difference));
        x[i] = difference;
    }
    // Nothing ends this but a digit that is not zero: x must not be less than y.
    for (; borrow != 0; i++)
        borrow = x[i]-- == 0;
    return qalclip(x);
}
