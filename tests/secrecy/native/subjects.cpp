#include "subjects.hpp"

namespace qal::test {

std::vector<Input> texts(size_t size, size_t random_inputs)
{
    std::vector<Input> inputs;
    for (const unsigned byte : {0x00U, 0xffU, 0x01U, 0x80U, 0x55U, 0xaaU, 0x7fU})
        inputs.push_back({"bytes " + to_hex({static_cast<uint8_t>(byte)}),
                          {Bytes(size, static_cast<uint8_t>(byte))}});
    Bytes first(size), last(size), halves(size);
    first[0] = 1;
    last[size - 1] = 0x80;
    for (size_t i = 0; i < size / 2; i++)
        halves[i] = 0xff;
    inputs.push_back({"first bit", {first}});
    inputs.push_back({"last bit", {last}});
    inputs.push_back({"half of it ones", {halves}});
    inputs.push_back({"bytes 0, 1, 2 ...", {pattern251(size)}});
    Random random;
    for (size_t i = 0; i < 3; i++)
        inputs.push_back({"runs " + std::to_string(i), {random.runs(size)}});
    for (size_t i = 0; i < random_inputs; i++)
        inputs.push_back({"random " + std::to_string(i), {random.bytes(size)}});
    return inputs;
}

std::vector<Subject> all_subjects(size_t random_inputs)
{
    std::vector<Subject> subjects;
    add_rsa(subjects, random_inputs);
    add_integers(subjects, random_inputs);
    add_prime_curves(subjects, random_inputs);
    add_binary_curves(subjects, random_inputs);
    add_polynomials(subjects, random_inputs);
    add_ciphers(subjects, random_inputs);
    add_hashes(subjects, random_inputs);
    return subjects;
}

} // namespace qal::test
