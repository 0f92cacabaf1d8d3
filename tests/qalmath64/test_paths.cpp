// Kernels whose time is to depend on lengths alone execute the same instructions, in the same
// order, whatever the numbers are: those of their every variant, wide ones included.
#include "qalmath64/kernels/digits.hpp"
#include "qalmath64/kernels/montgomery.hpp"

#include "support/checked_call.hpp"
#include "support/numbers.hpp"
#include "support/sweeps.hpp"

#include <gtest/gtest.h>

#include <map>

using namespace qal::test;
using namespace qal::math;

namespace {

const std::vector<Variant<decltype(qal_mont_mul)>> products = {
    {"portable", 0, qal_mont_mul_portable},
    {"bmi2adx", qal::base::needs_bmi2adx, qal_mont_mul_bmi2adx},
    {"avx512", qal::base::needs_avx512, qal_mont_mul_avx512},
};
const std::vector<Variant<decltype(qal_mont_sqr)>> squares = {
    {"portable", 0, qal_mont_sqr_portable},
    {"bmi2adx", qal::base::needs_bmi2adx, qal_mont_sqr_bmi2adx},
    {"avx512", qal::base::needs_avx512, qal_mont_sqr_avx512},
};
template<class T>
uint64_t word(T value)
{
    if constexpr (std::is_pointer_v<T>)
        return reinterpret_cast<uintptr_t>(value);
    else
        return static_cast<uint64_t>(value);
}

template<class Function, class... Arguments>
std::vector<uintptr_t> path(Function *function, Arguments... arguments)
{
    return path_of_call(reinterpret_cast<const void *>(function), {word(arguments)...});
}

struct Case {
    mpz_class p, a, b;
};

// Moduli that have little in common, and factors on either side of them.
std::vector<Case> cases(size_t n)
{
    const mpz_class most = power_of_two(64 * n) - 1, high = power_of_two(64 * n - 1) + 1,
                    low = power_of_two(64 * (n - 1)) + 1;
    return {{most, 1, most / 3}, {high, high - 1, high - 1}, {high, high, high},
            {high, most, most},  {low, low / 3, low + 1},    {low, most, 0}};
}

} // namespace

// The lengths are those of curves, those of RSA primes, and one for each kind of wide product.
TEST(Paths, Montgomery)
{
    std::map<std::string, std::vector<uintptr_t>> known;
    for (const size_t n : {4U, 7U, 8U, 16U, 20U, 32U}) {
        SCOPED_TRACE(n);
        known.clear();
        for (const auto &numbers : cases(n)) {
            const auto &[p, a, b] = numbers;
            Digits modulus(p, n), x(a, n), y(b, n), r(0, 2 * n);
            qald *const m = modulus, *const one = x, *const other = y, *const result = r;
            const qald c = montgomery_constant(m[0]);
            // By name: the same way as in the first case.
            const auto check = [&](const std::string &name, std::vector<uintptr_t> taken) {
                const auto [first, is_first] = known.try_emplace(name, taken);
                ASSERT_TRUE(is_first || first->second == taken)
                    << name << " of p = " << numbers.p << ", a = " << numbers.a
                    << ", b = " << numbers.b;
            };
            // General code is the same for all lengths.
            const auto matters = [n](const auto &variant) {
                return variant.needs == qal::base::needs_avx512 || n <= 8;
            };
            each_variant(products, [&](const auto &multiply) {
                if (matters(multiply))
                    check(std::string("product ") + multiply.name,
                          path(multiply.run, result, one, other, m, n, c));
            });
            each_variant(squares, [&](const auto &square) {
                if (matters(square))
                    check(std::string("square ") + square.name,
                          path(square.run, result, one, m, n, c));
            });
            if (HasFatalFailure())
                return;
        }
    }
}
