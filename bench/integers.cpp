// Multiprecision integers: products, squares, division, Montgomery arithmetic and exponentiation.
// Other libraries have their numbers and results made beforehand, as the library has.
#include "support/workload.hpp"

#include <qal/qalmath64.h>

#include <cstring>

#if QAL_BENCH_GMP
#include <gmp.h>
#endif
#if QAL_BENCH_CRYPTO
#include <openssl/bn.h>
#endif
#if QAL_BENCH_GCRYPT
#include <gcrypt.h>
#endif
#if QAL_BENCH_BOTAN
#include <botan/bigint.h>
#include <botan/divide.h>
#include <botan/monty.h>
#include <botan/numthry.h>
#endif
#if QAL_BENCH_CRYPTOPP
#include <cryptopp/integer.h>
#include <cryptopp/modarith.h>
#include <cryptopp/nbtheory.h>
#endif

using namespace qal::bench;

namespace {

using Number = std::vector<qald>;

// A number of n digits, whose top bit is clear so that it is below a modulus.
Number random_number(size_t n)
{
    const Bytes bytes = random_bytes(n * sizeof(qald));
    Number x(QALBIG_SIZE);
    x[0] = n;
    std::memcpy(&x[1], bytes.data(), bytes.size());
    x[n] = (x[n] | qald{1} << 62) & ~(qald{1} << 63);
    return x;
}

Number random_modulus(size_t n)
{
    Number p = random_number(n);
    p[1] |= 1;
    p[n] |= qald{1} << 63;
    return p;
}

std::string digits_name(size_t n)
{
    return std::to_string(n) + "digits";
}

qald *words(uint8_t *out)
{
    return reinterpret_cast<qald *>(out);
}

#if QAL_BENCH_GMP
// A number of n digits as GMP left it, in the shape of the library.
void fetch_digits(uint8_t *out, const mp_limb_t *x, size_t n)
{
    words(out)[0] = n;
    std::memcpy(words(out) + 1, x, n * sizeof *x);
    qalclip(words(out));
}
#endif

// Bytes of a number of n digits.
size_t room(size_t n)
{
    return (n + 1) * sizeof(qald);
}

#if QAL_BENCH_CRYPTO
BIGNUM *big(const Number &x)
{
    return BN_lebin2bn(reinterpret_cast<const uint8_t *>(&x[1]),
                       static_cast<int>(x[0] * sizeof(qald)), nullptr);
}

BN_CTX *context()
{
    static BN_CTX *const ctx = BN_CTX_new();
    return ctx;
}

void fetch(uint8_t *out, const BIGNUM *x, size_t n)
{
    words(out)[0] = n;
    BN_bn2lebinpad(x, out + sizeof(qald), static_cast<int>(n * sizeof(qald)));
    qalclip(words(out));
}
#endif

// Most significant byte first, as the others read and write numbers.
Bytes big_endian(const Number &x)
{
    Bytes bytes(x[0] * sizeof(qald));
    qaltobase256(bytes.data(), static_cast<uint32_t>(bytes.size()), x.data());
    return bytes;
}

[[maybe_unused]] void from_big_endian(uint8_t *out, const Bytes &bytes)
{
    qalfrombase256(words(out), bytes.data(), static_cast<uint32_t>(bytes.size()));
    qalclip(words(out));
}

#if QAL_BENCH_GCRYPT
gcry_mpi_t gcrypt_number(const Number &x)
{
    const Bytes bytes = big_endian(x);
    gcry_mpi_t number;
    gcry_mpi_scan(&number, GCRYMPI_FMT_USG, bytes.data(), bytes.size(), nullptr);
    return number;
}

void fetch(uint8_t *out, gcry_mpi_t x)
{
    Bytes bytes((gcry_mpi_get_nbits(x) + 7) / 8);
    gcry_mpi_print(GCRYMPI_FMT_USG, bytes.data(), bytes.size(), nullptr, x);
    from_big_endian(out, bytes);
}
#endif

#if QAL_BENCH_BOTAN
Botan::BigInt botan_number(const Number &x)
{
    const Bytes bytes = big_endian(x);
    return Botan::BigInt(bytes.data(), bytes.size());
}

void fetch(uint8_t *out, const Botan::BigInt &x)
{
    Bytes bytes(x.bytes());
    x.binary_encode(bytes.data());
    from_big_endian(out, bytes);
}
#endif

#if QAL_BENCH_CRYPTOPP
CryptoPP::Integer cryptopp_number(const Number &x)
{
    const Bytes bytes = big_endian(x);
    return CryptoPP::Integer(bytes.data(), bytes.size());
}

void fetch(uint8_t *out, const CryptoPP::Integer &x)
{
    Bytes bytes(x.MinEncodedSize());
    x.Encode(bytes.data(), bytes.size());
    from_big_endian(out, bytes);
}
#endif

void add_product(size_t n)
{
    const Number x = random_modulus(n), y = random_modulus(n);
    Workload product("product", digits_name(n), 0, room(2 * n));
    product.contender("qal", [=](uint8_t *out) { qalmul(x.data(), y.data(), words(out)); });
    Workload square("square", digits_name(n), 0, room(2 * n));
    square.contender("qal", [=](uint8_t *out) { qalsqr(x.data(), words(out)); });
#if QAL_BENCH_GMP
    product.contender("gmp", [=](uint8_t *out) {
        words(out)[0] = 2 * n;
        mpn_mul(words(out) + 1, &x[1], static_cast<mp_size_t>(n), &y[1], static_cast<mp_size_t>(n));
    });
    square.contender("gmp", [=](uint8_t *out) {
        words(out)[0] = 2 * n;
        mpn_sqr(words(out) + 1, &x[1], static_cast<mp_size_t>(n));
    });
#endif
    // Everything below is for as long as the program runs.
#if QAL_BENCH_CRYPTO
    BIGNUM *const u = big(x), *const v = big(y), *const w = BN_new();
    const auto fetch_openssl = [=](uint8_t *out) { fetch(out, w, 2 * n); };
    product.contender(
        "openssl", [=](uint8_t *) { BN_mul(w, u, v, context()); }, fetch_openssl);
    square.contender(
        "openssl", [=](uint8_t *) { BN_sqr(w, u, context()); }, fetch_openssl);
#endif
#if QAL_BENCH_GCRYPT
    const gcry_mpi_t gx = gcrypt_number(x), gy = gcrypt_number(y), gz = gcry_mpi_new(0);
    const auto fetch_gcrypt = [=](uint8_t *out) { fetch(out, gz); };
    product.contender(
        "libgcrypt", [=](uint8_t *) { gcry_mpi_mul(gz, gx, gy); }, fetch_gcrypt);
    square.contender(
        "libgcrypt", [=](uint8_t *) { gcry_mpi_mul(gz, gx, gx); }, fetch_gcrypt);
#endif
#if QAL_BENCH_BOTAN
    auto *const bz = new Botan::BigInt;
    auto *const space = new Botan::secure_vector<Botan::word>(4 * n);
    const Botan::BigInt bx = botan_number(x), by = botan_number(y);
    const auto fetch_botan = [=](uint8_t *out) { fetch(out, *bz); };
    product.contender(
        "botan",
        [=](uint8_t *) {
            *bz = bx;
            bz->mul(by, *space);
        },
        fetch_botan);
    square.contender(
        "botan",
        [=](uint8_t *) {
            *bz = bx;
            bz->square(*space);
        },
        fetch_botan);
#endif
#if QAL_BENCH_CRYPTOPP
    auto *const cz = new CryptoPP::Integer;
    const CryptoPP::Integer cx = cryptopp_number(x), cy = cryptopp_number(y);
    const auto fetch_cryptopp = [=](uint8_t *out) { fetch(out, *cz); };
    product.contender(
        "crypto++", [=](uint8_t *) { *cz = cx * cy; }, fetch_cryptopp);
    square.contender(
        "crypto++", [=](uint8_t *) { *cz = cx.Squared(); }, fetch_cryptopp);
#endif
}

// 2n digits by n; the quotient is the result.
void add_division(size_t n)
{
    const Number d = random_number(n);
    Number x = random_number(2 * n);
    x[2 * n] = d[n] - 12345;
    // GMP's quotient has a digit more, which is zero here.
    Workload work("division", digits_name(2 * n) + "by" + digits_name(n), 0, room(n + 1));
    work.contender("qal", [=](uint8_t *out) {
        qald rest[QALBIG_SIZE];
        qaldiv(x.data(), d.data(), words(out), rest);
        benchmark::DoNotOptimize(rest);
    });
#if QAL_BENCH_GMP
    work.contender("gmp", [=](uint8_t *out) {
        mp_limb_t rest[QALBIG_SIZE];
        words(out)[0] = n;
        mpn_tdiv_qr(words(out) + 1, rest, 0, &x[1], static_cast<mp_size_t>(2 * n), &d[1],
                    static_cast<mp_size_t>(n));
        benchmark::DoNotOptimize(rest);
    });
#endif
    // Everything below is for as long as the program runs.
#if QAL_BENCH_CRYPTO
    BIGNUM *const u = big(x), *const v = big(d), *const w = BN_new(), *const r = BN_new();
    work.contender(
        "openssl", [=](uint8_t *) { BN_div(w, r, u, v, context()); },
        [=](uint8_t *out) { fetch(out, w, n); });
#endif
#if QAL_BENCH_GCRYPT
    const gcry_mpi_t gx = gcrypt_number(x), gd = gcrypt_number(d), gz = gcry_mpi_new(0),
                     gr = gcry_mpi_new(0);
    work.contender(
        "libgcrypt", [=](uint8_t *) { gcry_mpi_div(gz, gr, gx, gd, 0); },
        [=](uint8_t *out) { fetch(out, gz); });
#endif
#if QAL_BENCH_BOTAN
    auto *const bz = new Botan::BigInt, *const br = new Botan::BigInt;
    const Botan::BigInt bx = botan_number(x), bd = botan_number(d);
    work.contender(
        "botan", [=](uint8_t *) { Botan::vartime_divide(bx, bd, *bz, *br); },
        [=](uint8_t *out) { fetch(out, *bz); });
#endif
#if QAL_BENCH_CRYPTOPP
    auto *const cz = new CryptoPP::Integer, *const cr = new CryptoPP::Integer;
    const CryptoPP::Integer cx = cryptopp_number(x), cd = cryptopp_number(d);
    work.contender(
        "crypto++", [=](uint8_t *) { CryptoPP::Integer::Divide(*cr, *cz, cx, cd); },
        [=](uint8_t *out) { fetch(out, *cz); });
#endif
}

void add_montgomery(size_t n)
{
    const Number p = random_modulus(n), a = random_number(n), b = random_number(n);
    const qald c = qalinverse(0 - p[1]);
    const auto k = static_cast<uint32_t>(64 * n);
    Workload product("montgomery-product", digits_name(n), 0, room(2 * n + 1));
    Workload square("montgomery-square", digits_name(n), 0, room(2 * n + 1));
    // What is behind the digits of the result is scratch.
    const auto clear = [n](uint8_t *out) { std::memset(words(out) + 1 + n, 0, (n + 1) * 8); };
    product.contender(
        "qal", [=](uint8_t *out) { qalmulmont(c, k, p.data(), a.data(), b.data(), words(out)); },
        clear);
    square.contender(
        "qal", [=](uint8_t *out) { qalsqrmont(c, k, p.data(), a.data(), words(out)); }, clear);
#if QAL_BENCH_CRYPTO
    // Until the program ends.
    BIGNUM *const modulus = big(p), *const x = big(a), *const y = big(b), *const z = BN_new();
    BN_MONT_CTX *const form = BN_MONT_CTX_new();
    BN_MONT_CTX_set(form, modulus, context());
    product.contender(
        "openssl", [=](uint8_t *) { BN_mod_mul_montgomery(z, x, y, form, context()); },
        [=](uint8_t *out) { fetch(out, z, n); });
    square.contender(
        "openssl", [=](uint8_t *) { BN_mod_mul_montgomery(z, x, x, form, context()); },
        [=](uint8_t *out) { fetch(out, z, n); });
#endif
#if QAL_BENCH_BOTAN
    auto *const parameters = new Botan::Montgomery_Params(botan_number(p));
    auto *const space = new Botan::secure_vector<Botan::word>;
    auto *const bz = new Botan::BigInt;
    const Botan::BigInt ba = botan_number(a), bb = botan_number(b);
    const auto fetch_botan = [=](uint8_t *out) { fetch(out, *bz); };
    product.contender(
        "botan", [=](uint8_t *) { *bz = parameters->mul(ba, bb, *space); }, fetch_botan);
    square.contender(
        "botan", [=](uint8_t *) { *bz = parameters->sqr(ba, *space); }, fetch_botan);
#endif
#if QAL_BENCH_CRYPTOPP
    auto *const representation = new CryptoPP::MontgomeryRepresentation(cryptopp_number(p));
    auto *const cz = new CryptoPP::Integer;
    const CryptoPP::Integer ca = cryptopp_number(a), cb = cryptopp_number(b);
    const auto fetch_cryptopp = [=](uint8_t *out) { fetch(out, *cz); };
    product.contender(
        "crypto++", [=](uint8_t *) { *cz = representation->Multiply(ca, cb); }, fetch_cryptopp);
    square.contender(
        "crypto++", [=](uint8_t *) { *cz = representation->Square(ca); }, fetch_cryptopp);
#endif
}

// An odd modulus and an exponent of the same length.
void add_exponentiation(size_t n)
{
    const Number p = random_modulus(n), x = random_number(n), e = random_number(n);
    Workload work("exponentiation", std::to_string(64 * n) + "bits", 0, room(n));
    static std::vector<qald> table(18 * QALBIG_SIZE), result(QALBIG_SIZE);
    work.contender(
        "qal",
        [=](uint8_t *) { qalpowmod(table.data(), x.data(), e.data(), p.data(), result.data()); },
        [](uint8_t *out) { qalcopy(words(out), result.data()); });
#if QAL_BENCH_GMP
    struct Powers {
        mpz_t x, e, p, z;
    };
    auto *const gmp = new Powers; // until the program ends
    mpz_init(gmp->z);
    const auto import = [](mpz_t z, const Number &number) {
        mpz_init(z);
        mpz_import(z, number[0], -1, sizeof(qald), 0, 0, &number[1]);
    };
    import(gmp->x, x);
    import(gmp->e, e);
    import(gmp->p, p);
    work.contender(
        "gmp", [=](uint8_t *) { mpz_powm(gmp->z, gmp->x, gmp->e, gmp->p); },
        [=](uint8_t *out) { fetch_digits(out, mpz_limbs_read(gmp->z), mpz_size(gmp->z)); });
#endif
#if QAL_BENCH_CRYPTO
    BIGNUM *const base = big(x), *const exponent = big(e), *const modulus = big(p);
    BIGNUM *const z = BN_new();
    work.contender(
        "openssl",
        [=](uint8_t *) { BN_mod_exp_mont(z, base, exponent, modulus, context(), nullptr); },
        [=](uint8_t *out) { fetch(out, z, n); });
#endif
#if QAL_BENCH_GCRYPT
    const gcry_mpi_t gx = gcrypt_number(x), ge = gcrypt_number(e), gp = gcrypt_number(p),
                     gz = gcry_mpi_new(0);
    work.contender(
        "libgcrypt", [=](uint8_t *) { gcry_mpi_powm(gz, gx, ge, gp); },
        [=](uint8_t *out) { fetch(out, gz); });
#endif
#if QAL_BENCH_BOTAN
    auto *const bz = new Botan::BigInt;
    const Botan::BigInt bx = botan_number(x), be = botan_number(e), bp = botan_number(p);
    work.contender(
        "botan", [=](uint8_t *) { *bz = Botan::power_mod(bx, be, bp); },
        [=](uint8_t *out) { fetch(out, *bz); });
#endif
#if QAL_BENCH_CRYPTOPP
    auto *const cz = new CryptoPP::Integer;
    const CryptoPP::Integer cx = cryptopp_number(x), ce = cryptopp_number(e),
                            cp = cryptopp_number(p);
    work.contender(
        "crypto++", [=](uint8_t *) { *cz = CryptoPP::ModularExponentiation(cx, ce, cp); },
        [=](uint8_t *out) { fetch(out, *cz); });
#endif
}

} // namespace

int main(int argc, char **argv)
{
    return run_benchmarks(argc, argv, [] {
        for (const size_t n : {4U, 8U, 16U, 32U, 64U})
            add_product(n);
        for (const size_t n : {4U, 8U, 16U, 32U})
            add_division(n);
        for (const size_t n : {4U, 8U, 16U, 32U})
            add_montgomery(n);
        for (const size_t n : {8U, 16U, 32U})
            add_exponentiation(n);
    });
}
