#include "base/bytes.hpp"
#include "qalmath64/conversion.hpp"

using namespace qal::math;

// Too small a buffer keeps the least significant bytes.
uint32_t qaltorbase256(uint8_t *b, uint32_t size, const qald *x)
{
    const uint32_t count = written_bytes(qalbitlen(x, 8), size);
    const uint8_t *bytes = reinterpret_cast<const uint8_t *>(x + 1);
    uint32_t written = 0;
    for (; count - written >= 8; written += 8)
        qal::base::store_le64(b + written, qal::base::load_le64(bytes + written));
    for (; written < count; written++)
        b[written] = bytes[written];
    return count;
}
