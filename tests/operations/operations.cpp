#include "operations/operations.hpp"

#include <algorithm>
#include <cstring>

namespace qal::test {

Bytes Operation::result() const
{
    Bytes all;
    for (const Output &output : outputs) {
        const auto *bytes = static_cast<const uint8_t *>(output.memory);
        const size_t size = output.number
                                ? sizeof(qald) * (*static_cast<const qald *>(output.memory) + 1)
                                : output.size;
        all.insert(all.end(), bytes, bytes + size);
    }
    return all;
}

Operations::Operations()
{
    rsa_gen_rnd = fixed_random;
    add_integers();
    add_conversions();
    add_rsa();
    add_prime_fields();
    add_prime_curves();
    add_signatures();
    add_ciphers();
    add_hashes();
    add_binary_polynomials();
    add_binary_curves();
    add_binary_signatures();
    initial_ = memory_;
}

void Operations::reset()
{
    for (size_t i = 0; i < memory_.size(); i++)
        std::copy(initial_[i].begin(), initial_[i].end(), memory_[i].begin());
}

bool Operations::holds_word_of(uint8_t byte) const
{
    const uint32_t word = byte * 0x01010101U;
    return std::any_of(memory_.begin(), memory_.end(), [=](const std::vector<uint64_t> &part) {
        return std::any_of(part.begin(), part.end(), [=](uint64_t both) {
            return static_cast<uint32_t>(both) == word || both >> 32 == word;
        });
    });
}

uint8_t *Operations::bytes(size_t size)
{
    auto *const result = make<uint8_t>(size);
    for (size_t i = 0; i < size; i++) {
        state_ = state_ * 6364136223846793005 + 1442695040888963407;
        result[i] = static_cast<uint8_t>(state_ >> 56);
    }
    return result;
}

qald *Operations::number(size_t digits)
{
    qald *const x = room();
    std::memcpy(x + 1, bytes(8 * digits), 8 * digits);
    for (size_t i = 1; i <= digits; i++)
        x[i] |= qald{1} << 62;
    x[0] = digits;
    x[1] |= 1;
    return x;
}

Operation &Operations::add(const std::string &name, const std::string &arguments,
                           std::function<void()> call, std::vector<Output> outputs)
{
    all.push_back({name, arguments, std::move(call), std::move(outputs)});
    return all.back();
}

void Operations::sweep(const std::string &name, std::function<void()> call,
                       std::vector<Output> outputs)
{
    add(name, "sizes", std::move(call), std::move(outputs)).sweep = true;
}

int fixed_random(uint8_t *buf, uint32_t len)
{
    uint32_t state = len;
    for (uint32_t i = 0; i < len; i++) {
        state = state * 1664525 + 1013904223;
        buf[i] = static_cast<uint8_t>(state >> 24);
    }
    return 0;
}

} // namespace qal::test
