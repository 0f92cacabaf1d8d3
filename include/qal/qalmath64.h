/**
 * @file
 * Multiprecision integers.
 *
 * A number is an array of 64-bit words. Word 0 is the number n of digits in use, words 1..n are the
 * digits, least significant first; what is behind them does not count. Zero has no digits. A number
 * is normalised when its top digit is not zero: operations expect that of their operands and leave
 * their results so, unless their comment says otherwise. There is no sign.
 *
 * Buffers hold #QALBIG_SIZE words. Room for a result is the caller's to provide and is not checked;
 * where a comment gives it, it counts digits, to which the length word comes. Results go to the
 * first argument where an operation works in place, and to the last one otherwise; operations
 * return the pointer of their destination, so that calls nest.
 *
 * Timing: depends on the values, unless a comment says otherwise.
 */
#ifndef QAL_QALMATH64_H
#define QAL_QALMATH64_H

#include <qal/api.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A digit. */
typedef uint64_t qald;

/** Words of a full buffer: the length and 130 digits, enough for the product of two numbers of 4096
 *  bits with room for intermediate results. */
#define QALBIG_SIZE 131

/** Zero. These constants have no room behind them and must not be written. */
QAL_API extern const qald QALBIG_ZERO[1];
/** One. */
QAL_API extern const qald QALBIG_ONE[2];
/** Two. */
QAL_API extern const qald QALBIG_TWO[2];
/** Three. */
QAL_API extern const qald QALBIG_THREE[2];

/**
 * Normalise: drop zero digits at the top.
 *
 * @param[in,out] x  number, normalised or not.
 * @return x.
 */
QAL_API qald *qalclip(qald *x);

/**
 * dst = src.
 *
 * @param[out] dst  room for as many digits as src has; may overlap src in any way.
 * @param[in]  src  number.
 * @return dst.
 */
QAL_API qald *qalcopy(qald *dst, const qald *src);

/**
 * x = v.
 *
 * @param[out] x  room for one digit, which is written even when v is 0.
 * @param[in]  v  any value.
 * @return x.
 */
QAL_API qald *qalconvert(qald *x, uint64_t v);

/**
 * Deprecated: writes the line "Deprecated qalclear!" to standard output and leaves x as it is. For
 * a zero use qalconvert(x, 0).
 *
 * @param[in] x  anything.
 * @return x.
 */
QAL_API qald *qalclear(qald *x);

/**
 * Build a number from words of 32 bits.
 *
 * @param[out] x  room for (k + 1) / 2 digits.
 * @param[in]  k  number of words that follow, not negative.
 * @param[in]  ...  k values of type uint32_t, most significant first; leading zeros are allowed.
 * @return x.
 */
QAL_API qald *qalvalueof32(qald *x, int32_t k, ...);

/**
 * Build a number from digits.
 *
 * @param[out] x  room for k digits.
 * @param[in]  k  number of digits that follow, not negative.
 * @param[in]  ...  k values of type uint64_t, most significant first; leading zeros are allowed.
 * @return x.
 */
QAL_API qald *qalvalueof64(qald *x, int32_t k, ...);

/**
 * Compare.
 *
 * @param[in] a,b  numbers; must be normalised.
 * @return 1 if a > b, -1 if a < b, 0 if they are equal.
 */
QAL_API int32_t qalcmp(const qald *a, const qald *b);

/**
 * x += y.
 *
 * @param[in,out] x  number, with room for one digit more than the longer operand has.
 * @param[in]     y  number; may be x.
 * @return x.
 */
QAL_API qald *qaladd(qald *x, const qald *y);

/**
 * x -= y.
 *
 * @param[in,out] x  number that is not less than y: otherwise the borrow runs off its end.
 * @param[in]     y  number; may be x.
 * @return x.
 */
QAL_API qald *qalsub(qald *x, const qald *y);

/**
 * x ^= y: the sum of polynomials over GF(2).
 *
 * @param[in,out] x  number, with room for as many digits as the longer operand has.
 * @param[in]     y  number; may be x.
 * @return x.
 */
QAL_API qald *qaladd2m(qald *x, const qald *y);

/**
 * y = x * 2^s, truncated to 130 digits: what is shifted beyond is lost without notice.
 *
 * @param[in]  x  number.
 * @param[in]  s  bits, any number.
 * @param[out] y  room for the digits of x and s / 64 + 1 more, at most 130; may be x.
 * @return y.
 *
 * Fails: "x != 0", "y != 0".
 */
QAL_API qald *qalshl(const qald *x, uint64_t s, qald *y);

/**
 * y = x / 2^s, rounded down.
 *
 * @param[in]  x  number.
 * @param[in]  s  bits, any number.
 * @param[out] y  room for the digits that are left; may be x.
 * @return y.
 */
QAL_API qald *qalshr(const qald *x, uint64_t s, qald *y);

/**
 * The number of units that hold a number: its bit length divided by u, rounded up.
 *
 * @param[in] x  number.
 * @param[in] u  bits of a unit, not zero: 1 for the bit length, 8 for the byte length.
 * @return units; 0 for zero.
 */
QAL_API uint64_t qalbitlen(const qald *x, uint64_t u);

#ifdef __cplusplus
}
#endif

#endif
