// What the files of DSTU 4145-2002 share: domains, and the bytes of points and keys.
#pragma once

#include "base/require.hpp"
#include "ua/engine.hpp"
#include "ua/fields.hpp"

#include <qal/dstu.h>

#include <stddef.h>

namespace qal::ua {

// The source path that failed preconditions report is part of the interface, as the expression is:
// it is the same for all operations of dstu.h, whichever file holds them.
constexpr char qal_source[] = "../src/ua/dstu";

// An order has at most m bits.
constexpr size_t most_order_digits = largest_field.words();

// Room for a product of two numbers below the order, and for the work of qaldiv() beside it.
typedef qald Number[1 + 2 * most_order_digits + 2];

inline int32_t field_bytes(const qale2curve &curve)
{
    return static_cast<int32_t>((curve.mod_m + 8) / 8);
}

inline int32_t degree_of(const dstu_ctx &ctx)
{
    return static_cast<int32_t>(ctx.curve.mod_m);
}

inline uint64_t order_bits(const dstu_ctx &ctx)
{
    return qalbitlen(ctx.n, 1);
}

// Every base point of the standard has an odd order. The set-up accepts even orders, too: for these
// there is dstu_even_order.hpp.
inline bool has_odd_order(const dstu_ctx &ctx)
{
    return (ctx.n[1] & 1) != 0;
}

inline const Engine &engine_of(const dstu_ctx &ctx)
{
    const qale2curve &c = ctx.curve;
    return *engine_of_field(c.mod_m, c.mod_a, c.mod_b, c.mod_c);
}

// Decompresses a point; returns false if the bytes are no element of the field or no point.
bool read_point_var(const qale2curve &curve, qale2point *P, const uint8_t *bytes, int32_t size);

// Reads a private key d: above 0 and shorter than n. It gets as many digits as n, with zeros at the
// top if need be. Returns false if d is out of range. Constant time.
bool read_private_key(const dstu_ctx &ctx, qald *d, const uint8_t *bytes, int32_t size);

// A number from bytes and back, in constant time: x gets as many digits as the bytes fill, with
// zeros at the top if need be.
void read_digits(qald *x, const uint8_t *bytes, size_t size);
void write_digits(uint8_t *bytes, size_t size, const qald *x);

} // namespace qal::ua
