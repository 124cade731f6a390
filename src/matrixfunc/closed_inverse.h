// Inverses in closed form: the adjugate over the determinant.
//
//   beginInverse3      order 3 up to the reciprocal of the determinant, by a true division or refined
//   longClosedInverse  orders 5 and 6 by a true division; order 4 stands in closed_inverse4.h
//   refinedInverse     order 4 in single precision by the refined reciprocal
//   refinedInverse4    the same with the determinant
//
// All are one text for an object and for objects in lanes, and return the lanes whose determinant is smaller in
// magnitude than the tolerance: in these the inverse is not to be used. A determinant equal to the tolerance passes,
// and so does NaN.
#pragma once

#include "frame/blocks.h"
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

template <bool isRefined, class V>
TARNM_INLINE mask_t<V> beginInverse3(const V (&a)[3][3], V tolerance, Adjugate<3, V>& adjugate)
{
    const V determinant = minors3(a, adjugate.minors);
    if constexpr (isRefined)
        adjugate.reciprocal = refinedReciprocal(determinant);
    else
        adjugate.reciprocal = V(1) / determinant;
    return tolerance > abs(determinant);
}

// Orders 5 and 6 are long and stand in a source of their own, for one object and for native lanes.
template <int n, class V> mask_t<V> longClosedInverse(const V (&a)[n][n], V tolerance, V (&x)[n][n]);

// The cofactors of one column, with their signs: sums of products of three elements, those of the even permutations of
// three rows less those of the odd ones. Elements of `second` and `third` are multiplied first. An exchange of these two
// columns exchanges even and odd, which gives the columns of the matrix their alternating signs.
template <class V>
TARNM_INLINE void columnCofactors(const V (&first)[4], const V (&second)[4], const V (&third)[4], V (&cofactors)[4])
{
    V pairs[4][4];
    TARNM_UNROLL
    for (int r = 0; r < 4; ++r)
        TARNM_UNROLL
    for (int s = 0; s < 4; ++s)
        pairs[r][s] = second[r] * third[s];
    TARNM_UNROLL
    for (int i = 0; i < 4; ++i) {
        const int p = i == 0 ? 1 : 0, q = i <= 1 ? 2 : 1, r = i <= 2 ? 3 : 2;
        const V even = (first[p] * pairs[q][r] + first[q] * pairs[r][p]) + first[r] * pairs[p][q];
        const V odd = (first[p] * pairs[r][q] + first[q] * pairs[p][r]) + first[r] * pairs[q][p];
        cofactors[i] = i % 2 == 0 ? even - odd : odd - even;
    }
}

// The expansion along the first column.
template <class V> TARNM_INLINE V determinantOf(const V (&column)[4], const V (&cofactors)[4])
{
    return (column[3] * cofactors[3] + column[1] * cofactors[1]) +
           (column[2] * cofactors[2] + column[0] * cofactors[0]);
}

template <class V> TARNM_INLINE mask_t<V> refinedInverse4(const V (&a)[4][4], V tolerance, V (&x)[4][4], V& determinant)
{
    V columns[4][4];
    TARNM_UNROLL
    for (int r = 0; r < 4; ++r)
        TARNM_UNROLL
    for (int c = 0; c < 4; ++c)
        columns[c][r] = a[r][c];
    TARNM_UNROLL
    for (int j = 0; j < 4; ++j)
        columnCofactors(columns[j ^ 1], columns[j ^ 2], columns[j ^ 3], x[j]);
    determinant = determinantOf(columns[0], x[0]);
    const V reciprocal = refinedReciprocal(determinant);
    TARNM_UNROLL
    for (int i = 0; i < 16; ++i)
        x[i / 4][i % 4] = x[i / 4][i % 4] * reciprocal;
    return tolerance > abs(determinant);
}

// One object, given and taken by rows: all four columns side by side.
using FloatRow = lanes<float, 4>;

TARNM_INLINE bool refinedInverse4(const FloatRow (&a)[4], float tolerance, FloatRow (&x)[4], float& determinant)
{
    FloatRow first[4], second[4], third[4], cofactors[4];
    float column[4], columnCofactor[4];
    TARNM_UNROLL
    for (int r = 0; r < 4; ++r) {
        first[r] = blocks::shuffled<1, 0, 3, 2>(a[r], a[r]);
        second[r] = blocks::shuffled<2, 3, 0, 1>(a[r], a[r]);
        third[r] = blocks::shuffled<3, 2, 1, 0>(a[r], a[r]);
        column[r] = a[r][0];
    }
    columnCofactors(first, second, third, cofactors);
    TARNM_UNROLL
    for (int i = 0; i < 4; ++i)
        columnCofactor[i] = cofactors[i][0];
    determinant = determinantOf(column, columnCofactor);
    const FloatRow reciprocal = FloatRow(refinedReciprocal(determinant));
    TARNM_UNROLL
    for (int i = 0; i < 4; ++i)
        x[i] = cofactors[i] * reciprocal;
    blocks::transposePieces(x);
    return tolerance > abs(determinant);
}

template <class V> TARNM_INLINE mask_t<V> refinedInverse(const V (&a)[4][4], V tolerance, V (&x)[4][4])
{
    V determinant;
    return refinedInverse4(a, tolerance, x, determinant);
}

} // namespace tarnm
