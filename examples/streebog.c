#include <qal/streebog.h>

#include <stdio.h>

int main(void)
{
    const uint8_t message[] = {'a', 'b', 'c'};
    uint8_t digest[64];
    streebog_ctx ctx;
    streebog512_init(&ctx);
    streebog512_update(&ctx, message, sizeof message);
    streebog512_final(digest, &ctx);
    for (size_t i = 0; i < sizeof digest; i++)
        printf("%02x", digest[i]);
    putchar('\n');
}
