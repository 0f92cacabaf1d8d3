// Multiprecision integers: products, squares, division, Montgomery arithmetic and exponentiation.
#include "base/cpu.hpp"
#include "qalmath64/montgomery.hpp"
#include "support/workload.hpp"

#include <qal/qalmath64.h>

#include <cstring>

#if QAL_BENCH_GMP
#include <gmp.h>
#endif
#if QAL_BENCH_CRYPTO
#include <openssl/bn.h>
#endif

using namespace qal::bench;
using namespace qal::base;

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

void add_product(size_t n)
{
    const Number x = random_modulus(n), y = random_modulus(n);
    Workload product("product", digits_name(n), 0, room(2 * n));
    product.contender("qal", [=](uint8_t *out) { qalmul(x.data(), y.data(), words(out)); });
    if (n < QAL_KARATSUBA_DIGITS)
        product.contender("qal-base",
                          [=](uint8_t *out) { qalmul_base(x.data(), y.data(), words(out)); });
    Workload square("square", digits_name(n), 0, room(2 * n));
    square.contender("qal", [=](uint8_t *out) { qalsqr(x.data(), words(out)); });
    if (n < QAL_KARATSUBA_DIGITS)
        square.contender("qal-base", [=](uint8_t *out) { qalsqr_base(x.data(), words(out)); });
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
}

} // namespace

int main(int argc, char **argv)
{
    for (const size_t n : {4U, 8U, 16U, 32U, 64U})
        add_product(n);
    for (const size_t n : {4U, 8U, 16U, 32U})
        add_division(n);
    for (const size_t n : {4U, 8U, 16U, 32U})
        add_montgomery(n);
    for (const size_t n : {8U, 16U, 32U})
        add_exponentiation(n);
    return run_benchmarks(argc, argv);
}
