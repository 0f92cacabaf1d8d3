// Key generation, signing and key agreement: the private key, the nonce, and what is made of them.
#include "secrecy.hpp"

#include "base/cpu.hpp"
#include "qalec/scalars256.hpp"
#include "support/sweeps.hpp"
#include "support/vectors.hpp"

#include <qal/g28147.h>
#include <qal/gr341194.h>
#include <qal/vko341001.h>

using namespace qal::test;
using namespace qal::ec;

namespace {

// On a curve over each of the engine's two fields, in every variant.
template<typename Check>
void on_curves(Check check)
{
    VectorFile("gost3410/curves.vec").each("curve", [&](Vector &vector) {
        SCOPED_TRACE(vector.text("Name"));
        const auto number = [&](const char *name) { return vector.bytes(name); };
        const Bytes p = number("P"), a = number("A"), b = number("B"), q = number("Q"),
                    x = number("X"), y = number("Y");
        rds_ctx ctx;
        ASSERT_EQ(rds_init(&ctx, p.data(), a.data(), b.data(), q.data(), x.data(), y.data()), 0);
        check(ctx);
    });
}

Bytes scalar(Random &random)
{
    Bytes bytes = random.bytes(32);
    bytes[0] &= 0x7f;
    return bytes;
}

} // namespace

TEST_F(Secrecy, KeyGeneration)
{
    on_curves([&](const rds_ctx &ctx) {
        Secret d(scalar(random));
        Bytes pubkey(64);
        int code = -1;
        EXPECT_EQ(secret_dependences([&] { code = rds_gen_keys(&ctx, d.data(), pubkey.data()); }),
                  0);
        reveal(&code, sizeof code);
        EXPECT_EQ(code, 0);
        EXPECT_EQ(
            secret_dependences([&] { code = vko341001_gen_pubkey(&ctx, d.data(), pubkey.data()); }),
            0);
    });
}

TEST_F(Secrecy, Signing)
{
    on_curves([&](const rds_ctx &ctx) {
        Secret d(scalar(random)), k(scalar(random)), digest(random.bytes(32));
        Bytes sig(64);
        int code = -1;
        EXPECT_EQ(secret_dependences([&] {
                      code = rds_sign(&ctx, d.data(), k.data(), digest.data(), sig.data());
                  }),
                  0);
        reveal(&code, sizeof code);
        EXPECT_EQ(code, 0);
    });
}

// No more than what the hash of the shared point alone does.
TEST_F(Secrecy, KeyAgreement)
{
    Secret point(random.bytes(64)), digest(Bytes(32));
    const unsigned hashing = secret_dependences([&] {
        gr341194_md_ctx hash;
        gr341194_md_init_ext(&hash, CryptoPro_iv, CryptoPro_uz);
        gr341194_md_update(&hash, point.data(), point.size());
        gr341194_md_final(&hash, digest.data());
    });
    on_curves([&](const rds_ctx &ctx) {
        const Bytes peer = scalar(random), ukm = random.bytes(8);
        Bytes pubkey(64);
        ASSERT_EQ(rds_gen_keys(&ctx, peer.data(), pubkey.data()), 0);
        Secret d(scalar(random)), kek(Bytes(32));
        int code = -1;
        EXPECT_EQ(secret_dependences([&] {
                      code =
                          vko341001_gen_kek(&ctx, kek.data(), d.data(), pubkey.data(), ukm.data());
                  }),
                  hashing);
        reveal(&code, sizeof code);
        EXPECT_EQ(code, 0);
    });
}

// Valgrind executes ADX, but does not offer it.
TEST_F(Secrecy, EngineVariants)
{
    const auto bases = std::vector<Variant<decltype(curve256_multiply_base)>>{
        {"portable", 0, curve256_multiply_base_portable},
        {"bmi2adx", 0, curve256_multiply_base_bmi2adx}};
    const auto others = std::vector<Variant<decltype(curve256_multiply)>>{
        {"portable", 0, curve256_multiply_portable}, {"bmi2adx", 0, curve256_multiply_bmi2adx}};
    const auto sums = std::vector<Variant<decltype(scalar256_sum_of_products)>>{
        {"portable", 0, scalar256_sum_of_products_portable},
        {"bmi2adx", 0, scalar256_sum_of_products_bmi2adx}};
    on_curves([&](const rds_ctx &ctx) {
        const Curve256 curve = curve_of(&ctx);
        const Scalar q = scalar_of(ctx.q);
        Secret n(scalar(random)), w(scalar(random)), s(scalar(random));
        const auto digits = [](Secret &secret) {
            return reinterpret_cast<uint64_t *>(secret.data());
        };
        uint64_t G[8], xy[8], z[4];
        const uint64_t one[4] = {1, 0, 0, 0};
        curve256_multiply_base_portable(&curve, ctx.table, one, G);
        each_variant(bases, [&](const auto &variant) {
            EXPECT_EQ(secret_dependences([&] { variant.run(&curve, ctx.table, digits(n), xy); }),
                      0);
        });
        each_variant(others, [&](const auto &variant) {
            EXPECT_EQ(secret_dependences([&] { variant.run(&curve, G, digits(n), xy); }), 0);
        });
        each_variant(sums, [&](const auto &variant) {
            EXPECT_EQ(secret_dependences(
                          [&] { variant.run(q.d, digits(w), digits(n), digits(w), digits(s), z); }),
                      0);
        });
    });
}
