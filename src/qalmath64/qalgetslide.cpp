#include <qal/qalmath64.h>

namespace {

uint64_t bit(const qald *e, uint64_t i)
{
    return e[i / 64 + 1] >> (i % 64) & 1;
}

} // namespace

uint64_t qalgetslide(const qald *e, uint64_t i, int64_t w, int64_t *len)
{
    const uint64_t bits = qalbitlen(e, 1), start = i;
    if (bits == 0) {
        *len = static_cast<int64_t>(start + 1);
        return 0;
    }
    if (i >= bits)
        i = bits - 1;
    // The highest bit that is set, at i or below it.
    uint64_t index = i / 64 + 1;
    qald digit = e[index] << (63 - i % 64) >> (63 - i % 64);
    while (digit == 0 && index > 1)
        digit = e[--index];
    if (digit == 0) {
        *len = static_cast<int64_t>(start + 1);
        return 0;
    }
    const uint64_t highest = 64 * index - 1 - static_cast<uint64_t>(__builtin_clzll(digit));
    if (highest < start) {
        *len = static_cast<int64_t>(start - highest);
        return 0;
    }

    uint64_t value = 1, result = 1;
    *len = 1;
    for (int64_t taken = 1; taken < w && i-- > 0;) {
        value = 2 * value + bit(e, i);
        taken++;
        if (value & 1) {
            *len = taken;
            result = value;
        }
    }
    return result;
}
