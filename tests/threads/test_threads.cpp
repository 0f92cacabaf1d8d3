// Many threads over shared contexts, keys and tables: every result is the one that a single thread
// gets, and the thread sanitizer sees no race (./dev races).
#include "secrecy/domain.hpp"
#include "support/bytes.hpp"
#include "support/vectors.hpp"

#include <qal/qal.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

using namespace qal::test;

namespace {

constexpr size_t threads = 8, jobs = 48;

// job(i) gives a result for each i; all threads do all jobs, each beginning with another one.
void expect_same_everywhere(const std::function<Bytes(size_t)> &job)
{
    std::vector<Bytes> expected;
    for (size_t i = 0; i < jobs; i++)
        expected.push_back(job(i));
    std::atomic<size_t> ready = 0, wrong = 0;
    std::vector<std::thread> pool;
    for (size_t t = 0; t < threads; t++) {
        pool.emplace_back([&, t] {
            ready++;
            while (ready < threads)
                std::this_thread::yield();
            for (size_t n = 0; n < jobs; n++) {
                const size_t i = (n + t * jobs / threads) % jobs;
                if (job(i) != expected[i])
                    wrong++;
            }
        });
    }
    for (std::thread &thread : pool)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

// Bytes that depend on i alone, with the top bit clear and the next one set.
Bytes numbered(size_t i, size_t size, uint8_t kind)
{
    Bytes bytes(size);
    uint32_t state = static_cast<uint32_t>(i * 7919 + kind);
    for (uint8_t &byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<uint8_t>(state >> 24);
    }
    bytes[0] = static_cast<uint8_t>((bytes[0] & 0x3f) | 0x40);
    return bytes;
}

rds_ctx gost_context()
{
    rds_ctx ctx;
    bool found = false;
    VectorFile("gost3410/curves.vec").each("curve", [&](Vector &vector) {
        const auto number = [&](const char *name) { return vector.bytes(name); };
        const Bytes p = number("P"), a = number("A"), b = number("B"), q = number("Q"),
                    x = number("X"), y = number("Y");
        if (vector.text("Name") != "cryptopro-a")
            return;
        found = true;
        ASSERT_EQ(rds_init(&ctx, p.data(), a.data(), b.data(), q.data(), x.data(), y.data()), 0);
    });
    EXPECT_TRUE(found);
    return ctx;
}

} // namespace

TEST(Threads, GostSignaturesAndAgreement)
{
    const rds_ctx ctx = gost_context();
    const Bytes d = numbered(1000, 32, 1), peer = numbered(1001, 32, 1);
    Bytes own(64), theirs(64);
    ASSERT_EQ(rds_gen_keys(&ctx, d.data(), own.data()), 0);
    ASSERT_EQ(rds_gen_keys(&ctx, peer.data(), theirs.data()), 0);
    expect_same_everywhere([&](size_t i) {
        const Bytes k = numbered(i, 32, 2), digest = numbered(i, 32, 3), ukm = numbered(i, 8, 4);
        Bytes out(64 + 32 + 2);
        const int signed_well = rds_sign(&ctx, d.data(), k.data(), digest.data(), out.data());
        const int valid = rds_verify(&ctx, own.data(), digest.data(), out.data());
        const int agreed =
            vko341001_gen_kek(&ctx, out.data() + 64, d.data(), theirs.data(), ukm.data());
        EXPECT_EQ(signed_well, 0);
        EXPECT_EQ(valid, 0);
        EXPECT_EQ(agreed, 0);
        return out;
    });
}

TEST(Threads, DstuSignaturesAndAgreement)
{
    dstu_ctx ctx;
    set_up_domain(ctx, "m257");
    // Pools are no one's to share; the context is.
    const auto make = [&](size_t i) {
        thread_local size_t seed;
        seed = i;
        dstu_bspool pool;
        const auto random = [](uint8_t *buf, uint32_t len) {
            const Bytes bytes = numbered(seed, len, 5);
            std::copy(bytes.begin(), bytes.end(), buf);
            return 0;
        };
        EXPECT_EQ(dstu_bspool_init(&pool, &ctx, random), DSTU_OK);
        return pool;
    };
    expect_same_everywhere([&](size_t i) {
        dstu_bspool pool = make(i);
        Bytes priv(64), pub(64), sig(128), shared(64);
        const Bytes hash = numbered(i, 32, 6);
        int32_t priv_len = 64, pub_len = 64, sig_len = ctx.sig_len, shared_len = 64;
        EXPECT_EQ(dstu_gen_keys(&ctx, &pool, &priv_len, priv.data(), &pub_len, pub.data()), 0);
        EXPECT_EQ(
            dstu_sign(&ctx, &pool, priv_len, priv.data(), 256, hash.data(), &sig_len, sig.data()),
            0);
        EXPECT_EQ(dstu_verify(&ctx, pub_len, pub.data(), 256, hash.data(), sig_len, sig.data()), 0);
        EXPECT_EQ(dhua_zz(&ctx, priv_len, priv.data(), pub_len, pub.data(), 0, &shared_len,
                          shared.data()),
                  0);
        sig.insert(sig.end(), shared.begin(), shared.end());
        return sig;
    });
}

TEST(Threads, RsaWithOneKey)
{
    rsa_gen_rnd = [](uint8_t *buf, uint32_t len) {
        const Bytes bytes = numbered(len, len, 7);
        std::copy(bytes.begin(), bytes.end(), buf);
        return 0;
    };
    rsa_keygen_ctx ctx;
    ASSERT_EQ(rsa_keygen_init(&ctx, 1024), 0);
    int status = 3;
    for (size_t i = 0; status == 3; i++) {
        Bytes random = numbered(i, 64, 8);
        random[0] |= 0xc0;
        status = rsa_keygen(&ctx, random.data(), 64);
    }
    ASSERT_EQ(status, 0);
    Bytes priv(400), pub(200);
    ASSERT_EQ(rsa_get_privkey(&ctx, priv.data(), 400), 0);
    ASSERT_EQ(rsa_get_pubkey(&ctx, pub.data(), 200), 0);
    expect_same_everywhere([&](size_t i) {
        const Bytes message = numbered(i, 128, 9);
        Bytes out(256);
        EXPECT_EQ(rsa_sign(out.data(), message.data(), 128, priv.data()), 0);
        EXPECT_EQ(rsa_verify(out.data(), message.data(), 128, pub.data()), 0);
        EXPECT_EQ(rsa_encrypt(out.data() + 128, out.data(), 128, pub.data()), 0);
        Bytes again(128);
        EXPECT_EQ(rsa_encrypt(again.data(), message.data(), 128, pub.data()), 0);
        EXPECT_EQ(rsa_decrypt(again.data(), again.data(), 128, priv.data()), 0);
        EXPECT_EQ(again, message);
        return out;
    });
}

TEST(Threads, HashesAndCiphers)
{
    const Bytes key = numbered(1, 32, 10), iv = numbered(1, 8, 11);
    g28147_ecb_ctx ecb;
    g28147_ecb_init_ext(&ecb, 1, key.data(), CryptoPro_uz);
    kuzn_ecb_ctx block;
    kuzn_ecb_init(&block, 1, key.data());
    kuzn_ctr_ctx begun;
    kuzn_ctr_init(&begun, iv.data(), key.data());
    g28147_ofb_ctx begun_gamma;
    g28147_ofb_init_ext(&begun_gamma, key.data(), iv.data(), CryptoPro_uz);
    g28147_cfb_ctx begun_feedback;
    g28147_cfb_init_ext(&begun_feedback, 1, key.data(), iv.data(), CryptoPro_uz);
    g28147_hmac_ctx begun_mac;
    g28147_hmac_init_ext(&begun_mac, key.data(), CryptoPro_uz);
    expect_same_everywhere([&](size_t i) {
        Bytes data = numbered(i, 1024 + i, 12), out(5000);
        streebog_ctx streebog;
        streebog512_init(&streebog);
        streebog512_update(&streebog, data.data(), data.size());
        streebog512_final(out.data(), &streebog);
        gr341194_md_ctx gost;
        gr341194_md_init_ext(&gost, CryptoPro_iv, CryptoPro_uz);
        gr341194_md_update(&gost, data.data(), data.size());
        gr341194_md_final(&gost, out.data() + 64);
        kuzn_ctr_ctx ctr = begun;
        kuzn_ctr_update(&ctr, data.data(), out.data() + 96, data.size());
        streebog256_init(&streebog);
        streebog256_update(&streebog, data.data(), data.size());
        streebog256_final(out.data() + 1200, &streebog);
        kuzn_ecb_update(&block, data.data(), out.data() + 1232, 16);
        g28147_ofb_ctx gamma = begun_gamma;
        g28147_ofb_update(&gamma, data.data(), out.data() + 1300, data.size());
        g28147_cfb_ctx feedback = begun_feedback;
        g28147_cfb_update(&feedback, data.data(), out.data() + 2400, data.size());
        g28147_hmac_ctx mac = begun_mac;
        g28147_hmac_update(&mac, data.data(), data.size());
        EXPECT_NE(g28147_hmac_final(&mac, out.data() + 3500), nullptr);
        g28147_ecb_update(&ecb, data.data(), data.data(), 1024);
        out.insert(out.end(), data.begin(), data.end());
        return out;
    });
}

// One modulus, one exponent and one table serve all of them; a divisor is never written.
TEST(Threads, Integers)
{
    const auto number = [](size_t i, size_t digits, uint8_t kind) {
        std::vector<qald> x(QALBIG_SIZE);
        const Bytes bytes = numbered(i, 8 * digits, kind);
        qalfrombase256(x.data(), bytes.data(), static_cast<uint32_t>(bytes.size()));
        x[1] |= 1;
        return x;
    };
    const std::vector<qald> p = number(1, 16, 13), e = number(2, 4, 14);
    expect_same_everywhere([&](size_t i) {
        const std::vector<qald> x = number(i, 15, 15), y = number(i, 31, 16);
        std::vector<qald> work(18 * QALBIG_SIZE), r(QALBIG_SIZE), q(QALBIG_SIZE);
        qalpowmod(work.data(), x.data(), e.data(), p.data(), r.data());
        Bytes out(512);
        const uint32_t written = qaltobase256(out.data(), 256, r.data());
        qaldiv(y.data(), p.data(), q.data(), r.data());
        qaltobase256(out.data() + written, 128, q.data());
        return out;
    });
}
