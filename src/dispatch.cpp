// The one place that chooses between variants of a routine.
//
// Each dispatched name is a GNU indirect function: the loader calls its resolver once while it
// relocates the library and binds the name to the answer, so that there is nothing to initialise,
// nothing writable afterwards and no cost per call.
//
// A resolver runs before relocation has finished. It may call nothing but what is inlined into it,
// and this file is compiled without sanitizers, stack protector, coverage and link-time
// optimisation (cmake/QalIsa.cmake sees to that). Resolvers are external functions because clang
// demands it. Never give an indirect function an alias: gcc 12 would call the resolver instead.
//
// QAL_ISA_CAP, one of IsaCap, is given to this file alone, so that builds with different caps have
// all other objects in common.
#include "base/cpu.hpp"
#include "gost28147/g28147_kernels.hpp"
#include "gost28147/gr341194_kernels.hpp"
#include "qalec/curve256.hpp"
#include "qalmath64/kernels/kernels.hpp"
#include "qalmath64/kernels/montgomery.hpp"
#include "qalmath64/powers/powers.hpp"
#include "ru/kuznyechik_kernels.hpp"
#include "ru/streebog_kernels.hpp"
#include "ua/engine.hpp"
#include "ua/kernels.hpp"

#include <qal/kuzn.h>
#include <qal/streebog.h>

// Defines `name`, declared before, as an indirect function; the body returns the variant to bind.
// The resolver has a name of its own so that tests can ask which variant it chooses.
#define QAL_DISPATCH(name, ...)                                                                    \
    extern "C" [[gnu::visibility("hidden"), gnu::used]] decltype(&name) qal_resolve_##name()       \
    {                                                                                              \
        [[maybe_unused]] const uint32_t cpu = cpu_features(QAL_ISA_CAP);                           \
        __VA_ARGS__                                                                                \
    }                                                                                              \
    extern decltype(name) name __attribute__((ifunc("qal_resolve_" #name)))

namespace qal::ec {

using namespace qal::base;

QAL_DISPATCH(curve256_multiply_base, {
    if (has_bits(cpu, cpu_avx512 | cpu_bmi2_adx))
        return curve256_multiply_base_avx512;
    if (cpu & cpu_bmi2_adx)
        return curve256_multiply_base_bmi2adx;
    return curve256_multiply_base_portable;
});

QAL_DISPATCH(curve256_multiply, {
    if (has_bits(cpu, cpu_avx512 | cpu_bmi2_adx))
        return curve256_multiply_avx512;
    if (cpu & cpu_bmi2_adx)
        return curve256_multiply_bmi2adx;
    return curve256_multiply_portable;
});

QAL_DISPATCH(curve256_contains, {
    if (cpu & cpu_bmi2_adx)
        return curve256_contains_bmi2adx;
    return curve256_contains_portable;
});

QAL_DISPATCH(curve256_matches, {
    if (has_bits(cpu, cpu_avx512 | cpu_bmi2_adx))
        return curve256_matches_avx512;
    if (cpu & cpu_bmi2_adx)
        return curve256_matches_bmi2adx;
    return curve256_matches_portable;
});

QAL_DISPATCH(scalar256_sum_of_products, {
    if (cpu & cpu_bmi2_adx)
        return scalar256_sum_of_products_bmi2adx;
    return scalar256_sum_of_products_portable;
});

QAL_DISPATCH(scalar256_invert, {
    if (cpu & cpu_bmi2_adx)
        return scalar256_invert_bmi2adx;
    return scalar256_invert_portable;
});

} // namespace qal::ec

namespace qal::gost {

using namespace qal::base;

QAL_DISPATCH(g28147_blocks, {
    if (cpu & cpu_avx512)
        return g28147_blocks_avx512;
    if (cpu & cpu_avx2)
        return g28147_blocks_avx2;
    return g28147_blocks_portable;
});

QAL_DISPATCH(gr341194_steps, {
    if (cpu & cpu_avx512)
        return gr341194_steps_avx512;
    return gr341194_steps_portable;
});

} // namespace qal::gost

namespace qal::math {

using namespace qal::base;

QAL_DISPATCH(raise_odd_powers_var, {
    if (cpu & cpu_avx512)
        return raise_odd_powers_var_avx512;
    return raise_odd_powers_var_portable;
});

QAL_DISPATCH(power_secret, {
    if (cpu & cpu_avx512)
        return power_secret_avx512;
    return power_secret_portable;
});

QAL_DISPATCH(power_secret_pair, {
    if (cpu & cpu_avx512)
        return power_secret_pair_avx512;
    return power_secret_pair_portable;
});

QAL_DISPATCH(power_public_var, {
    if (cpu & cpu_avx512)
        return power_public_var_avx512;
    return power_public_var_portable;
});

} // namespace qal::math

namespace qal::ru {

using namespace qal::base;

QAL_DISPATCH(kuznyechik_block_dec, {
    if (cpu & cpu_avx512)
        return kuznyechik_block_dec_avx512;
    return kuznyechik_block_dec_portable;
});

QAL_DISPATCH(kuznyechik_ctr_blocks, {
    if (cpu & cpu_avx512)
        return kuznyechik_ctr_blocks_avx512;
    if (has_bits(cpu, cpu_avx2 | cpu_gfni))
        return kuznyechik_ctr_blocks_avx2_gfni;
    if (cpu & cpu_avx2)
        return kuznyechik_ctr_blocks_avx2;
    return kuznyechik_ctr_blocks_portable;
});

QAL_DISPATCH(streebog_blocks, {
    if (cpu & cpu_avx512)
        return streebog_blocks_avx512;
    if (has_bits(cpu, cpu_avx2 | cpu_gfni))
        return streebog_blocks_avx2_gfni;
    return streebog_blocks_portable;
});

} // namespace qal::ru

namespace qal::ua {

using namespace qal::base;

QAL_DISPATCH(engines, {
    if (has_bits(cpu, cpu_pclmulqdq | cpu_avx2))
        return engines_pclmul;
    return engines_portable;
});

} // namespace qal::ua

extern "C" {

using namespace qal::base;
using namespace qal::ru;
using namespace qal::ua;

QAL_DISPATCH(kuzn_block_enc, {
    if (cpu & cpu_avx512)
        return kuzn_block_enc_avx512;
    return kuzn_block_enc_portable;
});

QAL_DISPATCH(kuzn_setup_keys, {
    if (cpu & cpu_avx512)
        return kuzn_setup_keys_avx512;
    return kuzn_setup_keys_portable;
});

QAL_DISPATCH(streebog_gN, {
    if (cpu & cpu_avx512)
        return streebog_gN_avx512;
    if (has_bits(cpu, cpu_avx2 | cpu_gfni))
        return streebog_gN_avx2_gfni;
    return streebog_gN_portable;
});

QAL_DISPATCH(streebog_lpsx64, {
    if (cpu & cpu_avx512)
        return streebog_lpsx64_avx512;
    if (has_bits(cpu, cpu_avx2 | cpu_gfni))
        return streebog_lpsx64_avx2_gfni;
    return streebog_lpsx64_portable;
});

QAL_DISPATCH(qalmul, {
    if (cpu & cpu_bmi2_adx)
        return qalmul_bmi2adx;
    return qalmul_portable;
});

QAL_DISPATCH(qalsqr, {
    if (cpu & cpu_bmi2_adx)
        return qalsqr_bmi2adx;
    return qalsqr_portable;
});

QAL_DISPATCH(qal_mul_row, {
    if (cpu & cpu_bmi2_adx)
        return qal_mul_row_bmi2adx;
    return qal_mul_row_portable;
});

QAL_DISPATCH(qal_addmul_row, {
    if (cpu & cpu_bmi2_adx)
        return qal_addmul_row_bmi2adx;
    return qal_addmul_row_portable;
});

QAL_DISPATCH(qal_submul_row, {
    if (cpu & cpu_bmi2_adx)
        return qal_submul_row_bmi2adx;
    return qal_submul_row_portable;
});

QAL_DISPATCH(qal_mul_digits, {
    if (cpu & cpu_bmi2_adx)
        return qal_mul_digits_bmi2adx;
    return qal_mul_digits_portable;
});

QAL_DISPATCH(qal_sqr_digits, {
    if (cpu & cpu_bmi2_adx)
        return qal_sqr_digits_bmi2adx;
    return qal_sqr_digits_portable;
});

QAL_DISPATCH(qal_redc_digits, {
    if (cpu & cpu_bmi2_adx)
        return qal_redc_digits_bmi2adx;
    return qal_redc_digits_portable;
});

QAL_DISPATCH(qal_mont_mul, {
    if (has_bits(cpu, cpu_avx512 | cpu_bmi2_adx))
        return qal_mont_mul_avx512;
    if (cpu & cpu_bmi2_adx)
        return qal_mont_mul_bmi2adx;
    return qal_mont_mul_portable;
});

QAL_DISPATCH(qal_mont_sqr, {
    if (has_bits(cpu, cpu_avx512 | cpu_bmi2_adx))
        return qal_mont_sqr_avx512;
    if (cpu & cpu_bmi2_adx)
        return qal_mont_sqr_bmi2adx;
    return qal_mont_sqr_portable;
});

#define QAL_UA_DISPATCH(name)                                                                      \
    QAL_DISPATCH(name, {                                                                           \
        if (has_bits(cpu, cpu_pclmulqdq | cpu_avx2))                                               \
            return name##_pclmul;                                                                  \
        return name##_portable;                                                                    \
    })
QAL_UA_PRODUCTS(QAL_UA_DISPATCH, );
QAL_UA_SQUARES(QAL_UA_DISPATCH, );
#undef QAL_UA_DISPATCH
}
