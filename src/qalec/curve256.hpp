// The engine below the signature and key agreement: curves over prime fields of 255 or 256 bits, in
// numbers of four digits.
//
// It gives the results of the operations of qalec.h, faster, and without a branch or an address
// that depends on a scalar. Numbers are four digits, least significant first; affine points are
// eight, x and then y, plain and below p; infinity is (0, 0). Secrets that are left on the stack
// are the caller's to wipe.
#ifndef QAL_QALEC_CURVE256_HPP
#define QAL_QALEC_CURVE256_HPP

#include "base/variants.hpp"

#include <qal/qalec.h>

#include <stdint.h>

namespace qal::ec {

constexpr int digits256 = 4;
constexpr int table256_size = 16;

// y^2 = x^3 + a x + b. p is odd and not less than 2^254; a and b are below it, in the internal form
// of qalpff: plain for p = 2^256 - c, times 2^256 otherwise.
struct Curve256 {
    uint64_t p[digits256], a[digits256], b[digits256];
    uint64_t k;   // -1 / p modulo 2^64
    bool special; // p = 2^256 - c with c of one digit
};

// xy = n G for the point G of which the table has the multiples G, 3G, ..., 31G, in internal form
// and in Jacobian coordinates; any of them may be infinity. Any n. n is secret.
#define QAL_CURVE256_MULTIPLY_BASE(name)                                                           \
    void name(const Curve256 *curve, const qalecpoint *table, const uint64_t *n, uint64_t *xy)

// xy = n P. P is on the curve or infinity; any n. n is secret, P is not.
#define QAL_CURVE256_MULTIPLY(name)                                                                \
    void name(const Curve256 *curve, const uint64_t *P, const uint64_t *n, uint64_t *xy)

// Whether P, both coordinates below p, is on the curve; infinity is.
#define QAL_CURVE256_CONTAINS(name) bool name(const Curve256 *curve, const uint64_t *P)

// Whether the abscissa of u G + v P is r modulo q, where infinity has none. G and P are on the
// curve or infinity; 0 < r < q; any u and v. Nothing is secret.
#define QAL_CURVE256_MATCHES(name)                                                                 \
    bool name(const Curve256 *curve, const uint64_t *G, const uint64_t *P, const uint64_t *u,      \
              const uint64_t *v, const uint64_t *q, const uint64_t *r)

// Of a Jacobian point's three coordinates, in internal form, the affine ones; and whether the
// abscissa of one that is not infinite is r modulo q, as above. All is secret in the former,
// nothing in the latter.
#define QAL_CURVE256_TO_AFFINE(name)                                                               \
    void name(const Curve256 *curve, const uint64_t *XYZ, uint64_t *xy)
#define QAL_CURVE256_HAS_ABSCISSA(name)                                                            \
    bool name(const Curve256 *curve, const uint64_t *XYZ, const uint64_t *q, const uint64_t *r)

// z = w x + y s mod q for an odd q of at least 254 bits; x and s are below q, w and y any numbers.
// All but q is secret.
#define QAL_SCALAR256_SUM_OF_PRODUCTS(name)                                                        \
    void name(const uint64_t *q, const uint64_t *w, const uint64_t *x, const uint64_t *y,          \
              const uint64_t *s, uint64_t *z)

// z = 1 / x mod q for an odd q of at least 254 bits and x below it. Returns whether x is
// invertible; z is undefined if it is not. Constant time in all arguments.
#define QAL_SCALAR256_INVERT(name) bool name(const uint64_t *q, const uint64_t *x, uint64_t *z)

QAL_CURVE256_MULTIPLY_BASE(curve256_multiply_base);
QAL_CURVE256_MULTIPLY(curve256_multiply);
QAL_CURVE256_CONTAINS(curve256_contains);
QAL_CURVE256_MATCHES(curve256_matches);
QAL_SCALAR256_SUM_OF_PRODUCTS(scalar256_sum_of_products);
QAL_SCALAR256_INVERT(scalar256_invert);

#define QAL_CURVE256_ROUTINES(V)                                                                   \
    V(curve256_multiply_base, avx512, bmi2adx, portable);                                          \
    V(curve256_multiply, avx512, bmi2adx, portable);                                               \
    V(curve256_contains, bmi2adx, portable);                                                       \
    V(curve256_matches, avx512, bmi2adx, portable);                                                \
    V(scalar256_sum_of_products, bmi2adx, portable);                                               \
    V(scalar256_invert, bmi2adx, portable)
QAL_CURVE256_ROUTINES(QAL_DECLARE_VARIANTS);

QAL_CURVE256_TO_AFFINE(curve256_to_affine_portable);
QAL_CURVE256_TO_AFFINE(curve256_to_affine_bmi2adx);
QAL_CURVE256_HAS_ABSCISSA(curve256_has_abscissa_portable);
QAL_CURVE256_HAS_ABSCISSA(curve256_has_abscissa_bmi2adx);

// Multiplications where no step meets points that are equal, opposite or infinite, and where p is
// one for which there are lanes; false elsewhere. With a point of prime order q, not less than
// 2^254 - 1, and n below q no step does.
bool curve256_multiply_base_once_avx512(const Curve256 *curve, const qalecpoint *table,
                                        const uint64_t *n, uint64_t *xy);
bool curve256_multiply_once_avx512(const Curve256 *curve, const uint64_t *P, const uint64_t *n,
                                   uint64_t *xy);

} // namespace qal::ec

#endif
