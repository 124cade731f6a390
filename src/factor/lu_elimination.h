// LU decomposition of one matrix with row pivoting, and of several in lanes.
//
//   caseTolerance, generalTolerance
//                    up to which magnitude a pivot counts as zero
//   RowIndex         the index array of one object
//   eliminateCase    orders 3 to 6, on local elements whose rows change places
//   eliminateInPlace all other orders, on rows that stay where they are
//
// The factor of step k is the row that the index array names at position k: multipliers to the left of column k, the
// row of the upper triangle from there on. The unit diagonal of the lower triangle is stored nowhere.
#pragma once

#include <limits>

#include "frame/lanes.h"
#include "frame/operands.h"
#include "tarnm/tarnm.h"

namespace tarnm {

using RowIndex = StridedVector<std::int32_t, Spacing::dense>;
using ConstRowIndex = StridedVector<const std::int32_t, Spacing::dense>;

namespace lu {

// Neither follows the scale of the matrix.
template <class T> inline constexpr T caseTolerance = 2 * std::numeric_limits<T>::min();
template <class T> inline constexpr T generalTolerance = std::numeric_limits<T>::epsilon();

template <int n, class V> TARNM_INLINE void exchangeWhere(mask_t<V> here, V (&a)[n], V (&b)[n])
{
    if constexpr (lane_count_v<V> == 1)
        if (!here) return;
    TARNM_UNROLL
    for (int c = 0; c < n; ++c) {
        const V fromB = select(here, b[c], a[c]);
        b[c] = select(here, a[c], b[c]);
        a[c] = fromB;
    }
}

// Brings the row with the largest magnitude in column k to position k and returns that magnitude. Ties keep the earliest
// row. A NaN at position k stays, one behind it never wins.
template <int n, class V> TARNM_INLINE V bringPivot(int k, V (&a)[n][n], V (&rows)[n])
{
    V largest = abs(a[k][k]);
    mask_t<V> exceeds[n];
    TARNM_UNROLL
    for (int p = k + 1; p < n; ++p) {
        const V magnitude = abs(a[p][k]);
        exceeds[p] = magnitude > largest;
        largest = select(exceeds[p], magnitude, largest);
    }
    mask_t<V> isSettled(false);
    TARNM_UNROLL
    for (int p = n - 1; p > k; --p) {
        const mask_t<V> wins = exceeds[p] && !isSettled;
        isSettled = isSettled || exceeds[p];
        exchangeWhere<n, V>(wins, a[k], a[p]);
        const V fromBehind = select(wins, rows[p], rows[k]);
        rows[p] = select(wins, rows[k], rows[p]);
        rows[k] = fromBehind;
    }
    return largest;
}

// Every step but the last multiplies by the rounded reciprocal of its pivot; the last has one row left and divides.
template <int n, class V> TARNM_INLINE void eliminateBelow(int k, V (&a)[n][n])
{
    const V reciprocal = k == n - 2 ? a[k][k] : V(scalar_t<V>(1)) / a[k][k];
    TARNM_UNROLL
    for (int p = k + 1; p < n; ++p) {
        const V multiplier = k == n - 2 ? a[p][k] / a[k][k] : a[p][k] * reciprocal;
        a[p][k] = multiplier;
        TARNM_UNROLL
        for (int c = k + 1; c < n; ++c)
            a[p][c] -= a[k][c] * multiplier;
    }
}

// Leaves the factor's row k in a[k] and the number of the source row that it comes from in rows[k]. Calls rowIsFinal(k)
// as soon as nothing can change that row any more. Returns the lanes that met a pivot below the tolerance; where V is a
// scalar it stops there.
template <int n, class V, class RowIsFinal>
TARNM_INLINE mask_t<V> eliminateCase(V (&a)[n][n], V (&rows)[n], const RowIsFinal& rowIsFinal)
{
    const V tolerance(caseTolerance<scalar_t<V>>);
    mask_t<V> failed(false);
    TARNM_UNROLL
    for (int i = 0; i < n; ++i)
        rows[i] = V(scalar_t<V>(i));
    TARNM_UNROLL
    for (int k = 0; k < n; ++k) {
        failed = failed || tolerance > bringPivot(k, a, rows);
        if constexpr (lane_count_v<V> == 1)
            if (failed) return failed;
        if (k < n - 1) eliminateBelow(k, a);
        rowIsFinal(k);
    }
    return failed;
}

// `m` holds the source's elements and becomes the factor. A failing step leaves the index array as it was before the
// exchange of that step.
template <class M> tarnmStatus eliminateInPlace(const M& m, RowIndex index, std::int32_t n)
{
    using T = typename M::Element;
    const auto magnitude = [&](std::int32_t p, std::int32_t k) { return abs(m(index[p], k)); };
    for (std::int32_t k = 0; k < n - 1; ++k) {
        std::int32_t best = k;
        T largest = magnitude(k, k);
        for (std::int32_t p = k + 1; p < n; ++p)
            if (magnitude(p, k) > largest) {
                best = p;
                largest = magnitude(p, k);
            }
        if (generalTolerance<T> >= largest) return StatusSingular;
        const std::int32_t pivotRow = index[best];
        index.set(best, index[k]);
        index.set(k, pivotRow);

        const T reciprocal = T(1) / m(pivotRow, k);
        for (std::int32_t p = k + 1; p < n; ++p)
            m.set(index[p], k, m(index[p], k) * reciprocal);
        for (std::int32_t p = k + 1; p < n; ++p) {
            const std::int32_t row = index[p];
            const T multiplier = m(row, k);
            for (std::int32_t c = k + 1; c < n; ++c)
                m.set(row, c, m(row, c) - m(pivotRow, c) * multiplier);
        }
    }
    return generalTolerance<T> >= magnitude(n - 1, n - 1) ? StatusSingular : StatusOk;
}

} // namespace lu
} // namespace tarnm
