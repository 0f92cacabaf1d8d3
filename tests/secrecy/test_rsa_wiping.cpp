// What RSA leaves on the stack of its secrets.
#include "rsa/model.hpp"
#include "support/marked_stack.hpp"

#include <gtest/gtest.h>

#include <tuple>
#include <utility>

using namespace qal::test;

namespace {

// Numbers as they are in registers and in keys: least and most significant byte first.
void expect_wiped(const MarkedStack &stack, const mpz_class &secret, const char *what)
{
    const Bytes bytes = minimal_bytes(secret);
    EXPECT_FALSE(stack.holds(bytes)) << what;
    EXPECT_FALSE(stack.holds(reversed(bytes))) << what;
}

} // namespace

TEST(RsaWiping, PrivateOperation)
{
    Random random;
    MarkedStack stack;
    // Primes of different lengths take a way of their own.
    for (const auto &[p_bits, q_bits] : {std::pair<size_t, size_t>{256, 256},
                                         {512, 512},
                                         {576, 448},
                                         {448, 576},
                                         {768, 768},
                                         {1024, 1024}}) {
        SCOPED_TRACE(p_bits);
        const size_t bits = p_bits + q_bits;
        const ModelKey key = random_key(random, p_bits, q_bits);
        const Bytes blob = key.private_blob();
        Bytes m = random.bytes(bits / 8), out(bits / 8);
        m.front() = 0;
        stack.run([&] {
            std::ignore =
                rsa_sign(out.data(), m.data(), static_cast<int32_t>(m.size()), blob.data());
        });
        const mpz_class message = from_bytes(m), s = from_bytes(out);
        EXPECT_EQ(power(s, 65537, key.n), message);
        expect_wiped(stack, key.p, "p");
        expect_wiped(stack, key.q, "q");
        expect_wiped(stack, key.dp, "dP");
        expect_wiped(stack, key.dq, "dQ");
        expect_wiped(stack, key.qinv, "qInv");
        expect_wiped(stack, message % key.p, "m mod p");
        expect_wiped(stack, message % key.q, "m mod q");
        expect_wiped(stack, s % key.p, "s mod p");
        expect_wiped(stack, s % key.q, "s mod q");
        expect_wiped(stack, s / key.q, "h");
    }
}

// By itself, with a base that is reduced first.
TEST(RsaWiping, Power)
{
    Random random;
    MarkedStack stack;
    for (const size_t digits : {4U, 8U, 13U, 16U}) {
        SCOPED_TRACE(digits);
        const mpz_class m = from_bytes(random.bytes(8 * digits)) | 1,
                        e = from_bytes(random.bytes(8 * digits)),
                        x = from_bytes(random.bytes(16 * digits)) % (m << 64 * digits);
        Number base(x), exponent(e), modulus(m);
        qald result[QALBIG_SIZE];
        stack.run([&] { rsapowmod(base, exponent, modulus, result); });
        EXPECT_EQ(value_of(result), power(x, e, m));
        expect_wiped(stack, x, "x");
        expect_wiped(stack, e, "e");
        expect_wiped(stack, m, "m");
        expect_wiped(stack, x % m, "x mod m");
        expect_wiped(stack, (x << 64 * digits) % m, "x in Montgomery form");
        expect_wiped(stack, value_of(result), "the power");
    }
}

// Nothing of the key is secret, but the message is.
TEST(RsaWiping, Encryption)
{
    Random random;
    MarkedStack stack;
    for (const size_t bits : {512U, 1024U, 1536U, 2048U}) {
        SCOPED_TRACE(bits);
        const ModelKey key = random_key(random, bits / 2, bits / 2);
        const Bytes blob = key.public_blob();
        Bytes m = random.bytes(bits / 8), out(bits / 8);
        m.front() = 0;
        stack.run([&] {
            std::ignore =
                rsa_encrypt(out.data(), m.data(), static_cast<uint32_t>(m.size()), blob.data());
        });
        const mpz_class message = from_bytes(m);
        expect_wiped(stack, message, "m");
        expect_wiped(stack, (message << bits) % key.n, "m in Montgomery form");
    }
}

TEST(RsaWiping, KeyGeneration)
{
    Random random;
    MarkedStack stack;
    const InstalledGenerator installed(PoolGenerator(3));
    for (const uint32_t bits : {512U, 512U, 512U, 512U, 512U, 512U, 1024U, 1024U, 1536U}) {
        SCOPED_TRACE(bits);
        rsa_keygen_ctx ctx;
        ASSERT_EQ(rsa_keygen_init(&ctx, bits), RSA_OK);
        int status = 3;
        while (status == 3) {
            const Bytes start = random.bytes(bits / 16);
            stack.run([&] { status = rsa_keygen(&ctx, start.data(), bits / 16); });
            EXPECT_FALSE(stack.holds(start));
            if (ctx.p[0] != 0)
                expect_wiped(stack, value_of(ctx.p), "p");
        }
        ASSERT_EQ(status, 0);
        const mpz_class p = value_of(ctx.p), q = value_of(ctx.q);
        const mpz_class lambda = lcm(mpz_class(p - 1), mpz_class(q - 1));
        expect_wiped(stack, q, "q");
        expect_wiped(stack, p - 1, "p - 1");
        expect_wiped(stack, q - 1, "q - 1");
        expect_wiped(stack, lambda, "lambda");
        expect_wiped(stack, inverse(65537, lambda), "d");
        expect_wiped(stack, value_of(ctx.dP), "dP");
        expect_wiped(stack, value_of(ctx.dQ), "dQ");
        expect_wiped(stack, value_of(ctx.qInv), "qInv");
    }
}
