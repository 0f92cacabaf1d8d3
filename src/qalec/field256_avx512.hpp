// Arithmetic modulo p = 2^256 - c with c below 2^40, by AVX-512 IFMA: four numbers at a time, side
// by side in the lanes of five registers of 52 bits each.
#ifndef QAL_QALEC_FIELD256_AVX512_HPP
#define QAL_QALEC_FIELD256_AVX512_HPP

#include "qalec/field256.hpp"

#include <immintrin.h>

namespace qal::ec {
namespace {

constexpr int limbs = 5;
constexpr uint64_t low52 = ~uint64_t{0} >> 12, low48 = ~uint64_t{0} >> 16;

// Four numbers of five limbs. Normalised, each limb is below 2^52, as multiplication needs it; the
// number may be any below 2^260, to which p leaves four bits of room. Raw limbs are signed, and
// come from sums of normalised numbers and products; what they add up to must not be negative.
//
// Bounds are given in units of 2^256 + 2^216 or so, which is what a product is below. One unit is
// not below p: where n units are subtracted, (n + 1) p are added.
struct F4 {
    __m256i limb[limbs];
};

template<int a, int b, int c, int d>
[[gnu::always_inline]] inline F4 permute(const F4 &x)
{
    F4 r;
#pragma GCC unroll 10
    for (int i = 0; i < limbs; i++)
        r.limb[i] = _mm256_permute4x64_epi64(x.limb[i], a | b << 2 | c << 4 | d << 6);
    return r;
}

// The lanes of y whose bits are set, and the others of x.
template<int lanes>
[[gnu::always_inline]] inline F4 blend(const F4 &x, const F4 &y)
{
    F4 r;
#pragma GCC unroll 10
    for (int i = 0; i < limbs; i++)
        r.limb[i] = _mm256_mask_mov_epi64(x.limb[i], lanes, y.limb[i]);
    return r;
}

// Only in those lanes: x + y, x - y.
template<int lanes>
[[gnu::always_inline]] inline F4 add(const F4 &x, const F4 &y)
{
    F4 r;
#pragma GCC unroll 10
    for (int i = 0; i < limbs; i++)
        r.limb[i] = _mm256_mask_add_epi64(x.limb[i], lanes, x.limb[i], y.limb[i]);
    return r;
}

template<int lanes>
[[gnu::always_inline]] inline F4 sub(const F4 &x, const F4 &y)
{
    F4 r;
#pragma GCC unroll 10
    for (int i = 0; i < limbs; i++)
        r.limb[i] = _mm256_mask_sub_epi64(x.limb[i], lanes, x.limb[i], y.limb[i]);
    return r;
}

template<int lanes>
[[gnu::always_inline]] inline F4 negative(const F4 &x)
{
    F4 r;
#pragma GCC unroll 10
    for (int i = 0; i < limbs; i++)
        r.limb[i] = _mm256_mask_sub_epi64(x.limb[i], lanes, _mm256_setzero_si256(), x.limb[i]);
    return r;
}

constexpr int all = 15;

[[gnu::always_inline]] inline F4 normalised(const F4 &x)
{
    const __m256i mask = _mm256_set1_epi64x(low52);
    F4 r = x;
#pragma GCC unroll 10
    for (int i = 0; i + 1 < limbs; i++) {
        r.limb[i + 1] = _mm256_add_epi64(r.limb[i + 1], _mm256_srai_epi64(r.limb[i], 52));
        r.limb[i] = _mm256_and_si256(r.limb[i], mask);
    }
    return r;
}

[[gnu::always_inline]] inline F4 splat(const Fe &x)
{
    const uint64_t v[limbs] = {x.d[0] & low52, (x.d[0] >> 52 | x.d[1] << 12) & low52,
                               (x.d[1] >> 40 | x.d[2] << 24) & low52,
                               (x.d[2] >> 28 | x.d[3] << 36) & low52, x.d[3] >> 16};
    F4 r;
#pragma GCC unroll 10
    for (int i = 0; i < limbs; i++)
        r.limb[i] = _mm256_set1_epi64x(static_cast<int64_t>(v[i]));
    return r;
}

struct Field4 {
    __m256i c, sixteen_c;

    explicit Field4(uint64_t digit)
        : c(_mm256_set1_epi64x(static_cast<int64_t>(digit))),
          sixteen_c(_mm256_set1_epi64x(static_cast<int64_t>(16 * digit)))
    {
    }

    static bool has_room_for(uint64_t digit) { return digit < uint64_t{1} << 40; }

    // That many times p, by lanes.
    [[nodiscard]] F4 multiples(uint64_t w, uint64_t x, uint64_t y, uint64_t z) const
    {
        const __m256i times = _mm256_set_epi64x(static_cast<int64_t>(z), static_cast<int64_t>(y),
                                                static_cast<int64_t>(x), static_cast<int64_t>(w));
        const __m256i middle = _mm256_set1_epi64x(low52);
        return {{_mm256_mullo_epi64(times, _mm256_sub_epi64(_mm256_set1_epi64x(low52 + 1), c)),
                 _mm256_mullo_epi64(times, middle), _mm256_mullo_epi64(times, middle),
                 _mm256_mullo_epi64(times, middle),
                 _mm256_mullo_epi64(times, _mm256_set1_epi64x(low48))}};
    }

    // Raw, of normalised factors.
    [[gnu::always_inline]] F4 mul(const F4 &x, const F4 &y) const
    {
        const __m256i zero = _mm256_setzero_si256();
        // Digit k of the product is low[k] + high[k], less than 10 * 2^52.
        __m256i low[2 * limbs], high[2 * limbs], t[2 * limbs];
#pragma GCC unroll 10
        for (int k = 0; k < 2 * limbs; k++)
            low[k] = high[k] = zero;
#pragma GCC unroll 10
        for (int i = 0; i < limbs; i++) {
#pragma GCC unroll 10
            for (int j = 0; j < limbs; j++) {
                low[i + j] = _mm256_madd52lo_epu64(low[i + j], x.limb[i], y.limb[j]);
                high[i + j + 1] = _mm256_madd52hi_epu64(high[i + j + 1], x.limb[i], y.limb[j]);
            }
        }
#pragma GCC unroll 10
        for (int k = 0; k < 2 * limbs; k++)
            t[k] = _mm256_add_epi64(low[k], high[k]);

            // 2^260 is worth 16 c. What digits have beyond 52 bits counts for the next one.
#pragma GCC unroll 10
        for (int k = 0; k <= limbs; k++)
            low[k] = high[k] = zero;
#pragma GCC unroll 10
        for (int k = 0; k < limbs; k++) {
            const __m256i digit = t[k + limbs], beyond = _mm256_srli_epi64(digit, 52);
            low[k] = _mm256_madd52lo_epu64(t[k], digit, sixteen_c);
            high[k + 1] = _mm256_madd52hi_epu64(zero, digit, sixteen_c);
            if (k + 1 < limbs) // the highest has nothing beyond
                t[k + 1] = _mm256_madd52lo_epu64(t[k + 1], beyond, sixteen_c);
        }
        F4 r;
#pragma GCC unroll 10
        for (int k = 0; k < limbs; k++)
            r.limb[k] = _mm256_add_epi64(low[k], high[k]);

        // And 2^256 is worth c. What is above it, with digit 5 on top, is less than 2^49.
        const __m256i top =
            _mm256_add_epi64(_mm256_srli_epi64(r.limb[4], 48), _mm256_slli_epi64(high[limbs], 4));
        r.limb[4] = _mm256_and_si256(r.limb[4], _mm256_set1_epi64x(low48));
        r.limb[0] = _mm256_madd52lo_epu64(r.limb[0], top, c);
        r.limb[1] = _mm256_madd52hi_epu64(r.limb[1], top, c);
        return r;
    }

    // A lane of a normalised number as an element of SpecialField.
    [[nodiscard]] Fe lane(const F4 &x, int index) const
    {
        alignas(32) uint64_t v[limbs][4], digit[4];
#pragma GCC unroll 10
        for (int i = 0; i < limbs; i++)
            _mm256_store_si256(reinterpret_cast<__m256i *>(v[i]), x.limb[i]);
        _mm256_store_si256(reinterpret_cast<__m256i *>(digit), c);
        const uint64_t l[limbs] = {v[0][index], v[1][index], v[2][index], v[3][index],
                                   v[4][index] & low48};
        Fe r = {{l[0] | l[1] << 52, l[1] >> 12 | l[2] << 40, l[2] >> 24 | l[3] << 28,
                 l[3] >> 36 | l[4] << 16}};
        SpecialField f;
        f.c = digit[0];
        f.add(r, r, {{(v[4][index] >> 48) * f.c, 0, 0, 0}});
        return r;
    }
};

} // namespace
} // namespace qal::ec

#endif
