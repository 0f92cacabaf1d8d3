#include "qalmath64/kernels/digits.hpp"

// An odd a; an even one has no inverse, and gets a number without meaning.
uint64_t qalinverse(uint64_t a)
{
    return 0 - qal::math::montgomery_constant(a);
}
