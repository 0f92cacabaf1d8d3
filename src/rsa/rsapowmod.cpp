// x^e mod m for secrets: Miller's and Rabin's test and keys whose primes differ in length. Shapes
// and aliasing: rsa.h. Time depends on the numbers of digits alone, unless x has more than m.
#include "base/secrecy.hpp"
#include "base/wipe.hpp"
#include "qalmath64/powers/powers.hpp"

#include <qal/rsa.h>

#include <string.h>

using namespace qal::math;

qald *rsapowmod(const qald *x, const qald *e, const qald *m, qald *r)
{
    const size_t n = m[0];
    if (n == 0)
        return qalconvert(r, 0);
    // The base may have twice the digits of the modulus if it is below m 2^(64 n), and is therefore
    // reduced only if it has more digits than m.
    qald base[QALBIG_SIZE];
    if (x[0] > n)
        // Division keeps a copy of the modulus, and digits of both in registers.
        qal::base::run_on_wiped_stack<2048>([&] { qaldiv(x, m, nullptr, base); });
    else
        qalcopy(base, x);
    memset(base + 1 + base[0], 0, (2 * n - base[0]) * sizeof *base);

    power_secret({r + 1, base + 1, e + 1, m + 1}, n, 64 * e[0]);
    qal::base::wipe(base, sizeof base);
    // A number shows how many digits it has.
    r[0] = n;
    while (r[0] > 0 && qal::base::declassified(r[r[0]] == 0))
        r[0]--;
    return r;
}
