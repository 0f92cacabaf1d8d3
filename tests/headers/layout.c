/* Sizes and offsets of the public records: programs are compiled against these. */
#include <qal/qal.h>

#include <assert.h>
#include <stddef.h>

#define AT(record, field, offset)                                                                  \
    static_assert(offsetof(record, field) == (offset), #record "." #field)

static_assert(sizeof(streebog_ctx) == 264, "streebog_ctx");
AT(streebog_ctx, N, 0);
AT(streebog_ctx, h, 64);
AT(streebog_ctx, sigma, 128);
AT(streebog_ctx, buffer, 192);
AT(streebog_ctx, npending, 256);
static_assert(sizeof streebog_lp64 == 16384, "streebog_lp64");
static_assert(sizeof streebog_c == 768, "streebog_c");
