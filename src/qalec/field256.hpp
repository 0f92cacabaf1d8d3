// Arithmetic modulo an odd prime of 255 or 256 bits, in four digits without a length.
//
// Two families with the same operations, both free of branches and addresses that depend on values:
//
//   SpecialField     p = 2^256 - c, c of one digit. Elements are plain and reduced to 256 bits
//   only.
//                    Any of [0, 2^256) stands for its class, so that a sum has to handle nothing
//                    but the carry out of the top, which is worth c.
//   MontgomeryField  any odd p. Elements are x * 2^256 mod p, below p.
//
// Outputs may be inputs throughout. Everything is in an unnamed namespace because the variants of
// the curve engine compile it with flags of their own.
#ifndef QAL_QALEC_FIELD256_HPP
#define QAL_QALEC_FIELD256_HPP

#include "base/uint128.hpp"

#include <stdint.h>

namespace qal::ec {
namespace {

using base::uint128;

struct Fe {
    uint64_t d[4];
};

// All ones for true, zero for false. The barrier keeps the compiler from finding out that a mask
// has two values only, and from branching on it.
[[gnu::always_inline]] inline uint64_t barrier(uint64_t mask)
{
    __asm__("" : "+r"(mask));
    return mask;
}

[[gnu::always_inline]] inline uint64_t mask_of_bit(uint64_t bit)
{
    return barrier(0 - bit);
}

[[gnu::always_inline]] inline uint64_t mask_if_zero(uint64_t x)
{
    return mask_of_bit(1 ^ ((x | (0 - x)) >> 63));
}

// r = mask ? a : r
[[gnu::always_inline]] inline void move_if(Fe &r, const Fe &a, uint64_t mask)
{
    for (int i = 0; i < 4; i++)
        r.d[i] ^= (r.d[i] ^ a.d[i]) & mask;
}

[[gnu::always_inline]] inline uint64_t mask_if_equal(const Fe &a, const Fe &b)
{
    return mask_if_zero((a.d[0] ^ b.d[0]) | (a.d[1] ^ b.d[1]) | (a.d[2] ^ b.d[2]) |
                        (a.d[3] ^ b.d[3]));
}

[[gnu::always_inline]] inline uint64_t mask_if_zero(const Fe &a)
{
    return mask_if_zero(a.d[0] | a.d[1] | a.d[2] | a.d[3]);
}

// x + y + carry, the carry out
[[gnu::always_inline]] inline uint64_t add_digit(uint64_t x, uint64_t y, uint64_t &carry)
{
    const uint128 sum = uint128{x} + y + carry;
    carry = static_cast<uint64_t>(sum >> 64);
    return static_cast<uint64_t>(sum);
}

[[gnu::always_inline]] inline uint64_t sub_digit(uint64_t x, uint64_t y, uint64_t &borrow)
{
    const uint128 difference = uint128{x} - y - borrow;
    borrow = static_cast<uint64_t>(difference >> 64) & 1;
    return static_cast<uint64_t>(difference);
}

// x * y + z + carry, which cannot overflow two digits; the high one is the carry out
[[gnu::always_inline]] inline uint64_t mul_add_digit(uint64_t x, uint64_t y, uint64_t z,
                                                     uint64_t &carry)
{
    const uint128 sum = uint128{x} * y + z + carry;
    carry = static_cast<uint64_t>(sum >> 64);
    return static_cast<uint64_t>(sum);
}

// r = a + b mod 2^256, the carry out
[[gnu::always_inline]] inline uint64_t add_digits(Fe &r, const Fe &a, const Fe &b)
{
    uint64_t carry = 0;
    for (int i = 0; i < 4; i++)
        r.d[i] = add_digit(a.d[i], b.d[i], carry);
    return carry;
}

// r = a - b mod 2^256, the borrow out
[[gnu::always_inline]] inline uint64_t sub_digits(Fe &r, const Fe &a, const Fe &b)
{
    uint64_t borrow = 0;
    for (int i = 0; i < 4; i++)
        r.d[i] = sub_digit(a.d[i], b.d[i], borrow);
    return borrow;
}

// r = x if x < p, else x - p, for x = top * 2^256 + r below 2p
[[gnu::always_inline]] inline void reduce_once(Fe &r, uint64_t top, const Fe &p)
{
    Fe less;
    const uint64_t borrow = sub_digits(less, r, p);
    move_if(r, less, mask_of_bit(top | (borrow ^ 1)));
}

// t = a * b, in eight digits
[[gnu::always_inline, maybe_unused]] inline void mul_wide(uint64_t *t, const Fe &a, const Fe &b)
{
    for (int i = 0; i < 4; i++) {
        uint64_t carry = 0;
        for (int j = 0; j < 4; j++)
            t[i + j] = mul_add_digit(a.d[i], b.d[j], i == 0 ? 0 : t[i + j], carry);
        t[i + 4] = carry;
    }
}

struct SpecialField {
    uint64_t c;

    [[nodiscard]] Fe modulus() const { return {{0 - c, ~uint64_t{0}, ~uint64_t{0}, ~uint64_t{0}}}; }
    [[nodiscard]] Fe one() const { return {{1, 0, 0, 0}}; }

    // Plain numbers below p and elements are the same.
    void in(Fe &r, const Fe &a) const { r = a; }
    void out(Fe &r, const Fe &a) const
    {
        r = a;
        canonical(r);
    }

    void canonical(Fe &r) const { reduce_once(r, 0, modulus()); }

    [[nodiscard]] uint64_t is_zero(const Fe &a) const
    {
        return mask_if_zero(a) | mask_if_equal(a, modulus());
    }

    // A carry is worth c. Adding c may carry once more; then what is left is less than c, and the
    // second c ends in digit 1.
    void add(Fe &r, const Fe &a, const Fe &b) const
    {
        uint64_t r0 = a.d[0], r1 = a.d[1], r2 = a.d[2], r3 = a.d[3], t;
        __asm__("addq (%[b]), %[r0]\n\t"
                "adcq 8(%[b]), %[r1]\n\t"
                "adcq 16(%[b]), %[r2]\n\t"
                "adcq 24(%[b]), %[r3]\n\t"
                "sbbq %[t], %[t]\n\t"
                "andq %[c], %[t]\n\t"
                "addq %[t], %[r0]\n\t"
                "adcq $0, %[r1]\n\t"
                "adcq $0, %[r2]\n\t"
                "adcq $0, %[r3]\n\t"
                "sbbq %[t], %[t]\n\t"
                "andq %[c], %[t]\n\t"
                "addq %[t], %[r0]\n\t"
                "adcq $0, %[r1]"
                : [r0] "+&r"(r0), [r1] "+&r"(r1), [r2] "+&r"(r2), [r3] "+&r"(r3), [t] "=&r"(t)
                : [b] "r"(b.d), [c] "rm"(c)
                : "cc", "memory");
        r = {{r0, r1, r2, r3}};
    }

    // Likewise a borrow takes c away.
    void sub(Fe &r, const Fe &a, const Fe &b) const
    {
        uint64_t r0 = a.d[0], r1 = a.d[1], r2 = a.d[2], r3 = a.d[3], t;
        __asm__("subq (%[b]), %[r0]\n\t"
                "sbbq 8(%[b]), %[r1]\n\t"
                "sbbq 16(%[b]), %[r2]\n\t"
                "sbbq 24(%[b]), %[r3]\n\t"
                "sbbq %[t], %[t]\n\t"
                "andq %[c], %[t]\n\t"
                "subq %[t], %[r0]\n\t"
                "sbbq $0, %[r1]\n\t"
                "sbbq $0, %[r2]\n\t"
                "sbbq $0, %[r3]\n\t"
                "sbbq %[t], %[t]\n\t"
                "andq %[c], %[t]\n\t"
                "subq %[t], %[r0]\n\t"
                "sbbq $0, %[r1]"
                : [r0] "+&r"(r0), [r1] "+&r"(r1), [r2] "+&r"(r2), [r3] "+&r"(r3), [t] "=&r"(t)
                : [b] "r"(b.d), [c] "rm"(c)
                : "cc", "memory");
        r = {{r0, r1, r2, r3}};
    }

    // An odd a becomes a + p = a - c + 2^256; its 257 bits move down by one.
    void half(Fe &r, const Fe &a) const
    {
        uint64_t r0 = a.d[0], r1 = a.d[1], r2 = a.d[2], r3 = a.d[3], top = r0 & 1, t = 0 - top;
        __asm__("andq %[c], %[t]\n\t"
                "subq %[t], %[r0]\n\t"
                "sbbq $0, %[r1]\n\t"
                "sbbq $0, %[r2]\n\t"
                "sbbq $0, %[r3]\n\t"
                "sbbq $0, %[top]\n\t"
                "shrdq $1, %[r1], %[r0]\n\t"
                "shrdq $1, %[r2], %[r1]\n\t"
                "shrdq $1, %[r3], %[r2]\n\t"
                "shrdq $1, %[top], %[r3]"
                : [r0] "+&r"(r0), [r1] "+&r"(r1), [r2] "+&r"(r2), [r3] "+&r"(r3), [top] "+&r"(top),
                  [t] "+&r"(t)
                : [c] "rm"(c)
                : "cc", "memory");
        r = {{r0, r1, r2, r3}};
    }

#if defined(__BMI2__) && defined(__ADX__)
// Eight digits r0..r7 to four. The high half times c comes back in at the bottom and leaves a digit
// of at most c; that one times c is below 2^128 and may carry, and then the digits are less than
// 2^128 and one more c fits. rdx is c at the end.
#define QAL_FOLD256                                                                                \
    "movq %[c], %%rdx\n\t"                                                                         \
    "xorl %k[t], %k[t]\n\t"                                                                        \
    "mulxq %[r4], %[t], %[r4]\n\t"                                                                 \
    "adcxq %[t], %[r0]\n\t"                                                                        \
    "adoxq %[r4], %[r1]\n\t"                                                                       \
    "mulxq %[r5], %[t], %[r5]\n\t"                                                                 \
    "adcxq %[t], %[r1]\n\t"                                                                        \
    "adoxq %[r5], %[r2]\n\t"                                                                       \
    "mulxq %[r6], %[t], %[r6]\n\t"                                                                 \
    "adcxq %[t], %[r2]\n\t"                                                                        \
    "adoxq %[r6], %[r3]\n\t"                                                                       \
    "mulxq %[r7], %[t], %[r7]\n\t"                                                                 \
    "adcxq %[t], %[r3]\n\t"                                                                        \
    "movl $0, %k[t]\n\t"                                                                           \
    "adoxq %[t], %[r7]\n\t"                                                                        \
    "adcxq %[t], %[r7]\n\t"                                                                        \
    "mulxq %[r7], %[t], %[r7]\n\t"                                                                 \
    "addq %[t], %[r0]\n\t"                                                                         \
    "adcq %[r7], %[r1]\n\t"                                                                        \
    "adcq $0, %[r2]\n\t"                                                                           \
    "adcq $0, %[r3]\n\t"                                                                           \
    "sbbq %[t], %[t]\n\t"                                                                          \
    "andq %%rdx, %[t]\n\t"                                                                         \
    "addq %[t], %[r0]\n\t"                                                                         \
    "adcq $0, %[r1]"

    // Row by row, low and high halves in a carry chain each. r7 holds high halves until the last.
    void mul(Fe &r, const Fe &a, const Fe &b) const
    {
        uint64_t r0, r1, r2, r3, r4, r5, r6, r7, t;
        __asm__("movq (%[b]), %%rdx\n\t"
                "mulxq (%[a]), %[r0], %[r1]\n\t"
                "mulxq 8(%[a]), %[t], %[r2]\n\t"
                "addq %[t], %[r1]\n\t"
                "mulxq 16(%[a]), %[t], %[r3]\n\t"
                "adcq %[t], %[r2]\n\t"
                "mulxq 24(%[a]), %[t], %[r4]\n\t"
                "adcq %[t], %[r3]\n\t"
                "adcq $0, %[r4]\n\t"

                "movq 8(%[b]), %%rdx\n\t"
                "xorl %k[t], %k[t]\n\t"
                "mulxq (%[a]), %[t], %[r7]\n\t"
                "adcxq %[t], %[r1]\n\t"
                "adoxq %[r7], %[r2]\n\t"
                "mulxq 8(%[a]), %[t], %[r7]\n\t"
                "adcxq %[t], %[r2]\n\t"
                "adoxq %[r7], %[r3]\n\t"
                "mulxq 16(%[a]), %[t], %[r7]\n\t"
                "adcxq %[t], %[r3]\n\t"
                "adoxq %[r7], %[r4]\n\t"
                "mulxq 24(%[a]), %[t], %[r5]\n\t"
                "adcxq %[t], %[r4]\n\t"
                "movl $0, %k[t]\n\t"
                "adoxq %[t], %[r5]\n\t"
                "adcxq %[t], %[r5]\n\t"

                "movq 16(%[b]), %%rdx\n\t"
                "xorl %k[t], %k[t]\n\t"
                "mulxq (%[a]), %[t], %[r7]\n\t"
                "adcxq %[t], %[r2]\n\t"
                "adoxq %[r7], %[r3]\n\t"
                "mulxq 8(%[a]), %[t], %[r7]\n\t"
                "adcxq %[t], %[r3]\n\t"
                "adoxq %[r7], %[r4]\n\t"
                "mulxq 16(%[a]), %[t], %[r7]\n\t"
                "adcxq %[t], %[r4]\n\t"
                "adoxq %[r7], %[r5]\n\t"
                "mulxq 24(%[a]), %[t], %[r6]\n\t"
                "adcxq %[t], %[r5]\n\t"
                "movl $0, %k[t]\n\t"
                "adoxq %[t], %[r6]\n\t"
                "adcxq %[t], %[r6]\n\t"

                "movq 24(%[b]), %%rdx\n\t"
                "xorl %k[t], %k[t]\n\t"
                "mulxq (%[a]), %[t], %[r7]\n\t"
                "adcxq %[t], %[r3]\n\t"
                "adoxq %[r7], %[r4]\n\t"
                "mulxq 8(%[a]), %[t], %[r7]\n\t"
                "adcxq %[t], %[r4]\n\t"
                "adoxq %[r7], %[r5]\n\t"
                "mulxq 16(%[a]), %[t], %[r7]\n\t"
                "adcxq %[t], %[r5]\n\t"
                "adoxq %[r7], %[r6]\n\t"
                "mulxq 24(%[a]), %[t], %[r7]\n\t"
                "adcxq %[t], %[r6]\n\t"
                "movl $0, %k[t]\n\t"
                "adoxq %[t], %[r7]\n\t"
                "adcxq %[t], %[r7]\n\t" QAL_FOLD256
                : [r0] "=&r"(r0), [r1] "=&r"(r1), [r2] "=&r"(r2), [r3] "=&r"(r3), [r4] "=&r"(r4),
                  [r5] "=&r"(r5), [r6] "=&r"(r6), [r7] "=&r"(r7), [t] "=&r"(t)
                : [a] "r"(a.d), [b] "r"(b.d), [c] "m"(c)
                : "rdx", "cc", "memory");
        r = {{r0, r1, r2, r3}};
    }

    // The products of different digits, doubled in one carry chain while the squares come in
    // through the other.
    void sqr(Fe &r, const Fe &a) const
    {
        uint64_t r0, r1, r2, r3, r4, r5, r6, r7, t;
        __asm__("movq (%[a]), %%rdx\n\t"
                "mulxq 8(%[a]), %[r1], %[r2]\n\t"
                "mulxq 16(%[a]), %[t], %[r3]\n\t"
                "addq %[t], %[r2]\n\t"
                "mulxq 24(%[a]), %[t], %[r4]\n\t"
                "adcq %[t], %[r3]\n\t"
                "adcq $0, %[r4]\n\t"

                "movq 8(%[a]), %%rdx\n\t"
                "xorl %k[t], %k[t]\n\t"
                "mulxq 16(%[a]), %[t], %[r7]\n\t"
                "adcxq %[t], %[r3]\n\t"
                "adoxq %[r7], %[r4]\n\t"
                "mulxq 24(%[a]), %[t], %[r5]\n\t"
                "adcxq %[t], %[r4]\n\t"
                "movq 16(%[a]), %%rdx\n\t"
                "mulxq 24(%[a]), %[t], %[r6]\n\t"
                "adoxq %[t], %[r5]\n\t"
                "movl $0, %k[t]\n\t"
                "adcxq %[t], %[r5]\n\t"
                "adoxq %[t], %[r6]\n\t"
                "adcxq %[t], %[r6]\n\t"

                "xorl %k[t], %k[t]\n\t"
                "movq (%[a]), %%rdx\n\t"
                "mulxq %%rdx, %[r0], %[t]\n\t"
                "adcxq %[r1], %[r1]\n\t"
                "adoxq %[t], %[r1]\n\t"
                "movq 8(%[a]), %%rdx\n\t"
                "mulxq %%rdx, %[t], %[r7]\n\t"
                "adcxq %[r2], %[r2]\n\t"
                "adoxq %[t], %[r2]\n\t"
                "adcxq %[r3], %[r3]\n\t"
                "adoxq %[r7], %[r3]\n\t"
                "movq 16(%[a]), %%rdx\n\t"
                "mulxq %%rdx, %[t], %[r7]\n\t"
                "adcxq %[r4], %[r4]\n\t"
                "adoxq %[t], %[r4]\n\t"
                "adcxq %[r5], %[r5]\n\t"
                "adoxq %[r7], %[r5]\n\t"
                "movq 24(%[a]), %%rdx\n\t"
                "mulxq %%rdx, %[t], %[r7]\n\t"
                "adcxq %[r6], %[r6]\n\t"
                "adoxq %[t], %[r6]\n\t"
                "movl $0, %k[t]\n\t"
                "adcxq %[t], %[r7]\n\t"
                "adoxq %[t], %[r7]\n\t" QAL_FOLD256
                : [r0] "=&r"(r0), [r1] "=&r"(r1), [r2] "=&r"(r2), [r3] "=&r"(r3), [r4] "=&r"(r4),
                  [r5] "=&r"(r5), [r6] "=&r"(r6), [r7] "=&r"(r7), [t] "=&r"(t)
                : [a] "r"(a.d), [c] "m"(c)
                : "rdx", "cc", "memory");
        r = {{r0, r1, r2, r3}};
    }

#undef QAL_FOLD256
#else
    void mul(Fe &r, const Fe &a, const Fe &b) const
    {
        uint64_t t[8];
        mul_wide(t, a, b);
        // The high half times c comes back in at the bottom and leaves a digit of at most c; that
        // one times c is below 2^128 and may carry, and then the digits are less than 2^128 and one
        // more c fits.
        uint64_t carry = 0;
        for (int i = 0; i < 4; i++)
            t[i] = mul_add_digit(t[i + 4], c, t[i], carry);
        const uint128 top = uint128{carry} * c;
        carry = 0;
        r.d[0] = add_digit(t[0], static_cast<uint64_t>(top), carry);
        r.d[1] = add_digit(t[1], static_cast<uint64_t>(top >> 64), carry);
        r.d[2] = add_digit(t[2], 0, carry);
        r.d[3] = add_digit(t[3], 0, carry);
        const uint64_t last = c & mask_of_bit(carry);
        carry = 0;
        r.d[0] = add_digit(r.d[0], last, carry);
        r.d[1] += carry;
    }

    void sqr(Fe &r, const Fe &a) const
    {
        mul(r, a, a);
    }
#endif
};

// Also the arithmetic of scalars, modulo the order.
struct MontgomeryField {
    Fe p;
    uint64_t k; // -p^-1 mod 2^64
    Fe unity;   // 2^256 mod p
    Fe square;  // 2^512 mod p

    // The radix modulo p, for p of at least 254 bits: 2^256 - p, reduced three times at most.
    void set_up(const Fe &modulus, uint64_t constant)
    {
        p = modulus;
        k = constant;
        const Fe zero = {};
        sub_digits(unity, zero, p);
        for (int i = 0; i < 4; i++)
            reduce_once(unity, 0, p);
        // 2^8 times the radix, then squared five times over in the Montgomery sense.
        square = unity;
        for (int i = 0; i < 8; i++)
            add(square, square, square);
        for (int i = 0; i < 5; i++)
            sqr(square, square);
    }

    [[nodiscard]] Fe modulus() const { return p; }
    [[nodiscard]] Fe one() const { return unity; }
    void in(Fe &r, const Fe &a) const { mul(r, a, square); }
    void out(Fe &r, const Fe &a) const { mul(r, a, {{1, 0, 0, 0}}); }
    void canonical(Fe & /*r*/) const {}
    [[nodiscard]] uint64_t is_zero(const Fe &a) const { return mask_if_zero(a); }

    void add(Fe &r, const Fe &a, const Fe &b) const
    {
        uint64_t r0 = a.d[0], r1 = a.d[1], r2 = a.d[2], r3 = a.d[3], t0, t1, t2, t3, top;
        __asm__("xorl %k[top], %k[top]\n\t"
                "addq (%[b]), %[r0]\n\t"
                "adcq 8(%[b]), %[r1]\n\t"
                "adcq 16(%[b]), %[r2]\n\t"
                "adcq 24(%[b]), %[r3]\n\t"
                "adcq $0, %[top]\n\t"
                "movq %[r0], %[t0]\n\t"
                "movq %[r1], %[t1]\n\t"
                "movq %[r2], %[t2]\n\t"
                "movq %[r3], %[t3]\n\t"
                "subq (%[p]), %[r0]\n\t"
                "sbbq 8(%[p]), %[r1]\n\t"
                "sbbq 16(%[p]), %[r2]\n\t"
                "sbbq 24(%[p]), %[r3]\n\t"
                "sbbq $0, %[top]\n\t"
                "cmovcq %[t0], %[r0]\n\t"
                "cmovcq %[t1], %[r1]\n\t"
                "cmovcq %[t2], %[r2]\n\t"
                "cmovcq %[t3], %[r3]"
                : [r0] "+&r"(r0), [r1] "+&r"(r1), [r2] "+&r"(r2), [r3] "+&r"(r3), [t0] "=&r"(t0),
                  [t1] "=&r"(t1), [t2] "=&r"(t2), [t3] "=&r"(t3), [top] "=&r"(top)
                : [b] "r"(b.d), [p] "r"(p.d)
                : "cc", "memory");
        r = {{r0, r1, r2, r3}};
    }

    void sub(Fe &r, const Fe &a, const Fe &b) const
    {
        uint64_t r0 = a.d[0], r1 = a.d[1], r2 = a.d[2], r3 = a.d[3], t0, t1, t2, t3;
        __asm__("subq (%[b]), %[r0]\n\t"
                "sbbq 8(%[b]), %[r1]\n\t"
                "sbbq 16(%[b]), %[r2]\n\t"
                "sbbq 24(%[b]), %[r3]\n\t"
                "sbbq %[t3], %[t3]\n\t"
                "movq %[t3], %[t0]\n\t"
                "movq %[t3], %[t1]\n\t"
                "movq %[t3], %[t2]\n\t"
                "andq (%[p]), %[t0]\n\t"
                "andq 8(%[p]), %[t1]\n\t"
                "andq 16(%[p]), %[t2]\n\t"
                "andq 24(%[p]), %[t3]\n\t"
                "addq %[t0], %[r0]\n\t"
                "adcq %[t1], %[r1]\n\t"
                "adcq %[t2], %[r2]\n\t"
                "adcq %[t3], %[r3]"
                : [r0] "+&r"(r0), [r1] "+&r"(r1), [r2] "+&r"(r2), [r3] "+&r"(r3), [t0] "=&r"(t0),
                  [t1] "=&r"(t1), [t2] "=&r"(t2), [t3] "=&r"(t3)
                : [b] "r"(b.d), [p] "r"(p.d)
                : "cc", "memory");
        r = {{r0, r1, r2, r3}};
    }

    void half(Fe &r, const Fe &a) const
    {
        uint64_t r0 = a.d[0], r1 = a.d[1], r2 = a.d[2], r3 = a.d[3], t0 = 0 - (r0 & 1), t1 = t0,
                 t2 = t0, t3 = t0;
        __asm__("andq (%[p]), %[t0]\n\t"
                "andq 8(%[p]), %[t1]\n\t"
                "andq 16(%[p]), %[t2]\n\t"
                "andq 24(%[p]), %[t3]\n\t"
                "addq %[t0], %[r0]\n\t"
                "adcq %[t1], %[r1]\n\t"
                "adcq %[t2], %[r2]\n\t"
                "adcq %[t3], %[r3]\n\t"
                "sbbq %[t0], %[t0]\n\t"
                "shrdq $1, %[r1], %[r0]\n\t"
                "shrdq $1, %[r2], %[r1]\n\t"
                "shrdq $1, %[r3], %[r2]\n\t"
                "shrdq $1, %[t0], %[r3]"
                : [r0] "+&r"(r0), [r1] "+&r"(r1), [r2] "+&r"(r2), [r3] "+&r"(r3), [t0] "+&r"(t0),
                  [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3)
                : [p] "r"(p.d)
                : "cc", "memory");
        r = {{r0, r1, r2, r3}};
    }

#if defined(__BMI2__) && defined(__ADX__)
// One digit off the bottom of s0..s5: m p is added that makes s0 zero. s5 takes what carries; the
// digits were less than (2^64 + 1) p, so that (s1..s5) end below 2p.
#define QAL_REDUCE_DIGIT(s0, s1, s2, s3, s4, s5)                                                   \
    "movq %[" s0 "], %%rdx\n\t"                                                                    \
    "imulq 32(%[p]), %%rdx\n\t"                                                                    \
    "xorl %k[t], %k[t]\n\t"                                                                        \
    "mulxq (%[p]), %[t], %[u]\n\t"                                                                 \
    "adcxq %[t], %[" s0 "]\n\t"                                                                    \
    "adoxq %[u], %[" s1 "]\n\t"                                                                    \
    "mulxq 8(%[p]), %[t], %[u]\n\t"                                                                \
    "adcxq %[t], %[" s1 "]\n\t"                                                                    \
    "adoxq %[u], %[" s2 "]\n\t"                                                                    \
    "mulxq 16(%[p]), %[t], %[u]\n\t"                                                               \
    "adcxq %[t], %[" s2 "]\n\t"                                                                    \
    "adoxq %[u], %[" s3 "]\n\t"                                                                    \
    "mulxq 24(%[p]), %[t], %[u]\n\t"                                                               \
    "adcxq %[t], %[" s3 "]\n\t"                                                                    \
    "adoxq %[u], %[" s4 "]\n\t"                                                                    \
    "adcxq %[" s0 "], %[" s4 "]\n\t"                                                               \
    "adoxq %[" s0 "], %[" s5 "]\n\t"                                                               \
    "adcxq %[" s0 "], %[" s5 "]\n\t"

#define QAL_ADD_ROW(offset, s0, s1, s2, s3, s4, s5)                                                \
    "movq " offset "(%[b]), %%rdx\n\t"                                                             \
    "xorl %k[" s5 "], %k[" s5 "]\n\t"                                                              \
    "mulxq (%[a]), %[t], %[u]\n\t"                                                                 \
    "adcxq %[t], %[" s0 "]\n\t"                                                                    \
    "adoxq %[u], %[" s1 "]\n\t"                                                                    \
    "mulxq 8(%[a]), %[t], %[u]\n\t"                                                                \
    "adcxq %[t], %[" s1 "]\n\t"                                                                    \
    "adoxq %[u], %[" s2 "]\n\t"                                                                    \
    "mulxq 16(%[a]), %[t], %[u]\n\t"                                                               \
    "adcxq %[t], %[" s2 "]\n\t"                                                                    \
    "adoxq %[u], %[" s3 "]\n\t"                                                                    \
    "mulxq 24(%[a]), %[t], %[u]\n\t"                                                               \
    "adcxq %[t], %[" s3 "]\n\t"                                                                    \
    "adoxq %[u], %[" s4 "]\n\t"                                                                    \
    "movl $0, %k[t]\n\t"                                                                           \
    "adcxq %[t], %[" s4 "]\n\t"                                                                    \
    "adoxq %[t], %[" s5 "]\n\t"                                                                    \
    "adcxq %[t], %[" s5 "]\n\t"

    void mul(Fe &r, const Fe &a, const Fe &b) const
    {
        uint64_t r0, r1, r2, r3, r4, r5, t, u;
        __asm__("movq (%[b]), %%rdx\n\t"
                "mulxq (%[a]), %[r0], %[r1]\n\t"
                "mulxq 8(%[a]), %[t], %[r2]\n\t"
                "addq %[t], %[r1]\n\t"
                "mulxq 16(%[a]), %[t], %[r3]\n\t"
                "adcq %[t], %[r2]\n\t"
                "mulxq 24(%[a]), %[t], %[r4]\n\t"
                "adcq %[t], %[r3]\n\t"
                "adcq $0, %[r4]\n\t"
                "xorl %k[r5], %k[r5]\n\t"                             //
                QAL_REDUCE_DIGIT("r0", "r1", "r2", "r3", "r4", "r5")  //
                QAL_ADD_ROW("8", "r1", "r2", "r3", "r4", "r5", "r0")  //
                QAL_REDUCE_DIGIT("r1", "r2", "r3", "r4", "r5", "r0")  //
                QAL_ADD_ROW("16", "r2", "r3", "r4", "r5", "r0", "r1") //
                QAL_REDUCE_DIGIT("r2", "r3", "r4", "r5", "r0", "r1")  //
                QAL_ADD_ROW("24", "r3", "r4", "r5", "r0", "r1", "r2") //
                QAL_REDUCE_DIGIT("r3", "r4", "r5", "r0", "r1", "r2")  //
                "movq %[r4], %%rdx\n\t"
                "movq %[r5], %[t]\n\t"
                "movq %[r0], %[u]\n\t"
                "movq %[r1], %[r3]\n\t"
                "subq (%[p]), %[r4]\n\t"
                "sbbq 8(%[p]), %[r5]\n\t"
                "sbbq 16(%[p]), %[r0]\n\t"
                "sbbq 24(%[p]), %[r1]\n\t"
                "sbbq $0, %[r2]\n\t"
                "cmovcq %%rdx, %[r4]\n\t"
                "cmovcq %[t], %[r5]\n\t"
                "cmovcq %[u], %[r0]\n\t"
                "cmovcq %[r3], %[r1]"
                : [r0] "=&r"(r0), [r1] "=&r"(r1), [r2] "=&r"(r2), [r3] "=&r"(r3), [r4] "=&r"(r4),
                  [r5] "=&r"(r5), [t] "=&r"(t), [u] "=&r"(u)
                : [a] "r"(a.d), [b] "r"(b.d), [p] "r"(p.d)
                : "rdx", "cc", "memory");
        r = {{r4, r5, r0, r1}};
    }

#undef QAL_REDUCE_DIGIT
#undef QAL_ADD_ROW
#else
    void mul(Fe &r, const Fe &a, const Fe &b) const
    {
        uint64_t t[9];
        mul_wide(t, a, b);
        // Digit by digit, m p is added that makes the lowest one zero. (ab + mp) / 2^256 < 2p.
        uint64_t top = 0;
        for (int i = 0; i < 4; i++) {
            const uint64_t m = t[i] * k;
            uint64_t carry = 0;
            for (int j = 0; j < 4; j++)
                t[i + j] = mul_add_digit(m, p.d[j], t[i + j], carry);
            t[i + 4] = add_digit(t[i + 4], carry, top);
        }
        r = {{t[4], t[5], t[6], t[7]}};
        reduce_once(r, top, p);
    }
#endif

    void sqr(Fe &r, const Fe &a) const
    {
        mul(r, a, a);
    }
};

} // namespace
} // namespace qal::ec

#endif
