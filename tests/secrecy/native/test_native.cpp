// That the search for secrets in time finds what there is to find, and nothing else; and that what
// it writes down is what the processor does.
#include "comparison.hpp"
#include "stepper.hpp"
#include "support/bytes.hpp"

#include <gtest/gtest.h>
#include <immintrin.h>

#include <cstring>

using namespace qal::test;

namespace {

uint8_t secret[64];
alignas(64) uint32_t table[256];
volatile uint64_t sink;

class NativeSecrecy : public testing::Test {
protected:
    // What two secrets make the run differ in.
    std::vector<Difference> found(const std::function<void()> &run)
    {
        std::memset(secret, 1, sizeof secret);
        Recorder::instance().record(one_, run);
        std::memset(secret, 2, sizeof secret);
        Recorder::instance().record(other_, run);
        return differences(one_, other_, [](const Difference &) { return false; });
    }

    void expect_found(const std::function<void()> &run, const std::string &text)
    {
        SCOPED_TRACE(text);
        const auto differences = found(run);
        ASSERT_EQ(differences.size(), 1);
        EXPECT_NE(differences[0].text.find(text), std::string::npos) << differences[0].text;
        EXPECT_NE(differences[0].text.find(differences[0].functions.back() + "+0x"),
                  std::string::npos);
    }

    // The log says what the processor says.
    static void expect_true(const std::function<void()> &run)
    {
        std::memset(secret, 1, sizeof secret);
        Log log;
        Recorder::instance().record(log, run);
        std::memset(secret, 1, sizeof secret);
        const std::vector<uint64_t> expected = single_steps(run);
        EXPECT_GT(expected.size(), 10);
        const std::vector<uint64_t> steps = steps_of(log);
        for (size_t i = 0; i < std::min(steps.size(), expected.size()); i++)
            ASSERT_EQ(steps[i], expected[i]) << "word " << i << " of " << steps.size();
        EXPECT_EQ(steps.size(), expected.size());
    }

    Log one_, other_;
};

[[gnu::noinline]] void branches()
{
    if (*static_cast<volatile uint8_t *>(secret) & 1)
        sink = 1;
}

[[gnu::noinline]] void looks_up()
{
    sink = *static_cast<volatile uint32_t *>(&table[secret[0]]);
}

struct Reader {
    template<typename T>
    [[gnu::noinline]] int reads(const T *from) const
    {
        sink = *static_cast<const volatile T *>(&from[secret[0]]);
        return 0;
    }
};

[[gnu::noinline]] void exits_early()
{
    for (size_t i = 0; i < sizeof secret; i++) {
        __asm__ volatile("" : : : "memory");
        if (secret[i] == 2)
            return;
        sink = i;
    }
}

[[gnu::noinline]] void calls_another()
{
    void (*const functions[])() = {[] { sink = 1; }, [] { sink = 2; }, [] { sink = 3; }};
    __asm__ volatile("" : : "r"(functions) : "memory");
    functions[secret[0]]();
}

[[gnu::noinline]] void divides()
{
    uint64_t quotient = 1000, remainder = 0;
    __asm__ volatile("divq %2" : "+a"(quotient), "+d"(remainder) : "r"(uint64_t{secret[0]}) : "cc");
    sink = quotient;
}

[[gnu::noinline]] void divides_by_memory()
{
    uint64_t quotient = 1000, remainder = 0;
    __asm__ volatile("divq %2" : "+a"(quotient), "+d"(remainder) : "m"(secret) : "cc");
    sink = quotient;
}

[[gnu::noinline]] void copies()
{
    static uint8_t copy[sizeof secret];
    size_t n = secret[0];
    __asm__ volatile("" : "+r"(n));
    std::memcpy(copy, secret, n);
    __asm__ volatile("" : : "r"(copy) : "memory");
}

[[gnu::noinline]] void repeats()
{
    uint8_t copy[sizeof secret];
    const uint8_t *from = secret;
    uint8_t *to = copy;
    size_t n = secret[0];
    __asm__ volatile("rep movsb" : "+S"(from), "+D"(to), "+c"(n) : : "memory");
}

[[gnu::noinline]] void computes()
{
    uint64_t digits[8], product[16] = {};
    std::memcpy(digits, secret, sizeof digits);
    for (size_t i = 0; i < 8; i++)
        for (size_t j = 0; j < 8; j++)
            product[i + j] += digits[i] * digits[j] ^ product[i];
    __asm__ volatile("" : : "r"(product) : "memory");
    sink = product[3];
}

[[gnu::noinline]] void goes_every_way()
{
    branches();
    looks_up();
    exits_early();
    calls_another();
    divides();
    divides_by_memory();
    copies();
    repeats();
    computes();
    __asm__ volatile("mov $3, %%ecx\n"
                     "1: push %%rcx\n pop %%rcx\n loop 1b\n"
                     "jrcxz 2f\n ud2\n"
                     "2: pushq %0\n pop %%rcx\n"
                     "call 3f\n jmp 4f\n"
                     "3: ret $0\n"
                     "4:"
                     :
                     : "m"(secret)
                     : "rcx", "cc", "memory");
}

[[gnu::noinline, gnu::target("avx2")]] void branches_on_vector()
{
    const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(secret));
    if (_mm256_movemask_epi8(_mm256_cmpeq_epi8(v, _mm256_set1_epi8(1))) == -1)
        sink = 1;
}

[[gnu::noinline, gnu::target("avx2")]] void tests_vector()
{
    const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(secret));
    if (_mm256_testz_si256(v, _mm256_set1_epi8(1)))
        sink = 1;
}

[[gnu::noinline, gnu::target("avx2")]] void gathers()
{
    const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(secret));
    const __m256i indices = _mm256_and_si256(v, _mm256_set1_epi32(255));
    const __m256i got = _mm256_i32gather_epi32(reinterpret_cast<const int *>(table), indices, 4);
    sink = static_cast<uint64_t>(_mm256_extract_epi64(got, 1));
}

[[gnu::noinline, gnu::target("avx2")]] void reads_lanes()
{
    const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(secret));
    const __m256i mask = _mm256_slli_epi32(v, 31);
    const __m256i got = _mm256_maskload_epi32(reinterpret_cast<const int *>(table), mask);
    sink = static_cast<uint64_t>(_mm256_extract_epi64(got, 1));
}

[[gnu::noinline, gnu::target("avx2")]] void exits_early_with_vectors()
{
    for (int i = 0; i < 2; i++) {
        const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(secret) + i);
        if (_mm256_movemask_epi8(_mm256_slli_epi16(v, 6)) != 0)
            return;
        sink = 0;
    }
}

[[gnu::noinline, gnu::target("avx512f,avx512bw")]] void branches_on_mask()
{
    const __m512i v = _mm512_loadu_si512(secret);
    if (_mm512_cmpeq_epi8_mask(v, _mm512_set1_epi8(1)) != 0)
        sink = 1;
}

[[gnu::noinline, gnu::target("avx512f,avx512bw")]] void gathers_wide()
{
    const __m512i indices = _mm512_and_si512(_mm512_loadu_si512(secret), _mm512_set1_epi32(255));
    const __m512i got = _mm512_i32gather_epi32(indices, table, 4);
    _mm512_storeu_si512(secret, got);
}

[[gnu::noinline, gnu::target("avx512f,avx512bw")]] void scatters()
{
    alignas(64) static uint32_t room[256];
    const __m512i indices = _mm512_and_si512(_mm512_loadu_si512(secret), _mm512_set1_epi32(255));
    _mm512_i32scatter_epi32(room, indices, indices, 4);
}

[[gnu::noinline, gnu::target("avx512f,avx512bw")]] void writes_lanes()
{
    const __m512i v = _mm512_loadu_si512(secret);
    _mm512_mask_storeu_epi8(table, _mm512_movepi8_mask(_mm512_slli_epi16(v, 7)), v);
}

[[gnu::noinline, gnu::target("avx512f,avx512bw")]] void exits_early_with_masks()
{
    for (int i = 0; i < 4; i++) {
        const __m512i v = _mm512_loadu_si512(secret);
        if (_mm512_test_epi8_mask(v, _mm512_set1_epi8(2)) != 0)
            return;
        sink = static_cast<uint64_t>(i);
    }
}

[[gnu::noinline, gnu::target("avx512f,avx512bw,avx512vbmi,gfni")]] void computes_wide()
{
    __m512i v = _mm512_loadu_si512(secret);
    v = _mm512_permutexvar_epi8(v, _mm512_loadu_si512(table));
    v = _mm512_gf2p8mul_epi8(v, _mm512_mask_sub_epi8(v, _mm512_movepi8_mask(v), v, v));
    _mm512_storeu_si512(secret, v);
}

bool has_avx2()
{
    return __builtin_cpu_supports("avx2");
}

bool has_avx512()
{
    return __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("gfni");
}

} // namespace

TEST_F(NativeSecrecy, FindsBranches)
{
    expect_found(branches, "goes on at");
}

TEST_F(NativeSecrecy, FindsLookUps)
{
    expect_found(looks_up, "address");
}

TEST_F(NativeSecrecy, FindsEarlyExits)
{
    expect_found(exits_early, "goes on at");
}

TEST_F(NativeSecrecy, FindsOtherFunctions)
{
    const auto differences = found(calls_another);
    ASSERT_EQ(differences.size(), 2); // where the pointer is, and where it points to
    EXPECT_NE(differences[0].text.find("address"), std::string::npos) << differences[0].text;
    EXPECT_NE(differences[1].text.find("goes on at"), std::string::npos) << differences[1].text;
}

TEST_F(NativeSecrecy, NamesFunctions)
{
    const auto differences = found([] { Reader().reads(table); });
    ASSERT_EQ(differences.size(), 1);
    EXPECT_EQ(differences[0].functions.back(), "Reader::reads");
}

TEST_F(NativeSecrecy, FindsDivisions)
{
    expect_found(divides, "operand of a division");
    expect_found(divides_by_memory, "operand of a division");
}

TEST_F(NativeSecrecy, FindsLengths)
{
    expect_found(copies, "argument of a routine of the C library");
    expect_found(repeats, "number of repetitions");
}

TEST_F(NativeSecrecy, FindsNothingInArithmetic)
{
    EXPECT_TRUE(found(computes).empty());
}

TEST_F(NativeSecrecy, FindsThemInVectorsOf256Bits)
{
    if (!has_avx2())
        GTEST_SKIP() << "this processor has no AVX2";
    expect_found(branches_on_vector, "goes on at");
    expect_found(tests_vector, "goes on at");
    expect_found(gathers, "indices");
    expect_found(reads_lanes, "set of lanes");
    expect_found(exits_early_with_vectors, "goes on at");
}

TEST_F(NativeSecrecy, FindsThemInVectorsOf512Bits)
{
    if (!has_avx512())
        GTEST_SKIP() << "this processor has no AVX-512 with VBMI and GFNI";
    expect_found(branches_on_mask, "goes on at");
    expect_found(gathers_wide, "indices");
    expect_found(scatters, "indices");
    expect_found(writes_lanes, "set of lanes");
    expect_found(exits_early_with_masks, "goes on at");
    EXPECT_TRUE(found(computes_wide).empty());
}

TEST_F(NativeSecrecy, GoesOnBehindWhatMayDiffer)
{
    const auto run = [] {
        branches();
        exits_early();
        looks_up();
    };
    std::memset(secret, 1, sizeof secret);
    Recorder::instance().record(one_, run);
    std::memset(secret, 2, sizeof secret);
    Recorder::instance().record(other_, run);
    std::vector<std::string> functions;
    for (const Difference &d : differences(one_, other_, [](const Difference &) { return true; }))
        functions.push_back(d.functions.back());
    EXPECT_EQ(functions, (std::vector<std::string>{"branches", "exits_early", "looks_up"}));
}

TEST_F(NativeSecrecy, RefusesCodeThatItCannotFollow)
{
    Log log;
    EXPECT_THROW(Recorder::instance().record(log, [] { sink = static_cast<uint64_t>(rand()); }),
                 std::runtime_error);
    EXPECT_THROW(Recorder::instance().record(log, [] { __asm__ volatile("int3"); }),
                 std::runtime_error);
    // And records what comes next.
    EXPECT_TRUE(found(computes).empty());
}

TEST_F(NativeSecrecy, RecordsWhatTheProcessorDoes)
{
    expect_true(goes_every_way);
    if (has_avx2())
        expect_true([] {
            branches_on_vector();
            gathers();
            reads_lanes();
        });
    if (has_avx512())
        expect_true([] {
            branches_on_mask();
            gathers_wide();
            std::memset(secret, 1, sizeof secret);
            writes_lanes();
            scatters();
            exits_early_with_masks();
            computes_wide();
        });
}
