#include "base/bytes.hpp"
#include "qalmath64/conversion.hpp"

using namespace qal::math;

qald *qalfromrbase256(qald *x, const uint8_t *b, uint32_t n)
{
    const uint32_t bytes = capped(n), whole = bytes / 8;
    x[0] = (bytes + 7) / 8;
    for (uint32_t i = 0; i < whole; i++)
        x[i + 1] = qal::base::load_le64(b + 8 * i);
    if (bytes % 8 != 0) {
        qald digit = 0;
        for (uint32_t j = bytes; j-- > 8 * whole;)
            digit = digit << 8 | b[j];
        x[whole + 1] = digit;
    }
    return qalclip(x);
}
