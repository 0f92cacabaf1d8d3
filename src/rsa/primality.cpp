#include "rsa/primality.hpp"

#include "base/wipe.hpp"
#include "rsa/small_primes.hpp"

using namespace qal::rsa;

namespace {

constexpr Primes<2, 168> trial_primes;
constexpr PrimeGroups<168> trial_groups{trial_primes.prime};
static_assert(trial_primes.prime[167] == 997);

// The numbers of one test, erased when it is over.
struct MillerRabin {
    rsa_keygen_rp pool;
    qald last[QALBIG_SIZE], m[QALBIG_SIZE], x[QALBIG_SIZE], square[QALBIG_SIZE];

    MillerRabin() = default;
    MillerRabin(const MillerRabin &) = delete;
    MillerRabin &operator=(const MillerRabin &) = delete;
    ~MillerRabin() { qal::base::wipe(this, sizeof *this); }

    // Whether n = 2^t m + 1 passes with the next base.
    bool round(const qald *n, uint64_t t)
    {
        rsapowmod(rsa_keygen_rp_get(&pool, x), m, n, x);
        if (qalcmp(x, QALBIG_ONE) == 0 || qalcmp(x, last) == 0)
            return true;
        while (--t > 0) {
            qalsqr(x, square);
            qaldiv(square, n, nullptr, x);
            if (qalcmp(x, last) == 0)
                return true;
            if (qalcmp(x, QALBIG_ONE) == 0)
                break;
        }
        return false;
    }
};

} // namespace

int RabinMiller(const qald *n, uint32_t rounds)
{
    MillerRabin test;
    rsa_keygen_rp_init(&test.pool, n);
    if (n[0] == 0 || n[1] % 2 == 0 || qalcmp(n, QALBIG_ONE) == 0)
        return 0;

    qalsub(qalcopy(test.last, n), QALBIG_ONE);
    uint64_t t = 1;
    while (qalgetwin(test.last, t, 1) == 0)
        t++;
    qalshr(test.last, t, test.m);
    for (; rounds > 0; rounds--) {
        if (!test.round(n, t))
            return 0;
    }
    return 1;
}

int isPrime(const qald *n)
{
    // A prime below 1000 is divided by itself: the test is meant for the primes of keys.
    const bool has_no_divisor = trial_groups.each_remainder(
        trial_primes.prime, n, [](size_t, uint32_t remainder) { return remainder != 0; });
    return has_no_divisor ? RabinMiller(n, rounds_for(qalbitlen(n, 1))) : 0;
}
