#include "qalmath64/kernels/digits.hpp"

// Compilers make branches on the length of division: bit_length() is for numbers that are secret.
uint64_t qalbitlen(const qald *x, uint64_t u)
{
    return x[0] == 0 ? 0 : (qal::math::bit_length(x) + u - 1) / u;
}
