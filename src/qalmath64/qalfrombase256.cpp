#include "base/bytes.hpp"
#include "qalmath64/conversion.hpp"

using namespace qal::math;

// Of more bytes than a buffer holds, the first ones count: a cap, not a reduction.
qald *qalfrombase256(qald *x, const uint8_t *b, uint32_t n)
{
    uint32_t left = capped(n);
    x[0] = (left + 7) / 8;
    uint64_t i = 1;
    for (; left >= 8; left -= 8)
        x[i++] = qal::base::load_be64(b + left - 8);
    if (left > 0) {
        qald digit = 0;
        for (uint32_t j = 0; j < left; j++)
            digit = digit << 8 | b[j];
        x[i] = digit;
    }
    return qalclip(x);
}
