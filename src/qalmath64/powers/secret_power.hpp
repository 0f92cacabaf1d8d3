// Exponentiation for secrets: neither base, exponent nor modulus shows in time or in addresses.
//
// The modulus is secret, too, as the prime factors of a private RSA key are: it is never divided
// by. What the time does depend on is the number of digits and the nominal length of the exponent.
#ifndef QAL_QALMATH64_SECRET_POWER_HPP
#define QAL_QALMATH64_SECRET_POWER_HPP

#include "qalmath64/kernels/digits.hpp"

namespace qal::math {

// Most digits of a modulus here.
constexpr size_t most_secret_digits = 32;

// r = x^e mod p, on digits without length words.
struct SecretPower {
    qald *r;       // n digits
    const qald *x; // 2n digits, a number below p 2^(64 n), as one below p q is for q of n digits
    const qald *e; // the digits of a number below 2^bits
    const qald *p; // n digits of an odd number, the highest not zero
};

#define QAL_SECRET_POWERS(name, ...)                                                               \
    QAL_KERNEL void name(__VA_ARGS__);                                                             \
    QAL_KERNEL void name##_portable(__VA_ARGS__);                                                  \
    QAL_KERNEL void name##_avx512(__VA_ARGS__)

// n is at most 32; x^0 is 1 mod p. r may be e or p, and may overlap x in any way.
QAL_SECRET_POWERS(power_secret, const SecretPower &power, size_t n, size_t bits);

// Two at once, for moduli of as many digits each. The r of either must not overlap what belongs to
// the other; x, e and p may be the same.
QAL_SECRET_POWERS(power_secret_pair, const SecretPower &first, const SecretPower &second, size_t n,
                  size_t bits);

// The window of an exponent's bits that suits its length best, with the table of all 2^w powers.
constexpr unsigned widest_secret_window = 5;
constexpr unsigned secret_window(size_t bits)
{
    return bits <= 8 ? 1 : bits <= 24 ? 2 : bits <= 80 ? 3 : bits <= 256 ? 4 : widest_secret_window;
}

// Bits i to i + w - 1 of an exponent of `bits` bits; i is not secret.
inline unsigned exponent_window(const qald *e, size_t bits, size_t i, unsigned w)
{
    const size_t digit = i / 64, offset = i % 64;
    qald window = e[digit] >> offset;
    if (offset + w > 64 && 64 * (digit + 1) < bits)
        window |= e[digit + 1] << (64 - offset);
    return static_cast<unsigned>(window & ((1u << w) - 1));
}

// r = 2^bits mod p for an odd p of n digits, the highest not zero, and bits from 64 n on. r must
// not overlap p. The time depends on n and bits alone.
QAL_KERNEL void power_of_two_secret(qald *r, size_t bits, const qald *p, size_t n);

} // namespace qal::math

#endif
