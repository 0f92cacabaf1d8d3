// Conversions between numbers, byte strings and text.
#include "support/numbers.hpp"

#include <gtest/gtest.h>

using namespace qal::test;

namespace {

mpz_class from_bytes(const Bytes &bytes, size_t n, bool most_significant_first)
{
    mpz_class value;
    mpz_import(value.get_mpz_t(), n, most_significant_first ? 1 : -1, 1, 0, 0, bytes.data());
    return value;
}

// Most significant byte first, without leading zeros.
Bytes to_bytes(const mpz_class &value)
{
    Bytes bytes((mpz_sizeinbase(value.get_mpz_t(), 2) + 7) / 8);
    size_t count = 0;
    mpz_export(bytes.data(), &count, 1, 1, 0, 0, value.get_mpz_t());
    bytes.resize(count);
    return bytes;
}

constexpr size_t most_bytes = 8 * capacity;

std::vector<size_t> byte_lengths()
{
    std::vector<size_t> lengths;
    for (size_t n = 0; n <= 80; n++)
        lengths.push_back(n);
    for (const size_t n :
         {511U, 512U, 1031U, 1032U, 1033U, 1039U, 1040U, 1041U, 1047U, 1048U, 2000U})
        lengths.push_back(n);
    return lengths;
}

} // namespace

TEST(Conversions, FromBytes)
{
    Random random;
    for (const size_t n : byte_lengths()) {
        for (int round = 0; round < 200; round++) {
            Bytes bytes = round % 2 ? random.bytes(n) : random.runs(n);
            // Zeros at either end are no digits.
            const size_t zeros = random.below(3) ? 0 : random.below(n + 1);
            std::fill(random.below(2) ? bytes.begin() : bytes.end() - static_cast<long>(zeros),
                      bytes.end(), uint8_t{0});
            const size_t offset = random.below(20);
            Bytes placed(offset, 0xee);
            placed.insert(placed.end(), bytes.begin(), bytes.end());
            GuardedBytes in(bytes, some_edge(random)), at(placed);
            // Beyond a full buffer the first bytes count.
            const size_t used = std::min(n, most_bytes), room = (used + 7) / 8;
            const auto count = static_cast<uint32_t>(n);
            const mpz_class big = from_bytes(bytes, used, true);
            const mpz_class little = from_bytes(bytes, used, false);
            Number a(0, room), b(0, room), c(0, room), d(0, room);
            expect_number(qalfrombase256(a, in.data(), count), a, big);
            expect_number(qalfromrbase256(b, in.data(), count), b, little);
            expect_number(qalgetbe(c, at.data(), offset, count), c, big);
            expect_number(qalgetle(d, at.data(), offset, count), d, little);
        }
    }
}

TEST(Conversions, ToBytes)
{
    Random random;
    for (int round = 0; round < 40000; round++) {
        const mpz_class x =
            random_number(random, random.below(4) ? random.below(6) : some_length(random)) >>
            random.below(64);
        const Bytes big = to_bytes(x), little = reversed(big);
        const size_t size = random.below(big.size() + 12), count = std::min(size, big.size());
        const size_t offset = random.below(20);
        Number number(x, digits_of(x), some_edge(random));
        const auto room = static_cast<uint32_t>(size);
        // A short buffer gets the bytes that come first; what is behind the last one stays.
        const auto expected = [&](const Bytes &bytes) {
            Bytes out(size, 0xa5);
            std::copy_n(bytes.begin(), count, out.begin());
            return out;
        };
        const auto check = [&](auto write, const Bytes &bytes, size_t from) {
            GuardedBytes out(Bytes(from + size, 0xa5),
                             from ? GuardedBytes::Edge::upper : some_edge(random));
            ASSERT_EQ(write(out.data()), count);
            const Bytes all = out.contents();
            ASSERT_EQ(Bytes(all.begin() + static_cast<long>(from), all.end()), expected(bytes));
            ASSERT_EQ(Bytes(all.begin(), all.begin() + static_cast<long>(from)), Bytes(from, 0xa5));
        };
        check([&](uint8_t *b) { return qaltobase256(b, room, number); }, big, 0);
        check([&](uint8_t *b) { return qaltorbase256(b, room, number); }, little, 0);
        check([&](uint8_t *b) { return qalputbe(b, offset, room, number); }, big, offset);
        check([&](uint8_t *b) { return qalputle(b, offset, room, number); }, little, offset);
    }
}

TEST(Conversions, Examples)
{
    const uint8_t nine[9] = {1};
    Number x(0, 2);
    EXPECT_EQ(qalfrombase256(x, nine, 9)[0], 2);
    EXPECT_EQ(x.words()[1], 0);
    EXPECT_EQ(x.words()[2], 1);
    EXPECT_EQ(qalfrombase256(x, nullptr, 0)[0], 0);
    EXPECT_EQ(qalfromrbase256(x, nullptr, 0)[0], 0);

    uint8_t out[16] = {};
    EXPECT_EQ(qaltobase256(out, sizeof out, QALBIG_ONE), 1);
    EXPECT_EQ(out[0], 1);
    EXPECT_EQ(qaltobase256(nullptr, 0, QALBIG_ONE), 0);
    EXPECT_EQ(qaltobase256(nullptr, 5, QALBIG_ZERO), 0);
    EXPECT_EQ(qaltorbase256(nullptr, 5, QALBIG_ZERO), 0);
    Number power(power_of_two(64));
    EXPECT_EQ(qaltorbase256(out, sizeof out, power), 9);
    EXPECT_EQ(Bytes(out, out + 9), from_hex("000000000000000001"));
}

TEST(Conversions, ToText)
{
    Random random;
    for (int round = 0; round < 40000; round++) {
        const mpz_class x =
            random_number(random, random.below(4) ? random.below(6) : some_length(random)) >>
            random.below(64);
        const std::string digits = mpz_class(x).get_str(-16);
        const size_t size = 1 + random.below(digits.size() + 5);
        Number number(x, digits_of(x), some_edge(random));
        GuardedBytes text(Bytes(size, 0xa5));
        qaltoxstr(number, reinterpret_cast<char *>(text.data()), static_cast<int32_t>(size));
        std::string expected = digits.size() < size ? digits : std::string(size - 1, '*');
        if (x == 0 && size == 1)
            expected = "";
        ASSERT_STREQ(reinterpret_cast<const char *>(text.data()), expected.c_str());
    }
    Number x(255);
    char text[3] = "##";
    qaltoxstr(x, text, 3);
    EXPECT_STREQ(text, "FF");
    qaltoxstr(x, text, 2);
    EXPECT_STREQ(text, "*");
    qaltoxstr(QALBIG_ZERO, text, 1);
    EXPECT_STREQ(text, "");
    text[0] = '#';
    qaltoxstr(x, text, 0);
    EXPECT_EQ(text[0], '#');
    qaltoxstr(x, nullptr, 5);
}
