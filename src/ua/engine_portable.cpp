// Engines for any x86-64: elements in words of 64 bits, and the portable products. Shapes, aliasing
// and timing are as in engine.hpp.
#include "ua/engine_body.hpp"
#include "ua/kernels.hpp"

namespace qal::ua {

namespace {

template<const FieldPolynomial &field, auto multiply, auto square>
struct Portable {
    static constexpr const FieldPolynomial &f = field;
    static constexpr unsigned n = f.words(), halves = f.halves();

    struct E {
        uint64_t w[n];
    };

    static E load(const qal2d *words)
    {
        E r = {};
        memcpy(r.w, words, halves * sizeof *words);
        return r;
    }

    static E load_reduced(const qal2d *words)
    {
        uint64_t x[2 * n] = {};
        memcpy(x, words, halves * sizeof *words);
        return reduced(x);
    }

    static void store(qal2d *words, const E &a) { memcpy(words, a.w, halves * sizeof *words); }

    static E reduced(uint64_t *x)
    {
        reduce<f>(x);
        E r;
        memcpy(r.w, x, sizeof r.w);
        return r;
    }

    static E add(const E &a, const E &b)
    {
        E r;
        for (unsigned i = 0; i < n; i++)
            r.w[i] = a.w[i] ^ b.w[i];
        return r;
    }

    static E mul(const E &a, const E &b)
    {
        qal2d u[2 * n], v[2 * n], product[4 * n] = {};
        memcpy(u, a.w, sizeof u);
        memcpy(v, b.w, sizeof v);
        multiply(product, u, v);
        uint64_t x[2 * n];
        memcpy(x, product, sizeof x);
        return reduced(x);
    }

    static E sqr(const E &a)
    {
        qal2d u[2 * n], product[4 * n] = {};
        memcpy(u, a.w, sizeof u);
        square(product, u);
        uint64_t x[2 * n];
        memcpy(x, product, sizeof x);
        return reduced(x);
    }

    static uint64_t is_zero(const E &a)
    {
        uint64_t any = 0;
        for (unsigned i = 0; i < n; i++)
            any |= a.w[i];
        return ((any | (0 - any)) >> 63) - 1;
    }

    static E masked(const E &a, uint64_t mask)
    {
        E r;
        for (unsigned i = 0; i < n; i++)
            r.w[i] = a.w[i] & mask;
        return r;
    }
};

using Engines = EnginesOver<Portable<field163, pmult192x192_unwiped, psqr192x192_portable>,
                            Portable<field191, pmult192x192_unwiped, psqr192x192_portable>,
                            Portable<field257, pmult257_unwiped, psqr288x288_portable>,
                            Portable<field431, pmult448x448_unwiped, psqr448x448_portable>>;

} // namespace

const Engine *engines_portable()
{
    return Engines::list;
}

} // namespace qal::ua
