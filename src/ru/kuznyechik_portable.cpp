// Kuznyechik by tables of 256 bytes, for every x86-64 processor. No table of 128-bit entries is
// used: its 64 KiB would push a program's data out of the first-level cache.
#include "base/wipe.hpp"
#include "ru/kuznyechik_kernels.hpp"
#include "ru/kuznyechik_sliced.hpp"

#include <emmintrin.h>

namespace qal::ru {

namespace {

// The value that R appends to the sixteen bytes at b, wherever its caller says they begin.
template<typename Bytes>
[[gnu::always_inline]] inline uint8_t combined(const Bytes &b)
{
    return static_cast<uint8_t>(tab_0x94[b(0) ^ b(14)] ^ tab_0x20[b(1) ^ b(13)] ^
                                tab_0x85[b(2) ^ b(12)] ^ tab_0x10[b(3) ^ b(11)] ^
                                tab_0xC2[b(4) ^ b(10)] ^ tab_0xC0[b(5) ^ b(9)] ^ b(6) ^
                                tab_0xFB[b(7)] ^ b(8) ^ b(15));
}

// L. The bytes stay where they are and the numbering moves: in step t byte i is at (i - t) mod 16.
// The palindrome of coefficients lets two bytes share a look-up.
[[gnu::always_inline]] inline void linear(uint8_t *a)
{
#pragma GCC unroll 16
    for (int t = 0; t < 16; t++)
        a[15 - t] = combined([&](int i) { return a[(i - t) & 15]; });
}

// The inverse: the bytes 0 to 14 before a step are in place after it, and byte 15 is the sum of
// their products and of the byte that stands for it.
[[gnu::always_inline]] inline void linear_inverse(uint8_t *a)
{
#pragma GCC unroll 16
    for (int t = 15; t >= 0; t--)
        a[15 - t] ^= combined([&](int i) { return i == 15 ? uint8_t{0} : a[(i - t) & 15]; });
}

[[gnu::always_inline]] inline void add(uint8_t *a, const uint8_t *b)
{
    for (size_t i = 0; i < 16; i++)
        a[i] ^= b[i];
}

[[gnu::always_inline]] inline void substitute(uint8_t *a, const uint8_t (&table)[256])
{
    for (size_t i = 0; i < 16; i++)
        a[i] = table[a[i]];
}

// Sixteen blocks in the registers that every x86-64 processor has.
struct Sse2 {
    using Type = __m128i;
    static constexpr size_t size = 16;

    static Type load(const uint8_t *p)
    {
        return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
    }
    static void store(uint8_t *p, Type v) { _mm_storeu_si128(reinterpret_cast<__m128i *>(p), v); }
    static Type splat(uint32_t bytes) { return _mm_set1_epi32(static_cast<int>(bytes)); }
    static Type add(Type a, Type b) { return _mm_xor_si128(a, b); }
    static Type both(Type a, Type b) { return _mm_and_si128(a, b); }
    static Type plus(Type a, Type b) { return _mm_add_epi8(a, b); }
    static Type less(Type a, Type b)
    {
        const Type top = splat(0x80808080);
        return _mm_cmplt_epi8(add(a, top), add(b, top));
    }
    static Type positions()
    {
        return _mm_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    }
    static Type unpack_low(Type a, Type b) { return _mm_unpacklo_epi8(a, b); }
    static Type unpack_high(Type a, Type b) { return _mm_unpackhi_epi8(a, b); }

    static Type substitute(Type v)
    {
        alignas(16) uint8_t bytes[16];
        store(bytes, v);
        for (uint8_t &byte : bytes)
            byte = kuz_pi[byte];
        return load(bytes);
    }

    // Times x: bytes whose top bit goes out are reduced.
    static Type doubled(Type v)
    {
        const Type out = _mm_cmplt_epi8(v, _mm_setzero_si128());
        return add(_mm_add_epi8(v, v), both(out, splat(0xc3c3c3c3)));
    }

    // Horner's rule over the bits of the coefficients, from x^7 down.
    template<typename Byte>
    [[gnu::always_inline]] static Type combine(const Byte &b)
    {
        const Type p94 = add(b(0), b(14));
        const Type p20 = add(b(1), b(13)), p85 = add(b(2), b(12)), p10 = add(b(3), b(11)),
                   pc2 = add(b(4), b(10)), pc0 = add(b(5), b(9)), pfb = b(7),
                   p01 = add(add(b(6), b(8)), b(15));
        const Type p94_85 = add(p94, p85);
        const Type pc2_c0_fb = add(add(pc2, pc0), pfb);
        const Type pfb_20 = add(pfb, p20), pfb_c2 = add(pfb, pc2);
        Type sum = add(pc2_c0_fb, p94_85);
        sum = add(doubled(sum), pc2_c0_fb);
        sum = add(doubled(sum), pfb_20);
        sum = add(doubled(sum), add(add(p94, p10), pfb));
        sum = add(doubled(sum), pfb);
        sum = add(doubled(sum), p94_85);
        sum = add(doubled(sum), pfb_c2);
        return add(doubled(sum), add(add(p85, pfb), p01));
    }
};

} // namespace

// What the compiler keeps on the stack of blocks and keys.
constexpr size_t depth = 512;

static void encrypt(uint8_t *block, const uint8_t *rk)
{
    uint8_t a[16];
    memcpy(a, block, 16);
    for (int i = 0; i < 9; i++, rk += 16) {
        add(a, rk);
        substitute(a, kuz_pi);
        linear(a);
    }
    add(a, rk);
    memcpy(block, a, 16);
    qal::base::wipe(a, sizeof a);
}

static void decrypt(uint8_t *block, const uint8_t *rk)
{
    uint8_t a[16];
    memcpy(a, block, 16);
    rk += 16 * 9;
    add(a, rk);
    for (int i = 0; i < 9; i++) {
        rk -= 16;
        linear_inverse(a);
        substitute(a, kuz_pi_inv);
        add(a, rk);
    }
    memcpy(block, a, 16);
    qal::base::wipe(a, sizeof a);
}

static void setup_keys(uint8_t *rk, const uint8_t *key)
{
    struct {
        uint8_t a1[16], a0[16], sum[16], constant[16];
    } s;
    memcpy(s.a1, key, 16);
    memcpy(s.a0, key + 16, 16);
    memcpy(rk, s.a1, 16);
    memcpy(rk + 16, s.a0, 16);
    for (uint8_t i = 1; i <= 32; i++) {
        memset(s.constant, 0, sizeof s.constant);
        s.constant[15] = i;
        linear(s.constant);
        memcpy(s.sum, s.a1, sizeof s.sum);
        add(s.sum, s.constant);
        substitute(s.sum, kuz_pi);
        linear(s.sum);
        add(s.sum, s.a0);
        memcpy(s.a0, s.a1, sizeof s.a0);
        memcpy(s.a1, s.sum, sizeof s.a1);
        if (i % 8 == 0) {
            memcpy(rk + 4 * i, s.a1, 16);
            memcpy(rk + 4 * i + 16, s.a0, 16);
        }
    }
    qal::base::wipe(&s, sizeof s);
}

void kuzn_block_enc_portable(uint8_t *block, const uint8_t *rk)
{
    qal::base::run_on_wiped_stack<depth>([=] { encrypt(block, rk); });
}

void kuznyechik_block_dec_portable(uint8_t *block, const uint8_t *rk)
{
    qal::base::run_on_wiped_stack<depth>([=] { decrypt(block, rk); });
}

void kuzn_setup_keys_portable(uint8_t *rk, const uint8_t *key)
{
    qal::base::run_on_wiped_stack<depth>([=] { setup_keys(rk, key); });
}

void kuznyechik_ctr_blocks_portable(const uint8_t *rk, uint32_t *counter, const uint8_t *in,
                                    uint8_t *out, size_t blocks)
{
    constexpr size_t enough = 5;
    sliced_ctr_blocks<Sse2, enough>(rk, counter, in, out, blocks, kuzn_block_enc_portable);
}

} // namespace qal::ru
