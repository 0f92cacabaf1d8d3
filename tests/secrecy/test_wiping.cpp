// What operations on secrets leave on the stack.
#include "support/marked_stack.hpp"

#include <qal/g28147.h>
#include <qal/gr341194.h>
#include <qal/kuzn.h>
#include <qal/streebog.h>

#include <gtest/gtest.h>

#include <cstring>

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
    for (const size_t size : {8U, 64U, 4096U}) {
        const Bytes text = random.bytes(size);
        Bytes out(size), back(size);
        const auto check = [&](const char *what) {
            EXPECT_FALSE(stack.holds(key)) << what << " " << size;
            EXPECT_FALSE(stack.holds(text)) << what << " " << size;
        };
        for (const int mode : {0, 1}) {
            g28147_ecb_ctx ecb;
            stack.run([&] { g28147_ecb_init_ext(&ecb, mode, key.data(), CryptoPro_uz); });
            check("ecb init");
            stack.run([&] { g28147_ecb_update(&ecb, text.data(), out.data(), size); });
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
            g28147_hmac_final(&mac, tag.data());
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
