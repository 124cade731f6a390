// Householder reflections of one matrix, or of one matrix in each lane.
//
//   reflectionCount       columns that are reflected: the last one of a square matrix is not
//   reflectColumn         one column of the decomposition
//   reflectColumns        all of them, up to a column that is zero
//   reflectionFactor      -2 / |v|^2 of a stored reflection
//   reflectVector         applies a stored reflection to a vector
//   solveUpperTriangle    x with R x = c
//
// Matrices and vectors are whatever gives an element and takes it by set: views of the caller's memory or values of our
// own, scalars or lanes. All sums ascend, each product is rounded before it is added.
#pragma once

#include <type_traits>

#include "factor/loops.h"
#include "frame/lanes.h"

namespace tarnm::qr {

constexpr int reflectionCount(int width, int height) { return width == height ? width - 1 : width; }

// False where the column of a lane is zero within the tolerance of its squared norm; nothing of the step is done then.
// `v` holds the reflection and has room for `height` values.
template <Loops loops, class A, class Buffer, class T>
TARNM_INLINE bool reflectColumn(const A& a, const Buffer& v, int k, int width, int height, T tolerance)
{
    using V = std::remove_cvref_t<decltype(a(0, 0))>;
    V squares = a(k, k) * a(k, k);
    ascending<loops>(
        k + 1, height, [&](int i) __attribute__((always_inline)) { squares += a(i, k) * a(i, k); });
    if (any(V(tolerance) > abs(squares))) return false;

    const V norm = sqrt(squares);
    const V alpha = select(a(k, k) > V(T(0)), norm, -norm);
    const V scale = V(T(1)) / (a(k, k) + alpha);
    V q = V(T(1));
    ascending<loops>(
        k + 1, height, [&](int i) __attribute__((always_inline)) {
            v.set(i, scale * a(i, k));
            q += v[i] * v[i];
        });
    const V beta = V(T(-2)) / q;
    // Below the diagonal of column k itself the vector takes the place of what the reflection leaves.
    const auto along = [&](int j) __attribute__((always_inline))
    {
        V s = a(k, j);
        ascending<loops>(
            k + 1, height, [&](int i) __attribute__((always_inline)) { s += a(i, j) * v[i]; });
        s *= beta;
        a.set(k, j, a(k, j) + s);
        return s;
    };
    along(k);
    ascending<loops>(
        k + 1, width, [&](int j) __attribute__((always_inline)) {
            const V s = along(j);
            ascending<loops>(
                k + 1, height, [&](int i) __attribute__((always_inline)) { a.set(i, j, a(i, j) + s * v[i]); });
        });
    ascending<loops>(
        k + 1, height, [&](int i) __attribute__((always_inline)) { a.set(i, k, v[i]); });
    return true;
}

template <Loops loops, class A, class Buffer, class T>
TARNM_INLINE bool reflectColumns(const A& a, const Buffer& v, int width, int height, T tolerance)
{
    const int steps = reflectionCount(width, height);
    if constexpr (loops == Loops::unrolled) {
        TARNM_UNROLL
        for (int k = 0; k < steps; ++k)
            if (!reflectColumn<loops>(a, v, k, width, height, tolerance)) return false;
    } else
        for (int k = 0; k < steps; ++k)
            if (!reflectColumn<loops>(a, v, k, width, height, tolerance)) return false;
    return true;
}

template <Loops loops, class A> TARNM_INLINE auto reflectionFactor(const A& a, int k, int height)
{
    using V = std::remove_cvref_t<decltype(a(0, 0))>;
    using T = scalar_t<V>;
    V q = V(T(1));
    ascending<loops>(
        k + 1, height, [&](int i) __attribute__((always_inline)) { q += a(i, k) * a(i, k); });
    return V(T(-2)) / q;
}

// `factor` is that of reflection k.
template <Loops loops, class A, class C, class V>
TARNM_INLINE void reflectVector(const A& a, const C& c, V factor, int k, int height)
{
    V s = c[k];
    ascending<loops>(
        k + 1, height, [&](int i) __attribute__((always_inline)) { s += a(i, k) * c[i]; });
    const V t = factor * s;
    c.set(k, c[k] + t);
    ascending<loops>(
        k + 1, height, [&](int i) __attribute__((always_inline)) { c.set(i, c[i] + t * a(i, k)); });
}

// In place. Each x[i] is one subtraction, of a sum that starts from 0, and one division.
template <Loops loops, class A, class C> TARNM_INLINE void solveUpperTriangle(const A& a, const C& c, int width)
{
    using V = std::remove_cvref_t<decltype(a(0, 0))>;
    using T = scalar_t<V>;
    c.set(width - 1, c[width - 1] / a(width - 1, width - 1));
    descending<loops>(
        width - 1, 0, [&](int i) __attribute__((always_inline)) {
            V s = V(T(0));
            ascending<loops>(
                i + 1, width, [&](int j) __attribute__((always_inline)) { s += a(i, j) * c[j]; });
            c.set(i, (c[i] - s) / a(i, i));
        });
}

} // namespace tarnm::qr
