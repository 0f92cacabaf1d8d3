#include <qal/qalmath64.h>

// Too small a buffer keeps the least significant bytes.
uint32_t qaltorbase256(uint8_t *b, uint32_t size, const qald *x)
{
    const uint64_t bytes = qalbitlen(x, 8);
    uint32_t written = 0;
    for (; written < bytes && written < size; written++)
        b[written] = static_cast<uint8_t>(x[written / 8 + 1] >> (8 * (written % 8)));
    return written;
}
