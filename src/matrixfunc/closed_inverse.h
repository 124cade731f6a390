// Inverses in closed form: the adjugate over the determinant.
//
//   closedInverse      orders 3 to 6 by a true division
//   refinedInverse     orders 3 and 4 in single precision by the refined reciprocal
//   cofactors4         the cofactors and the determinant behind the latter
//
// All are one text for an object and for objects in lanes, and return the lanes whose determinant is smaller in
// magnitude than the tolerance: in these the inverse is not to be used. A determinant equal to the tolerance passes,
// and so does NaN.
#pragma once

#include "matrixfunc/adjugate.h"
#include "matrixfunc/closed_inverse4.h"

namespace tarnm {

// minors[i][j] lacks row i and column j. Returns the determinant.
template <class V> TARNM_INLINE V minors3(const V (&a)[3][3], V (&minors)[3][3])
{
    TARNM_UNROLL
    for (int i = 0; i < 3; ++i)
        TARNM_UNROLL
    for (int j = 0; j < 3; ++j) {
        const int p = i == 0 ? 1 : 0, q = i == 2 ? 1 : 2;
        const int c = j == 0 ? 1 : 0, d = j == 2 ? 1 : 2;
        minors[i][j] = a[p][c] * a[q][d] - a[p][d] * a[q][c];
    }
    return (minors[2][0] * a[2][0] - minors[1][0] * a[1][0]) + minors[0][0] * a[0][0];
}

template <class V> TARNM_INLINE mask_t<V> closedInverse3(const V (&a)[3][3], V tolerance, V (&x)[3][3])
{
    V minors[3][3];
    const V determinant = minors3(a, minors);
    scaledAdjugate(minors, V(1) / determinant, x);
    return tolerance > abs(determinant);
}

// Orders 5 and 6 are long and stand in a source of their own, for one object and for native lanes.
template <int n, class V> mask_t<V> longClosedInverse(const V (&a)[n][n], V tolerance, V (&x)[n][n]);

template <int n, class V> TARNM_INLINE mask_t<V> closedInverse(const V (&a)[n][n], V tolerance, V (&x)[n][n])
{
    if constexpr (n == 3)
        return closedInverse3(a, tolerance, x);
    else if constexpr (n == 4)
        return closedInverse4(a, tolerance, x);
    else
        return longClosedInverse(a, tolerance, x);
}

// cofactors[i][j] lacks row i and column j and has its sign; each is a sum of signed products of three elements.
// Returns the determinant, expanded along the first column.
template <class V> TARNM_INLINE V cofactors4(const V (&a)[4][4], V (&cofactors)[4][4])
{
    // Products of elements of two rows: of columns 2 and 3, of columns 0 and 1.
    V right[4][4], left[4][4];
    TARNM_UNROLL
    for (int r = 0; r < 4; ++r)
        TARNM_UNROLL
    for (int s = 0; s < 4; ++s) {
        right[r][s] = a[r][2] * a[s][3];
        left[r][s] = a[r][0] * a[s][1];
    }

    TARNM_UNROLL
    for (int i = 0; i < 4; ++i) {
        const int p = i == 0 ? 1 : 0, q = i <= 1 ? 2 : 1, r = i <= 2 ? 3 : 2;
        const auto summed = [&](int j, int column, const V(&pairs)[4][4]) __attribute__((always_inline))
        {
            const V even = (a[p][column] * pairs[q][r] + a[q][column] * pairs[r][p]) + a[r][column] * pairs[p][q];
            const V odd = (a[p][column] * pairs[r][q] + a[q][column] * pairs[p][r]) + a[r][column] * pairs[q][p];
            return (i + j) % 2 == 0 ? even - odd : odd - even;
        };
        cofactors[i][0] = summed(0, 1, right);
        cofactors[i][1] = summed(1, 0, right);
        cofactors[i][2] = summed(2, 3, left);
        cofactors[i][3] = summed(3, 2, left);
    }
    return (a[3][0] * cofactors[3][0] + a[1][0] * cofactors[1][0]) +
           (a[2][0] * cofactors[2][0] + a[0][0] * cofactors[0][0]);
}

template <class V> TARNM_INLINE mask_t<V> refinedInverse4(const V (&a)[4][4], V tolerance, V (&x)[4][4], V& determinant)
{
    V cofactors[4][4];
    determinant = cofactors4(a, cofactors);
    const V reciprocal = refinedReciprocal(determinant);
    TARNM_UNROLL
    for (int i = 0; i < 4; ++i)
        TARNM_UNROLL
    for (int j = 0; j < 4; ++j)
        x[j][i] = cofactors[i][j] * reciprocal;
    return tolerance > abs(determinant);
}

template <class V> TARNM_INLINE mask_t<V> refinedInverse(const V (&a)[3][3], V tolerance, V (&x)[3][3])
{
    V minors[3][3];
    const V determinant = minors3(a, minors);
    scaledAdjugate(minors, refinedReciprocal(determinant), x);
    return tolerance > abs(determinant);
}

template <class V> TARNM_INLINE mask_t<V> refinedInverse(const V (&a)[4][4], V tolerance, V (&x)[4][4])
{
    V determinant;
    return refinedInverse4(a, tolerance, x, determinant);
}

} // namespace tarnm
