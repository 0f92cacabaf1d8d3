/**
 * @file
 * Elliptic curves over prime fields: y^2 = x^3 + a x + b over the fields of qalpff.h.
 *
 * Points are in Jacobian coordinates: (X, Y, Z) with Z other than zero stands for the affine point
 * x = X / Z^2, y = Y / Z^3; any point whose Z is zero is infinity. A point with Z = 1 is
 * normalised. Coordinates are in the field's internal form, arguments called x, y, a, b are plain
 * numbers.
 *
 * Which of its coordinates a point has after an operation is part of the interface: the formulas
 * are those of IEEE 1363-2000, A.10.4 and A.10.5.
 *
 * Records are plain data and belong to the caller; operations only read their curve. A result may
 * be an operand.
 *
 * Timing: depends on the values, scalars included. The signature and key agreement operations of
 * rds.h and vko341001.h do not rest on these operations where secrets are concerned.
 */
#ifndef QAL_QALEC_H
#define QAL_QALEC_H

#include <qal/api.h>
#include <qal/qalmath64.h>
#include <qal/qalpff.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A point. */
typedef struct {
    qalfe X; /**< X in internal form */
    qalfe Y; /**< Y in internal form */
    qalfe Z; /**< Z in internal form, zero at infinity */
} qalecpoint;

/** The name of the record. */
typedef struct qaleccurve qaleccurve;

/** A curve. */
struct qaleccurve {
    qalfe a;      /**< in internal form */
    qalfe b;      /**< in internal form */
    qalpff field; /**< of p */
    /** Doubling: qalecpd_3() if a is p - 3, else qalecpd(). */
    qalecpoint *(*dbl)(const qaleccurve *curve, qalecpoint *z, const qalecpoint *a);
};

/**
 * Make a curve. That it has no singular point is not checked.
 *
 * @param[out] curve  record; null is allowed.
 * @param[in]  p      odd prime of at most 8 digits; null is allowed.
 * @param[in]  a,b    coefficients, reduced modulo p; null is allowed. Only a = p - 3 exactly
 *                    gives a curve the faster doubling.
 * @return curve; null if an argument is null or p is zero.
 */
QAL_API qaleccurve *qaleccr(qaleccurve *curve, const qald *p, const qald *a, const qald *b);

/**
 * Fill a curve with zeros.
 *
 * @param[out] curve  record; null is allowed.
 */
QAL_API void qaleccl(qaleccurve *curve);

/**
 * Make a point: normalised, or infinity, with zero in all coordinates, for x = y = 0.
 *
 * @param[in]  curve  curve; null is allowed.
 * @param[out] point  record; null is allowed. Zero if (x, y) is not on the curve.
 * @param[in]  x,y    affine coordinates, reduced modulo p; null stands for 0.
 * @return point; null if curve or point is null or (x, y) is not on the curve.
 */
QAL_API qalecpoint *qalecpcr(const qaleccurve *curve, qalecpoint *point, const qald *x,
                             const qald *y);

/**
 * Fill a point with zeros.
 *
 * @param[out] point  record; null is allowed.
 */
QAL_API void qalecpcl(qalecpoint *point);

/**
 * Normalise a point and give its affine coordinates.
 *
 * @param[in]     curve  curve.
 * @param[in,out] point  point; normalised afterwards unless it is infinity.
 * @param[out]    x,y    plain numbers of up to 8 digits, 0 for infinity; null is allowed.
 * @return 1; 0 for infinity.
 *
 * Fails: "curve!= 0", "point!= 0".
 */
QAL_API int qalecpxy(const qaleccurve *curve, qalecpoint *point, qald *x, qald *y);

/**
 * z = a + b, by the full addition of IEEE 1363, A.10.5. Equal points are doubled; infinity added
 * copies the other point.
 *
 * @param[in]  curve  curve.
 * @param[out] z      point.
 * @param[in]  a,b    points.
 * @return z.
 *
 * Fails: "curve != 0", "a != 0", "b != 0", "z != 0".
 */
QAL_API qalecpoint *qalecpa(const qaleccurve *curve, qalecpoint *z, const qalecpoint *a,
                            const qalecpoint *b);

/**
 * z = 2a, by the doubling of IEEE 1363, A.10.4, for any coefficient a of the curve.
 *
 * @param[in]  curve  curve.
 * @param[out] z      point.
 * @param[in]  a      point.
 * @return z.
 *
 * Fails: "curve!=0", "z!=0", "a!=0".
 */
QAL_API qalecpoint *qalecpd(const qaleccurve *curve, qalecpoint *z, const qalecpoint *a);

/**
 * z = 2a on a curve whose coefficient a is -3.
 *
 * @param[in]  curve  curve.
 * @param[out] z      point.
 * @param[in]  a      point.
 * @return z.
 *
 * Fails: "curve!=0", "z!=0", "a!=0".
 */
QAL_API qalecpoint *qalecpd_3(const qaleccurve *curve, qalecpoint *z, const qalecpoint *a);

/**
 * Negate a point in place, which normalises it. A point with y = 0 gets y = p, which is not
 * reduced.
 *
 * @param[in]     curve  curve.
 * @param[in,out] point  point.
 * @return point.
 *
 * Fails: as qalecpxy().
 */
QAL_API qalecpoint *qalecpneg(const qaleccurve *curve, qalecpoint *point);

/**
 * Make a table of odd multiples: P, 3P, ..., (2^w - 1) P.
 *
 * @param[in]  curve  curve.
 * @param[out] table  2^(w - 1) points, but two for w = 1.
 * @param[in]  P      point; not in the table.
 * @param[in]  w      window width, at least 1.
 * @return table.
 */
QAL_API qalecpoint *qalecic(const qaleccurve *curve, qalecpoint *table, const qalecpoint *P,
                            uint32_t w);

/**
 * R = k P by a sliding window over a table of odd multiples of P.
 *
 * @param[in]  curve    curve.
 * @param[out] R        point; not in the table.
 * @param[in]  table    made by qalecic() for the same width.
 * @param[in]  k        number.
 * @param[in]  w        window width, at least 1.
 * @param[in]  padbits  other than 0: additions whose result is thrown away bring their number up to
 *                      padbits / w, rounded up.
 * @return R.
 */
QAL_API qalecpoint *qalecickp(const qaleccurve *curve, qalecpoint *R, const qalecpoint *table,
                              const qald *k, uint32_t w, uint32_t padbits);

/**
 * R = k P by a sliding window of 5 bits.
 *
 * @param[in]  curve  curve.
 * @param[out] R      point.
 * @param[in]  k      number.
 * @param[in]  P      point.
 * @return R.
 */
QAL_API qalecpoint *qaleckp(const qaleccurve *curve, qalecpoint *R, const qald *k,
                            const qalecpoint *P);

/**
 * R = k P + l Q, both in windows of 2 bits over a table of all i P + j Q.
 *
 * @param[in]  curve  curve.
 * @param[out] R      point.
 * @param[in]  k,l    numbers.
 * @param[in]  P,Q    points.
 * @return R.
 */
QAL_API qalecpoint *qalecakp(const qaleccurve *curve, qalecpoint *R, const qald *k,
                             const qalecpoint *P, const qald *l, const qalecpoint *Q);

#ifdef __cplusplus
}
#endif

#endif
