#include "rsa/qalrsaex/parameters.hpp"

using namespace qal::rsa;

namespace {

// Whether there is a key to be written, and where.
int check(const rsa_keygen_ctx *ctx, const uint8_t *out)
{
    if (ctx == nullptr || out == nullptr)
        return RSA_BAD_ARGUMENT;
    if (rsa_is_prermitted_modsize(ctx->bits) == 0)
        return RSA_BAD_SIZE;
    return ctx->p[0] == 0 || ctx->q[0] == 0 ? RSA_BAD_ARGUMENT : RSA_OK;
}

} // namespace

int rsa_get_privkey(const rsa_keygen_ctx *ctx, uint8_t *out, uint32_t size)
{
    const int status = check(ctx, out);
    if (status != RSA_OK)
        return status;
    if (size < 5 * (ctx->bits / 16) + 10)
        return RSA_OUTPUT_TOO_SMALL;
    const qald *const parameters[] = {ctx->p, ctx->q, ctx->dP, ctx->dQ, ctx->qInv};
    for (const qald *x : parameters)
        out += save_rsa_key_prm(out, x);
    return RSA_OK;
}

int rsa_get_pubkey(const rsa_keygen_ctx *ctx, uint8_t *out, uint32_t size)
{
    const int status = check(ctx, out);
    if (status != RSA_OK)
        return status;
    if (size < ctx->bits / 8 + 7)
        return RSA_OUTPUT_TOO_SMALL;
    qald n[modulus_digits + 3];
    qalmul(ctx->p, ctx->q, n);
    out += save_rsa_key_prm(out, n);
    save_rsa_key_prm(out, public_exponent_number);
    return RSA_OK;
}
