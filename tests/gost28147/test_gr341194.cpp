#include "gost28147/gr341194_kernels.hpp"
#include "gost28147/model.hpp"
#include "support/sweeps.hpp"

#include <qal/gr341194.h>

#include <gtest/gtest.h>

#include <gcrypt.h>
#include <nettle/gosthash94.h>

#include <cstring>

using namespace qal::test;

namespace {

// GOST R 34.11-94 from the standard, bit for bit as RFC 5831 has it, with numbers as strings of 32
// bytes, least significant first.
class HashModel {
public:
    explicit HashModel(Rows rows) : rows_(rows) {}

    [[nodiscard]] Bytes hash(const Bytes &message) const
    {
        Bytes h(32), sum(32), length(32);
        for (size_t i = 0; i < message.size(); i += 32) {
            Bytes block(message.begin() + static_cast<ptrdiff_t>(i),
                        message.begin() + static_cast<ptrdiff_t>(std::min(message.size(), i + 32)));
            block.resize(32);
            h = step(h, block);
            unsigned carry = 0;
            for (size_t k = 0; k < 32; k++) {
                carry += static_cast<unsigned>(sum[k]) + block[k];
                sum[k] = static_cast<uint8_t>(carry);
                carry >>= 8;
            }
        }
        uint64_t bits = 8 * message.size();
        for (size_t k = 0; k < 8; k++, bits >>= 8)
            length[k] = static_cast<uint8_t>(bits);
        return step(step(h, length), sum);
    }

    [[nodiscard]] Bytes step(const Bytes &h, const Bytes &m) const
    {
        Bytes u = h, v = m, s;
        for (size_t n = 0; n < 4; n++) {
            if (n > 0) {
                u = A(u);
                if (n == 2)
                    u = sum_of(u, from_hex("00ff00ff00ff00ffff00ff00ff00ff0000ffff00ff0000ff"
                                           "ff000000ffff00ff"));
                v = A(A(v));
            }
            const GostModel cipher(GostModel::standard(rows_), P(sum_of(u, v)));
            const Bytes block(h.begin() + static_cast<ptrdiff_t>(8 * n),
                              h.begin() + static_cast<ptrdiff_t>(8 * n + 8));
            const Bytes image = cipher.ecb(block, true);
            s.insert(s.end(), image.begin(), image.end());
        }
        return mix(h, m, s);
    }

    static Bytes mix(const Bytes &h, const Bytes &m, Bytes s)
    {
        s = sum_of(psi(s, 12), m);
        return psi(sum_of(psi(s, 1), h), 61);
    }

    static Bytes A(const Bytes &y)
    {
        Bytes out(y.begin() + 8, y.end());
        for (size_t i = 0; i < 8; i++)
            out.push_back(y[i] ^ y[8 + i]);
        return out;
    }

    static Bytes P(const Bytes &y)
    {
        Bytes out(32);
        for (size_t i = 0; i < 8; i++)
            for (size_t k = 0; k < 4; k++)
                out[4 * i + k] = y[8 * k + i];
        return out;
    }

    static Bytes psi(Bytes y, int n)
    {
        for (; n > 0; n--) {
            uint8_t low = 0, high = 0;
            for (const size_t word : {0U, 1U, 2U, 3U, 12U, 15U}) {
                low ^= y[2 * word];
                high ^= y[2 * word + 1];
            }
            y.erase(y.begin(), y.begin() + 2);
            y.push_back(low);
            y.push_back(high);
        }
        return y;
    }

private:
    Rows rows_;
};

Bytes hash(const uint32_t *table, const Bytes &message)
{
    gr341194_md_ctx ctx;
    std::memset(&ctx, 0xee, sizeof ctx);
    EXPECT_EQ(gr341194_md_init_ext(&ctx, CryptoPro_iv, table), &ctx);
    gr341194_md_update(&ctx, message.data(), message.size());
    MarkedBytes out(32, message.size() % 64);
    EXPECT_EQ(gr341194_md_final(&ctx, out.data()), out.data());
    return out.contents();
}

Bytes libgcrypt(const Bytes &message)
{
    Bytes digest(32);
    gcry_md_hash_buffer(GCRY_MD_GOSTR3411_CP, digest.data(), message.data(), message.size());
    return digest;
}

Bytes nettle(const Bytes &message)
{
    Bytes digest(32);
    gosthash94cp_ctx ctx;
    gosthash94cp_init(&ctx);
    gosthash94cp_update(&ctx, message.size(), message.data());
    gosthash94cp_digest(&ctx, digest.size(), digest.data());
    return digest;
}

} // namespace

TEST(Gr341194Kernels, StepsMatchTheModel)
{
    using namespace qal::gost;
    QAL_GR341194_ROUTINES(QAL_VARIANT_TABLE);
    Random random;
    for (const auto &set : published_sboxes()) {
        const std::string &name = set.first;
        const HashModel model(set.second);
        const Table table = expanded(set.second);
        for (size_t n = 0; n < 12; n++) {
            const Bytes h = random.bytes(32), blocks = random.runs(32 * n);
            Bytes expected = h;
            for (size_t i = 0; i < n; i++)
                expected = model.step(expected,
                                      Bytes(blocks.begin() + static_cast<ptrdiff_t>(32 * i),
                                            blocks.begin() + static_cast<ptrdiff_t>(32 * i + 32)));
            each_variant(gr341194_steps_variants, [&](const auto &variant) {
                for (const uint32_t *kext : {table.data(), CryptoPro_uz}) {
                    if (kext == CryptoPro_uz && name != "cryptopro-3411")
                        continue;
                    MarkedBytes state(h, random.below(64)), data(blocks, random.below(64));
                    variant.run(state.data(), data.data(), n, kext);
                    ASSERT_EQ(state.contents(), expected) << name << " " << n;
                }
            });
        }
    }
    // Tables of no S-box are followed as they are.
    for (int round = 0; round < 50; round++) {
        Table table = expanded(published_sboxes().at("test-3411"));
        table[random.below(1024)] ^= 1U << random.below(32);
        const Bytes h = random.bytes(32), blocks = random.bytes(32 * 8);
        Bytes expected = h;
        gr341194_steps_portable(expected.data(), blocks.data(), 8, table.data());
        each_variant(gr341194_steps_variants, [&](const auto &variant) {
            Bytes state = h;
            variant.run(state.data(), blocks.data(), 8, table.data());
            ASSERT_EQ(state, expected);
        });
    }
}

TEST(Gr341194, PublishedDigests)
{
    VectorFile("gost28147/gost3411_94.vec").each("hash", [](Vector &v) {
        const Rows &rows = published_sboxes().at(v.text("Set"));
        const Table table = expanded(rows);
        const Bytes message = v.bytes("Message"), digest = v.bytes("Digest");
        EXPECT_EQ(to_hex(hash(table.data(), message)), to_hex(digest)) << v.place();
        if (message.size() < 1000) {
            EXPECT_EQ(to_hex(HashModel(rows).hash(message)), to_hex(digest)) << v.place();
        }
    });
}

TEST(Gr341194, EveryLengthMatchesTheOthers)
{
    Random random;
    const Bytes text = random.bytes(2100);
    for (size_t length = 0; length <= text.size(); length++) {
        const Bytes message = first_of(text, length), digest = hash(CryptoPro_uz, message);
        ASSERT_EQ(digest, libgcrypt(message)) << length;
        ASSERT_EQ(digest, nettle(message)) << length;
    }
    const Bytes large(1 << 20, 0xff); // the checksum carries all the time
    EXPECT_EQ(hash(CryptoPro_uz, large), libgcrypt(large));
}

TEST(Gr341194, OtherSboxesMatchTheModel)
{
    Random random;
    for (const auto &[name, rows] : published_sboxes()) {
        const Table table = expanded(rows);
        for (size_t length = 0; length < 100; length += 7) {
            const Bytes message = random.runs(length);
            ASSERT_EQ(hash(table.data(), message), HashModel(rows).hash(message)) << name;
        }
    }
}

TEST(Gr341194, SplitsDoNotMatter)
{
    Random random;
    const Bytes text = random.bytes(200);
    for (size_t length = 0; length <= text.size(); length += 1 + length / 9) {
        const Bytes expected = hash(CryptoPro_uz, first_of(text, length));
        for (size_t split = 0; split <= length; split++) {
            gr341194_md_ctx ctx;
            gr341194_md_init_ext(&ctx, CryptoPro_iv, CryptoPro_uz);
            gr341194_md_update(&ctx, text.data(), split);
            gr341194_md_update(&ctx, nullptr, 0);
            gr341194_md_update(&ctx, nullptr, 99);
            gr341194_md_update(&ctx, text.data() + split, length - split);
            Bytes out(32);
            gr341194_md_final(&ctx, out.data());
            ASSERT_EQ(out, expected) << length << " " << split;
        }
    }
    const Bytes large = random.bytes(200'000);
    for (const size_t longest : {3U, 40U, 5000U}) {
        gr341194_md_ctx ctx;
        gr341194_md_init_ext(&ctx, CryptoPro_iv, CryptoPro_uz);
        in_random_pieces(
            random, large.data(), large.size(), longest,
            [&](const uint8_t *piece, size_t length) { gr341194_md_update(&ctx, piece, length); });
        Bytes out(32);
        gr341194_md_final(&ctx, out.data());
        EXPECT_EQ(out, libgcrypt(large)) << longest;
    }
}

TEST(Gr341194, ReadsNothingElse)
{
    Random random;
    for (const auto edge : {GuardedBytes::Edge::lower, GuardedBytes::Edge::upper}) {
        for (size_t length = 0; length < 130; length++) {
            GuardedBytes message(random.bytes(length), edge);
            message.make_read_only();
            gr341194_md_ctx ctx;
            gr341194_md_init_ext(&ctx, CryptoPro_iv, CryptoPro_uz);
            gr341194_md_update(&ctx, message.data(), length);
            GuardedBytes out(32, edge);
            gr341194_md_final(&ctx, out.data());
            EXPECT_EQ(out.contents(), libgcrypt(message.contents()));
        }
    }
}

TEST(Gr341194, InitFillsTheRecord)
{
    Random random;
    const Bytes iv = random.bytes(32);
    gr341194_md_ctx ctx, expected;
    std::memset(&ctx, 0xee, sizeof ctx);
    std::memset(&expected, 0, sizeof expected);
    std::memcpy(expected.H, iv.data(), 32);
    expected.kext = CryptoPro_uz;
    gr341194_md_init_ext(&ctx, iv.data(), CryptoPro_uz);
    EXPECT_EQ(std::memcmp(&ctx, &expected, sizeof ctx), 0);
    EXPECT_EQ(Bytes(CryptoPro_iv, CryptoPro_iv + 32), Bytes(32));
}

TEST(Gr341194, BlocksKeepTheSums)
{
    Random random;
    const HashModel model(published_sboxes().at("cryptopro-3411"));
    for (int round = 0; round < 100; round++) {
        gr341194_md_ctx ctx;
        const Bytes h = random.bytes(32), length = random.runs(32), sigma = random.runs(32),
                    block = random.runs(32);
        gr341194_md_init_ext(&ctx, h.data(), CryptoPro_uz);
        std::memcpy(ctx.L, length.data(), 32);
        std::memcpy(ctx.sigma, sigma.data(), 32);
        gr341194_md_updblocks(&ctx, block.data(), 0);
        gr341194_md_updblocks(&ctx, block.data(), 32);
        const auto plus = [](Bytes a, const Bytes &b) {
            unsigned carry = 0;
            for (size_t i = 0; i < 32; i++) {
                carry += static_cast<unsigned>(a[i]) + b[i];
                a[i] = static_cast<uint8_t>(carry);
                carry >>= 8;
            }
            return a;
        };
        Bytes bits(32);
        bits[1] = 1;
        EXPECT_EQ(Bytes(ctx.H, ctx.H + 32), model.step(h, block));
        EXPECT_EQ(Bytes(ctx.L, ctx.L + 32), plus(length, bits));
        EXPECT_EQ(Bytes(ctx.sigma, ctx.sigma + 32), plus(sigma, block));
    }
}

TEST(Gr341194, BuildingBlocks)
{
    Random random;
    const HashModel model(published_sboxes().at("cryptopro-3411"));
    for (int round = 0; round < 300; round++) {
        const Bytes x = random.runs(32), y = random.runs(32), z = random.bytes(32);
        MarkedBytes out(32, random.below(64));

        EXPECT_EQ(gr341194_md_p(out.data(), x.data()), out.data());
        EXPECT_EQ(out.contents(), HashModel::P(x));
        MarkedBytes place(x, random.below(64));
        gr341194_md_p(place.data(), place.data());
        EXPECT_EQ(place.contents(), HashModel::P(x));

        MarkedBytes a(x, random.below(64));
        EXPECT_EQ(gr341194_md_a(a.data()), a.data());
        EXPECT_EQ(a.contents(), HashModel::A(x));

        for (const int n : {-1, 0, 1, 2, 12, 61, 100}) {
            MarkedBytes psi(x, random.below(64));
            gr341194_md_psi(psi.data(), n);
            EXPECT_EQ(psi.contents(), HashModel::psi(x, n)) << n;
        }

        gr341194_md_mix(out.data(), x.data(), y.data(), z.data());
        EXPECT_EQ(out.contents(), HashModel::mix(x, y, z));
        Bytes h = x, m = y, s = z;
        gr341194_md_mix(h.data(), h.data(), m.data(), s.data());
        EXPECT_EQ(h, HashModel::mix(x, y, z));
        gr341194_md_mix(m.data(), x.data(), m.data(), s.data());
        EXPECT_EQ(m, HashModel::mix(x, y, z));
        gr341194_md_mix(s.data(), x.data(), y.data(), s.data());
        EXPECT_EQ(s, HashModel::mix(x, y, z));

        gr341194_md_ctx ctx;
        gr341194_md_init_ext(&ctx, x.data(), CryptoPro_uz);
        gr341194_md_x(&ctx, y.data());
        EXPECT_EQ(Bytes(ctx.H, ctx.H + 32), model.step(x, y));
        gr341194_md_init_ext(&ctx, x.data(), CryptoPro_uz);
        gr341194_md_x(&ctx, ctx.H);
        EXPECT_EQ(Bytes(ctx.H, ctx.H + 32), model.step(x, x));

        for (int n = -1; n <= 32; n += 11) {
            MarkedBytes sum(Bytes(32, 0x5a));
            gr341194_md_mem_xor(sum.data(), x.data(), y.data(), n);
            Bytes expected(32, 0x5a);
            for (size_t i = 0; n > 0 && i < static_cast<size_t>(n); i++)
                expected[i] = x[i] ^ y[i];
            EXPECT_EQ(sum.contents(), expected);
        }
        Bytes self = x;
        gr341194_md_mem_xor(self.data(), self.data(), self.data(), 32);
        EXPECT_EQ(self, Bytes(32));
    }
}

TEST(Gr341194, AdditionsCarry)
{
    Random random;
    for (int round = 0; round < 3000; round++) {
        const Bytes x = random.runs(32), y = random.runs(32);
        Bytes expected(32);
        unsigned carry = 0;
        for (size_t i = 0; i < 32; i++) {
            carry += static_cast<unsigned>(x[i]) + y[i];
            expected[i] = static_cast<uint8_t>(carry);
            carry >>= 8;
        }
        MarkedBytes sum(x, random.below(64));
        ASSERT_EQ(gr341194_md_add256(sum.data(), y.data()), carry);
        ASSERT_EQ(sum.contents(), expected);

        const uint32_t v = word_at(y, 0);
        uint64_t rest = v;
        for (size_t i = 0; i < 32; i++) {
            rest += x[i];
            expected[i] = static_cast<uint8_t>(rest);
            rest >>= 8;
        }
        MarkedBytes small(x, random.below(64));
        gr341194_md_add32(small.data(), v);
        ASSERT_EQ(small.contents(), expected);
    }
    Bytes ones(32, 0xff);
    EXPECT_EQ(gr341194_md_add256(ones.data(), ones.data()), 1U);
    EXPECT_EQ(ones[0], 0xfe);
    EXPECT_EQ(ones[31], 0xff);
}
