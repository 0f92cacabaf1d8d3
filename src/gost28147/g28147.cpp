// The block cipher of GOST 28147-89 (RFC 5830): its tables and its cycles.
#include <qal/g28147.h>

#include "base/lists.hpp"
#include "gost28147/g28147_round.hpp"
#include "gost28147/g28147_sbox.hpp"

#include <stddef.h>

using namespace qal::gost;

// K1 acts on bits 3..0, so that the nibbles of byte t from the top have rows 8 - 2t and 7 - 2t.
static consteval uint32_t cryptopro_entry(int t, int b)
{
    return g28147_entry(t, cryptopro_rows[7 - 2 * t][b >> 4], cryptopro_rows[6 - 2 * t][b & 15]);
}

#define TABLE(t) QAL_LIST_256(cryptopro_entry, t)

alignas(64) const uint32_t CryptoPro_uz[1024] = {TABLE(0), TABLE(1), TABLE(2), TABLE(3)};

#define FORWARD 0, 1, 2, 3, 4, 5, 6, 7
#define BACKWARD 7, 6, 5, 4, 3, 2, 1, 0

const uint8_t OrderEnc[32] = {FORWARD, FORWARD, FORWARD, BACKWARD};
const uint8_t OrderEncr[32] = {FORWARD, FORWARD, FORWARD, BACKWARD};
const uint8_t OrderDec[32] = {FORWARD, BACKWARD, BACKWARD, BACKWARD};
const uint8_t OrderDecr[32] = {FORWARD, BACKWARD, BACKWARD, BACKWARD};

extern "C" {

uint32_t *g28147_make_kext(uint32_t *kext, const uint8_t *sbox)
{
    uint8_t all = 0;
    for (size_t i = 0; i < 128; i++)
        all |= sbox[i];
    if (all >= 16)
        return nullptr;
    for (int t = 0; t < 4; t++)
        for (int b = 0; b < 256; b++)
            kext[256 * t + b] =
                g28147_entry(t, sbox[8 * (b >> 4) + 2 * t], sbox[8 * (b & 15) + 2 * t + 1]);
    return kext;
}

uint32_t g28147_32Steps(uint32_t a, uint32_t b, const uint32_t *rk, const uint32_t *kext,
                        uint32_t *ra, uint32_t *rb)
{
    g28147_cycle32(a, b, rk, kext);
    *ra = a;
    *rb = b;
    return a;
}

void g28147_16Steps(uint32_t a, uint32_t b, const uint32_t *rk, const uint32_t *kext, uint32_t *ra,
                    uint32_t *rb)
{
    g28147_cycle16(a, b, rk, kext);
    *ra = a;
    *rb = b;
}
}
