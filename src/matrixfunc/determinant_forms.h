// Closed forms of the determinant: expansions into minors, without pivoting.
//
//   determinantByLastRow     minors grow from the first row downwards
//   determinantByFirstRow    minors grow from the last row upwards; singles are computed in double precision
//   determinant4ByTriples    4x4, cofactors as sums of triple products
//   determinant4Fixed        4x4, in the order of the geometry kit
//
// Every operation rounds to the type that it is computed in.
#pragma once

#include "matrixfunc/in_double.h"
#include "matrixfunc/minors.h"

namespace tarnm {

template <int n, class V> TARNM_INLINE V expandedByLastRow(const V (&a)[n][n])
{
    constexpr unsigned all = (1u << n) - 1;
    MinorTable<n, V> minors;
    startMinors<n>(a[0], minors);
    addRow<n, 2, Terms::highestFirst>(a[1], minors);
    if constexpr (n > 3) addRow<n, 3, Terms::highestFirst>(a[2], minors);
    if constexpr (n > 4) addRow<n, 4, Terms::highestFirst>(a[3], minors);
    if constexpr (n > 5) addRow<n, 5, Terms::highestFirst>(a[4], minors);
    if constexpr (n == 4) {
        const V without0 = minors[0b1110], without1 = minors[0b1101], without2 = minors[0b1011],
                without3 = minors[0b0111];
        return (((V(0) - a[3][0]) * without0 + without1 * a[3][1]) - without2 * a[3][2]) + without3 * a[3][3];
    } else
        return expandedAlong<Terms::highestFirst, all>(a[n - 1], minors);
}

template <int n, class V> TARNM_INLINE V expandedByFirstRow(const V (&a)[n][n])
{
    constexpr unsigned all = (1u << n) - 1;
    MinorTable<n, V> minors;
    startMinors<n>(a[n - 1], minors);
    addRow<n, 2, Terms::lowestFirst>(a[n - 2], minors);
    addRow<n, 3, Terms::lowestFirst>(a[n - 3], minors);
    if constexpr (n > 4) addRow<n, 4, Terms::lowestFirst>(a[n - 4], minors);
    if constexpr (n > 5) addRow<n, 5, Terms::lowestFirst>(a[n - 5], minors);
    return expandedAlong<Terms::lowestFirst, all>(a[0], minors);
}

// The forms of 3x3 have orders of their own.
template <class V> TARNM_INLINE V expanded3ByFirstRow(const V (&a)[3][3])
{
    return ((a[2][0] * a[1][2] - a[1][0] * a[2][2]) * a[0][1] + (a[2][1] * a[1][0] - a[2][0] * a[1][1]) * a[0][2]) +
           (a[1][1] * a[2][2] - a[1][2] * a[2][1]) * a[0][0];
}

template <class V> TARNM_INLINE V expanded3ByFirstColumn(const V (&a)[3][3])
{
    return ((a[1][2] * a[0][1] - a[1][1] * a[0][2]) * a[2][0] + (a[1][1] * a[2][2] - a[1][2] * a[2][1]) * a[0][0]) +
           (a[2][1] * a[0][2] - a[0][1] * a[2][2]) * a[1][0];
}

template <int n, class V> TARNM_INLINE V expandedDense(const V (&a)[n][n])
{
    if constexpr (sizeof(scalar_t<V>) == 4)
        return inDouble(
            a, [](const auto& wide) __attribute__((always_inline)) {
                if constexpr (n == 3)
                    return expanded3ByFirstRow(wide);
                else
                    return expandedByFirstRow(wide);
            });
    else if constexpr (n == 3)
        return expanded3ByFirstColumn(a);
    else
        return expandedByFirstRow(a);
}

// Orders 5 and 6 are long and stand in a source of their own, for one object and for native lanes.
template <int n, class V> V longDeterminantByLastRow(const V (&a)[n][n]);
template <int n, class V> V longDeterminantByFirstRow(const V (&a)[n][n]);

template <int n, class V> TARNM_INLINE V determinantByLastRow(const V (&a)[n][n])
{
    if constexpr (n > 4)
        return longDeterminantByLastRow(a);
    else
        return expandedByLastRow(a);
}

template <int n, class V> TARNM_INLINE V determinantByFirstRow(const V (&a)[n][n])
{
    if constexpr (n > 4)
        return longDeterminantByFirstRow(a);
    else
        return expandedDense(a);
}

// Along the first row. The minors of the other three are sums of signed products of three elements.
template <class V> TARNM_INLINE V determinant4ByTriples(const V (&a)[4][4])
{
    V pairs[4][4];
    TARNM_UNROLL
    for (int i = 0; i < 4; ++i)
        TARNM_UNROLL
    for (int j = 0; j < 4; ++j)
        pairs[i][j] = a[2][i] * a[3][j];

    V minors[4];
    TARNM_UNROLL
    for (int c = 0; c < 4; ++c) {
        const int i = c == 0 ? 1 : 0, j = c <= 1 ? 2 : 1, k = c <= 2 ? 3 : 2;
        minors[c] = ((a[1][i] * pairs[j][k] + a[1][j] * pairs[k][i]) + a[1][k] * pairs[i][j]) -
                    ((a[1][i] * pairs[k][j] + a[1][j] * pairs[i][k]) + a[1][k] * pairs[j][i]);
    }
    return ((a[0][0] * minors[0] - a[0][1] * minors[1]) + a[0][2] * minors[2]) - a[0][3] * minors[3];
}

template <class V> TARNM_INLINE V determinant4Fixed(const V (&a)[4][4])
{
    const auto minor = [&](int i, int j) __attribute__((always_inline))
    {
        return a[2][i] * a[3][j] - a[2][j] * a[3][i];
    };
    const V p = minor(0, 3), q = minor(1, 3), r = minor(0, 2), s = minor(2, 3), u = minor(1, 2), v = minor(0, 1);
    return (((s * a[1][1] - q * a[1][2]) + u * a[1][3]) * a[0][0] -
            ((s * a[1][0] - p * a[1][2]) + r * a[1][3]) * a[0][1]) +
           (((q * a[1][0] - p * a[1][1]) + v * a[1][3]) * a[0][2] -
            ((u * a[1][0] - r * a[1][1]) + v * a[1][2]) * a[0][3]);
}

} // namespace tarnm
