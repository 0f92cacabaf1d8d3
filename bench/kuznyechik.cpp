// Kuznyechik: counter mode over whole messages under a key that is set up, single blocks one after
// the other, and the key schedule.
#include "support/kuznyechik_tables.hpp"
#include "support/peers.hpp"
#include "support/workload.hpp"

#include <qal/kuzn.h>

#include <cstring>

using namespace qal::bench;

namespace {

const Bytes key = material("key", 32), iv = material("iv", 8);

const uint8_t *round_keys()
{
    static const Bytes rk = [] {
        Bytes keys(160);
        kuzn_setup_keys(keys.data(), key.data());
        return keys;
    }();
    return rk.data();
}

void add_counter_mode(const Bytes &in)
{
    Workload work("kuznyechik-ctr", size_name(in.size()), in.size(), in.size());
    static kuzn_ctr_ctx begun;
    kuzn_ctr_init(&begun, iv.data(), key.data());
    work.contender("qal", [&](uint8_t *out) {
        kuzn_ctr_ctx ctx = begun;
        kuzn_ctr_update(&ctx, in.data(), out, in.size());
    });
    work.contender("64KiB-tables", [&](uint8_t *out) {
        uint8_t counter[16] = {};
        std::memcpy(counter, iv.data(), 8);
        table_kuznyechik_ctr(round_keys(), counter, in.data(), out, in.size());
    });
#if QAL_BENCH_CRYPTO
    if (gost_engine()) {
        EVP_CIPHER_CTX *const ctx = EVP_CIPHER_CTX_new(); // for as long as the program runs
        EVP_EncryptInit_ex(ctx, EVP_get_cipherbyname("kuznyechik-ctr"), gost_engine(), key.data(),
                           nullptr);
        work.contender("openssl-gost-engine", [&in, ctx](uint8_t *out) {
            int length;
            EVP_EncryptInit_ex(ctx, nullptr, nullptr, nullptr, iv.data());
            EVP_EncryptUpdate(ctx, out, &length, in.data(), static_cast<int>(in.size()));
        });
    }
#endif
}

// Each encrypts the block that it left the last time: latency.
void add_single_block()
{
    Workload work("kuznyechik-block", "16B", 16, 0);
    static uint8_t block[16];
    work.contender("qal", [](uint8_t *) { kuzn_block_enc(block, round_keys()); });
    work.contender("64KiB-tables",
                   [](uint8_t *) { table_kuznyechik_encrypt(block, round_keys()); });
}

void add_key_schedule()
{
    Workload work("kuznyechik-keys", "32B", 0, 160);
    work.contender("qal", [](uint8_t *rk) { kuzn_setup_keys(rk, key.data()); });
    work.contender("64KiB-tables", [](uint8_t *rk) { table_kuznyechik_keys(rk, key.data()); });
#if QAL_BENCH_CRYPTO
    if (gost_engine()) {
        EVP_CIPHER_CTX *const ctx = EVP_CIPHER_CTX_new(); // for as long as the program runs
        const EVP_CIPHER *const cipher = EVP_get_cipherbyname("kuznyechik-ctr");
        work.contender_apart("openssl-gost-engine", [ctx, cipher](uint8_t *) {
            EVP_EncryptInit_ex(ctx, cipher, gost_engine(), key.data(), iv.data());
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
        for (const Bytes &message : messages)
            add_counter_mode(message);
        add_single_block();
        add_key_schedule();
    });
}
