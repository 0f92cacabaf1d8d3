// Kuznyechik: counter mode over whole messages under a key that is set up, single blocks one after
// the other, and the key schedule.
#include "base/bytes.hpp"
#include "base/cpu.hpp"
#include "ru/kuznyechik_kernels.hpp"
#include "support/kuznyechik_tables.hpp"
#include "support/peers.hpp"
#include "support/workload.hpp"

#include <qal/kuzn.h>

#include <cstring>

using namespace qal::bench;
using namespace qal::base;
using namespace qal::ru;

namespace {

const Bytes key = random_bytes(32), iv = random_bytes(8);

const uint8_t *round_keys()
{
    static const Bytes rk = [] {
        Bytes keys(160);
        kuzn_setup_keys(keys.data(), key.data());
        return keys;
    }();
    return rk.data();
}

template<auto ctr_blocks>
void with(const Bytes &in, uint8_t *out)
{
    uint32_t counter[4] = {0, 0, load_be32(iv.data() + 4), load_be32(iv.data())};
    ctr_blocks(round_keys(), counter, in.data(), out, in.size() / 16);
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
    work.contender("qal-portable",
                   [&](uint8_t *out) { with<kuznyechik_ctr_blocks_portable>(in, out); });
    const uint32_t cpu = cpu_features();
    work.contender_if(cpu & cpu_avx2, "qal-avx2",
                      [&](uint8_t *out) { with<kuznyechik_ctr_blocks_avx2>(in, out); });
    work.contender_if(has_bits(cpu, cpu_avx2 | cpu_gfni), "qal-avx2-gfni",
                      [&](uint8_t *out) { with<kuznyechik_ctr_blocks_avx2_gfni>(in, out); });
    work.contender_if(cpu & cpu_avx512, "qal-avx512",
                      [&](uint8_t *out) { with<kuznyechik_ctr_blocks_avx512>(in, out); });
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
    work.contender("qal-portable", [](uint8_t *) { kuzn_block_enc_portable(block, round_keys()); });
    work.contender("64KiB-tables",
                   [](uint8_t *) { table_kuznyechik_encrypt(block, round_keys()); });
}

void add_key_schedule()
{
    Workload work("kuznyechik-keys", "32B", 0, 160);
    work.contender("qal", [](uint8_t *rk) { kuzn_setup_keys(rk, key.data()); });
    work.contender("qal-portable", [](uint8_t *rk) { kuzn_setup_keys_portable(rk, key.data()); });
    work.contender("64KiB-tables", [](uint8_t *rk) { table_kuznyechik_keys(rk, key.data()); });
}

} // namespace

int main(int argc, char **argv)
{
    set_up_peers();
    std::vector<Bytes> messages;
    for (const size_t size : {size_t{64}, size_t{1} << 10, size_t{64} << 10, size_t{1} << 20})
        messages.push_back(random_bytes(size));
    for (const Bytes &message : messages)
        add_counter_mode(message);
    add_single_block();
    add_key_schedule();
    return run_benchmarks(argc, argv);
}
