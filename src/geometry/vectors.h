// Vectors of 2, 3 and 4 elements.
//
//   add, subtract, larger, smaller, scale      element by element
//   dotProduct, lengthSquared, length          one element
//   normalize
//   crossProduct2, crossProduct3, crossProduct4
//   dot, lengthOf, normalized, cross           the formulas, on vectors of any kind
//
// Element by element, and in the cross products, a result is stored before the elements of the next one are read. A
// result that overlaps a source in part therefore feeds on itself in ascending order, here as in a plain loop.
#pragma once

#include "geometry/elements.h"

namespace tarnm::geometry {

// ---- Formulas ----

template <int n, class A, class B> TARNM_INLINE float dot(const A& a, const B& b)
{
    const float xy = a[0] * b[0] + a[1] * b[1];
    if constexpr (n == 2)
        return xy;
    else if constexpr (n == 3)
        return xy + a[2] * b[2];
    else
        return xy + (a[2] * b[2] + a[3] * b[3]);
}

template <int n, class A> TARNM_INLINE float lengthOf(const A& a) { return sqrt(dot<n>(a, a)); }

// True divisions: neither the reciprocal of the length nor an estimate of it. A vector of length 0 becomes NaN.
template <int n> TARNM_INLINE Local<n> normalized(const Local<n>& a)
{
    const float length = lengthOf<n>(a);
    Local<n> d;
    TARNM_UNROLL
    for (int i = 0; i < n; ++i)
        d.values[i] = a[i] / length;
    return d;
}

template <class A, class B, class D> TARNM_INLINE void cross(const A& a, const B& b, D&& d)
{
    d.set(0, a[1] * b[2] - a[2] * b[1]);
    d.set(1, a[2] * b[0] - a[0] * b[2]);
    d.set(2, a[0] * b[1] - a[1] * b[0]);
}

// ---- Members ----

template <int n, class Operation>
TARNM_INLINE tarnmStatus eachElement(const float* a, const float* b, float* d, Operation operation)
{
    TARNM_UNROLL
    for (int i = 0; i < n; ++i)
        storeElement(d + i, operation(loadElement(a + i), loadElement(b + i)));
    return StatusOk;
}

template <int n> TARNM_INLINE tarnmStatus add(const float* a, const float* b, float* d)
{
    return eachElement<n>(a, b, d, [](float x, float y) { return x + y; });
}

template <int n> TARNM_INLINE tarnmStatus subtract(const float* a, const float* b, float* d)
{
    return eachElement<n>(a, b, d, [](float x, float y) { return x - y; });
}

// The second element where one is NaN or both are zeros.
template <int n> TARNM_INLINE tarnmStatus larger(const float* a, const float* b, float* d)
{
    return eachElement<n>(a, b, d, [](float x, float y) { return max(x, y); });
}

template <int n> TARNM_INLINE tarnmStatus smaller(const float* a, const float* b, float* d)
{
    return eachElement<n>(a, b, d, [](float x, float y) { return min(x, y); });
}

template <int n> TARNM_INLINE tarnmStatus scale(const float* a, float factor, float* d)
{
    TARNM_UNROLL
    for (int i = 0; i < n; ++i)
        storeElement(d + i, factor * loadElement(a + i));
    return StatusOk;
}

template <int n> TARNM_INLINE tarnmStatus dotProduct(const float* a, const float* b, float* d)
{
    return stored(dot<n>(sourceAt(a), sourceAt(b)), d);
}

template <int n> TARNM_INLINE tarnmStatus lengthSquared(const float* a, float* d) { return dotProduct<n>(a, a, d); }

template <int n> TARNM_INLINE tarnmStatus length(const float* a, float* d)
{
    return stored(lengthOf<n>(sourceAt(a)), d);
}

template <int n> TARNM_INLINE tarnmStatus normalize(const float* a, float* d)
{
    return stored(normalized(copied<n>(a)), d);
}

TARNM_INLINE tarnmStatus crossProduct2(const float* pA, const float* pB, float* d)
{
    const Source a = sourceAt(pA), b = sourceAt(pB);
    return stored(a[0] * b[1] - a[1] * b[0], d);
}

TARNM_INLINE tarnmStatus crossProduct3(const float* a, const float* b, float* d)
{
    cross(sourceAt(a), sourceAt(b), resultAt(d));
    return StatusOk;
}

// Cofactors of the 3x4 matrix of a, b and c. Signs are taken by subtraction from +0, which leaves no negative zero.
TARNM_INLINE tarnmStatus crossProduct4(const float* pA, const float* pB, const float* pC, float* pD)
{
    const Source a = sourceAt(pA), b = sourceAt(pB), c = sourceAt(pC);
    const Result d = resultAt(pD);
    const auto minor = [&](int i, int j) { return b[i] * c[j] - b[j] * c[i]; };
    d.set(0, (a[1] * minor(2, 3) - a[2] * minor(1, 3)) + a[3] * minor(1, 2));
    d.set(1, 0.0f - ((a[0] * minor(2, 3) - a[2] * minor(0, 3)) + a[3] * minor(0, 2)));
    d.set(2, (a[0] * minor(1, 3) - a[1] * minor(0, 3)) + a[3] * minor(0, 1));
    d.set(3, 0.0f - ((a[0] * minor(1, 2) - a[1] * minor(0, 2)) + a[2] * minor(0, 1)));
    return StatusOk;
}

} // namespace tarnm::geometry
