// Key parameters, the making of keys and their export, against a plain model.
#include "rsa/model.hpp"

#include <gtest/gtest.h>

using namespace qal::test;

namespace {

constexpr uint32_t none = 0xffffffff;
constexpr uint32_t sizes[] = {512, 1024, 1536, 2048};

// Random bytes whose number leads to a prime right away: the prime itself.
Bytes bytes_of_prime(Random &random, uint32_t bits)
{
    return to_bytes(random_prime(random, bits / 2), bits / 16);
}

void expect_same_key(const rsa_keygen_ctx &ctx, const ModelKey &key)
{
    EXPECT_EQ(value_of(ctx.p), key.p);
    EXPECT_EQ(value_of(ctx.q), key.q);
    EXPECT_EQ(value_of(ctx.dP), key.dp);
    EXPECT_EQ(value_of(ctx.dQ), key.dq);
    EXPECT_EQ(value_of(ctx.qInv), key.qinv);
    EXPECT_EQ(ctx.bits, key.bits);
}

} // namespace

TEST(ModulusSize, Permitted)
{
    for (uint32_t bits = 0; bits < 5000; bits++)
        ASSERT_EQ(rsa_is_prermitted_modsize(bits),
                  bits == 512 || bits == 1024 || bits == 1536 || bits == 2048)
            << bits;
    EXPECT_EQ(rsa_is_prermitted_modsize(0x80000200), 0u);
    EXPECT_EQ(rsa_is_prermitted_modsize(~0u), 0u);
}

TEST(Parameter, LoadAndSave)
{
    Random random;
    for (size_t size = 0; size <= 256; size++) {
        for (const size_t zeros : {size_t{0}, size / 3, size}) {
            Bytes value = random.bytes(size);
            std::fill(value.begin(), value.begin() + static_cast<long>(zeros), uint8_t{0});
            GuardedBytes source(parameter(value));
            Number x(0, (size + 7) / 8);
            ASSERT_EQ(load_rsa_key_prm(x, source.data()), size + 2);
            ASSERT_EQ(value_of(x), from_bytes(value));
            ASSERT_TRUE(is_normalised(x));

            const Bytes expected = parameter(from_bytes(value));
            MarkedBytes out(expected.size());
            ASSERT_EQ(save_rsa_key_prm(out.data(), x), expected.size());
            ASSERT_EQ(out.contents(), expected);
        }
    }
}

TEST(Parameter, TooLong)
{
    for (const size_t length : {size_t{257}, size_t{258}, size_t{0x0200}, size_t{0xffff}}) {
        // Nothing behind the length is looked at.
        GuardedBytes source(Bytes{static_cast<uint8_t>(length >> 8), static_cast<uint8_t>(length)});
        Number x(77);
        EXPECT_EQ(load_rsa_key_prm(x, source.data()), none);
        EXPECT_EQ(value_of(x), 77);
    }
    for (const size_t bytes : {size_t{257}, size_t{300}, size_t{1040}}) {
        Number x(mpz_class(1) << (8 * bytes - 1));
        MarkedBytes out(2);
        EXPECT_EQ(save_rsa_key_prm(out.data(), x), none);
        EXPECT_EQ(out.contents(),
                  (Bytes{static_cast<uint8_t>(bytes >> 8), static_cast<uint8_t>(bytes)}));
    }
}

TEST(KeyGeneration, Begin)
{
    for (const uint32_t bits : sizes) {
        rsa_keygen_ctx ctx, zeros;
        std::memset(&ctx, 0xa5, sizeof ctx);
        std::memset(&zeros, 0, sizeof zeros);
        zeros.bits = bits;
        EXPECT_EQ(rsa_keygen_init(&ctx, bits), 0);
        EXPECT_EQ(std::memcmp(&ctx, &zeros, sizeof ctx), 0);
    }
    for (const uint32_t bits : {0u, 511u, 513u, 768u, 3072u, 4096u}) {
        rsa_keygen_ctx ctx, before;
        std::memset(&ctx, 0xa5, sizeof ctx);
        before = ctx;
        EXPECT_EQ(rsa_keygen_init(&ctx, bits), 1);
        EXPECT_EQ(std::memcmp(&ctx, &before, sizeof ctx), 0);
    }
    EXPECT_EQ(rsa_keygen_init(nullptr, 512), 2);
    EXPECT_EQ(rsa_keygen_init(nullptr, 513), 2);
}

// Whole keys from given bytes and a given generator, step by step.
TEST(KeyGeneration, AgainstModel)
{
    Random random;
    for (const uint32_t bits : sizes) {
        for (int repeat = 0; repeat < (bits == 512 ? 6 : bits == 1024 ? 3 : 1); repeat++) {
            PoolGenerator generator(random.word());
            const InstalledGenerator installed(generator);
            ModelKey key{bits, {}, {}, {}, {}, {}, {}, {}};
            rsa_keygen_ctx ctx;
            ASSERT_EQ(rsa_keygen_init(&ctx, bits), 0);
            int expected = 3;
            for (int step = 0; expected != 0; step++) {
                ASSERT_LT(step, 40);
                Bytes rnd = random.bytes(bits / 16);
                if (step % 3 != 2)
                    rnd.front() |= 0xc0;
                GuardedBytes given(rnd);
                given.make_read_only();
                expected = key.step(generator, rnd);
                ASSERT_EQ(rsa_keygen(&ctx, given.data(), bits / 16), expected);
                ASSERT_EQ(InstalledGenerator::calls(), generator.calls);
                ASSERT_EQ(value_of(ctx.p), key.p);
            }
            expect_same_key(ctx, key);

            // What is exported, with exactly the room that is asked for.
            const Bytes blob = key.private_blob();
            const uint32_t room = 5 * (bits / 16) + 10;
            MarkedBytes out(room);
            EXPECT_EQ(rsa_get_privkey(&ctx, out.data(), room - 1), 5);
            EXPECT_EQ(rsa_get_privkey(&ctx, out.data(), room), 0);
            Bytes written = out.contents();
            written.resize(blob.size());
            EXPECT_EQ(written, blob);
            MarkedBytes public_out(bits / 8 + 7);
            EXPECT_EQ(rsa_get_pubkey(&ctx, public_out.data(), bits / 8 + 6), 5);
            EXPECT_EQ(rsa_get_pubkey(&ctx, public_out.data(), bits / 8 + 7), 0);
            EXPECT_EQ(public_out.contents(), key.public_blob());
        }
    }
}

TEST(KeyGeneration, StatusCodesInOrder)
{
    Random random;
    const InstalledGenerator installed(PoolGenerator(1));
    Bytes rnd = bytes_of_prime(random, 512);
    rsa_keygen_ctx ctx;
    ASSERT_EQ(rsa_keygen_init(&ctx, 512), 0);
    uint8_t out[2 * 256];
    EXPECT_EQ(rsa_get_privkey(&ctx, out, sizeof out), 2);
    EXPECT_EQ(rsa_get_pubkey(&ctx, out, sizeof out), 2);
    EXPECT_EQ(rsa_keygen(nullptr, rnd.data(), 0), 2);
    ctx.bits = 513;
    EXPECT_EQ(rsa_keygen(&ctx, nullptr, 0), 1);
    ctx.bits = 512;
    EXPECT_EQ(rsa_keygen(&ctx, nullptr, 31), 4);
    EXPECT_EQ(rsa_keygen(&ctx, rnd.data(), 31), 4);
    EXPECT_EQ(rsa_keygen(&ctx, nullptr, 32), 2);
    EXPECT_EQ(ctx.p[0], 0u);
    EXPECT_EQ(InstalledGenerator::calls(), 0u);

    // More bytes than needed are not read.
    GuardedBytes given(rnd);
    EXPECT_EQ(rsa_keygen(&ctx, given.data(), 1000), 3);
    EXPECT_EQ(value_of(ctx.p), from_bytes(rnd));
    // The same prime again.
    EXPECT_EQ(rsa_keygen(&ctx, given.data(), 32), 3);
    EXPECT_EQ(ctx.q[0], 0u);

    EXPECT_EQ(rsa_get_privkey(&ctx, out, sizeof out), 2);
    EXPECT_EQ(rsa_get_pubkey(&ctx, out, sizeof out), 2);
    EXPECT_EQ(rsa_get_privkey(nullptr, out, 0), 2);
    EXPECT_EQ(rsa_get_pubkey(nullptr, out, 0), 2);
    EXPECT_EQ(rsa_get_privkey(&ctx, nullptr, sizeof out), 2);
    EXPECT_EQ(rsa_get_pubkey(&ctx, nullptr, sizeof out), 2);
    ctx.bits = 100;
    EXPECT_EQ(rsa_get_privkey(&ctx, out, 0), 1);
    EXPECT_EQ(rsa_get_pubkey(&ctx, out, 0), 1);
}

// No prime of 1024 bits is as large as the largest number that has as many.
TEST(KeyGeneration, NoPrimeBehindTheLargestNumber)
{
    const InstalledGenerator installed(PoolGenerator(1));
    const Bytes rnd(128, 0xff);
    rsa_keygen_ctx ctx;
    ASSERT_EQ(rsa_keygen_init(&ctx, 2048), 0);
    EXPECT_EQ(rsa_keygen(&ctx, rnd.data(), 128), 3);
    EXPECT_EQ(ctx.p[0], 0u);
}

// p is the larger one, whichever comes first; a complete key takes part in the next step as p
// alone.
TEST(KeyGeneration, OrderOfPrimes)
{
    Random random;
    const InstalledGenerator installed(PoolGenerator(1));
    std::vector<mpz_class> primes(3);
    for (mpz_class &prime : primes)
        prime = random_prime(random, 256);
    std::sort(primes.begin(), primes.end());
    do {
        rsa_keygen_ctx ctx;
        EXPECT_EQ(rsa_keygen_init(&ctx, 512), RSA_OK);
        ModelKey key{512, {}, {}, {}, {}, {}, {}, {}};
        PoolGenerator generator(2);
        for (size_t i = 0; i < 3; i++) {
            const Bytes rnd = to_bytes(primes[i], 32);
            EXPECT_EQ(rsa_keygen(&ctx, rnd.data(), 32), i == 0 ? 3 : 0);
            EXPECT_EQ(key.step(generator, rnd), i == 0 ? 3 : 0);
            EXPECT_EQ(value_of(ctx.p), key.p);
            EXPECT_EQ(value_of(ctx.q), key.q);
        }
        expect_same_key(ctx, key);
    } while (std::next_permutation(primes.begin(), primes.end()));
}

// What is made of the random bytes before the search.
TEST(KeyGeneration, Starts)
{
    Random random;
    for (Bytes rnd :
         {Bytes(32, 0), Bytes(32, 0xff), joined({Bytes(31, 0), {1}}), joined({Bytes(31, 0), {2}}),
          joined({{0x7f}, Bytes(31, 0xff)}), joined({{0x80}, Bytes(31, 0)}),
          joined({Bytes(16, 0xff), Bytes(16, 0)}), joined({Bytes(1, 0), random.bytes(31)})}) {
        PoolGenerator generator(random.word());
        const InstalledGenerator installed(generator);
        ModelKey key{512, {}, {}, {}, {}, {}, {}, {}};
        rsa_keygen_ctx ctx;
        EXPECT_EQ(rsa_keygen_init(&ctx, 512), RSA_OK);
        EXPECT_EQ(rsa_keygen(&ctx, rnd.data(), 32), key.step(generator, rnd));
        EXPECT_EQ(value_of(ctx.p), key.p);
        EXPECT_EQ(InstalledGenerator::calls(), generator.calls);
    }
}

// A prime that leaves 1 by 65537 is of no use.
TEST(KeyGeneration, RefusesUnfitPrimes)
{
    Random random;
    const InstalledGenerator installed(PoolGenerator(1));
    mpz_class bad = random_prime(random, 256) / 131074 * 131074 + 1;
    while (mpz_probab_prime_p(bad.get_mpz_t(), 30) == 0)
        bad -= 131074;
    rsa_keygen_ctx ctx;
    EXPECT_EQ(rsa_keygen_init(&ctx, 512), RSA_OK);
    EXPECT_EQ(rsa_keygen(&ctx, to_bytes(bad, 32).data(), 32), 3);
    EXPECT_EQ(ctx.p[0], 0u);
}

TEST(KeyGeneration, CrtParameters)
{
    Random random;
    for (int repeat = 0; repeat < 40; repeat++) {
        const uint32_t bits = sizes[random.below(4)];
        const ModelKey key = random_key(random, bits / 2, bits / 2);
        rsa_keygen_ctx ctx;
        EXPECT_EQ(rsa_keygen_init(&ctx, bits), RSA_OK);
        const Number p(key.p), q(key.q);
        qalcopy(ctx.p, const_cast<Number &>(p));
        qalcopy(ctx.q, const_cast<Number &>(q));
        rsa_gen_crt(&ctx);
        expect_same_key(ctx, key);
    }
}
