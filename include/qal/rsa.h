/**
 * @file
 * RSA (RFC 8017, clauses 3 and 5): primes, keys, and the operations on keys of 512, 1024, 1536 and
 * 2048 bits; below them what they are made of: a random pool, Miller and Rabin's test, bit strings,
 * Euclid's algorithm.
 *
 * Messages are raw: a message is a number, given as big-endian bytes, and what is signed or
 * encrypted is that number. Padding (PKCS #1, clauses 7 to 9) is the caller's, and without it the
 * operations are not secure.
 *
 * Making a key: install a generator in #rsa_gen_rnd, begin with rsa_keygen_init(), and call
 * rsa_keygen() with new random bytes each time until it returns #RSA_OK; then export the key with
 * rsa_get_privkey() and rsa_get_pubkey(). The operations work on what was exported.
 *
 * A key parameter is a number in bytes: two bytes of big-endian length L, at most 256, and L bytes
 * of big-endian value, without leading zero bytes when it is written; zero has L = 0. The private
 * key is five of them: the primes p > q, dP = d mod (p - 1), dQ = d mod (q - 1) and
 * qInv = 1/q mod p. The public key is two: n = p q and e = 65537.
 *
 * The operations from rsa_keygen_init() on return a code of #rsa_code. Each lists those that it can
 * return.
 *
 * Timing: rsa_sign() and rsa_decrypt() depend on the lengths of key and message alone. The making
 * of keys depends on the primes that it tries and is to be kept from an attacker's clock.
 */
#ifndef QAL_RSA_H
#define QAL_RSA_H

#include <qal/api.h>
#include <qal/qalmath64.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** The longest modulus, and so the longest signature, in bytes. */
#define RSA_MAX_MODULUS_SIZE 256

/** The longest private and public key, in bytes of key parameters. */
#define RSA_MAX_PRIVATE_KEY_SIZE (5 * (2 + RSA_MAX_MODULUS_SIZE / 2))
#define RSA_MAX_PUBLIC_KEY_SIZE (2 + RSA_MAX_MODULUS_SIZE + 2 + 3)

/** What the operations from rsa_keygen_init() on return. */
enum rsa_code {
    RSA_OK = 0,                /**< success; the signature fits */
    RSA_BAD_SIZE = 1,          /**< the size of the modulus is not permitted */
    RSA_BAD_ARGUMENT = 2,      /**< a null pointer, a malformed key, a key that is not complete, a
                                    message of rsa_sign() that is too long */
    RSA_CALL_AGAIN = 3,        /**< rsa_keygen(): no key yet; call again with new random bytes */
    RSA_TOO_FEW_RANDOM = 4,    /**< rsa_keygen(): too few random bytes */
    RSA_OUTPUT_TOO_SMALL = 5,  /**< the output does not fit into its buffer */
    RSA_WRONG_SIGNATURE = 6,   /**< rsa_verify(): the signature does not fit */
    RSA_BAD_MESSAGE_LENGTH = 7 /**< rsa_encrypt(): the message is empty or too long */
};

/** Random bytes from which the bases of a primality test are drawn. */
typedef struct {
    const qald *n;     /**< the number that is tested */
    uint8_t pool[256]; /**< random bytes */
    int32_t pos;       /**< where the next base begins */
} rsa_keygen_rp;

/** A signed number. */
typedef struct {
    qald mag[65]; /**< magnitude, at most 64 digits */
    int32_t sign; /**< 1 or -1; zero may have either */
} qalsi;

/** A key in the making, and when rsa_keygen() has returned #RSA_OK, a key. Numbers have 16 digits
 * at most. It holds secrets: erase it after use. */
typedef struct {
    qald p[17];    /**< larger prime */
    qald q[17];    /**< smaller prime */
    qald dP[17];   /**< d mod (p - 1) */
    qald dQ[17];   /**< d mod (q - 1) */
    qald qInv[17]; /**< 1/q mod p */
    uint32_t bits; /**< bits of the modulus */
} rsa_keygen_ctx;

/** The generator that primality tests draw from, 256 bytes at a time; to be set once, before any
 * key is made, and to be safe for threads if several make keys. At first it is dummy_gen_rnd(). */
QAL_API extern qal_rnd rsa_gen_rnd;

/**
 * The generator of applications that have installed none: never returns. The library has no
 * randomness of its own, and better no key than a weak one.
 *
 * @param[in] buf,len  anything.
 * @return never.
 */
QAL_API int dummy_gen_rnd(uint8_t *buf, uint32_t len);

/**
 * Begin a pool: one call of #rsa_gen_rnd fills it.
 *
 * @param[out] rp  pool.
 * @param[in]  n   number that bases are to be drawn for; the pool keeps the pointer.
 * @return what the generator returned.
 */
QAL_API QAL_API_NONNULL() int rsa_keygen_rp_init(rsa_keygen_rp *rp, const qald *n);

/**
 * Draw a random base from 2 to n - 1.
 *
 * It is as many bytes of the pool, big-endian, as n has, reduced to the bits of n, less n if not
 * below it; the next base begins one byte further on. When the bytes run out, the pool is filled
 * anew. 0 and 1 are passed over, for ever if the generator gives nothing else.
 *
 * @param[in,out] rp   pool, for an n above 2 and of at most 256 bytes.
 * @param[out]    out  room for the digits of n and one more.
 * @return out.
 */
QAL_API QAL_API_NONNULL() qald *rsa_keygen_rp_get(rsa_keygen_rp *rp, qald *out);

/**
 * Miller and Rabin's test, with bases from a pool of its own (one call of #rsa_gen_rnd, even if n
 * is even).
 *
 * @param[in] n       odd number above 1, at most 16 digits; even ones are found composite.
 * @param[in] rounds  bases to try; with none, odd numbers pass.
 * @return 1 if n passes, 0 if it is composite.
 */
QAL_API QAL_API_RESULT QAL_API_NONNULL() int RabinMiller(const qald *n, uint32_t rounds);

/**
 * Test a number of a key's size: division by the primes below 1000, and RabinMiller() with 27
 * rounds for less than 150 bits and with 18, 15, 12, 9, 8, 7, 6, 5, 4, 3, 2 rounds from 150, 200,
 * 250, 300, 350, 400, 450, 550, 650, 850, 1300 bits on.
 *
 * @param[in] n  number, at most 16 digits.
 * @return 1 if n is probably prime; 0 if it is composite, or has a divisor below 1000 even if that
 * is n itself.
 */
QAL_API QAL_API_RESULT QAL_API_NONNULL() int isPrime(const qald *n);

/**
 * Test a prime of a key: isPrime() and rsa_prime_ok().
 *
 * @param[in] n     number, at most 16 digits.
 * @param[in] bits  bits of the modulus.
 * @return 1 if n fits, else 0.
 */
QAL_API QAL_API_RESULT QAL_API_NONNULL() int isRSAPrime(const qald *n, uint64_t bits);

/**
 * What a prime of a key must be besides prime: of bits / 2 bits, and n - 1 no multiple of 65537.
 *
 * @param[in] n     number.
 * @param[in] bits  bits of the modulus.
 * @return 1 if n fits, else 0.
 */
QAL_API QAL_API_RESULT QAL_API_NONNULL() int rsa_prime_ok(const qald *n, uint64_t bits);

/**
 * Find the first number from x on, and below x + 8128, that is probably prime. Candidates that a
 * sieve leaves, x itself always among them, are given to RabinMiller() in ascending order, with the
 * rounds of isPrime(). The sieve knows the odd primes up to 3571 without 23, and even numbers at
 * every other stretch of 32.
 *
 * @param[in,out] x  odd number, with room for 16 digits; the prime if one was found.
 * @return 1 if one was found; 0 if there is none of at most 16 digits, and x is unchanged.
 */
QAL_API QAL_API_RESULT QAL_API_NONNULL() int find_prime_near(qald *x);

/**
 * g = gcd(a, b).
 *
 * @param[in]  a,b  numbers of at most 128 digits; the greatest common divisor of 0 and b is b.
 * @param[out] g    room for the digits of the larger; may be a or b.
 * @return g.
 */
QAL_API QAL_API_NONNULL() qald *GCD(const qald *a, const qald *b, qald *g);

/**
 * a = 1/a mod m.
 *
 * @param[in,out] a  number without a divisor in common with m, at most 63 digits and with room for
 *                   those of m; of others there is no inverse, and the search for it does not end.
 * @param[in]     m  modulus above 1, at most 63 digits; must not overlap a.
 * @return a.
 */
QAL_API QAL_API_NONNULL() qald *inv_mod_extgcd(qald *a, const qald *m);

/**
 * r = x^e mod m, for secret x, e and m.
 *
 * @param[in]  x  base, at most 128 digits; fastest if it has no more than m.
 * @param[in]  e  exponent; zero gives 1 mod m.
 * @param[in]  m  odd modulus, at most 16 digits.
 * @param[out] r  room for the digits of m; may be x, e or m.
 * @return r.
 *
 * Timing: depends on the numbers of digits alone, but for an x of more digits than m.
 */
QAL_API QAL_API_NONNULL() qald *rsapowmod(const qald *x, const qald *e, const qald *m, qald *r);

/**
 * Begin a bit string: ceil(l / 64) words, all of them equal. A bit string is laid out like a
 * number, with bit i as bit i mod 64 of word i / 64 + 1, but without regard to zero words at its
 * top.
 *
 * @param[out] bs    room for ceil(l / 64) words behind the length.
 * @param[in]  l     bits, not negative.
 * @param[in]  fill  what each word becomes.
 * @return bs.
 *
 * Fails: "l <= ((((2*(4096)+(sizeof(qald)*8)-1)/(sizeof(qald)*8))+3)-1)" for more than 130 words.
 */
QAL_API QAL_API_NONNULL() qald *qalbscr(qald *bs, int32_t l, uint64_t fill);

/**
 * Bits of a bit string.
 *
 * @param[in] bs  bit string.
 * @return 64 times its words.
 */
QAL_API QAL_API_NONNULL() uint64_t qalbslen(const qald *bs);

/**
 * Set or clear a bit.
 *
 * @param[in,out] bs   bit string.
 * @param[in]     i    index.
 * @param[in]     val  1 to set, 0 to clear.
 * @return val, or UINT32_MAX if the string ends before i.
 *
 * Fails: "(val == 0) || (val == 1)".
 */
QAL_API QAL_API_NONNULL() uint32_t qalbssetbit(qald *bs, uint64_t i, uint32_t val);

/**
 * The next bit of a value.
 *
 * @param[in] bs  bit string.
 * @param[in] i   index before the first to look at; 2^64 - 1 to begin with bit 0.
 * @param[in] v   0 or 1.
 * @return the index of the first bit behind i that is v, or UINT32_MAX if there is none.
 */
QAL_API QAL_API_NONNULL() uint32_t qalbsnextval(const qald *bs, uint64_t i, int32_t v);

/**
 * s = +x.
 *
 * @param[out] s  signed number.
 * @param[in]  x  number, at most 64 digits.
 * @return s.
 */
QAL_API QAL_API_NONNULL() qalsi *qalsicr(qalsi *s, const qald *x);

/**
 * d = s.
 *
 * @param[out] d  signed number.
 * @param[in]  s  signed number; may be d.
 * @return d.
 */
QAL_API QAL_API_NONNULL() qalsi *qalsicopy(qalsi *d, const qalsi *s);

/**
 * a -= b. A zero has the sign that a had.
 *
 * @param[in,out] a  signed number; the difference must have 64 digits at most.
 * @param[in]     b  signed number; may be a.
 * @return a.
 */
QAL_API QAL_API_NONNULL() qalsi *qalsisub(qalsi *a, const qalsi *b);

/**
 * d = a - q b.
 *
 * @param[out] d  signed number; may be a or b. It must have 64 digits at most.
 * @param[in]  a  signed number.
 * @param[in]  q  number.
 * @param[in]  b  signed number.
 * @return d.
 */
QAL_API QAL_API_NONNULL() qalsi *qalsisubmul(qalsi *d, const qalsi *a, const qald *q,
                                             const qalsi *b);

/**
 * Whether a modulus may have this size.
 *
 * @param[in] bits  bits of the modulus.
 * @return 1 for 512, 1024, 1536 and 2048, else 0.
 */
QAL_API uint32_t rsa_is_prermitted_modsize(uint32_t bits);

/**
 * Read a key parameter.
 *
 * @param[out] x  room for as many digits as the L bytes fill, 32 at most.
 * @param[in]  b  key parameter; leading zero bytes of its value are allowed.
 * @return the bytes read, L + 2; or UINT32_MAX if L is more than 256, and x is unchanged.
 */
QAL_API QAL_API_NONNULL() uint32_t load_rsa_key_prm(qald *x, const uint8_t *b);

/**
 * Write a key parameter.
 *
 * @param[out] b  room for two bytes more than x has.
 * @param[in]  x  number.
 * @return the bytes written, L + 2; or UINT32_MAX if x has more than 256 bytes, and only its length
 * modulo 2^16 was written.
 */
QAL_API QAL_API_NONNULL() uint32_t save_rsa_key_prm(uint8_t *b, const qald *x);

/**
 * Begin a key.
 *
 * @param[out] ctx   record.
 * @param[in]  bits  bits of the modulus.
 * @return #RSA_OK, #RSA_BAD_SIZE or #RSA_BAD_ARGUMENT; the record is written on success alone.
 */
QAL_API QAL_API_RESULT int rsa_keygen_init(rsa_keygen_ctx *ctx, uint32_t bits);

/**
 * Take a step in the making of a key: look for a prime from a random number on, and complete the
 * key if it is the second one.
 *
 * The first bits / 16 bytes of rnd are a number, made odd by adding 1 and brought to bits / 2 bits
 * by adding 2^(bits / 2 - 1), where that is needed; find_prime_near() goes on from there. The
 * code #RSA_CALL_AGAIN means that nothing was found, that the prime does not fit (see
 * rsa_prime_ok()), that it is equal to the other one, or that it is the first one and has been
 * kept.
 *
 * @param[in,out] ctx  record after rsa_keygen_init().
 * @param[in]     rnd  random bytes, new ones for each call.
 * @param[in]     len  their number, at least bits / 16.
 * @return #RSA_OK if the key is complete, otherwise #RSA_BAD_SIZE, #RSA_BAD_ARGUMENT,
 *         #RSA_CALL_AGAIN or #RSA_TOO_FEW_RANDOM.
 */
QAL_API QAL_API_RESULT int rsa_keygen(rsa_keygen_ctx *ctx, const uint8_t *rnd, uint32_t len);

/**
 * Compute dP, dQ and qInv from p and q: the inverse of e modulo lcm(p - 1, q - 1) is reduced modulo
 * p - 1 and q - 1.
 *
 * @param[in,out] ctx  record with two different primes for which 65537 has an inverse.
 */
QAL_API QAL_API_NONNULL() void rsa_gen_crt(rsa_keygen_ctx *ctx);

/**
 * Export the private key.
 *
 * @param[in]  ctx   complete key.
 * @param[out] out   five key parameters: p, q, dP, dQ, qInv.
 * @param[in]  size  bytes of out, at least 5 (bits / 16) + 10.
 * @return #RSA_OK, #RSA_BAD_SIZE, #RSA_BAD_ARGUMENT or #RSA_OUTPUT_TOO_SMALL.
 */
QAL_API QAL_API_RESULT int rsa_get_privkey(const rsa_keygen_ctx *ctx, uint8_t *out, uint32_t size);

/**
 * Export the public key.
 *
 * @param[in]  ctx   complete key.
 * @param[out] out   two key parameters: n, e.
 * @param[in]  size  bytes of out, at least bits / 8 + 7.
 * @return #RSA_OK, #RSA_BAD_SIZE, #RSA_BAD_ARGUMENT or #RSA_OUTPUT_TOO_SMALL.
 */
QAL_API QAL_API_RESULT int rsa_get_pubkey(const rsa_keygen_ctx *ctx, uint8_t *out, uint32_t size);

/**
 * Sign: out = m^d mod n, by the Chinese remainder theorem (RFC 8017, clause 5.2.1).
 *
 * @param[out] out   as many bytes as n has, big-endian; may overlap m.
 * @param[in]  m     message, big-endian; it may be n or more, and is reduced then.
 * @param[in]  mlen  its bytes, at most those of n; none are the number 0.
 * @param[in]  key   private key. n has the bits of p and of q together, which must be a permitted
 *                   size. Each parameter has 1 to 128 bytes; p and q must be odd.
 * @return #RSA_OK, #RSA_BAD_SIZE or #RSA_BAD_ARGUMENT; out is written on success alone.
 */
QAL_API QAL_API_RESULT int rsa_sign(uint8_t *out, const uint8_t *m, int32_t mlen,
                                    const uint8_t *key);

/**
 * Decrypt: the same operation as rsa_sign().
 *
 * @param[out] out   as many bytes as n has.
 * @param[in]  m     ciphertext.
 * @param[in]  mlen  its bytes.
 * @param[in]  key   private key.
 * @return #RSA_OK, #RSA_BAD_SIZE or #RSA_BAD_ARGUMENT.
 */
QAL_API QAL_API_RESULT int rsa_decrypt(uint8_t *out, const uint8_t *m, int32_t mlen,
                                       const uint8_t *key);

/**
 * Encrypt: out = m^e mod n (RFC 8017, clause 5.1.1).
 *
 * The exponent is taken from its lowest bit up while the power is squared: the message is raised to
 * e with its bits in reverse, which is e for 65537 and for every other palindrome.
 *
 * @param[out] out   as many bytes as n has, big-endian; may overlap m.
 * @param[in]  m     message, big-endian; it may be n or more, and is reduced then.
 * @param[in]  mlen  its bytes, from 1 to those of n.
 * @param[in]  key   public key. Both parameters have 1 to 256 bytes; n must be odd, and its bits,
 *                   rounded up to a multiple of 8, a permitted size.
 * @return #RSA_OK, #RSA_BAD_SIZE, #RSA_BAD_ARGUMENT or #RSA_BAD_MESSAGE_LENGTH; out is written on
 *         success alone.
 */
QAL_API QAL_API_RESULT int rsa_encrypt(uint8_t *out, const uint8_t *m, uint32_t mlen,
                                       const uint8_t *key);

/**
 * Verify: whether sig^e mod n, with e as in rsa_encrypt(), is the message modulo n (RFC 8017,
 * clause 5.2.2).
 *
 * @param[in] sig   signature, as many bytes as n has, big-endian.
 * @param[in] m     message, big-endian.
 * @param[in] mlen  its bytes, any number.
 * @param[in] key   public key, as for rsa_encrypt().
 * @return #RSA_OK if so, #RSA_WRONG_SIGNATURE if not, #RSA_BAD_SIZE or #RSA_BAD_ARGUMENT.
 */
QAL_API QAL_API_RESULT int rsa_verify(const uint8_t *sig, const uint8_t *m, uint32_t mlen,
                                      const uint8_t *key);

#ifdef __cplusplus
}
#endif

#endif
