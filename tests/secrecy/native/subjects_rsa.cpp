// The private operation: keys of odd numbers, as whether these are primes makes no difference to
// what is done with them. Their lengths are public, and every parameter has those of the primes.
#include "subjects.hpp"

#include <qal/rsa.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace qal::test {

namespace {

// Most significant byte first
Bytes odd(Bytes number)
{
    number.front() |= 0x80;
    number.back() |= 1;
    return number;
}

Bytes small(size_t size, uint8_t value)
{
    Bytes number(size);
    number.back() = value;
    return number;
}

// p, q, dP, dQ, qInv and the message
std::vector<Input> inputs(size_t size, size_t random_inputs)
{
    Random random;
    const auto any = [&] { return random.bytes(size); };
    const auto message = [&](uint8_t first) {
        Bytes m = random.bytes(2 * size);
        m.front() = first;
        return m;
    };
    const Bytes ones(size, 0xff), least = odd(small(size, 1));
    Bytes near = odd(any()), next = near;
    near.back() = 0x11;
    next.back() = 0x13;
    std::vector<Input> list = {
        {"p < q", {least, ones, any(), any(), any(), message(0)}},
        {"p > q", {ones, least, any(), any(), any(), message(0)}},
        {"p < q, message of ones", {least, ones, any(), any(), any(), Bytes(2 * size, 0xff)}},
        {"p near q, below", {near, next, any(), any(), any(), message(0)}},
        {"p near q, above", {next, near, any(), any(), any(), message(0)}},
        {"dP = 1", {odd(any()), odd(any()), small(size, 1), any(), any(), message(0)}},
        {"dQ = 3", {odd(any()), odd(any()), any(), small(size, 3), any(), message(0)}},
        {"dP, dQ of ones", {odd(any()), odd(any()), ones, ones, any(), message(0)}},
        {"qInv = 1", {odd(any()), odd(any()), any(), any(), small(size, 1), message(0)}},
        {"qInv = 0", {odd(any()), odd(any()), any(), any(), small(size, 0), message(0)}},
        {"primes in runs",
         {odd(random.runs(size)), odd(random.runs(size)), random.runs(size), random.runs(size),
          random.runs(size), random.runs(2 * size)}},
        {"message 0", {odd(any()), odd(any()), any(), any(), any(), Bytes(2 * size)}},
        {"message 1", {odd(any()), odd(any()), any(), any(), any(), small(2 * size, 1)}},
        {"message of 55", {odd(any()), odd(any()), any(), any(), any(), Bytes(2 * size, 0x55)}},
    };
    Bytes p = odd(any()), multiple(size);
    multiple.insert(multiple.end(), p.begin(), p.end());
    list.push_back({"message p", {p, odd(any()), any(), any(), any(), multiple}});
    list.push_back({"message q", {odd(any()), p, any(), any(), any(), multiple}});
    for (size_t i = 0; i < random_inputs; i++) {
        Bytes one = odd(any()), other = odd(any());
        if ((one < other) == (i % 2 == 0))
            one.swap(other);
        list.push_back({"random " + std::to_string(i) + (i % 2 == 0 ? ", p > q" : ", p < q"),
                        {one, other, any(), any(), any(), message(static_cast<uint8_t>(i))}});
    }
    return list;
}

struct Memory {
    Bytes key, message, out;
};

// Base, exponent and modulus, odd, all of as many digits, as the result is.
std::vector<Input> power_inputs(size_t n, size_t random_inputs)
{
    Random random;
    const size_t size = 8 * n;
    const auto any = [&] {
        Bytes number = random.bytes(size); // least significant byte first
        number.back() |= 0x80;
        number.front() |= 1;
        return number;
    };
    const Bytes ones(size, 0xff);
    Bytes least(size);
    least.front() = 1;
    least.back() = 0x80;
    std::vector<Input> list = {
        {"modulus of ones", {any(), any(), ones}},  {"least modulus", {any(), any(), least}},
        {"exponent of ones", {any(), ones, any()}}, {"least exponent", {any(), least, any()}},
        {"base of ones", {ones, any(), any()}},     {"least base", {least, any(), any()}},
    };
    for (size_t i = 0; i < random_inputs + 8; i++)
        list.push_back({"random " + std::to_string(i), {any(), any(), any()}});
    return list;
}

void add_powers(std::vector<Subject> &subjects, size_t random_inputs)
{
    struct Numbers {
        qald x[33], e[33], m[33], r[33];
    };
    for (const size_t n : {1U, 2U, 4U, 7U, 8U, 12U, 16U}) {
        const auto numbers = std::make_shared<Numbers>();
        subjects.push_back({"rsapowmod", std::to_string(n) + " digits", every_class,
                            power_inputs(n, random_inputs),
                            [numbers, n](const Input &input) {
                                qald *const to[] = {numbers->x, numbers->e, numbers->m};
                                for (size_t i = 0; i < 3; i++) {
                                    to[i][0] = n;
                                    std::memcpy(to[i] + 1, input.values[i].data(), 8 * n);
                                }
                            },
                            [numbers, n] {
                                rsapowmod(numbers->x, numbers->e, numbers->m, numbers->r);
                                return numbers->r[0] == n ? 0 : 1;
                            }});
    }
}

} // namespace

void add_rsa(std::vector<Subject> &subjects, size_t random_inputs)
{
    for (const size_t bits : {512U, 1024U, 1536U, 2048U}) {
        const auto memory = std::make_shared<Memory>();
        const size_t size = bits / 16;
        memory->key.resize(5 * (size + 2));
        memory->message.resize(2 * size);
        memory->out.resize(2 * size);
        const auto prepare = [memory, size](const Input &input) {
            uint8_t *key = memory->key.data();
            for (size_t i = 0; i < 5; i++, key += size + 2) {
                key[0] = static_cast<uint8_t>(size >> 8);
                key[1] = static_cast<uint8_t>(size);
                std::ranges::copy(input.values[i], key + 2);
            }
            std::ranges::copy(input.values[5], memory->message.begin());
        };
        const auto add = [&](const char *name, decltype(&rsa_sign) operation) {
            subjects.push_back({name, std::to_string(bits) + " bits", every_class,
                                inputs(size, random_inputs), prepare, [memory, operation] {
                                    return operation(memory->out.data(), memory->message.data(),
                                                     static_cast<int32_t>(memory->message.size()),
                                                     memory->key.data());
                                }});
        };
        add("rsa_sign", rsa_sign);
        add("rsa_decrypt", rsa_decrypt);
    }
    add_powers(subjects, random_inputs);
}

} // namespace qal::test
