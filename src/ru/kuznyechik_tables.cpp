// Kuznyechik's exported tables, computed by the compiler from the standard's definitions.
#include <qal/kuzn.h>

#include "ru/kuznyechik_field.hpp"
#include "ru/pi.hpp"

using namespace qal::ru;

static consteval uint8_t pi(int, int x)
{
    return gost_pi[x];
}

static consteval uint8_t pi_inverse(int, int x)
{
    int y = 0;
    while (gost_pi[y] != x)
        y++;
    return static_cast<uint8_t>(y);
}

static consteval uint8_t product(int c, int x)
{
    return kuznyechik_product(static_cast<unsigned>(x), static_cast<unsigned>(c));
}

// An array's initialiser cannot come from a function, so its calls are spelt out here.
#define LIST_4(f, c, x) f(c, x), f(c, (x) + 1), f(c, (x) + 2), f(c, (x) + 3)
#define LIST_16(f, c, x)                                                                           \
    LIST_4(f, c, x), LIST_4(f, c, (x) + 4), LIST_4(f, c, (x) + 8), LIST_4(f, c, (x) + 12)
#define LIST_64(f, c, x)                                                                           \
    LIST_16(f, c, x), LIST_16(f, c, (x) + 16), LIST_16(f, c, (x) + 32), LIST_16(f, c, (x) + 48)
#define LIST_256(f, c)                                                                             \
    {                                                                                              \
        LIST_64(f, c, 0), LIST_64(f, c, 64), LIST_64(f, c, 128), LIST_64(f, c, 192)                \
    }

alignas(64) const uint8_t kuz_pi[256] = LIST_256(pi, 0);
alignas(64) const uint8_t kuz_pi_inv[256] = LIST_256(pi_inverse, 0);
alignas(64) const uint8_t tab_0x94[256] = LIST_256(product, 0x94);
alignas(64) const uint8_t tab_0x20[256] = LIST_256(product, 0x20);
alignas(64) const uint8_t tab_0x85[256] = LIST_256(product, 0x85);
alignas(64) const uint8_t tab_0x10[256] = LIST_256(product, 0x10);
alignas(64) const uint8_t tab_0xC2[256] = LIST_256(product, 0xc2);
alignas(64) const uint8_t tab_0xC0[256] = LIST_256(product, 0xc0);
alignas(64) const uint8_t tab_0x01[256] = LIST_256(product, 0x01);
alignas(64) const uint8_t tab_0xFB[256] = LIST_256(product, 0xfb);
