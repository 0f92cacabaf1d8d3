#include "qalmath64/kernels/digits.hpp"

qald *qalclip(qald *x)
{
    x[0] = qal::math::significant(x + 1, x[0]);
    return x;
}
