// Cholesky decomposition, A = L transpose(L), from and into lower triangles, with reciprocals on the diagonal.
//
//   choleskyTolerance    up to where a pivot counts as not positive
//   choleskyFactors      the kernel of all members
//
// Arrays of order up to 16 are factored in lanes. A block with a pivot that fails writes nothing; its objects are then
// factored one by one in the caller's memory, so that the one that fails is left as it is by a call for it alone.
#pragma once

#include "factor/cholesky_blocks.h"
#include "factor/cholesky_rows.h"
#include "factor/held.h"
#include "frame/operands.h"
#include "frame/orders.h"
#include "frame/path.h"
#include "frame/tile.h"
#include "tarnm/tarnm.h"

namespace tarnm {

namespace cholesky {

struct Tolerances {
    double order3, orders4and5, order6, others;
};

inline constexpr double singleEpsilon = 0x1p-23, doubleEpsilon = 0x1p-52;

// Pointers to elements take the single precision epsilon for both types.
template <class T> constexpr Tolerances tolerances(Path path, Layout layout, bool isArray)
{
    if (path == Path::pointer) return {singleEpsilon, 0, 0, 0};
    const bool isStridedArray = isArray && layout == Layout::standard && path == Path::strided;
    if (sizeof(T) == sizeof(double) && isStridedArray) return {0, 0, doubleEpsilon, doubleEpsilon};
    return {0, 0, 0, 0};
}

constexpr double toleranceOf(const Tolerances& t, int n)
{
    return n == 3 ? t.order3 : n == 4 || n == 5 ? t.orders4and5 : n == 6 ? t.order6 : t.others;
}

// Whether one object was factored; what is finished of it stands in `to`.
template <class A, class L, class T> bool factored(const A& from, const L& to, int n, T tolerance)
{
    return choleskyRows<Loops::counted, RootForm::scaleFirst>(from, to, n, tolerance) == n;
}

// How many rows were finished.
template <int n, RootForm form, class V>
TARNM_INLINE int factoredRows(const V (&a)[n * n], V (&l)[n * n], scalar_t<V> tolerance)
{
    return choleskyRows<Loops::unrolled, form>(HeldMatrix<const V, n>{a}, HeldMatrix<V, n>{l}, n, tolerance);
}

// Whether the objects first .. first + live - 1 were factored in lanes; else nothing is written.
template <int n, RootForm form, class V, class S, class D, class T>
TARNM_INLINE bool factoredBlock(const S& from, const D& to, std::ptrdiff_t first, int live, T tolerance)
{
    V a[n * n], l[n * n];
    loadTriangle<n>(from, first, live, a);
    if (factoredRows<n, form>(a, l, tolerance) < n) return false;
    storeTriangle<n>(to, first, live, l);
    return true;
}

// How many objects were factored in lanes before a block that fails.
template <int n, class S, class D, class T>
std::int32_t factoredInLanes(const S& from, const D& to, Place place, T tolerance)
{
    using V = lanes_for_order<T, n>;
    return forEachTile<V>(
        place, [&](std::ptrdiff_t first, int live) __attribute__((always_inline)) {
            return factoredBlock<n, RootForm::scaleFirst, V>(from, to, first, live, tolerance);
        });
}

template <class V> [[gnu::noinline]] bool factoredTile(V* a, int n, scalar_t<V> tolerance)
{
    const TileMatrix<V> matrix{a, n};
    return choleskyRows<Loops::counted, RootForm::scaleFirst>(matrix, matrix, n, tolerance) == n;
}

// The same for any order that fits a tile.
template <class S, class D, class T>
std::int32_t factoredInTiles(const S& from, const D& to, int n, Place place, T tolerance)
{
    using V = native_lanes<T>;
    V a[largestTile];
    return forEachTile<V>(place, [&](std::ptrdiff_t first, int live) {
        loadTile<Part::lower>(from, first, live, n, n, a);
        if (!factoredTile(a, n, tolerance)) return false;
        storeTile<Part::lower>(to, first, live, n, n, a);
        return true;
    });
}

// Packed singles of order 3 to 6 go in groups of four that pass or fail together, and take the other form of the root.
inline constexpr int groupSize = 4;

// Whether the group from `first` on was factored. If not, all four objects are left with the rows above the step at
// fault, and with the elements of that row before the diagonal.
template <int n, class S, class D>
[[gnu::noinline]] bool factoredGroup(const S& from, const D& to, std::ptrdiff_t first)
{
    using V = lanes<float, groupSize>;
    V a[n * n], l[n * n];
    loadTriangle<n>(from, first, groupSize, a);
    const int rows =
        choleskyRows<Loops::counted, RootForm::squareFirst>(HeldMatrix<V, n>{a}, HeldMatrix<V, n>{l}, n, 0.0f);
    for (int g = 0; g < groupSize; ++g) {
        const auto object = to[first + g];
        for (int i = 0; i < n && i <= rows; ++i)
            for (int j = 0; j < (i < rows ? i + 1 : i); ++j)
                object.set(i, j, l[i * n + j][g]);
    }
    return rows == n;
}

// How many objects were factored in whole groups, or -1 where a group fails.
template <int n, class S, class D> std::int32_t factoredInGroups(const S& from, const D& to, Place place)
{
    using V = lanes_for_order<float, n>;
    const std::int32_t end = place.count - place.count % groupSize;
    for (std::int32_t done = 0; done < end;) {
        const int live = end - done < lane_count_v<V> ? end - done : lane_count_v<V>;
        const std::ptrdiff_t first = std::ptrdiff_t(place.first) + done;
        if (!factoredBlock<n, RootForm::squareFirst, V>(from, to, first, live, 0.0f))
            for (int g = 0; g < live; g += groupSize)
                if (!factoredGroup<n>(from, to, first + g)) return -1;
        done += live;
    }
    return end;
}

} // namespace cholesky

template <class T> constexpr T choleskyTolerance(Path path, Layout layout, bool isArray, int n)
{
    return T(cholesky::toleranceOf(cholesky::tolerances<T>(path, layout, isArray), n));
}

template <Path path, Layout layout, class S, class D>
tarnmStatus choleskyFactors(const S& from, const D& to, std::int32_t n, Place place)
{
    using namespace cholesky;
    using T = typename D::ObjectView::Element;
    constexpr bool isGrouped = sizeof(T) == sizeof(float) && layout == Layout::standard && path == Path::dense;
    const T tolerance = choleskyTolerance<T>(path, layout, !D::isSingle, n);
    std::int32_t done = 0;
    if constexpr (!D::isSingle) {
        const auto inLanes = [&](auto order) {
            if constexpr (isGrouped)
                return factoredInGroups<order>(from, to, place);
            else
                return factoredInLanes<order>(from, to, place, tolerance);
        };
        done = forOrder3to6(n, inLanes, [] { return 0; });
        if (done < 0) return StatusNotPositiveDefinite;
        if (n < 3 || (n > 6 && fitsTile(n, n))) done = factoredInTiles(from, to, n, place, tolerance);
    }
    for (; done < place.count; ++done)
        if (!factored(from[std::ptrdiff_t(place.first) + done], to[std::ptrdiff_t(place.first) + done], n, tolerance))
            return StatusNotPositiveDefinite;
    return StatusOk;
}

} // namespace tarnm
