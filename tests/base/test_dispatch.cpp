// Which variant each dispatched name is bound to, under the build's cap, on this processor.
#include "base/cpu.hpp"
#include "gost28147/g28147_kernels.hpp"
#include "gost28147/gr341194_kernels.hpp"
#include "qalec/curve256.hpp"
#include "qalmath64/powers/powers.hpp"
#include "ru/kuznyechik_kernels.hpp"
#include "ru/streebog_kernels.hpp"

#include <qal/kuzn.h>
#include <qal/streebog.h>

#include <gtest/gtest.h>

#include <initializer_list>

using namespace qal::base;

namespace {

// A variant with what it needs.
template<typename Function>
struct Choice {
    uint32_t needs;
    Function *variant;
};

// The choices stand in the order of preference; the last one needs nothing.
template<typename Function>
void expect_first_possible(Function *chosen, std::initializer_list<Choice<Function>> choices)
{
    for (const auto &choice : choices) {
        if ((cpu_features(QAL_ISA_CAP) & choice.needs) == choice.needs) {
            EXPECT_EQ(chosen, choice.variant);
            return;
        }
    }
    FAIL() << "no variant for every processor";
}

} // namespace

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
RESOLVER(power_secret);
RESOLVER(power_secret_pair);
RESOLVER(power_public_var);
} // namespace qal::math
namespace qal::ru {
RESOLVER(kuznyechik_block_dec);
RESOLVER(kuznyechik_ctr_blocks);
RESOLVER(streebog_blocks);
} // namespace qal::ru
RESOLVER(kuzn_block_enc);
RESOLVER(kuzn_setup_keys);
RESOLVER(streebog_gN);
RESOLVER(streebog_lpsx64);

TEST(Dispatch, Curves)
{
    using namespace qal::ec;
    constexpr uint32_t wide = cpu_avx512 | cpu_bmi2_adx;
    expect_first_possible(qal_resolve_curve256_multiply_base(),
                          {{wide, curve256_multiply_base_avx512},
                           {cpu_bmi2_adx, curve256_multiply_base_bmi2adx},
                           {0, curve256_multiply_base_portable}});
    expect_first_possible(qal_resolve_curve256_multiply(),
                          {{wide, curve256_multiply_avx512},
                           {cpu_bmi2_adx, curve256_multiply_bmi2adx},
                           {0, curve256_multiply_portable}});
    expect_first_possible(
        qal_resolve_curve256_contains(),
        {{cpu_bmi2_adx, curve256_contains_bmi2adx}, {0, curve256_contains_portable}});
    expect_first_possible(qal_resolve_curve256_matches(), {{wide, curve256_matches_avx512},
                                                           {cpu_bmi2_adx, curve256_matches_bmi2adx},
                                                           {0, curve256_matches_portable}});
    expect_first_possible(qal_resolve_scalar256_sum_of_products(),
                          {{cpu_bmi2_adx, scalar256_sum_of_products_bmi2adx},
                           {0, scalar256_sum_of_products_portable}});
    expect_first_possible(qal_resolve_scalar256_invert(), {{cpu_bmi2_adx, scalar256_invert_bmi2adx},
                                                           {0, scalar256_invert_portable}});
}

TEST(Dispatch, Gost28147)
{
    using namespace qal::gost;
    expect_first_possible(qal_resolve_g28147_blocks(), {{cpu_avx512, g28147_blocks_avx512},
                                                        {cpu_avx2, g28147_blocks_avx2},
                                                        {0, g28147_blocks_portable}});
    expect_first_possible(qal_resolve_gr341194_steps(),
                          {{cpu_avx512, gr341194_steps_avx512}, {0, gr341194_steps_portable}});
}

TEST(Dispatch, Powers)
{
    using namespace qal::math;
    expect_first_possible(
        qal_resolve_raise_odd_powers_var(),
        {{cpu_avx512, raise_odd_powers_var_avx512}, {0, raise_odd_powers_var_portable}});
    expect_first_possible(qal_resolve_power_secret(),
                          {{cpu_avx512, power_secret_avx512}, {0, power_secret_portable}});
    expect_first_possible(qal_resolve_power_secret_pair(), {{cpu_avx512, power_secret_pair_avx512},
                                                            {0, power_secret_pair_portable}});
    expect_first_possible(qal_resolve_power_public_var(),
                          {{cpu_avx512, power_public_var_avx512}, {0, power_public_var_portable}});
}

TEST(Dispatch, Kuznyechik)
{
    using namespace qal::ru;
    expect_first_possible(qal_resolve_kuzn_block_enc(),
                          {{cpu_avx512, kuzn_block_enc_avx512}, {0, kuzn_block_enc_portable}});
    expect_first_possible(qal_resolve_kuzn_setup_keys(),
                          {{cpu_avx512, kuzn_setup_keys_avx512}, {0, kuzn_setup_keys_portable}});
    expect_first_possible(
        qal_resolve_kuznyechik_block_dec(),
        {{cpu_avx512, kuznyechik_block_dec_avx512}, {0, kuznyechik_block_dec_portable}});
    expect_first_possible(qal_resolve_kuznyechik_ctr_blocks(),
                          {{cpu_avx512, kuznyechik_ctr_blocks_avx512},
                           {cpu_avx2 | cpu_gfni, kuznyechik_ctr_blocks_avx2_gfni},
                           {cpu_avx2, kuznyechik_ctr_blocks_avx2},
                           {0, kuznyechik_ctr_blocks_portable}});
}

TEST(Dispatch, Streebog)
{
    using namespace qal::ru;
    expect_first_possible(qal_resolve_streebog_blocks(),
                          {{cpu_avx512, streebog_blocks_avx512},
                           {cpu_avx2 | cpu_gfni, streebog_blocks_avx2_gfni},
                           {0, streebog_blocks_portable}});
    expect_first_possible(qal_resolve_streebog_gN(), {{cpu_avx512, streebog_gN_avx512},
                                                      {cpu_avx2 | cpu_gfni, streebog_gN_avx2_gfni},
                                                      {0, streebog_gN_portable}});
    expect_first_possible(qal_resolve_streebog_lpsx64(),
                          {{cpu_avx512, streebog_lpsx64_avx512},
                           {cpu_avx2 | cpu_gfni, streebog_lpsx64_avx2_gfni},
                           {0, streebog_lpsx64_portable}});
}
