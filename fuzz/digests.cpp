// Streebog and GOST R 34.11-94: call sequences against libgcrypt.
#include "pieces.hpp"

#include <qal/gr341194.h>
#include <qal/streebog.h>

#include <gcrypt.h>

#include <memory>

using namespace qal::fuzz;

namespace {

Bytes oracle(int algorithm, const uint8_t *data, size_t size)
{
    static const char *const version = gcry_check_version(nullptr);
    EXPECT_NE(version, nullptr);
    Bytes digest(gcry_md_get_algo_dlen(algorithm));
    gcry_md_hash_buffer(algorithm, digest.data(), data, size);
    return digest;
}

// A hash begun with some record, updated in pieces. Now and then the record moves, or a copy of it
// is finished early.
template<typename Record, typename Update, typename Finish, typename Prefix>
Bytes hashed(Input &in, const Record &begun, const Bytes &text, Update update, Finish finish,
             Prefix expect_prefix)
{
    auto record = std::make_unique<Record>(begun);
    in_pieces(in, text.size(), 1, [&](size_t from, size_t to) {
        MarkedBytes piece(part(text, from, to), in.below(64));
        update(record.get(), from == to && in.flag() ? nullptr : piece.data(), to - from);
        switch (in.byte()) {
        case 1:
            record = std::make_unique<Record>(*record);
            break;
        case 2: {
            Record copy = *record;
            expect_prefix(finish(&copy), to);
            break;
        }
        default:
            break;
        }
    });
    return finish(record.get());
}

void check_streebog(Input &in)
{
    const bool long_one = in.flag();
    const size_t size = long_one ? 64 : 32;
    const auto update = long_one ? streebog512_update : streebog256_update;
    const auto finish = [&](streebog_ctx *ctx) {
        MarkedBytes out(size, in.below(64));
        (long_one ? streebog512_final : streebog256_final)(out.data(), ctx);
        return out.contents();
    };
    const Bytes text = message(in, 8192);
    streebog_ctx begun;
    (long_one ? streebog512_init : streebog256_init)(&begun);
    if (in.byte() != 1) {
        const int algorithm = long_one ? GCRY_MD_STRIBOG512 : GCRY_MD_STRIBOG256;
        const Bytes digest =
            hashed(in, begun, text, update, finish, [&](const Bytes &prefix, size_t length) {
                ASSERT_EQ(prefix, oracle(algorithm, text.data(), length));
            });
        ASSERT_EQ(digest, oracle(algorithm, text.data(), text.size()));
        return;
    }
    // From any state, so that counters and sums carry: pieces give what the whole gives.
    for (size_t i = 0; i < 8; i++) {
        begun.N[i] = in.flag() ? ~uint64_t{0} : in.word();
        begun.sigma[i] = in.flag() ? ~uint64_t{0} : in.word();
    }
    streebog_ctx whole = begun;
    update(&whole, text.data(), text.size());
    const Bytes digest = hashed(in, begun, text, update, finish, [](const Bytes &, size_t) {});
    ASSERT_EQ(digest, finish(&whole));
}

void check_gost3411(Input &in)
{
    const Bytes text = message(in, 2048);
    const auto finish = [&](gr341194_md_ctx *ctx) {
        MarkedBytes out(32, in.below(64));
        EXPECT_EQ(gr341194_md_final(ctx, out.data()), out.data());
        return out.contents();
    };
    gr341194_md_ctx begun;
    if (in.byte() != 1) {
        gr341194_md_init_ext(&begun, CryptoPro_iv, CryptoPro_uz);
        const Bytes digest = hashed(
            in, begun, text, gr341194_md_update, finish, [&](const Bytes &prefix, size_t length) {
                ASSERT_EQ(prefix, oracle(GCRY_MD_GOSTR3411_CP, text.data(), length));
            });
        ASSERT_EQ(digest, oracle(GCRY_MD_GOSTR3411_CP, text.data(), text.size()));
        return;
    }
    // Any S-box and start value, any sums: pieces give what the whole gives.
    std::vector<uint32_t> table(1024);
    Bytes sbox(128);
    for (uint8_t &byte : sbox)
        byte = in.byte() & 15;
    const uint32_t *kext = in.flag() ? CryptoPro_uz : g28147_make_kext(table.data(), sbox.data());
    gr341194_md_init_ext(&begun, in.bytes(32).data(), kext);
    for (size_t i = 0; i < 32; i++) {
        begun.L[i] = in.flag() ? 0xff : in.byte();
        begun.sigma[i] = in.flag() ? 0xff : in.byte();
    }
    gr341194_md_ctx whole = begun;
    gr341194_md_update(&whole, text.data(), text.size());
    const Bytes digest =
        hashed(in, begun, text, gr341194_md_update, finish, [](const Bytes &, size_t) {});
    ASSERT_EQ(digest, finish(&whole));
}

} // namespace

QAL_FUZZ_TARGET
{
    static constexpr decltype(&check_streebog) checks[] = {check_streebog, check_gost3411};
    in.one_of(checks)(in);
}
