// Kuznyechik's exported tables, computed by the compiler from the standard's definitions.
#include <qal/kuzn.h>

#include "base/lists.hpp"
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

alignas(64) const uint8_t kuz_pi[256] = {QAL_LIST_256(pi, 0)};
alignas(64) const uint8_t kuz_pi_inv[256] = {QAL_LIST_256(pi_inverse, 0)};
alignas(64) const uint8_t tab_0x94[256] = {QAL_LIST_256(product, 0x94)};
alignas(64) const uint8_t tab_0x20[256] = {QAL_LIST_256(product, 0x20)};
alignas(64) const uint8_t tab_0x85[256] = {QAL_LIST_256(product, 0x85)};
alignas(64) const uint8_t tab_0x10[256] = {QAL_LIST_256(product, 0x10)};
alignas(64) const uint8_t tab_0xC2[256] = {QAL_LIST_256(product, 0xc2)};
alignas(64) const uint8_t tab_0xC0[256] = {QAL_LIST_256(product, 0xc0)};
alignas(64) const uint8_t tab_0x01[256] = {QAL_LIST_256(product, 0x01)};
alignas(64) const uint8_t tab_0xFB[256] = {QAL_LIST_256(product, 0xfb)};
