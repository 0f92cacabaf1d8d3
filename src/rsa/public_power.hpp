// The power that the public operation takes: x^e' mod n, with e' the bits of e in reverse. Nothing
// about n and e is secret; the time does not depend on x.
#ifndef QAL_RSA_PUBLIC_POWER_HPP
#define QAL_RSA_PUBLIC_POWER_HPP

#include "qalmath64/kernels/kernels.hpp"

#include <string.h>

namespace qal::rsa {

// The longest modulus.
constexpr size_t modulus_digits = 32;

struct PublicPower {
    qald *r;       // as many digits as n has
    const qald *x; // as many digits, whatever they are; may be r
    const qald *n; // odd number
    const qald *e; // number, not zero
};

QAL_KERNEL void public_power(const PublicPower &power);
QAL_KERNEL void public_power_portable(const PublicPower &power);
QAL_KERNEL void public_power_avx512(const PublicPower &power);

namespace {

// r = 2^bits mod n on digits.
inline void power_of_two(qald *r, uint64_t bits, const qald *n)
{
    qald remainder[QALBIG_SIZE];
    qaldiv(qalexpb2(remainder, bits), n, nullptr, remainder);
    memcpy(r, remainder + 1, remainder[0] * sizeof *r);
    memset(r + remainder[0], 0, (n[0] - remainder[0]) * sizeof *r);
}

// The squares and products of a power, in whatever form they are made: it begins as x, and the bits
// of e are taken from the lowest one up. Below the first that is set it is one, and stays so. The
// last one that is taken is set: its product takes x itself, and so leaves Montgomery form on the
// way.
template<class Form>
inline void raise(Form &power, const qald *e)
{
    const uint64_t bits = qalbitlen(e, 1);
    const auto bit = [e](uint64_t i) { return e[i / 64 + 1] >> (i % 64) & 1; };
    uint64_t i = 0;
    while (bit(i) == 0)
        i++;
    if (++i == bits) {
        power.leave();
        return;
    }
    for (; i + 1 < bits; i++) {
        power.square();
        if (bit(i) != 0)
            power.multiply();
    }
    power.square();
    power.multiply_and_leave();
}

} // namespace
} // namespace qal::rsa

#endif
