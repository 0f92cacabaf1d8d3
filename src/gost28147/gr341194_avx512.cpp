// The step function of GOST R 34.11-94 with AVX-512 VBMI: the four encryptions of a step are the
// four words of a register. No address depends on the message.
#include "base/wipe.hpp"
#include "gost28147/g28147_avx512.hpp"
#include "gost28147/gr341194_kernels.hpp"
#include "gost28147/gr341194_words.hpp"

#include <qal/g28147.h>

namespace qal::gost {

namespace {

struct alignas(64) NibbleImages {
    uint8_t low[64], high[64];
};

// The tables of CryptoPro_uz, which nearly everybody uses, need no looking at.
consteval NibbleImages make_cryptopro_images()
{
    NibbleImages t{};
    for (int place = 0; place < 4; place++) {
        for (int n = 0; n < 16; n++) {
            t.low[16 * place + n] = cryptopro_rows[2 * place][n];
            t.high[16 * place + n] = static_cast<uint8_t>(cryptopro_rows[2 * place + 1][n] << 4);
        }
    }
    return t;
}

constexpr NibbleImages cryptopro_images = make_cryptopro_images();

__m256i as_vector(const Words &w)
{
    return _mm256_set_epi64x(static_cast<long long>(w.x[3]), static_cast<long long>(w.x[2]),
                             static_cast<long long>(w.x[1]), static_cast<long long>(w.x[0]));
}

// (x1, x2, x3, x0 ^ x1)
__m256i A(__m256i x)
{
    const __m256i rotated = _mm256_permute4x64_epi64(x, _MM_SHUFFLE(0, 3, 2, 1));
    return _mm256_xor_si256(rotated, _mm256_maskz_permutex_epi64(0x8, x, _MM_SHUFFLE(1, 1, 1, 1)));
}

// Twice A: (x2, x3, x0 ^ x1, x1 ^ x2)
__m256i AA(__m256i x)
{
    const __m256i rotated = _mm256_permute4x64_epi64(x, _MM_SHUFFLE(1, 0, 3, 2));
    return _mm256_xor_si256(rotated, _mm256_maskz_permutex_epi64(0xc, x, _MM_SHUFFLE(2, 1, 1, 1)));
}

// Round keys i of the four encryptions, for i = 0..3 or 4..7: byte k of word i of a key is byte 8k
// + i of its W, by P. The four W stand in two registers.
struct KeyPlaces {
    alignas(64) uint8_t at[2][64];
};

consteval KeyPlaces make_key_places()
{
    KeyPlaces p{};
    for (int i = 0; i < 8; i++)
        for (int n = 0; n < 4; n++)
            for (int k = 0; k < 4; k++)
                p.at[i / 4][16 * (i % 4) + 4 * n + k] = static_cast<uint8_t>(32 * n + 8 * k + i);
    return p;
}

constexpr KeyPlaces key_places = make_key_places();

// The tables in halves: permutations of 256-bit registers answer sooner than those of 512 bits.
struct HalvedTables {
    __m256i low[2], high[2];
};

HalvedTables halved(const NibbleTables &tables)
{
    return {{_mm512_castsi512_si256(tables.low), _mm512_extracti64x4_epi64(tables.low, 1)},
            {_mm512_castsi512_si256(tables.high), _mm512_extracti64x4_epi64(tables.high, 1)}};
}

[[gnu::always_inline]] inline __m128i key_round(__m128i a, __m128i b, __m128i key,
                                                const HalvedTables &tables)
{
    const __m128i nibble = _mm_set1_epi32(0x0f0f0f0f), place = _mm_set1_epi32(0x30201000);
    const __m128i sum = _mm_add_epi32(a, key);
    const __m128i low = _mm_ternarylogic_epi32(place, sum, nibble, 0xf8);
    const __m128i high = _mm_ternarylogic_epi32(place, _mm_srli_epi32(sum, 4), nibble, 0xf8);
    const __m256i low_image =
        _mm256_permutex2var_epi8(tables.low[0], _mm256_castsi128_si256(low), tables.low[1]);
    const __m256i high_image =
        _mm256_permutex2var_epi8(tables.high[0], _mm256_castsi128_si256(high), tables.high[1]);
    return _mm_rol_epi32(_mm_ternarylogic_epi32(_mm_ror_epi32(b, 11),
                                                _mm256_castsi256_si128(low_image),
                                                _mm256_castsi256_si128(high_image), 0x1e),
                         11);
}

void run(uint8_t *H, const uint8_t *blocks, size_t n, const NibbleTables &whole)
{
    const HalvedTables tables = halved(whole);
    Words h = load_words(H);
    for (; n > 0; n--, blocks += 32) {
        const Words m = load_words(blocks);
        __m256i U = as_vector(h), V = as_vector(m);
        const __m256i u = U;
        const __m256i w0 = _mm256_xor_si256(U, V);
        U = A(U);
        V = AA(V);
        const __m256i w1 = _mm256_xor_si256(U, V);
        U = _mm256_xor_si256(A(U), as_vector(C3));
        V = AA(V);
        const __m256i w2 = _mm256_xor_si256(U, V);
        U = A(U);
        V = AA(V);
        const __m256i w3 = _mm256_xor_si256(U, V);
        const __m512i w01 = _mm512_inserti64x4(_mm512_castsi256_si512(w0), w1, 1);
        const __m512i w23 = _mm512_inserti64x4(_mm512_castsi256_si512(w2), w3, 1);
        const __m512i keys03 = _mm512_permutex2var_epi8(w01, load(key_places.at[0]), w23);
        const __m512i keys47 = _mm512_permutex2var_epi8(w01, load(key_places.at[1]), w23);
        const __m128i key[8] = {
            _mm512_castsi512_si128(keys03),       _mm512_extracti32x4_epi32(keys03, 1),
            _mm512_extracti32x4_epi32(keys03, 2), _mm512_extracti32x4_epi32(keys03, 3),
            _mm512_castsi512_si128(keys47),       _mm512_extracti32x4_epi32(keys47, 1),
            _mm512_extracti32x4_epi32(keys47, 2), _mm512_extracti32x4_epi32(keys47, 3)};

        // N1 and N2 of the four words of H.
        __m128i a = _mm256_cvtepi64_epi32(u);
        __m128i b = _mm256_cvtepi64_epi32(_mm256_srli_epi64(u, 32));
#pragma GCC unroll 1
        for (int pass = 0; pass < 3; pass++) {
            b = key_round(a, b, key[0], tables);
            a = key_round(b, a, key[1], tables);
            b = key_round(a, b, key[2], tables);
            a = key_round(b, a, key[3], tables);
            b = key_round(a, b, key[4], tables);
            a = key_round(b, a, key[5], tables);
            b = key_round(a, b, key[6], tables);
            a = key_round(b, a, key[7], tables);
        }
        b = key_round(a, b, key[7], tables);
        a = key_round(b, a, key[6], tables);
        b = key_round(a, b, key[5], tables);
        a = key_round(b, a, key[4], tables);
        b = key_round(a, b, key[3], tables);
        a = key_round(b, a, key[2], tables);
        b = key_round(a, b, key[1], tables);
        a = key_round(b, a, key[0], tables);
        // The last round does not exchange the halves.
        const __m128i s01 = _mm_unpacklo_epi32(b, a), s23 = _mm_unpackhi_epi32(b, a);
        h = mixed(h, m,
                  {{static_cast<uint64_t>(_mm_cvtsi128_si64(s01)),
                    static_cast<uint64_t>(_mm_extract_epi64(s01, 1)),
                    static_cast<uint64_t>(_mm_cvtsi128_si64(s23)),
                    static_cast<uint64_t>(_mm_extract_epi64(s23, 1))}});
    }
    store_words(H, h);
}

} // namespace

static void steps(uint8_t *H, const uint8_t *blocks, size_t n, const uint32_t *kext)
{
    // Fewer steps through another table are done before it has been looked at.
    constexpr size_t enough = 3;
    if (kext == CryptoPro_uz)
        run(H, blocks, n, {load(cryptopro_images.low), load(cryptopro_images.high)});
    else if (n >= enough && has_nibbles(kext))
        run(H, blocks, n, make_tables(kext));
    else
        gr341194_steps_portable(H, blocks, n, kext);
}

void gr341194_steps_avx512(uint8_t *H, const uint8_t *blocks, size_t n, const uint32_t *kext)
{
    base::run_on_wiped_stack<3072>([=] { steps(H, blocks, n, kext); });
}

} // namespace qal::gost
