#include "support/preconditions.hpp"
#include "support/sweeps.hpp"
#include "support/vectors.hpp"

#include <qal/streebog.h>

#include <gtest/gtest.h>

#include <gcrypt.h>

#include <cstring>

using namespace qal::test;

namespace {

// The two hashes through one interface.
struct Hash {
    size_t size;
    streebog_ctx *(*init)(streebog_ctx *);
    void (*update)(streebog_ctx *, const uint8_t *, size_t);
    void (*final)(uint8_t *, streebog_ctx *);
    int oracle; // libgcrypt's name of it

    [[nodiscard]] Bytes finish(streebog_ctx *ctx) const
    {
        MarkedBytes out(size, size % 7);
        final(out.data(), ctx);
        return out.contents();
    }

    [[nodiscard]] Bytes of(const uint8_t *data, size_t length) const
    {
        streebog_ctx ctx;
        std::memset(&ctx, 0xee, sizeof ctx);
        update(init(&ctx), data, length);
        return finish(&ctx);
    }
    [[nodiscard]] Bytes of(const Bytes &message) const
    {
        return of(message.data(), message.size());
    }

    [[nodiscard]] Bytes oracle_of(const Bytes &message) const
    {
        Bytes digest(size);
        gcry_md_hash_buffer(oracle, digest.data(), message.data(), message.size());
        return digest;
    }
};

const Hash streebog512 = {64, streebog512_init, streebog512_update, streebog512_final,
                          GCRY_MD_STRIBOG512};
const Hash streebog256 = {32, streebog256_init, streebog256_update, streebog256_final,
                          GCRY_MD_STRIBOG256};
const Hash *const hashes[] = {&streebog512, &streebog256};

Bytes state_of(const streebog_ctx &ctx)
{
    return {ctx.h, ctx.h + 64};
}

} // namespace

TEST(Streebog, PublishedDigests)
{
    VectorFile("streebog/rfc6986.vec").each("streebog", [](Vector &v) {
        const Bytes message = v.bytes("Message");
        EXPECT_EQ(to_hex(streebog512.of(message)), to_hex(v.bytes("Digest512"))) << v.place();
        EXPECT_EQ(to_hex(streebog256.of(message)), to_hex(v.bytes("Digest256"))) << v.place();
        for (const Hash *hash : hashes) {
            const Bytes expected = hash->of(message);
            at_every_alignment([&](size_t offset) {
                MarkedBytes copy(message, offset);
                EXPECT_EQ(hash->of(copy.data(), message.size()), expected);
            });
        }
    });
}

TEST(Streebog, PublishedStates)
{
    VectorFile file("streebog/rfc6986.vec");
    file.each("first-block", [](Vector &v) {
        Bytes block = v.bytes("Message");
        const uint64_t bits = std::min<uint64_t>(512, 8 * block.size());
        if (block.size() < 64)
            block.push_back(1);
        block.resize(64);
        streebog_ctx ctx;
        streebog_update_block(v.number("Bits") == 512 ? streebog512_init(&ctx)
                                                      : streebog256_init(&ctx),
                              block.data(), bits);
        EXPECT_EQ(to_hex(state_of(ctx)), to_hex(v.bytes("State"))) << v.place();
    });
    file.each("states-512", [](Vector &v) {
        Bytes block = v.bytes("Message");
        const uint64_t bits = 8 * block.size();
        block.push_back(1);
        streebog_ctx ctx;
        streebog_update_block(streebog512_init(&ctx), block.data(), bits);
        EXPECT_EQ(to_hex(state_of(ctx)), to_hex(v.bytes("AfterMessage"))) << v.place();
        uint8_t length[64];
        streebog_put_block(length, ctx.N);
        streebog_gN(ctx.h, length, streebog_zero);
        EXPECT_EQ(to_hex(state_of(ctx)), to_hex(v.bytes("AfterLength"))) << v.place();
    });
}

TEST(Streebog, EveryLengthAgainstLibgcrypt)
{
    Random random;
    for (const Hash *hash : hashes) {
        for (size_t length = 0; length <= 600; length++) {
            GuardedBytes message(random.bytes(length));
            message.make_read_only();
            ASSERT_EQ(to_hex(hash->of(message.data(), length)),
                      to_hex(hash->oracle_of(message.contents())))
                << length;
        }
        for (int round = 0; round < 20; round++) {
            const Bytes message = random.runs(random.below(100000));
            ASSERT_EQ(to_hex(hash->of(message)), to_hex(hash->oracle_of(message)));
        }
    }
}

TEST(Streebog, EverySplitOfEveryShortMessage)
{
    Random random;
    const Bytes message = random.bytes(300);
    for (size_t length = 0; length <= message.size(); length++) {
        const Bytes expected = streebog512.of(message.data(), length);
        for (size_t first = 0; first <= length; first++) {
            streebog_ctx ctx;
            streebog512_init(&ctx);
            streebog512_update(&ctx, message.data(), first);
            streebog512_update(&ctx, message.data() + first, length - first);
            ASSERT_EQ(streebog512.finish(&ctx), expected) << first << " of " << length;
        }
    }
}

TEST(Streebog, ByteByByte)
{
    Random random;
    const Bytes message = random.bytes(300);
    for (const Hash *hash : hashes) {
        streebog_ctx ctx;
        hash->init(&ctx);
        for (size_t length = 0; length < message.size(); length++) {
            streebog_ctx fork = ctx;
            ASSERT_EQ(hash->finish(&fork), hash->of(message.data(), length)) << length;
            hash->update(&ctx, message.data() + length, 1);
        }
    }
}

TEST(Streebog, RandomSplitsOfAMebibyte)
{
    Random random;
    const Bytes message = random.bytes(size_t{1} << 20);
    for (const Hash *hash : hashes) {
        const Bytes expected = hash->oracle_of(message);
        for (const size_t longest : {200U, 1000U, 70000U, 1U << 20}) {
            streebog_ctx ctx;
            hash->init(&ctx);
            in_random_pieces(
                random, message.data(), message.size(), longest,
                [&](const uint8_t *piece, size_t length) { hash->update(&ctx, piece, length); });
            EXPECT_EQ(to_hex(hash->finish(&ctx)), to_hex(expected)) << longest;
        }
    }
}

// A whole block is compressed at once, never kept back.
TEST(Streebog, BufferHoldsLessThanABlock)
{
    const Bytes message = pattern251(200);
    streebog_ctx ctx;
    streebog512_init(&ctx);
    streebog512_update(&ctx, message.data(), 63);
    EXPECT_EQ(ctx.npending, 63U);
    EXPECT_EQ(ctx.N[0], 0U);
    streebog512_update(&ctx, message.data() + 63, 1);
    EXPECT_EQ(ctx.npending, 0U);
    EXPECT_EQ(ctx.N[0], 512U);
    streebog512_update(&ctx, message.data() + 64, 130);
    EXPECT_EQ(ctx.npending, 2U);
    EXPECT_EQ(ctx.N[0], 3 * 512U);
    EXPECT_TRUE(std::equal(ctx.buffer, ctx.buffer + 2, message.begin() + 192));
}

TEST(Streebog, UpdateBlocksIgnoresARemainder)
{
    const Bytes message = pattern251(200);
    for (const size_t length : {0U, 63U, 64U, 191U, 192U}) {
        streebog_ctx whole, blocks;
        streebog512_update(streebog512_init(&whole), message.data(), length / 64 * 64);
        streebog512_update_blocks(streebog512_init(&blocks), message.data(), length);
        EXPECT_EQ(std::memcmp(&whole, &blocks, sizeof whole), 0) << length;
    }
}

TEST(Streebog, InitFillsTheWholeRecord)
{
    streebog_ctx ctx;
    std::memset(&ctx, 0xee, sizeof ctx);
    EXPECT_EQ(streebog512_init(&ctx), &ctx);
    const auto *bytes = reinterpret_cast<const uint8_t *>(&ctx);
    EXPECT_EQ(Bytes(bytes, bytes + sizeof ctx), Bytes(sizeof ctx));
    std::memset(&ctx, 0xee, sizeof ctx);
    EXPECT_EQ(streebog256_init(&ctx), &ctx);
    EXPECT_EQ(state_of(ctx), Bytes(64, 1));
    std::memset(ctx.h, 0, sizeof ctx.h);
    EXPECT_EQ(Bytes(bytes, bytes + sizeof ctx), Bytes(sizeof ctx));
}

// The 256-bit hash is the upper half of its own computation, not a piece of the 512-bit hash.
TEST(Streebog, ShortHashIsTheUpperHalf)
{
    const Bytes message = pattern251(100);
    streebog_ctx ctx;
    streebog256_update(streebog256_init(&ctx), message.data(), message.size());
    streebog_ctx fork = ctx;
    Bytes whole(64);
    streebog512_final(whole.data(), &fork);
    EXPECT_EQ(streebog256.finish(&ctx), Bytes(whole.begin() + 32, whole.end()));
}

// The output is cleared before the state is read: a state that is its own output counts as zero.
TEST(Streebog, OutputIsClearedFirst)
{
    const Bytes message = pattern251(100);
    streebog_ctx ctx, expected;
    streebog512_update(streebog512_init(&ctx), message.data(), message.size());
    expected = ctx;
    std::memset(expected.h, 0, sizeof expected.h);
    streebog512_final(ctx.h, &ctx);
    EXPECT_EQ(state_of(ctx), streebog512.finish(&expected));
}

TEST(Streebog, NullDataOfNoLength)
{
    for (const Hash *hash : hashes) {
        streebog_ctx ctx;
        hash->update(hash->init(&ctx), nullptr, 0);
        EXPECT_EQ(hash->finish(&ctx), hash->oracle_of({}));
    }
}

// Both updates report under the name of the one that they are.
TEST(StreebogDeathTest, Preconditions)
{
    const uint8_t byte = 0;
    streebog_ctx ctx;
    streebog512_init(&ctx);
    for (const auto update : {streebog512_update, streebog256_update}) {
        EXPECT_PRECONDITION(update(nullptr, &byte, 1), "ctx != 0", "../src/ru/streebog",
                            "streebog512_update");
        EXPECT_PRECONDITION(update(nullptr, nullptr, 1), "ctx != 0", "../src/ru/streebog",
                            "streebog512_update");
        EXPECT_PRECONDITION(update(&ctx, nullptr, 1), "! (( data == 0) && ( len > 0))",
                            "../src/ru/streebog", "streebog512_update");
    }
}
