// Kuznyechik's variants against the standard's model.
#include "ru/kuznyechik_kernels.hpp"
#include "ru/kuznyechik_model.hpp"
#include "support/sweeps.hpp"

#include <gtest/gtest.h>

#include <cstring>

using namespace qal::test;
using namespace qal::ru;

namespace {

QAL_KUZNYECHIK_ROUTINES(QAL_VARIANT_TABLE);
QAL_KUZNYECHIK_EXPORTS(QAL_VARIANT_TABLE);

// The four words of a counter of 16 bytes, most significant first.
std::array<uint32_t, 4> words_of(const Bytes &counter)
{
    std::array<uint32_t, 4> words{};
    for (size_t i = 0; i < 16; i++)
        words[3 - i / 4] = words[3 - i / 4] << 8 | counter[i];
    return words;
}

Bytes plus(Bytes counter, size_t n)
{
    for (size_t i = 16; i-- > 0; n >>= 8) {
        n += counter[i];
        counter[i] = static_cast<uint8_t>(n);
    }
    return counter;
}

// Runs a variant on a text of whole blocks and checks what it leaves in the counter.
Bytes run(decltype(kuznyechik_ctr_blocks) *variant, const Bytes &rk, const Bytes &counter,
          const Bytes &text)
{
    auto words = words_of(counter);
    MarkedBytes out(text.size(), text.size() / 16 % 64);
    variant(rk.data(), words.data(), text.data(), out.data(), text.size() / 16);
    EXPECT_EQ(words, words_of(plus(counter, text.size() / 16)));
    return out.contents();
}

Bytes sum(Bytes a, const Bytes &b)
{
    for (size_t i = 0; i < a.size(); i++)
        a[i] ^= b[i];
    return a;
}

} // namespace

TEST(KuznyechikKernels, KeySchedule)
{
    const KuznyechikModel model;
    Random random;
    each_variant(kuzn_setup_keys_variants, [&](const auto &variant) {
        for (int round = 0; round < 50; round++) {
            const Bytes key = round % 2 ? random.bytes(32) : random.runs(32);
            MarkedBytes rk(160, random.below(64));
            variant.run(rk.data(), key.data());
            ASSERT_EQ(to_hex(rk.contents()), to_hex(model.joined(model.schedule(key))));
        }
    });
}

TEST(KuznyechikKernels, SingleBlocks)
{
    const KuznyechikModel model;
    Random random;
    for (int round = 0; round < 200; round++) {
        const auto keys = model.schedule(random.bytes(32));
        const Bytes rk = model.joined(keys), text = round % 2 ? random.bytes(16) : random.runs(16);
        each_variant(kuzn_block_enc_variants, [&](const auto &variant) {
            MarkedBytes block(text, random.below(64));
            variant.run(block.data(), rk.data());
            ASSERT_EQ(to_hex(block.contents()), to_hex(model.encrypt(keys, text)));
        });
        each_variant(kuznyechik_block_dec_variants, [&](const auto &variant) {
            MarkedBytes block(text, random.below(64));
            variant.run(block.data(), rk.data());
            ASSERT_EQ(to_hex(block.contents()), to_hex(model.decrypt(keys, text)));
        });
    }
}

// Round keys need not come from a key: every byte value at every place of a block.
TEST(KuznyechikKernels, EveryByteAtEveryPlace)
{
    const KuznyechikModel model;
    Random random;
    const std::vector<Bytes> keys(10, Bytes(16));
    const Bytes rk = model.joined(keys);
    for (size_t place = 0; place < 16; place++) {
        for (unsigned value = 0; value < 256; value++) {
            Bytes text(16);
            text[place] = static_cast<uint8_t>(value);
            const Bytes expected = model.encrypt(keys, text);
            each_variant(kuzn_block_enc_variants, [&](const auto &variant) {
                Bytes block = text;
                variant.run(block.data(), rk.data());
                ASSERT_EQ(block, expected);
            });
            each_variant(kuznyechik_block_dec_variants, [&](const auto &variant) {
                Bytes block = expected;
                variant.run(block.data(), rk.data());
                ASSERT_EQ(block, text);
            });
        }
    }
}

TEST(KuznyechikKernels, CounterModeOfEveryLength)
{
    const KuznyechikModel model;
    Random random;
    const auto keys = model.schedule(random.bytes(32));
    const Bytes rk = model.joined(keys), counter = random.bytes(16);
    const Bytes stream = model.stream(keys, counter, 200), text = random.bytes(stream.size());
    const Bytes expected = sum(text, stream);
    each_variant(kuznyechik_ctr_blocks_variants, [&](const auto &variant) {
        for (ptrdiff_t blocks = 0; blocks <= 200; blocks++) {
            const Bytes part(text.begin(), text.begin() + 16 * blocks);
            ASSERT_EQ(run(variant.run, rk, counter, part),
                      Bytes(expected.begin(), expected.begin() + 16 * blocks))
                << blocks;
            MarkedBytes place(part, static_cast<size_t>(blocks) % 64);
            auto words = words_of(counter);
            variant.run(rk.data(), words.data(), place.data(), place.data(),
                        static_cast<size_t>(blocks));
            ASSERT_EQ(place.contents(), Bytes(expected.begin(), expected.begin() + 16 * blocks));
        }
    });
}

TEST(KuznyechikKernels, CounterModeAtEveryAlignment)
{
    const KuznyechikModel model;
    Random random;
    const auto keys = model.schedule(random.bytes(32));
    const Bytes rk = model.joined(keys), counter = random.bytes(16), text = random.bytes(16 * 70);
    const Bytes expected = sum(text, model.stream(keys, counter, 70));
    each_variant(kuznyechik_ctr_blocks_variants, [&](const auto &variant) {
        at_every_alignment([&](size_t offset) {
            MarkedBytes in(text, offset), out(text.size(), (3 * offset + 1) % 64);
            auto words = words_of(counter);
            variant.run(rk.data(), words.data(), in.data(), out.data(), 70);
            ASSERT_EQ(out.contents(), expected);
        });
    });
}

// Carries out of each byte of the counter, and out of all of it, at every block of a run.
TEST(KuznyechikKernels, CountersCarryInsideARun)
{
    const KuznyechikModel model;
    Random random;
    const auto keys = model.schedule(random.bytes(32));
    const Bytes rk = model.joined(keys);
    for (size_t width = 1; width <= 16; width++) {
        Bytes end = random.bytes(16);
        std::fill(end.end() - static_cast<ptrdiff_t>(width), end.end(), uint8_t{0});
        for (size_t before = 0; before <= 65; before += width < 3 ? 1 : 13) {
            // end - before
            Bytes counter = end;
            size_t borrow = before;
            for (size_t i = 16; i-- > 0 && borrow > 0;) {
                const unsigned difference =
                    256U + counter[i] - static_cast<unsigned>(borrow & 0xff);
                counter[i] = static_cast<uint8_t>(difference);
                borrow = (borrow >> 8) + (difference < 256);
            }
            const Bytes stream = model.stream(keys, counter, 70);
            each_variant(kuznyechik_ctr_blocks_variants, [&](const auto &variant) {
                ASSERT_EQ(run(variant.run, rk, counter, Bytes(stream.size())), stream)
                    << width << " " << before;
            });
        }
    }
}
