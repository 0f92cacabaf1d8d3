#include "base/require.hpp"

#include <qal/qalmath64.h>

#include <string.h>

static constexpr char qal_source[] = "../src/qalmath64/qalshl";

// The result is the true one modulo 2^(64 * 130): callers shift into full buffers and rely on it.
qald *qalshl(const qald *x, uint64_t s, qald *y)
{
    QAL_REQUIRE(x != nullptr, "x != 0");
    QAL_REQUIRE(y != nullptr, "y != 0");
    constexpr uint64_t most = QALBIG_SIZE - 1;
    const uint64_t n = x[0], whole = s / 64;
    const unsigned bits = s % 64;
    if (whole >= most || n == 0) {
        y[0] = 0;
        return y;
    }
    uint64_t length;
    if (bits == 0) {
        length = n + whole < most ? n + whole : most;
        memmove(y + whole + 1, x + 1, (length - whole) * sizeof *y);
    } else {
        length = n + whole + 1;
        if (length <= most)
            y[length] = x[n] >> (64 - bits);
        else
            length = most + 1; // the loop begins at the highest digit that there is room for
        // From the top down, so that y may be x.
        for (uint64_t j = length - 1; j > whole + 1; j--)
            y[j] = x[j - whole] << bits | x[j - whole - 1] >> (64 - bits);
        y[whole + 1] = x[1] << bits;
        length = length <= most ? length : most;
    }
    memset(y + 1, 0, whole * sizeof *y);
    y[0] = length;
    return qalclip(y);
}
