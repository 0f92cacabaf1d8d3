#include "subjects.hpp"

#include <qal/qal2poly.h>

#include <cstring>
#include <memory>

namespace qal::test {

namespace {

struct Memory {
    qal2d a[16], b[16], r[32];
};

struct Product {
    const char *name;
    void (*run)(qal2d *, const qal2d *, const qal2d *);
    size_t bits;
};
constexpr Product products[] = {
    {"pmult160x160", pmult160x160, 160}, {"pmult192x192", pmult192x192, 192},
    {"pmult224x224", pmult224x224, 224}, {"pmult256x256", pmult256x256, 256},
    {"pmult288x288", pmult288x288, 288}, {"pmult448x448", pmult448x448, 448},
    {"pmult257x257", pmult257x257, 257}};

struct Square {
    const char *name;
    void (*run)(qal2d *, const qal2d *);
    size_t words;
};
constexpr Square squares[] = {{"psqr192x192", psqr192x192, 6},
                              {"psqr288x288", psqr288x288, 9},
                              {"psqr448x448", psqr448x448, 14}};

struct Reduction {
    const char *name;
    void (*run)(qal2d *);
    size_t words;
};
constexpr Reduction reductions[] = {{"reduce163_7_6_3_1", reduce163_7_6_3_1, 11},
                                    {"reduce191_9_1", reduce191_9_1, 12},
                                    {"reduce257_12_1", reduce257_12_1, 18},
                                    {"reduce431_5_3_1", reduce431_5_3_1, 28}};

constexpr const char *row = "qal2poly.h";

} // namespace

void add_polynomials(std::vector<Subject> &subjects, size_t random_inputs)
{
    const auto m = std::make_shared<Memory>();
    for (const Product &product : products) {
        const size_t size = 4 * ((product.bits + 31) / 32);
        std::vector<Input> inputs = texts(size, random_inputs);
        const std::vector<Input> others = inputs;
        for (size_t i = 0; i < inputs.size(); i++)
            inputs[i].values.push_back(others[(i + 5) % others.size()].values[0]);
        const size_t bits = product.bits;
        subjects.push_back({row, product.name, every_class, inputs,
                            [m, size, bits](const Input &input) {
                                std::memcpy(m->a, input.values[0].data(), size);
                                std::memcpy(m->b, input.values[1].data(), size);
                                if (bits % 32 == 1) {
                                    m->a[bits / 32] &= 1;
                                    m->b[bits / 32] &= 1;
                                }
                                std::memset(m->r, 0, sizeof m->r);
                            },
                            [m, run = product.run] {
                                run(m->r, m->a, m->b);
                                return 0;
                            }});
    }
    for (const Square &square : squares) {
        const size_t size = 4 * square.words;
        subjects.push_back(
            {row, square.name, every_class, texts(size, random_inputs),
             [m, size](const Input &input) { std::memcpy(m->a, input.values[0].data(), size); },
             [m, run = square.run] {
                 run(m->r, m->a);
                 return 0;
             }});
    }
    for (const Reduction &reduction : reductions) {
        const size_t size = 4 * reduction.words;
        subjects.push_back(
            {row, reduction.name, every_class, texts(size, random_inputs),
             [m, size](const Input &input) { std::memcpy(m->r, input.values[0].data(), size); },
             [m, run = reduction.run] {
                 run(m->r);
                 return 0;
             }});
    }
}

} // namespace qal::test
