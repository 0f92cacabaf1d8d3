// What the tests of primality share.
#ifndef QAL_RSA_PRIMALITY_HPP
#define QAL_RSA_PRIMALITY_HPP

#include <qal/rsa.h>

#include <stddef.h>

namespace qal::rsa {

// The largest number that can be tested.
constexpr size_t prime_digits = 16;

// More than what the search for a prime and the completion of a key use of the stack.
constexpr size_t stack_depth = 40960;

// How often to test a number of so many bits. The longer a random number, the less likely it is to
// be composite and to pass (Damgard, Landrock, Pomerance, "Average case error estimates for the
// strong probable prime test", Math. Comp. 61 (1993), table 3).
constexpr uint32_t rounds_for(uint64_t bits)
{
    constexpr struct {
        uint64_t bits;
        uint32_t rounds;
    } steps[] = {{1300, 2}, {850, 3}, {650, 4},  {550, 5},  {450, 6}, {400, 7},
                 {350, 8},  {300, 9}, {250, 12}, {200, 15}, {150, 18}};
    for (const auto &step : steps) {
        if (bits >= step.bits)
            return step.rounds;
    }
    return 27;
}

} // namespace qal::rsa

#endif
