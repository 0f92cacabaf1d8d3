// Kernels on digits, whose headers promise that time depends on their numbers alone: also for
// factors that are not below the modulus.
#include "subjects.hpp"

#include "qalmath64/kernels/montgomery.hpp"
#include "qalmath64/powers/powers.hpp"

#include <cstring>
#include <memory>

namespace qal::test {

namespace {

struct Memory {
    qald a[64], b[64], p[32], r[128];
    qald c;
};

// a and b of n digits, p odd and with the highest bit
std::vector<Input> inputs(size_t n, size_t random_inputs)
{
    Random random;
    const size_t size = 8 * n;
    const auto modulus = [&](Bytes bytes) {
        bytes.front() |= 1;
        bytes.back() |= 0x80;
        return bytes;
    };
    const Bytes ones(size, 0xff), zero(size);
    Bytes one(size);
    one[0] = 1;
    const Bytes p = modulus(random.bytes(size));
    std::vector<Input> list = {
        {"zeros", {zero, zero, p}},
        {"1 and 1", {one, one, p}},
        {"ones, modulus of ones", {ones, ones, ones}},
        {"ones, small modulus", {ones, ones, modulus(zero)}},
        {"ones and 1", {ones, one, p}},
        {"1 and ones", {one, ones, p}},
        {"the modulus itself", {p, p, p}},
        {"the modulus and 1", {p, one, p}},
        {"0 and the modulus", {zero, p, p}},
    };
    for (size_t i = 0; i < 4; i++)
        list.push_back({"runs " + std::to_string(i),
                        {random.runs(size), random.runs(size), modulus(random.runs(size))}});
    for (size_t i = 0; i < random_inputs; i++)
        list.push_back({"random " + std::to_string(i),
                        {random.bytes(size), random.bytes(size), modulus(random.bytes(size))}});
    return list;
}

} // namespace

void add_integers(std::vector<Subject> &subjects, size_t random_inputs)
{
    for (size_t n = 1; n <= 32; n++) {
        const auto m = std::make_shared<Memory>();
        subjects.push_back({internal_operation, std::to_string(n) + " digits", every_class,
                            inputs(n, random_inputs),
                            [m, n](const Input &input) {
                                std::memcpy(m->a, input.values[0].data(), 8 * n);
                                std::memcpy(m->b, input.values[1].data(), 8 * n);
                                std::memcpy(m->p, input.values[2].data(), 8 * n);
                                std::memset(m->r, 0, sizeof m->r);
                                qald c = 1; // Newton's iteration for 1/p
                                for (int i = 0; i < 6; i++)
                                    c *= 2 - m->p[0] * c;
                                m->c = 0 - c;
                            },
                            [m, n] {
                                qal_mul_row(m->r, m->a, n, m->c);
                                qal_addmul_row(m->r, m->b, n, m->c);
                                qal_submul_row(m->r, m->a, n, m->c);
                                qal_add_row(m->r, m->a, m->b, n);
                                qal_sub_row(m->r, m->a, m->b, n);
                                qal_add_signed_row(m->r, m->a, m->b, n, 0 - (m->c >> 1 & 1));
                                qal_mul_digits(m->r, m->a, n, m->b, n);
                                qal_sqr_digits(m->r, m->a, n);
                                qal_multiply(m->r, m->a, n, m->b, n);
                                qal_square(m->r, m->a, n);
                                qal_redc_digits(m->r, m->p, n, m->c);
                                qal_mont_mul(m->r, m->a, m->b, m->p, n, m->c);
                                qal_mont_sqr(m->r, m->a, m->p, n, m->c);
                                math::power_of_two_secret(m->r, 128 * n, m->p, n);
                                return 0;
                            }});
    }
}

} // namespace qal::test
