// The operations of the engine's fields as functions, once for each variant of the engine.
#ifndef QAL_TESTS_QALEC_FIELD256_VARIANTS_HPP
#define QAL_TESTS_QALEC_FIELD256_VARIANTS_HPP

#include <stdint.h>

namespace qal::test {

struct Field256 {
    // On four digits: p, operands a and b of two operations, of which others take the first.
    typedef void Operation(const uint64_t *p, const uint64_t *a, const uint64_t *b, uint64_t *r);

    Operation *add, *sub, *half, *mul, *sqr, *in, *out;
    // r = all ones if a is zero modulo p, zero if not
    Operation *is_zero;
};

struct Field256Variant {
    Field256 special, montgomery;
    // r = 1 / a, and in r[4] all ones if there is one
    Field256::Operation *invert;
    // A batch of inversion: (d, e) become (u d + v e, q d + r e) / 2^62 modulo p, in five limbs of
    // 62 bits, the uppermost of which has the sign. uvqr are at most 2^62.
    void (*apply_modulo)(const uint64_t *p, const int64_t *uvqr, int64_t *d, int64_t *e);
};

Field256Variant field256_portable();
Field256Variant field256_bmi2adx();

// r = a b modulo p, below 2^256, in each of four lanes. a_top and b_top, below 16, stand above the
// four digits of each factor.
void field256_avx512_mul(const uint64_t *p, const uint64_t (*a)[4], const uint64_t *a_top,
                         const uint64_t (*b)[4], const uint64_t *b_top, uint64_t (*r)[4]);

// Whether they are numbers modulo 2^256 - c.
bool field256_avx512_has_room_for(uint64_t c);

} // namespace qal::test

#endif
