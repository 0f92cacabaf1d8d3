// What signatures and key agreement share.
#pragma once

#include <qal/dstu.h>

namespace qal::ua {

inline int32_t field_bytes(const qale2curve &curve)
{
    return static_cast<int32_t>((curve.mod_m + 8) / 8);
}

// Decompresses a point out of bytes; false if they are no element of the field or no point.
bool read_point(const qale2curve &curve, qale2point *P, const uint8_t *bytes, int32_t size);

// Reads a private key d: above 0 and shorter than n, and with as many digits as n afterwards, zeros
// at the top or not.
bool read_private_key(const dstu_ctx &ctx, qald *d, const uint8_t *bytes, int32_t size);

} // namespace qal::ua
