#include "base/dispatched.hpp"

using namespace qal::base;

#define RESOLVER(name) extern "C" decltype(&name) qal_resolve_##name()

namespace qal::ec {
RESOLVER(curve256_multiply_base);
RESOLVER(curve256_multiply);
RESOLVER(curve256_contains);
RESOLVER(curve256_matches);
RESOLVER(scalar256_sum_of_products);
RESOLVER(scalar256_invert);
} // namespace qal::ec
namespace qal::gost {
RESOLVER(g28147_blocks);
RESOLVER(gr341194_steps);
} // namespace qal::gost
namespace qal::math {
RESOLVER(raise_odd_powers_var);
RESOLVER(power_public_var);
RESOLVER(power_secret);
RESOLVER(power_secret_pair);
} // namespace qal::math
namespace qal::ru {
RESOLVER(kuznyechik_block_dec);
RESOLVER(kuznyechik_ctr_blocks);
RESOLVER(streebog_blocks);
} // namespace qal::ru
namespace qal::ua {
RESOLVER(engines);
QAL_UA_PRODUCTS(RESOLVER, );
QAL_UA_SQUARES(RESOLVER, );
} // namespace qal::ua
RESOLVER(kuzn_block_enc);
RESOLVER(kuzn_setup_keys);
RESOLVER(streebog_gN);
RESOLVER(streebog_lpsx64);
RESOLVER(qalmul);
RESOLVER(qalsqr);
RESOLVER(qal_mul_row);
RESOLVER(qal_addmul_row);
RESOLVER(qal_submul_row);
RESOLVER(qal_mul_digits);
RESOLVER(qal_sqr_digits);
RESOLVER(qal_redc_digits);
RESOLVER(qal_mont_mul);
RESOLVER(qal_mont_sqr);

namespace qal::test {

std::vector<Dispatched> dispatched_names()
{
    using namespace qal::ec;
    using namespace qal::gost;
    using namespace qal::math;
    using namespace qal::ru;
    using namespace qal::ua;

    std::vector<Dispatched> names;
#define VARIANT(needs, function)                                                                   \
    Variant                                                                                        \
    {                                                                                              \
        needs, reinterpret_cast<Address>(function)                                                 \
    }
#define NAME(name, ...)                                                                            \
    names.push_back(                                                                               \
        {#name, [] { return reinterpret_cast<Address>(qal_resolve_##name()); }, {__VA_ARGS__}})

    constexpr uint32_t wide_mulx = cpu_avx512 | cpu_bmi2_adx, gfni = cpu_avx2 | cpu_gfni,
                       clmul = cpu_avx2 | cpu_pclmulqdq;
#define MULX(name) NAME(name, VARIANT(cpu_bmi2_adx, name##_bmi2adx), VARIANT(0, name##_portable))
    MULX(curve256_contains);
    MULX(scalar256_sum_of_products);
    MULX(scalar256_invert);
    MULX(qalmul);
    MULX(qalsqr);
    MULX(qal_mul_row);
    MULX(qal_addmul_row);
    MULX(qal_submul_row);
    MULX(qal_mul_digits);
    MULX(qal_sqr_digits);
    MULX(qal_redc_digits);

#define WIDE_MULX(name)                                                                            \
    NAME(name, VARIANT(wide_mulx, name##_avx512), VARIANT(cpu_bmi2_adx, name##_bmi2adx),           \
         VARIANT(0, name##_portable))
    WIDE_MULX(curve256_multiply_base);
    WIDE_MULX(curve256_multiply);
    WIDE_MULX(curve256_matches);
    WIDE_MULX(qal_mont_mul);
    WIDE_MULX(qal_mont_sqr);

#define WIDE(name) NAME(name, VARIANT(cpu_avx512, name##_avx512), VARIANT(0, name##_portable))
    WIDE(raise_odd_powers_var);
    WIDE(power_public_var);
    WIDE(power_secret);
    WIDE(power_secret_pair);
    WIDE(gr341194_steps);
    WIDE(kuzn_block_enc);
    WIDE(kuzn_setup_keys);
    WIDE(kuznyechik_block_dec);

#define WIDE_GFNI(name)                                                                            \
    NAME(name, VARIANT(cpu_avx512, name##_avx512), VARIANT(gfni, name##_avx2_gfni),                \
         VARIANT(0, name##_portable))
    WIDE_GFNI(streebog_blocks);
    WIDE_GFNI(streebog_gN);
    WIDE_GFNI(streebog_lpsx64);

    NAME(kuznyechik_ctr_blocks, VARIANT(cpu_avx512, kuznyechik_ctr_blocks_avx512),
         VARIANT(gfni, kuznyechik_ctr_blocks_avx2_gfni),
         VARIANT(cpu_avx2, kuznyechik_ctr_blocks_avx2), VARIANT(0, kuznyechik_ctr_blocks_portable));
    NAME(g28147_blocks, VARIANT(cpu_avx512, g28147_blocks_avx512),
         VARIANT(cpu_avx2, g28147_blocks_avx2), VARIANT(0, g28147_blocks_portable));

#define CLMUL(name) NAME(name, VARIANT(clmul, name##_pclmul), VARIANT(0, name##_portable))
    CLMUL(engines);
    QAL_UA_PRODUCTS(CLMUL, );
    QAL_UA_SQUARES(CLMUL, );
    return names;
}

} // namespace qal::test
