#include "ru/pi.hpp"
#include "support/vectors.hpp"

#include <qal/streebog.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <sstream>

using namespace qal::test;

namespace {

std::vector<uint64_t> matrix_rows()
{
    std::vector<uint64_t> rows;
    VectorFile("streebog/constants.vec").each("matrix", [&](Vector &v) {
        std::istringstream text(v.text("Rows"));
        for (uint64_t row = 0; text >> std::hex >> row;)
            rows.push_back(row);
    });
    return rows;
}

Bytes substitution()
{
    Bytes pi;
    VectorFile("streebog/constants.vec").each("substitution", [&](Vector &v) {
        pi = v.bytes("Pi");
    });
    return pi;
}

} // namespace

// Entry by entry from the printed constants: bit k of a word selects row 63 - k.
TEST(StreebogTables, CombinedTableIsTheSubstitutionAndTheMatrix)
{
    const std::vector<uint64_t> rows = matrix_rows();
    const Bytes pi = substitution();
    ASSERT_EQ(rows.size(), 64U);
    ASSERT_EQ(pi.size(), 256U);
    for (size_t i = 0; i < 8; i++) {
        for (size_t x = 0; x < 256; x++) {
            uint64_t expected = 0;
            for (size_t k = 0; k < 64; k++)
                if (static_cast<uint64_t>(pi[x]) << 8 * i >> k & 1)
                    expected ^= rows[63 - k];
            ASSERT_EQ(streebog_lp64[i][x], expected) << i << " " << x;
        }
    }
}

TEST(StreebogTables, NamedEntries)
{
    const Bytes pi = substitution();
    const auto x = static_cast<size_t>(std::find(pi.begin(), pi.end(), 0x80) - pi.begin());
    EXPECT_EQ(streebog_lp64[7][x], 0x8e20faa72ba0b470U);
    EXPECT_EQ(streebog_lp64[0][x], 0x70a6a56e2440598eU);
}

TEST(StreebogTables, SubstitutionIsThePublishedPermutation)
{
    const Bytes pi = substitution();
    EXPECT_TRUE(std::equal(pi.begin(), pi.end(), std::begin(qal::ru::gost_pi)));
    Bytes sorted = pi;
    std::sort(sorted.begin(), sorted.end());
    for (size_t x = 0; x < 256; x++)
        EXPECT_EQ(sorted[x], x);
}

TEST(StreebogTables, IterationConstants)
{
    size_t seen = 0;
    VectorFile("streebog/constants.vec").each("iteration", [&](Vector &v) {
        const size_t number = v.number("Number");
        ASSERT_EQ(number, ++seen);
        EXPECT_EQ(to_hex(streebog_c[number - 1], 64), to_hex(v.bytes("C"))) << v.place();
    });
    EXPECT_EQ(seen, 12U);
}

TEST(StreebogTables, StartValues)
{
    for (size_t i = 0; i < 64; i++) {
        EXPECT_EQ(streebog256iv[i], 1);
        EXPECT_EQ(streebog_zero[i], 0);
    }
}
