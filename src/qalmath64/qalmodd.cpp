#include <qal/qalmath64.h>

uint64_t qalmodd(const qald *x, uint64_t d)
{
    // The remainder so far is below d, so that the quotient of each step fits the register.
    uint64_t remainder = 0;
    for (uint64_t i = x[0]; i > 0; i--) {
        uint64_t quotient;
        __asm__("divq %4"
                : "=a"(quotient), "=d"(remainder)
                : "a"(x[i]), "d"(remainder), "r"(d)
                : "cc");
    }
    return remainder;
}
