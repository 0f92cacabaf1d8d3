// Kuznyechik's counter mode with AVX2, 32 blocks at a time: no address depends on key or data.
#include "ru/kuznyechik_avx2.hpp"

#include "ru/kuznyechik_kernels.hpp"
#include "ru/kuznyechik_sliced.hpp"

namespace qal::ru {

namespace {

consteval uint8_t left_behind()
{
    unsigned sum = 0;
    for (int k = 0; k < 7; k++)
        sum ^= kuznyechik_product(0xc3, 1U << k);
    return static_cast<uint8_t>(sum);
}

// Products by 0x94 of the nibbles of a byte; one of them brings along what doubled() leaves behind.
struct NibbleProducts {
    SixteenBytes low, high;
};

consteval NibbleProducts make_times_94()
{
    NibbleProducts t{};
    for (unsigned n = 0; n < 16; n++) {
        t.low.byte[n] = kuznyechik_product(n, 0x94) ^ left_behind();
        t.high.byte[n] = kuznyechik_product(n << 4, 0x94);
    }
    return t;
}

constexpr NibbleProducts times_94 = make_times_94();

struct Vector : Avx2 {
    // Times x, plus 0xc3 in every byte: the shuffle gives the reduction where the top bit is clear.
    static Type doubled(Type v)
    {
        return add(_mm256_add_epi8(v, v), _mm256_shuffle_epi8(splat(0xc3c3c3c3), v));
    }

    // Horner's rule over the bits of the coefficients, from x^7 down. The seven constants that
    // doubled() leaves behind add up to one.
    template<typename Byte>
    [[gnu::always_inline]] static Type combine(const Byte &b)
    {
        const Type p94 = b(14);
        const Type p20 = add(b(1), b(13)), p85 = add(b(2), b(12)), p10 = add(b(3), b(11)),
                   pc2 = add(b(4), b(10)), pc0 = add(b(5), b(9)), pfb = b(7),
                   p01 = add(add(b(6), b(8)), b(15));
        const Type p94_85 = add(p94, p85);
        const Type pc2_c0_fb = add(add(pc2, pc0), pfb);
        Type sum = add(pc2_c0_fb, p94_85);
        sum = add(doubled(sum), pc2_c0_fb);
        sum = add(doubled(sum), add(pfb, p20));
        sum = add(doubled(sum), add(add(p94, p10), pfb));
        sum = add(doubled(sum), pfb);
        sum = add(doubled(sum), p94_85);
        sum = add(doubled(sum), add(pfb, pc2));
        sum = add(doubled(sum), add(add(p85, pfb), p01));
        // Horner's rule takes long; the newest byte goes through two tables instead.
        const Type nibble = splat(0x0f0f0f0f), newest = b(0);
        const Type low = pi_look_up(times_94.low, both(newest, nibble));
        const Type high = pi_look_up(times_94.high, both(_mm256_srli_epi16(newest, 4), nibble));
        return add(add(sum, low), high);
    }
};

} // namespace

void kuznyechik_ctr_blocks_avx2(const uint8_t *rk, uint32_t *counter, const uint8_t *in,
                                uint8_t *out, size_t blocks)
{
    constexpr size_t enough = 4;
    sliced_ctr_blocks<Vector, enough>(rk, counter, in, out, blocks, kuzn_block_enc_portable);
}

} // namespace qal::ru
