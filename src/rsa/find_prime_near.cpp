#include "base/wipe.hpp"
#include "rsa/primality.hpp"
#include "rsa/small_primes.hpp"

using namespace qal::rsa;

namespace {

// Odd primes up to 3571. In the eighth place 3 stands for 23: which candidates are tested, and so
// how often the generator is called, follows from the list, and is kept.
constexpr size_t sieve_count = 499;
struct SievePrimes : Primes<3, sieve_count> {
    constexpr SievePrimes() { prime[7] = 3; }
};
constexpr SievePrimes sieve_primes;
constexpr PrimeGroups<sieve_count> sieve_groups{sieve_primes.prime};
static_assert(sieve_primes.prime[6] == 19 && sieve_primes.prime[8] == 29 &&
              sieve_primes.prime[sieve_count - 1] == 3571);

// Bit i of the sieve is set if x + i is known to be composite: if i is odd, but in the lower half
// of each word alone, or if a small prime divides x + i.
constexpr uint32_t sieve_bits = 8128;
constexpr qald even_candidates = 0xaaaaaaaa;

void sieve(const qald *x, qald *bs)
{
    qalbscr(bs, sieve_bits, even_candidates);
    sieve_groups.each_remainder(sieve_primes.prime, x, [bs](size_t index, uint32_t remainder) {
        const uint32_t p = sieve_primes.prime[index];
        for (uint32_t i = p - remainder; i < sieve_bits; i += p)
            bs[i / 64 + 1] |= qald{1} << (i % 64);
        return true;
    });
}

int search(qald *x)
{
    qald bs[sieve_bits / 64 + 1], candidate[prime_digits + 2];
    sieve(x, bs);
    int found = 0;
    // x itself is tested whatever its bit says.
    for (uint32_t i = 0; i < sieve_bits; i = qalbsnextval(bs, i, 0)) {
        const qald offset[] = {i != 0, i};
        qaladd(qalcopy(candidate, x), offset);
        if (candidate[0] > prime_digits)
            break;
        if (RabinMiller(candidate, rounds_for(qalbitlen(candidate, 1))) != 0) {
            qalcopy(x, candidate);
            found = 1;
            break;
        }
    }
    return found;
}

} // namespace

// The numbers from which the answer can be found are all over the stack.
int find_prime_near(qald *x)
{
    int found = 0;
    if (x[0] <= prime_digits)
        qal::base::run_on_wiped_stack<stack_depth>([&] { found = search(x); });
    return found;
}
