// GOST R 34.10-2001 on the curve CryptoPro-A: key pairs, signatures, and the agreement on a key.
//
// Where a library takes the secrets from its caller, all work with the same ones, and their results
// are compared; the others draw random numbers on the way, which costs little beside a
// multiplication.
#include "support/peers.hpp"
#include "support/workload.hpp"

#include <qal/rds.h>
#include <qal/vko341001.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

#if QAL_BENCH_GCRYPT
#include <gcrypt.h>
#endif
#if QAL_BENCH_HOGWEED
#include <nettle/ecc-curve.h>
#include <nettle/ecc.h>
#include <nettle/gostdsa.h>
#endif
#if QAL_BENCH_BOTAN
#include <botan/ec_group.h>
#include <botan/gost_3410.h>
#include <botan/pubkey.h>
#include <botan/system_rng.h>
#endif
#if QAL_BENCH_CRYPTO
#include <openssl/ec.h>
#endif

using namespace qal::bench;

namespace {

Bytes from_hex(std::string_view text)
{
    Bytes bytes;
    for (size_t i = 0; i < text.size(); i += 2)
        bytes.push_back(
            static_cast<uint8_t>(std::stoi(std::string(text.substr(i, 2)), nullptr, 16)));
    return bytes;
}

Bytes reversed(const Bytes &bytes)
{
    return {bytes.rbegin(), bytes.rend()};
}

Bytes part(const Bytes &bytes, size_t from)
{
    return {bytes.begin() + static_cast<ptrdiff_t>(from),
            bytes.begin() + static_cast<ptrdiff_t>(from + 32)};
}

[[noreturn]] void fail(const char *what)
{
    std::fprintf(stderr, "gost3410: %s\n", what);
    std::exit(1);
}

// id-GostR3410-2001-CryptoPro-A-ParamSet, RFC 4357, section 11.4.
const struct {
    Bytes p = from_hex("fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffd97");
    Bytes a = from_hex("fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffd94");
    Bytes b = from_hex("00000000000000000000000000000000000000000000000000000000000000a6");
    Bytes q = from_hex("ffffffffffffffffffffffffffffffff6c611070995ad10045841b09b761b893");
    Bytes x = from_hex("0000000000000000000000000000000000000000000000000000000000000001");
    Bytes y = from_hex("8d91e471e0989cda27df505a453f2b7635294f2ddf23e3b122acc99c9e9f1e14");
} domain;

int set_up(rds_ctx *ctx)
{
    return rds_init(ctx, domain.p.data(), domain.a.data(), domain.b.data(), domain.q.data(),
                    domain.x.data(), domain.y.data());
}

struct Setting {
    rds_ctx ctx;
    Bytes d, k, peer_d, digest, ukm, pubkey, peer_pubkey, sig;

    Setting()
        : d(secret("d")), k(secret("k")), peer_d(secret("peer d")), digest(material("digest", 32)),
          ukm(material("ukm", 8)), pubkey(64), peer_pubkey(64), sig(64)
    {
        if (set_up(&ctx) != 0 || rds_gen_keys(&ctx, d.data(), pubkey.data()) != 0 ||
            rds_gen_keys(&ctx, peer_d.data(), peer_pubkey.data()) != 0 ||
            rds_sign(&ctx, d.data(), k.data(), digest.data(), sig.data()) != 0)
            fail("cannot set up");
    }

    static Bytes secret(const char *name)
    {
        Bytes bytes = material(name, 32);
        bytes[0] &= 0x7f;
        return bytes;
    }
};

#if QAL_BENCH_GCRYPT
template<typename... Arguments>
gcry_sexp_t sexp(const char *format, Arguments... arguments)
{
    gcry_sexp_t expression;
    if (gcry_sexp_build(&expression, nullptr, format, arguments...) != 0)
        fail("libgcrypt expression");
    return expression;
}

gcry_mpi_t mpi(const Bytes &bytes)
{
    gcry_mpi_t number;
    if (gcry_mpi_scan(&number, GCRYMPI_FMT_USG, bytes.data(), bytes.size(), nullptr) != 0)
        fail("libgcrypt number");
    return number;
}

void put(uint8_t *out, gcry_mpi_t number)
{
    std::memset(out, 0, 32);
    size_t size;
    gcry_mpi_print(GCRYMPI_FMT_USG, nullptr, 0, &size, number);
    gcry_mpi_print(GCRYMPI_FMT_USG, out + 32 - size, size, nullptr, number);
}

struct Gcrypt {
    gcry_ctx_t curve;
    gcry_mpi_point_t G, R;
    gcry_mpi_t d, x, y;
    gcry_sexp_t private_key, public_key, data, signature;

    explicit Gcrypt(const Setting &s)
    {
        if (gcry_mpi_ec_new(&curve, nullptr, "GOST2001-CryptoPro-A") != 0)
            fail("libgcrypt curve");
        G = gcry_mpi_ec_get_point("g", curve, 0);
        R = gcry_mpi_point_new(0);
        d = mpi(s.d);
        x = gcry_mpi_new(0);
        y = gcry_mpi_new(0);
        Bytes point{4};
        point.insert(point.end(), s.pubkey.begin(), s.pubkey.end());
        const int size = static_cast<int>(point.size());
        private_key = sexp("(private-key(ecc(curve GOST2001-CryptoPro-A)(q%b)(d%b)))", size,
                           point.data(), 32, s.d.data());
        public_key = sexp("(public-key(ecc(curve GOST2001-CryptoPro-A)(q%b)))", size, point.data());
        data = sexp("(data(flags gost)(value %m))", mpi(s.digest));
        signature = sexp("(sig-val(gost(r%b)(s%b)))", 32, s.sig.data() + 32, 32, s.sig.data());
    }
};
#endif

#if QAL_BENCH_HOGWEED
struct Nettle {
    struct ecc_scalar d;
    struct ecc_point Q, peer, R;
    struct dsa_signature signature;
    Bytes digest, ukm;

    explicit Nettle(const Setting &s) : digest(reversed(s.digest)), ukm(reversed(s.ukm))
    {
        const struct ecc_curve *const curve = nettle_get_gost_gc256b();
        ecc_scalar_init(&d, curve);
        for (struct ecc_point *point : {&Q, &peer, &R})
            ecc_point_init(point, curve);
        dsa_signature_init(&signature);
        mpz_t x, y;
        mpz_init(x);
        mpz_init(y);
        const auto read = [](mpz_t z, const Bytes &bytes) {
            mpz_import(z, bytes.size(), 1, 1, 1, 0, bytes.data());
        };
        read(x, s.d);
        ecc_scalar_set(&d, x);
        read(x, part(s.pubkey, 0));
        read(y, part(s.pubkey, 32));
        ecc_point_set(&Q, x, y);
        read(x, part(s.peer_pubkey, 0));
        read(y, part(s.peer_pubkey, 32));
        ecc_point_set(&peer, x, y);
        read(signature.s, part(s.sig, 0));
        read(signature.r, part(s.sig, 32));
        mpz_clear(x);
        mpz_clear(y);
    }
};

void nettle_random(void *context, size_t size, uint8_t *out)
{
    const Bytes &k = *static_cast<const Bytes *>(context);
    for (size_t i = 0; i < size; i++)
        out[i] = k[i % k.size()];
}
#endif

#if QAL_BENCH_BOTAN
struct Botan2001 {
    Botan::System_RNG rng;
    Botan::EC_Group group{"gost_256A"};
    std::unique_ptr<Botan::GOST_3410_PrivateKey> key;
    std::unique_ptr<Botan::PK_Signer> signer;
    std::unique_ptr<Botan::PK_Verifier> verifier;
    Botan::BigInt d;
    std::vector<uint8_t> digest, signature;

    explicit Botan2001(const Setting &s)
        : d(s.d.data(), s.d.size()), digest(reversed(s.digest)), signature(s.sig)
    {
        key = std::make_unique<Botan::GOST_3410_PrivateKey>(rng, group, d);
        signer = std::make_unique<Botan::PK_Signer>(*key, rng, "Raw");
        verifier = std::make_unique<Botan::PK_Verifier>(*key, "Raw");
    }
};
#endif

#if QAL_BENCH_CRYPTO
// Keys of the engine: PKCS#8 and SubjectPublicKeyInfo around the numbers, which stand least
// significant byte first.
struct Engine {
    EVP_PKEY *key, *peer;
    EVP_PKEY_CTX *generation, *signing, *verification, *derivation;
    Bytes digest, signature;

    explicit Engine(const Setting &s) : digest(reversed(s.digest)), signature(s.sig)
    {
        // id-GostR3410-2001 with id-GostR3410-2001-CryptoPro-A and id-GostR3411-94-CryptoPro
        const Bytes algorithm =
            from_hex("301c06062a8503020213301206072a85030202230106072a850302021e01");
        Bytes info = from_hex("3045020100");
        info.insert(info.end(), algorithm.begin(), algorithm.end());
        for (const uint8_t byte : Bytes{0x04, 0x22, 0x04, 0x20})
            info.push_back(byte);
        const Bytes d = reversed(s.d);
        info.insert(info.end(), d.begin(), d.end());
        const unsigned char *at = info.data();
        key = d2i_AutoPrivateKey(nullptr, &at, static_cast<long>(info.size()));

        info = from_hex("3063");
        info.insert(info.end(), algorithm.begin(), algorithm.end());
        for (const uint8_t byte : Bytes{0x03, 0x43, 0x00, 0x04, 0x40})
            info.push_back(byte);
        for (const size_t from : {size_t{0}, size_t{32}}) {
            const Bytes coordinate = reversed(part(s.peer_pubkey, from));
            info.insert(info.end(), coordinate.begin(), coordinate.end());
        }
        at = info.data();
        peer = d2i_PUBKEY(nullptr, &at, static_cast<long>(info.size()));
        if (key == nullptr || peer == nullptr)
            fail("the engine's keys");

        generation = EVP_PKEY_CTX_new(key, gost_engine());
        signing = EVP_PKEY_CTX_new(key, gost_engine());
        verification = EVP_PKEY_CTX_new(key, gost_engine());
        derivation = EVP_PKEY_CTX_new(key, gost_engine());
        if (EVP_PKEY_keygen_init(generation) <= 0 || EVP_PKEY_sign_init(signing) <= 0 ||
            EVP_PKEY_verify_init(verification) <= 0 || EVP_PKEY_derive_init(derivation) <= 0 ||
            EVP_PKEY_CTX_ctrl(derivation, -1, EVP_PKEY_OP_DERIVE, EVP_PKEY_CTRL_SET_IV, 8,
                              const_cast<uint8_t *>(s.ukm.data())) <= 0 ||
            EVP_PKEY_derive_set_peer(derivation, peer) <= 0)
            fail("the engine's operations");
    }
};
#endif

void add_key_generation(const Setting &s)
{
    Workload work("gost3410-keygen", "256bit", 0, 64);
    work.contender("qal", [&](uint8_t *out) { rds_gen_keys(&s.ctx, s.d.data(), out); });
#if QAL_BENCH_GCRYPT
    static const Gcrypt gcrypt(s);
    work.contender("libgcrypt", [](uint8_t *out) {
        gcry_mpi_ec_mul(gcrypt.R, gcrypt.d, gcrypt.G, gcrypt.curve);
        gcry_mpi_ec_get_affine(gcrypt.x, gcrypt.y, gcrypt.R, gcrypt.curve);
        put(out, gcrypt.x);
        put(out + 32, gcrypt.y);
    });
#endif
#if QAL_BENCH_HOGWEED
    static Nettle nettle(s);
    work.contender("nettle", [](uint8_t *out) {
        ecc_point_mul_g(&nettle.R, &nettle.d);
        mpz_t x, y;
        mpz_init(x);
        mpz_init(y);
        ecc_point_get(&nettle.R, x, y);
        std::memset(out, 0, 64);
        mpz_export(out + 32 - (mpz_sizeinbase(x, 2) + 7) / 8, nullptr, 1, 1, 1, 0, x);
        mpz_export(out + 64 - (mpz_sizeinbase(y, 2) + 7) / 8, nullptr, 1, 1, 1, 0, y);
        mpz_clear(x);
        mpz_clear(y);
    });
#endif
#if QAL_BENCH_BOTAN
    static Botan2001 botan(s);
    work.contender("botan", [](uint8_t *out) {
        const Botan::GOST_3410_PrivateKey key(botan.rng, botan.group, botan.d);
        key.public_point().get_affine_x().binary_encode(out, 32);
        key.public_point().get_affine_y().binary_encode(out + 32, 32);
    });
#endif
#if QAL_BENCH_CRYPTO
    if (gost_engine()) {
        static const Engine engine(s);
        work.contender_apart("openssl-gost-engine", [](uint8_t *) {
            EVP_PKEY *key = nullptr;
            if (EVP_PKEY_keygen(engine.generation, &key) <= 0)
                fail("the engine's key generation");
            EVP_PKEY_free(key);
        });
    }
#endif
}

void add_signing(const Setting &s)
{
    Workload work("gost3410-sign", "256bit", 0, 64);
    work.contender("qal", [&](uint8_t *out) {
        rds_sign(&s.ctx, s.d.data(), s.k.data(), s.digest.data(), out);
    });
#if QAL_BENCH_GCRYPT
    static const Gcrypt gcrypt(s);
    work.contender_apart("libgcrypt", [](uint8_t *) {
        gcry_sexp_t signature;
        if (gcry_pk_sign(&signature, gcrypt.data, gcrypt.private_key) != 0)
            fail("libgcrypt's signature");
        gcry_sexp_release(signature);
    });
#endif
#if QAL_BENCH_HOGWEED
    static const Nettle nettle(s);
    work.contender_apart("nettle", [&s](uint8_t *) {
        struct dsa_signature signature;
        dsa_signature_init(&signature);
        gostdsa_sign(&nettle.d, const_cast<Bytes *>(&s.k), nettle_random, nettle.digest.size(),
                     nettle.digest.data(), &signature);
        dsa_signature_clear(&signature);
    });
#endif
#if QAL_BENCH_BOTAN
    static Botan2001 botan(s);
    work.contender_apart("botan", [](uint8_t *out) {
        const std::vector<uint8_t> signature = botan.signer->sign_message(botan.digest, botan.rng);
        std::copy(signature.begin(), signature.end(), out);
    });
#endif
#if QAL_BENCH_CRYPTO
    if (gost_engine()) {
        static const Engine engine(s);
        work.contender_apart("openssl-gost-engine", [](uint8_t *out) {
            size_t size = 64;
            if (EVP_PKEY_sign(engine.signing, out, &size, engine.digest.data(),
                              engine.digest.size()) <= 0)
                fail("the engine's signature");
        });
    }
#endif
}

// One byte: whether the signature is valid, which it is.
void add_verification(const Setting &s)
{
    Workload work("gost3410-verify", "256bit", 0, 1);
    work.contender("qal", [&](uint8_t *out) {
        *out = rds_verify(&s.ctx, s.pubkey.data(), s.digest.data(), s.sig.data()) == 0;
    });
#if QAL_BENCH_GCRYPT
    static const Gcrypt gcrypt(s);
    work.contender("libgcrypt", [](uint8_t *out) {
        *out = gcry_pk_verify(gcrypt.signature, gcrypt.data, gcrypt.public_key) == 0;
    });
#endif
#if QAL_BENCH_HOGWEED
    static const Nettle nettle(s);
    work.contender("nettle", [](uint8_t *out) {
        *out = gostdsa_verify(&nettle.Q, nettle.digest.size(), nettle.digest.data(),
                              &nettle.signature) == 1;
    });
#endif
#if QAL_BENCH_BOTAN
    static Botan2001 botan(s);
    work.contender("botan", [](uint8_t *out) {
        *out = botan.verifier->verify_message(botan.digest, botan.signature);
    });
#endif
#if QAL_BENCH_CRYPTO
    if (gost_engine()) {
        static const Engine engine(s);
        work.contender("openssl-gost-engine", [](uint8_t *out) {
            *out = EVP_PKEY_verify(engine.verification, engine.signature.data(),
                                   engine.signature.size(), engine.digest.data(),
                                   engine.digest.size()) == 1;
        });
    }
#endif
}

// What others hash, if they do, is the point in another byte order.
void add_agreement(const Setting &s)
{
    Workload work("gost3410-vko", "256bit", 0, 32);
    work.contender("qal", [&](uint8_t *out) {
        vko341001_gen_kek(&s.ctx, out, s.d.data(), s.peer_pubkey.data(), s.ukm.data());
    });
#if QAL_BENCH_HOGWEED
    static const Nettle nettle(s);
    work.contender_apart("nettle:point", [](uint8_t *) {
        uint8_t point[64];
        gostdsa_vko(&nettle.d, &nettle.peer, nettle.ukm.size(), nettle.ukm.data(), point);
        benchmark::DoNotOptimize(point);
    });
#endif
#if QAL_BENCH_CRYPTO
    if (gost_engine()) {
        static const Engine engine(s);
        work.contender_apart("openssl-gost-engine", [](uint8_t *out) {
            size_t size = 32;
            if (EVP_PKEY_derive(engine.derivation, out, &size) <= 0)
                fail("the engine's agreement");
        });
    }
#endif
}

// A curve from its numbers, with all that is made beforehand of it.
void add_set_up()
{
    Workload work("gost3410-setup", "256bit", 0, 0);
    work.contender("qal", [](uint8_t *) {
        rds_ctx ctx;
        set_up(&ctx);
        benchmark::DoNotOptimize(ctx);
    });
#if QAL_BENCH_GCRYPT
    work.contender("libgcrypt", [](uint8_t *) {
        gcry_ctx_t curve;
        gcry_mpi_ec_new(&curve, nullptr, "GOST2001-CryptoPro-A");
        gcry_ctx_release(curve);
    });
#endif
#if QAL_BENCH_BOTAN
    work.contender("botan", [](uint8_t *) {
        const auto number = [](const Bytes &bytes) { return Botan::BigInt(bytes.data(), 32); };
        const Botan::EC_Group group(number(domain.p), number(domain.a), number(domain.b),
                                    number(domain.x), number(domain.y), number(domain.q), 1);
        benchmark::DoNotOptimize(&group);
    });
#endif
#if QAL_BENCH_CRYPTO
    work.contender("openssl", [](uint8_t *) {
        const auto number = [](const Bytes &bytes) { return BN_bin2bn(bytes.data(), 32, nullptr); };
        BIGNUM *const numbers[] = {number(domain.p), number(domain.a), number(domain.b),
                                   number(domain.q), number(domain.x), number(domain.y)};
        EC_GROUP *const group = EC_GROUP_new_curve_GFp(numbers[0], numbers[1], numbers[2], nullptr);
        EC_POINT *const base = EC_POINT_new(group);
        EC_POINT_set_affine_coordinates(group, base, numbers[4], numbers[5], nullptr);
        EC_GROUP_set_generator(group, base, numbers[3], BN_value_one());
        EC_GROUP_precompute_mult(group, nullptr);
        EC_POINT_free(base);
        EC_GROUP_free(group);
        for (BIGNUM *const z : numbers)
            BN_free(z);
    });
#endif
}

} // namespace

int main(int argc, char **argv)
{
    return run_benchmarks(argc, argv, [] {
        static const Setting setting;
        add_set_up();
        add_key_generation(setting);
        add_signing(setting);
        add_verification(setting);
        add_agreement(setting);
    });
}
