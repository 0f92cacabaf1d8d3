#include <qal/qalmath64.h>

qald *qalunitymont(int32_t k, const qald *p, qald *x)
{
    qalexpb2(x, static_cast<uint64_t>(int64_t{k}));
    qaldiv(x, p, nullptr, x);
    return x;
}
