// The linear parts of GOST R 34.11-94 on four words of 64 bits, least significant first.
#pragma once

#include "base/bytes.hpp"

#include <stdint.h>
#include <string.h>

namespace qal::gost {

namespace {

struct Words {
    uint64_t x[4];
};

// C3; C2 and C4 are zero.
constexpr Words C3 = {
    {0xff00ff00ff00ff00, 0x00ff00ff00ff00ff, 0xff0000ff00ffff00, 0xff00ffff000000ff}};

[[maybe_unused]] Words load_words(const uint8_t *in)
{
    return {{base::load_le64(in), base::load_le64(in + 8), base::load_le64(in + 16),
             base::load_le64(in + 24)}};
}

[[maybe_unused]] void store_words(uint8_t *out, const Words &w)
{
    memcpy(out, w.x, sizeof w.x);
}

Words operator^(const Words &a, const Words &b)
{
    return {{a.x[0] ^ b.x[0], a.x[1] ^ b.x[1], a.x[2] ^ b.x[2], a.x[3] ^ b.x[3]}};
}

[[maybe_unused]] Words A(const Words &w)
{
    return {{w.x[1], w.x[2], w.x[3], w.x[0] ^ w.x[1]}};
}

// psi on w0..w15, of 16 bits each, drops w0 and appends w0 ^ w1 ^ w2 ^ w3 ^ w12 ^ w15.
[[gnu::always_inline]] inline void psi(Words &w)
{
    const uint64_t low = w.x[0] ^ w.x[0] >> 16 ^ w.x[0] >> 32 ^ w.x[0] >> 48;
    const uint64_t last = low ^ w.x[3] ^ w.x[3] >> 48;
    w.x[0] = w.x[0] >> 16 | w.x[1] << 48;
    w.x[1] = w.x[1] >> 16 | w.x[2] << 48;
    w.x[2] = w.x[2] >> 16 | w.x[3] << 48;
    w.x[3] = w.x[3] >> 16 | last << 48;
}

// Four times psi. The terms but w15 of the four new words are there beforehand; w15 is the word
// before each, so that they are summed up along the word.
[[gnu::always_inline]] inline void psi4(Words &w)
{
    uint64_t next = w.x[0] ^ (w.x[0] >> 16 | w.x[1] << 48) ^ (w.x[0] >> 32 | w.x[1] << 32) ^
                    (w.x[0] >> 48 | w.x[1] << 16) ^ w.x[3];
    next ^= next << 16;
    next ^= next << 32;
    next ^= (w.x[3] >> 48) * 0x0001000100010001;
    w = {{w.x[1], w.x[2], w.x[3], next}};
}

// psi^61(H ^ psi(M ^ psi^12(S)))
[[maybe_unused]] Words mixed(const Words &H, const Words &M, Words w)
{
    psi4(w);
    psi4(w);
    psi4(w);
    w = w ^ M;
    psi(w);
    w = w ^ H;
    for (int i = 0; i < 15; i++)
        psi4(w);
    psi(w);
    return w;
}

} // namespace

} // namespace qal::gost
