// Small primes, several to a digit: the remainder of a number by the product of a group gives those
// by its primes, so that one pass over the number's digits serves them all.
#ifndef QAL_RSA_SMALL_PRIMES_HPP
#define QAL_RSA_SMALL_PRIMES_HPP

#include "qalmath64/kernels/divide.hpp"

namespace qal::rsa {

// The first Count primes from First on, in ascending order.
template<uint16_t First, size_t Count>
struct Primes {
    uint16_t prime[Count] = {};

    constexpr Primes()
    {
        size_t n = 0;
        for (uint16_t candidate = First; n < Count; candidate++) {
            bool is_prime = true;
            for (uint16_t d = 2; d * d <= candidate && is_prime; d++)
                is_prime = candidate % d != 0;
            if (is_prime)
                prime[n++] = candidate;
        }
    }
};

// A run of a list of primes, with their product times the power of two that sets its top bit.
struct PrimeGroup {
    qald divisor;
    uint16_t begin, end;
};

template<size_t Count>
struct PrimeGroups {
    // Primes of 12 bits fit five times into a digit, and the smaller ones more often.
    static constexpr size_t most = Count / 5 + 1;

    PrimeGroup group[most] = {};
    size_t count = 0;

    explicit constexpr PrimeGroups(const uint16_t *prime)
    {
        for (uint16_t i = 0; i < Count; count++) {
            qald product = 1;
            const uint16_t begin = i;
            for (; i < Count && product <= ~qald{0} / prime[i]; i++)
                product *= prime[i];
            group[count] = {product << __builtin_clzll(product), begin, i};
        }
    }

    // Calls use(index, remainder) for each prime of the list and the number's remainder by it,
    // until an answer is false; returns whether none was.
    template<class Use>
    bool each_remainder(const uint16_t *prime, const qald *x, Use use) const
    {
        for (size_t i = 0; i < count; i++) {
            const PrimeGroup &g = group[i];
            const qald common = math::divide_by_digit(nullptr, x + 1, x[0], 0, g.divisor);
            for (size_t j = g.begin; j < g.end; j++) {
                if (!use(j, static_cast<uint32_t>(common % prime[j])))
                    return false;
            }
        }
        return true;
    }
};

} // namespace qal::rsa

#endif
