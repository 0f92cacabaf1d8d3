// The operations on secrets of docs/SECURITY-MODEL.md, each with secrets that it is run on.
#pragma once

#include "support/bytes.hpp"

#include <functional>
#include <string>
#include <vector>

namespace qal::test {

// Of variants, by what they need: see docs/ARCHITECTURE.md.
enum InstructionClass : unsigned { baseline = 1, avx2 = 2, gfni = 4, avx512 = 8 };
constexpr unsigned every_class = baseline | avx2 | gfni | avx512;

// Secrets, and public values that are of the same lengths for all inputs of a subject.
struct Input {
    std::string name;
    std::vector<Bytes> values;
};

struct Subject {
    std::string operation; // as the table of the model names it
    std::string arguments;
    unsigned classes; // in which nothing may depend on the secret
    std::vector<Input> inputs;
    // Brings an input to where the run finds it, always the same memory.
    std::function<void(const Input &)> prepare;
    // What is watched; returns a status that is 0 for every input.
    std::function<int()> run;
};

// What the model does not list and everything else stands on.
constexpr const char *internal_operation = "kernels on digits";

// As many random inputs are among those of each subject.
std::vector<Subject> all_subjects(size_t random_inputs);

void add_rsa(std::vector<Subject> &subjects, size_t random_inputs);
void add_integers(std::vector<Subject> &subjects, size_t random_inputs);
void add_prime_curves(std::vector<Subject> &subjects, size_t random_inputs);
void add_binary_curves(std::vector<Subject> &subjects, size_t random_inputs);
void add_polynomials(std::vector<Subject> &subjects, size_t random_inputs);
void add_ciphers(std::vector<Subject> &subjects, size_t random_inputs);
void add_hashes(std::vector<Subject> &subjects, size_t random_inputs);

// Strings of one byte, of one bit, of long runs, and random ones, all of this size.
std::vector<Input> texts(size_t size, size_t random_inputs);

} // namespace qal::test
