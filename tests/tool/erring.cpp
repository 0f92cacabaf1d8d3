// Preloaded into the program: signatures come out with one bit wrong, as from a processor that
// erred.
#include <qal/dstu.h>
#include <qal/rds.h>
#include <qal/rsa.h>

#include <dlfcn.h>

namespace {

template<typename Function>
Function *next(Function *, const char *name)
{
    return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

} // namespace

int rds_sign(const rds_ctx *ctx, const uint8_t *privkey, const uint8_t *k, const uint8_t *digest,
             uint8_t *sig)
{
    const int code = next(rds_sign, "rds_sign")(ctx, privkey, k, digest, sig);
    sig[31] ^= 1;
    return code;
}

int dstu_sign(const dstu_ctx *ctx, dstu_bspool *pool, int32_t priv_len, const uint8_t *priv,
              int32_t hash_bits, const uint8_t *hash, int32_t *sig_len, uint8_t *sig)
{
    const int status =
        next(dstu_sign, "dstu_sign")(ctx, pool, priv_len, priv, hash_bits, hash, sig_len, sig);
    sig[0] ^= 1;
    return status;
}

int rsa_sign(uint8_t *out, const uint8_t *m, int32_t mlen, const uint8_t *key)
{
    const int status = next(rsa_sign, "rsa_sign")(out, m, mlen, key);
    out[mlen - 1] ^= 1;
    return status;
}
