// x^e mod p on digits, chosen by the processor: from a table of odd powers, for secrets, and for
// the public operation of RSA. The name of a power whose time depends on the exponent ends in _var.
//
// All but the table's powers are on digits without length words.
#ifndef QAL_QALMATH64_POWERS_POWERS_HPP
#define QAL_QALMATH64_POWERS_POWERS_HPP

#include "qalmath64/kernels/kernels.hpp"

namespace qal::math {

// r = x^e, in Montgomery form of R = 2^(64 n), for odd p of n digits and e other than zero. All are
// numbers with length words; entry i of the table, `stride` words apart, is x^(2i + 1) in the same
// form, for i from 0 to 15. r has room for n digits and must not overlap e, p or the table. Time
// depends on n and e.
QAL_KERNEL void raise_odd_powers_var(qald *r, const qald *table, size_t stride, const qald *e,
                                     const qald *p);

// Most digits of a modulus of the following powers.
constexpr size_t most_secret_digits = 32;
constexpr size_t most_public_digits = 32;

// r = x^e mod p.
struct SecretPower {
    qald *r;       // n digits
    const qald *x; // 2n digits, a number below p 2^(64 n), as one below p q is for q of n digits
    const qald *e; // the digits of a number below 2^bits
    const qald *p; // n digits of an odd number, the highest not zero
};

// x^0 is 1 mod p. r may be e or p, and may overlap x in any way. Base, exponent and modulus show
// neither in time nor in addresses, which depend on n and bits alone. The modulus is secret since
// the prime factors of a private RSA key are: it is never divided by.
QAL_KERNEL void power_secret(const SecretPower &power, size_t n, size_t bits);

// Two at once, for moduli of n digits each. The r of either must not overlap what belongs to the
// other; x, e and p may be the same.
QAL_KERNEL void power_secret_pair(const SecretPower &first, const SecretPower &second, size_t n,
                                  size_t bits);

// r = x^e' mod p, where e' is e with its bits in reverse order.
struct PublicPower {
    qald *r;       // as many digits as p has
    const qald *x; // as many digits, of any value; may be r
    const qald *p; // odd number with a length word, whose highest byte is not zero
    const qald *e; // number with a length word, not zero
};

// Time depends on p and e, not on x.
QAL_KERNEL void power_public_var(const PublicPower &power);

#define QAL_POWER_ROUTINES(V)                                                                      \
    V(raise_odd_powers_var, avx512, portable);                                                     \
    V(power_secret, avx512, portable);                                                             \
    V(power_secret_pair, avx512, portable);                                                        \
    V(power_public_var, avx512, portable)
QAL_POWER_ROUTINES(QAL_DECLARE_VARIANTS);

// r = 2^bits mod p for an odd p of n digits, the highest not zero, and bits from 64 n on. r must
// not overlap p. Time depends on n and bits alone.
QAL_KERNEL void power_of_two_secret(qald *r, size_t bits, const qald *p, size_t n);

} // namespace qal::math

#endif
