#include "base/bytes.hpp"
#include "base/cpu.hpp"
#include "base/require.hpp"
#include "base/wipe.hpp"
#include "support/preconditions.hpp"

#include <gtest/gtest.h>

#include <cpuid.h>

#include <algorithm>
#include <initializer_list>

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

namespace {

// What each feature needs to be offered, as the manuals of the processors number it.
struct Need {
    uint32_t features;
    uint32_t CpuidLeaf::*word;
    uint32_t bits;
    bool in_leaf7;
};

constexpr uint32_t bits(std::initializer_list<unsigned> numbers)
{
    uint32_t word = 0;
    for (const unsigned number : numbers)
        word |= 1U << number;
    return word;
}

const Need needs[] = {
    {cpu_bmi2_adx | cpu_avx512, &CpuidLeaf::ebx, bits({8, 19}), true},
    {cpu_pclmulqdq | cpu_avx512, &CpuidLeaf::ecx, bits({1}), false},
    {cpu_avx2 | cpu_gfni | cpu_vpclmulqdq | cpu_avx512, &CpuidLeaf::ebx, bits({3, 5, 8}), true},
    {cpu_gfni | cpu_avx512, &CpuidLeaf::ecx, bits({8}), true},
    {cpu_vpclmulqdq | cpu_avx512, &CpuidLeaf::ecx, bits({10}), true},
    {cpu_avx512, &CpuidLeaf::ebx, bits({16, 17, 21, 30, 31}), true},
    {cpu_avx512, &CpuidLeaf::ecx, bits({1, 6}), true},
};
constexpr uint32_t every_feature = 2 * cpu_avx512 - 1;

} // namespace

TEST(Cpu, EachFeatureHasItsBits)
{
    constexpr uint32_t ones = 0xffffffff;
    constexpr CpuidLeaf full = {ones, ones, ones, ones};
    const CpuAnswers best = {ones, full, full, ones};
    EXPECT_EQ(features_of(best, isa_cap_all), every_feature);
    EXPECT_EQ(features_of(best, isa_cap_avx2), every_feature & ~cpu_avx512);
    EXPECT_EQ(features_of(best, isa_cap_baseline), 0U);

    // None of them is there without one of its bits, and other bits do not matter.
    for (unsigned bit = 0; bit < 32; bit++) {
        const uint32_t others = ~(1U << bit);
        for (const bool in_leaf7 : {false, true}) {
            for (const auto word :
                 {&CpuidLeaf::eax, &CpuidLeaf::ebx, &CpuidLeaf::ecx, &CpuidLeaf::edx}) {
                uint32_t lost = 0;
                for (const Need &need : needs)
                    if (need.in_leaf7 == in_leaf7 && need.word == word &&
                        (need.bits & ~others) != 0)
                        lost |= need.features;
                CpuAnswers answers = best;
                CpuidLeaf &leaf = in_leaf7 ? answers.leaf7 : answers.leaf1;
                leaf.*word = others;
                EXPECT_EQ(features_of(answers, isa_cap_all), every_feature & ~lost) << bit;
            }
        }
        // Registers: 1 and 2 are of 128 and 256 bits, 5 to 7 masks and 512 bits.
        CpuAnswers answers = best;
        answers.state = others;
        const bool any = bit == 1 || bit == 2, wide = bit >= 5 && bit <= 7;
        uint32_t lost = any || wide ? cpu_avx512 : 0U;
        if (any)
            lost |= cpu_avx2 | cpu_gfni | cpu_vpclmulqdq;
        EXPECT_EQ(features_of(answers, isa_cap_all), every_feature & ~lost) << bit;
    }

    // All of them are there with no other bit.
    CpuAnswers least = {7, {}, {}, 0xe6};
    for (const Need &need : needs) {
        CpuidLeaf &leaf = need.in_leaf7 ? least.leaf7 : least.leaf1;
        leaf.*need.word |= need.bits;
    }
    EXPECT_EQ(features_of(least, isa_cap_all), every_feature);
    // An older processor repeats another leaf in the seventh one's place.
    least.highest_leaf = 6;
    EXPECT_EQ(features_of(least, isa_cap_all), 0U);
}

// As the compiler's header reads and names it.
TEST(Cpu, AnswersAreThoseOfThisProcessor)
{
    const CpuAnswers answers = cpu_answers();
    EXPECT_EQ(answers.highest_leaf, __get_cpuid_max(0, nullptr));
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
    __get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx);
    EXPECT_EQ(answers.leaf7.ebx, ebx);
    EXPECT_EQ(answers.leaf7.ecx, ecx);
    __get_cpuid(1, &eax, &ebx, &ecx, &edx);
    EXPECT_EQ(answers.leaf1.eax, eax);
    EXPECT_EQ(answers.leaf1.ecx, ecx);
    EXPECT_EQ(cpuid_osxsave, uint32_t{bit_OSXSAVE});
    if ((ecx & bit_OSXSAVE) != 0) {
        // Registers are of no use without those that they contain.
        EXPECT_NE(answers.state & 1, 0U);
        EXPECT_EQ((answers.state & 0x06) == 0x06, __builtin_cpu_supports("avx") != 0);
        EXPECT_EQ((answers.state & 0xe6) == 0xe6, __builtin_cpu_supports("avx512f") != 0);
    } else {
        EXPECT_EQ(answers.state, 0U);
    }
}

// The compiler's own run-time support is the second opinion.
TEST(Cpu, AgreesWithTheCompilersRuntime)
{
    __builtin_cpu_init();
    const uint32_t features = cpu_features(isa_cap_all);
    const auto has = [&](uint32_t feature) { return (features & feature) != 0; };
    EXPECT_EQ(has(cpu_avx2), __builtin_cpu_supports("avx2") != 0);
    EXPECT_EQ(has(cpu_pclmulqdq), __builtin_cpu_supports("pclmul") != 0);
    EXPECT_EQ(has(cpu_vpclmulqdq),
              __builtin_cpu_supports("vpclmulqdq") && __builtin_cpu_supports("avx2"));
    EXPECT_EQ(has(cpu_gfni), __builtin_cpu_supports("gfni") && __builtin_cpu_supports("avx2"));
    EXPECT_EQ(has(cpu_avx512),
              has(cpu_bmi2_adx) && has(cpu_pclmulqdq) && __builtin_cpu_supports("avx512f") &&
                  __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512bw") &&
                  __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi") &&
                  __builtin_cpu_supports("avx512vbmi2") && __builtin_cpu_supports("avx512ifma") &&
                  __builtin_cpu_supports("gfni") && __builtin_cpu_supports("vpclmulqdq"));
}
