// DSTU 4145-2002 and its Diffie-Hellman. Few libraries have them; beside those stand ECDSA and ECDH
// on that one of OpenSSL's binary curves of nearly the size on which it is fastest: the same work
// in the group of the curve, with keys and results of another kind.
#include "../tools/qal/dstu_domains.hpp"
#include "support/workload.hpp"

#include <qal/dhua.h>

#include <algorithm>
#include <cstring>

#if QAL_BENCH_CRYPTO
#include <openssl/ec.h>
#include <openssl/ecdsa.h>
#include <openssl/obj_mac.h>
#endif

using namespace qal::bench;

namespace {

// Random sources that give the same secrets again and again: all contenders have the same.
template<char who>
int give(uint8_t *buf, uint32_t len)
{
    static const Bytes source = material({who}, 64);
    std::copy_n(source.begin(), len, buf);
    return 0;
}

// A party with everything that its operations need, for as long as the program runs.
struct Party {
    const qal::tool::DstuDomain &domain;
    dstu_ctx ctx;
    dstu_bspool empty, full;
    // Used up one after the other.
    std::vector<dstu_bspool> prepared;
    Bytes priv, pub, peer, hash, sig;

    // The random source is that of the pools.
    Party(const qal::tool::DstuDomain &d, qal_rnd rnd)
        : domain(d), prepared(16), hash(material("hash", 32))
    {
        set_up(ctx, domain);
        priv.resize(static_cast<size_t>(ctx.key_len));
        pub.resize(static_cast<size_t>(ctx.field_len));
        peer.resize(static_cast<size_t>(ctx.field_len));
        sig.resize(static_cast<size_t>(ctx.sig_len));
        dstu_bspool_init(&empty, &ctx, give<'p'>);
        generate(empty, peer.data());
        dstu_bspool_init(&empty, &ctx, give<'d'>);
        generate(empty, pub.data());
        dstu_bspool_init(&empty, &ctx, rnd);
        sign(empty, sig.data());
        fill_pool(full);
    }

    static constexpr size_t slots = 5;
    size_t prepared_secrets() const { return slots * prepared.size(); }

    void fill_pool(dstu_bspool &pool) const
    {
        dstu_bspool_init(&pool, &ctx, empty.rnd);
        while (pool.ready != (1U << slots) - 1)
            dstu_bspool_step(&pool);
    }

    void prepare() { std::fill(prepared.begin(), prepared.end(), full); }

    dstu_bspool &first_ready()
    {
        return *std::find_if(prepared.begin(), prepared.end(),
                             [](const dstu_bspool &pool) { return pool.ready != 0; });
    }

    int generate(dstu_bspool &pool, uint8_t *key)
    {
        uint8_t d[64];
        auto priv_len = ctx.key_len, pub_len = ctx.field_len;
        const int code = dstu_gen_keys(&ctx, &pool, &priv_len, d, &pub_len, key);
        std::memcpy(priv.data(), d, priv.size());
        return code;
    }

    int sign(dstu_bspool &pool, uint8_t *out) const
    {
        auto sig_len = ctx.sig_len;
        return dstu_sign(&ctx, &pool, ctx.key_len, priv.data(), 256, hash.data(), &sig_len, out);
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
    int curve;
    EC_KEY *key, *other, *fresh;
    BN_CTX *context = BN_CTX_new();
    Bytes hash = material("hash", 32), sig;
    unsigned size = 0;
    BIGNUM *inverse = nullptr, *r = nullptr;

    explicit Peer(int nid)
        : curve(nid), key(EC_KEY_new_by_curve_name(nid)), other(EC_KEY_new_by_curve_name(nid)),
          fresh(EC_KEY_new_by_curve_name(nid))
    {
        EC_KEY_generate_key(key);
        EC_KEY_generate_key(other);
        sig.resize(static_cast<size_t>(ECDSA_size(key)));
        sign();
        ECDSA_sign_setup(key, context, &inverse, &r);
    }

    bool sign() { return ECDSA_sign(0, hash.data(), 32, sig.data(), &size, key) == 1; }
    bool sign_prepared() const
    {
        ECDSA_SIG *const signature = ECDSA_do_sign_ex(hash.data(), 32, inverse, r, key);
        ECDSA_SIG_free(signature);
        return signature != nullptr;
    }
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

void add(const char *domain, const char *neighbour, int curve)
{
    auto *const own = new Party(qal::tool::dstu_domain(domain), give<'k'>);
    const std::string size = std::string(domain).substr(1) + "bits";
    Workload set_up_curve("dstu-setup", size, 0, 1), filling("dstu-pool-fill", size, 0, 0),
        keys("dstu-keygen", size, 0, own->pub.size()),
        ready_keys("dstu-keygen-full-pool", size, 0, own->pub.size()),
        signing("dstu-sign", size, 0, own->sig.size()),
        ready_signing("dstu-sign-full-pool", size, 0, own->sig.size()),
        verifying("dstu-verify", size, 0, 1), agreeing("dstu-agree", size, 0, own->pub.size());
    set_up_curve.contender_apart("qal", [own](uint8_t *) {
        dstu_ctx ctx;
        set_up(ctx, own->domain);
        benchmark::DoNotOptimize(ctx);
    });
    // Five secrets, in steps.
    filling.contender_apart("qal", [own](uint8_t *) {
        dstu_bspool pool;
        own->fill_pool(pool);
        benchmark::DoNotOptimize(pool);
    });
    signing.contender("qal", [own](uint8_t *out) { own->sign(own->empty, out); });
    ready_signing.contender_prepared(
        "qal", own->prepared_secrets(), [own] { own->prepare(); },
        [own](uint8_t *out) { own->sign(own->first_ready(), out); });
    verifying.contender("qal", answering([own] { return own->verify() == 0; }));
    agreeing.contender("qal", [own](uint8_t *out) { own->agree(out); });
    auto *const maker = new Party(own->domain, give<'d'>);
    keys.contender("qal", [maker](uint8_t *out) { maker->generate(maker->empty, out); });
    ready_keys.contender_prepared(
        "qal", maker->prepared_secrets(), [maker] { maker->prepare(); },
        [maker](uint8_t *out) { maker->generate(maker->first_ready(), out); });
#if QAL_BENCH_CRYPTO
    auto *const peer = new Peer(curve);
    const std::string name = std::string("openssl:") + neighbour;
    // With the library's check, that the order times the base point is at infinity.
    set_up_curve.contender_apart(name, answering([peer] {
                                     EC_GROUP *const group =
                                         EC_GROUP_new_by_curve_name(peer->curve);
                                     const bool good = EC_GROUP_check(group, peer->context) == 1;
                                     EC_GROUP_free(group);
                                     return good;
                                 }));
    keys.contender_apart(name, answering([peer] { return EC_KEY_generate_key(peer->fresh) == 1; }));
    signing.contender_apart(name, answering([peer] { return peer->sign(); }));
    ready_signing.contender_apart(name, answering([peer] { return peer->sign_prepared(); }));
    verifying.contender(name, answering([peer] { return peer->verify(); }));
    agreeing.contender_apart(name, answering([peer] {
                                 uint8_t secret[80];
                                 return peer->agree(secret);
                             }));
#else
    (void)neighbour;
    (void)curve;
#endif
}

} // namespace

int main(int argc, char **argv)
{
    return run_benchmarks(argc, argv, [] {
#if QAL_BENCH_CRYPTO
        add("m163", "sect163k1", NID_sect163k1);
        add("m191", "c2tnb191v1", NID_X9_62_c2tnb191v1);
        add("m257", "sect239k1", NID_sect239k1);
        add("m431", "sect409k1", NID_sect409k1);
#else
        for (const char *domain : {"m163", "m191", "m257", "m431"})
            add(domain, nullptr, 0);
#endif
    });
}
