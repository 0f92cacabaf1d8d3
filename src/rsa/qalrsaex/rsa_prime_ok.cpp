#include "rsa/qalrsaex/parameters.hpp"

using namespace qal::rsa;

int rsa_prime_ok(const qald *n, uint64_t bits)
{
    return qalbitlen(n, 1) == bits / 2 && qalmodd(n, public_exponent) != 1;
}

int isRSAPrime(const qald *n, uint64_t bits)
{
    return rsa_prime_ok(n, bits) != 0 ? isPrime(n) : 0;
}
