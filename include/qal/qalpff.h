/**
 * @file
 * Prime fields: arithmetic modulo an odd prime of at most 512 bits, behind a table of operations.
 *
 * qalpff_init() looks at the modulus and installs one of two families. For p = 2^l - c, with l a
 * multiple of 64 that is at least 128 and c of one digit, elements are plain numbers and products
 * are reduced by folding (special form). For every other odd p an element x is held as x R mod p
 * with R = 2^l, l the bits of the digits of p (Montgomery form). Callers that use the
 * table need not care which.
 *
 * An element is a number (qalmath64.h) below p. Operations expect that of their operands and give
 * results so, but for what their comments say. A result may always be an operand. Mind the order of
 * arguments: `in` and `out` take the destination first, the others last.
 *
 * Timing: depends on the values.
 */
#ifndef QAL_QALPFF_H
#define QAL_QALPFF_H

#include <qal/api.h>
#include <qal/qalmath64.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A field element: the length word and room for 8 digits. */
typedef qald qalfe[9];

/** The name of the record. */
typedef struct qalpff qalpff;

/** A field. Plain data: it may be copied, and there is nothing to release. */
struct qalpff {
    qalfe p;    /**< modulus */
    qalfe one;  /**< R mod p in Montgomery form; not written in special form */
    uint64_t k; /**< -1 / p modulo 2^64 in Montgomery form, c in special form */
    uint32_t l; /**< bits of the digits of p */
    /** Internal form of a plain number, which may be any up to 512 bits. */
    qald *(*in)(const qalpff *pf, qald *z, const qald *x);
    /** Plain number of an element. */
    qald *(*out)(const qalpff *pf, qald *z, const qald *x);
    /** z = 0. */
    qald *(*setzero)(const qalpff *pf, qald *z);
    /** z = 1. */
    qald *(*setone)(const qalpff *pf, qald *z);
    /** z = a + b. */
    qald *(*add)(const qalpff *pf, const qald *a, const qald *b, qald *z);
    /** z = a - b. */
    qald *(*sub)(const qalpff *pf, const qald *a, const qald *b, qald *z);
    /** z = a b. */
    qald *(*mul)(const qalpff *pf, const qald *a, const qald *b, qald *z);
    /** z = a^2. */
    qald *(*sqr)(const qalpff *pf, const qald *a, qald *z);
    /** z = a / 2. */
    qald *(*div2)(const qalpff *pf, const qald *a, qald *z);
    /** z = 1 / a; the inverse of 0 is p. */
    qald *(*inv)(const qalpff *pf, const qald *a, qald *z);
};

/**
 * Set up a field.
 *
 * @param[out] pf  record. Its `one` keeps its contents in special form.
 * @param[in]  p   odd prime of at most 8 digits, of which nothing is checked; null is allowed.
 * @return pf; null, and nothing is written, if p is null or zero.
 *
 * Fails: "pf != 0".
 */
QAL_API qalpff *qalpff_init(qalpff *pf, const qald *p);

/**
 * z = 0, in both families.
 *
 * @param[in]  pf  field.
 * @param[out] z   element.
 * @return z.
 */
QAL_API qald *qalpffsetzero(const qalpff *pf, qald *z);

/**
 * z = a + b mod p, in both families.
 *
 * @param[in]  pf   field.
 * @param[in]  a,b  elements.
 * @param[out] z    element.
 * @return z.
 */
QAL_API qald *qalpffadd(const qalpff *pf, const qald *a, const qald *b, qald *z);

/**
 * z = a - b mod p, in both families.
 *
 * @param[in]  pf   field.
 * @param[in]  a,b  elements.
 * @param[out] z    element.
 * @return z.
 */
QAL_API qald *qalpffsub(const qalpff *pf, const qald *a, const qald *b, qald *z);

/**
 * z = a / 2 mod p, in both families.
 *
 * @param[in]  pf  field.
 * @param[in]  a   element.
 * @param[out] z   element.
 * @return z.
 */
QAL_API qald *qalpffdiv2(const qalpff *pf, const qald *a, qald *z);

/**
 * z = x R mod p.
 *
 * @param[in]  pf  field in Montgomery form.
 * @param[out] z   element.
 * @param[in]  x   plain number, below p or not.
 * @return z.
 */
QAL_API qald *qalpffmontin(const qalpff *pf, qald *z, const qald *x);

/**
 * z = x / R mod p.
 *
 * @param[in]  pf  field in Montgomery form.
 * @param[out] z   plain number.
 * @param[in]  x   element.
 * @return z.
 */
QAL_API qald *qalpffmontout(const qalpff *pf, qald *z, const qald *x);

/**
 * z = R mod p.
 *
 * @param[in]  pf  field in Montgomery form.
 * @param[out] z   element.
 * @return z.
 */
QAL_API qald *qalpffmontsetone(const qalpff *pf, qald *z);

/**
 * z = a b / R mod p.
 *
 * @param[in]  pf   field in Montgomery form.
 * @param[in]  a,b  elements.
 * @param[out] z    element.
 * @return z.
 */
QAL_API qald *qalpffmontmul(const qalpff *pf, const qald *a, const qald *b, qald *z);

/**
 * z = a^2 / R mod p.
 *
 * @param[in]  pf  field in Montgomery form.
 * @param[in]  a   element.
 * @param[out] z   element.
 * @return z.
 */
QAL_API qald *qalpffmontsqr(const qalpff *pf, const qald *a, qald *z);

/**
 * z = R^2 / a mod p.
 *
 * @param[in]  pf  field in Montgomery form.
 * @param[in]  a   element, invertible; 0 gives p.
 * @param[out] z   element.
 * @return z.
 */
QAL_API qald *qalpffmontinv(const qalpff *pf, const qald *a, qald *z);

/**
 * z = x mod p.
 *
 * @param[in]  pf  field in special form.
 * @param[out] z   element.
 * @param[in]  x   plain number, below p or not.
 * @return z.
 */
QAL_API qald *qalpffpsfin(const qalpff *pf, qald *z, const qald *x);

/**
 * z = x.
 *
 * @param[in]  pf  field in special form.
 * @param[out] z   plain number.
 * @param[in]  x   element.
 * @return z.
 */
QAL_API qald *qalpffpsfout(const qalpff *pf, qald *z, const qald *x);

/**
 * z = 1.
 *
 * @param[in]  pf  field in special form.
 * @param[out] z   element.
 * @return z.
 */
QAL_API qald *qalpffpsfsetone(const qalpff *pf, qald *z);

/**
 * z = a b mod p.
 *
 * @param[in]  pf   field in special form.
 * @param[in]  a,b  elements.
 * @param[out] z    element.
 * @return z.
 */
QAL_API qald *qalpffpsfmul(const qalpff *pf, const qald *a, const qald *b, qald *z);

/**
 * z = a^2 mod p.
 *
 * @param[in]  pf  field in special form.
 * @param[in]  a   element.
 * @param[out] z   element.
 * @return z.
 */
QAL_API qald *qalpffpsfsqr(const qalpff *pf, const qald *a, qald *z);

/**
 * z = 1 / a mod p.
 *
 * @param[in]  pf  field in special form.
 * @param[in]  a   element, invertible; 0 gives p.
 * @param[out] z   element.
 * @return z.
 */
QAL_API qald *qalpffpsfinv(const qalpff *pf, const qald *a, qald *z);

/**
 * z = x^exp, in both families.
 *
 * @param[in]  pf   field.
 * @param[in]  x    element; may be z.
 * @param[in]  exp  plain number; must not be z.
 * @param[out] z    element.
 * @return z.
 *
 * Fails: "exp != z".
 */
QAL_API qald *qalpffpow(const qalpff *pf, const qald *x, const qald *exp, qald *z);

#ifdef __cplusplus
}
#endif

#endif
