#include "base/require.hpp"
#include "qalmath64/kernels/digits.hpp"

static constexpr char qal_source[] = "../src/qalmath64/qalmodsf";

using namespace qal::math;

qald *qalmodsf(qald *x, const qald *p, int32_t l, uint64_t c)
{
    QAL_REQUIRE(x != nullptr, "x != 0");
    QAL_REQUIRE(p != nullptr, "p != 0");
    // As the expression says it: with l negative, its conversion makes the limit enormous.
    QAL_REQUIRE(x[0] <= static_cast<uint64_t>(2 * int64_t{l}) / 64, "*x <= (2*l/(sizeof(qald)*8))");
    QAL_REQUIRE(l % 64 == 0, "(l % (sizeof(qald)*8)) == 0");
    QAL_REQUIRE(p[0] >= 2, "*p >= 2");

    const size_t k = static_cast<size_t>(l) / 64, n = x[0];
    bool overflow = false;
    if (n > k) {
        // 2^l = c modulo p: the high part comes down as c times itself, and what that carries out
        // comes down once more.
        qald *const low = x + 1;
        const size_t high = n - k < k ? n - k : k;
        qald carry = qal_addmul_row(low, low + k, high, c);
        for (size_t i = high; i < k && carry != 0; i++)
            carry = __builtin_add_overflow(low[i], carry, &low[i]);
        const uint128 rest = uint128{carry} * c;
        uint128 sum = uint128{low[0]} + static_cast<qald>(rest);
        low[0] = static_cast<qald>(sum);
        sum = uint128{low[1]} + static_cast<qald>(rest >> 64) + static_cast<qald>(sum >> 64);
        low[1] = static_cast<qald>(sum);
        overflow = sum >> 64 != 0;
        for (size_t i = 2; i < k && overflow; i++)
            overflow = ++low[i] == 0;
        x[0] = k;
        qalclip(x);
    }
    if (overflow || qalcmp(x, p) >= 0) {
        // x is in [p, 2^l + c), and p = 2^l - c: the difference is one digit, and so it is found
        // from the lowest digits alone. This holds only for p and c that match.
        x[1] -= p[1];
        x[0] = x[1] != 0;
    }
    for (size_t i = x[0] + 1; i <= n; i++)
        x[i] = 0;
    return x;
}
