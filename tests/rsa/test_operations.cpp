// The private and the public operation, against GMP and OpenSSL.
#include "rsa/model.hpp"

#include <gtest/gtest.h>

#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/rsa.h>

using namespace qal::test;

namespace {

constexpr size_t sizes[] = {512, 1024, 1536, 2048};

// Keys are expensive: some of each size, with primes of equal lengths.
const std::vector<ModelKey> &keys()
{
    static const std::vector<ModelKey> made = [] {
        Random random;
        std::vector<ModelKey> list;
        for (const size_t bits : sizes) {
            for (int i = 0; i < 3; i++)
                list.push_back(random_key(random, bits / 2, bits / 2));
        }
        return list;
    }();
    return made;
}

// m^d mod n without the theorem.
Bytes model_private(const ModelKey &key, const Bytes &m)
{
    return to_bytes(power(from_bytes(m) % key.n, key.d, key.n), key.bits / 8);
}

mpz_class reversed_bits(const mpz_class &e)
{
    mpz_class r = 0;
    for (size_t i = 0; i < bits_of(e); i++)
        r = 2 * r + (mpz_tstbit(e.get_mpz_t(), i) ? 1 : 0);
    return r;
}

Bytes sign(const Bytes &m, const Bytes &blob, size_t size, int expected = 0)
{
    GuardedBytes key(blob), message(m);
    key.make_read_only();
    message.make_read_only();
    MarkedBytes out(size);
    EXPECT_EQ(rsa_sign(out.data(), message.data(), static_cast<int32_t>(m.size()), key.data()),
              expected);
    return out.contents();
}

Bytes encrypt(const Bytes &m, const Bytes &blob, size_t size, int expected = 0)
{
    GuardedBytes key(blob), message(m);
    key.make_read_only();
    message.make_read_only();
    MarkedBytes out(size);
    EXPECT_EQ(rsa_encrypt(out.data(), message.data(), static_cast<uint32_t>(m.size()), key.data()),
              expected);
    return out.contents();
}

int verify(const Bytes &sig, const Bytes &m, const Bytes &blob)
{
    GuardedBytes key(blob), message(m), signature(sig);
    return rsa_verify(signature.data(), message.data(), static_cast<uint32_t>(m.size()),
                      key.data());
}

// Numbers at which reductions go wrong.
std::vector<Bytes> messages(Random &random, const ModelKey &key)
{
    const size_t size = key.bits / 8;
    std::vector<Bytes> list = {{},
                               {0},
                               {1},
                               {2},
                               Bytes(size, 0),
                               Bytes(size, 0xff),
                               Bytes(size / 2, 0xff),
                               to_bytes(key.p, size),
                               to_bytes(key.q, size),
                               to_bytes(key.n - 1, size),
                               to_bytes(key.n, size),
                               to_bytes(key.p * ((mpz_class(1) << key.bits / 2) - 1), size),
                               to_bytes(key.p << key.bits / 2, size),
                               to_bytes(key.q << key.bits / 2, size),
                               to_bytes((key.p << key.bits / 2) - 1, size),
                               to_bytes((key.q << key.bits / 2) - 1, size)};
    if (bits_of(key.n + 1) <= key.bits)
        list.push_back(to_bytes(key.n + 1, size));
    for (size_t length = size; length > 0; length -= 1 + random.below(20) % length) {
        list.push_back(random.bytes(length));
        list.push_back(random.runs(length));
    }
    return list;
}

struct Deleter {
    void operator()(EVP_PKEY *key) const { EVP_PKEY_free(key); }
    void operator()(EVP_PKEY_CTX *ctx) const { EVP_PKEY_CTX_free(ctx); }
    void operator()(OSSL_PARAM_BLD *builder) const { OSSL_PARAM_BLD_free(builder); }
    void operator()(OSSL_PARAM *params) const { OSSL_PARAM_free(params); }
};
template<class T>
using Owned = std::unique_ptr<T, Deleter>;

Owned<EVP_PKEY> openssl_key(const ModelKey &key)
{
    std::vector<BIGNUM *> numbers;
    Owned<OSSL_PARAM_BLD> builder(OSSL_PARAM_BLD_new());
    const auto push = [&](const char *name, const mpz_class &value) {
        const Bytes bytes = minimal_bytes(value);
        numbers.push_back(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
        EXPECT_EQ(OSSL_PARAM_BLD_push_BN(builder.get(), name, numbers.back()), 1);
    };
    push(OSSL_PKEY_PARAM_RSA_N, key.n);
    push(OSSL_PKEY_PARAM_RSA_E, 65537);
    push(OSSL_PKEY_PARAM_RSA_D, key.d);
    push(OSSL_PKEY_PARAM_RSA_FACTOR1, key.p);
    push(OSSL_PKEY_PARAM_RSA_FACTOR2, key.q);
    push(OSSL_PKEY_PARAM_RSA_EXPONENT1, key.dp);
    push(OSSL_PKEY_PARAM_RSA_EXPONENT2, key.dq);
    push(OSSL_PKEY_PARAM_RSA_COEFFICIENT1, key.qinv);
    Owned<OSSL_PARAM> params(OSSL_PARAM_BLD_to_param(builder.get()));
    Owned<EVP_PKEY_CTX> ctx(EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr));
    EVP_PKEY *result = nullptr;
    EXPECT_EQ(EVP_PKEY_fromdata_init(ctx.get()), 1);
    EXPECT_EQ(EVP_PKEY_fromdata(ctx.get(), &result, EVP_PKEY_KEYPAIR, params.get()), 1);
    for (BIGNUM *number : numbers)
        BN_free(number);
    return Owned<EVP_PKEY>(result);
}

using Operation = int(EVP_PKEY_CTX *, unsigned char *, size_t *, const unsigned char *, size_t);

Bytes openssl_raw(EVP_PKEY *key, int (*init)(EVP_PKEY_CTX *), Operation *run, const Bytes &m)
{
    Owned<EVP_PKEY_CTX> ctx(EVP_PKEY_CTX_new(key, nullptr));
    EXPECT_EQ(init(ctx.get()), 1);
    EXPECT_EQ(EVP_PKEY_CTX_set_rsa_padding(ctx.get(), RSA_NO_PADDING), 1);
    size_t size = m.size();
    Bytes out(size);
    EXPECT_EQ(run(ctx.get(), out.data(), &size, m.data(), m.size()), 1);
    out.resize(size);
    return out;
}

} // namespace

TEST(RsaOperations, PrivateAgainstGmp)
{
    Random random;
    for (const ModelKey &key : keys()) {
        const Bytes blob = key.private_blob();
        for (const Bytes &m : messages(random, key)) {
            const Bytes expected = model_private(key, m);
            ASSERT_EQ(sign(m, blob, key.bits / 8), expected) << key.bits << " " << to_hex(m);
            Bytes in_place = m;
            in_place.resize(key.bits / 8);
            ASSERT_EQ(rsa_decrypt(in_place.data(), in_place.data(), static_cast<int32_t>(m.size()),
                                  blob.data()),
                      0);
            ASSERT_EQ(in_place, expected);
        }
    }
}

TEST(RsaOperations, PublicAgainstGmp)
{
    Random random;
    for (const ModelKey &key : keys()) {
        const Bytes blob = key.public_blob();
        for (const Bytes &m : messages(random, key)) {
            if (m.empty())
                continue;
            const Bytes expected = to_bytes(power(from_bytes(m), 65537, key.n), key.bits / 8);
            ASSERT_EQ(encrypt(m, blob, key.bits / 8), expected) << key.bits << " " << to_hex(m);
            Bytes in_place = m;
            in_place.resize(key.bits / 8);
            ASSERT_EQ(rsa_encrypt(in_place.data(), in_place.data(), static_cast<uint32_t>(m.size()),
                                  blob.data()),
                      0);
            ASSERT_EQ(in_place, expected);
        }
    }
}

TEST(RsaOperations, AgainstOpenssl)
{
    Random random;
    for (const ModelKey &key : keys()) {
        const Owned<EVP_PKEY> peer = openssl_key(key);
        for (int repeat = 0; repeat < 10; repeat++) {
            const Bytes m = to_bytes(from_bytes(random.bytes(key.bits / 8)) % key.n, key.bits / 8);
            EXPECT_EQ(sign(m, key.private_blob(), m.size()),
                      openssl_raw(peer.get(), EVP_PKEY_decrypt_init, EVP_PKEY_decrypt, m));
            EXPECT_EQ(encrypt(m, key.public_blob(), m.size()),
                      openssl_raw(peer.get(), EVP_PKEY_encrypt_init, EVP_PKEY_encrypt, m));
        }
    }
}

TEST(RsaOperations, RoundTrips)
{
    Random random;
    for (const ModelKey &key : keys()) {
        const size_t size = key.bits / 8;
        const Bytes m = to_bytes(from_bytes(random.bytes(size)) % key.n, size);
        const Bytes signature = sign(m, key.private_blob(), size);
        EXPECT_EQ(verify(signature, m, key.public_blob()), 0);
        EXPECT_EQ(sign(encrypt(m, key.public_blob(), size), key.private_blob(), size), m);
        for (int repeat = 0; repeat < 20; repeat++) {
            Bytes other = m, bad = signature;
            other[random.below(size)] ^= static_cast<uint8_t>(1u << random.below(8));
            bad[random.below(size)] ^= static_cast<uint8_t>(1u << random.below(8));
            EXPECT_EQ(verify(signature, other, key.public_blob()), 6);
            EXPECT_EQ(verify(bad, m, key.public_blob()), 6);
        }
    }
}

// Signature and message count modulo n, and a message may have any length.
TEST(RsaOperations, VerifyReduces)
{
    Random random;
    for (const ModelKey &key : keys()) {
        const size_t size = key.bits / 8;
        const mpz_class m = from_bytes(random.bytes(size)) % key.n;
        const Bytes signature = sign(to_bytes(m, size), key.private_blob(), size);
        const Bytes blob = key.public_blob();
        EXPECT_EQ(verify(signature, minimal_bytes(m + key.n), blob), 0);
        EXPECT_EQ(verify(signature, minimal_bytes(m + key.n + 1), blob), 6);
        for (const size_t length :
             std::vector<size_t>{size + 1, 2 * size - 1, 2 * size, 3 * size + 5, size_t{1040},
                                 size_t{1041}, size_t{5000}}) {
            const mpz_class quotient = from_bytes(random.bytes(length - size));
            const mpz_class longer = m + quotient / 256 * key.n;
            EXPECT_EQ(verify(signature, to_bytes(longer, length), blob), 0) << length;
            EXPECT_EQ(verify(signature, to_bytes(longer + 1, length), blob), 6) << length;
        }
        mpz_class large = from_bytes(signature) + key.n;
        if (bits_of(large) <= key.bits) {
            EXPECT_EQ(verify(to_bytes(large, size), to_bytes(m, size), blob), 0);
        }
        // No message is the number 0, whose signature is 0.
        EXPECT_EQ(verify(Bytes(size, 0), {}, blob), 0);
        EXPECT_EQ(verify(to_bytes(key.n, size), {}, blob), 0);
        EXPECT_EQ(verify(signature, {}, blob), 6);
    }
}

// The exponent counts with its bits in reverse.
TEST(RsaOperations, ExponentsAreReversed)
{
    Random random;
    for (const ModelKey &key : keys()) {
        const size_t size = key.bits / 8;
        std::vector<mpz_class> exponents = {0, 1, 2, 3, 4, 5, 6, 12, 37, 65536, 65537, 0x13579};
        for (const size_t bytes : std::vector<size_t>{8, 9, 64, 256})
            exponents.push_back(from_bytes(random.bytes(bytes)));
        exponents.push_back(mpz_class(1) << 2047);
        for (const mpz_class &e : exponents) {
            const Bytes exponent = e == 0 ? Bytes{0} : minimal_bytes(e);
            const Bytes blob = joined({parameter(key.n), parameter(exponent)});
            const Bytes m = random.bytes(size);
            const mpz_class expected = power(from_bytes(m), reversed_bits(e), key.n);
            ASSERT_EQ(encrypt(m, blob, size), to_bytes(expected, size)) << e;
            ASSERT_EQ(verify(m, to_bytes(expected, size), blob), 0) << e;
            ASSERT_EQ(verify(m, to_bytes(expected + 1, size + 1), blob), 6) << e;
        }
    }
}

// Any odd n of fitting length, prime or not, with zeros before it.
TEST(RsaOperations, ModuliOfAllLengths)
{
    Random random;
    for (size_t bits = 490; bits <= 2056; bits += bits % 512 == 20 ? 470U : 1U) {
        const size_t rounded = (bits + 7) / 8 * 8;
        mpz_class n = from_bytes(random.bytes(257));
        mpz_fdiv_r_2exp(n.get_mpz_t(), n.get_mpz_t(), bits);
        mpz_setbit(n.get_mpz_t(), bits - 1);
        n |= 1;
        Bytes value = minimal_bytes(n);
        if (value.size() < 256 && random.below(2))
            value.insert(value.begin(), random.below(257 - value.size()), 0);
        const Bytes blob = joined({parameter(value), {0, 3, 1, 0, 1}});
        const Bytes m = random.bytes(rounded / 8);
        const bool permitted =
            rounded == 512 || rounded == 1024 || rounded == 1536 || rounded == 2048;
        if (value.size() > 256) {
            encrypt(m, blob, rounded / 8, 2);
        } else if (!permitted) {
            encrypt(m, blob, rounded / 8, 1);
            EXPECT_EQ(verify(m, m, blob), 1);
        } else {
            const mpz_class expected = power(from_bytes(m), 65537, n);
            ASSERT_EQ(encrypt(m, blob, rounded / 8), to_bytes(expected, rounded / 8)) << bits;
            ASSERT_EQ(verify(m, minimal_bytes(expected), blob), 0);
        }
    }
}

// Keys that rsa_keygen() would not make: primes of different lengths, the smaller one first,
// exponents and inverses that are not reduced, zeros before the values.
TEST(RsaOperations, UnusualPrivateKeys)
{
    Random random;
    struct Lengths {
        size_t p, q;
    };
    for (const auto &[p_bits, q_bits] :
         {Lengths{257, 255}, Lengths{255, 257}, Lengths{300, 212}, Lengths{212, 300},
          Lengths{320, 192}, Lengths{510, 514}, Lengths{513, 511}, Lengths{505, 519},
          Lengths{1023, 1}, Lengths{1000, 24}, Lengths{768, 768}, Lengths{1024, 512},
          Lengths{512, 1024}, Lengths{700, 836}, Lengths{1024, 1024}, Lengths{256, 256},
          Lengths{1, 511}, Lengths{193, 319}}) {
        for (int repeat = 0; repeat < 12; repeat++) {
            const size_t bits = p_bits + q_bits, size = bits / 8;
            // Odd numbers serve as well as primes: the steps are what they are.
            mpz_class p = from_bytes(random.runs(128)), q = from_bytes(random.bytes(128));
            for (auto &[x, length] : {std::pair<mpz_class &, size_t>(p, p_bits), {q, q_bits}}) {
                mpz_fdiv_r_2exp(x.get_mpz_t(), x.get_mpz_t(), length);
                mpz_setbit(x.get_mpz_t(), length - 1);
                x |= 1;
            }
            const auto some = [&] {
                const mpz_class x = from_bytes(random.bytes(1 + random.below(128)));
                return random.below(2) ? x : mpz_class(x % p);
            };
            const mpz_class dp = some(), dq = some(), qinv = some();
            const auto padded = [&](const mpz_class &x) {
                Bytes value = minimal_bytes(x);
                if (value.empty() || (value.size() < 128 && random.below(3) == 0))
                    value.insert(value.begin(), 1 + random.below(128 - value.size()), 0);
                return parameter(value);
            };
            const Bytes blob = joined({padded(p), padded(q), padded(dp), padded(dq), padded(qinv)});
            const Bytes m = random.below(4) ? random.bytes(size) : Bytes(size, 0xff);
            const mpz_class s1 = power(from_bytes(m), dp, p), s2 = power(from_bytes(m), dq, q);
            mpz_class h = (s1 - s2) * qinv % p;
            if (h < 0)
                h += p;
            ASSERT_EQ(sign(m, blob, size), to_bytes(s2 + h * q, size)) << p_bits << "+" << q_bits;
        }
    }
}

TEST(RsaOperations, PrivateStatusCodes)
{
    const ModelKey &key = keys().front();
    const Bytes blob = key.private_blob(), m(64, 1);
    uint8_t out[64];
    EXPECT_EQ(rsa_sign(nullptr, m.data(), 64, blob.data()), 2);
    EXPECT_EQ(rsa_sign(out, nullptr, 64, blob.data()), 2);
    EXPECT_EQ(rsa_sign(out, m.data(), 64, nullptr), 2);
    EXPECT_EQ(rsa_decrypt(out, m.data(), 64, nullptr), 2);
    EXPECT_EQ(rsa_sign(out, m.data(), 65, blob.data()), 2);
    EXPECT_EQ(rsa_sign(out, m.data(), -1, blob.data()), 2);
    EXPECT_EQ(rsa_sign(out, m.data(), INT32_MIN, blob.data()), 2);
    EXPECT_EQ(rsa_sign(out, m.data(), 0, blob.data()), 0);
    EXPECT_EQ(Bytes(out, out + 64), Bytes(64, 0));
}

// Each parameter in turn is empty, too long, or too long by far, at the end of what may be read;
// then sizes, then messages. Nothing is written.
TEST(RsaOperations, MalformedPrivateKeys)
{
    const ModelKey &key = keys().front();
    const std::vector<mpz_class> values = {key.p, key.q, key.dp, key.dq, key.qinv};
    for (size_t bad = 0; bad < values.size(); bad++) {
        std::vector<Bytes> before;
        for (size_t i = 0; i < bad; i++)
            before.push_back(parameter(values[i]));
        for (const size_t length : std::vector<size_t>{0, 129, 256, 257, 300, 0xffff}) {
            std::vector<Bytes> parts = before;
            // Only the length is there.
            parts.push_back({static_cast<uint8_t>(length >> 8), static_cast<uint8_t>(length)});
            EXPECT_EQ(sign(Bytes(64, 1), joined(parts), 64, 2), MarkedBytes(64).contents());
            EXPECT_EQ(sign(Bytes(65, 1), joined(parts), 64, 2), MarkedBytes(64).contents());
        }
    }
    const auto blob = [](const mpz_class &p, const mpz_class &q) {
        return joined({parameter(p == 0 ? Bytes{0} : minimal_bytes(p)),
                       parameter(q == 0 ? Bytes{0} : minimal_bytes(q)), parameter(3), parameter(3),
                       parameter(3)});
    };
    // Even and zero before the size, the size before the message.
    EXPECT_EQ(sign(Bytes(64, 1), blob(0, key.q), 64, 2), MarkedBytes(64).contents());
    sign(Bytes(64, 1), blob(key.p, 0), 64, 2);
    sign(Bytes(64, 1), blob(0, 0), 64, 2);
    sign(Bytes(64, 1), blob(key.p - 1, key.q), 64, 2);
    sign(Bytes(64, 1), blob(key.p, key.q - 1), 64, 2);
    sign(Bytes(64, 1), blob(key.p * 2, key.q), 64, 2);
    sign(Bytes(64, 1), blob(key.p * 2 + 1, key.q), 64, 1);
    sign(Bytes(64, 1), blob(key.p, key.q / 4 * 2 + 1), 64, 1);
    sign(Bytes(300, 1), blob(key.p, key.q / 4 * 2 + 1), 64, 1);
    sign(Bytes(65, 1), blob(key.p, key.q), 64, 2);
    // 3072 bits do not fit into the parameters' lengths; 2048 are the most.
    const mpz_class odd = (mpz_class(1) << 1023) + 1;
    sign(Bytes(1, 1), blob(odd, odd), 256, 0);
}

TEST(RsaOperations, MalformedPublicKeys)
{
    const ModelKey &key = keys().front();
    const Bytes e = {0, 3, 1, 0, 1}, m(64, 1);
    const auto both = [&](const Bytes &blob, const Bytes &message, int code, int verify_code) {
        EXPECT_EQ(encrypt(message, blob, 64, code), MarkedBytes(64).contents());
        EXPECT_EQ(verify(Bytes(64, 1), message, blob), verify_code);
    };
    for (const size_t length : std::vector<size_t>{0, 257, 300, 0xffff}) {
        const Bytes bad = {static_cast<uint8_t>(length >> 8), static_cast<uint8_t>(length)};
        both(bad, m, 2, 2);
        both(joined({parameter(key.n), bad}), m, 2, 2);
        both(joined({parameter(key.n), bad}), {}, 2, 2);
        // The size comes before the exponent.
        both(joined({parameter(key.n * 256 + 1), bad}), m, 1, 1);
    }
    both(joined({parameter(Bytes{0}), e}), m, 2, 2);
    both(joined({parameter(Bytes(256, 0)), e}), m, 2, 2);
    both(joined({parameter(key.n - 1), e}), m, 2, 2);
    both(joined({parameter(Bytes{1}), e}), m, 1, 1);
    both(joined({parameter(key.n / 512 * 2 + 1), e}), m, 1, 1);
    encrypt({}, joined({parameter(key.n), e}), 64, 7);
    encrypt(Bytes(65, 1), joined({parameter(key.n), e}), 64, 7);

    const Bytes blob = key.public_blob();
    uint8_t out[64];
    EXPECT_EQ(rsa_encrypt(nullptr, m.data(), 64, blob.data()), 2);
    EXPECT_EQ(rsa_encrypt(out, nullptr, 64, blob.data()), 2);
    EXPECT_EQ(rsa_encrypt(out, m.data(), 64, nullptr), 2);
    EXPECT_EQ(rsa_encrypt(out, m.data(), 0xffffffff, blob.data()), 7);
    EXPECT_EQ(rsa_verify(nullptr, m.data(), 64, blob.data()), 2);
    EXPECT_EQ(rsa_verify(m.data(), nullptr, 64, blob.data()), 2);
    EXPECT_EQ(rsa_verify(m.data(), m.data(), 64, nullptr), 2);
}
