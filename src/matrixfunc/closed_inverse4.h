// The inverse of a 4x4 matrix in closed form.
//
//   beginInverse4      up to the reciprocal of the determinant, for a scalar or for objects in lanes
//   closedInverse4     the whole
//
// Cofactors are built up from the 2x2 minors of two columns; the determinant is the expansion along the first column.
// Every operation rounds to the element type, and the one division is that of the reciprocal.
#pragma once

#include "matrixfunc/adjugate.h"

namespace tarnm {

// Returns the lanes whose determinant is smaller in magnitude than `tolerance`. In these the adjugate is not to be used.
// A determinant equal to the tolerance passes, and so does NaN.
template <class V> TARNM_INLINE mask_t<V> beginInverse4(const V (&a)[4][4], V tolerance, Adjugate<4, V>& adjugate)
{
    // Minors of the rows r < s: of columns 2 and 3, of columns 0 and 1.
    V right[4][4], left[4][4];
    TARNM_UNROLL
    for (int r = 0; r < 3; ++r)
        TARNM_UNROLL
    for (int s = r + 1; s < 4; ++s) {
        right[r][s] = a[r][2] * a[s][3] - a[r][3] * a[s][2];
        left[r][s] = a[r][0] * a[s][1] - a[r][1] * a[s][0];
    }

    // minors[i][j]: the 3x3 minor without row i and column j.
    auto& minors = adjugate.minors;
    TARNM_UNROLL
    for (int i = 0; i < 4; ++i) {
        const int p = i == 0 ? 1 : 0, q = i <= 1 ? 2 : 1, r = i <= 2 ? 3 : 2;
        const auto expanded = [&](int column, const V(&pairs)[4][4]) __attribute__((always_inline))
        {
            return (a[p][column] * pairs[q][r] - a[q][column] * pairs[p][r]) + a[r][column] * pairs[p][q];
        };
        minors[i][0] = expanded(1, right);
        minors[i][1] = expanded(0, right);
        minors[i][2] = expanded(3, left);
        minors[i][3] = expanded(2, left);
    }

    const V determinant =
        ((a[0][0] * minors[0][0] - a[1][0] * minors[1][0]) + a[2][0] * minors[2][0]) - a[3][0] * minors[3][0];
    adjugate.reciprocal = V(1) / determinant;
    return tolerance > abs(determinant);
}

template <class V> TARNM_INLINE mask_t<V> closedInverse4(const V (&a)[4][4], V tolerance, V (&x)[4][4])
{
    Adjugate<4, V> adjugate;
    const mask_t<V> failed = beginInverse4(a, tolerance, adjugate);
    adjugate.scaleTo(x);
    return failed;
}

} // namespace tarnm
