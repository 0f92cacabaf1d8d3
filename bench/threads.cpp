// What several threads get done at once that share a context, a key, a message; only what an
// operation writes is each thread's own.
#include "../tools/qal/dstu_domains.hpp"
#include "support/workload.hpp"

#include <qal/qal.h>

#include <algorithm>
#include <memory>
#include <thread>

using namespace qal::bench;

namespace {

int random(uint8_t *buf, uint32_t len)
{
    const Bytes bytes = material("k", len);
    std::copy(bytes.begin(), bytes.end(), buf);
    return 0;
}

void require(int code)
{
    if (code != 0) {
        std::fprintf(stderr, "threads: code %d\n", code);
        std::exit(1);
    }
}

// A domain of DSTU 4145-2002, two parties' keys and a signature.
struct Dstu {
    dstu_ctx ctx;
    Bytes priv, pub, sig, hash = material("hash", 32);

    Dstu()
    {
        set_up(ctx, qal::tool::dstu_domain("m257"));
        priv.resize(static_cast<size_t>(ctx.key_len));
        pub.resize(static_cast<size_t>(ctx.field_len));
        sig.resize(static_cast<size_t>(ctx.sig_len));
        dstu_bspool pool;
        dstu_bspool_init(&pool, &ctx, random);
        int32_t sizes[] = {ctx.key_len, ctx.field_len, ctx.sig_len};
        dstu_gen_keys(&ctx, &pool, &sizes[0], priv.data(), &sizes[1], pub.data());
        dstu_sign(&ctx, &pool, ctx.key_len, priv.data(), 256, hash.data(), &sizes[2], sig.data());
    }
};

void add(unsigned threads)
{
    static const Bytes message = material("message", 65536), key = material("key", 32),
                       iv = material("iv", 8);
    add_threads("threads-streebog-512-64KiB", threads, [] {
        return [] {
            streebog_ctx ctx;
            uint8_t digest[64];
            streebog512_init(&ctx);
            streebog512_update(&ctx, message.data(), message.size());
            streebog512_final(digest, &ctx);
            benchmark::DoNotOptimize(digest);
        };
    });

    static const kuzn_ctr_ctx begun = [] {
        kuzn_ctr_ctx ctx;
        kuzn_ctr_init(&ctx, iv.data(), key.data());
        return ctx;
    }();
    add_threads("threads-kuznyechik-ctr-64KiB", threads, [] {
        return [out = std::make_shared<Bytes>(message.size())] {
            kuzn_ctr_ctx ctx = begun;
            kuzn_ctr_update(&ctx, message.data(), out->data(), message.size());
        };
    });

    static const Dstu dstu;
    add_threads("threads-dstu-sign-257bits", threads, [] {
        const auto pool = std::make_shared<dstu_bspool>(); // the one-time secrets are its own
        dstu_bspool_init(pool.get(), &dstu.ctx, random);
        return [pool] {
            uint8_t sig[128];
            auto size = dstu.ctx.sig_len;
            require(dstu_sign(&dstu.ctx, pool.get(), dstu.ctx.key_len, dstu.priv.data(), 256,
                              dstu.hash.data(), &size, sig));
            benchmark::DoNotOptimize(sig);
        };
    });
    add_threads("threads-dstu-verify-257bits", threads, [] {
        return [] {
            require(dstu_verify(&dstu.ctx, dstu.ctx.field_len, dstu.pub.data(), 256,
                                dstu.hash.data(), dstu.ctx.sig_len, dstu.sig.data()));
        };
    });
    add_threads("threads-dstu-agree-257bits", threads, [] {
        return [] {
            uint8_t secret[64];
            int32_t size;
            require(dhua_zz(&dstu.ctx, dstu.ctx.key_len, dstu.priv.data(), dstu.ctx.field_len,
                            dstu.pub.data(), 0, &size, secret));
            benchmark::DoNotOptimize(secret);
        };
    });

    static const Bytes rsa_key = [] {
        rsa_keygen_ctx ctx;
        rsa_keygen_init(&ctx, 2048);
        for (int i = 0;
             rsa_keygen(&ctx, material("prime " + std::to_string(i), 128).data(), 128) != 0;)
            i++;
        Bytes bytes(5 * 128 + 10);
        require(rsa_get_privkey(&ctx, bytes.data(), static_cast<uint32_t>(bytes.size())));
        return bytes;
    }();
    add_threads("threads-rsa-private-2048bits", threads, [] {
        return [] {
            uint8_t out[256];
            require(rsa_sign(out, message.data(), 255, rsa_key.data()));
            benchmark::DoNotOptimize(out);
        };
    });
}

} // namespace

int main(int argc, char **argv)
{
    rsa_gen_rnd = random;
    return run_benchmarks(argc, argv, [] {
        const unsigned most = std::max(4U, std::thread::hardware_concurrency());
        for (unsigned threads = 1; threads <= most; threads *= 2)
            add(threads);
    });
}
