// DSTU 4145-2002 and its Diffie-Hellman, beside ECDSA and ECDH on OpenSSL's binary curves of
// nearest sizes: the same work in the group of the curve, with keys and results of another kind.
#include "../tools/qal/dstu_domains.hpp"
#include "support/workload.hpp"

#include <qal/dhua.h>

#include <memory>

#if QAL_BENCH_CRYPTO
#include <openssl/ec.h>
#include <openssl/ecdsa.h>
#include <openssl/obj_mac.h>
#endif

using namespace qal::bench;

namespace {

// Not a random source for anything but this.
int fill(uint8_t *buf, uint32_t len)
{
    static uint64_t state = 1;
    for (uint32_t i = 0; i < len; i++) {
        state = state * 6364136223846793005 + 1442695040888963407;
        buf[i] = static_cast<uint8_t>(state >> 56);
    }
    return 0;
}

// A party with everything that its operations need, for as long as the program runs.
struct Party {
    dstu_ctx ctx;
    dstu_bspool pool;
    Bytes priv, pub, peer, hash, sig;

    explicit Party(const qal::tool::DstuDomain &domain)
    {
        set_up(ctx, domain);
        dstu_bspool_init(&pool, &ctx, fill);
        generate(peer);
        generate(pub);
        hash = random_bytes(32);
        sign();
    }

    int generate(Bytes &key)
    {
        priv.resize(static_cast<size_t>(ctx.key_len));
        key.resize(static_cast<size_t>(ctx.field_len));
        auto priv_len = ctx.key_len, pub_len = ctx.field_len;
        return dstu_gen_keys(&ctx, &pool, &priv_len, priv.data(), &pub_len, key.data());
    }

    int sign()
    {
        sig.resize(static_cast<size_t>(ctx.sig_len));
        auto sig_len = ctx.sig_len;
        return dstu_sign(&ctx, &pool, ctx.key_len, priv.data(), 256, hash.data(), &sig_len,
                         sig.data());
    }

    int verify() const
    {
        return dstu_verify(&ctx, ctx.field_len, pub.data(), 256, hash.data(), ctx.sig_len,
                           sig.data());
    }

    int agree(uint8_t *secret) const
    {
        int32_t size;
        return dhua_zz(&ctx, ctx.key_len, priv.data(), ctx.field_len, peer.data(), 0, &size,
                       secret);
    }
};

#if QAL_BENCH_CRYPTO
struct Peer {
    EC_KEY *key, *other, *fresh;
    Bytes hash = random_bytes(32), sig;
    unsigned size = 0;

    explicit Peer(int curve)
        : key(EC_KEY_new_by_curve_name(curve)), other(EC_KEY_new_by_curve_name(curve)),
          fresh(EC_KEY_new_by_curve_name(curve))
    {
        EC_KEY_generate_key(key);
        EC_KEY_generate_key(other);
        sig.resize(static_cast<size_t>(ECDSA_size(key)));
        sign();
    }

    bool sign() { return ECDSA_sign(0, hash.data(), 32, sig.data(), &size, key) == 1; }
    bool verify() const
    {
        return ECDSA_verify(0, hash.data(), 32, sig.data(), static_cast<int>(size), key) == 1;
    }
    bool agree(uint8_t *secret) const
    {
        return ECDH_compute_key(secret, 64, EC_KEY_get0_public_key(other), key, nullptr) > 0;
    }
};
#endif

// The result is whether it went well.
template<typename Run>
auto answering(Run run)
{
    return [run](uint8_t *out) { out[0] = run(); };
}

struct Neighbour {
    const char *name;
    int curve;
};

void add(const char *domain, const std::vector<Neighbour> &neighbours)
{
    auto *const own = new Party(qal::tool::dstu_domain(domain));
    const std::string size = std::string(domain).substr(1) + "bits";
    Workload keys("dstu-keygen", size, 0, 1), signing("dstu-sign", size, 0, 1),
        verifying("dstu-verify", size, 0, 1), agreeing("dstu-agree", size, 0, 1);
    keys.contender("qal", answering([own] {
                       Bytes pub;
                       return own->generate(pub) == 0;
                   }));
    own->generate(own->pub); // so that keys match again
    own->sign();
    signing.contender("qal", answering([own] { return own->sign() == 0; }));
    verifying.contender("qal", answering([own] { return own->verify() == 0; }));
    agreeing.contender("qal", answering([own] {
                           uint8_t secret[64];
                           return own->agree(secret) == 0;
                       }));
#if QAL_BENCH_CRYPTO
    for (const Neighbour &neighbour : neighbours) {
        auto *const peer = new Peer(neighbour.curve);
        const std::string name = std::string("openssl-") + neighbour.name;
        keys.contender(name, answering([peer] { return EC_KEY_generate_key(peer->fresh) == 1; }));
        signing.contender(name, answering([peer] { return peer->sign(); }));
        verifying.contender(name, answering([peer] { return peer->verify(); }));
        agreeing.contender(name, answering([peer] {
                               uint8_t secret[80];
                               return peer->agree(secret);
                           }));
    }
#endif
}

} // namespace

int main(int argc, char **argv)
{
#if QAL_BENCH_CRYPTO
    add("m163", {{"sect163r2", NID_sect163r2}, {"sect163k1", NID_sect163k1}});
    add("m191", {{"c2tnb191v1", NID_X9_62_c2tnb191v1}, {"sect193r1", NID_sect193r1}});
    add("m257", {{"sect239k1", NID_sect239k1}, {"sect283r1", NID_sect283r1}});
    add("m431", {{"c2tnb431r1", NID_X9_62_c2tnb431r1}, {"sect409r1", NID_sect409r1}});
#else
    for (const char *domain : {"m163", "m191", "m257", "m431"})
        add(domain, {});
#endif
    return run_benchmarks(argc, argv);
}
