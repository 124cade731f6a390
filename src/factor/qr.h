// QR decomposition by Householder reflections: R on and above the diagonal of the result, the reflections below it.
//
//   qrFactors    the kernel of all members
//
// Arrays of up to 16 rows are factored in lanes. A block with a column that fails writes nothing; its objects are
// then factored one by one in the caller's memory, so that the one that fails is left as it is by a call for it alone.
#pragma once

#include "factor/held.h"
#include "factor/qr_steps.h"
#include "frame/blocks.h"
#include "frame/orders.h"
#include "frame/tile.h"
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

template <int n, class V> TARNM_INLINE bool factoredHeld(V (&a)[n][n])
{
    V v[n];
    return reflectColumns<Loops::unrolled>(HeldMatrix<V, n>{&a[0][0]}, HeldVector<V>{v}, n, n, tolerance<scalar_t<V>>);
}

// How many objects were factored in lanes before a block that fails.
template <int n, class S, class D> std::int32_t factoredInLanes(const S& from, const D& to, Place place)
{
    using V = native_lanes<typename D::ObjectView::Element>;
    return forEachTile<V>(
        place, [&](std::ptrdiff_t first, int live) __attribute__((always_inline)) {
            V a[n][n];
            loadBlock(from, first, live, a);
            if (!factoredHeld(a)) return false;
            storeBlock(to, first, live, a);
            return true;
        });
}

template <class V> [[gnu::noinline]] bool factoredTile(V* a, int width, int height)
{
    V v[largestTileExtent];
    return reflectColumns<Loops::counted>(TileMatrix<V>{a, width}, HeldVector<V>{v}, width, height,
                                          tolerance<scalar_t<V>>);
}

// The same for any shape that fits a tile.
template <class S, class D> std::int32_t factoredInTiles(const S& from, const D& to, int width, int height, Place place)
{
    using V = native_lanes<typename D::ObjectView::Element>;
    V a[largestTile];
    return forEachTile<V>(place, [&](std::ptrdiff_t first, int live) {
        loadTile<Part::whole>(from, first, live, height, width, a);
        if (!factoredTile(a, width, height)) return false;
        storeTile<Part::whole>(to, first, live, height, width, a);
        return true;
    });
}

} // namespace qr

template <class S, class D>
tarnmStatus qrFactors(const S& from, void* buffer, const D& to, std::int32_t width, std::int32_t height, Place place)
{
    using namespace qr;
    using T = typename D::ObjectView::Element;
    std::int32_t done = 0;
    if constexpr (!D::isSingle) {
        done = forOrder3to6(
            width == height ? width : 0, [&](auto order) { return factoredInLanes<order>(from, to, place); },
            [&] { return fitsTile(width, height) ? factoredInTiles(from, to, width, height, place) : 0; });
    }
    const auto vector = vectorAt<Spacing::dense>(static_cast<T*>(buffer), sizeof(T));
    for (; done < place.count; ++done)
        if (!factored(from[std::ptrdiff_t(place.first) + done], to[std::ptrdiff_t(place.first) + done], vector, width,
                      height))
            return StatusDivByZero;
    return StatusOk;
}

} // namespace tarnm
