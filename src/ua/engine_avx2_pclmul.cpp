// Engines with PCLMULQDQ: elements in registers of two words. Shapes, aliasing and timing are as in
// engine.hpp.
#include "ua/clmul.hpp"
#include "ua/engine_body.hpp"

namespace qal::ua {

namespace {

// The representation F of engine_body.hpp, but for the product and the reduction of a field, which
// D has.
template<const FieldPolynomial &field, typename D>
struct Registers {
    static constexpr const FieldPolynomial &f = field;
    static constexpr unsigned halves = f.halves(), size = (halves + 3) / 4;

    struct E {
        __m128i v[size];
    };

    QAL_CLMUL E load(const qal2d *words)
    {
        E r;
        load_words<halves>(r.v, words);
        return r;
    }

    QAL_CLMUL void store(qal2d *words, const E &a) { store_words<halves>(words, a.v); }

    QAL_CLMUL E load_reduced(const qal2d *words)
    {
        uint64_t x[2 * f.words()] = {};
        memcpy(x, words, halves * sizeof *words);
        reduce<f>(x);
        qal2d r[QAL2P_SIZE + 1];
        memcpy(r, x, halves * sizeof *r);
        return load(r);
    }

    QAL_CLMUL E add(const E &a, const E &b)
    {
        E r;
        unroll<size>([&](auto i) QAL_INLINED { r.v[i()] = sum_of(a.v[i()], b.v[i()]); });
        return r;
    }

    QAL_CLMUL E mul(const E &a, const E &b)
    {
        __m128i product[2 * size];
        D::product(product, a.v, b.v);
        E r;
        D::reduced(r.v, product);
        return r;
    }

    QAL_CLMUL E sqr(const E &a)
    {
        __m128i product[2 * size];
        unroll<size>([&](auto i) QAL_INLINED { square2(product + 2 * i(), a.v[i()]); });
        E r;
        D::reduced(r.v, product);
        return r;
    }

    QAL_CLMUL uint64_t is_zero(const E &a)
    {
        __m128i any = a.v[0];
        unroll<size>([&](auto i) QAL_INLINED { any = _mm_or_si128(any, a.v[i()]); });
        return 0 - static_cast<uint64_t>(_mm_testz_si128(any, any));
    }

    QAL_CLMUL E masked(const E &a, uint64_t mask)
    {
        E r;
        const __m128i both = _mm_set1_epi64x(static_cast<long long>(mask));
        unroll<size>([&](auto i) QAL_INLINED { r.v[i()] = _mm_and_si128(a.v[i()], both); });
        return r;
    }
};

// The words from x^192 on are folded by x^192 = x^29 (x^7 + x^6 + x^3 + 1), and so on for the
// higher ones. The topmost word has 5 bits, so its image stays below x^192. The 29 bits from x^163
// on are folded last.
struct Field163 {
    QAL_CLMUL void product(__m128i *r, const __m128i *a, const __m128i *b) { multiply3(r, a, b); }

    QAL_CLMUL void reduced(__m128i *r, const __m128i *c)
    {
        const __m128i k = _mm_cvtsi64_si128(0xc9LL << 29);
        const __m128i w3 = QAL_CLMUL_WORDS(c[1], 1, k, 0), w4 = QAL_CLMUL_WORDS(c[2], 0, k, 0),
                      w5 = QAL_CLMUL_WORDS(c[2], 1, k, 0);
        const __m128i top = sum_of(c[1], w5, word_down(w4));
        const __m128i rest = _mm_srli_epi64(low_word(top), 35);
        r[0] = sum_of(c[0], w3, word_up(w4));
        r[0] = sum_of(sum_of(r[0], rest), sum_of(_mm_slli_epi64(rest, 3), _mm_slli_epi64(rest, 6)),
                      _mm_slli_epi64(rest, 7));
        r[1] = _mm_and_si128(top, _mm_cvtsi64_si128((1LL << 35) - 1));
    }
};

// The words from x^192 on are folded by x^192 = x (x^9 + 1). The image of the topmost word reaches
// beyond x^192 by up to 7 bits. These and the bit at x^191 are folded last.
struct Field191 {
    QAL_CLMUL void product(__m128i *r, const __m128i *a, const __m128i *b) { multiply3(r, a, b); }

    QAL_CLMUL void reduced(__m128i *r, const __m128i *c)
    {
        const __m128i k = _mm_cvtsi64_si128(0x201LL << 1);
        const __m128i w3 = QAL_CLMUL_WORDS(c[1], 1, k, 0), w4 = QAL_CLMUL_WORDS(c[2], 0, k, 0),
                      w5 = QAL_CLMUL_WORDS(c[2], 1, k, 0);
        const __m128i top = sum_of(low_word(c[1]), w5, word_down(w4));
        const __m128i rest =
            sum_of(_mm_srli_epi64(low_word(top), 63), _mm_slli_epi64(word_down(top), 1));
        r[0] = sum_of(sum_of(c[0], w3, word_up(w4)), rest, _mm_slli_epi64(rest, 9));
        r[1] = _mm_and_si128(top, _mm_cvtsi64_si128(0x7fffffffffffffff));
    }
};

// The third register of an element holds only the coefficient of x^256. The bits from x^257 on, h,
// are folded to h (x^12 + 1), whose top 11 bits are folded once more.
struct Field257 {
    QAL_CLMUL void product(__m128i *r, const __m128i *a, const __m128i *b)
    {
        const __m128i zero = _mm_setzero_si128();
        const __m128i a_top = _mm_sub_epi64(zero, _mm_unpacklo_epi64(a[2], a[2])),
                      b_top = _mm_sub_epi64(zero, _mm_unpacklo_epi64(b[2], b[2]));
        multiply4(r, a, b);
        r[2] = sum_of(r[2], _mm_and_si128(a_top, b[0]), _mm_and_si128(b_top, a[0]));
        r[3] = sum_of(r[3], _mm_and_si128(a_top, b[1]), _mm_and_si128(b_top, a[1]));
        r[4] = _mm_and_si128(a[2], b[2]);
    }

    QAL_CLMUL void reduced(__m128i *r, const __m128i *c)
    {
        const __m128i h0 = _mm_or_si128(_mm_srli_epi64(c[2], 1),
                                        _mm_slli_epi64(straddled(c[2], c[3]), 63)),
                      h1 = _mm_or_si128(_mm_srli_epi64(c[3], 1),
                                        _mm_slli_epi64(straddled(c[3], c[4]), 63));
        // h x^12: g below x^256, and the bits above.
        const __m128i g0 = sum_of(_mm_slli_epi64(h0, 12), _mm_srli_epi64(word_up(h0), 52)),
                      g1 = sum_of(_mm_slli_epi64(h1, 12), _mm_srli_epi64(straddled(h0, h1), 52)),
                      above = _mm_srli_epi64(word_down(h1), 52);
        const __m128i rest = _mm_srli_epi64(above, 1);
        r[0] = sum_of(sum_of(c[0], h0, g0), rest, _mm_slli_epi64(rest, 12));
        r[1] = sum_of(c[1], h1, g1);
        r[2] = _mm_and_si128(sum_of(c[2], above), _mm_cvtsi64_si128(1));
    }
};

// The words from x^448 on are folded by x^448 = x^17 (x^5 + x^3 + x + 1). The topmost word has 29
// bits, so its image stays below x^448. The 17 bits from x^431 on are folded last.
struct Field431 {
    QAL_CLMUL void product(__m128i *r, const __m128i *a, const __m128i *b) { multiply7(r, a, b); }

    QAL_CLMUL void reduced(__m128i *r, const __m128i *c)
    {
        const __m128i k = _mm_cvtsi64_si128(0x2bLL << 17);
        const __m128i w7 = QAL_CLMUL_WORDS(c[3], 1, k, 0), w8 = QAL_CLMUL_WORDS(c[4], 0, k, 0),
                      w9 = QAL_CLMUL_WORDS(c[4], 1, k, 0), w10 = QAL_CLMUL_WORDS(c[5], 0, k, 0),
                      w11 = QAL_CLMUL_WORDS(c[5], 1, k, 0), w12 = QAL_CLMUL_WORDS(c[6], 0, k, 0),
                      w13 = QAL_CLMUL_WORDS(c[6], 1, k, 0);
        const __m128i top = low_word(sum_of(c[3], w13, word_down(w12)));
        const __m128i rest = _mm_srli_epi64(top, 47);
        r[0] = sum_of(sum_of(c[0], w7, word_up(w8)), sum_of(rest, _mm_slli_epi64(rest, 1)),
                      sum_of(_mm_slli_epi64(rest, 3), _mm_slli_epi64(rest, 5)));
        r[1] = sum_of(c[1], w9, straddled(w8, w10));
        r[2] = sum_of(c[2], w11, straddled(w10, w12));
        r[3] = _mm_and_si128(top, _mm_cvtsi64_si128((1LL << 47) - 1));
    }
};

using Engines = EnginesOver<Registers<field163, Field163>, Registers<field191, Field191>,
                            Registers<field257, Field257>, Registers<field431, Field431>>;

} // namespace

const Engine *engines_avx2_pclmul()
{
    return Engines::list;
}

} // namespace qal::ua
