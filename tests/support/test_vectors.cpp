#include "support/vectors.hpp"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

using namespace qal::test;

namespace {

VectorFile parsed(const std::string &text)
{
    std::istringstream input(text);
    return {"text", input};
}

std::string error_of(const std::string &text)
{
    try {
        parsed(text);
    } catch (const std::runtime_error &error) {
        return error.what();
    }
    return "none";
}

} // namespace

TEST(Vectors, AreReadInOrder)
{
    VectorFile file = parsed("# source\n[a]\nOrder = msb\nShared = 7\n\nX = 0102\n\nX = 0a0b\n"
                             "[b]\n\nY = repeat(abcd, 2)\n");
    ASSERT_EQ(file.vectors().size(), 3U);
    size_t calls = 0;
    file.each("a", [&](Vector &v) {
        EXPECT_EQ(v.number("Shared"), 7U);
        EXPECT_EQ(v.bytes("X"), (calls++ == 0 ? Bytes{2, 1} : Bytes{0x0b, 0x0a}));
    });
    EXPECT_EQ(calls, 2U);
    EXPECT_EQ(file.vectors()[1].place(), "text:8");
}

TEST(Vectors, FormulasStandForLongInputs)
{
    VectorFile file = parsed("[a]\n\nX = repeat(ab01, 2)\nY = pattern251(253)\n");
    file.each("a", [](Vector &v) {
        EXPECT_EQ(v.bytes("X"), (Bytes{0xab, 1, 0xab, 1}));
        EXPECT_EQ(v.bytes("Y"), pattern251(253));
    });
}

TEST(Vectors, MalformedFilesAreRefused)
{
    EXPECT_EQ(error_of("[a]\n\nX = 1\nX = 2\n"), "text:4: X stands twice");
    EXPECT_EQ(error_of("[a]\nX = 1\n\nX = 2\n"), "text:4: X stands twice");
    EXPECT_EQ(error_of("X = 1\n"), "text:1: an attribute without an operation or a name");
    EXPECT_EQ(error_of("[a\n"), "text:1: malformed name of an operation");
    EXPECT_EQ(error_of("[a]\nOrder = be\n"), "text:2: Order is msb or lsb");
    EXPECT_EQ(error_of("[a]\n\nnonsense\n"), "text:3: neither `Name = value` nor [operation]");
}

TEST(Vectors, UnreadAndMissingAttributesFail)
{
    EXPECT_NONFATAL_FAILURE(
        parsed("[a]\n\nX = 01\nY = 02\n").each("a", [](Vector &v) { v.bytes("X"); }),
        "nothing reads Y");
    EXPECT_THROW(parsed("[a]\n\nX = 01\n").each("a", [](Vector &v) { v.bytes("Z"); }),
                 std::runtime_error);
    EXPECT_THROW(parsed("[a]\n\nX = 0q\n").each("a", [](Vector &v) { v.bytes("X"); }),
                 std::runtime_error);
    EXPECT_THROW(parsed("[a]\n\nX = 1x\n").each("a", [](Vector &v) { v.number("X"); }),
                 std::runtime_error);
    EXPECT_THROW(parsed("[a]\n\nX = 01\n").each("b", [](Vector &) {}), std::runtime_error);
}
