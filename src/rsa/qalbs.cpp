#include "base/require.hpp"

#include <qal/rsa.h>

static constexpr char qal_source[] = "../src/rsa/qalbs";

// What the operations answer where there is no such bit.
static constexpr uint32_t no_bit = 0xffffffff;

qald *qalbscr(qald *bs, int32_t l, uint64_t fill)
{
    const int64_t words = (int64_t{l} + 63) / 64;
    QAL_REQUIRE(words <= QALBIG_SIZE - 1,
                "l <= ((((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3)-1)");
    bs[0] = static_cast<qald>(words);
    for (int64_t i = 1; i <= words; i++)
        bs[i] = fill;
    return bs;
}

uint64_t qalbslen(const qald *bs)
{
    return 64 * bs[0];
}

uint32_t qalbssetbit(qald *bs, uint64_t i, uint32_t val)
{
    QAL_REQUIRE(val <= 1, "(val == 0) || (val == 1)");
    if (i / 64 >= bs[0])
        return no_bit;
    qald *const word = bs + i / 64 + 1;
    const qald bit = qald{1} << (i % 64);
    *word = val == 1 ? *word | bit : *word & ~bit;
    return val;
}

uint32_t qalbsnextval(const qald *bs, uint64_t i, int32_t v)
{
    if (v != 0 && v != 1)
        return no_bit;
    i++;
    // Bits of the value become ones, and the lowest one is it.
    const qald flip = v == 1 ? 0 : ~qald{0};
    qald wanted = ~qald{0} << (i % 64);
    for (uint64_t word = i / 64; word < bs[0]; word++, wanted = ~qald{0}) {
        wanted &= bs[word + 1] ^ flip;
        if (wanted != 0)
            return static_cast<uint32_t>(64 * word +
                                         static_cast<unsigned>(__builtin_ctzll(wanted)));
    }
    return no_bit;
}
