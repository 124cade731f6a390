// The cross product of vectors of three elements.
//
//   crossProduct          three values of one type: scalars or lanes
//   crossProducts         the kernel of all members
//
// Each element is two products and their difference, in the order of the operands as written.
#pragma once

#include "frame/blocks.h"
#include "frame/overlap.h"
#include "frame/path.h"
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
        crossInLanes(x, y, d, place);
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
