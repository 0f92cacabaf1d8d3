// Engines: operations of many field products, compiled for each of the four fields. Their results
// equal those of the general routines in qale2_*.cpp, to the last coordinate. Shapes and aliasing
// are as in qale2.h.
#ifndef QAL_UA_ENGINE_HPP
#define QAL_UA_ENGINE_HPP

#include "base/variants.hpp"

#include <qal/qale2.h>

#include <stddef.h>

namespace qal::ua {

// Width of the windows in the constant-time multiplication. Their signed odd digits need a table of
// 32 odd multiples.
constexpr unsigned window_width = 6;
constexpr int32_t window_entries = 1 << (window_width - 1);

// Elements are polynomials as in qal2poly.h. The count word of inputs is not read; the field's is
// assumed. The time of operations without a suffix depends on neither scalars nor points; _var
// marks the others.
struct Engine {
    // r = 1/a, or 0 for a = 0. a may have any degree that its words have room for. The count word
    // of r is not written, nor is it by half_trace and square_root.
    void (*invert)(qal2d *r, const qal2d *a);
    // Trace of an element.
    unsigned (*trace)(const qal2d *z);
    // r = half-trace of z.
    void (*half_trace)(qal2d *r, const qal2d *z);
    // r = square root of z.
    void (*square_root)(qal2d *r, const qal2d *z);
    // The same as qale2ic(). Returns false, with the table undefined, if a multiple is infinity or
    // the window is too wide.
    bool (*odd_multiples_var)(const qale2curve *curve, qale2affine *table, const qale2point *P,
                              int32_t ws);
    // The same as all steps of qale2kpic_step().
    void (*multiply_var)(qale2kpic_ctx *ctx);
    // Does the windows of Q = k P with the indices from `from` down to `to`, given a table of 32
    // odd multiples of P. P has the odd order n, and 0 <= k < n. A multiplication starts at index
    // window_count(bits of n) - 1, where Q is not read, and ends at 0. Constant time unless it
    // fails: it returns false, with Z = 0 and the rest of Q undefined, if a partial sum is infinity
    // or meets an entry of the table, or if an entry is infinity, which at the topmost window shows
    // in the next one. For random k this has a negligible probability (below 2^-150), unless P has
    // an order below 64.
    bool (*multiply_windows)(const qale2curve *curve, qale2point *Q, const qald *k, const qald *n,
                             const qale2affine *table, unsigned from, unsigned to);
    // Makes Z = 1 in P, unless P is infinity, and returns the trace of y/x, which tells y from
    // x + y. x is not 0: no point of odd order has that abscissa.
    unsigned (*make_affine)(qale2point *P);
    // x = the affine x of 2^doublings k P, given the affine x of P, px, and a bound on the bits of
    // k. x = 0 stands for infinity, too.
    void (*multiply_abscissa)(const qale2curve *curve, qal2d *x, const qald *k, unsigned bits,
                              const qal2d *px, unsigned doublings);
    // x = the affine x of s G + r Q, given 32 odd multiples of G, and Z = 1 in Q. Returns false if
    // the sum is infinity.
    bool (*joint_abscissa_var)(const qale2curve *curve, qal2d *x, const qald *s,
                               const qale2affine *multiples, const qald *r, const qale2point *Q);
};

// How deep the stack is at most below an operation on secrets.
constexpr size_t engine_stack = 8192;

// The windows of a multiplication by scalars below an order of so many bits.
inline unsigned window_count(uint64_t bits)
{
    return static_cast<unsigned>((bits + window_width - 1) / window_width);
}

// The engines of all fields, in the order of `fields` (fields.hpp).
const Engine *engines();
#define QAL_ENGINE_ROUTINES(V) V(engines, avx2_pclmul, portable)
QAL_ENGINE_ROUTINES(QAL_DECLARE_VARIANTS);

// The engine of a field, or null if the field is none of the four.
const Engine *engine_of_field(uint32_t m, uint32_t a, uint32_t b, uint32_t c);

// The engine of a curve's field, or null if the curve's polynomial or routines are not those that
// qale2cr() stores.
const Engine *engine_of(const qale2curve *curve);

} // namespace qal::ua

#endif
