// QR decomposition by Householder reflections: R on and above the diagonal of the result, the reflections below it.
//
//   qrFactors    the kernel of all members
//
// Square arrays of order 3 to 6 are factored in lanes. A block with a column that fails writes nothing; its objects are
// then factored one by one in the caller's memory, so that the one that fails is left as it is by a call for it alone.
#pragma once

#include "factor/held.h"
#include "factor/orders.h"
#include "factor/qr_steps.h"
#include "frame/blocks.h"
#include "tarnm/tarnm.h"

namespace tarnm {

namespace qr {

// On the squared norm of what is left of a column.
template <class T> inline constexpr T tolerance = sizeof(T) == sizeof(float) ? T(0x1p-23) : T(0x1p-52);

template <class S, class D> void copyMatrix(const S& from, const D& to, int width, int height)
{
    for (int r = 0; r < height; ++r)
        for (int c = 0; c < width; ++c)
            to.set(r, c, from(r, c));
}

// Whether one object was factored; what is done of it stands in `to`.
template <class S, class D, class Buffer>
bool factored(const S& from, const D& to, const Buffer& buffer, int width, int height)
{
    using T = typename D::Element;
    copyMatrix(from, to, width, height);
    return reflectColumns<Loops::counted>(to, buffer, width, height, tolerance<T>);
}

// Out of line: it serves all layouts.
template <int n, class V> [[gnu::noinline]] bool factoredHeld(V (&a)[n][n])
{
    V v[n];
    return reflectColumns<Loops::unrolled>(HeldMatrix<V, n>{&a[0][0]}, HeldVector<V>{v}, n, n, tolerance<scalar_t<V>>);
}

// How many objects were factored in lanes before a block that fails.
template <int n, class S, class D> std::int32_t factoredInLanes(const S& from, const D& to, Place place)
{
    using V = native_lanes<typename D::ObjectView::Element>;
    std::int32_t done = 0;
    while (done < place.count) {
        const int left = place.count - done, live = left < lane_count_v<V> ? left : lane_count_v<V>;
        const std::ptrdiff_t first = std::ptrdiff_t(place.first) + done;
        V a[n][n];
        if (live == 1) break;
        loadBlock(from, first, live, a);
        if (!factoredHeld(a)) break;
        storeBlock(to, first, live, a);
        done += live;
    }
    return done;
}

} // namespace qr

template <class S, class D>
tarnmStatus qrFactors(const S& from, void* buffer, const D& to, std::int32_t width, std::int32_t height, Place place)
{
    using namespace qr;
    using T = typename D::ObjectView::Element;
    std::int32_t done = 0;
    if constexpr (!D::isSingle)
        if (width == height)
            done = forOrder3to6(
                width, [&](auto order) { return factoredInLanes<order>(from, to, place); }, 0);
    const auto vector = vectorAt<Spacing::dense>(static_cast<T*>(buffer), sizeof(T));
    for (; done < place.count; ++done)
        if (!factored(from[std::ptrdiff_t(place.first) + done], to[std::ptrdiff_t(place.first) + done], vector, width,
                      height))
            return StatusDivByZero;
    return StatusOk;
}

} // namespace tarnm
