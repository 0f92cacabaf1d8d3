// Streebog's exported tables, computed by the compiler from the standard's definitions.
#include <qal/streebog.h>

#include "base/lists.hpp"
#include "ru/pi.hpp"
#include "ru/streebog_matrix.hpp"

using namespace qal::ru;

// L(pi(x) * 2^(8i)): the sum of the rows of A that the bits of pi(x) select.
static consteval uint64_t lp(int i, int x)
{
    uint64_t image = 0;
    for (int b = 0; b < 8; b++)
        if (gost_pi[x] >> b & 1)
            image ^= streebog_a_row(63 - (8 * i + b));
    return image;
}

#define LP_ROW(i)                                                                                  \
    {                                                                                              \
        QAL_LIST_256(lp, i)                                                                        \
    }
#define C_ROW(i)                                                                                   \
    {                                                                                              \
        QAL_LIST_64(streebog_c_byte, i)                                                            \
    }

alignas(64) const uint64_t streebog_lp64[8][256] = {LP_ROW(0), LP_ROW(1), LP_ROW(2), LP_ROW(3),
                                                    LP_ROW(4), LP_ROW(5), LP_ROW(6), LP_ROW(7)};

alignas(64) const uint8_t streebog_c[12][64] = {C_ROW(0), C_ROW(1), C_ROW(2),  C_ROW(3),
                                                C_ROW(4), C_ROW(5), C_ROW(6),  C_ROW(7),
                                                C_ROW(8), C_ROW(9), C_ROW(10), C_ROW(11)};
