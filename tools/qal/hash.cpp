#include "hash.hpp"

#include <qal/gr341194.h>
#include <qal/streebog.h>

namespace qal::tool {

namespace {

template<size_t size, streebog_ctx *(*init)(streebog_ctx *),
         void (*update_)(streebog_ctx *, const uint8_t *, size_t),
         void (*final_)(uint8_t *, streebog_ctx *)>
class Streebog : public Hash {
public:
    Streebog() { init(&ctx_); }

    void update(const uint8_t *data, size_t length) override { update_(&ctx_, data, length); }

    Bytes finish() override
    {
        Bytes digest(size);
        final_(digest.data(), &ctx_);
        return digest;
    }

private:
    streebog_ctx ctx_;
};

using Streebog512 = Streebog<64, streebog512_init, streebog512_update, streebog512_final>;
using Streebog256 = Streebog<32, streebog256_init, streebog256_update, streebog256_final>;

class Gost94 : public Hash {
public:
    Gost94() { gr341194_md_init_ext(&ctx_, CryptoPro_iv, CryptoPro_uz); }

    void update(const uint8_t *data, size_t length) override
    {
        gr341194_md_update(&ctx_, data, length);
    }

    Bytes finish() override
    {
        Bytes digest(32);
        gr341194_md_final(&ctx_, digest.data());
        return digest;
    }

private:
    gr341194_md_ctx ctx_;
};

template<typename Algorithm>
std::unique_ptr<Hash> start()
{
    return std::make_unique<Algorithm>();
}

constexpr HashAlgorithm algorithms[] = {
    {"streebog-512", "STREEBOG-512", 64, start<Streebog512>},
    {"streebog-256", "STREEBOG-256", 32, start<Streebog256>},
    {"gost94", "GOST94", 32, start<Gost94>},
};

} // namespace

std::span<const HashAlgorithm> hash_algorithms()
{
    return algorithms;
}

} // namespace qal::tool
