// Products and squares with PCLMULQDQ, in words of 64 bits. Shapes and aliasing are as in
// qal2poly.h. Constant time.
#include "ua/clmul.hpp"
#include "ua/kernels.hpp"

namespace qal::ua {

namespace {

// Keeps the compiler from holding stored words in registers, too: it would run out of registers and
// spill parts of the product to the stack.
QAL_CLMUL void settle()
{
    __asm__ volatile("" : : : "memory");
}

QAL_CLMUL __m128i load2(const qal2d *words)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(words));
}

QAL_CLMUL void store2(qal2d *words, __m128i a)
{
    _mm_storeu_si128(reinterpret_cast<__m128i *>(words), a);
}

QAL_CLMUL void add2(qal2d *words, __m128i a)
{
    store2(words, sum_of(load2(words), a));
}

template<unsigned halves>
QAL_CLMUL void multiply(qal2d *r, const qal2d *a, const qal2d *b)
{
    constexpr unsigned words = (halves + 1) / 2;
    __m128i u[(words + 1) / 2], v[(words + 1) / 2], product[words];
    load_words<halves>(u, a);
    load_words<halves>(v, b);
    if constexpr (words == 3)
        multiply3(product, u, v);
    else
        multiply4(product, u, v);
    store_words<2 * halves>(r, product);
}

// Nine halves: a product of four words each, plus the products with the ninth halves.
QAL_CLMUL void multiply9(qal2d *r, const qal2d *a, const qal2d *b)
{
    multiply<8>(r, a, b);
    const __m128i a4 = _mm_loadu_si32(a + 8), b4 = _mm_loadu_si32(b + 8);
    _mm_storel_epi64(reinterpret_cast<__m128i *>(r + 16), QAL_CLMUL_WORDS(a4, 0, b4, 0));
    unroll<2>([&](auto i) QAL_INLINED {
        settle();
        const __m128i u = load2(a + 4 * i()), v = load2(b + 4 * i());
        const __m128i even = sum_of(QAL_CLMUL_WORDS(u, 0, b4, 0), QAL_CLMUL_WORDS(v, 0, a4, 0)),
                      odd = sum_of(QAL_CLMUL_WORDS(u, 1, b4, 0), QAL_CLMUL_WORDS(v, 1, a4, 0));
        add2(r + 8 + 4 * i(), even);
        settle();
        add2(r + 10 + 4 * i(), odd);
    });
}

// Fourteen halves: multiply7 with its intermediate results in r.
QAL_CLMUL void multiply14(qal2d *r, const qal2d *a, const qal2d *b)
{
    multiply<8>(r, a, b);
    settle();
    multiply<6>(r + 16, a + 8, b + 8);
    settle();
    __m128i u[2], v[2], middle[4];
    u[0] = sum_of(load2(a), load2(a + 8));
    v[0] = sum_of(load2(b), load2(b + 8));
    u[1] = sum_of(load2(a + 4), _mm_loadl_epi64(reinterpret_cast<const __m128i *>(a + 12)));
    v[1] = sum_of(load2(b + 4), _mm_loadl_epi64(reinterpret_cast<const __m128i *>(b + 12)));
    multiply4(middle, u, v);
    settle();
    const __m128i low = sum_of(load2(r + 8), load2(r + 16)),
                  high = sum_of(load2(r + 12), load2(r + 20));
    store2(r + 8, sum_of(low, load2(r), middle[0]));
    store2(r + 12, sum_of(high, load2(r + 4), middle[1]));
    store2(r + 16, sum_of(low, load2(r + 24), middle[2]));
    store2(r + 20, sum_of(high, middle[3]));
}

template<unsigned halves>
QAL_CLMUL void square(qal2d *r, const qal2d *a)
{
    constexpr unsigned registers = (halves + 3) / 4;
    __m128i u[registers], product[2 * registers];
    load_words<halves>(u, a);
    unroll<registers>([&](auto i) QAL_INLINED { square2(product + 2 * i(), u[i()]); });
    store_words<2 * halves>(r, product);
}

} // namespace

void pmult160x160_avx2_pclmul(qal2d *r, const qal2d *a, const qal2d *b)
{
    multiply<5>(r, a, b);
}

void pmult192x192_avx2_pclmul(qal2d *r, const qal2d *a, const qal2d *b)
{
    multiply<6>(r, a, b);
}

void pmult224x224_avx2_pclmul(qal2d *r, const qal2d *a, const qal2d *b)
{
    multiply<7>(r, a, b);
}

void pmult256x256_avx2_pclmul(qal2d *r, const qal2d *a, const qal2d *b)
{
    multiply<8>(r, a, b);
}

void pmult288x288_avx2_pclmul(qal2d *r, const qal2d *a, const qal2d *b)
{
    multiply9(r, a, b);
}

void pmult448x448_avx2_pclmul(qal2d *r, const qal2d *a, const qal2d *b)
{
    multiply14(r, a, b);
}

void qal_pmult257_avx2_pclmul(qal2d *r, const qal2d *a, const qal2d *b)
{
    const __m128i a_top = _mm_set1_epi32(static_cast<int>(0 - a[8])),
                  b_top = _mm_set1_epi32(static_cast<int>(0 - b[8]));
    const qal2d both = a[8] & b[8];
    __m128i u[2], v[2], product[4];
    load_words<8>(u, a);
    load_words<8>(v, b);
    multiply4(product, u, v);
    for (unsigned i = 0; i < 2; i++)
        product[2 + i] =
            sum_of(product[2 + i], _mm_and_si128(a_top, v[i]), _mm_and_si128(b_top, u[i]));
    store_words<16>(r, product);
    r[16] = (r[16] & (both - 1)) | both;
}

void psqr192x192_avx2_pclmul(qal2d *r, const qal2d *a)
{
    square<6>(r, a);
}

void psqr288x288_avx2_pclmul(qal2d *r, const qal2d *a)
{
    square<9>(r, a);
}

void psqr448x448_avx2_pclmul(qal2d *r, const qal2d *a)
{
    square<14>(r, a);
}

} // namespace qal::ua
