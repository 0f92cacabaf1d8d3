/**
 * @file
 * Multiprecision integers: sums, products, division, Montgomery arithmetic, exponentiation, and
 * conversion from and to bytes.
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
QAL_API QAL_API_NONNULL() qald *qalclip(qald *x);

/**
 * dst = src.
 *
 * @param[out] dst  room for as many digits as src has; may overlap src in any way.
 * @param[in]  src  number.
 * @return dst.
 */
QAL_API QAL_API_NONNULL() qald *qalcopy(qald *dst, const qald *src);

/**
 * x = v.
 *
 * @param[out] x  room for one digit, which is written even when v is 0.
 * @param[in]  v  any value.
 * @return x.
 */
QAL_API QAL_API_NONNULL() qald *qalconvert(qald *x, uint64_t v);

/**
 * Deprecated: writes the line "Deprecated qalclear!" to standard output and leaves x as it is. For
 * a zero use qalconvert(x, 0).
 *
 * @param[in] x  anything.
 * @return x.
 */
QAL_API QAL_API_NONNULL() qald *qalclear(qald *x);

/**
 * Build a number from words of 32 bits.
 *
 * @param[out] x  room for (k + 1) / 2 digits.
 * @param[in]  k  number of words that follow, not negative.
 * @param[in]  ...  k values of type uint32_t, most significant first; leading zeros are allowed.
 * @return x.
 */
QAL_API QAL_API_NONNULL() qald *qalvalueof32(qald *x, int32_t k, ...);

/**
 * Build a number from digits.
 *
 * @param[out] x  room for k digits.
 * @param[in]  k  number of digits that follow, not negative.
 * @param[in]  ...  k values of type uint64_t, most significant first; leading zeros are allowed.
 * @return x.
 */
QAL_API QAL_API_NONNULL() qald *qalvalueof64(qald *x, int32_t k, ...);

/**
 * Compare.
 *
 * @param[in] a,b  numbers; must be normalised.
 * @return 1 if a > b, -1 if a < b, 0 if they are equal.
 */
QAL_API QAL_API_NONNULL() int32_t qalcmp(const qald *a, const qald *b);

/**
 * x += y.
 *
 * @param[in,out] x  number, with room for one digit more than the longer operand has.
 * @param[in]     y  number; may be x.
 * @return x.
 */
QAL_API QAL_API_NONNULL() qald *qaladd(qald *x, const qald *y);

/**
 * x -= y.
 *
 * @param[in,out] x  number that is not less than y: otherwise the borrow runs off its end.
 * @param[in]     y  number; may be x.
 * @return x.
 */
QAL_API QAL_API_NONNULL() qald *qalsub(qald *x, const qald *y);

/**
 * x ^= y: the sum of polynomials over GF(2).
 *
 * @param[in,out] x  number, with room for as many digits as the longer operand has.
 * @param[in]     y  number; may be x.
 * @return x.
 */
QAL_API QAL_API_NONNULL() qald *qaladd2m(qald *x, const qald *y);

/**
 * c = a * b.
 *
 * @param[in]  a,b  numbers; a may be b.
 * @param[out] c    room for the digits of both; must not overlap a or b.
 * @return c.
 *
 * Timing: depends on the numbers of digits alone.
 */
QAL_API QAL_API_NONNULL() qald *qalmul(const qald *a, const qald *b, qald *c);

/**
 * c = a^2.
 *
 * @param[in]  a  number.
 * @param[out] c  room for twice the digits of a; must not overlap a.
 * @return c.
 *
 * Timing: depends on the number of digits alone.
 */
QAL_API QAL_API_NONNULL() qald *qalsqr(const qald *a, qald *c);

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
 * @param[out] y  room for s / 64 digits less than x has; may be x.
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
QAL_API QAL_API_NONNULL() uint64_t qalbitlen(const qald *x, uint64_t u);

/**
 * q = x / y, rounded down, and r = x mod y. Division by zero does nothing at all: q and r stay as
 * they are.
 *
 * @param[in]  x  dividend, at most 128 digits.
 * @param[in]  y  divisor, at most 129 digits. It is not written, and may serve several threads.
 * @param[out] q  room for (digits of x) - (digits of y) + 1 digits; must not overlap x, y or r;
 * null when only the remainder is wanted.
 * @param[out] r  room for 2 digits more than x has; may be x, must not overlap y.
 *
 * Fails: "(((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3) >= ( y[0]+2 )",
 * "(((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3) >= ( x[0]+3 )".
 */
QAL_API QAL_API_NONNULL(1, 2) void qaldiv(const qald *x, const qald *y, qald *q, qald *r);

/**
 * Divide two digits by one.
 *
 * @param[in]  xh,xl  dividend xh * 2^64 + xl, with xh < y.
 * @param[in]  y      divisor, with its top bit set.
 * @param[out] q      quotient; may be null.
 * @return the remainder.
 *
 * Fails: "xh<y", "y>>((sizeof(qald)*8)-1)".
 */
QAL_API uint64_t qaldivs(uint64_t xh, uint64_t xl, uint64_t y, uint64_t *q);

/**
 * x mod d.
 *
 * @param[in] x  number.
 * @param[in] d  divisor, not zero.
 * @return the remainder.
 */
QAL_API QAL_API_NONNULL() uint64_t qalmodd(const qald *x, uint64_t d);

/**
 * x = x mod p for p = 2^l - c.
 *
 * @param[in,out] x  number below 2^(2l); digits that the result does not need are set to zero.
 * @param[in]     p  modulus, at least two digits.
 * @param[in]     l  bits of the modulus, a multiple of 64.
 * @param[in]     c  2^l - p; the result has no meaning where the three do not match.
 * @return x.
 *
 * Fails: "x != 0", "p != 0", "*x <= (2*l/(sizeof(qald)*8))", "(l % (sizeof(qald)*8)) == 0",
 * "*p >= 2".
 */
QAL_API qald *qalmodsf(qald *x, const qald *p, int32_t l, uint64_t c);

/**
 * 1/a mod 2^64. The Montgomery constant of an odd p, -1/p mod 2^64, is qalinverse(-p[1]).
 *
 * @param[in] a  odd.
 * @return the inverse.
 */
QAL_API uint64_t qalinverse(uint64_t a);

/**
 * out = 1/a mod p.
 *
 * @param[in]  a    number with 0 < a < p and no divisor in common with p; zero gives p.
 * @param[in]  p    odd modulus.
 * @param[out] out  room for the digits of p; may be a or p.
 * @return out.
 */
QAL_API QAL_API_NONNULL() qald *qalmodinv(const qald *a, const qald *p, qald *out);

/**
 * x = 2^n.
 *
 * @param[out] x  room for n / 64 + 1 digits.
 * @param[in]  n  exponent.
 * @return x.
 */
QAL_API QAL_API_NONNULL() qald *qalexpb2(qald *x, uint64_t n);

/**
 * x = x mod 2^n.
 *
 * @param[in,out] x  number.
 * @param[in]     n  bits to keep.
 * @return x.
 */
QAL_API QAL_API_NONNULL() qald *qalmodexpb2(qald *x, uint64_t n);

/**
 * x += 2^n.
 *
 * @param[in,out] x  number, with room for max(digits of x, n / 64 + 1) digits and one for the
 * carry.
 * @param[in]     n  exponent.
 * @return x.
 *
 * Fails: "i<=(((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3)" if the sum reaches digit 132.
 */
QAL_API QAL_API_NONNULL() qald *qaladdb2(qald *x, uint64_t n);

/**
 * Montgomery reduction: t = t / 2^k mod p.
 *
 * The result is less than p where t < 2^k p; it is the quotient of the sum of t and a multiple of p
 * by 2^k, less p once if that is not negative.
 *
 * @param[in]     c  Montgomery constant of p.
 * @param[in]     k  bits of the radix 2^k, at most 64 (digits of p) + 63; the usual 64 (digits of
 * p) is fastest.
 * @param[in]     p  odd modulus.
 * @param[in,out] t  number of at most 2 (digits of p) + 1 digits, and room for as many.
 * @return t.
 */
QAL_API QAL_API_NONNULL() qald *qalmontcom(uint64_t c, uint32_t k, const qald *p, qald *t);

/**
 * Montgomery product: t = a * b / 2^k mod p.
 *
 * @param[in]  c,k,p  as for qalmontcom().
 * @param[in]  a,b    factors in Montgomery form, no more digits than p has; a may be b.
 * @param[out] t      room for 2 (digits of p) + 1 digits; must not overlap a, b or p.
 * @return t.
 *
 * Fails: "p!=0", "a!=0", "b!=0", "t!=0",
 * "((*a)+(*b)) <= ((((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3)-1)", "(*a) <= (*p)",
 * "(*b) <= (*p)".
 *
 * Timing: depends on the numbers of digits alone where k is 64 (digits of p).
 */
QAL_API qald *qalmulmont(uint64_t c, uint32_t k, const qald *p, const qald *a, const qald *b,
                         qald *t);

/**
 * Montgomery square: t = a^2 / 2^k mod p.
 *
 * @param[in]  c,k,p  as for qalmontcom().
 * @param[in]  a      number in Montgomery form, no more digits than p has.
 * @param[out] t      room for 2 (digits of p) + 1 digits; must not overlap a or p.
 * @return t.
 *
 * Fails: "p!=0", "a!=0", "t!=0",
 * "(*a)*2 <= ((((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3)-1)", "(*a) <= (*p)".
 *
 * Timing: depends on the numbers of digits alone where k is 64 (digits of p).
 */
QAL_API qald *qalsqrmont(uint64_t c, uint32_t k, const qald *p, const qald *a, qald *t);

/**
 * x = 2^k mod p: one in Montgomery form.
 *
 * @param[in]  k  bits of the radix, not negative.
 * @param[in]  p  modulus.
 * @param[out] x  room for k / 64 + 3 digits.
 * @return x.
 */
QAL_API QAL_API_NONNULL() qald *qalunitymont(int32_t k, const qald *p, qald *x);

/**
 * The next window of an exponent, for a scan from the left: the longest of at most w bits that
 * begins at bit i, goes down, and ends in a 1.
 *
 * @param[in]  e    number.
 * @param[in]  i    bit to begin at; the highest one is qalbitlen(e, 1) - 1.
 * @param[in]  w    most bits.
 * @param[out] len  bits that were taken.
 * @return the window's value, which is odd, or 0 for a run of zero bits.
 */
QAL_API QAL_API_NONNULL() uint64_t qalgetslide(const qald *e, uint64_t i, int64_t w, int64_t *len);

/**
 * Window i of an exponent cut into windows of n bits: bits i n to i n + n - 1.
 *
 * @param[in] e  number; its bits above the highest are 0.
 * @param[in] i  window.
 * @param[in] n  bits of a window, at most 31 for the windows to be whole: of wider ones n - 32 bits
 *               are returned.
 * @return the window's value.
 *
 * Fails: "n<(sizeof(qald)*8)".
 */
QAL_API QAL_API_NONNULL() uint64_t qalgetwin(const qald *e, uint64_t i, uint64_t n);

/**
 * The first half of qalpowmod(), which depends on base and modulus alone: the odd powers of x.
 *
 * @param[out] work  18 buffers of #QALBIG_SIZE words. Buffer i, for i from 0 to 15, is x^(2i + 1),
 * in Montgomery form if p is odd.
 * @param[in]  x     base; if p is odd, no more digits than p has.
 * @param[in]  p     modulus: if odd, at most 63 digits; if even, at most 64, and so x.
 * @return work.
 *
 * Fails: as qalmulmont() and qaldiv() do.
 */
QAL_API QAL_API_NONNULL() qald *qalpowmodstart(qald *work, const qald *x, const qald *p);

/**
 * The second half of qalpowmod(): r = x^e mod p.
 *
 * @param[in]  work  what qalpowmodstart() made.
 * @param[in]  e     exponent.
 * @param[in]  p     modulus.
 * @param[out] r     room for the digits of p; must not overlap e, p or work.
 * @return r.
 */
QAL_API QAL_API_NONNULL() qald *qalpowmodstop(qald *work, const qald *e, const qald *p, qald *r);

/**
 * r = x^e mod p.
 *
 * @param[out] work  18 buffers of #QALBIG_SIZE words.
 * @param[in]  x,p   as for qalpowmodstart().
 * @param[in]  e     exponent; zero gives 1.
 * @param[out] r     room for the digits of p; may be x, must not overlap e, p or work.
 * @return r.
 *
 * Fails: as qalmulmont() and qaldiv() do.
 */
QAL_API QAL_API_NONNULL() qald *qalpowmod(qald *work, const qald *x, const qald *e, const qald *p,
                                          qald *r);

/**
 * The first half of qalpowmont(): the odd powers of x.
 *
 * @param[out] work   16 buffers of #QALBIG_SIZE words. Buffer i is x^(2i + 1) in Montgomery form.
 * @param[in]  c,k,p  as for qalmontcom().
 * @param[in]  x      base in Montgomery form.
 * @return work.
 */
QAL_API QAL_API_NONNULL() qald *qalpowmontstart(qald *work, uint64_t c, uint32_t k, const qald *p,
                                                const qald *x);

/**
 * The second half of qalpowmont(): r = x^e in Montgomery form.
 *
 * @param[in]  work   what qalpowmontstart() made.
 * @param[in]  one    1 in Montgomery form.
 * @param[in]  c,k,p  as for qalmontcom().
 * @param[in]  e      exponent.
 * @param[out] r      room for the digits of p; must not overlap e, p or work.
 * @return r.
 */
QAL_API QAL_API_NONNULL() qald *qalpowmontstop(qald *work, const qald *one, uint64_t c, uint32_t k,
                                               const qald *p, const qald *e, qald *r);

/**
 * r = x^e, in Montgomery form.
 *
 * @param[out] work   16 buffers of #QALBIG_SIZE words.
 * @param[in]  one    1 in Montgomery form.
 * @param[in]  c,k,p  as for qalmontcom().
 * @param[in]  x      base in Montgomery form.
 * @param[in]  e      exponent.
 * @param[out] r      room for the digits of p; may be x, must not overlap e, p or work.
 * @return 0.
 */
QAL_API QAL_API_NONNULL() int qalpowmont(qald *work, const qald *one, uint64_t c, uint32_t k,
                                         const qald *p, const qald *x, const qald *e, qald *r);

/**
 * The odd powers of x, side by side: a smaller table than that of qalpowmontstart().
 *
 * @param[out] powers  2^(w - 1) entries of (digits of p) + 1 words. Entry i is x^(2i + 1).
 * @param[in]  w       bits of the window, not zero.
 * @param[in]  c,k,p   as for qalmontcom().
 * @param[in]  x       base in Montgomery form.
 * @return powers.
 *
 * Fails: "powers != 0", "p != 0", "x != 0",
 * "((*p)*2+2) <= (((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3)".
 */
QAL_API qald *qalmontic(qald *powers, uint32_t w, uint64_t c, uint32_t k, const qald *p,
                        const qald *x);

/**
 * r = x^e, in Montgomery form, with a number of products that does not tell how many windows e has:
 * at least maxbits / w, rounded up, are made. Squares, and which entries are read, still depend on
 * e.
 *
 * @param[in]  powers   what qalmontic() made with w = 5: the exponent is cut into windows of five
 *                      bits whatever w is here.
 * @param[in]  w        what maxbits is divided by, not zero.
 * @param[in]  maxbits  most bits that an exponent may have; 0 for no more products than it takes.
 * @param[in]  one      1 in Montgomery form.
 * @param[in]  c,k,p    as for qalmontcom().
 * @param[in]  e        exponent.
 * @param[out] r        room for the digits of p; must not overlap powers, e or p.
 * @return r.
 */
QAL_API QAL_API_NONNULL() qald *qalicpowmont(const qald *powers, uint32_t w, uint32_t maxbits,
                                             const qald *one, uint64_t c, uint32_t k, const qald *p,
                                             const qald *e, qald *r);

/**
 * Miller and Rabin's test of primality, with bases that are drawn afresh in each call and are not
 * fit for anything else.
 *
 * @param[in] n       number of at most 64 digits, not 1, for which this does not end.
 * @param[in] rounds  bases to try; with none, every odd number passes.
 * @return 1 if n is 2 or probably prime, 0 if it is composite or zero.
 */
QAL_API QAL_API_NONNULL() int qalrmt(const qald *n, uint32_t rounds);

/**
 * x = the number of big-endian bytes.
 *
 * @param[out] x  room for n / 8 digits, rounded up.
 * @param[in]  b  bytes, most significant first; leading zeros are allowed.
 * @param[in]  n  their number; of more than 1040, which fill a buffer, the first 1040 are read.
 * @return x.
 */
QAL_API QAL_API_NONNULL(1) qald *qalfrombase256(qald *x, const uint8_t *b, uint32_t n);

/**
 * The big-endian bytes of x, without leading zeros; of zero there are none.
 *
 * @param[out] b     bytes, most significant first.
 * @param[in]  size  room in bytes; too little keeps the most significant ones, without notice.
 * @param[in]  x     number; qalbitlen(x, 8) bytes hold it.
 * @return the number of bytes written.
 */
QAL_API QAL_API_NONNULL(3) uint32_t qaltobase256(uint8_t *b, uint32_t size, const qald *x);

/**
 * x = the number of little-endian bytes.
 *
 * @param[out] x  room for n / 8 digits, rounded up.
 * @param[in]  b  bytes, least significant first; zeros at the end are allowed.
 * @param[in]  n  their number; of more than 1040, which fill a buffer, the first 1040 are read.
 * @return x.
 */
QAL_API QAL_API_NONNULL(1) qald *qalfromrbase256(qald *x, const uint8_t *b, uint32_t n);

/**
 * The little-endian bytes of x, without zeros at the end; of zero there are none.
 *
 * @param[out] b     bytes, least significant first.
 * @param[in]  size  room in bytes; too little keeps the least significant ones, without notice.
 * @param[in]  x     number; qalbitlen(x, 8) bytes hold it.
 * @return the number of bytes written.
 */
QAL_API QAL_API_NONNULL(3) uint32_t qaltorbase256(uint8_t *b, uint32_t size, const qald *x);

/** qalfrombase256(x, base + off, n). */
QAL_API QAL_API_NONNULL(1) qald *qalgetbe(qald *x, const uint8_t *base, uint64_t off, uint32_t n);

/** qaltobase256(base + off, size, x). */
QAL_API QAL_API_NONNULL(4) uint32_t
    qalputbe(uint8_t *base, uint64_t off, uint32_t size, const qald *x);

/** qalfromrbase256(x, base + off, n). */
QAL_API QAL_API_NONNULL(1) qald *qalgetle(qald *x, const uint8_t *base, uint64_t off, uint32_t n);

/** qaltorbase256(base + off, size, x). */
QAL_API QAL_API_NONNULL(4) uint32_t
    qalputle(uint8_t *base, uint64_t off, uint32_t size, const qald *x);

/**
 * Hexadecimal text: upper case, most significant digit first, no leading zeros, "0" for zero.
 *
 * @param[in]  x     number.
 * @param[out] t     text, ended by a NUL; nothing is written if this is null.
 * @param[in]  size  room in characters, the NUL included. Where it is too little, the text is a row
 * of asterisks; for zero it is empty; nothing is written if this is 0 or less.
 */
QAL_API void qaltoxstr(const qald *x, char *t, int32_t size);

#ifdef __cplusplus
}
#endif

#endif
