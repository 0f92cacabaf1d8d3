// The published binary curves, and the general routines on them: a curve whose record has a product
// of its own is none of those that have an engine.
#ifndef QAL_FUZZ_BINARY_DOMAINS_HPP
#define QAL_FUZZ_BINARY_DOMAINS_HPP

#include "numbers.hpp"
#include "ua/domains.hpp"

namespace qal::fuzz {

template<auto multiply>
void own_multiply(qal2d *r, const qal2d *u, const qal2d *v)
{
    multiply(r, u, v);
}

inline qale2curve general(const qale2curve &curve)
{
    qale2curve r = curve;
    r.mul = curve.mod_m == 431   ? own_multiply<pmult448x448>
            : curve.mod_m == 257 ? own_multiply<pmult257x257>
                                 : own_multiply<pmult192x192>;
    return r;
}

inline const TestDomain &published_domain(Input &in)
{
    static const std::vector<TestDomain> domains = test_domains();
    return domains[in.below(domains.size())];
}

// An element: any, a sparse one, or one next to a given one.
inline Poly element(Input &in, const ModelField &field, const Poly &near = 0)
{
    switch (in.below(4)) {
    case 0:
        return in.byte();
    case 1:
        return near ^ (Poly(1) << in.below(field.m));
    case 2:
        return near;
    default:
        return poly_of(in.bytes((field.m + 7) / 8)) & ((Poly(1) << field.m) - 1);
    }
}

// A compressed point as the library reads it; false if there is none. By the general routines.
inline bool expand(const qale2curve &curve, qale2point &P, const Poly &c)
{
    if (length(c) > curve.mod_m)
        return false;
    qal2p compressed;
    set(compressed, c, (curve.mod_m + 31) / 32);
    return qale2exp(&curve, &P, compressed) != nullptr;
}

} // namespace qal::fuzz

#endif
