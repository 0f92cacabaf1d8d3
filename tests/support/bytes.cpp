#include "support/bytes.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>

#include <sys/mman.h>
#include <unistd.h>

namespace qal::test {

namespace {

constexpr size_t margin = 64;
constexpr uint8_t mark = 0xa5;

uint8_t hex_digit(char c)
{
    if (c >= '0' && c <= '9')
        return static_cast<uint8_t>(c - '0');
    if (c >= 'a' && c <= 'f')
        return static_cast<uint8_t>(c - 'a' + 10);
    if (c >= 'A' && c <= 'F')
        return static_cast<uint8_t>(c - 'A' + 10);
    throw std::invalid_argument(std::string("not a hexadecimal digit: ") + c);
}

uint64_t seed_option()
{
    const char *text = std::getenv("QAL_TEST_SEED");
    return text ? std::strtoull(text, nullptr, 0) : 1;
}

} // namespace

std::string to_hex(const uint8_t *data, size_t size)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(2 * size);
    for (size_t i = 0; i < size; i++) {
        text.push_back(digits[data[i] >> 4]);
        text.push_back(digits[data[i] & 15]);
    }
    return text;
}

Bytes from_hex(std::string_view text)
{
    if (text.size() % 2 != 0)
        throw std::invalid_argument("an odd number of hexadecimal digits");
    Bytes bytes(text.size() / 2);
    for (size_t i = 0; i < bytes.size(); i++)
        bytes[i] = static_cast<uint8_t>(hex_digit(text[2 * i]) << 4 | hex_digit(text[2 * i + 1]));
    return bytes;
}

Bytes pattern251(size_t size)
{
    Bytes bytes(size);
    for (size_t i = 0; i < size; i++)
        bytes[i] = static_cast<uint8_t>(i % 251);
    return bytes;
}

Random::Random()
{
    const uint64_t seed = seed_option();
    std::vector<uint32_t> material{static_cast<uint32_t>(seed), static_cast<uint32_t>(seed >> 32)};
    std::string name = "no test";
    if (const testing::TestInfo *test = testing::UnitTest::GetInstance()->current_test_info()) {
        name = std::string(test->test_suite_name()) + "." + test->name();
        testing::Test::RecordProperty("QAL_TEST_SEED", std::to_string(seed));
    }
    material.insert(material.end(), name.begin(), name.end());
    std::seed_seq sequence(material.begin(), material.end());
    engine_.seed(sequence);
}

Bytes Random::bytes(size_t size)
{
    Bytes bytes(size);
    for (size_t i = 0; i < size; i += 8) {
        const uint64_t w = word();
        std::memcpy(bytes.data() + i, &w, std::min<size_t>(8, size - i));
    }
    return bytes;
}

Bytes Random::runs(size_t size)
{
    Bytes bytes(size);
    bool bit = word() & 1;
    for (size_t i = 0, left = 0; i < 8 * size; i++, left--) {
        if (left == 0) {
            left = 1 + below(below(2) ? 8 : 200);
            bit = !bit;
        }
        if (bit)
            bytes[i / 8] = static_cast<uint8_t>(bytes[i / 8] | 1u << i % 8);
    }
    return bytes;
}

GuardedBytes::GuardedBytes(size_t size, Edge edge) : size_(size)
{
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t inner = std::max<size_t>(1, (size + page - 1) / page) * page;
    mapped_ = inner + 2 * page;
    void *mapping = mmap(nullptr, mapped_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping == MAP_FAILED)
        throw std::bad_alloc();
    mapping_ = static_cast<uint8_t *>(mapping);
    if (mprotect(mapping_ + page, inner, PROT_READ | PROT_WRITE) != 0)
        throw std::bad_alloc();
    data_ = edge == Edge::lower ? mapping_ + page : mapping_ + page + inner - size;
}

GuardedBytes::GuardedBytes(const Bytes &contents, Edge edge) : GuardedBytes(contents.size(), edge)
{
    std::copy(contents.begin(), contents.end(), data_);
}

GuardedBytes::~GuardedBytes()
{
    munmap(mapping_, mapped_);
}

void GuardedBytes::make_read_only()
{
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    if (mprotect(mapping_ + page, mapped_ - 2 * page, PROT_READ) != 0)
        throw std::bad_alloc();
}

MarkedBytes::MarkedBytes(size_t size, size_t offset)
    : size_(size), storage_(size + offset + 3 * margin, mark)
{
    const size_t beyond = reinterpret_cast<uintptr_t>(storage_.data()) % margin;
    data_ = storage_.data() + (margin - beyond) + margin + offset;
}

MarkedBytes::MarkedBytes(const Bytes &contents, size_t offset)
    : MarkedBytes(contents.size(), offset)
{
    std::copy(contents.begin(), contents.end(), data_);
}

MarkedBytes::~MarkedBytes()
{
    const auto untouched = [](const uint8_t *from, const uint8_t *to) {
        return std::all_of(from, to, [](uint8_t b) { return b == mark; });
    };
    const uint8_t *begin = storage_.data();
    EXPECT_TRUE(untouched(begin, data_)) << "a write before the buffer";
    EXPECT_TRUE(untouched(data_ + size_, begin + storage_.size())) << "a write behind the buffer";
}

} // namespace qal::test
