// Reduction to Hessenberg form by reflectors, without balancing.
//
//   reduceToHessenberg      H = Q^T A Q; the reflectors stay below the first subdiagonal
//   formOrthogonalMatrix    Q from those reflectors
//   clearBelowSubdiagonal   what is left of them
//
// Sums run in ascending order of their index.
#pragma once

#include "eigen/general_reflector.h"

namespace tarnm::general {

// Calls body(j, lanes whose reflector number j is not the identity), with v(1) = 1 in its place.
template <class V, class Body> TARNM_INLINE void withReflector(ColumnMatrix<V> h, const V* tau, int j, Body&& body)
{
    const mask_t<V> reflects = abs(tau[j]) > V(GeneralTolerance<scalar_t<V>>::safeMinimum);
    if (none(reflects)) return;
    const V subdiagonal = h(j + 1, j);
    h(j + 1, j) = V(1);
    body(h.column(j), reflects);
    h(j + 1, j) = subdiagonal;
}

// c -= tau v (v^T c) for the columns from `first` on, in rows first .. n.
template <class V> TARNM_INLINE void reflectColumns(ColumnMatrix<V> m, int first, const V* v, V tau, mask_t<V> reflects)
{
    for (int c = first; c <= m.order; ++c) {
        V* column = m.column(c);
        V product = V(0);
        for (int r = first; r <= m.order; ++r)
            product += column[r] * v[r];
        for (int r = first; r <= m.order; ++r)
            column[r] = onlyIn(reflects, column[r] - (tau * product) * v[r], column[r]);
    }
}

// r -= tau (r v) v^T for all rows, in columns first .. n. `work` has n values, with subscripts from 1.
template <class V>
TARNM_INLINE void reflectRows(ColumnMatrix<V> m, int first, const V* v, V tau, mask_t<V> reflects, V* work)
{
    const int n = m.order;
    for (int r = 1; r <= n; ++r)
        work[r] = V(0);
    for (int c = first; c <= n; ++c)
        for (int r = 1; r <= n; ++r)
            work[r] += m(r, c) * v[c];
    for (int c = first; c <= n; ++c)
        for (int r = 1; r <= n; ++r)
            m(r, c) = onlyIn(reflects, m(r, c) - (tau * v[c]) * work[r], m(r, c));
}

// `tau` and `work` have n values each, with subscripts from 1. The last reflector, of an empty vector, is the identity.
template <class V> void reduceToHessenberg(ColumnMatrix<V> h, V* tau, V* work)
{
    const int n = h.order;
    for (int j = 1; j < n - 1; ++j) {
        V* column = h.column(j);
        V squares = V(0);
        for (int i = j + 2; i <= n; ++i)
            squares += column[i] * column[i];
        const Reflector<V> reflector = makeReflector<V>(column[j + 1], sqrt(squares));
        tau[j] = reflector.tau;
        column[j + 1] = reflector.beta;
        for (int i = j + 2; i <= n; ++i)
            column[i] *= reflector.scale;
        withReflector(
            h, tau, j, [&](const V* v, mask_t<V> reflects) __attribute__((always_inline)) {
                reflectRows(h, j + 1, v, tau[j], reflects, work);
                reflectColumns(h, j + 1, v, tau[j], reflects);
            });
    }
}

template <class V> void formOrthogonalMatrix(ColumnMatrix<V> h, const V* tau, ColumnMatrix<V> q)
{
    const int n = h.order;
    for (int c = 1; c <= n; ++c)
        for (int r = 1; r <= n; ++r)
            q(r, c) = V(scalar_t<V>(r == c));
    for (int j = n - 2; j >= 1; --j)
        withReflector(
            h, tau, j, [&](const V* v, mask_t<V> reflects) __attribute__((always_inline)) {
                reflectColumns(q, j + 1, v, tau[j], reflects);
            });
}

template <class V> void clearBelowSubdiagonal(ColumnMatrix<V> h)
{
    for (int j = 1; j <= h.order - 2; ++j)
        for (int i = j + 2; i <= h.order; ++i)
            h(i, j) = V(0);
}

} // namespace tarnm::general
