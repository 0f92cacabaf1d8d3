// What operations on secrets leave on the stack.
#include "domain.hpp"
#include "qalec/scalars256.hpp"
#include "support/marked_stack.hpp"
#include "support/numbers.hpp"
#include "support/vectors.hpp"

#include <qal/g28147.h>
#include <qal/gr341194.h>
#include <qal/kuzn.h>
#include <qal/rds.h>
#include <qal/streebog.h>
#include <qal/vko341001.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <tuple>

using namespace qal::test;

namespace {

class Wiping : public testing::Test {
protected:
    Random random;
    MarkedStack stack;
};

} // namespace

TEST_F(Wiping, TheSearchFinds)
{
    const Bytes secret = random.bytes(32);
    stack.run([&] {
        uint8_t copy[32];
        std::memcpy(copy, secret.data(), sizeof copy);
        __asm__ volatile("" : : "r"(copy) : "memory");
    });
    EXPECT_TRUE(stack.holds(secret));
    EXPECT_FALSE(stack.holds(random.bytes(32)));
    EXPECT_GT(stack.depth(), 32);
}

TEST_F(Wiping, Kuznyechik)
{
    const Bytes key = random.bytes(32), iv = random.bytes(8);
    for (const size_t size : {1U, 16U, 100U, 4096U, 5000U}) {
        const Bytes text = random.bytes(size);
        Bytes out(size), rk(160), block(text);
        block.resize(16);
        kuzn_ctr_ctx ctx;
        stack.run([&] { kuzn_ctr_init(&ctx, iv.data(), key.data()); });
        std::memcpy(rk.data(), ctx.rk, 160);
        EXPECT_FALSE(stack.holds(key));
        EXPECT_FALSE(stack.holds(rk));
        stack.run([&] { kuzn_ctr_update(&ctx, text.data(), out.data(), size); });
        EXPECT_FALSE(stack.holds(rk)) << size;
        EXPECT_FALSE(stack.holds(text)) << size;
        Bytes gamma(size);
        for (size_t i = 0; i < size; i++)
            gamma[i] = text[i] ^ out[i];
        EXPECT_FALSE(stack.holds(gamma)) << size;
        stack.run([&] { kuzn_block_enc(block.data(), rk.data()); });
        EXPECT_FALSE(stack.holds(rk));
    }
}

TEST_F(Wiping, Gost28147)
{
    const Bytes key = random.bytes(32), iv = random.bytes(8);
    for (const size_t size : {8U, 64U, 71U, 500U, 4096U, 4103U}) {
        const Bytes text = random.bytes(size);
        Bytes out(size), back(size), gamma(size);
        // The part of a block at the end as it is filled up.
        Bytes last(text.begin() + static_cast<ptrdiff_t>((size - 1) / 8 * 8), text.end());
        last.resize(8);
        const auto check = [&](const char *what) {
            for (size_t i = 0; i < size; i++)
                gamma[i] = text[i] ^ out[i];
            for (const Bytes &bytes : {key, text, last, gamma})
                EXPECT_FALSE(stack.holds(bytes)) << what << " " << size;
        };
        for (const int mode : {0, 1}) {
            g28147_ecb_ctx ecb;
            stack.run([&] { g28147_ecb_init_ext(&ecb, mode, key.data(), CryptoPro_uz); });
            check("ecb init");
            const size_t whole = size / 8 * 8;
            stack.run([&] { g28147_ecb_update(&ecb, text.data(), out.data(), whole); });
            EXPECT_TRUE(mode == 1 || !stack.holds(out)) << "ecb " << size;
            check("ecb");
        }
        g28147_ofb_ctx ofb;
        stack.run([&] { g28147_ofb_init_ext(&ofb, key.data(), iv.data(), CryptoPro_uz); });
        check("ofb init");
        stack.run([&] { g28147_ofb_update(&ofb, text.data(), out.data(), size); });
        check("ofb");
        g28147_cfb_ctx cfb;
        stack.run([&] { g28147_cfb_init_ext(&cfb, 1, key.data(), iv.data(), CryptoPro_uz); });
        check("cfb init");
        stack.run([&] { g28147_cfb_update(&cfb, text.data(), out.data(), size); });
        check("cfb encryption");
        g28147_cfb_init_ext(&cfb, 0, key.data(), iv.data(), CryptoPro_uz);
        stack.run([&] { g28147_cfb_update(&cfb, out.data(), back.data(), size); });
        check("cfb decryption");
        ASSERT_EQ(back, text);
        g28147_hmac_ctx mac;
        Bytes tag(4);
        stack.run([&] {
            g28147_hmac_init_ext(&mac, key.data(), CryptoPro_uz);
            g28147_hmac_update(&mac, text.data(), size);
            std::ignore = g28147_hmac_final(&mac, tag.data());
        });
        check("mac");
    }
}

TEST_F(Wiping, Hashes)
{
    for (const size_t size : {32U, 64U, 500U, 4096U}) {
        const Bytes text = random.bytes(size);
        Bytes digest(64);
        streebog_ctx streebog;
        stack.run([&] {
            streebog512_init(&streebog);
            streebog512_update(&streebog, text.data(), size);
            streebog512_final(digest.data(), &streebog);
        });
        EXPECT_FALSE(stack.holds(text)) << "streebog " << size;
        gr341194_md_ctx gost;
        stack.run([&] {
            gr341194_md_init_ext(&gost, CryptoPro_iv, CryptoPro_uz);
            gr341194_md_update(&gost, text.data(), size);
            gr341194_md_final(&gost, digest.data());
        });
        EXPECT_FALSE(stack.holds(text)) << "gost 34.11-94 " << size;
    }
}

TEST_F(Wiping, SignaturesAndKeyAgreement)
{
    VectorFile("gost3410/curves.vec").each("curve", [&](Vector &vector) {
        SCOPED_TRACE(vector.text("Name"));
        const auto number = [&](const char *name) { return vector.bytes(name); };
        const Bytes p = number("P"), a = number("A"), b = number("B"), q = number("Q"),
                    x = number("X"), y = number("Y");
        rds_ctx ctx;
        ASSERT_EQ(rds_init(&ctx, p.data(), a.data(), b.data(), q.data(), x.data(), y.data()), 0);
        Bytes d = random.bytes(32), k = random.bytes(32), peer = random.bytes(32);
        d[0] = k[0] = peer[0] = 0x55;
        const Bytes digest = random.bytes(32), ukm = random.bytes(8);
        Bytes pubkey(64), sig(64), kek(32);
        const auto check = [&](const Bytes &secret, const char *what) {
            EXPECT_FALSE(stack.holds(secret)) << what;
            EXPECT_FALSE(stack.holds(reversed(secret))) << what;
        };
        stack.run([&] { ASSERT_EQ(rds_gen_keys(&ctx, d.data(), pubkey.data()), 0); });
        check(d, "key generation, d");
        stack.run(
            [&] { ASSERT_EQ(rds_sign(&ctx, d.data(), k.data(), digest.data(), sig.data()), 0); });
        check(d, "signature, d");
        check(k, "signature, k");
        ASSERT_EQ(rds_gen_keys(&ctx, peer.data(), pubkey.data()), 0);
        stack.run([&] {
            ASSERT_EQ(vko341001_gen_kek(&ctx, kek.data(), d.data(), pubkey.data(), ukm.data()), 0);
        });
        check(d, "agreement, d");
        check(kek, "agreement, result");
        // The shared point
        using namespace qal::ec;
        const Curve256 curve = curve_of(&ctx);
        const Scalar zero = {}, order = scalar_of(ctx.q),
                     u = {{qal::base::load_be64(ukm.data()), 0, 0, 0}};
        const Scalar t = sum_of_products(order, load_scalar(d.data()), u, zero, zero);
        uint64_t P[8], K[8];
        ASSERT_TRUE(load_point(P, curve, pubkey.data()));
        curve256_multiply(&curve, P, t.d, K);
        Bytes shared(64), factor(32);
        store_digits(shared.data(), K);
        store_digits(shared.data() + 32, K + 4);
        store_digits(factor.data(), t.d);
        check(shared, "agreement, point");
        check(factor, "agreement, factor");
    });
}

namespace {

// What the pool's source gave out last.
Bytes drawn;
Random *source;

int known_random(uint8_t *buf, uint32_t len)
{
    drawn = source->bytes(len);
    std::memcpy(buf, drawn.data(), len);
    return 0;
}

} // namespace

// The copy of a point in which its multiple is made.
TEST_F(Wiping, PointsOfBinaryCurves)
{
    for (const char *name : {"m163", "m191", "m257", "m431"}) {
        SCOPED_TRACE(name);
        dstu_ctx ctx;
        set_up_domain(ctx, name);
        qale2point twice;
        stack.run([&] { qale2pd(&ctx.curve, &twice, &ctx.G); });
        for (const qal2d *coordinate : {twice.X, twice.Y, twice.Z}) {
            const auto *bytes = reinterpret_cast<const uint8_t *>(coordinate + 1);
            EXPECT_FALSE(stack.holds(Bytes(bytes, bytes + 16)));
        }
    }
}

TEST_F(Wiping, Dstu4145)
{
    source = &random;
    for (const char *name : {"m163", "m191", "m257", "m431"}) {
        SCOPED_TRACE(name);
        dstu_ctx ctx;
        set_up_domain(ctx, name);
        dstu_bspool pool;
        ASSERT_EQ(dstu_bspool_init(&pool, &ctx, known_random), DSTU_OK);
        Bytes priv(static_cast<size_t>(ctx.key_len)), pub(static_cast<size_t>(ctx.field_len)),
            sig(static_cast<size_t>(ctx.sig_len)), shared(pub.size());
        const Bytes hash = random.bytes(32);
        auto priv_len = ctx.key_len, pub_len = ctx.field_len, sig_len = ctx.sig_len;
        int32_t shared_len;
        // The top byte of a secret is cut; the rest is looked for.
        const auto body = [](Bytes bytes) {
            bytes.resize(16);
            return bytes;
        };
        stack.run([&] {
            std::ignore = dstu_gen_keys(&ctx, &pool, &priv_len, priv.data(), &pub_len, pub.data());
        });
        ASSERT_EQ(body(drawn), body(priv));
        EXPECT_FALSE(stack.holds(body(priv))) << "key generation";
        stack.run([&] {
            std::ignore = dstu_sign(&ctx, &pool, priv_len, priv.data(), 256, hash.data(), &sig_len,
                                    sig.data());
        });
        EXPECT_FALSE(stack.holds(body(priv))) << "signing";
        EXPECT_FALSE(stack.holds(body(drawn))) << "signing";
        // What is added to the one-time secret, in both forms in which it is computed.
        const auto number = [](const uint8_t *bytes, size_t size) {
            mpz_class value;
            mpz_import(value.get_mpz_t(), size, -1, 1, 0, 0, bytes);
            return value;
        };
        const mpz_class n = value_of(ctx.n);
        const mpz_class share =
            number(priv.data(), priv.size()) * number(sig.data(), sig.size() / 2) % n;
        mpz_class inverse = power_of_two(64 * ctx.n[0]);
        mpz_invert(inverse.get_mpz_t(), inverse.get_mpz_t(), n.get_mpz_t());
        for (const mpz_class &form : {share, mpz_class(share * inverse % n)}) {
            Bytes bytes(16);
            mpz_export(bytes.data(), nullptr, -1, 8, -1, 0,
                       mpz_class(form % power_of_two(128)).get_mpz_t());
            EXPECT_FALSE(stack.holds(bytes)) << "signing";
        }
        ASSERT_EQ(dstu_verify(&ctx, pub_len, pub.data(), 256, hash.data(), sig_len, sig.data()), 0);
        // Multiples by the upper windows of the scalar tell these.
        for (int ready = 0; ready == 0;) {
            stack.run([&] { ready = dstu_bspool_step(&pool); });
            EXPECT_FALSE(stack.holds(body(drawn))) << "steps";
            const qale2point &Q = pool.slot[0].kp.Q;
            for (const qal2d *coordinate : {Q.X, Q.Y, Q.Z}) {
                const auto *bytes = reinterpret_cast<const uint8_t *>(coordinate + 1);
                const Bytes piece(bytes, bytes + 16);
                if (std::count(piece.begin(), piece.end(), 0) < 8) { // 0 and 1 are everywhere
                    EXPECT_FALSE(stack.holds(piece)) << "steps";
                }
            }
        }
        // With a secret that is ready, where the stack is erased to a depth of its own: below all
        // that was called, but for what the erasing call itself leaves.
        stack.run([&] {
            std::ignore = dstu_sign(&ctx, &pool, priv_len, priv.data(), 256, hash.data(), &sig_len,
                                    sig.data());
        });
        EXPECT_FALSE(stack.holds(body(priv))) << "signing from the pool";
        EXPECT_FALSE(stack.holds(body(drawn))) << "signing from the pool";
        Bytes deepest = stack.deepest(1024);
        deepest.erase(deepest.begin(), deepest.begin() + 64);
        EXPECT_EQ(deepest, Bytes(deepest.size())) << "signing from the pool";
        stack.run([&] {
            std::ignore = dhua_zz(&ctx, priv_len, priv.data(), pub_len, pub.data(), 0, &shared_len,
                                  shared.data());
        });
        EXPECT_FALSE(stack.holds(body(priv))) << "agreement";
        EXPECT_FALSE(stack.holds(body(shared))) << "agreement";
    }
}
