// Operations of many field products, each for one of the four fields with everything about it known
// when it is compiled. Their results are those of the general routines of qale2_*.cpp.
#ifndef QAL_UA_ENGINE_HPP
#define QAL_UA_ENGINE_HPP

#include <qal/qale2.h>

#include <stddef.h>

namespace qal::ua {

// Window of the constant-time multiplication: as wide as the table of 32 odd multiples serves.
constexpr unsigned window_width = 6;
constexpr int32_t window_entries = 1 << (window_width - 1);

// Elements are polynomials with their counts, of which the field's is assumed. The time of
// operations without a suffix depends on neither scalars nor points; _var marks the others.
struct Engine {
    // r = 1/a, 0 for 0, whatever the degree of a.
    void (*invert)(qal2d *r, const qal2d *a);
    // Trace of an element.
    unsigned (*trace)(const qal2d *z);
    // r = half-trace of z.
    void (*half_trace)(qal2d *r, const qal2d *z);
    // r = square root of z.
    void (*square_root)(qal2d *r, const qal2d *z);
    // What qale2ic does; false, with nothing of worth in the table, where a multiple that is needed
    // is at infinity or the window is too wide.
    bool (*odd_multiples_var)(const qale2curve *curve, qale2affine *table, const qale2point *P,
                              int32_t ws);
    // All steps of qale2kpic_step.
    void (*multiply_var)(qale2kpic_ctx *ctx);
    // Windows of the multiplication Q = k P, from the one with index `from` down to the one with
    // index `to`, for a table of 32 odd multiples of P. P has the odd order n, and 0 <= k < n; the
    // topmost index is window_count(n) - 1, at which Q is not read, and 0 ends. Constant time,
    // unless a sum fails because k P has met infinity or an entry of the table, or because an entry
    // is infinity: then the answer is false, Q of no use, and k one of a few hundred values that
    // chance does not bring, or P of an order below 64.
    bool (*multiply_windows)(const qale2curve *curve, qale2point *Q, const qald *k, const qald *n,
                             const qale2affine *table, unsigned from, unsigned to);
    // P with Z = 1, where it is not infinity, with the trace of y/x, which tells y from x + y, for
    // an answer. x is not 0, as no point of odd order has it.
    unsigned (*make_affine)(qale2point *P);
    // x = the affine x of 2^doublings k P, where P is the affine point with abscissa px, k has at
    // most `bits` bits, and x = 0 stands for infinity, too.
    void (*multiply_abscissa)(const qale2curve *curve, qal2d *x, const qald *k, unsigned bits,
                              const qal2d *px, unsigned doublings);
    // x = the affine x of s G + r Q, given 32 odd multiples of G and Z = 1 in Q; false at infinity.
    bool (*joint_abscissa_var)(const qale2curve *curve, qal2d *x, const qald *s,
                               const qale2affine *multiples, const qald *r, const qale2point *Q);
};

// How deep the stack is below an operation on secrets, at most.
constexpr size_t engine_stack = 8192;

inline unsigned window_count(uint64_t bits)
{
    return static_cast<unsigned>((bits + window_width - 1) / window_width);
}

// The engines of all fields, in the order of `fields` (fields.hpp).
const Engine *engines();
const Engine *engines_portable();
const Engine *engines_pclmul();

// The engine of a field, or null.
const Engine *engine_of_field(uint32_t m, uint32_t a, uint32_t b, uint32_t c);

// The engine of a curve, or null if it is not one that qale2cr made.
const Engine *engine_of(const qale2curve *curve);

} // namespace qal::ua

#endif
