// The last step of an inverse in closed form: the transposed minors with their signs, times the reciprocal of the
// determinant.
//
//   scaledAdjugate    that step
//   Adjugate          what it is made of
#pragma once

#include "frame/lanes.h"

namespace tarnm {

// minors[i][j] lacks row i and column j. Where the sign is negative the minor is taken from 0 before it is scaled, but
// in the first row of the inverse afterwards: zeros come out positive there.
template <int n, class V> TARNM_INLINE void scaledAdjugate(const V (&minors)[n][n], V reciprocal, V (&x)[n][n])
{
    TARNM_UNROLL
    for (int i = 0; i < n; ++i)
        TARNM_UNROLL
    for (int j = 0; j < n; ++j) {
        const bool isNegative = (i + j) % 2 != 0;
        if (!isNegative)
            x[j][i] = reciprocal * minors[i][j];
        else if (j == 0)
            x[j][i] = V(0) - reciprocal * minors[i][j];
        else
            x[j][i] = (V(0) - minors[i][j]) * reciprocal;
    }
}

// An inverse on its way.
template <int n, class V> struct Adjugate {
    V minors[n][n], reciprocal;

    TARNM_INLINE void scaleTo(V (&x)[n][n]) const { scaledAdjugate(minors, reciprocal, x); }
};

} // namespace tarnm
