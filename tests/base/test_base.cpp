#include "base/bytes.hpp"
#include "base/cpu.hpp"
#include "base/require.hpp"
#include "base/wipe.hpp"
#include "support/preconditions.hpp"

#include <gtest/gtest.h>

#include <algorithm>

using namespace qal::base;

namespace {

constexpr char qal_source[] = "../src/base/example";

} // namespace

extern "C" int half_of_even(int x)
{
    QAL_REQUIRE(x % 2 == 0, "(x % 2) == 0");
    return x / 2;
}

TEST(RequireDeathTest, ReportsExpressionPathAndFunction)
{
    EXPECT_EQ(half_of_even(4), 2);
    EXPECT_PRECONDITION(half_of_even(3), "(x % 2) == 0", "../src/base/example", "half_of_even");
}

TEST(BytesOrder, LittleEndianAtAnyAlignment)
{
    uint8_t bytes[16] = {};
    for (size_t i = 0; i < 8; i++) {
        store_le64(bytes + i, 0x0807060504030201);
        for (size_t k = 0; k < 8; k++)
            EXPECT_EQ(bytes[i + k], k + 1);
        EXPECT_EQ(load_le64(bytes + i), 0x0807060504030201U);
    }
}

TEST(Wipe, ZeroesExactlyItsBytes)
{
    uint8_t bytes[16];
    std::fill(std::begin(bytes), std::end(bytes), uint8_t{7});
    wipe(bytes + 1, 14);
    EXPECT_EQ(bytes[0], 7);
    EXPECT_EQ(bytes[15], 7);
    EXPECT_TRUE(std::all_of(bytes + 1, bytes + 15, [](uint8_t b) { return b == 0; }));
}

TEST(Cpu, CapsTakeFeaturesAway)
{
    const uint32_t all = cpu_features(isa_cap_all);
    EXPECT_EQ(cpu_features(isa_cap_avx2), all & ~cpu_avx512);
    EXPECT_EQ(cpu_features(isa_cap_baseline), 0U);
}

// The compiler's own run-time support is the second opinion.
TEST(Cpu, AgreesWithTheCompilersRuntime)
{
    __builtin_cpu_init();
    const uint32_t features = cpu_features(isa_cap_all);
    const auto has = [&](uint32_t feature) { return (features & feature) != 0; };
    EXPECT_EQ(has(cpu_avx2), __builtin_cpu_supports("avx2") != 0);
    EXPECT_EQ(has(cpu_pclmulqdq), __builtin_cpu_supports("pclmul") != 0);
    EXPECT_EQ(has(cpu_gfni), __builtin_cpu_supports("gfni") && __builtin_cpu_supports("avx2"));
    EXPECT_EQ(has(cpu_avx512),
              __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                  __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
                  __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512vbmi2") &&
                  __builtin_cpu_supports("avx512ifma") && __builtin_cpu_supports("gfni") &&
                  __builtin_cpu_supports("vpclmulqdq"));
}
