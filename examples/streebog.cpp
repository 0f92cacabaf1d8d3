#include <qal/streebog.h>

#include <array>
#include <cstdio>
#include <string_view>

int main()
{
    const std::string_view message = "abc";
    std::array<uint8_t, 32> digest;
    streebog_ctx ctx;
    streebog256_update(streebog256_init(&ctx), reinterpret_cast<const uint8_t *>(message.data()),
                       message.size());
    streebog256_final(digest.data(), &ctx);
    for (const uint8_t byte : digest)
        std::printf("%02x", byte);
    std::puts("");
}
