// Streebog of whole messages, from beginning to digest.
#if QAL_BENCH_NETTLE
#include <nettle/streebog.h>
// Its names are macros over prefixed ones, and hide ours.
#undef streebog256_init
#undef streebog256_update
#undef streebog256_digest
#undef streebog512_init
#undef streebog512_update
#undef streebog512_digest
#endif

#include "support/peers.hpp"
#include "support/workload.hpp"

#include <qal/streebog.h>

#if QAL_BENCH_GCRYPT
#include <gcrypt.h>
#endif
#if QAL_BENCH_BOTAN
#include <botan/hash.h>
#endif

using namespace qal::bench;

namespace {

template<size_t size>
void add(const Bytes &message)
{
    constexpr bool wide = size == 64;
    Workload work(wide ? "streebog-512" : "streebog-256", size_name(message.size()), message.size(),
                  size);
    work.contender("qal", [&](uint8_t *out) {
        streebog_ctx ctx;
        wide ? streebog512_init(&ctx) : streebog256_init(&ctx);
        streebog512_update(&ctx, message.data(), message.size());
        wide ? streebog512_final(out, &ctx) : streebog256_final(out, &ctx);
    });
#if QAL_BENCH_GCRYPT
    work.contender("libgcrypt", [&](uint8_t *out) {
        gcry_md_hash_buffer(wide ? GCRY_MD_STRIBOG512 : GCRY_MD_STRIBOG256, out, message.data(),
                            message.size());
    });
#endif
#if QAL_BENCH_NETTLE
    work.contender("nettle", [&](uint8_t *out) {
        struct streebog512_ctx ctx;
        wide ? nettle_streebog512_init(&ctx) : nettle_streebog256_init(&ctx);
        nettle_streebog512_update(&ctx, message.size(), message.data());
        wide ? nettle_streebog512_digest(&ctx, size, out)
             : nettle_streebog256_digest(&ctx, size, out);
    });
#endif
#if QAL_BENCH_BOTAN
    static auto *const hash = // for as long as the program runs
        Botan::HashFunction::create_or_throw(wide ? "Streebog-512" : "Streebog-256").release();
    work.contender("botan", [&](uint8_t *out) {
        hash->update(message.data(), message.size());
        hash->final(out);
    });
#endif
#if QAL_BENCH_CRYPTO
    if (gost_engine()) {
        const EVP_MD *const md = EVP_get_digestbyname(wide ? "md_gost12_512" : "md_gost12_256");
        work.contender("openssl-gost-engine", [&message, md](uint8_t *out) {
            EVP_Digest(message.data(), message.size(), out, nullptr, md, gost_engine());
        });
    }
#endif
}

} // namespace

int main(int argc, char **argv)
{
    std::vector<Bytes> messages;
    for (const size_t size : message_sizes)
        messages.push_back(material("message", size));
    return run_benchmarks(argc, argv, [&] {
        for (const Bytes &message : messages) {
            add<64>(message);
            add<32>(message);
        }
    });
}
