// The field and the linear maps of GOST R 34.12-2015 (RFC 7801, sections 4.2 to 4.4), from which
// the compiler makes every table.
#pragma once

#include <stdint.h>

namespace qal::ru {

// Product in GF(2)[x] / (x^8 + x^7 + x^6 + x + 1).
constexpr uint8_t kuznyechik_product(unsigned a, unsigned b)
{
    unsigned product = 0;
    for (; b != 0; b >>= 1) {
        if (b & 1)
            product ^= a;
        a <<= 1;
        if (a & 0x100)
            a ^= 0x1c3;
    }
    return static_cast<uint8_t>(product);
}

// The coefficients of R, of byte 0 (a15 of the standard) first. The first fifteen are a palindrome.
inline constexpr uint8_t kuznyechik_r[16] = {0x94, 0x20, 0x85, 0x10, 0xc2, 0xc0, 0x01, 0xfb,
                                             0x01, 0xc0, 0xc2, 0x10, 0x85, 0x20, 0x94, 0x01};

struct KuznyechikBlock {
    uint8_t byte[16];
};

constexpr KuznyechikBlock kuznyechik_L(KuznyechikBlock b)
{
    for (int step = 0; step < 16; step++) {
        unsigned l = 0;
        for (int i = 0; i < 16; i++)
            l ^= kuznyechik_product(b.byte[i], kuznyechik_r[i]);
        for (int i = 15; i > 0; i--)
            b.byte[i] = b.byte[i - 1];
        b.byte[0] = static_cast<uint8_t>(l);
    }
    return b;
}

constexpr KuznyechikBlock kuznyechik_L_inverse(KuznyechikBlock b)
{
    for (int step = 0; step < 16; step++) {
        unsigned l = b.byte[0];
        for (int i = 0; i < 15; i++) {
            l ^= kuznyechik_product(b.byte[i + 1], kuznyechik_r[i]);
            b.byte[i] = b.byte[i + 1];
        }
        b.byte[15] = static_cast<uint8_t>(l);
    }
    return b;
}

} // namespace qal::ru
