// RSA: the private and the public operation without padding; candidates for primes, each of which
// has passed a sieve and is composite, as nearly all are; whole keys.
//
// Other libraries take part with their keys set up, as they are used, and for as long as the
// program runs; what they do besides (blinding, checking the result) is switched off where they
// offer that.
#include "support/peers.hpp"
#include "support/workload.hpp"

#include <qal/rsa.h>

#if QAL_BENCH_CRYPTO
#include <openssl/bn.h>
#include <openssl/rsa.h>
#endif
#if QAL_BENCH_GCRYPT
#include <gcrypt.h>
#endif
#if QAL_BENCH_HOGWEED && QAL_BENCH_GMP
#include <gmp.h>
#include <nettle/rsa.h>
// A macro for a function of its own, and the name of one of ours.
#undef rsa_encrypt
#endif
#if QAL_BENCH_BOTAN
#include <botan/auto_rng.h>
#include <botan/numthry.h>
#include <botan/pubkey.h>
#include <botan/rsa.h>
#endif
#if QAL_BENCH_CRYPTOPP
#include <cryptopp/nbtheory.h>
#include <cryptopp/osrng.h>
#include <cryptopp/rsa.h>
#endif

#include <algorithm>
#include <array>
#include <memory>
#include <random>

using namespace qal::bench;

namespace {

int generate(uint8_t *buf, uint32_t len)
{
    static std::mt19937_64 engine(2);
    for (uint32_t i = 0; i < len; i += 8) {
        const uint64_t word = engine();
        for (uint32_t j = i; j < len && j < i + 8; j++)
            buf[j] = static_cast<uint8_t>(word >> 8 * (j - i));
    }
    return 0;
}

Bytes bytes_of(const qald *x)
{
    Bytes bytes(qalbitlen(x, 8));
    qaltobase256(bytes.data(), static_cast<uint32_t>(bytes.size()), x);
    return bytes;
}

// A key as the library's blobs, and its numbers as bytes for the others.
struct Key {
    size_t bits;
    Bytes private_blob, public_blob;
    Bytes n, e, d, p, q, dp, dq, qinv;

    explicit Key(uint32_t size) : bits(size)
    {
        rsa_keygen_ctx ctx;
        rsa_keygen_init(&ctx, size);
        for (int i = 0; rsa_keygen(&ctx, prime_start(size, i).data(), size / 16) != 0; i++) {
        }
        private_blob.resize(5 * size / 16 + 10);
        public_blob.resize(size / 8 + 7);
        rsa_get_privkey(&ctx, private_blob.data(), static_cast<uint32_t>(private_blob.size()));
        rsa_get_pubkey(&ctx, public_blob.data(), static_cast<uint32_t>(public_blob.size()));

        qald p1[QALBIG_SIZE], q1[QALBIG_SIZE], phi[QALBIG_SIZE], exponent[QALBIG_SIZE];
        qalmul(ctx.p, ctx.q, phi);
        n = bytes_of(phi);
        qalsub(qalcopy(p1, ctx.p), QALBIG_ONE);
        qalsub(qalcopy(q1, ctx.q), QALBIG_ONE);
        qalmul(p1, q1, phi);
        e = bytes_of(qalconvert(exponent, 65537));
        d = bytes_of(inv_mod_extgcd(exponent, phi));
        p = bytes_of(ctx.p);
        q = bytes_of(ctx.q);
        dp = bytes_of(ctx.dP);
        dq = bytes_of(ctx.dQ);
        qinv = bytes_of(ctx.qInv);
    }

    // With its two highest bits set, so that the modulus has all its bits for every library.
    static Bytes prime_start(uint32_t size, int i)
    {
        Bytes start = material("prime " + std::to_string(i), size / 16);
        start.front() |= 0xc0;
        return start;
    }
};

// Composite numbers without small divisors.
constexpr size_t candidate_count = 8;
std::vector<Bytes> candidates(uint32_t bits)
{
    static constexpr uint64_t sieve = 20000;
    std::vector<Bytes> found;
    while (found.size() < candidate_count) {
        Bytes x = random_bytes(bits / 8);
        x.front() |= 0x80;
        x.back() |= 1;
        qald number[QALBIG_SIZE];
        qalfrombase256(number, x.data(), bits / 8);
        bool survives = true;
        for (uint64_t i = 3; i < sieve && survives; i += 2)
            survives = qalmodd(number, i) != 0;
        if (survives && RabinMiller(number, 1) == 0)
            found.push_back(x);
    }
    return found;
}

#if QAL_BENCH_CRYPTO
RSA *openssl_key(const Key &key)
{
    const auto number = [](const Bytes &bytes) {
        return BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr);
    };
    RSA *const rsa = RSA_new();
    RSA_set0_key(rsa, number(key.n), number(key.e), number(key.d));
    RSA_set0_factors(rsa, number(key.p), number(key.q));
    RSA_set0_crt_params(rsa, number(key.dp), number(key.dq), number(key.qinv));
    RSA_blinding_off(rsa);
    return rsa;
}
#endif

#if QAL_BENCH_GCRYPT
gcry_mpi_t gcrypt_number(const Bytes &bytes)
{
    gcry_mpi_t number;
    gcry_mpi_scan(&number, GCRYMPI_FMT_USG, bytes.data(), bytes.size(), nullptr);
    return number;
}

// The value called `name` in the result of an operation, right-aligned.
void write_gcrypt(uint8_t *out, size_t size, gcry_sexp_t result, const char *name)
{
    gcry_sexp_t value = gcry_sexp_find_token(result, name, 0);
    size_t length;
    const auto *bytes =
        reinterpret_cast<const uint8_t *>(gcry_sexp_nth_data(value ? value : result, 1, &length));
    while (length > size) {
        bytes++;
        length--;
    }
    std::fill(out, out + size - length, uint8_t{0});
    std::copy(bytes, bytes + length, out + size - length);
    gcry_sexp_release(value);
    gcry_sexp_release(result);
}
#endif

#if QAL_BENCH_HOGWEED && QAL_BENCH_GMP
void set(mpz_ptr number, const Bytes &bytes)
{
    mpz_init(number);
    mpz_import(number, bytes.size(), 1, 1, 0, 0, bytes.data());
}
void write_gmp(uint8_t *out, size_t size, mpz_srcptr number)
{
    const size_t length = (mpz_sizeinbase(number, 2) + 7) / 8;
    std::fill(out, out + size - length, uint8_t{0});
    mpz_export(out + size - length, nullptr, 1, 1, 0, 0, number);
}
#endif

#if QAL_BENCH_BOTAN
Botan::BigInt botan_number(const Bytes &bytes)
{
    return Botan::BigInt(bytes.data(), bytes.size());
}
Botan::RandomNumberGenerator &botan_generator()
{
    static Botan::AutoSeeded_RNG generator;
    return generator;
}
#endif

#if QAL_BENCH_CRYPTOPP
CryptoPP::Integer cryptopp_number(const Bytes &bytes)
{
    return CryptoPP::Integer(bytes.data(), bytes.size());
}
CryptoPP::RandomNumberGenerator &cryptopp_generator()
{
    static CryptoPP::AutoSeededRandomPool generator;
    return generator;
}
#endif

// A message below the modulus.
Bytes message_for(const Key &key)
{
    Bytes message = material("message", key.bits / 8);
    message.front() = 0;
    return message;
}

std::string bits_name(size_t bits)
{
    return std::to_string(bits) + "bits";
}

void add_private(const Key &key)
{
    const size_t size = key.bits / 8;
    const Bytes m = message_for(key);
    Workload work("rsa-private", bits_name(key.bits), 0, size);
    work.contender("qal", [&key, m](uint8_t *out) {
        rsa_sign(out, m.data(), static_cast<int32_t>(m.size()), key.private_blob.data());
    });
#if QAL_BENCH_CRYPTO
    work.contender("openssl", [rsa = openssl_key(key), m](uint8_t *out) {
        RSA_private_decrypt(static_cast<int>(m.size()), m.data(), out, rsa, RSA_NO_PADDING);
    });
#endif
#if QAL_BENCH_GCRYPT
    // It wants p < q, and q modulo p.
    gcry_sexp_t private_key, data;
    gcry_mpi_t inverse = gcry_mpi_new(0);
    gcry_mpi_invm(inverse, gcrypt_number(key.q), gcrypt_number(key.p));
    gcry_sexp_build(&private_key, nullptr,
                    "(private-key (rsa (n %M)(e %M)(d %M)(p %M)(q %M)(u %M)))",
                    gcrypt_number(key.n), gcrypt_number(key.e), gcrypt_number(key.d),
                    gcrypt_number(key.q), gcrypt_number(key.p), inverse);
    gcry_sexp_build(&data, nullptr, "(enc-val (flags raw no-blinding)(rsa (a %M)))",
                    gcrypt_number(m));
    work.contender("libgcrypt", [size, private_key, data](uint8_t *out) {
        gcry_sexp_t result;
        gcry_pk_decrypt(&result, data, private_key);
        write_gcrypt(out, size, result, "value");
    });
#endif
#if QAL_BENCH_HOGWEED && QAL_BENCH_GMP
    struct NettleKey {
        rsa_private_key key;
        mpz_t m, x;
    };
    auto nettle = std::make_shared<NettleKey>();
    rsa_private_key_init(&nettle->key);
    set(nettle->key.p, key.p);
    set(nettle->key.q, key.q);
    set(nettle->key.a, key.dp);
    set(nettle->key.b, key.dq);
    set(nettle->key.c, key.qinv);
    set(nettle->m, m);
    mpz_init(nettle->x);
    rsa_private_key_prepare(&nettle->key);
    work.contender("nettle", [size, nettle](uint8_t *out) {
        rsa_compute_root(&nettle->key, nettle->x, nettle->m);
        write_gmp(out, size, nettle->x);
    });
#endif
#if QAL_BENCH_BOTAN
    auto *const botan_key =
        new Botan::RSA_PrivateKey(botan_number(key.p), botan_number(key.q), botan_number(key.e));
    auto *const signer = new Botan::PK_Signer(*botan_key, botan_generator(), "Raw");
    work.contender("botan", [signer, m](uint8_t *out) {
        const auto signature = signer->sign_message(m.data(), m.size(), botan_generator());
        std::copy(signature.begin(), signature.end(), out);
    });
#endif
#if QAL_BENCH_CRYPTOPP
    // It blinds.
    auto function = std::make_shared<CryptoPP::InvertibleRSAFunction>();
    function->Initialize(cryptopp_number(key.n), cryptopp_number(key.e), cryptopp_number(key.d),
                         cryptopp_number(key.p), cryptopp_number(key.q), cryptopp_number(key.dp),
                         cryptopp_number(key.dq), cryptopp_number(key.qinv));
    work.contender("crypto++", [size, function, x = cryptopp_number(m)](uint8_t *out) {
        function->CalculateInverse(cryptopp_generator(), x).Encode(out, size);
    });
#endif
}

void add_public(const Key &key)
{
    const size_t size = key.bits / 8;
    const Bytes m = message_for(key);
    Workload work("rsa-public", bits_name(key.bits), 0, size);
    work.contender("qal", [&key, m](uint8_t *out) {
        rsa_encrypt(out, m.data(), static_cast<uint32_t>(m.size()), key.public_blob.data());
    });
#if QAL_BENCH_CRYPTO
    work.contender("openssl", [rsa = openssl_key(key), m](uint8_t *out) {
        RSA_public_encrypt(static_cast<int>(m.size()), m.data(), out, rsa, RSA_NO_PADDING);
    });
#endif
#if QAL_BENCH_GCRYPT
    gcry_sexp_t public_key, data;
    gcry_sexp_build(&public_key, nullptr, "(public-key (rsa (n %M)(e %M)))", gcrypt_number(key.n),
                    gcrypt_number(key.e));
    gcry_sexp_build(&data, nullptr, "(data (flags raw)(value %M))", gcrypt_number(m));
    work.contender("libgcrypt", [size, public_key, data](uint8_t *out) {
        gcry_sexp_t result;
        gcry_pk_encrypt(&result, data, public_key);
        write_gcrypt(out, size, result, "a");
    });
#endif
#if QAL_BENCH_HOGWEED && QAL_BENCH_GMP
    // What its verification does between its checks of the padding.
    struct Numbers {
        mpz_t n, e, m, x;
    };
    auto numbers = std::make_shared<Numbers>();
    set(numbers->n, key.n);
    set(numbers->e, key.e);
    set(numbers->m, m);
    mpz_init(numbers->x);
    work.contender("nettle", [size, numbers](uint8_t *out) {
        mpz_powm(numbers->x, numbers->m, numbers->e, numbers->n);
        write_gmp(out, size, numbers->x);
    });
#endif
#if QAL_BENCH_BOTAN
    auto *const botan_key = new Botan::RSA_PublicKey(botan_number(key.n), botan_number(key.e));
    auto *const encryptor = new Botan::PK_Encryptor_EME(*botan_key, botan_generator(), "Raw");
    work.contender("botan", [encryptor, m](uint8_t *out) {
        const auto result = encryptor->encrypt(m.data(), m.size(), botan_generator());
        std::copy(result.begin(), result.end(), out);
    });
#endif
#if QAL_BENCH_CRYPTOPP
    auto function = std::make_shared<CryptoPP::RSAFunction>();
    function->Initialize(cryptopp_number(key.n), cryptopp_number(key.e));
    work.contender("crypto++", [size, function, x = cryptopp_number(m)](uint8_t *out) {
        function->ApplyFunction(x).Encode(out, size);
    });
#endif
}

// One run takes every candidate; its result is what each was found to be.
void add_candidates(uint32_t bits)
{
    const std::vector<Bytes> numbers = candidates(bits);
    Workload work("rsa-candidates", bits_name(bits), 0, candidate_count);
    using Digits = std::array<qald, QALBIG_SIZE>;
    std::vector<Digits> ours(candidate_count);
    for (size_t i = 0; i < candidate_count; i++)
        qalfrombase256(ours[i].data(), numbers[i].data(), bits / 8);
    work.contender("qal", [ours](uint8_t *out) {
        for (const Digits &x : ours)
            *out++ = RabinMiller(x.data(), 5) != 0;
    });
#if QAL_BENCH_CRYPTO
    std::vector<BIGNUM *> openssl;
    for (const Bytes &x : numbers)
        openssl.push_back(BN_bin2bn(x.data(), static_cast<int>(x.size()), nullptr));
    work.contender("openssl", [openssl, ctx = BN_CTX_new()](uint8_t *out) {
        for (const BIGNUM *x : openssl)
            *out++ = BN_is_prime_fasttest_ex(x, 5, ctx, 0, nullptr) != 0;
    });
#endif
#if QAL_BENCH_GCRYPT
    std::vector<gcry_mpi_t> gcrypt;
    for (const Bytes &x : numbers)
        gcrypt.push_back(gcrypt_number(x));
    work.contender("libgcrypt", [gcrypt](uint8_t *out) {
        for (gcry_mpi_t x : gcrypt)
            *out++ = gcry_prime_check(x, 0) == 0;
    });
#endif
#if QAL_BENCH_HOGWEED && QAL_BENCH_GMP
    struct Number {
        mpz_t x;
    };
    auto gmp = std::make_shared<std::vector<Number>>(candidate_count);
    for (size_t i = 0; i < candidate_count; i++)
        set((*gmp)[i].x, numbers[i]);
    work.contender("gmp", [gmp](uint8_t *out) {
        for (const Number &number : *gmp)
            *out++ = mpz_probab_prime_p(number.x, 25) != 0;
    });
#endif
#if QAL_BENCH_BOTAN
    auto *const botan = new std::vector<Botan::BigInt>;
    for (const Bytes &x : numbers)
        botan->push_back(botan_number(x));
    work.contender("botan", [botan](uint8_t *out) {
        for (const Botan::BigInt &x : *botan)
            *out++ = Botan::is_prime(x, botan_generator(), 80, true);
    });
#endif
#if QAL_BENCH_CRYPTOPP
    std::vector<CryptoPP::Integer> cryptopp;
    for (const Bytes &x : numbers)
        cryptopp.push_back(cryptopp_number(x));
    work.contender("crypto++", [cryptopp](uint8_t *out) {
        for (const CryptoPP::Integer &x : cryptopp)
            *out++ = CryptoPP::RabinMillerTest(cryptopp_generator(), x, 5);
    });
#endif
}

// Whole keys, of which some are found sooner than others.
void add_generation(uint32_t bits)
{
    Workload work("rsa-keygen", bits_name(bits), 0, 0);
    work.at_least(0.2);
    work.contender_apart("qal", [bits](uint8_t *) {
        rsa_keygen_ctx ctx;
        Bytes random(bits / 16);
        rsa_keygen_init(&ctx, bits);
        do
            generate(random.data(), bits / 16);
        while (rsa_keygen(&ctx, random.data(), bits / 16) != 0);
    });
#if QAL_BENCH_CRYPTO
    work.contender_apart("openssl", [bits](uint8_t *) {
        RSA *const rsa = RSA_new();
        BIGNUM *const e = BN_new();
        BN_set_word(e, 65537);
        RSA_generate_key_ex(rsa, static_cast<int>(bits), e, nullptr);
        BN_free(e);
        RSA_free(rsa);
    });
#endif
#if QAL_BENCH_GCRYPT
    work.contender_apart("libgcrypt", [bits](uint8_t *) {
        gcry_sexp_t parameters, key;
        gcry_sexp_build(&parameters, nullptr, "(genkey (rsa (nbits %u)(transient-key)))", bits);
        gcry_pk_genkey(&key, parameters);
        gcry_sexp_release(parameters);
        gcry_sexp_release(key);
    });
#endif
#if QAL_BENCH_HOGWEED && QAL_BENCH_GMP
    work.contender_apart("nettle", [bits](uint8_t *) {
        rsa_public_key public_key;
        rsa_private_key private_key;
        rsa_public_key_init(&public_key);
        rsa_private_key_init(&private_key);
        mpz_set_ui(public_key.e, 65537);
        rsa_generate_keypair(
            &public_key, &private_key, nullptr,
            [](void *, size_t size, uint8_t *out) { generate(out, static_cast<uint32_t>(size)); },
            nullptr, nullptr, bits, 0);
        rsa_public_key_clear(&public_key);
        rsa_private_key_clear(&private_key);
    });
#endif
#if QAL_BENCH_BOTAN
    if (bits >= 1024) // or it refuses
        work.contender_apart("botan", [bits](uint8_t *) {
            const Botan::RSA_PrivateKey key(botan_generator(), bits);
            benchmark::DoNotOptimize(&key);
        });
#endif
#if QAL_BENCH_CRYPTOPP
    work.contender_apart("crypto++", [bits](uint8_t *) {
        CryptoPP::InvertibleRSAFunction key;
        key.Initialize(cryptopp_generator(), bits, 65537);
    });
#endif
}

} // namespace

int main(int argc, char **argv)
{
    rsa_gen_rnd = generate;
    std::vector<Key> keys;
    return run_benchmarks(argc, argv, [&] {
        for (const uint32_t bits : {512u, 1024u, 1536u, 2048u})
            keys.emplace_back(bits);
        for (const Key &key : keys)
            add_private(key);
        for (const Key &key : keys)
            add_public(key);
        for (const uint32_t bits : {256u, 512u, 768u, 1024u})
            add_candidates(bits);
        for (const uint32_t bits : {512u, 1024u, 1536u, 2048u})
            add_generation(bits);
    });
}
