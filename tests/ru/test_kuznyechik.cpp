#include "ru/kuznyechik_model.hpp"
#include "support/sweeps.hpp"

#include <qal/kuzn.h>

#include <gtest/gtest.h>

#include <openssl/engine.h>
#include <openssl/evp.h>

#include <cstring>

using namespace qal::test;

namespace {

Bytes counter_mode(const Bytes &key, const Bytes &iv, const Bytes &text)
{
    kuzn_ctr_ctx ctx;
    std::memset(&ctx, 0xee, sizeof ctx);
    kuzn_ctr_init(&ctx, iv.data(), key.data());
    Bytes out(text.size());
    kuzn_ctr_update(&ctx, text.data(), out.data(), text.size());
    return out;
}

// OpenSSL's packaged engine.
Bytes engine_counter_mode(const Bytes &key, const Bytes &iv, const Bytes &text)
{
    static ENGINE *const engine = [] {
        ENGINE_load_builtin_engines();
        ENGINE *found = ENGINE_by_id("gost");
        EXPECT_TRUE(found && ENGINE_init(found) && ENGINE_set_default(found, ENGINE_METHOD_ALL));
        return found;
    }();
    Bytes out(text.size());
    int length = 0;
    EVP_CIPHER_CTX *ctx = EVP_CIPHER_CTX_new();
    EXPECT_EQ(EVP_EncryptInit_ex(ctx, EVP_get_cipherbyname("kuznyechik-ctr"), engine, key.data(),
                                 iv.data()),
              1);
    EXPECT_EQ(
        EVP_EncryptUpdate(ctx, out.data(), &length, text.data(), static_cast<int>(text.size())), 1);
    EVP_CIPHER_CTX_free(ctx);
    return out;
}

} // namespace

TEST(KuznyechikTables, SubstitutionIsThePublishedPermutation)
{
    VectorFile("streebog/constants.vec").each("substitution", [](Vector &v) {
        const Bytes pi = v.bytes("Pi");
        for (size_t x = 0; x < 256; x++) {
            EXPECT_EQ(kuz_pi[x], pi[x]);
            EXPECT_EQ(kuz_pi_inv[pi[x]], x);
        }
    });
}

TEST(KuznyechikTables, Products)
{
    const std::pair<const uint8_t *, unsigned> tables[] = {
        {tab_0x94, 0x94}, {tab_0x20, 0x20}, {tab_0x85, 0x85}, {tab_0x10, 0x10},
        {tab_0xC2, 0xc2}, {tab_0xC0, 0xc0}, {tab_0x01, 0x01}, {tab_0xFB, 0xfb}};
    for (const auto &[table, constant] : tables)
        for (unsigned x = 0; x < 256; x++)
            EXPECT_EQ(table[x], KuznyechikModel::product(x, constant)) << constant << " " << x;
}

TEST(Kuznyechik, TheModelIsTheStandard)
{
    VectorFile file("kuznyechik/gost.vec");
    const KuznyechikModel model;
    file.each("S", [&](Vector &v) { EXPECT_EQ(model.S(v.bytes("Input")), v.bytes("Output")); });
    file.each("R", [&](Vector &v) { EXPECT_EQ(model.R(v.bytes("Input")), v.bytes("Output")); });
    file.each("L", [&](Vector &v) {
        EXPECT_EQ(model.L(v.bytes("Input")), v.bytes("Output"));
        EXPECT_EQ(model.L_inverse(v.bytes("Output")), v.bytes("Input"));
    });
    file.each("constant", [&](Vector &v) {
        EXPECT_EQ(model.constant(static_cast<unsigned>(v.number("Number"))), v.bytes("C"));
    });
}

TEST(Kuznyechik, PublishedValues)
{
    VectorFile file("kuznyechik/gost.vec");
    file.each("key-schedule", [](Vector &v) {
        MarkedBytes rk(160, 3);
        kuzn_setup_keys(rk.data(), v.bytes("Key").data());
        EXPECT_EQ(to_hex(rk.contents()), to_hex(v.bytes("RoundKeys")));
    });
    file.each("block", [](Vector &v) {
        const Bytes key = v.bytes("Key"), plain = v.bytes("Plaintext"),
                    cipher = v.bytes("Ciphertext");
        kuzn_ecb_ctx ctx;
        kuzn_ecb_init(&ctx, 1, key.data());
        MarkedBytes block(plain, 5);
        kuzn_block_enc(block.data(), ctx.rk);
        EXPECT_EQ(to_hex(block.contents()), to_hex(cipher)) << v.place();
        MarkedBytes out(16);
        kuzn_ecb_update(&ctx, plain.data(), out.data(), 16);
        EXPECT_EQ(out.contents(), cipher);
        for (const uint32_t mode : {0U, 2U, 0xffffffffU}) {
            kuzn_ecb_init(&ctx, mode, key.data());
            kuzn_ecb_update(&ctx, cipher.data(), out.data(), 16);
            EXPECT_EQ(out.contents(), plain);
        }
    });
    file.each("counter-mode", [](Vector &v) {
        EXPECT_EQ(to_hex(counter_mode(v.bytes("Key"), v.bytes("IV"), v.bytes("Plaintext"))),
                  to_hex(v.bytes("Ciphertext")));
    });
}

TEST(Kuznyechik, KeyScheduleMayOverlapItsKey)
{
    Random random;
    const Bytes key = random.bytes(32);
    const Bytes expected = KuznyechikModel::joined(KuznyechikModel().schedule(key));
    for (const size_t at : {size_t{0}, size_t{16}, size_t{64}, size_t{128}}) {
        MarkedBytes rk(160);
        std::memcpy(rk.data() + at, key.data(), 32);
        kuzn_setup_keys(rk.data(), rk.data() + at);
        EXPECT_EQ(rk.contents(), expected) << at;
    }
}

TEST(KuznyechikEcb, InitFillsTheRecord)
{
    Random random;
    const Bytes key = random.bytes(32);
    MarkedBytes memory(Bytes(sizeof(kuzn_ecb_ctx), 0xee), 4);
    auto *ctx = reinterpret_cast<kuzn_ecb_ctx *>(memory.data());
    kuzn_ecb_init(ctx, 7, key.data());
    EXPECT_EQ(ctx->direction, 7U);
    EXPECT_EQ(Bytes(ctx->rk, ctx->rk + 160),
              KuznyechikModel::joined(KuznyechikModel().schedule(key)));
}

// One call handles one block, whatever its length says; in place the block is transformed again.
TEST(KuznyechikEcb, PositionsDoNotAdvance)
{
    Random random;
    const Bytes key = random.bytes(32);
    const KuznyechikModel model;
    const auto keys = model.schedule(key);
    for (const uint32_t mode : {1U, 0U}) {
        kuzn_ecb_ctx ctx;
        kuzn_ecb_init(&ctx, mode, key.data());
        for (size_t len = 0; len < 100; len++) {
            const Bytes text = random.bytes(112);
            MarkedBytes out(Bytes(16, 0x5a));
            kuzn_ecb_update(&ctx, text.data(), out.data(), len);
            Bytes block(text.begin(), text.begin() + 16);
            const auto transformed = [&](const Bytes &b) {
                return mode == 1 ? model.encrypt(keys, b) : model.decrypt(keys, b);
            };
            EXPECT_EQ(out.contents(), len < 16 ? Bytes(16, 0x5a) : transformed(block)) << len;

            MarkedBytes place(block);
            kuzn_ecb_update(&ctx, place.data(), place.data(), len);
            for (size_t n = 0; n < len / 16; n++)
                block = transformed(block);
            EXPECT_EQ(place.contents(), block) << len;
        }
    }
}

// Every time takes what is at the input by then, which the time before may have changed in part.
TEST(KuznyechikEcb, BuffersMayOverlap)
{
    constexpr ptrdiff_t furthest = 18;
    Random random;
    const Bytes key = random.bytes(32);
    const KuznyechikModel model;
    const auto keys = model.schedule(key);
    for (const uint32_t mode : {1U, 0U}) {
        kuzn_ecb_ctx ctx;
        kuzn_ecb_init(&ctx, mode, key.data());
        for (ptrdiff_t distance = -furthest; distance <= furthest; distance++) {
            for (const size_t len : {15U, 16U, 32U, 47U, 64U}) {
                Bytes expected = random.bytes(16 + 2 * furthest);
                MarkedBytes place(expected);
                kuzn_ecb_update(&ctx, place.data() + furthest, place.data() + furthest + distance,
                                len);
                for (size_t n = 0; n < len / 16; n++) {
                    const auto in = expected.begin() + furthest;
                    const Bytes block(in, in + 16);
                    const Bytes out =
                        mode == 1 ? model.encrypt(keys, block) : model.decrypt(keys, block);
                    std::copy(out.begin(), out.end(), in + distance);
                }
                EXPECT_EQ(place.contents(), expected) << distance << " " << len;
            }
        }
    }
}

TEST(KuznyechikCtr, InitFillsTheRecord)
{
    Random random;
    const Bytes key = random.bytes(32), iv = from_hex("0123456789abcdef");
    MarkedBytes memory(Bytes(sizeof(kuzn_ctr_ctx), 0xee), 4);
    auto *ctx = reinterpret_cast<kuzn_ctr_ctx *>(memory.data());
    kuzn_ctr_init(ctx, iv.data(), key.data());
    EXPECT_EQ(ctx->counter[3], 0x01234567U);
    EXPECT_EQ(ctx->counter[2], 0x89abcdefU);
    EXPECT_EQ(ctx->counter[1], 0U);
    EXPECT_EQ(ctx->counter[0], 0U);
    EXPECT_EQ(ctx->pos, 16U);
    EXPECT_EQ(Bytes(ctx->gamma, ctx->gamma + 16), Bytes(16));
    EXPECT_EQ(Bytes(ctx->rk, ctx->rk + 160),
              KuznyechikModel::joined(KuznyechikModel().schedule(key)));
}

TEST(KuznyechikCtr, EveryLengthInPlaceAndApart)
{
    Random random;
    const Bytes key = random.bytes(32), iv = random.bytes(8), text = random.bytes(2100);
    const KuznyechikModel model;
    Bytes counter = iv;
    counter.resize(16);
    const Bytes stream = model.stream(model.schedule(key), counter, 132);
    for (size_t length = 0; length <= text.size(); length++) {
        Bytes expected(text.begin(), text.begin() + static_cast<ptrdiff_t>(length));
        for (size_t i = 0; i < length; i++)
            expected[i] ^= stream[i];
        kuzn_ctr_ctx ctx;
        kuzn_ctr_init(&ctx, iv.data(), key.data());
        MarkedBytes out(length, length % 64);
        kuzn_ctr_update(&ctx, text.data(), out.data(), length);
        ASSERT_EQ(out.contents(), expected) << length;
        // The record stands as if each byte had been taken by itself.
        const size_t begun = (length + 15) / 16;
        ASSERT_EQ(ctx.counter[0], begun);
        ASSERT_EQ(ctx.pos, length == 0 ? 16 : (length - 1) % 16 + 1);
        MarkedBytes place(Bytes(text.begin(), text.begin() + static_cast<ptrdiff_t>(length)),
                          (length + 7) % 64);
        kuzn_ctr_init(&ctx, iv.data(), key.data());
        kuzn_ctr_update(&ctx, place.data(), place.data(), length);
        ASSERT_EQ(place.contents(), expected) << length;

        if (begun == 0)
            continue;
        ASSERT_EQ(std::memcmp(ctx.gamma, stream.data() + 16 * (begun - 1), 16), 0) << length;
    }
}

TEST(KuznyechikCtr, ReadsAndWritesNothingElse)
{
    Random random;
    const Bytes key = random.bytes(32), iv = random.bytes(8);
    for (const auto edge : {GuardedBytes::Edge::lower, GuardedBytes::Edge::upper}) {
        for (const size_t length : std::initializer_list<size_t>{
                 0, 1, 15, 16, 17, 48, 100, 112, 300, 1023, 1024, 1025, 1500, 2048}) {
            GuardedBytes in(random.bytes(length), edge), out(length, edge);
            in.make_read_only();
            kuzn_ctr_ctx ctx;
            kuzn_ctr_init(&ctx, iv.data(), key.data());
            kuzn_ctr_update(&ctx, in.data(), out.data(), length);
            EXPECT_EQ(out.contents(), counter_mode(key, iv, in.contents())) << length;
        }
    }
}

TEST(KuznyechikCtr, SplitsDoNotMatter)
{
    Random random;
    const Bytes key = random.bytes(32), iv = random.bytes(8);
    const Bytes text = random.bytes(300);
    const Bytes expected = counter_mode(key, iv, text);
    for (size_t split = 0; split <= text.size(); split++) {
        kuzn_ctr_ctx ctx;
        kuzn_ctr_init(&ctx, iv.data(), key.data());
        Bytes out(text.size());
        kuzn_ctr_update(&ctx, text.data(), out.data(), split);
        kuzn_ctr_update(&ctx, text.data() + split, out.data() + split, text.size() - split);
        ASSERT_EQ(out, expected) << split;
    }

    const Bytes large = random.bytes(1 << 18);
    const Bytes whole = counter_mode(key, iv, large);
    for (const size_t longest : {size_t{1}, size_t{20}, size_t{200}, size_t{5000}}) {
        kuzn_ctr_ctx ctx;
        kuzn_ctr_init(&ctx, iv.data(), key.data());
        Bytes out;
        in_random_pieces(random, large.data(), longest == 1 ? 3000 : large.size(), longest,
                         [&](const uint8_t *piece, size_t length) {
                             Bytes part(length);
                             kuzn_ctr_update(&ctx, piece, part.data(), length);
                             out.insert(out.end(), part.begin(), part.end());
                         });
        ASSERT_TRUE(std::equal(out.begin(), out.end(), whole.begin())) << longest;
    }
}

TEST(KuznyechikCtr, MatchesOpenssl)
{
    Random random;
    for (int round = 0; round < 200; round++) {
        const Bytes key = random.bytes(32), iv = random.bytes(8);
        const Bytes text = random.bytes(1 + random.below(3000));
        ASSERT_EQ(counter_mode(key, iv, text), engine_counter_mode(key, iv, text)) << text.size();
    }
}
