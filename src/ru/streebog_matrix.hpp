// The linear map L and the iteration constants of GOST R 34.11-2012 (RFC 6986, sections 6.4, 6.5)
// in the forms from which every Streebog kernel's tables are computed by the compiler.
#pragma once

#include "base/gfni.hpp"

#include <stdint.h>

namespace qal::ru {

// Every eighth row of the standard's 64x64 binary matrix A, as printed. L multiplies the vector of
// the word's eight bytes by an MDS matrix over GF(2)[x]/(x^8 + x^6 + x^5 + x^4 + 1), where x^0 is
// the most significant bit of a byte. A row 8i is the i-th column of that matrix (its first byte
// has the field's element 0x71, printed mirrored as 0x8e) and each of the seven rows after it is
// x times the row before, byte by byte. The remaining 56 rows therefore need no listing.
inline constexpr uint64_t streebog_a8[8] = {
    0x8e20faa72ba0b470, 0xa011d380818e8f40, 0x90dab52a387ae76f, 0x9d4df05d5f661451,
    0x86275df09ce8aaa8, 0x456c34887a3805b9, 0xe4fa2054a80b329c, 0x70a6a56e2440598e,
};

// x * b for each byte b of the word: x^8 = x^6 + x^5 + x^4 + 1 is 0x8e in the mirrored order.
constexpr uint64_t streebog_mulx(uint64_t bytes)
{
    const uint64_t low = 0x0101010101010101;
    return ((bytes >> 1) & ~(low << 7)) ^ (bytes & low) * 0x8e;
}

// Row n of A, n = 0..63: the image under L of the word whose only bit is 63 - n.
constexpr uint64_t streebog_a_row(int n)
{
    uint64_t row = streebog_a8[n / 8];
    for (int i = 0; i < n % 8; i++)
        row = streebog_mulx(row);
    return row;
}

static_assert(streebog_a_row(0) == 0x8e20faa72ba0b470 && streebog_a_row(1) == 0x47107ddd9b505a38);
static_assert(streebog_a_row(7) == 0x83478b07b2468764 && streebog_a_row(8) == 0xa011d380818e8f40);
static_assert(streebog_a_row(56) == 0x70a6a56e2440598e && streebog_a_row(63) == 0x641c314b2b8ee083);

// The 8x8 block of A by which byte i of a word contributes to byte r of its image, for
// GF2P8AFFINEQB.
consteval uint64_t streebog_block(int r, int i)
{
    return base::gfni_matrix([=](unsigned b) {
        return streebog_a_row(63 - (8 * i + static_cast<int>(b))) >> (8 * r) & 0xff;
    });
}

// C1..C12, most significant word first, as the standard prints them.
inline constexpr uint64_t streebog_c_words[12][8] = {
    {0xb1085bda1ecadae9, 0xebcb2f81c0657c1f, 0x2f6a76432e45d016, 0x714eb88d7585c4fc,
     0x4b7ce09192676901, 0xa2422a08a460d315, 0x05767436cc744d23, 0xdd806559f2a64507},
    {0x6fa3b58aa99d2f1a, 0x4fe39d460f70b5d7, 0xf3feea720a232b98, 0x61d55e0f16b50131,
     0x9ab5176b12d69958, 0x5cb561c2db0aa7ca, 0x55dda21bd7cbcd56, 0xe679047021b19bb7},
    {0xf574dcac2bce2fc7, 0x0a39fc286a3d8435, 0x06f15e5f529c1f8b, 0xf2ea7514b1297b7b,
     0xd3e20fe490359eb1, 0xc1c93a376062db09, 0xc2b6f443867adb31, 0x991e96f50aba0ab2},
    {0xef1fdfb3e81566d2, 0xf948e1a05d71e4dd, 0x488e857e335c3c7d, 0x9d721cad685e353f,
     0xa9d72c82ed03d675, 0xd8b71333935203be, 0x3453eaa193e837f1, 0x220cbebc84e3d12e},
    {0x4bea6bacad474799, 0x9a3f410c6ca92363, 0x7f151c1f1686104a, 0x359e35d7800fffbd,
     0xbfcd1747253af5a3, 0xdfff00b723271a16, 0x7a56a27ea9ea63f5, 0x601758fd7c6cfe57},
    {0xae4faeae1d3ad3d9, 0x6fa4c33b7a3039c0, 0x2d66c4f95142a46c, 0x187f9ab49af08ec6,
     0xcffaa6b71c9ab7b4, 0x0af21f66c2bec6b6, 0xbf71c57236904f35, 0xfa68407a46647d6e},
    {0xf4c70e16eeaac5ec, 0x51ac86febf240954, 0x399ec6c7e6bf87c9, 0xd3473e33197a93c9,
     0x0992abc52d822c37, 0x06476983284a0504, 0x3517454ca23c4af3, 0x8886564d3a14d493},
    {0x9b1f5b424d93c9a7, 0x03e7aa020c6e4141, 0x4eb7f8719c36de1e, 0x89b4443b4ddbc49a,
     0xf4892bcb929b0690, 0x69d18d2bd1a5c42f, 0x36acc2355951a8d9, 0xa47f0dd4bf02e71e},
    {0x378f5a541631229b, 0x944c9ad8ec165fde, 0x3a7d3a1b25894224, 0x3cd955b7e00d0984,
     0x800a440bdbb2ceb1, 0x7b2b8a9aa6079c54, 0x0e38dc92cb1f2a60, 0x7261445183235adb},
    {0xabbedea680056f52, 0x382ae548b2e4f3f3, 0x8941e71cff8a78db, 0x1fffe18a1b336103,
     0x9fe76702af69334b, 0x7a1e6c303b7652f4, 0x3698fad1153bb6c3, 0x74b4c7fb98459ced},
    {0x7bcd9ed0efc889fb, 0x3002c6cd635afe94, 0xd8fa6bbbebab0761, 0x2001802114846679,
     0x8a1d71efea48b9ca, 0xefbacd1d7d476e98, 0xdea2594ac06fd85d, 0x6bcaa4cd81f32d1b},
    {0x378ee767f11631ba, 0xd21380b00449b17a, 0xcda43c32bcdf1d77, 0xf82012d430219f9b,
     0x5d80ef9d1891cc86, 0xe71da4aa88e12852, 0xfaf417d5d9b21b99, 0x48bc924af11bd720},
};

// Byte k, k = 0 least significant, of C(i + 1).
consteval uint8_t streebog_c_byte(int i, int k)
{
    return uint8_t(streebog_c_words[i][7 - k / 8] >> (8 * (k % 8)));
}

} // namespace qal::ru
