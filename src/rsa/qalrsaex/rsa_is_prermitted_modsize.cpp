#include <qal/rsa.h>

uint32_t rsa_is_prermitted_modsize(uint32_t bits)
{
    return bits == 512 || bits == 1024 || bits == 1536 || bits == 2048;
}
