// What the rows of determinants and inverses share: packed matrices that are well conditioned, and plain eliminations.
//
//   regularMatrices      sources with a heavy diagonal
//   plainDeterminant, plainInverse
//                        what a user would write: expansion for orders 2 to 4, elimination with row pivoting above
#pragma once

#include <cmath>
#include <cstdint>
#include <utility>

#include "rows/square.h"

namespace bench {

// What the members want as pBuffer.
template <class S> constexpr int scratchBytes = S::object + S::order* int(sizeof(std::int32_t));

template <class S> const typename S::T* regularMatrices(Row& row)
{
    using T = typename S::T;
    T* const a = const_cast<T*>(row.source<T>(S::size));
    for (int n = 0; n < row.count; ++n)
        for (int i = 0; i < S::order; ++i)
            a[n * S::size + i * (S::order + 1)] += T(2 * S::order);
    row.tolerance(std::is_same_v<T, float> ? 1e-4 : 1e-11);
    return a;
}

template <class T> T determinant2(const T* a) { return a[0] * a[3] - a[1] * a[2]; }

template <class T> T determinant3(const T* a)
{
    return a[0] * (a[4] * a[8] - a[5] * a[7]) - a[1] * (a[3] * a[8] - a[5] * a[6]) + a[2] * (a[3] * a[7] - a[4] * a[6]);
}

template <class T> T determinant4(const T* a)
{
    const T s0 = a[0] * a[5] - a[1] * a[4], s1 = a[0] * a[6] - a[2] * a[4], s2 = a[0] * a[7] - a[3] * a[4];
    const T s3 = a[1] * a[6] - a[2] * a[5], s4 = a[1] * a[7] - a[3] * a[5], s5 = a[2] * a[7] - a[3] * a[6];
    const T c0 = a[8] * a[13] - a[9] * a[12], c1 = a[8] * a[14] - a[10] * a[12], c2 = a[8] * a[15] - a[11] * a[12];
    const T c3 = a[9] * a[14] - a[10] * a[13], c4 = a[9] * a[15] - a[11] * a[13], c5 = a[10] * a[15] - a[11] * a[14];
    return s0 * c5 - s1 * c4 + s2 * c3 + s3 * c2 - s4 * c1 + s5 * c0;
}

template <int order, class T> T plainDeterminant(const T* source)
{
    if constexpr (order == 2) return determinant2(source);
    if constexpr (order == 3) return determinant3(source);
    if constexpr (order == 4) return determinant4(source);
    T a[order][order], product = 1;
    for (int i = 0; i < order * order; ++i)
        a[i / order][i % order] = source[i];
    for (int k = 0; k < order; ++k) {
        int p = k;
        for (int r = k + 1; r < order; ++r)
            if (std::fabs(a[r][k]) > std::fabs(a[p][k])) p = r;
        if (p != k) {
            for (int c = k; c < order; ++c)
                std::swap(a[k][c], a[p][c]);
            product = -product;
        }
        product *= a[k][k];
        for (int r = k + 1; r < order; ++r) {
            const T factor = a[r][k] / a[k][k];
            for (int c = k + 1; c < order; ++c)
                a[r][c] -= factor * a[k][c];
        }
    }
    return product;
}

template <class T> void inverse2(const T* a, T* x)
{
    const T r = 1 / determinant2(a);
    x[0] = a[3] * r;
    x[1] = -a[1] * r;
    x[2] = -a[2] * r;
    x[3] = a[0] * r;
}

template <class T> void inverse3(const T* a, T* x)
{
    const T r = 1 / determinant3(a);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            const int p = (i + 1) % 3, q = (i + 2) % 3, c = (j + 1) % 3, d = (j + 2) % 3;
            x[3 * j + i] = (a[3 * p + c] * a[3 * q + d] - a[3 * p + d] * a[3 * q + c]) * r;
        }
}

template <int order, class T> void plainInverse(const T* source, T* x)
{
    if constexpr (order == 2) return inverse2(source, x);
    if constexpr (order == 3) return inverse3(source, x);
    T a[order][order], b[order][order] = {};
    for (int i = 0; i < order * order; ++i)
        a[i / order][i % order] = source[i];
    for (int i = 0; i < order; ++i)
        b[i][i] = 1;
    for (int k = 0; k < order; ++k) {
        int p = k;
        for (int r = k + 1; r < order; ++r)
            if (std::fabs(a[r][k]) > std::fabs(a[p][k])) p = r;
        for (int c = 0; c < order; ++c) {
            std::swap(a[k][c], a[p][c]);
            std::swap(b[k][c], b[p][c]);
        }
        const T reciprocal = 1 / a[k][k];
        for (int c = 0; c < order; ++c) {
            a[k][c] *= reciprocal;
            b[k][c] *= reciprocal;
        }
        for (int r = 0; r < order; ++r) {
            if (r == k) continue;
            const T factor = a[r][k];
            for (int c = 0; c < order; ++c) {
                a[r][c] -= factor * a[k][c];
                b[r][c] -= factor * b[k][c];
            }
        }
    }
    for (int i = 0; i < order * order; ++i)
        x[i] = b[i / order][i % order];
}

} // namespace bench
