/* Sizes and offsets of the public records: programs are compiled against these. */
#include <qal/qal.h>

#include <assert.h>
#include <stddef.h>

#define AT(record, field, offset)                                                                  \
    static_assert(offsetof(record, field) == (offset), #record "." #field)

static_assert(sizeof(kuzn_ecb_ctx) == 164, "kuzn_ecb_ctx");
AT(kuzn_ecb_ctx, rk, 0);
AT(kuzn_ecb_ctx, direction, 160);

static_assert(sizeof(kuzn_ctr_ctx) == 196, "kuzn_ctr_ctx");
AT(kuzn_ctr_ctx, rk, 0);
AT(kuzn_ctr_ctx, counter, 160);
AT(kuzn_ctr_ctx, gamma, 176);
AT(kuzn_ctr_ctx, pos, 192);
static_assert(sizeof kuz_pi == 256 && sizeof kuz_pi_inv == 256, "kuz_pi");
static_assert(sizeof tab_0x94 == 256 && sizeof tab_0xFB == 256, "tab_0x94");

static_assert(sizeof(streebog_ctx) == 264, "streebog_ctx");
AT(streebog_ctx, N, 0);
AT(streebog_ctx, h, 64);
AT(streebog_ctx, sigma, 128);
AT(streebog_ctx, buffer, 192);
AT(streebog_ctx, npending, 256);
static_assert(sizeof streebog_lp64 == 16384, "streebog_lp64");
static_assert(sizeof streebog_c == 768, "streebog_c");
