#include <qal/rsa.h>

#include <string.h>

int dummy_gen_rnd(uint8_t *, uint32_t)
{
    for (;;)
        __builtin_ia32_pause();
}

qal_rnd rsa_gen_rnd = dummy_gen_rnd;

int rsa_keygen_rp_init(rsa_keygen_rp *rp, const qald *n)
{
    memset(rp, 0, sizeof *rp);
    rp->n = n;
    return rsa_gen_rnd(rp->pool, sizeof rp->pool);
}

qald *rsa_keygen_rp_get(rsa_keygen_rp *rp, qald *out)
{
    const qald *n = rp->n;
    const auto bytes = static_cast<uint32_t>(qalbitlen(n, 8));
    const uint64_t bits = qalbitlen(n, 1);
    for (;;) {
        if (static_cast<uint32_t>(rp->pos) + bytes > sizeof rp->pool) {
            rsa_gen_rnd(rp->pool, sizeof rp->pool);
            rp->pos = 0;
            continue;
        }
        // The next base begins at the next byte: bases share all bytes but one.
        qalfrombase256(out, rp->pool + rp->pos, bytes);
        rp->pos++;
        qalmodexpb2(out, bits);
        if (qalcmp(out, n) >= 0)
            qalsub(out, n);
        if (qalcmp(out, QALBIG_ONE) > 0)
            return out;
    }
}
