#include <qal/qalmath64.h>

// Too small a buffer keeps the most significant bytes.
uint32_t qaltobase256(uint8_t *b, uint32_t size, const qald *x)
{
    uint32_t written = 0;
    for (uint64_t byte = qalbitlen(x, 8); byte > 0 && written < size; written++) {
        byte--;
        b[written] = static_cast<uint8_t>(x[byte / 8 + 1] >> (8 * (byte % 8)));
    }
    return written;
}
