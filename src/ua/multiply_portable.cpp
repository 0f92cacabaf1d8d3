// Products by Karatsuba's method and squares, in words of 32 bits, for any x86-64. Shapes and
// aliasing are as in qal2poly.h. Constant time.
#include "base/wipe.hpp"
#include "ua/kernels.hpp"
#include "ua/words.hpp"

namespace qal::ua {

namespace {

// Operands of n words are split into l low words and h high ones, h <= l; with a = a0 + a1 x^32l,
//   a b = a0 b0 + ((a0 + a1)(b0 + b1) + a0 b0 + a1 b1) x^32l + a1 b1 x^64l.
template<unsigned n>
void multiply(qal2d *r, const qal2d *a, const qal2d *b)
{
    if constexpr (n == 1) {
        const uint64_t product = product32(a[0], b[0]);
        r[0] = static_cast<qal2d>(product);
        r[1] = static_cast<qal2d>(product >> 32);
    } else {
        constexpr unsigned l = (n + 1) / 2, h = n / 2;
        qal2d u[l], v[l], middle[2 * l];
        for (unsigned i = 0; i < l; i++) {
            u[i] = a[i] ^ (i < h ? a[l + i] : 0);
            v[i] = b[i] ^ (i < h ? b[l + i] : 0);
        }
        multiply<l>(middle, u, v);
        multiply<l>(r, a, b);
        multiply<h>(r + 2 * l, a + l, b + l);
        for (unsigned i = 0; i < 2 * l; i++)
            middle[i] ^= r[i] ^ (i < 2 * h ? r[2 * l + i] : 0);
        for (unsigned i = 0; i < 2 * l; i++) {
            // The middle product does not reach beyond the whole one.
            if (l + i < 2 * n)
                r[l + i] ^= middle[i];
        }
    }
}

// How deep the stack is at most below a product.
constexpr size_t product_stack = 640;

template<unsigned n>
void multiply_and_wipe(qal2d *r, const qal2d *a, const qal2d *b)
{
    base::run_on_wiped_stack<product_stack>([=] { multiply<n>(r, a, b); });
}

template<unsigned n>
void square(qal2d *r, const qal2d *a)
{
    for (unsigned i = n; i-- > 0;) { // downwards, because r may be a
        const uint64_t spread = square32(a[i]);
        r[2 * i] = static_cast<qal2d>(spread);
        r[2 * i + 1] = static_cast<qal2d>(spread >> 32);
    }
}

} // namespace

void pmult160x160_portable(qal2d *r, const qal2d *a, const qal2d *b)
{
    multiply_and_wipe<5>(r, a, b);
}

void pmult192x192_portable(qal2d *r, const qal2d *a, const qal2d *b)
{
    multiply_and_wipe<6>(r, a, b);
}

void pmult224x224_portable(qal2d *r, const qal2d *a, const qal2d *b)
{
    multiply_and_wipe<7>(r, a, b);
}

void pmult256x256_portable(qal2d *r, const qal2d *a, const qal2d *b)
{
    multiply_and_wipe<8>(r, a, b);
}

void pmult288x288_portable(qal2d *r, const qal2d *a, const qal2d *b)
{
    multiply_and_wipe<9>(r, a, b);
}

void pmult448x448_portable(qal2d *r, const qal2d *a, const qal2d *b)
{
    multiply_and_wipe<14>(r, a, b);
}

void qal_pmult257_portable(qal2d *r, const qal2d *a, const qal2d *b)
{
    base::run_on_wiped_stack<product_stack>([=] { pmult257_unwiped(r, a, b); });
}

void pmult192x192_unwiped(qal2d *r, const qal2d *a, const qal2d *b)
{
    multiply<6>(r, a, b);
}

void pmult448x448_unwiped(qal2d *r, const qal2d *a, const qal2d *b)
{
    multiply<14>(r, a, b);
}

void pmult257_unwiped(qal2d *r, const qal2d *a, const qal2d *b)
{
    // Top words are 0 or 1; as masks, 0 or all ones.
    const qal2d a_top = 0 - a[8], b_top = 0 - b[8];
    multiply<8>(r, a, b);
    for (unsigned i = 0; i < 8; i++)
        r[8 + i] ^= (b[i] & a_top) ^ (a[i] & b_top);
    const qal2d both = a_top & b_top;
    r[16] = (r[16] & ~both) | (both & 1);
}

void psqr192x192_portable(qal2d *r, const qal2d *a)
{
    square<6>(r, a);
}

void psqr288x288_portable(qal2d *r, const qal2d *a)
{
    square<9>(r, a);
}

void psqr448x448_portable(qal2d *r, const qal2d *a)
{
    square<14>(r, a);
}

} // namespace qal::ua
