// Householder reduction to tridiagonal form.
//
//   Matrix            the working matrix, row by row
//   reduceToBand      for k = 0 .. n - 3 reflects column k onto its first two elements, from both sides
//
// The matrix behind column k takes part in both applications; its symmetry is not used, so that what is left outside the
// band is rounding. What no later step reads is left as it was: row k behind its diagonal element, and column k below its
// band. Sums run in ascending order from zero. A column that a test finds negligible is left as it is: its reflection is
// the identity.
#pragma once

#include "eigen/symmetric_values.h"
#include "eigen/symmetric_variant.h"
#include "eigen/symmetric_vectors.h"

namespace tarnm::symmetric {

template <class S> struct Matrix {
    Cells<S> cells;
    int order;

    TARNM_INLINE S get(int r, int c) const { return cells.get(std::ptrdiff_t(r) * order + c); }
    TARNM_INLINE void set(int r, int c, S value) const { cells.set(std::ptrdiff_t(r) * order + c, value); }
};

// x - factor v, in the objects that take part.
template <class W, class S, class V, class Active> TARNM_INLINE S reflected(S x, W factor, V v, Active active)
{
    const W wide = widen<W>(x);
    return narrow<S>(select(active, wide - factor * widen<W>(v), wide));
}

// Builds the vector of the reflection in v[k + 1 ..] and returns 2 / (its squared length); tells which objects skip k.
template <class W, class S, class Run>
TARNM_INLINE W reflectionVector(const Matrix<S>& a, Run& v, int k, const Variant& variant, mask_t<W>& isSkipped)
{
    const int n = a.order;
    const W tolerance = W(variant.reductionTolerance), leadingTolerance = W(variant.leadingTolerance);

    W sigma = W(0);
    for (int i = k + 1; i < n; ++i) {
        const W x = widen<W>(a.get(i, k));
        sigma = sigma + x * x;
    }
    isSkipped = mask_t<W>(false);
    if (variant.sigmaTest) isSkipped = tolerance >= sigma;
    if (all(isSkipped)) return W(0);

    const W norm = sqrt(sigma), x0 = widen<W>(a.get(k + 1, k));
    for (int i = k + 2; i < n; ++i)
        v.set(i, a.get(i, k));
    if (variant.alignmentTest) isSkipped = isSkipped || tolerance >= abs(x0 - norm);
    if (all(isSkipped)) return W(0);

    const auto isPositive = x0 > leadingTolerance, isSmall = leadingTolerance >= abs(x0);
    v.set(k + 1, narrow<S>(select(isPositive, x0 + norm, select(isSmall, norm, x0 - norm))));
    const W length =
        select(isPositive, W(2) * (sigma + norm * x0), select(isSmall, sigma + sigma, W(2) * (sigma - norm * x0)));
    isSkipped = isSkipped || tolerance >= length;
    return W(2) / length;
}

template <class W, class S, class Run, class Active>
TARNM_INLINE void applyToMatrix(const Matrix<S>& a, const Run& v, int k, W beta, Active active)
{
    const int n = a.order;
    for (int j = k; j < n; ++j) {
        W sum = W(0);
        for (int i = k + 1; i < n; ++i)
            sum = sum + widen<W>(a.get(i, j)) * widen<W>(v.get(i));
        const W c = beta * sum;
        for (int i = k + 1, end = j == k ? k + 2 : n; i < end; ++i)
            a.set(i, j, reflected(a.get(i, j), c, v.get(i), active));
    }
    for (int r = k + 1; r < n; ++r) {
        W sum = W(0);
        for (int i = k + 1; i < n; ++i)
            sum = sum + widen<W>(a.get(r, i)) * widen<W>(v.get(i));
        const W c = beta * sum;
        for (int i = k + 1; i < n; ++i)
            a.set(r, i, reflected(a.get(r, i), c, v.get(i), active));
    }
}

// The first reflection that is not the identity is written, but only where k is 0; row 0 stays the unit row.
template <class W, class S, class Vectors, class Run, class Active>
TARNM_INLINE void applyToVectors(Vectors& vectors, int n, const Run& v, int k, W beta, Active active)
{
    if (k == 0) {
        for (int i = 1; i < n; ++i) {
            const W vi = widen<W>(v.get(i));
            vectors.set(i, i, narrow<S>(select(active, W(1) - beta * (vi * vi), W(1))));
            for (int j = i + 1; j < n; ++j) {
                const S product = narrow<S>(select(active, -beta * vi * widen<W>(v.get(j)), W(0)));
                vectors.set(i, j, product);
                vectors.set(j, i, product);
            }
        }
        return;
    }
    for (int r = 1; r < n; ++r) {
        W sum = W(0);
        for (int i = k + 1; i < n; ++i)
            sum = sum + widen<W>(vectors.get(r, i)) * widen<W>(v.get(i));
        const W c = beta * sum;
        for (int i = k + 1; i < n; ++i)
            vectors.set(r, i, reflected(vectors.get(r, i), c, v.get(i), active));
    }
}

template <class W, class S, class Run, class Vectors, class Active>
TARNM_INLINE void reflect(const Matrix<S>& a, const Run& v, Vectors& vectors, int k, W beta, Active active)
{
    applyToMatrix(a, v, k, beta, active);
    if constexpr (Vectors::arePresent) applyToVectors<W, S>(vectors, a.order, v, k, beta, active);
}

// `v` is the place for the vector of a reflection.
template <class W, class S, class Run, class Vectors>
TARNM_INLINE void reduceToBand(const Matrix<S>& a, Run& v, Vectors& vectors, const Variant& variant)
{
    for (int k = 0; k + 2 < a.order; ++k) {
        mask_t<W> isSkipped;
        const W beta = reflectionVector<W>(a, v, k, variant, isSkipped);
        if (all(isSkipped)) continue;
        if (isScalar<W> || none(isSkipped))
            reflect(a, v, vectors, k, beta, Everywhere{});
        else
            reflect(a, v, vectors, k, beta, !isSkipped);
    }
}

} // namespace tarnm::symmetric
