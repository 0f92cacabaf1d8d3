#include <qal/qal.h>

int main(void)
{
    uint8_t digest[64];
    streebog_ctx ctx;
    streebog512_final(digest, streebog512_init(&ctx));
    return digest[0] == 0x8e && digest[1] == 0x94 && digest[63] == 0x8a ? 0 : 1;
}
