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

struct Vector : Avx2 {
    // Times x, plus 0xc3 in every byte: the shuffle gives the reduction where the top bit is clear.
    static Type doubled(Type v)
    {
        return add(_mm256_add_epi8(v, v), _mm256_shuffle_epi8(splat(0xc3c3c3c3), v));
    }

    // Horner's rule over the bits of the coefficients, from x^7 down. The seven constants that
    // doubled() leaves behind add up to one.
    static Type combine(Type p94, Type p20, Type p85, Type p10, Type pc2, Type pc0, Type pfb,
                        Type p01)
    {
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
        return add(sum, splat(left_behind() * 0x01010101U));
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
