#include "base/wipe.hpp"
#include "rsa/primality.hpp"
#include "rsa/qalrsaex/parameters.hpp"

#include <string.h>

using namespace qal::rsa;

int rsa_keygen_init(rsa_keygen_ctx *ctx, uint32_t bits)
{
    if (ctx == nullptr)
        return RSA_BAD_ARGUMENT;
    if (rsa_is_prermitted_modsize(bits) == 0)
        return RSA_BAD_SIZE;
    memset(ctx, 0, sizeof *ctx);
    ctx->bits = bits;
    return RSA_OK;
}

namespace {

void complete(rsa_keygen_ctx *ctx)
{
    qald p1[QALBIG_SIZE], q1[QALBIG_SIZE], phi[QALBIG_SIZE], lambda[QALBIG_SIZE];
    qald gcd[QALBIG_SIZE], d[QALBIG_SIZE], remainder[QALBIG_SIZE];
    qalsub(qalcopy(p1, ctx->p), QALBIG_ONE);
    qalsub(qalcopy(q1, ctx->q), QALBIG_ONE);
    qalmul(p1, q1, phi);
    qaldiv(phi, GCD(p1, q1, gcd), lambda, remainder);
    inv_mod_extgcd(qalconvert(d, public_exponent), lambda);
    qaldiv(d, p1, nullptr, remainder);
    qalcopy(ctx->dP, remainder);
    qaldiv(d, q1, nullptr, remainder);
    qalcopy(ctx->dQ, remainder);
    qalcopy(ctx->qInv, inv_mod_extgcd(qalcopy(d, ctx->q), ctx->p));
}

// Adds a prime to the key.
int add_prime(rsa_keygen_ctx *ctx, const qald *x)
{
    if (ctx->p[0] == 0) {
        qalcopy(ctx->p, x);
        return RSA_CALL_AGAIN;
    }
    const int32_t order = qalcmp(x, ctx->p);
    if (order == 0)
        return RSA_CALL_AGAIN;
    if (order > 0) {
        qalcopy(ctx->q, ctx->p);
        qalcopy(ctx->p, x);
    } else {
        qalcopy(ctx->q, x);
    }
    rsa_gen_crt(ctx);
    return RSA_OK;
}

} // namespace

void rsa_gen_crt(rsa_keygen_ctx *ctx)
{
    qal::base::run_on_wiped_stack<stack_depth>([ctx] { complete(ctx); });
}

int rsa_keygen(rsa_keygen_ctx *ctx, const uint8_t *rnd, uint32_t len)
{
    if (ctx == nullptr)
        return RSA_BAD_ARGUMENT;
    if (rsa_is_prermitted_modsize(ctx->bits) == 0)
        return RSA_BAD_SIZE;
    const uint32_t prime_bytes = ctx->bits / 16;
    if (len < prime_bytes)
        return RSA_TOO_FEW_RANDOM;
    if (rnd == nullptr)
        return RSA_BAD_ARGUMENT;

    qald x[modulus_digits / 2 + 2];
    qalfrombase256(x, rnd, prime_bytes);
    if (x[0] == 0 || x[1] % 2 == 0)
        qaladd(x, QALBIG_ONE);
    const uint64_t prime_bits = ctx->bits / 2;
    if (qalbitlen(x, 1) < prime_bits)
        qaladdb2(x, prime_bits - 1);
    int status = RSA_CALL_AGAIN;
    if (find_prime_near(x) != 0 && rsa_prime_ok(x, ctx->bits) != 0)
        status = add_prime(ctx, x);
    qal::base::wipe(x, sizeof x);
    return status;
}
