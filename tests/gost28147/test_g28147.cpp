#include "gost28147/model.hpp"
#include "support/preconditions.hpp"
#include "support/sweeps.hpp"

#include <gtest/gtest.h>

#include <gcrypt.h>

#include <bit>
#include <cstring>

using namespace qal::test;

namespace {

const uint32_t *table_of(const std::string &set)
{
    static std::map<std::string, Table> tables;
    auto &table = tables[set];
    if (table.empty())
        table = expanded(published_sboxes().at(set));
    return table.data();
}

GostModel model_of(const std::string &set, const Bytes &key)
{
    return {GostModel::standard(published_sboxes().at(set)), key};
}

template<typename Context>
Bytes bytes_of(const Context &ctx)
{
    Bytes bytes(sizeof ctx);
    std::memcpy(bytes.data(), &ctx, sizeof ctx);
    return bytes;
}

Bytes ecb(const uint32_t *table, const Bytes &key, int mode, const Bytes &in)
{
    g28147_ecb_ctx ctx;
    std::memset(&ctx, 0xee, sizeof ctx);
    g28147_ecb_init_ext(&ctx, mode, key.data(), table);
    MarkedBytes out(in.size(), in.size() / 8 % 64);
    const uint8_t none = 0;
    g28147_ecb_update(&ctx, in.empty() ? &none : in.data(), out.data(), in.size());
    return out.contents();
}

// All in one call, or in calls of the given lengths.
Bytes gamma(const uint32_t *table, const Bytes &key, const Bytes &iv, const Bytes &in)
{
    g28147_ofb_ctx ctx;
    std::memset(&ctx, 0xee, sizeof ctx);
    g28147_ofb_init_ext(&ctx, key.data(), iv.data(), table);
    MarkedBytes out(in.size(), in.size() % 64);
    const uint8_t none = 0;
    g28147_ofb_update(&ctx, in.empty() ? &none : in.data(), out.data(), in.size());
    return out.contents();
}

Bytes cfb(const uint32_t *table, const Bytes &key, uint32_t mode, const Bytes &iv, const Bytes &in)
{
    g28147_cfb_ctx ctx;
    std::memset(&ctx, 0xee, sizeof ctx);
    g28147_cfb_init_ext(&ctx, mode, key.data(), iv.data(), table);
    MarkedBytes out(in.size(), in.size() % 64);
    const uint8_t none = 0;
    g28147_cfb_update(&ctx, in.empty() ? &none : in.data(), out.data(), in.size());
    return out.contents();
}

// Empty where there is none.
Bytes mac(const uint32_t *table, const Bytes &key, const Bytes &message)
{
    g28147_hmac_ctx ctx;
    std::memset(&ctx, 0xee, sizeof ctx);
    g28147_hmac_init_ext(&ctx, key.data(), table);
    const uint8_t none = 0;
    g28147_hmac_update(&ctx, message.empty() ? &none : message.data(), message.size());
    g28147_hmac_ctx copy = ctx;
    MarkedBytes out(Bytes(4, 0x5a));
    uint8_t *const result = g28147_hmac_final(&ctx, out.data());
    if (result == nullptr) {
        EXPECT_EQ(out.contents(), Bytes(4, 0x5a));
        EXPECT_EQ(g28147_hmac_final_verify(&copy, out.data()), 0);
        return {};
    }
    EXPECT_EQ(result, out.data());
    g28147_hmac_ctx other = copy;
    EXPECT_EQ(g28147_hmac_final_verify(&copy, out.data()), 1);
    Bytes wrong = out.contents();
    wrong[message.size() % 4] ^= static_cast<uint8_t>(1U << message.size() % 8);
    EXPECT_EQ(g28147_hmac_final_verify(&other, wrong.data()), 0);
    return out.contents();
}

// libgcrypt's cipher in a mode, with a set named by its object identifier.
Bytes oracle(int mode, const char *set, const Bytes &key, const Bytes &iv, const Bytes &in)
{
    static const char *const version = gcry_check_version(nullptr);
    EXPECT_NE(version, nullptr);
    gcry_cipher_hd_t handle = nullptr;
    EXPECT_EQ(gcry_cipher_open(&handle, GCRY_CIPHER_GOST28147, mode, 0), 0U);
    EXPECT_EQ(gcry_cipher_ctl(handle, GCRYCTL_SET_SBOX, const_cast<char *>(set), 0), 0U);
    EXPECT_EQ(gcry_cipher_setkey(handle, key.data(), key.size()), 0U);
    if (!iv.empty()) {
        EXPECT_EQ(gcry_cipher_setiv(handle, iv.data(), iv.size()), 0U);
    }
    Bytes out(in.size());
    EXPECT_EQ(gcry_cipher_encrypt(handle, out.data(), out.size(), in.data(), in.size()), 0U);
    gcry_cipher_close(handle);
    return out;
}

const std::pair<const char *, const char *> cipher_sets[] = {{"cryptopro-a", "1.2.643.2.2.31.1"},
                                                             {"cryptopro-b", "1.2.643.2.2.31.2"},
                                                             {"cryptopro-c", "1.2.643.2.2.31.3"},
                                                             {"cryptopro-d", "1.2.643.2.2.31.4"}};

} // namespace

TEST(G28147Tables, ExpansionFollowsTheStandard)
{
    Random random;
    for (const auto &[name, rows] : published_sboxes()) {
        const Table table = expanded(rows);
        const auto f = GostModel::standard(rows), g = GostModel::table(table);
        for (int round = 0; round < 1000; round++) {
            const auto x = static_cast<uint32_t>(random.word());
            ASSERT_EQ(f(x), g(x)) << name;
        }
        // Each entry by itself: with the other bytes at 0, whose images are taken off again.
        for (unsigned t = 0; t < 4; t++) {
            for (uint32_t b = 0; b < 256; b++) {
                const uint32_t x = b << (24 - 8 * t);
                EXPECT_EQ(table[256 * t + b] ^ table[256 * t], f(x) ^ f(0)) << name;
            }
        }
        EXPECT_EQ(table[0] ^ table[256] ^ table[512] ^ table[768], f(0));
        EXPECT_EQ(table[0] & table[256] & table[512] & table[768], 0U);
    }
}

TEST(G28147Tables, CryptoProIsItsSetExpanded)
{
    const Table table = expanded(published_sboxes().at("cryptopro-3411"));
    EXPECT_EQ(std::memcmp(table.data(), CryptoPro_uz, sizeof CryptoPro_uz), 0);
}

TEST(G28147Tables, RefusedSboxesLeaveTheTableAlone)
{
    for (const Bytes &good : {sbox_bytes(published_sboxes().at("test-89")), Bytes(128)}) {
        Table table(1024, 0x5a5a5a5a);
        for (size_t i = 0; i < 128; i++) {
            for (const unsigned value : {16U, 17U, 128U, 255U}) {
                Bytes bad = good;
                bad[i] = static_cast<uint8_t>(value);
                EXPECT_EQ(g28147_make_kext(table.data(), bad.data()), nullptr);
                EXPECT_EQ(table, Table(1024, 0x5a5a5a5a));
            }
        }
        EXPECT_EQ(g28147_make_kext(table.data(), good.data()), table.data());
    }
}

TEST(G28147Tables, Orders)
{
    for (size_t i = 0; i < 32; i++) {
        EXPECT_EQ(OrderEnc[i], i < 24 ? i % 8 : 7 - i % 8);
        EXPECT_EQ(OrderDec[i], i < 8 ? i : 7 - i % 8);
    }
    EXPECT_EQ(std::memcmp(OrderEnc, OrderEncr, 32), 0);
    EXPECT_EQ(std::memcmp(OrderDec, OrderDecr, 32), 0);
    EXPECT_NE(OrderEnc, OrderEncr);
    EXPECT_NE(OrderDec, OrderDecr);
}

TEST(G28147Cycles, MatchTheModel)
{
    Random random;
    for (int round = 0; round < 1000; round++) {
        const Bytes key = random.bytes(32);
        Table arbitrary(1024);
        for (uint32_t &word : arbitrary)
            word = static_cast<uint32_t>(random.word());
        const bool real = round % 10 != 0;
        const GostModel model =
            real ? model_of("cryptopro-a", key) : GostModel(GostModel::table(arbitrary), key);
        const uint32_t *table = real ? table_of("cryptopro-a") : arbitrary.data();
        uint32_t forward[32], backward[32];
        for (size_t i = 0; i < 32; i++) {
            forward[i] = model.key(OrderEnc[i]);
            backward[i] = model.key(OrderDec[i]);
        }
        const auto a = static_cast<uint32_t>(random.word()),
                   b = static_cast<uint32_t>(random.word());
        uint32_t x = a, y = b;
        const uint32_t result = g28147_32Steps(x, y, forward, table, &x, &y);
        ASSERT_EQ(std::make_pair(x, y), model.cycle32({a, b}));
        EXPECT_EQ(result, x);
        g28147_32Steps(x, y, backward, table, &x, &y);
        ASSERT_EQ(std::make_pair(x, y), std::make_pair(a, b));
        g28147_16Steps(x, y, forward, table, &x, &y);
        ASSERT_EQ(std::make_pair(x, y), model.cycle16({a, b}));
    }
}

TEST(G28147, PublishedValues)
{
    VectorFile file("gost28147/gost28147.vec");
    file.each("ecb", [](Vector &v) {
        const uint32_t *table = table_of(v.text("Set"));
        const Bytes key = v.bytes("Key"), plain = v.bytes("Plaintext"),
                    cipher = v.bytes("Ciphertext");
        EXPECT_EQ(to_hex(ecb(table, key, 1, plain)), to_hex(cipher)) << v.place();
        for (const int mode : {0, 2, -1})
            EXPECT_EQ(to_hex(ecb(table, key, mode, cipher)), to_hex(plain)) << v.place();
    });
    file.each("gamma", [](Vector &v) {
        const uint32_t *table = table_of(v.text("Set"));
        const Bytes key = v.bytes("Key"), iv = v.bytes("IV"), plain = v.bytes("Plaintext"),
                    cipher = v.bytes("Ciphertext");
        EXPECT_EQ(to_hex(gamma(table, key, iv, plain)), to_hex(cipher)) << v.place();
        EXPECT_EQ(to_hex(gamma(table, key, iv, cipher)), to_hex(plain)) << v.place();
    });
    file.each("cfb", [](Vector &v) {
        const uint32_t *table = table_of(v.text("Set"));
        const Bytes key = v.bytes("Key"), iv = v.bytes("IV"), plain = v.bytes("Plaintext"),
                    cipher = v.bytes("Ciphertext");
        EXPECT_EQ(to_hex(cfb(table, key, 1, iv, plain)), to_hex(cipher)) << v.place();
        for (const uint32_t mode : {0U, 2U})
            EXPECT_EQ(to_hex(cfb(table, key, mode, iv, cipher)), to_hex(plain)) << v.place();
    });
    file.each("mac", [](Vector &v) {
        const Bytes found = mac(table_of(v.text("Set")), v.bytes("Key"), v.bytes("Message"));
        if (v.has("None")) {
            v.number("None");
            EXPECT_EQ(found, Bytes());
        } else {
            EXPECT_EQ(to_hex(found), to_hex(v.bytes("MAC"))) << v.place();
        }
    });
}

TEST(G28147, MatchesLibgcrypt)
{
    Random random;
    for (const auto &[set, identifier] : cipher_sets) {
        for (int round = 0; round < 50; round++) {
            const Bytes key = random.bytes(32), iv = random.bytes(8);
            const Bytes blocks = random.bytes(8 * (1 + random.below(300)));
            ASSERT_EQ(ecb(table_of(set), key, 1, blocks),
                      oracle(GCRY_CIPHER_MODE_ECB, identifier, key, {}, blocks));
            const Bytes text = random.bytes(1 + random.below(2500));
            const Bytes cipher = oracle(GCRY_CIPHER_MODE_CFB, identifier, key, iv, text);
            ASSERT_EQ(cfb(table_of(set), key, 1, iv, text), cipher) << text.size();
            ASSERT_EQ(cfb(table_of(set), key, 0, iv, cipher), text) << text.size();
        }
    }
}

// Every length; the model stands in a loop of its own, so that each length costs one call.
TEST(G28147, EveryLength)
{
    Random random;
    const Bytes key = random.bytes(32), iv = random.bytes(8), text = random.bytes(2104);
    const uint32_t *table = table_of("cryptopro-b");
    const GostModel model = model_of("cryptopro-b", key);
    const Bytes ecb_forward = model.ecb(text, true), ecb_backward = model.ecb(text, false);
    const Bytes stream = model.gamma(iv, text.size());
    const Bytes cfb_forward = model.cfb(iv, text, true), cfb_backward = model.cfb(iv, text, false);
    for (size_t length = 0; length <= 2100; length++) {
        const Bytes part = first_of(text, length);
        ASSERT_EQ(gamma(table, key, iv, part), sum_of(part, stream)) << length;
        ASSERT_EQ(cfb(table, key, 1, iv, part), first_of(cfb_forward, length)) << length;
        ASSERT_EQ(cfb(table, key, 0, iv, part), first_of(cfb_backward, length)) << length;
        if (length % 8 == 0) {
            ASSERT_EQ(ecb(table, key, 1, part), first_of(ecb_forward, length)) << length;
            ASSERT_EQ(ecb(table, key, 0, part), first_of(ecb_backward, length)) << length;
        }
    }
}

TEST(G28147, InPlaceBetweenGuardPages)
{
    Random random;
    const Bytes key = random.bytes(32), iv = random.bytes(8);
    const uint32_t *table = table_of("cryptopro-c");
    const GostModel model = model_of("cryptopro-c", key);
    for (const auto edge : {GuardedBytes::Edge::lower, GuardedBytes::Edge::upper}) {
        for (size_t length = 0; length <= 700; length += length < 150 ? 1 : 37) {
            const Bytes text = random.bytes(length);
            GuardedBytes place(text, edge);
            g28147_ofb_ctx stream;
            g28147_ofb_init_ext(&stream, key.data(), iv.data(), table);
            g28147_ofb_update(&stream, place.data(), place.data(), length);
            ASSERT_EQ(place.contents(), sum_of(text, model.gamma(iv, length)));

            for (const uint32_t mode : {1U, 0U}) {
                GuardedBytes other(text, edge);
                g28147_cfb_ctx ctx;
                g28147_cfb_init_ext(&ctx, mode, key.data(), iv.data(), table);
                g28147_cfb_update(&ctx, other.data(), other.data(), length);
                ASSERT_EQ(other.contents(), model.cfb(iv, text, mode == 1));
            }
            if (length % 8 == 0) {
                GuardedBytes blocks(text, edge);
                g28147_ecb_ctx ctx;
                g28147_ecb_init_ext(&ctx, 1, key.data(), table);
                g28147_ecb_update(&ctx, blocks.data(), blocks.data(), length);
                ASSERT_EQ(blocks.contents(), model.ecb(text, true));
            }
        }
    }
}

// Any 1024 words are followed, also those of no S-box, and those that differ from one in one bit.
TEST(G28147, ArbitraryTables)
{
    Random random;
    const Bytes key = random.bytes(32), iv = random.bytes(8);
    for (int round = 0; round < 300; round++) {
        Table table = expanded(published_sboxes().at("cryptopro-d"));
        if (round % 3 == 0)
            for (uint32_t &word : table)
                word = static_cast<uint32_t>(random.word());
        else
            table[random.below(1024)] ^= 1U << random.below(32);
        const GostModel model(GostModel::table(table), key);
        const size_t length = 8 * random.below(90);
        const Bytes text = random.bytes(length);
        ASSERT_EQ(ecb(table.data(), key, 1, text), model.ecb(text, true));
        ASSERT_EQ(gamma(table.data(), key, iv, text), sum_of(text, model.gamma(iv, length)));
        ASSERT_EQ(cfb(table.data(), key, 0, iv, text), model.cfb(iv, text, false));
        if (length > 8) {
            ASSERT_EQ(mac(table.data(), key, text), model.mac(text));
        }
    }
}

// Where the image of one nibble of a byte reaches into the bits of the other one's.
TEST(G28147, TablesThatAreAlmostOfNibbles)
{
    Random random;
    const Bytes key = random.bytes(32), text = random.bytes(size_t{8} * 200);
    for (const Table &base : {Table(1024), expanded(published_sboxes().at("cryptopro-d"))}) {
        for (uint32_t t = 0; t < 4; t++) {
            for (uint32_t bit = 0; bit < 8; bit++) {
                // Bits 4 to 7 come of the high nibble.
                Table table = base;
                for (uint32_t b = 0; b < 256; b++)
                    if (((bit < 4 ? b >> 4 : b) & 5) == 1)
                        table[256 * t + b] ^= std::rotl(1U << (24 - 8 * t + bit), 11);
                const GostModel model(GostModel::table(table), key);
                ASSERT_EQ(ecb(table.data(), key, 1, text), model.ecb(text, true))
                    << t << " " << bit;
            }
        }
    }
}

TEST(G28147Gamma, CountersWrapWithinARun)
{
    Random random;
    const Bytes key = random.bytes(32);
    const uint32_t *table = table_of("cryptopro-a");
    const GostModel model = model_of("cryptopro-a", key);
    const uint32_t ends[] = {0,          1,          0xfefefefa, 0xfefefefb,
                             0xfefefefc, 0xfefefefd, 0xfffffffe, 0xffffffff};
    for (const uint32_t n3 : ends) {
        for (const uint32_t end : ends) {
            for (uint32_t before = 0; before < 70; before += 23) {
                const uint32_t n4 = end - before * 0x01010104;
                g28147_ofb_ctx ctx;
                g28147_ofb_init_ext(&ctx, key.data(), key.data(), table);
                ctx.n3 = n3;
                ctx.n4 = n4;
                Bytes out(8 * 80);
                g28147_ofb_update(&ctx, out.data(), out.data(), out.size());
                ASSERT_EQ(out, model.gamma_from(n3, n4, out.size())) << n3 << " " << n4;
            }
        }
    }
    // 2^32 - 1 is reached, and what is beyond begins at 1.
    for (const auto &[from, to] : {std::make_pair(0xfefefefbU, 0xffffffffU), {0xfefefefcU, 1U}}) {
        g28147_ofb_ctx ctx;
        g28147_ofb_init_ext(&ctx, key.data(), key.data(), table);
        ctx.n4 = from;
        uint8_t byte = 0;
        g28147_ofb_update(&ctx, &byte, &byte, 1);
        EXPECT_EQ(ctx.n4, to);
    }
}

// N4 counts modulo 2^32 - 1. Of a sum of many steps, the carries out of 32 bits are added at the
// other end, and that addition may carry once more.
TEST(G28147Gamma, CarriesThatCarry)
{
    Random random;
    const Bytes key = random.bytes(32);
    const uint32_t *table = table_of("cryptopro-b");
    const GostModel model = model_of("cryptopro-b", key);
    for (const uint64_t blocks : {255U, 256U}) {
        for (uint64_t sum = 0x1fffffffc; sum <= 0x200000002; sum++) {
            const auto n4 = static_cast<uint32_t>(sum - blocks * 0x01010104);
            // Up to that sum, and over it.
            for (const uint64_t length : {8 * blocks, uint64_t{8 * 300}}) {
                g28147_ofb_ctx ctx;
                g28147_ofb_init_ext(&ctx, key.data(), key.data(), table);
                ctx.n3 = 1;
                ctx.n4 = n4;
                Bytes out(length);
                g28147_ofb_update(&ctx, out.data(), out.data(), out.size());
                ASSERT_EQ(out, model.gamma_from(1, n4, out.size())) << blocks << " " << sum;
                if (length == 8 * blocks) {
                    ASSERT_EQ(ctx.n4, sum - (sum > 0x1fffffffe ? 0x1fffffffe : 0xffffffff));
                }
            }
        }
    }
}

// The record after any length is that of byte by byte.
TEST(G28147Gamma, SplitsAndRecords)
{
    Random random;
    const Bytes key = random.bytes(32), iv = random.bytes(8), text = random.bytes(400);
    const uint32_t *table = table_of("cryptopro-a");
    const Bytes expected = gamma(table, key, iv, text);
    g28147_ofb_ctx bytewise;
    g28147_ofb_init_ext(&bytewise, key.data(), iv.data(), table);
    for (size_t split = 0; split <= text.size(); split++) {
        g28147_ofb_ctx ctx;
        std::memset(&ctx, 0, sizeof ctx);
        g28147_ofb_init_ext(&ctx, key.data(), iv.data(), table);
        Bytes out(text.size());
        g28147_ofb_update(&ctx, text.data(), out.data(), split);
        EXPECT_EQ(bytes_of(ctx), bytes_of(bytewise)) << split;
        g28147_ofb_update(&ctx, text.data() + split, out.data() + split, text.size() - split);
        ASSERT_EQ(out, expected) << split;
        if (split < text.size())
            g28147_ofb_update(&bytewise, text.data() + split, out.data(), 1);
    }
}

TEST(G28147Cfb, SplitsAtBlocks)
{
    Random random;
    const Bytes key = random.bytes(32), iv = random.bytes(8), text = random.bytes(405);
    const uint32_t *table = table_of("cryptopro-a");
    for (const uint32_t mode : {1U, 0U}) {
        const Bytes expected = cfb(table, key, mode, iv, text);
        for (size_t split = 0; split <= text.size(); split += 8) {
            g28147_cfb_ctx ctx;
            g28147_cfb_init_ext(&ctx, mode, key.data(), iv.data(), table);
            Bytes out(text.size());
            g28147_cfb_update(&ctx, text.data(), out.data(), split);
            g28147_cfb_update(&ctx, text.data() + split, out.data() + split, text.size() - split);
            ASSERT_EQ(out, expected) << split;
        }
    }
}

// The register moves only with calls of whole blocks.
TEST(G28147Cfb, PartialBlocksLeaveTheRegister)
{
    Random random;
    const Bytes key = random.bytes(32), iv = random.bytes(8), text = random.bytes(100);
    for (const uint32_t mode : {1U, 0U}) {
        for (size_t length = 0; length <= text.size(); length++) {
            g28147_cfb_ctx ctx;
            std::memset(&ctx, 0, sizeof ctx);
            g28147_cfb_init_ext(&ctx, mode, key.data(), iv.data(), table_of("cryptopro-a"));
            g28147_cfb_ctx expected = ctx;
            Bytes out(text.size());
            g28147_cfb_update(&ctx, text.data(), out.data(), length);
            if (length > 0 && length % 8 == 0) {
                const Bytes &cipher = mode == 1 ? out : text;
                expected.r1 = word_at(cipher, length - 8);
                expected.r2 = word_at(cipher, length - 4);
            }
            EXPECT_EQ(bytes_of(ctx), bytes_of(expected)) << length;
        }
    }
}

TEST(G28147Cfb, DirectionsByName)
{
    Random random;
    const Bytes key = random.bytes(32), iv = random.bytes(8), text = random.bytes(64);
    const uint32_t *table = table_of("cryptopro-a");
    g28147_cfb_ctx ctx;
    g28147_cfb_init_ext(&ctx, 77, key.data(), iv.data(), table);
    EXPECT_EQ(ctx.direction, 77U);
    Bytes out(text.size());
    g28147_cfb_enc_update_blocks(&ctx, text.data(), out.data(), text.size());
    EXPECT_EQ(out, cfb(table, key, 1, iv, text));
    g28147_cfb_init_ext(&ctx, 1, key.data(), iv.data(), table);
    g28147_cfb_dec_update_blocks(&ctx, text.data(), out.data(), text.size());
    EXPECT_EQ(out, cfb(table, key, 0, iv, text));
}

TEST(G28147Mac, EveryLengthAndSplit)
{
    Random random;
    const Bytes key = random.bytes(32), text = random.bytes(300);
    const uint32_t *table = table_of("cryptopro-a");
    const GostModel model = model_of("cryptopro-a", key);
    for (size_t length = 0; length <= text.size(); length++) {
        const Bytes message = first_of(text, length);
        const Bytes expected = length > 8 ? model.mac(message) : Bytes();
        ASSERT_EQ(mac(table, key, message), expected) << length;
        for (size_t split = 0; split <= length && length < 60; split++) {
            g28147_hmac_ctx ctx;
            g28147_hmac_init_ext(&ctx, key.data(), table);
            g28147_hmac_update(&ctx, text.data(), split);
            g28147_hmac_update(&ctx, text.data() + split, length - split);
            Bytes out(4);
            ASSERT_EQ(g28147_hmac_final(&ctx, out.data()) != nullptr, length > 8);
            ASSERT_EQ(out, length > 8 ? expected : Bytes(4)) << length << " " << split;
        }
    }
    const Bytes large = random.bytes(100'000);
    const Bytes expected = mac(table, key, large);
    for (const size_t longest : {1U, 3U, 7U, 8U, 20U, 3000U}) {
        g28147_hmac_ctx ctx;
        g28147_hmac_init_ext(&ctx, key.data(), table);
        in_random_pieces(
            random, large.data(), large.size(), longest,
            [&](const uint8_t *piece, size_t length) { g28147_hmac_update(&ctx, piece, length); });
        EXPECT_EQ(g28147_hmac_final_verify(&ctx, expected.data()), 1);
    }
}

TEST(G28147Mac, CountsUpToTen)
{
    g28147_hmac_ctx ctx;
    const Bytes data(4096), key(32);
    for (const size_t len : {0U, 1U, 8U, 9U, 10U, 11U, 4096U}) {
        for (uint32_t before = 0; before <= 10; before++) {
            g28147_hmac_init_ext(&ctx, key.data(), CryptoPro_uz);
            ctx.processed = before;
            g28147_hmac_updblocks(&ctx, data.data(), len);
            EXPECT_EQ(ctx.processed, before + len > 9 ? 10 : before + len) << before << " " << len;
        }
    }
}

// A partial block is filled up with zeros, wherever it stands.
TEST(G28147Mac, UpdblocksPads)
{
    Random random;
    const Bytes key = random.bytes(32), text = random.bytes(64);
    for (size_t length = 0; length <= text.size(); length++) {
        g28147_hmac_ctx ctx, padded;
        g28147_hmac_init_ext(&ctx, key.data(), CryptoPro_uz);
        g28147_hmac_init_ext(&padded, key.data(), CryptoPro_uz);
        Bytes whole = first_of(text, length);
        GuardedBytes guarded(whole);
        g28147_hmac_updblocks(&ctx, guarded.data(), length);
        whole.resize((length + 7) / 8 * 8);
        g28147_hmac_updblocks(&padded, whole.data(), whole.size());
        EXPECT_EQ(ctx.n1, padded.n1);
        EXPECT_EQ(ctx.n2, padded.n2);
    }
}

TEST(G28147, InitsFillTheirRecords)
{
    Random random;
    const Bytes key = random.bytes(32), iv = random.bytes(8);
    const GostModel model = model_of("cryptopro-a", key);
    const auto check = [&](const uint32_t *rk, const uint8_t *order) {
        for (size_t i = 0; i < 32; i++)
            EXPECT_EQ(rk[i], model.key(order[i]));
    };
    const uint32_t *table = table_of("cryptopro-a");
    g28147_ecb_ctx e;
    std::memset(&e, 0xee, sizeof e);
    g28147_ecb_init_ext(&e, 1, key.data(), table);
    check(e.rk, OrderEncr);
    EXPECT_EQ(e.n1 | e.n2, 0U);
    EXPECT_EQ(e.kext, table);
    g28147_ecb_init_ext(&e, 0, key.data(), table);
    check(e.rk, OrderDecr);

    g28147_hmac_ctx m;
    std::memset(&m, 0xee, sizeof m);
    g28147_hmac_init_ext(&m, key.data(), table);
    check(m.rk, OrderEnc);
    EXPECT_EQ(m.n1 | m.n2 | m.npending | m.processed, 0U);
    EXPECT_EQ(Bytes(m.pending, m.pending + 8), Bytes(8));

    g28147_ofb_ctx o;
    std::memset(&o, 0xee, sizeof o);
    g28147_ofb_init_ext(&o, key.data(), iv.data(), table);
    check(o.rk, OrderEnc);
    EXPECT_EQ(std::make_pair(o.n3, o.n4), model.cycle32({word_at(iv, 0), word_at(iv, 4)}));
    EXPECT_EQ(o.pos, 8U);
    EXPECT_EQ(Bytes(o.gamma, o.gamma + 8), Bytes(8));

    g28147_cfb_ctx c;
    std::memset(&c, 0xee, sizeof c);
    g28147_cfb_init_ext(&c, 5, key.data(), iv.data(), table);
    check(c.rk, OrderEnc);
    EXPECT_EQ(c.r1, word_at(iv, 0));
    EXPECT_EQ(c.r2, word_at(iv, 4));
    EXPECT_EQ(c.direction, 5U);
}

TEST(G28147DeathTest, Ecb)
{
    const char *const path = "../src/gost28147/g28147_ecb";
    g28147_ecb_ctx ctx;
    const Bytes key(32);
    uint8_t block[16] = {};
    g28147_ecb_init_ext(&ctx, 1, key.data(), CryptoPro_uz);
    const char *const init = "g28147_ecb_init_ext", *const update = "g28147_ecb_update";
    EXPECT_PRECONDITION(g28147_ecb_init_ext(nullptr, 1, key.data(), CryptoPro_uz), "ctx != 0", path,
                        init);
    EXPECT_PRECONDITION(g28147_ecb_init_ext(&ctx, 1, nullptr, CryptoPro_uz), "x != 0", path, init);
    EXPECT_PRECONDITION(g28147_ecb_init_ext(&ctx, 1, key.data(), nullptr), "KExt != 0", path, init);
    EXPECT_PRECONDITION(g28147_ecb_update(nullptr, block, block, 8), "ctx != 0", path, update);
    EXPECT_PRECONDITION(g28147_ecb_update(&ctx, block, block, 9), "(len % 8 ) == 0", path, update);
    EXPECT_PRECONDITION(g28147_ecb_update(&ctx, nullptr, nullptr, 7), "(len % 8 ) == 0", path,
                        update);
    for (const size_t len : {size_t{0}, size_t{8}}) {
        EXPECT_PRECONDITION(g28147_ecb_update(&ctx, nullptr, block, len),
                            "! ( (in == 0) && (len>=0) )", path, update);
        EXPECT_PRECONDITION(g28147_ecb_update(&ctx, block, nullptr, len),
                            "! ( (out == 0) && (len>=0) )", path, update);
    }
}

TEST(G28147DeathTest, Ofb)
{
    const char *const path = "../src/gost28147/g28147_ofb";
    g28147_ofb_ctx ctx;
    const Bytes key(32);
    uint8_t block[16] = {};
    g28147_ofb_init_ext(&ctx, key.data(), block, CryptoPro_uz);
    const char *const init = "g28147_ofb_init_ext", *const update = "g28147_ofb_update";
    EXPECT_PRECONDITION(g28147_ofb_init_ext(nullptr, key.data(), block, CryptoPro_uz), "ctx != 0",
                        path, init);
    EXPECT_PRECONDITION(g28147_ofb_init_ext(&ctx, nullptr, block, CryptoPro_uz), "x != 0", path,
                        init);
    EXPECT_PRECONDITION(g28147_ofb_init_ext(&ctx, key.data(), nullptr, CryptoPro_uz), "iv != 0",
                        path, init);
    EXPECT_PRECONDITION(g28147_ofb_init_ext(&ctx, key.data(), block, nullptr), "KExt != 0", path,
                        init);
    EXPECT_PRECONDITION(g28147_ofb_update(nullptr, block, block, 8), "ctx != 0", path, update);
    for (const size_t len : {size_t{0}, size_t{5}}) {
        EXPECT_PRECONDITION(g28147_ofb_update(&ctx, nullptr, block, len),
                            "! ( (in == 0) && (len>=0) )", path, update);
        EXPECT_PRECONDITION(g28147_ofb_update(&ctx, block, nullptr, len),
                            "! ( (out == 0) && (len>=0) )", path, update);
    }
}

TEST(G28147DeathTest, Cfb)
{
    const char *const path = "../src/gost28147/g28147_cfb";
    g28147_cfb_ctx ctx;
    const Bytes key(32);
    uint8_t block[16] = {};
    g28147_cfb_init_ext(&ctx, 1, key.data(), block, CryptoPro_uz);
    const char *const init = "g28147_cfb_init_ext", *const update = "g28147_cfb_update";
    EXPECT_PRECONDITION(g28147_cfb_init_ext(nullptr, 1, key.data(), block, CryptoPro_uz),
                        "ctx != 0", path, init);
    EXPECT_PRECONDITION(g28147_cfb_init_ext(&ctx, 1, nullptr, block, CryptoPro_uz), "x != 0", path,
                        init);
    EXPECT_PRECONDITION(g28147_cfb_init_ext(&ctx, 1, key.data(), nullptr, CryptoPro_uz), "iv != 0",
                        path, init);
    EXPECT_PRECONDITION(g28147_cfb_init_ext(&ctx, 1, key.data(), block, nullptr), "KExt != 0", path,
                        init);
    EXPECT_PRECONDITION(g28147_cfb_update(nullptr, block, block, 8), "ctx != 0", path, update);
    for (const size_t len : {size_t{0}, size_t{5}}) {
        EXPECT_PRECONDITION(g28147_cfb_update(&ctx, nullptr, block, len),
                            "! ( (in == 0) && (len>=0) )", path, update);
        EXPECT_PRECONDITION(g28147_cfb_update(&ctx, block, nullptr, len),
                            "! ( (out == 0) && (len>=0) )", path, update);
    }
}

TEST(G28147DeathTest, Mac)
{
    const char *const path = "../src/gost28147/g28147_hmac";
    g28147_hmac_ctx ctx;
    const Bytes key(32);
    uint8_t block[16] = {};
    g28147_hmac_init_ext(&ctx, key.data(), CryptoPro_uz);
    const char *const init = "g28147_hmac_init_ext";
    EXPECT_PRECONDITION(g28147_hmac_init_ext(nullptr, key.data(), CryptoPro_uz), "ctx != 0", path,
                        init);
    EXPECT_PRECONDITION(g28147_hmac_init_ext(&ctx, nullptr, CryptoPro_uz), "x != 0", path, init);
    EXPECT_PRECONDITION(g28147_hmac_init_ext(&ctx, key.data(), nullptr), "KExt != 0", path, init);
    EXPECT_PRECONDITION(g28147_hmac_update(nullptr, block, 8), "ctx != 0", path,
                        "g28147_hmac_update");
    for (const size_t len : {size_t{0}, size_t{5}})
        EXPECT_PRECONDITION(g28147_hmac_update(&ctx, nullptr, len), "! ( (in == 0) && (len>=0) )",
                            path, "g28147_hmac_update");
    EXPECT_PRECONDITION(g28147_hmac_final(nullptr, block), "ctx != 0", path, "g28147_hmac_final");
    EXPECT_PRECONDITION(g28147_hmac_final(&ctx, nullptr), "hmac != 0", path, "g28147_hmac_final");
    EXPECT_PRECONDITION(g28147_hmac_final_verify(nullptr, block), "ctx != 0", path,
                        "g28147_hmac_final_verify");
    EXPECT_PRECONDITION(g28147_hmac_final_verify(&ctx, nullptr), "hmac != 0", path,
                        "g28147_hmac_final_verify");
}
