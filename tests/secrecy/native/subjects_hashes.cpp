#include "subjects.hpp"

#include <qal/gr341194.h>
#include <qal/streebog.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace qal::test {

namespace {

struct Memory {
    Bytes text;
    uint32_t table[1024];
    uint8_t out[64];
    union {
        streebog_ctx streebog;
        gr341194_md_ctx gost;
    };
};

} // namespace

void add_hashes(std::vector<Subject> &subjects, size_t random_inputs)
{
    for (const size_t size : {1U, 32U, 63U, 64U, 96U, 200U, 1000U}) {
        const auto m = std::make_shared<Memory>();
        m->text.resize(size);
        const auto prepare = [m](const Input &input) {
            std::ranges::copy(input.values[0], m->text.begin());
        };
        const std::string bytes = std::to_string(size) + " bytes";
        const std::vector<Input> inputs = texts(size, random_inputs);
        subjects.push_back({"Streebog", "512 bits, " + bytes, gfni | avx512, inputs, prepare, [m] {
                                streebog512_init(&m->streebog);
                                streebog512_update(&m->streebog, m->text.data(), m->text.size());
                                streebog512_final(m->out, &m->streebog);
                                return 0;
                            }});
        subjects.push_back({"Streebog", "256 bits, " + bytes, gfni | avx512, inputs, prepare, [m] {
                                streebog256_init(&m->streebog);
                                streebog256_update(&m->streebog, m->text.data(), m->text.size());
                                streebog256_final(m->out, &m->streebog);
                                return 0;
                            }});
        subjects.push_back({"GOST R 34.11-94", bytes, avx512, inputs, prepare, [m] {
                                gr341194_md_init_ext(&m->gost, CryptoPro_iv, CryptoPro_uz);
                                gr341194_md_update(&m->gost, m->text.data(), m->text.size());
                                gr341194_md_final(&m->gost, m->out);
                                return 0;
                            }});
        // With another S-box, and blocks at once.
        if (size < 96)
            continue;
        uint8_t sbox[128];
        for (size_t i = 0; i < sizeof sbox; i++)
            sbox[i] = static_cast<uint8_t>((i / 8 * 7 + i % 8) % 16);
        if (g28147_make_kext(m->table, sbox) == nullptr)
            throw std::logic_error("no table");
        const size_t whole = size / 32 * 32;
        subjects.push_back({"GOST R 34.11-94", std::to_string(whole) + " bytes, another S-box",
                            avx512, inputs,
                            [m, prepare](const Input &input) {
                                prepare(input);
                                gr341194_md_init_ext(&m->gost, CryptoPro_iv, m->table);
                            },
                            [m, whole] {
                                gr341194_md_updblocks(&m->gost, m->text.data(), whole);
                                return 0;
                            }});
    }
}

} // namespace qal::test
