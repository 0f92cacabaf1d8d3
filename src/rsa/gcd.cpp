#include "base/wipe.hpp"

#include <qal/rsa.h>

#include <utility>

namespace {

// Numbers that change places step by step, erased when their time is over.
struct Remainders {
    qald buffer[3][QALBIG_SIZE];
    qald *u = buffer[0], *v = buffer[1], *other = buffer[2];

    Remainders() = default;
    Remainders(const Remainders &) = delete;
    Remainders &operator=(const Remainders &) = delete;
    ~Remainders() { qal::base::wipe(buffer, sizeof buffer); }

    // (u, v) = (v mod u, u), and q = v / u if it is wanted.
    void step(qald *q)
    {
        qaldiv(v, u, q, other);
        std::swap(v, u);
        std::swap(u, other);
    }
};

} // namespace

// Euclid's algorithm.
qald *GCD(const qald *a, const qald *b, qald *g)
{
    Remainders numbers;
    const bool a_is_larger = qalcmp(a, b) > 0;
    qalcopy(numbers.u, a_is_larger ? a : b);
    qalcopy(numbers.v, a_is_larger ? b : a);
    while (numbers.u[0] != 0)
        numbers.step(nullptr);
    return qalcopy(g, numbers.v);
}

// Euclid's algorithm with one of its two coefficients: x1 a = u modulo m throughout.
qald *inv_mod_extgcd(qald *a, const qald *m)
{
    Remainders numbers;
    qalcopy(numbers.u, a);
    qalcopy(numbers.v, m);
    qalsi buffer[3];
    qalsi *x1 = qalsicr(&buffer[0], QALBIG_ONE), *x0 = qalsicr(&buffer[1], QALBIG_ZERO);
    qalsi *next = &buffer[2];
    qald q[QALBIG_SIZE];
    while (qalcmp(numbers.u, QALBIG_ONE) != 0) {
        // There is no inverse, and the contract has no way to say so.
        while (numbers.u[0] == 0)
            __builtin_ia32_pause();
        numbers.step(q);
        qalsisubmul(next, x0, q, x1);
        std::swap(x0, x1);
        std::swap(x1, next);
    }
    // |x1| is below m.
    if (x1->sign < 0)
        qalsub(qalcopy(a, m), x1->mag);
    else
        qalcopy(a, x1->mag);
    qal::base::wipe(buffer, sizeof buffer);
    qal::base::wipe(q, sizeof q);
    return a;
}
