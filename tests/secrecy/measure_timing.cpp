// A statistical look at what valgrind cannot execute: does an operation take as long for one
// secret, the same every time, as for secrets drawn anew? Welch's t over many runs of both kinds in
// random order, after Reparaz, Balasch and Verbauwhede, "Dude, is my code constant time?" (DATE
// 2017). Values beyond 4.5 speak against it, the more the longer they grow with the number of runs;
// on a busy machine they say little. Nothing is asserted.
#include "domain.hpp"
#include "support/bytes.hpp"
#include "support/vectors.hpp"

#include <qal/qal.h>

#include <x86intrin.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>

using namespace qal::test;

namespace {

size_t runs = 20000;

struct Moments {
    double count = 0, mean = 0, squares = 0;

    void add(double x)
    {
        count++;
        const double delta = x - mean;
        mean += delta / count;
        squares += delta * (x - mean);
    }
    [[nodiscard]] double variance() const { return squares / (count - 1); }
};

// draw() makes a secret; run(secret) is the operation.
void measure(const char *name, size_t fewer, const std::function<Bytes()> &draw,
             const std::function<void(const uint8_t *)> &run)
{
    Random random;
    const size_t count = runs / fewer;
    const Bytes fixed = draw();
    std::vector<uint64_t> times(count);
    std::vector<bool> is_fixed(count);
    Bytes secret(fixed.size());
    for (size_t i = 0; i < count; i++) {
        is_fixed[i] = random.below(2);
        const Bytes drawn = draw();
        const Bytes &chosen = is_fixed[i] ? fixed : drawn;
        std::copy(chosen.begin(), chosen.end(), secret.begin());
        unsigned processor;
        _mm_lfence();
        const uint64_t begin = __rdtsc();
        run(secret.data());
        times[i] = __rdtscp(&processor) - begin;
    }
    // Interrupts make a tail that hides everything else.
    std::vector<uint64_t> sorted = times;
    std::sort(sorted.begin(), sorted.end());
    const uint64_t limit = sorted[count * 9 / 10];
    Moments classes[2];
    for (size_t i = count / 20; i < count; i++) {
        if (times[i] <= limit)
            classes[is_fixed[i]].add(static_cast<double>(times[i]));
    }
    const double t =
        (classes[1].mean - classes[0].mean) / std::sqrt(classes[0].variance() / classes[0].count +
                                                        classes[1].variance() / classes[1].count);
    std::printf("%-28s %8zu runs %10.0f cycles   t = %6.2f\n", name, count, classes[0].mean, t);
    std::fflush(stdout);
}

Bytes scalar(Random &random)
{
    Bytes bytes = random.bytes(32);
    bytes[0] = static_cast<uint8_t>((bytes[0] & 0x3f) | 0x20);
    return bytes;
}

Bytes rsa_key(Random &random, size_t size)
{
    Bytes key;
    for (int i = 0; i < 5; i++) {
        Bytes number = random.bytes(size);
        number.front() |= 0x80;
        number.back() |= 1;
        key.push_back(static_cast<uint8_t>(size >> 8));
        key.push_back(static_cast<uint8_t>(size));
        key.insert(key.end(), number.begin(), number.end());
    }
    return key;
}

void measure_rsa(Random &random)
{
    const Bytes message = random.bytes(256);
    Bytes out(256);
    for (const size_t size : {32U, 64U, 96U, 128U}) {
        measure(("rsa_sign, " + std::to_string(16 * size) + " bits").c_str(), size / 8,
                [&] { return rsa_key(random, size); },
                [&](const uint8_t *key) {
                    rsa_sign(out.data(), message.data(), static_cast<int32_t>(2 * size), key);
                });
    }
}

void measure_gost(Random &random)
{
    VectorFile("gost3410/curves.vec").each("curve", [&](Vector &vector) {
        const auto number = [&](const char *name) { return vector.bytes(name); };
        const Bytes p = number("P"), a = number("A"), b = number("B"), q = number("Q"),
                    x = number("X"), y = number("Y"), k = scalar(random), digest = random.bytes(32);
        const std::string on = ", " + vector.text("Name");
        rds_ctx ctx;
        if (rds_init(&ctx, p.data(), a.data(), b.data(), q.data(), x.data(), y.data()) != 0)
            std::exit(1);
        Bytes out(64), pubkey(64);
        const auto draw = [&] { return scalar(random); };
        measure(("rds_gen_keys" + on).c_str(), 1, draw,
                [&](const uint8_t *d) { rds_gen_keys(&ctx, d, out.data()); });
        measure(("rds_sign, d" + on).c_str(), 1, draw,
                [&](const uint8_t *d) { rds_sign(&ctx, d, k.data(), digest.data(), out.data()); });
        measure(("rds_sign, k" + on).c_str(), 1, draw, [&](const uint8_t *nonce) {
            rds_sign(&ctx, k.data(), nonce, digest.data(), out.data());
        });
        rds_gen_keys(&ctx, k.data(), pubkey.data());
        measure(("vko341001_gen_kek" + on).c_str(), 2, draw, [&](const uint8_t *d) {
            vko341001_gen_kek(&ctx, out.data(), d, pubkey.data(), digest.data());
        });
    });
}

Random *source;

void measure_dstu(Random &random)
{
    source = &random;
    for (const char *name : {"m163", "m191", "m257", "m431"}) {
        dstu_ctx ctx;
        set_up_domain(ctx, name);
        dstu_bspool pool;
        dstu_bspool_init(&pool, &ctx, [](uint8_t *buf, uint32_t len) {
            const Bytes bytes = source->bytes(len);
            std::copy(bytes.begin(), bytes.end(), buf);
            return 0;
        });
        Bytes priv(static_cast<size_t>(ctx.key_len)), pub(static_cast<size_t>(ctx.field_len));
        Bytes shared(pub.size());
        int32_t priv_len = ctx.key_len, pub_len = ctx.field_len, shared_len = 0;
        dstu_gen_keys(&ctx, &pool, &priv_len, priv.data(), &pub_len, pub.data());
        // Private keys of full length: the last bytes of a drawn one are cut.
        const auto draw = [&] {
            Bytes bytes = random.bytes(static_cast<size_t>(priv_len));
            bytes.back() = 0;
            bytes[bytes.size() - 2] = static_cast<uint8_t>(bytes[bytes.size() - 2] >> 2 | 0x10);
            return bytes;
        };
        measure((std::string("dhua_zz, ") + name).c_str(), 2, draw, [&](const uint8_t *d) {
            dhua_zz(&ctx, priv_len, d, pub_len, pub.data(), 0, &shared_len, shared.data());
        });
    }
}

void measure_symmetric(Random &random)
{
    const Bytes data = random.bytes(1024), iv = random.bytes(8);
    Bytes out(1024);
    measure(
        "kuzn_ctr, 1 KiB", 1, [&] { return random.bytes(32); },
        [&](const uint8_t *key) {
            kuzn_ctr_ctx ctx;
            kuzn_ctr_init(&ctx, iv.data(), key);
            kuzn_ctr_update(&ctx, data.data(), out.data(), data.size());
        });
    measure(
        "g28147_ecb, 1 KiB", 1, [&] { return random.bytes(32); },
        [&](const uint8_t *key) {
            g28147_ecb_ctx ctx;
            g28147_ecb_init_ext(&ctx, 1, key, CryptoPro_uz);
            g28147_ecb_update(&ctx, data.data(), out.data(), data.size());
        });
    measure(
        "streebog512, 1 KiB", 1, [&] { return random.bytes(1024); },
        [&](const uint8_t *message) {
            streebog_ctx ctx;
            streebog512_init(&ctx);
            streebog512_update(&ctx, message, 1024);
            streebog512_final(out.data(), &ctx);
        });
    measure(
        "gr341194, 1 KiB", 1, [&] { return random.bytes(1024); },
        [&](const uint8_t *message) {
            gr341194_md_ctx ctx;
            gr341194_md_init_ext(&ctx, CryptoPro_iv, CryptoPro_uz);
            gr341194_md_update(&ctx, message, 1024);
            gr341194_md_final(&ctx, out.data());
        });
}

} // namespace

int main(int argc, char **argv)
{
    if (argc > 1)
        runs = std::max<size_t>(1000, std::strtoul(argv[1], nullptr, 10));
    Random random;
    measure_rsa(random);
    measure_gost(random);
    measure_dstu(random);
    measure_symmetric(random);
}
