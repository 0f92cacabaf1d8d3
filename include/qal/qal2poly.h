/**
 * @file
 * Polynomials over GF(2) of degrees up to 431: the elements of the binary fields of DSTU 4145-2002.
 *
 * A polynomial is an array of 32-bit words. Word 0 holds the count n of words that follow, words
 * 1..n the coefficients, least significant first: bit j of word i belongs to x^(32(i-1)+j). The
 * count is set by qal2pclear() from a bound of the degree and stays; zero words at the top are
 * kept. Buffers have #QAL2P_SIZE words, and operations want 1 <= n <= 14 of every polynomial; those
 * of several polynomials want the same n of all. "The count of r" below stands for the expression
 * "(0 < *r) && (*r <= ((1+(((431-1)+1+(sizeof(qal2d)<<3)-1)/((sizeof(qal2d)<<3)))))-1)".
 *
 * Byte strings are little-endian: bit j of byte i belongs to x^(8i+j). Results go to the first
 * argument, and operations return the pointer of their destination, so that calls nest.
 *
 * The products, squares and reductions at the end work on bare words, without a count.
 *
 * Timing: products, squares, reductions, sums, copies and conversions from and to bytes depend on
 * counts and lengths alone. Inversion does so modulo the four polynomials that have a reduction
 * here; everything else may depend on the values.
 */
#ifndef QAL_QAL2POLY_H
#define QAL_QAL2POLY_H

#include <qal/api.h>
#include <qal/qalmath64.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A word of coefficients. */
typedef uint32_t qal2d;

/** Words of a full buffer: the count and 14 words of coefficients. */
#define QAL2P_SIZE 15

/** A polynomial. */
typedef qal2d qal2p[QAL2P_SIZE];

/**
 * r = 0, with room for the elements of a field of degree deg: n = (deg + 31) / 32.
 *
 * @param[out] r    buffer.
 * @param[in]  deg  degree, 1..431.
 * @return r.
 *
 * Fails: "r != 0", "deg > 0", "deg <= 431".
 */
QAL_API qal2d *qal2pclear(qal2d *r, int32_t deg);

/**
 * r = a.
 *
 * @param[in,out] r  polynomial whose count is that of a.
 * @param[in]     a  polynomial; must not be r.
 * @return r.
 *
 * Fails: "r != 0", "a != 0", "r != a", the counts of r and a, "*a == *r".
 */
QAL_API qal2d *qal2pcopy(qal2d *r, const qal2d *a);

/**
 * Take words out of a number. Word i (counted from 0, below n and below twice the digits of b) is
 * the low half of (digit i/2 of b) >> (16 i mod 64), the others are zero: unlike what the name
 * suggests, this inverts qal2ptobig() only for polynomials of one word.
 *
 * @param[in,out] p  polynomial of at most 13 words.
 * @param[in]     b  number.
 * @return p.
 *
 * Fails: "*p < (((1+(((431-1)+1+(sizeof(qal2d)<<3)-1)/((sizeof(qal2d)<<3)))))-1)", "b != 0".
 */
QAL_API qal2d *qal2pfrombig(qal2d *p, const qald *b);

/**
 * The number whose bits are the coefficients.
 *
 * @param[out] b  room for (n + 1) / 2 digits; becomes normalised.
 * @param[in]  p  polynomial; must not be zero.
 * @return b.
 *
 * Fails: "b != 0".
 */
QAL_API qald *qal2ptobig(qald *b, const qal2d *p);

/**
 * Read bytes.
 *
 * @param[in,out] u    polynomial; only its count is kept.
 * @param[in]     in   len bytes, least significant first.
 * @param[in]     len  bytes, at most 4n; below 1 gives zero.
 * @return u.
 *
 * Fails: "u != 0", the count of u, "(0<*u) && (len <= (*u) * (sizeof(qal2d)))".
 */
QAL_API qal2d *qal2pfromb(qal2d *u, const uint8_t *in, int32_t len);

/**
 * Write bytes: exactly len of them, zeros behind the coefficients.
 *
 * @param[out] out  len bytes, least significant first.
 * @param[in]  u    polynomial.
 * @param[in]  len  bytes; below 1 writes nothing.
 * @return out.
 *
 * Fails: "out != 0", "u != 0".
 */
QAL_API uint8_t *qal2ptob(uint8_t *out, const qal2d *u, int32_t len);

/**
 * Read bits: len / 8 bytes and the low len % 8 bits of the next one.
 *
 * @param[in,out] u    polynomial of up to 15 words; only its count is kept.
 * @param[in]     in   (len + 7) / 8 bytes, least significant first.
 * @param[in]     len  bits, 0..32n.
 * @return u.
 *
 * Fails: "u != 0",
 * "(0 < *u) && (*u <= ((1+(((431-1)+1+(sizeof(qal2d)<<3)-1)/((sizeof(qal2d)<<3))))))",
 * "in != 0", "(0<=len) && (len <= ((*u) * (sizeof(qal2d)) * 8))".
 */
QAL_API qal2d *qal2pfrombits(qal2d *u, const uint8_t *in, int32_t len);

/**
 * Compare.
 *
 * @param[in] r,a  polynomials.
 * @return 1 if they are equal, else 0.
 *
 * Fails: "r != 0", "a != 0", the counts of r and a, "*a == *r".
 */
QAL_API int qal2p_is_equal(const qal2d *r, const qal2d *a);

/**
 * r += 1: flips the coefficient of x^0.
 *
 * @param[in,out] r  polynomial.
 * @return r.
 *
 * Fails: "r != 0", the count of r.
 */
QAL_API qal2d *qal2pinc(qal2d *r);

/**
 * The degree.
 *
 * @param[in] a  polynomial.
 * @return index of the highest coefficient that is set; 0 for the polynomials 1 and 0.
 *
 * Fails: "a != 0", the count of a.
 */
QAL_API int32_t qal2p_deg(const qal2d *a);

/**
 * One coefficient.
 *
 * @param[in] x   polynomial.
 * @param[in] no  exponent, below 32n.
 * @return 0 or 1.
 *
 * Fails: "x != 0", "(0 <= no) && (no <
 * (((1+(((431-1)+1+(sizeof(qal2d)<<3)-1)/((sizeof(qal2d)<<3)))))-1)*(sizeof(qal2d)<<3))", "(0 <=
 * no)
 * && (no < (x[0])*(sizeof(qal2d)<<3))".
 */
QAL_API int qal2pgbit(const qal2d *x, int32_t no);

/**
 * Set one coefficient.
 *
 * @param[in,out] x    polynomial.
 * @param[in]     no   exponent, below 32n.
 * @param[in]     val  0 or 1.
 *
 * Fails: "x != 0", "(val == 0) || (val==1)", "(0 <= no) && (no <
 * (((1+(((431-1)+1+(sizeof(qal2d)<<3)-1)/((sizeof(qal2d)<<3)))))-1)*(sizeof(qal2d)<<3))", "(0 <=
 * no)
 * && (no < (x[0])*8*sizeof(qal2d))".
 */
QAL_API void qal2psbit(qal2d *x, int32_t no, int32_t val);

/**
 * r = a + b.
 *
 * @param[in,out] r    polynomial; may be a or b.
 * @param[in]     a,b  polynomials.
 * @return r.
 *
 * Fails: "r != 0", "a != 0", "b != 0", the counts of r, a and b, "*(r) == *(a)", "*(r) == *(b)".
 */
QAL_API qal2d *qal2add(qal2d *r, const qal2d *a, const qal2d *b);

/**
 * Whether r = 0.
 *
 * @param[in] r  polynomial.
 * @return 1 or 0.
 *
 * Fails: "r != 0",
 * "( 0<*r) && (*r<=(((1+(((431-1)+1+(sizeof(qal2d)<<3)-1)/((sizeof(qal2d)<<3)))))-1))".
 */
QAL_API int qal2p_is_zero(const qal2d *r);

/**
 * Whether r = 1.
 *
 * @param[in] r  polynomial.
 * @return 1 or 0.
 *
 * Fails: as qal2p_is_zero().
 */
QAL_API int qal2p_is_one(const qal2d *r);

/**
 * r = 1/a modulo f = x^mod_m + x^mod_a + 1 or, when mod_b is not 0, f = x^mod_m + x^mod_a + x^mod_b
 * + x^mod_c + 1.
 *
 * @param[in,out] r      polynomial with the count of degree mod_m; may be a.
 * @param[in]     a      polynomial with the same count, not zero and without a common factor with
 *                       f: otherwise this may never return.
 * @param[in]     mod_m,mod_a,mod_b,mod_c  exponents; mod_m is at most 431 and no multiple of 32.
 * @return r.
 *
 * Fails: "mod_m!=0", "mod_a!=0", and as qal2pclear(), qal2psbit() and qal2pcopy() do.
 *
 * Timing: depends on the values unless f is one of those with a reduction below.
 */
QAL_API qal2d *qal2invm(qal2d *r, const qal2d *a, uint32_t mod_m, uint32_t mod_a, uint32_t mod_b,
                        uint32_t mod_c);

/**
 * r[0..n-1] = the low n words of a b.
 *
 * @param[out] r  n words; may be a.
 * @param[in]  a  n words.
 * @param[in]  n  words; below 1 writes nothing.
 * @param[in]  b  one word.
 * @return the top word of the product; 0 for n below 1.
 */
QAL_API qal2d gf2x_mul_1_n(qal2d *r, const qal2d *a, int32_t n, qal2d b);

/**
 * r[0..n-1] = s + the low n words of a b.
 *
 * @param[out] r  n words; may be s or a.
 * @param[in]  s  n words.
 * @param[in]  a  n words.
 * @param[in]  n  words; below 1 writes nothing.
 * @param[in]  b  one word.
 * @return the top word of the product; 0 for n below 1.
 */
QAL_API qal2d gf2x_addmul_1_n(qal2d *r, const qal2d *s, const qal2d *a, int32_t n, qal2d b);

/**
 * r = a b for operands of any lengths.
 *
 * @param[out] r   an + bn words; must not overlap a or b.
 * @param[in]  a   an words.
 * @param[in]  an  words, at least 1.
 * @param[in]  b   bn words.
 * @param[in]  bn  words, not negative.
 */
QAL_API void gf2x_mul(qal2d *r, const qal2d *a, int32_t an, const qal2d *b, int32_t bn);

/**
 * @name Products
 * r = a b for bare operands of as many bits as the name says, in words of 32.
 *
 * @param[out] r    twice the words of an operand; must not overlap a or b.
 * @param[in]  a,b  words; a may be b.
 * @{
 */
QAL_API void pmult160x160(qal2d *r, const qal2d *a, const qal2d *b); /**< 5 words */
QAL_API void pmult192x192(qal2d *r, const qal2d *a, const qal2d *b); /**< 6 words */
QAL_API void pmult224x224(qal2d *r, const qal2d *a, const qal2d *b); /**< 7 words */
QAL_API void pmult256x256(qal2d *r, const qal2d *a, const qal2d *b); /**< 8 words */
QAL_API void pmult288x288(qal2d *r, const qal2d *a, const qal2d *b); /**< 9 words */
QAL_API void pmult448x448(qal2d *r, const qal2d *a, const qal2d *b); /**< 14 words */
/** @} */

/**
 * r = a b for bare operands of 257 bits in 9 words.
 *
 * @param[in,out] r    17 words, of which the last one is written only when both operands have
 *                     degree 256: zero it before. Must not overlap a or b.
 * @param[in]     a,b  9 words, of which the last one is 0 or 1.
 *
 * Fails: "(a[8] == 0) || ( a[8] == 1)", "(b[8] == 0) || ( b[8] == 1)".
 */
QAL_API void pmult257x257(qal2d *r, const qal2d *a, const qal2d *b);

/**
 * @name Squares
 * r = a^2 for bare operands of as many bits as the name says, in words of 32.
 *
 * @param[out] r  twice the words of the operand; may be a.
 * @param[in]  a  words.
 * @{
 */
QAL_API void psqr192x192(qal2d *r, const qal2d *a); /**< 6 words */
QAL_API void psqr288x288(qal2d *r, const qal2d *a); /**< 9 words */
QAL_API void psqr448x448(qal2d *r, const qal2d *a); /**< 14 words */
/** @} */

/**
 * Reduce modulo x^163 + x^7 + x^6 + x^3 + 1.
 *
 * @param[in,out] x  11 words, of which the first 6 become the result; those behind do not change.
 *
 * Fails: "x!=0".
 */
QAL_API void reduce163_7_6_3_1(qal2d *x);

/**
 * Reduce modulo x^191 + x^9 + 1.
 *
 * @param[in,out] x  12 words, of which the first 6 become the result; those behind do not change.
 *
 * Fails: "x!=0".
 */
QAL_API void reduce191_9_1(qal2d *x);

/**
 * Reduce modulo x^257 + x^12 + 1.
 *
 * @param[in,out] x  18 words, of which the first 9 become the result; those behind do not change.
 */
QAL_API void reduce257_12_1(qal2d *x);

/**
 * Reduce modulo x^431 + x^5 + x^3 + x + 1.
 *
 * @param[in,out] x  28 words, of which the first 14 become the result and the others zero.
 *
 * Fails: "x!=0".
 */
QAL_API void reduce431_5_3_1(qal2d *x);

#ifdef __cplusplus
}
#endif

#endif
