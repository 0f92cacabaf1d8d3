// Products and squares with PCLMULQDQ, in words of 64 bits.
#include "ua/clmul.hpp"
#include "ua/kernels.hpp"

namespace qal::ua {

namespace {

template<unsigned halves>
QAL_CLMUL void multiply(qal2d *r, const qal2d *a, const qal2d *b)
{
    constexpr unsigned words = (halves + 1) / 2;
    __m128i u[(words + 1) / 2], v[(words + 1) / 2], product[words];
    load_words<halves>(u, a);
    load_words<halves>(v, b);
    if constexpr (words == 3)
        multiply3(product, u, v);
    else if constexpr (words == 4)
        multiply4(product, u, v);
    else if constexpr (words == 5)
        multiply5(product, u, v);
    else
        multiply7(product, u, v);
    store_words<2 * halves>(r, product);
}

template<unsigned halves>
QAL_CLMUL void square(qal2d *r, const qal2d *a)
{
    constexpr unsigned registers = (halves + 3) / 4;
    __m128i u[registers], product[2 * registers];
    load_words<halves>(u, a);
    for (unsigned i = 0; i < registers; i++)
        square2(product + 2 * i, u[i]);
    store_words<2 * halves>(r, product);
}

} // namespace

void pmult160x160_pclmul(qal2d *r, const qal2d *a, const qal2d *b)
{
    multiply<5>(r, a, b);
}

void pmult192x192_pclmul(qal2d *r, const qal2d *a, const qal2d *b)
{
    multiply<6>(r, a, b);
}

void pmult224x224_pclmul(qal2d *r, const qal2d *a, const qal2d *b)
{
    multiply<7>(r, a, b);
}

void pmult256x256_pclmul(qal2d *r, const qal2d *a, const qal2d *b)
{
    multiply<8>(r, a, b);
}

void pmult288x288_pclmul(qal2d *r, const qal2d *a, const qal2d *b)
{
    multiply<9>(r, a, b);
}

void pmult448x448_pclmul(qal2d *r, const qal2d *a, const qal2d *b)
{
    multiply<14>(r, a, b);
}

void qal_pmult257_pclmul(qal2d *r, const qal2d *a, const qal2d *b)
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

void psqr192x192_pclmul(qal2d *r, const qal2d *a)
{
    square<6>(r, a);
}

void psqr288x288_pclmul(qal2d *r, const qal2d *a)
{
    square<9>(r, a);
}

void psqr448x448_pclmul(qal2d *r, const qal2d *a)
{
    square<14>(r, a);
}

} // namespace qal::ua
