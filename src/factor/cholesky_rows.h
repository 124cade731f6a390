// The Cholesky factor of one matrix, or of one matrix in each lane, and the solution with it.
//
//   RootForm          which of the two forms of 1/sqrt(s) single precision takes
//   choleskyRow       one row of the factor
//   choleskyRows      all rows, up to a pivot that is not positive
//   choleskySolution  x with L transpose(L) x = b
//
// Operands are whatever gives element (i, j) and takes it by set(i, j, value): views of the caller's memory or values
// of our own, scalars or lanes. Only i >= j is ever asked for. All sums ascend, each product is rounded and subtracted
// on its own.
#pragma once

#include <type_traits>

#include "factor/loops.h"
#include "frame/lanes.h"

namespace tarnm {

enum class RootForm { scaleFirst, squareFirst };

namespace cholesky {

template <class Matrix> using ValueOf = std::remove_cvref_t<decltype(std::declval<Matrix>()(0, 0))>;

template <RootForm form, class V> TARNM_INLINE V reciprocalRoot(V s)
{
    if constexpr (std::is_same_v<scalar_t<V>, double>)
        return V(1.0) / sqrt(s);
    else if constexpr (form == RootForm::scaleFirst)
        return refinedReciprocalSqrtScaleFirst(s);
    else
        return refinedReciprocalSqrtSquareFirst(s);
}

// The rows above i are finished. False where the pivot of a lane is not above the tolerance; the elements before the
// diagonal are set by then. A pivot that is NaN passes.
template <Loops loops, RootForm form, class A, class L, class T>
TARNM_INLINE bool choleskyRow(const A& a, const L& l, int i, T tolerance)
{
    using V = ValueOf<L>;
    ascending<loops>(
        0, i, [&](int j) __attribute__((always_inline)) {
            V s = a(i, j);
            ascending<loops>(
                0, j, [&](int k) __attribute__((always_inline)) { s -= l(i, k) * l(j, k); });
            l.set(i, j, s * l(j, j));
        });
    V s = a(i, i);
    ascending<loops>(
        0, i, [&](int k) __attribute__((always_inline)) { s -= l(i, k) * l(i, k); });
    if (any(V(tolerance) >= s)) return false;
    l.set(i, i, reciprocalRoot<form>(s));
    return true;
}

// How many rows were finished: n, unless a pivot fails. The diagonal of the factor holds reciprocals.
template <Loops loops, RootForm form, class A, class L, class T>
TARNM_INLINE int choleskyRows(const A& a, const L& l, int n, T tolerance)
{
    if constexpr (loops == Loops::unrolled) {
        TARNM_UNROLL
        for (int i = 0; i < n; ++i)
            if (!choleskyRow<loops, form>(a, l, i, tolerance)) return i;
    } else
        for (int i = 0; i < n; ++i)
            if (!choleskyRow<loops, form>(a, l, i, tolerance)) return i;
    return n;
}

// Element i of b is read before element i of x is set, and not afterwards: x may be the memory of b.
template <Loops loops, class L, class B, class X>
TARNM_INLINE void choleskySolution(const L& l, const B& b, const X& x, int n)
{
    using V = ValueOf<L>;
    ascending<loops>(
        0, n, [&](int i) __attribute__((always_inline)) {
            V s = b[i];
            ascending<loops>(
                0, i, [&](int k) __attribute__((always_inline)) { s -= l(i, k) * x[k]; });
            x.set(i, s * l(i, i));
        });
    descending<loops>(
        n, 0, [&](int i) __attribute__((always_inline)) {
            V s = x[i];
            ascending<loops>(
                i + 1, n, [&](int k) __attribute__((always_inline)) { s -= l(k, i) * x[k]; });
            x.set(i, s * l(i, i));
        });
}

} // namespace cholesky
} // namespace tarnm
