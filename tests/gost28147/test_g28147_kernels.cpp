// The variants over independent blocks, against the model and against each other.
#include "gost28147/g28147_kernels.hpp"
#include "gost28147/model.hpp"
#include "support/sweeps.hpp"

#include <gtest/gtest.h>

using namespace qal::test;
using namespace qal::gost;

namespace {

QAL_G28147_ROUTINES(QAL_VARIANT_TABLE);

std::array<uint32_t, 32> ordered(const GostModel &model)
{
    std::array<uint32_t, 32> rk{};
    for (size_t i = 0; i < 32; i++)
        rk[i] = model.key(OrderEnc[i]);
    return rk;
}

} // namespace

TEST(G28147Kernels, EveryNumberOfBlocks)
{
    Random random;
    for (const char *set : {"cryptopro-a", "tc26-z"}) {
        const Rows &rows = published_sboxes().at(set);
        const Table table = expanded(rows);
        const GostModel model(GostModel::standard(rows), random.bytes(32));
        const auto rk = ordered(model);
        const Bytes text = random.bytes(8 * 270), expected = model.ecb(text, true);
        each_variant(g28147_blocks_variants, [&](const auto &variant) {
            for (size_t blocks = 0; blocks <= 270; blocks++) {
                MarkedBytes out(8 * blocks, blocks % 64);
                variant.run(rk.data(), table.data(), text.data(), out.data(), blocks);
                ASSERT_EQ(out.contents(), first_of(expected, 8 * blocks)) << blocks;
                MarkedBytes place(first_of(text, 8 * blocks), (blocks + 3) % 64);
                variant.run(rk.data(), table.data(), place.data(), place.data(), blocks);
                ASSERT_EQ(place.contents(), first_of(expected, 8 * blocks)) << blocks;
            }
        });
    }
}

TEST(G28147Kernels, EveryAlignment)
{
    Random random;
    const Rows &rows = published_sboxes().at("cryptopro-d");
    const Table table = expanded(rows);
    const GostModel model(GostModel::standard(rows), random.bytes(32));
    const auto rk = ordered(model);
    const Bytes text = random.bytes(8 * 83), expected = model.ecb(text, true);
    each_variant(g28147_blocks_variants, [&](const auto &variant) {
        at_every_alignment([&](size_t offset) {
            MarkedBytes in(text, offset), out(text.size(), (5 * offset + 2) % 64);
            variant.run(rk.data(), table.data(), in.data(), out.data(), 83);
            ASSERT_EQ(out.contents(), expected);
        });
    });
}

// Substitutions of four bits with anything for images, also those that are no permutations.
TEST(G28147Kernels, RandomSboxes)
{
    Random random;
    for (int round = 0; round < 100; round++) {
        Rows rows;
        for (auto &row : rows)
            for (uint8_t &image : row)
                image = static_cast<uint8_t>(random.below(16));
        const Table table = expanded(rows);
        const GostModel model(GostModel::standard(rows), random.runs(32));
        const auto rk = ordered(model);
        const Bytes text = random.runs(8 * 70), expected = model.ecb(text, true);
        each_variant(g28147_blocks_variants, [&](const auto &variant) {
            Bytes out(text.size());
            variant.run(rk.data(), table.data(), text.data(), out.data(), 70);
            ASSERT_EQ(out, expected);
        });
    }
}

// A table that is off in any single bit has to be followed as it is.
TEST(G28147Kernels, TablesOfNoSbox)
{
    Random random;
    const Table good = expanded(published_sboxes().at("cryptopro-a"));
    const Bytes key = random.bytes(32), text = random.bytes(8 * 40);
    const auto rk = ordered(GostModel(nullptr, key));
    for (size_t entry = 0; entry < 1024; entry++) {
        Table table = good;
        table[entry] ^= 1U << random.below(32);
        Bytes expected(text.size());
        g28147_blocks_portable(rk.data(), table.data(), text.data(), expected.data(), 40);
        each_variant(g28147_blocks_variants, [&](const auto &variant) {
            Bytes out(text.size());
            variant.run(rk.data(), table.data(), text.data(), out.data(), 40);
            ASSERT_EQ(out, expected) << entry;
        });
    }
    for (unsigned bit = 0; bit < 32; bit++) {
        Table table = good;
        table[random.below(1024)] ^= 1U << bit;
        const Bytes expected = GostModel(GostModel::table(table), key).ecb(text, true);
        each_variant(g28147_blocks_variants, [&](const auto &variant) {
            Bytes out(text.size());
            variant.run(rk.data(), table.data(), text.data(), out.data(), 40);
            ASSERT_EQ(out, expected) << bit;
        });
    }
}
