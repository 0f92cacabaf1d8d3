/**
 * @file
 * Elliptic curves y^2 + x y = x^3 + a x^2 + b over binary fields, a = 0 or 1: the curves of
 * DSTU 4145-2002 over the fields of 163, 191, 257 and 431 bits.
 *
 * Elements of a field are polynomials (qal2poly.h) of degree below m, cleared with degree m. Points
 * are in the projective coordinates of López and Dahab: x = X/Z, y = Y/Z^2, and Z = 0 is the point
 * at infinity. An affine point is a pair x, y; where such a pair is an argument of an addition,
 * x = y = 0 stands for infinity. Scalars are multiprecision integers (qalmath64.h).
 *
 * A curve record is filled once and only read afterwards; it may serve several threads.
 *
 * Timing: the operations of a field depend on no value. Those of points branch where formulas do,
 * at infinity and for equal or opposite points; multiplication by a scalar depends on the scalar in
 * branches and addresses.
 */
#ifndef QAL_QALE2_H
#define QAL_QALE2_H

#include <qal/api.h>
#include <qal/qal2poly.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A curve with the routines of its field. */
typedef struct {
    uint32_t mod_m; /**< degree m of the field */
    uint32_t mod_a; /**< second exponent of the field polynomial */
    uint32_t mod_b; /**< third exponent, 0 for a trinomial */
    uint32_t mod_c; /**< fourth exponent, 0 for a trinomial */
    uint32_t a;     /**< coefficient a, 0 or 1 */
    qal2p b;        /**< coefficient b, not zero */
    void (*mul)(qal2d *r, const qal2d *u, const qal2d *v); /**< product of bare words */
    void (*sqr)(qal2d *r, const qal2d *u);                 /**< square of bare words */
    void (*reduce)(qal2d *x);                              /**< reduction in place */
} qale2curve;

/** A point in projective coordinates. */
typedef struct {
    qal2p X; /**< X */
    qal2p Y; /**< Y */
    qal2p Z; /**< Z, zero at infinity */
} qale2point;

/** A point in affine coordinates. */
typedef struct {
    qal2p x; /**< x */
    qal2p y; /**< y */
} qale2affine;

/** A multiplication by a scalar that proceeds window by window. */
typedef struct {
    const qale2curve *curve;   /**< borrowed */
    const qald *k;             /**< the scalar, borrowed */
    qale2point Q;              /**< what has been accumulated */
    const qale2affine *powers; /**< table of odd multiples, borrowed */
    int32_t ws;                /**< window size in bits */
    uint64_t bits;             /**< bits of k that are still to be processed */
} qale2kpic_ctx;

/**
 * Fill a curve record. The fields are those of x^163 + x^7 + x^6 + x^3 + 1, x^191 + x^9 + 1,
 * x^257 + x^12 + 1 and x^431 + x^5 + x^3 + x + 1; trinomials have mod_b = mod_c = 0.
 *
 * @param[out] curve  record.
 * @param[in]  m,mod_a,mod_b,mod_c  exponents of the field polynomial in falling order.
 * @param[in]  a  coefficient, 0 or 1.
 * @param[in]  b  coefficient, (m + 8) / 8 bytes, least significant first; not zero, degree below m.
 * @return curve, or null when something does not fit.
 */
QAL_API qale2curve *qale2cr(qale2curve *curve, uint32_t m, uint32_t mod_a, uint32_t mod_b,
                            uint32_t mod_c, uint32_t a, const uint8_t *b);

/**
 * Zero a curve record.
 *
 * @param[out] curve  record.
 */
QAL_API void qale2cl(qale2curve *curve);

/**
 * r = u v in the field.
 *
 * @param[in]     curve  curve.
 * @param[in,out] r      polynomial with the field's count; may be u or v.
 * @param[in]     u,v    elements.
 * @return r.
 *
 * Fails: "curve != 0", "r != 0", "u != 0", "v != 0", the counts of r, u and v (see qal2poly.h),
 * "(*r) == (*v)", "(*r) == (*u)".
 */
QAL_API qal2d *qale2bfmul(const qale2curve *curve, qal2d *r, const qal2d *u, const qal2d *v);

/**
 * r = u^2 in the field.
 *
 * @param[in]     curve  curve.
 * @param[in,out] r      polynomial with the field's count; may be u.
 * @param[in]     u      element.
 * @return r.
 *
 * Fails: "curve != 0", "r != 0", "u != 0", the counts of r and u, "(*r) == (*u)".
 */
QAL_API qal2d *qale2bfsqr(const qale2curve *curve, qal2d *r, const qal2d *u);

/**
 * r = 1/u in the field.
 *
 * @param[in]     curve  curve.
 * @param[in,out] r      polynomial with the field's count; may be u.
 * @param[in]     u      element, not zero.
 * @return r.
 *
 * Fails: "curve != 0", and as qal2invm() does.
 */
QAL_API qal2d *qale2bfinv(const qale2curve *curve, qal2d *r, const qal2d *u);

/**
 * Make a point, checking that it is on the curve.
 *
 * @param[in]  curve  curve; null gives null.
 * @param[out] P      point; infinity without coordinates.
 * @param[in]  x      element, or null for x = 0.
 * @param[in]  y      element; null with an x takes a y from the curve, of the two the one that the
 *                    half-trace gives. Without both P becomes infinity.
 * @return P, or null when there is no such point.
 */
QAL_API qale2point *qale2pcr(const qale2curve *curve, qale2point *P, const qal2d *x,
                             const qal2d *y);

/**
 * Zero a point, its counts as well.
 *
 * @param[out] P  point.
 */
QAL_API void qale2pcl(qale2point *P);

/**
 * R = P.
 *
 * @param[in]  curve  curve.
 * @param[out] R      point; may be P.
 * @param[in]  P      point.
 * @return R.
 */
QAL_API qale2point *qale2pcp(const qale2curve *curve, qale2point *R, const qale2point *P);

/**
 * P = -P.
 *
 * @param[in]     curve  curve.
 * @param[in,out] P      point.
 * @return P.
 */
QAL_API qale2point *qale2pneg(const qale2curve *curve, qale2point *P);

/**
 * Whether P is at infinity.
 *
 * @param[in] curve  curve.
 * @param[in] P      point.
 * @return 1 or 0.
 */
QAL_API int qale2p_is_inf(const qale2curve *curve, const qale2point *P);

/**
 * Affine coordinates. The point itself is made affine: afterwards Z = 1, X = x and Y = y.
 *
 * @param[in]     curve  curve.
 * @param[in,out] P      point.
 * @param[out]    x,y    buffers or null; zero at infinity.
 * @return 1, or 0 at infinity.
 */
QAL_API int qale2pxy(const qale2curve *curve, qale2point *P, qal2d *x, qal2d *y);

/**
 * R = 2 P.
 *
 * @param[in]  curve  curve.
 * @param[out] R      point; may be P.
 * @param[in]  P      point.
 * @return R.
 */
QAL_API qale2point *qale2pd(const qale2curve *curve, qale2point *R, const qale2point *P);

/**
 * R = P + Q.
 *
 * @param[in]  curve  curve.
 * @param[out] R      point; may be P or Q.
 * @param[in]  P      point.
 * @param[in]  Q      point whose Z is 1, or infinity.
 * @return R.
 */
QAL_API qale2point *qale2paa(const qale2curve *curve, qale2point *R, const qale2point *P,
                             const qale2point *Q);

/**
 * R = P + (x, y).
 *
 * @param[in]  curve  curve.
 * @param[out] R      point; may be P.
 * @param[in]  P      point. At infinity, the result is that of qale2pcr() for x and y.
 * @param[in]  x,y    affine point; x = y = 0 is infinity.
 * @return R, or null when P is at infinity and (x, y) not on the curve.
 */
QAL_API qale2point *qale2pa(const qale2curve *curve, qale2point *R, const qale2point *P,
                            const qal2d *x, const qal2d *y);

/**
 * Table of odd multiples: entry i = (2 i + 1) P.
 *
 * @param[in]  curve  curve.
 * @param[out] table  2^(ws-1) affine points.
 * @param[in]  P      point.
 * @param[in]  ws     window size in bits, at least 2.
 * @return table.
 *
 * Timing: depends on P only where a multiple of it is at infinity.
 */
QAL_API qale2affine *qale2ic(const qale2curve *curve, qale2affine *table, const qale2point *P,
                             int32_t ws);

/**
 * Begin a multiplication Q = k P with a table of P.
 *
 * @param[out] ctx     record; keeps the pointers curve, k and powers until a step returns 1.
 * @param[in]  curve   curve.
 * @param[in]  k       scalar.
 * @param[in]  powers  table that qale2ic() made of P with the same ws.
 * @param[in]  ws      window size in bits, above 1.
 * @return ctx.
 *
 * Fails: "ctx != 0", "curve != 0", "powers != 0", "ws>1".
 */
QAL_API qale2kpic_ctx *qale2kpic_init(qale2kpic_ctx *ctx, const qale2curve *curve, const qald *k,
                                      const qale2affine *powers, int32_t ws);

/**
 * Process one window: a run of zero bits, or up to ws bits that end in a one.
 *
 * @param[in,out] ctx  record.
 * @param[out]    out  receives k P when the last window is done; may be null.
 * @return 1 when the multiplication is complete, else 0.
 *
 * Timing: the windows, hence the number of steps, the time of each one and the entry of the table
 * that it reads, are those of the scalar. A secret scalar needs another operation.
 */
QAL_API int qale2kpic_step(qale2kpic_ctx *ctx, qale2point *out);

/**
 * R = k P with a table of P: all steps of qale2kpic_step().
 *
 * @param[in]  curve   curve.
 * @param[out] R       point.
 * @param[in]  k       scalar.
 * @param[in]  powers  table that qale2ic() made of P with the same ws.
 * @param[in]  ws      window size in bits, above 1.
 * @return R.
 *
 * Fails: as qale2kpic_init().
 */
QAL_API qale2point *qale2kpic(const qale2curve *curve, qale2point *R, const qald *k,
                              const qale2affine *powers, int32_t ws);

/**
 * R = k P.
 *
 * @param[in]  curve  curve.
 * @param[out] R      point; may be P.
 * @param[in]  k      scalar.
 * @param[in]  P      point.
 * @return R.
 */
QAL_API qale2point *qale2kp(const qale2curve *curve, qale2point *R, const qald *k,
                            const qale2point *P);

/**
 * R = k1 P1 + k2 P2.
 *
 * @param[in]  curve  curve.
 * @param[out] R      point; may be P1 or P2.
 * @param[in]  k1,k2  scalars.
 * @param[in]  P1,P2  points.
 * @return R.
 */
QAL_API qale2point *qale2skp(const qale2curve *curve, qale2point *R, const qald *k1,
                             const qale2point *P1, const qald *k2, const qale2point *P2);

/**
 * Compress a point (DSTU 4145-2002, clause 6.9): x with its coefficient of x^0 replaced by the
 * trace of y/x; zero where x = 0, and at infinity.
 *
 * @param[in]     curve  curve.
 * @param[out]    c      buffer; cleared with degree m.
 * @param[in,out] P      point; is made affine.
 * @return c.
 */
QAL_API qal2d *qale2comp(const qale2curve *curve, qal2d *c, qale2point *P);

/**
 * Find the point of a compressed one (DSTU 4145-2002, clause 6.10). Zero stands for the point with
 * x = 0. The point is taken to have an odd order, or to be a double: Tr(x) = Tr(a).
 *
 * @param[in]  curve  curve.
 * @param[out] R      point with Z = 1.
 * @param[in]  c      element.
 * @return R, or null when there is no such point.
 *
 * Fails: "( qal2p_is_zero((z)) ) || ( qal2p_is_one((z)) )" when c has degree m or above.
 */
QAL_API qale2point *qale2exp(const qale2curve *curve, qale2point *R, const qal2d *c);

#ifdef __cplusplus
}
#endif

#endif
