// Kuznyechik with AVX-512 VBMI and GFNI: 64 blocks at a time in counter mode, and one or four
// blocks in one register. No address and no branch depends on key or data.
#include "base/gfni.hpp"
#include "ru/kuznyechik_gfni.hpp"
#include "ru/kuznyechik_kernels.hpp"
#include "ru/kuznyechik_sliced.hpp"
#include "ru/pi.hpp"

#include <immintrin.h>

namespace qal::ru {

namespace {

struct alignas(64) Table256 {
    uint8_t part[4][64];
};

constexpr Table256 make_pi()
{
    Table256 t{};
    for (int x = 0; x < 256; x++)
        t.part[x / 64][x % 64] = gost_pi[x];
    return t;
}

__m512i load(const void *p)
{
    return _mm512_loadu_si512(p);
}

__m512i add(__m512i a, __m512i b)
{
    return _mm512_xor_si512(a, b);
}

__m512i add(__m512i a, __m512i b, __m512i c)
{
    return _mm512_ternarylogic_epi64(a, b, c, 0x96);
}

// The index has seven bits; the eighth chooses between the halves.
[[gnu::always_inline]] inline __m512i look_up(const Table256 &table, __m512i v)
{
    const __m512i low = _mm512_permutex2var_epi8(load(table.part[0]), v, load(table.part[1]));
    const __m512i high = _mm512_permutex2var_epi8(load(table.part[2]), v, load(table.part[3]));
    return _mm512_mask_blend_epi8(_mm512_movepi8_mask(v), low, high);
}

constexpr Table256 pi = make_pi();

struct Vector {
    using Type = __m512i;
    static constexpr size_t size = 64;

    static Type load(const uint8_t *p) { return _mm512_loadu_si512(p); }
    static void store(uint8_t *p, Type v) { _mm512_storeu_si512(p, v); }
    static Type splat(uint32_t bytes) { return _mm512_set1_epi32(static_cast<int>(bytes)); }
    static Type add(Type a, Type b) { return _mm512_xor_epi32(a, b); }
    static Type both(Type a, Type b) { return _mm512_and_si512(a, b); }
    static Type plus(Type a, Type b) { return _mm512_add_epi8(a, b); }
    static Type less(Type a, Type b) { return _mm512_movm_epi8(_mm512_cmplt_epu8_mask(a, b)); }
    // Block 4p + q at position p of lane q.
    static Type positions()
    {
        const __m128i lane =
            _mm_setr_epi8(0, 4, 8, 12, 16, 20, 24, 28, 32, 36, 40, 44, 48, 52, 56, 60);
        return _mm512_add_epi8(_mm512_broadcast_i32x4(lane),
                               _mm512_set_epi64(0x0303030303030303, 0x0303030303030303,
                                                0x0202020202020202, 0x0202020202020202,
                                                0x0101010101010101, 0x0101010101010101, 0, 0));
    }
    static Type unpack_low(Type a, Type b) { return _mm512_unpacklo_epi8(a, b); }
    static Type unpack_high(Type a, Type b) { return _mm512_unpackhi_epi8(a, b); }

    static Type substitute(Type v) { return look_up(pi, v); }

    template<unsigned constant>
    static Type times(Type v)
    {
        constexpr uint64_t matrix = kuznyechik_matrix(constant);
        return _mm512_gf2p8affine_epi64_epi8(v, _mm512_set1_epi64(static_cast<long long>(matrix)),
                                             0);
    }

    template<typename Byte>
    [[gnu::always_inline]] static Type combine(const Byte &b)
    {
        // 0x94 = 0x85 + 0x10 + 0x01 saves a product of b(14). The newest byte has one of its own,
        // so that nothing but that and the last sum waits for it.
        const Type p85 = ru::add(b(2), b(12), b(14)), p10 = ru::add(b(3), b(11), b(14));
        const Type sum = ru::add(times<0x20>(add(b(1), b(13))), times<0xc2>(add(b(4), b(10))),
                                 times<0xc0>(add(b(5), b(9))));
        const Type rest = ru::add(times<0x85>(p85), times<0x10>(p10), times<0xfb>(b(7)));
        const Type plain = ru::add(b(6), b(8), b(15));
        return ru::add(ru::add(sum, rest, plain), b(14), times<0x94>(b(0)));
    }
};

// Single blocks. Multiplying every byte of a vector by a constant of its own is one instruction in
// the field of AES, GF(2)[x] / (x^8 + x^4 + x^3 + x + 1). With a root of this cipher's polynomial
// in that field, the isomorphism phi takes the whole computation there: the substitution becomes
// phi pi phi^-1 and L has images of its coefficients. Byte r of L is the sum over s of
// M(r, r - s) * y(r - s), sixteen products of rotated blocks: four registers of four.
constexpr unsigned aes_product(unsigned a, unsigned b)
{
    unsigned product = 0;
    for (; b != 0; b >>= 1) {
        if (b & 1)
            product ^= a;
        a = (a << 1) ^ (a & 0x80 ? 0x11b : 0);
    }
    return product;
}

struct Isomorphism {
    uint8_t image[256], origin[256];
};

constexpr Isomorphism make_isomorphism()
{
    Isomorphism phi{};
    for (unsigned root = 2; root < 256; root++) {
        unsigned powers[9] = {1};
        for (int k = 1; k < 9; k++)
            powers[k] = aes_product(powers[k - 1], root);
        if ((powers[8] ^ powers[7] ^ powers[6] ^ powers[1] ^ powers[0]) != 0)
            continue;
        for (unsigned x = 0; x < 256; x++) {
            unsigned image = 0;
            for (int k = 0; k < 8; k++)
                if (x >> k & 1)
                    image ^= powers[k];
            phi.image[x] = static_cast<uint8_t>(image);
            phi.origin[image] = static_cast<uint8_t>(x);
        }
        break;
    }
    return phi;
}

struct alignas(64) Constants {
    Table256 substitution, inverse;         // phi pi phi^-1 and its inverse
    uint8_t rotate[4][64];                  // lane n of register k: rotated by 4k + n
    uint8_t linear[4][64], backward[4][64]; // coefficients of L and of its inverse
    uint64_t phi, phi_inverse;
};

consteval Constants make_constants()
{
    const Isomorphism iso = make_isomorphism();
    Constants t{};
    t.phi = base::gfni_matrix([&](unsigned b) { return iso.image[1U << b]; });
    t.phi_inverse = base::gfni_matrix([&](unsigned b) { return iso.origin[1U << b]; });
    for (unsigned x = 0; x < 256; x++) {
        const unsigned from = iso.image[x], to = iso.image[gost_pi[x]];
        t.substitution.part[from / 64][from % 64] = static_cast<uint8_t>(to);
        t.inverse.part[to / 64][to % 64] = static_cast<uint8_t>(from);
    }
    for (int i = 0; i < 16; i++) {
        KuznyechikBlock unit{};
        unit.byte[i] = 1;
        const KuznyechikBlock column = kuznyechik_L(unit), inverse = kuznyechik_L_inverse(unit);
        for (int r = 0; r < 16; r++) {
            const int s = (r - i) & 15, at = 16 * (s % 4) + r;
            t.rotate[s / 4][at] = static_cast<uint8_t>(i);
            t.linear[s / 4][at] = iso.image[column.byte[r]];
            t.backward[s / 4][at] = iso.image[inverse.byte[r]];
        }
    }
    return t;
}

constexpr Constants constants = make_constants();

// A block and a round key are given to all four lanes.
__m512i load_block(const uint8_t *p)
{
    return _mm512_broadcast_i32x4(_mm_loadu_si128(reinterpret_cast<const __m128i *>(p)));
}

void store_block(uint8_t *p, __m512i v)
{
    _mm_storeu_si128(reinterpret_cast<__m128i *>(p), _mm512_castsi512_si128(v));
}

__m512i into_field(__m512i v)
{
    return _mm512_gf2p8affine_epi64_epi8(
        v, _mm512_set1_epi64(static_cast<long long>(constants.phi)), 0);
}

__m512i out_of_field(__m512i v)
{
    return _mm512_gf2p8affine_epi64_epi8(
        v, _mm512_set1_epi64(static_cast<long long>(constants.phi_inverse)), 0);
}

// L or its inverse, plus a key.
[[gnu::always_inline]] inline __m512i linear(const uint8_t (&coefficients)[4][64], __m512i y,
                                             __m512i key)
{
    const auto product = [&](int k) {
        return _mm512_gf2p8mul_epi8(_mm512_shuffle_epi8(y, load(constants.rotate[k])),
                                    load(coefficients[k]));
    };
    __m512i sum = add(add(product(0), product(1), product(2)), product(3));
    // The sum of the four lanes, in each of them.
    sum = add(sum, _mm512_shuffle_i64x2(sum, sum, _MM_SHUFFLE(1, 0, 3, 2)));
    return add(sum, _mm512_shuffle_i64x2(sum, sum, _MM_SHUFFLE(2, 3, 0, 1)), key);
}

// Of one of the tables of sixteen rotations or products, the one with index s.
[[gnu::always_inline]] inline __m512i in_every_lane(const uint8_t (&of)[4][64], int s)
{
    return load_block(of[s / 4] + 16 * (s % 4));
}

// Four blocks, one in each lane: every lane needs all sixteen products, and no sum across lanes.
void encrypt_four(uint8_t *blocks, const uint8_t *rk)
{
    __m512i a = into_field(add(load(blocks), load_block(rk)));
#pragma GCC unroll 1
    for (int i = 1; i < 10; i++) {
        const __m512i y = look_up(constants.substitution, a);
        const auto product = [&](int s) {
            return _mm512_gf2p8mul_epi8(_mm512_shuffle_epi8(y, in_every_lane(constants.rotate, s)),
                                        in_every_lane(constants.linear, s));
        };
        __m512i even = into_field(load_block(rk + 16 * i)), odd = _mm512_setzero_si512();
#pragma GCC unroll 4
        for (int s = 0; s < 16; s += 4) {
            even = add(even, product(s), product(s + 2));
            odd = add(odd, product(s + 1), product(s + 3));
        }
        a = add(even, odd);
    }
    _mm512_storeu_si512(blocks, out_of_field(a));
}

} // namespace

void kuzn_block_enc_avx512(uint8_t *block, const uint8_t *rk)
{
    __m512i a = into_field(add(load_block(block), load_block(rk)));
#pragma GCC unroll 1
    for (int i = 1; i < 10; i++)
        a = linear(constants.linear, look_up(constants.substitution, a),
                   into_field(load_block(rk + 16 * i)));
    store_block(block, out_of_field(a));
}

void kuznyechik_block_dec_avx512(uint8_t *block, const uint8_t *rk)
{
    __m512i a = into_field(add(load_block(block), load_block(rk + 16 * 9)));
#pragma GCC unroll 1
    for (int i = 8; i >= 0; i--) {
        a = linear(constants.backward, a, _mm512_setzero_si512());
        a = add(look_up(constants.inverse, a), into_field(load_block(rk + 16 * i)));
    }
    store_block(block, out_of_field(a));
}

void kuzn_setup_keys_avx512(uint8_t *rk, const uint8_t *key)
{
    __m512i a1 = load_block(key), a0 = load_block(key + 16);
    store_block(rk, a1);
    store_block(rk + 16, a0);
    a1 = into_field(a1);
    a0 = into_field(a0);
    // C_i is L of the block with i in byte 15.
    const __m512i last_byte =
        _mm512_broadcast_i32x4(_mm_set_epi8(-1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
#pragma GCC unroll 1
    for (int i = 1; i <= 32; i++) {
        const __m512i number =
            into_field(_mm512_and_si512(last_byte, _mm512_set1_epi8(static_cast<char>(i))));
        const __m512i c = linear(constants.linear, number, _mm512_setzero_si512());
        const __m512i next =
            linear(constants.linear, look_up(constants.substitution, add(a1, c)), a0);
        a0 = a1;
        a1 = next;
        if (i % 8 == 0) {
            store_block(rk + 4 * i, out_of_field(a1));
            store_block(rk + 4 * i + 16, out_of_field(a0));
        }
    }
}

void kuznyechik_ctr_blocks_avx512(const uint8_t *rk, uint32_t *counter, const uint8_t *in,
                                  uint8_t *out, size_t blocks)
{
    constexpr size_t enough = 17;
    sliced_ctr_blocks<Vector, enough, 4>(rk, counter, in, out, blocks, kuzn_block_enc_avx512,
                                         encrypt_four);
}

} // namespace qal::ru
