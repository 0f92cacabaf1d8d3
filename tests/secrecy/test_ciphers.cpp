// Ciphers and hashes as far as their headers promise it for processors with AVX2. What promises it
// with AVX-512 or GFNI alone is beyond what valgrind executes.
#include "base/cpu.hpp"
#include "secrecy.hpp"

#include <qal/g28147.h>
#include <qal/kuzn.h>

using namespace qal::test;

namespace {

constexpr size_t runs[] = {4096, 8192, 65536};

// What runs without AVX2 reads tables, as the headers say.
void expect_promise(unsigned dependences)
{
    const uint32_t features = qal::base::cpu_features(QAL_ISA_CAP);
    EXPECT_EQ(dependences == 0, (features & qal::base::cpu_avx2) != 0);
}

} // namespace

TEST_F(Secrecy, KuznyechikRunsOfBlocks)
{
    for (const size_t size : runs) {
        Secret key(random.bytes(32)), data(random.bytes(size));
        const Bytes iv = random.bytes(8);
        kuzn_ctr_ctx ctx;
        // Round keys are made by tables.
        reveal(key.data(), key.size());
        kuzn_ctr_init(&ctx, iv.data(), key.data());
        conceal(ctx.rk, sizeof ctx.rk);
        expect_promise(
            secret_dependences([&] { kuzn_ctr_update(&ctx, data.data(), data.data(), size); }));
    }
}

TEST_F(Secrecy, Gost28147RunsOfBlocks)
{
    for (const size_t size : runs) {
        Secret key(random.bytes(32)), data(random.bytes(size));
        const Bytes iv = random.bytes(8);
        expect_promise(secret_dependences([&] {
            g28147_ecb_ctx ecb;
            g28147_ecb_init_ext(&ecb, 0, key.data(), CryptoPro_uz);
            g28147_ecb_update(&ecb, data.data(), data.data(), size);
            g28147_cfb_ctx cfb;
            g28147_cfb_init_ext(&cfb, 1, key.data(), iv.data(), CryptoPro_uz);
            g28147_cfb_dec_update_blocks(&cfb, data.data(), data.data(), size);
        }));
    }
}
