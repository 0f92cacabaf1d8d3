// Reduction modulo the field polynomials, on 64-bit words, in place. Constant time. Files with
// compiler flags of their own include this, so everything has internal linkage.
#ifndef QAL_UA_REDUCE_HPP
#define QAL_UA_REDUCE_HPP

#include "ua/fields.hpp"
#include "ua/unroll.hpp"

#include <stdint.h>

namespace qal::ua {

namespace {

// x += value * x^position
template<unsigned position, typename Words>
[[gnu::always_inline]] inline void add_at(Words x, uint64_t value)
{
    constexpr unsigned word = position / 64, bit = position % 64;
    x[word] ^= value << bit;
    if constexpr (bit != 0)
        x[word + 1] ^= value >> (64 - bit);
}

// Leaves the remainder of x, which has twice the words of an element, in its lower half. Words are
// folded from the top down by x^(64 i) = x^(64 i - m) (x^a + ... + 1), which adds them to lower
// words only.
template<const FieldPolynomial &f, typename Words>
[[gnu::always_inline]] inline void reduce(Words x)
{
    constexpr unsigned n = f.words(), above = 64 * n - f.m, kept = f.m % 64;
    unroll<n>([&](auto step) QAL_INLINED {
        constexpr unsigned i = 2 * n - 1 - step();
        const uint64_t word = x[i];
        unroll<f.terms()>(
            [&](auto term) QAL_INLINED { add_at<64 * (i - n) + above + f.term(term())>(x, word); });
    });
    const uint64_t rest = x[n - 1] >> kept;
    x[n - 1] &= (uint64_t{1} << kept) - 1;
    unroll<f.terms()>([&](auto term) QAL_INLINED {
        constexpr unsigned e = f.term(term());
        // The rest has 64 - kept bits: it enters the second word only if e > kept.
        x[0] ^= rest << e;
        if constexpr (e > kept)
            x[1] ^= rest >> (64 - e);
    });
}

} // namespace

} // namespace qal::ua

#endif
