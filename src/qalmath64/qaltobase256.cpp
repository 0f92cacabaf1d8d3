#include "base/bytes.hpp"
#include "qalmath64/conversion.hpp"

using namespace qal::math;

// Too small a buffer keeps the most significant bytes.
uint32_t qaltobase256(uint8_t *b, uint32_t size, const qald *x)
{
    uint64_t left = qalbitlen(x, 8);
    const uint32_t count = written_bytes(left, size);
    const uint8_t *bytes = reinterpret_cast<const uint8_t *>(x + 1);
    uint32_t written = 0;
    // Eight bytes of the number at a time, across its digits: they stand in order in memory.
    for (; count - written >= 8; written += 8) {
        left -= 8;
        qal::base::store_be64(b + written, qal::base::load_le64(bytes + left));
    }
    for (; written < count; written++)
        b[written] = bytes[--left];
    return count;
}
