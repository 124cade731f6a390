// The cross product of vectors of three elements.
//
//   crossProduct          three values of one type: scalars or lanes
//   crossPacked           objects without gaps, several in a vector
//   crossProducts         the kernel of all members
//
// Each element is two products and their difference, in the order of the operands as written.
#pragma once

#include "frame/blocks.h"
#include "frame/overlap.h"
#include "frame/path.h"
#include "frame/rearrange.h"
#include "tarnm/tarnm.h"

namespace tarnm {

template <class V> TARNM_INLINE void crossProduct(const V (&x)[3], const V (&y)[3], V (&d)[3])
{
    d[0] = x[1] * y[2] - x[2] * y[1];
    d[1] = x[2] * y[0] - x[0] * y[2];
    d[2] = x[0] * y[1] - x[1] * y[0];
}

// Reads each element where the formula needs it, also behind results that have been written.
template <class X, class Y, class D> void crossInPlaceOrder(const X& x, const Y& y, const D& d)
{
    d.set(0, x[1] * y[2] - x[2] * y[1]);
    d.set(1, x[2] * y[0] - x[0] * y[2]);
    d.set(2, x[0] * y[1] - x[1] * y[0]);
}

template <class X, class Y, class D> void crossReadWhole(const X& x, const Y& y, const D& d)
{
    using T = typename D::Element;
    const T a[3] = {x[0], x[1], x[2]}, b[3] = {y[0], y[1], y[2]};
    T result[3];
    crossProduct(a, b, result);
    for (int k = 0; k < 3; ++k)
        d.set(k, result[k]);
}

template <class X, class Y, class D> void crossInLanes(const X& x, const Y& y, const D& d, Place place)
{
    const auto kernel = [](const auto& a, const auto& b, auto& r) __attribute__((always_inline))
    {
        crossProduct(a, b, r);
    };
    forEachBlock(place, kernel, source<3>(x), source<3>(y), result<3>(d));
}

// ---- Objects without gaps ----
//
// With every element replaced by the one behind it in its object, x' and y', the differences x y' - x' y are the
// elements of the result, each one place early.

inline constexpr int crossLength = 3;

// As many objects as a vector has lanes.
template <class V> using CrossVectors = std::array<V, crossLength>;

constexpr int followingElement(int p) { return p % crossLength < crossLength - 1 ? p + 1 : p - (crossLength - 1); }

template <class V> TARNM_INLINE CrossVectors<V> followingElements(const CrossVectors<V>& v)
{
    return rearranged<followingElement, crossLength>(v);
}

// A single object meets all of the array.
template <class V, class T>
CrossVectors<V> crossOperand(const Single<StridedVector<T, Spacing::dense>>& single, std::ptrdiff_t)
{
    CrossVectors<V> result;
    for (int p = 0; p < crossLength * lane_count_v<V>; ++p)
        result[p / lane_count_v<V>].set(p % lane_count_v<V>, single.object[p % crossLength]);
    return result;
}

template <class V, class T>
TARNM_INLINE CrossVectors<V> crossOperand(const ObjectArray<StridedVector<T, Spacing::dense>>& array, std::ptrdiff_t n)
{
    CrossVectors<V> result;
    TARNM_UNROLL
    for (int j = 0; j < crossLength; ++j)
        result[j] = blocks::loadOnce<V>(array.first.base + n * crossLength + j * lane_count_v<V>);
    return result;
}

template <class T> bool hasNoGaps(const Single<StridedVector<T, Spacing::dense>>&) { return true; }
template <class T> bool hasNoGaps(const ObjectArray<StridedVector<T, Spacing::dense>>& array)
{
    return array.objectStride == crossLength * sizeof(T);
}

// How many objects were done.
template <class X, class Y, class D> std::int32_t crossPacked(X x, Y y, D d, Place place)
{
    using V = native_lanes<typename D::ObjectView::Element>;
    if (!hasNoGaps(x) || !hasNoGaps(y) || !hasNoGaps(d)) return 0;
    std::int32_t done = 0;
    for (; done + V::size() <= place.count; done += V::size()) {
        const std::ptrdiff_t n = std::ptrdiff_t(place.first) + done;
        const auto a = crossOperand<V>(x, n), b = crossOperand<V>(y, n);
        const auto aFollowing = followingElements(a), bFollowing = followingElements(b);
        CrossVectors<V> early;
        TARNM_UNROLL
        for (int j = 0; j < crossLength; ++j)
            early[j] = a[j] * bFollowing[j] - aFollowing[j] * b[j];
        const auto result = followingElements(early);
        TARNM_UNROLL
        for (int j = 0; j < crossLength; ++j)
            store(d.first.base + n * crossLength + j * V::size(), result[j]);
    }
    return done;
}

// A dense object is read whole before its result is written. The others promise nothing where a result overlaps a
// source; tables of neighbouring objects run in lanes where they lie apart.
template <Path path, class X, class Y, class D>
tarnmStatus crossProducts(const X& x, const Y& y, const D& d, Place place)
{
    if constexpr (path == Path::dense && D::isSingle) {
        crossReadWhole(x.object, y.object, d.object);
        return StatusOk;
    }
    if constexpr (path == Path::dense && !D::isSingle) {
        std::int32_t done = 0;
        if constexpr (rearrangesInVectors && isObjectArray<D>) done = crossPacked(x, y, d, place);
        if (done < place.count) crossInLanes(x, y, d, {place.first + done, place.count - done, place.total});
        return StatusOk;
    }
    if constexpr (path == Path::pointer && !D::isSingle) {
        if (isInterleaved(d) && elementsApart<3>(d, x, place) && elementsApart<3>(d, y, place)) {
            crossInLanes(x, y, d, place);
            return StatusOk;
        }
    }
    for (std::ptrdiff_t n = place.first; n < std::ptrdiff_t(place.first) + place.count; ++n)
        crossInPlaceOrder(x[n], y[n], d[n]);
    return StatusOk;
}

} // namespace tarnm
