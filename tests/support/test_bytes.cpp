// The helpers that the other tests rely on must notice what they are there to notice.
#include "support/bytes.hpp"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <stdexcept>

using namespace qal::test;

TEST(Hex, RoundTrip)
{
    EXPECT_EQ(to_hex(from_hex("00ff10Ab")), "00ff10ab");
    EXPECT_THROW(from_hex("0"), std::invalid_argument);
    EXPECT_THROW(from_hex("0g"), std::invalid_argument);
}

TEST(MarkedBytes, NoticesWritesOnBothSides)
{
    EXPECT_NONFATAL_FAILURE(
        {
            MarkedBytes marked(5, 3);
            marked.data()[-1] = 0;
        },
        "before the buffer");
    EXPECT_NONFATAL_FAILURE(
        {
            MarkedBytes marked(5, 3);
            marked.data()[5] = 0;
        },
        "behind the buffer");
}

TEST(MarkedBytes, StandsAtItsAlignment)
{
    for (size_t offset = 0; offset < 64; offset++) {
        MarkedBytes marked(1, offset);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(marked.data()) % 64, offset);
    }
}

TEST(GuardedBytesDeathTest, EndsTheProgramAtItsEdge)
{
    GuardedBytes upper(5, GuardedBytes::Edge::upper);
    GuardedBytes lower(5, GuardedBytes::Edge::lower);
    volatile uint8_t *behind = upper.data() + 5;
    volatile uint8_t *before = lower.data() - 1;
    EXPECT_DEATH(*behind = 1, "");
    EXPECT_DEATH(*before = 1, "");
    upper.make_read_only();
    volatile uint8_t *inside = upper.data();
    EXPECT_EQ(*inside, 0);
    EXPECT_DEATH(*inside = 1, "");
}

TEST(RandomTest, RepeatsItself)
{
    Random a, b;
    EXPECT_EQ(a.bytes(37), b.bytes(37));
    EXPECT_EQ(a.runs(37), b.runs(37));
    EXPECT_NE(a.bytes(37), a.bytes(37));
}
