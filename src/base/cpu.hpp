// What the processor and the operating system offer, as far as a variant of the library needs it.
//
// Everything here is inline and free of calls: resolvers of indirect functions run before the
// library is relocated (see dispatch.cpp).
#ifndef QAL_BASE_CPU_HPP
#define QAL_BASE_CPU_HPP

#include <stdint.h>

namespace qal::base {

// The highest instruction-set class that may be chosen.
enum IsaCap : int {
    isa_cap_baseline = 0, // x86-64 with SSE2
    isa_cap_avx2 = 1,     // plus BMI2, ADX, PCLMULQDQ, AVX2, GFNI
    isa_cap_all = 2,
};

enum CpuFeature : uint32_t {
    cpu_bmi2_adx = 1u << 0,
    cpu_pclmulqdq = 1u << 1,
    cpu_avx2 = 1u << 2,       // with BMI1 and BMI2, which every processor with AVX2 has
    cpu_gfni = 1u << 3,       // on 128- and 256-bit registers
    cpu_vpclmulqdq = 1u << 4, // on 256-bit registers
    // One profile, all or nothing: all of the above, F, DQ, BW, VL, VBMI, VBMI2, IFMA and, on
    // 512-bit registers, GFNI and VPCLMULQDQ. It excludes the first generation, which clocks down
    // under wide registers.
    cpu_avx512 = 1u << 5,
};

// What the profile has of the features above it.
constexpr uint32_t cpu_below_avx512 = cpu_avx512 - 1;

// Features that each class of variants needs.
constexpr uint32_t needs_portable = 0;
constexpr uint32_t needs_bmi2adx = cpu_bmi2_adx;
constexpr uint32_t needs_avx2 = cpu_avx2;
constexpr uint32_t needs_avx2_gfni = cpu_avx2 | cpu_gfni;
constexpr uint32_t needs_avx2_pclmul = cpu_avx2 | cpu_pclmulqdq;
constexpr uint32_t needs_avx512 = cpu_avx512;

struct CpuidLeaf {
    uint32_t eax, ebx, ecx, edx;
};

[[gnu::always_inline]] static inline CpuidLeaf cpuid(uint32_t leaf, uint32_t subleaf)
{
    CpuidLeaf r;
    __asm__ volatile("cpuid"
                     : "=a"(r.eax), "=b"(r.ebx), "=c"(r.ecx), "=d"(r.edx)
                     : "a"(leaf), "c"(subleaf));
    return r;
}

[[gnu::always_inline]] static inline uint32_t enabled_register_state()
{
    uint32_t low, high;
    __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low;
}

[[gnu::always_inline]] static inline bool has_bits(uint32_t word, uint32_t bits)
{
    return (word & bits) == bits;
}

// What the processor and the operating system say.
struct CpuAnswers {
    uint32_t highest_leaf;
    CpuidLeaf leaf1, leaf7;
    uint32_t state; // XCR0: the registers that the operating system saves
};

// The features, as a set of CpuFeature, that the answers stand for and the cap allows.
[[gnu::always_inline]] static inline uint32_t features_of(const CpuAnswers &answers, int cap)
{
    if (cap < isa_cap_avx2 || answers.highest_leaf < 7)
        return 0;
    const CpuidLeaf &leaf1 = answers.leaf1, &leaf7 = answers.leaf7;
    const uint32_t state = answers.state;
    uint32_t features = 0;

    constexpr uint32_t bmi1 = 1u << 3, avx2 = 1u << 5, bmi2 = 1u << 8, adx = 1u << 19;
    constexpr uint32_t pclmulqdq = 1u << 1, gfni = 1u << 8, vpclmulqdq = 1u << 10;
    if (has_bits(leaf7.ebx, bmi2 | adx))
        features |= cpu_bmi2_adx;
    if (has_bits(leaf1.ecx, pclmulqdq))
        features |= cpu_pclmulqdq;

    // Wide registers count only when the operating system saves them: XCR0 bits 1 and 2 for xmm and
    // ymm, 5 to 7 for masks and zmm.
    if (!has_bits(state, 0x06) || !has_bits(leaf7.ebx, avx2 | bmi1 | bmi2))
        return features;
    features |= cpu_avx2;
    if (has_bits(leaf7.ecx, gfni))
        features |= cpu_gfni;
    if (has_bits(leaf7.ecx, vpclmulqdq))
        features |= cpu_vpclmulqdq;

    constexpr uint32_t f = 1u << 16, dq = 1u << 17, ifma = 1u << 21, bw = 1u << 30, vl = 1u << 31;
    constexpr uint32_t vbmi = 1u << 1, vbmi2 = 1u << 6;
    if (cap >= isa_cap_all && has_bits(state, 0xe6) && has_bits(features, cpu_below_avx512) &&
        has_bits(leaf7.ebx, f | dq | ifma | bw | vl) && has_bits(leaf7.ecx, vbmi | vbmi2))
        features |= cpu_avx512;
    return features;
}

// Leaf 1, ecx: the operating system lets XCR0 be read.
constexpr uint32_t cpuid_osxsave = 1u << 27;

[[gnu::always_inline]] static inline CpuAnswers cpu_answers()
{
    CpuAnswers answers = {cpuid(0, 0).eax, cpuid(1, 0), cpuid(7, 0), 0};
    if (has_bits(answers.leaf1.ecx, cpuid_osxsave))
        answers.state = enabled_register_state();
    return answers;
}

// The features that this machine has and the cap allows.
[[gnu::always_inline]] static inline uint32_t cpu_features(int cap)
{
#ifdef QAL_ASSUMED_CPU
    // An emulated processor can have less to say for itself than its emulator executes.
    if (cap != isa_cap_baseline)
        return QAL_ASSUMED_CPU;
#endif
    return features_of(cpu_answers(), cap);
}

} // namespace qal::base

#endif
