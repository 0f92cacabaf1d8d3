// Kuznyechik's counter mode with AVX2 and GFNI, 32 blocks at a time: no address depends on key or
// data.
#include "ru/kuznyechik_avx2.hpp"
#include "ru/kuznyechik_gfni.hpp"
#include "ru/kuznyechik_kernels.hpp"
#include "ru/kuznyechik_sliced.hpp"

namespace qal::ru {

namespace {

struct Vector : Avx2 {
    template<unsigned constant>
    static Type times(Type v)
    {
        constexpr uint64_t matrix = kuznyechik_matrix(constant);
        return _mm256_gf2p8affine_epi64_epi8(v, _mm256_set1_epi64x(static_cast<long long>(matrix)),
                                             0);
    }

    template<typename Byte>
    [[gnu::always_inline]] static Type combine(const Byte &b)
    {
        const Type p94 = add(b(0), b(14));
        const Type p20 = add(b(1), b(13)), p85 = add(b(2), b(12)), p10 = add(b(3), b(11)),
                   pc2 = add(b(4), b(10)), pc0 = add(b(5), b(9)), pfb = b(7),
                   p01 = add(add(b(6), b(8)), b(15));
        const Type sum =
            add(add(times<0x20>(p20), times<0x85>(p85)), add(times<0x10>(p10), times<0xc2>(pc2)));
        const Type rest = add(add(times<0xc0>(pc0), times<0xfb>(pfb)), p01);
        // The newest byte comes last.
        return add(add(sum, rest), times<0x94>(p94));
    }
};

} // namespace

void kuznyechik_ctr_blocks_avx2_gfni(const uint8_t *rk, uint32_t *counter, const uint8_t *in,
                                     uint8_t *out, size_t blocks)
{
    constexpr size_t enough = 3;
    sliced_ctr_blocks<Vector, enough>(rk, counter, in, out, blocks, kuzn_block_enc_portable);
}

} // namespace qal::ru
