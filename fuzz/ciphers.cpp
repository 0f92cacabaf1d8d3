// GOST 28147-89 with S-boxes, tables, keys and pieces from outside, and Kuznyechik, against the
// models of the tests.
#include "gost28147/model.hpp"
#include "pieces.hpp"
#include "ru/kuznyechik_model.hpp"

#include <qal/kuzn.h>

#include <memory>
#include <optional>

using namespace qal::fuzz;
using namespace qal::test;

namespace {

// A substitution: a published one, one whose bytes are anything, or a table that is of none.
struct Substitution {
    std::vector<uint32_t> table;
    std::optional<GostModel::F> f;

    explicit Substitution(Input &in) : table(1024, 0x5a5a5a5a)
    {
        std::vector<Rows> rows;
        for (const auto &[name, set] : published_sboxes())
            rows.push_back(set);
        Bytes bytes = sbox_bytes(rows[in.below(rows.size())]);
        switch (in.below(4)) {
        case 0:
            break;
        case 1: {
            const size_t at = in.below(128);
            bytes[at] = in.byte();
            break;
        }
        case 2:
            bytes = in.bytes(128);
            break;
        default:
            for (uint8_t &byte : bytes)
                byte = in.byte() & 15;
        }
        GuardedBytes given(bytes);
        given.make_read_only();
        const bool good =
            std::all_of(bytes.begin(), bytes.end(), [](uint8_t byte) { return byte < 16; });
        EXPECT_EQ(g28147_make_kext(table.data(), given.data()), good ? table.data() : nullptr);
        if (!good) {
            EXPECT_EQ(table, std::vector<uint32_t>(1024, 0x5a5a5a5a));
            return;
        }
        if (in.byte() == 1) {
            const size_t at = in.below(1024);
            table[at] ^= static_cast<uint32_t>(in.word(4));
            f = GostModel::table(table);
            return;
        }
        Rows own;
        for (size_t x = 0; x < 16; x++)
            for (size_t k = 0; k < 8; k++)
                own[7 - k][x] = bytes[8 * x + k];
        f = GostModel::standard(own);
    }
};

// A record in memory of its own, which now and then moves.
template<typename Record>
struct Moving {
    std::unique_ptr<Record> record = std::make_unique<Record>();

    Record *operator()(Input &in)
    {
        if (in.byte() == 1)
            record = std::make_unique<Record>(*record);
        return record.get();
    }
};

template<typename Record, typename Update>
Bytes in_pieces_by(Input &in, Record &record, const Bytes &message, size_t unit, Update update)
{
    Bytes out;
    in_pieces(in, message.size(), unit, [&](size_t from, size_t to) {
        const Bytes piece =
            transformed(in, part(message, from, to), [&](uint8_t *a, uint8_t *b, size_t size) {
                update(record(in), a, b, size);
            });
        out.insert(out.end(), piece.begin(), piece.end());
    });
    return out;
}

void check_ecb(Input &in, const Substitution &s, const GostModel &model, const uint8_t *key)
{
    Bytes text = message(in, 4096);
    text.resize(text.size() / 8 * 8);
    const bool encrypt = in.flag();
    Moving<g28147_ecb_ctx> ctx;
    g28147_ecb_init_ext(ctx.record.get(), encrypt ? 1 : in.byte() & 0xfe, key, s.table.data());
    ASSERT_EQ(in_pieces_by(in, ctx, text, 8, g28147_ecb_update), model.ecb(text, encrypt));
}

void check_gamma(Input &in, const Substitution &s, const GostModel &model, const uint8_t *key)
{
    const Bytes text = message(in, 4096), iv = in.bytes(8);
    Moving<g28147_ofb_ctx> ctx;
    g28147_ofb_init_ext(ctx.record.get(), key, iv.data(), s.table.data());
    Bytes gamma = model.gamma(iv, text.size());
    if (in.byte() == 1) {
        ctx.record->n3 = static_cast<uint32_t>(in.word(4));
        ctx.record->n4 = static_cast<uint32_t>(in.word(4));
        gamma = model.gamma_from(ctx.record->n3, ctx.record->n4, text.size());
    }
    ASSERT_EQ(in_pieces_by(in, ctx, text, 1, g28147_ofb_update), sum_of(text, gamma));
}

void check_cfb(Input &in, const Substitution &s, const GostModel &model, const uint8_t *key)
{
    const Bytes text = message(in, 4096), iv = in.bytes(8);
    const bool encrypt = in.flag();
    Moving<g28147_cfb_ctx> ctx;
    g28147_cfb_init_ext(ctx.record.get(), encrypt ? 1 : 0, key, iv.data(), s.table.data());
    ASSERT_EQ(in_pieces_by(in, ctx, text, 8, g28147_cfb_update), model.cfb(iv, text, encrypt));
}

void check_mac(Input &in, const Substitution &s, const GostModel &model, const uint8_t *key)
{
    const Bytes text = message(in, 1024);
    Moving<g28147_hmac_ctx> ctx;
    g28147_hmac_init_ext(ctx.record.get(), key, s.table.data());
    in_pieces(in, text.size(), 1, [&](size_t from, size_t to) {
        MarkedBytes piece(part(text, from, to), in.below(64));
        g28147_hmac_update(ctx(in), piece.data(), to - from);
    });
    g28147_hmac_ctx copy = *ctx.record;
    MarkedBytes mac(4, in.below(64));
    Bytes claimed = in.flag() && text.size() > 8 ? model.mac(text) : in.bytes(4);
    if (text.size() <= 8) {
        ASSERT_EQ(g28147_hmac_final(&copy, mac.data()), nullptr);
        ASSERT_EQ(g28147_hmac_final_verify(ctx.record.get(), claimed.data()), 0);
        return;
    }
    ASSERT_EQ(g28147_hmac_final(&copy, mac.data()), mac.data());
    ASSERT_EQ(mac.contents(), model.mac(text));
    ASSERT_EQ(g28147_hmac_final_verify(ctx.record.get(), claimed.data()),
              claimed == model.mac(text));
}

void check_gost28147(Input &in)
{
    const Substitution s(in);
    if (!s.f)
        return;
    const Bytes key = in.bytes(32);
    const GostModel model(*s.f, key);
    MarkedBytes given(key, in.below(8));
    const uint32_t a = word_at(key, 0), b = word_at(key, 4);
    uint32_t keys[32], x, y;
    for (size_t i = 0; i < 32; i++)
        keys[i] = model.key(OrderEnc[i]);
    ASSERT_EQ(g28147_32Steps(a, b, keys, s.table.data(), &x, &y), x);
    ASSERT_EQ(std::pair(x, y), model.cycle32({a, b}));
    g28147_16Steps(a, b, keys, s.table.data(), &x, &y);
    ASSERT_EQ(std::pair(x, y), model.cycle16({a, b}));
    static constexpr decltype(&check_ecb) checks[] = {check_ecb, check_gamma, check_cfb, check_mac};
    in.one_of(checks)(in, s, model, given.data());
}

const KuznyechikModel &kuznyechik()
{
    static const KuznyechikModel model;
    return model;
}

void check_kuznyechik_blocks(Input &in)
{
    const Bytes key = in.bytes(32), block = in.bytes(16);
    const std::vector<Bytes> keys = kuznyechik().schedule(key);
    MarkedBytes given(key, in.below(8)), round_keys(160, in.below(8));
    kuzn_setup_keys(round_keys.data(), given.data());
    ASSERT_EQ(round_keys.contents(), KuznyechikModel::joined(keys));
    MarkedBytes place(block, in.below(16));
    kuzn_block_enc(place.data(), round_keys.data());
    ASSERT_EQ(place.contents(), kuznyechik().encrypt(keys, block));

    const uint32_t mode = in.byte();
    const auto once = [&](const Bytes &b) {
        return mode == 1 ? kuznyechik().encrypt(keys, b) : kuznyechik().decrypt(keys, b);
    };
    kuzn_ecb_ctx ctx;
    kuzn_ecb_init(&ctx, mode, given.data());
    const size_t length = in.below(80);
    MarkedBytes apart(Bytes(16, 0xa5), in.below(16)), source(block, in.below(16));
    kuzn_ecb_update(&ctx, source.data(), apart.data(), length);
    ASSERT_EQ(apart.contents(), length < 16 ? Bytes(16, 0xa5) : once(block));
    Bytes repeated = block;
    for (size_t i = 0; i < length / 16; i++)
        repeated = once(repeated);
    kuzn_ecb_update(&ctx, source.data(), source.data(), length);
    ASSERT_EQ(source.contents(), repeated);
}

void check_kuznyechik_counter(Input &in)
{
    const Bytes key = in.bytes(32), iv = in.bytes(8), text = message(in, 2048);
    Moving<kuzn_ctr_ctx> ctx;
    kuzn_ctr_init(ctx.record.get(), iv.data(), key.data());
    Bytes counter = iv;
    counter.resize(16);
    if (in.byte() == 1) {
        // From any place of the stream, also where the counter is about to wrap.
        for (uint8_t &byte : counter)
            byte = in.flag() ? 0xff : in.byte();
        for (size_t i = 0; i < 16; i++) {
            uint32_t &word = ctx.record->counter[3 - i / 4];
            word = word << 8 | counter[i];
        }
    }
    // The cipher of single blocks has been checked.
    Bytes rk(160), stream;
    kuzn_setup_keys(rk.data(), key.data());
    while (stream.size() < text.size()) {
        Bytes block = counter;
        kuzn_block_enc(block.data(), rk.data());
        stream.insert(stream.end(), block.begin(), block.end());
        for (size_t i = 16; i-- > 0 && ++counter[i] == 0;) {
        }
    }
    stream.resize(text.size());
    ASSERT_EQ(in_pieces_by(in, ctx, text, 1, kuzn_ctr_update), sum_of(text, stream));
}

} // namespace

QAL_FUZZ_TARGET
{
    static constexpr decltype(&check_gost28147) checks[] = {
        check_gost28147, check_kuznyechik_blocks, check_kuznyechik_counter};
    in.one_of(checks)(in);
}
