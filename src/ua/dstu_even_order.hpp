// The steps of DSTU 4145-2002 for a base point of even order.
//
// No base point of the standard has such an order, but the set-up of a domain accepts one. The
// routines for odd orders do not hold there: Tr(x) = Tr(a) is a property of points of odd order,
// and both the signed windows and Montgomery's products need an odd modulus. These twins use the
// general operations; their time depends on the values. The pool takes Engine::multiply_var instead
// of the windows.
#pragma once

#include <qal/dstu.h>

namespace qal::ua::even_order {

// Like the functions of these names for odd orders.
void compress_var(const dstu_ctx &ctx, qal2d *c, qale2point *P);
void negate_compressed_var(const dstu_ctx &ctx, qal2d *c);
void abscissa_var(const dstu_ctx &ctx, qal2d *x, const qal2d *c);
void signature_scalar_var(const dstu_ctx &ctx, qald *s, const qald *e, const qald *d,
                          const qald *r);

} // namespace qal::ua::even_order
