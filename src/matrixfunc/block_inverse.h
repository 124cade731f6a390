// Inverses of orders 5 and 6 in single precision by blocks: one or two pivots with exchanges of columns, the cofactor
// inverse of the 4x4 block that remains, and the two assembled again.
//
//   blockInverse       the inverse, for an object and for objects in lanes
//   blockWorkRows      the first rows of the work area, as a failing object leaves them in its result
//
// A step on the matrix ( alpha d ; c B ) has the refined reciprocal r of alpha, the multipliers u = r c and the block
// S = B - u d. With the inverse X of S the inverse of the matrix is ( r - w r, -r (d X) ; b, X ), where b = X (-u) and
// w = d b.
#pragma once

#include "frame/lanes.h"

namespace tarnm {

// All lanes in which a pivot or the 4x4 determinant is smaller than the tolerance; x is not to be used there.
template <int n, class V> mask_t<V> blockInverse(const V (&a)[n][n], V tolerance, V (&x)[n][n]);

// The first n - 4 rows of `a` as the pivots up to the failing one leave them: row 0 is unchanged where the first pivot
// fails. For a single object.
template <int n> void blockWorkRows(float (&a)[n][n], float tolerance);

} // namespace tarnm
