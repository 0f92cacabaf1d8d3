// Carry-less products and squares of single words, by integer arithmetic without tables. Constant
// time.
#ifndef QAL_UA_WORDS_HPP
#define QAL_UA_WORDS_HPP

#include <stdint.h>

namespace qal::ua {

// The product of two polynomials of 32 coefficients, by integer products. Each operand is split
// into four parts, each with every fourth bit. In a product of two such parts at most eight ones
// are added at one place, and the sum (at most 4 bits) fits into this place and the three empty
// ones above it.
[[gnu::always_inline]] static inline uint64_t product32(uint32_t a, uint32_t b)
{
    constexpr uint32_t every = 0x11111111;
    uint64_t x[4], y[4];
    for (unsigned i = 0; i < 4; i++) {
        x[i] = a & every << i;
        y[i] = b & every << i;
    }
    uint64_t product = 0;
    for (unsigned i = 0; i < 4; i++) {
        uint64_t sum = 0;
        for (unsigned j = 0; j < 4; j++)
            sum ^= x[j] * y[(i - j) & 3];
        product |= sum & uint64_t{0x1111111111111111} << i;
    }
    return product;
}

// The square of a polynomial of 32 coefficients: bit i goes to bit 2i.
[[gnu::always_inline]] static inline uint64_t square32(uint32_t a)
{
    uint64_t x = a;
    x = (x | x << 16) & 0x0000ffff0000ffff;
    x = (x | x << 8) & 0x00ff00ff00ff00ff;
    x = (x | x << 4) & 0x0f0f0f0f0f0f0f0f;
    x = (x | x << 2) & 0x3333333333333333;
    return (x | x << 1) & 0x5555555555555555;
}

} // namespace qal::ua

#endif
