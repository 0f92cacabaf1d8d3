#include "hash.hpp"

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

template<typename Algorithm>
std::unique_ptr<Hash> start()
{
    return std::make_unique<Algorithm>();
}

constexpr HashAlgorithm algorithms[] = {
    {"streebog-512", "STREEBOG-512", 64, start<Streebog512>},
    {"streebog-256", "STREEBOG-256", 32, start<Streebog256>},
};

} // namespace

std::span<const HashAlgorithm> hash_algorithms()
{
    return algorithms;
}

} // namespace qal::tool
