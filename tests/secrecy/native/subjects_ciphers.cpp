#include "subjects.hpp"

#include <qal/g28147.h>
#include <qal/kuzn.h>

#include <algorithm>
#include <memory>

namespace qal::test {

namespace {

struct Memory {
    Bytes text, out;
    uint8_t key[32], iv[16];
    uint8_t rk[160];
    union {
        g28147_ecb_ctx ecb;
        g28147_ofb_ctx ofb;
        g28147_cfb_ctx cfb;
        kuzn_ecb_ctx kuzn_ecb;
        kuzn_ctr_ctx kuzn_ctr;
    };
};

// Keys, each with a text
std::vector<Input> inputs(size_t size, size_t random_inputs)
{
    std::vector<Input> keys = texts(32, random_inputs);
    const std::vector<Input> data = texts(size, random_inputs);
    for (size_t i = 0; i < keys.size(); i++)
        keys[i].values.push_back(data[(i + 3) % data.size()].values[0]);
    return keys;
}

class Adder {
public:
    Adder(std::vector<Subject> &subjects, size_t random_inputs)
        : subjects_(subjects), random_inputs_(random_inputs)
    {
    }

    // init runs before what is watched.
    template<typename Init, typename Run>
    void add(const std::string &operation, const std::string &arguments, unsigned classes,
             size_t size, Init init, Run run)
    {
        const auto m = std::make_shared<Memory>();
        m->text.resize(size);
        m->out.resize(size);
        subjects_.push_back({operation, arguments + ", " + std::to_string(size) + " bytes", classes,
                             inputs(size, random_inputs_),
                             [m, init](const Input &input) {
                                 std::ranges::copy(input.values[0], m->key);
                                 std::ranges::copy(input.values[1], m->text.begin());
                                 std::ranges::fill(m->iv, uint8_t{0x3c});
                                 init(*m);
                             },
                             [m, run] {
                                 run(*m);
                                 return 0;
                             }});
    }

private:
    std::vector<Subject> &subjects_;
    size_t random_inputs_;
};

void add_gost28147(Adder &adder)
{
    const std::string row = "GOST 28147-89, ECB, gamma, CFB decryption";
    for (const size_t blocks : {6U, 7U, 11U, 12U, 13U, 16U, 31U, 32U, 65U, 128U, 515U}) {
        const unsigned classes = blocks < 12 ? avx512 : avx2 | gfni | avx512;
        const size_t size = 8 * blocks;
        for (const int mode : {0, 1})
            adder.add(
                row, mode == 1 ? "ECB encryption" : "ECB decryption", classes, size,
                [](Memory &) {},
                [mode](Memory &m) {
                    g28147_ecb_init_ext(&m.ecb, mode, m.key, CryptoPro_uz);
                    g28147_ecb_update(&m.ecb, m.text.data(), m.out.data(), m.text.size());
                });
        // A piece of a block at the end counts as one.
        for (const size_t length : {size, size - 5}) {
            // The start value is a block of its own.
            adder.add(
                row, "gamma", classes, length,
                [](Memory &m) { g28147_ofb_init_ext(&m.ofb, m.key, m.iv, CryptoPro_uz); },
                [](Memory &m) {
                    g28147_ofb_update(&m.ofb, m.text.data(), m.out.data(), m.text.size());
                });
            adder.add(
                row, "CFB decryption", classes, length, [](Memory &) {},
                [](Memory &m) {
                    g28147_cfb_init_ext(&m.cfb, 0, m.key, m.iv, CryptoPro_uz);
                    g28147_cfb_update(&m.cfb, m.text.data(), m.out.data(), m.text.size());
                });
        }
    }
}

void add_kuznyechik(Adder &adder)
{
    const std::string counter = "Kuznyechik, counter mode", blocks = "Kuznyechik, blocks and keys";
    // All but the last three blocks of a run with AVX2: so much of it is whole groups.
    for (const size_t size : {64U, 128U, 512U, 4096U})
        adder.add(
            counter, "round keys ready", avx2 | gfni | avx512, size,
            [](Memory &m) { kuzn_ctr_init(&m.kuzn_ctr, m.iv, m.key); },
            [](Memory &m) {
                kuzn_ctr_update(&m.kuzn_ctr, m.text.data(), m.out.data(), m.text.size());
            });
    for (const size_t size : {1U, 16U, 17U, 48U, 100U, 1000U, 4099U})
        adder.add(
            counter, "from the key", avx512, size, [](Memory &) {},
            [](Memory &m) {
                kuzn_ctr_init(&m.kuzn_ctr, m.iv, m.key);
                kuzn_ctr_update(&m.kuzn_ctr, m.text.data(), m.out.data(), m.text.size());
            });
    adder.add(
        blocks, "a block", avx512, 16, [](Memory &) {},
        [](Memory &m) {
            kuzn_setup_keys(m.rk, m.key);
            kuzn_block_enc(m.text.data(), m.rk);
        });
    for (const uint32_t mode : {0U, 1U})
        adder.add(
            blocks, mode == 1 ? "encryption" : "decryption", avx512, 80, [](Memory &) {},
            [mode](Memory &m) {
                kuzn_ecb_init(&m.kuzn_ecb, mode, m.key);
                kuzn_ecb_update(&m.kuzn_ecb, m.text.data(), m.out.data(), m.text.size());
            });
}

} // namespace

void add_ciphers(std::vector<Subject> &subjects, size_t random_inputs)
{
    Adder adder(subjects, random_inputs);
    add_gost28147(adder);
    add_kuznyechik(adder);
}

} // namespace qal::test
