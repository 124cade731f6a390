// LU decompositions of the objects of a call.
//
//   decomposeLU    the kernel of all members
//
// A call ends at its first singular object: the objects before it are complete, those behind it untouched.
#pragma once

#include "factor/lu_tiles.h"
#include "frame/orders.h"

namespace tarnm {
namespace lu {

// All of the source is read before the first row is written.
template <int n, class S, class D> tarnmStatus decomposeCase(const S& from, RowIndex index, const D& to)
{
    using T = typename D::Element;
    T a[n][n], rows[n];
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c)
            a[r][c] = from(r, c);
    const bool failed = eliminateCase(a, rows, [&](int k) {
        for (int c = 0; c < n; ++c)
            to.set(std::int32_t(rows[k]), c, a[k][c]);
    });
    for (int i = 0; i < n; ++i)
        index.set(i, std::int32_t(rows[i]));
    return failed ? StatusSingular : StatusOk;
}

template <class S, class D> tarnmStatus decomposeInPlace(const S& from, RowIndex index, const D& to, std::int32_t n)
{
    for (std::int32_t r = 0; r < n; ++r)
        for (std::int32_t c = 0; c < n; ++c)
            to.set(r, c, from(r, c));
    for (std::int32_t i = 0; i < n; ++i)
        index.set(i, i);
    return eliminateInPlace(to, index, n);
}

template <class Decompose> tarnmStatus untilSingular(Place place, const Decompose& decompose)
{
    tarnmStatus status = StatusOk;
    const std::ptrdiff_t end = std::ptrdiff_t(place.first) + place.count;
    for (std::ptrdiff_t o = place.first; o < end && status == StatusOk; ++o)
        status = decompose(o);
    return status;
}

// Whether no object of the block is singular; else nothing is written.
template <int n, class V, class S, class D>
TARNM_INLINE bool decomposeBlock(const S& from, RowIndex index, const D& to, std::ptrdiff_t first, int live)
{
    V a[n][n], rows[n];
    loadBlock(from, first, live, a);
    if (any(eliminateCase(a, rows, [](int) {}))) return false;
    const RowIndex ofBlock = indexOfObject(index, first, n);
    storeIndex(ofBlock, live, rows);
    storeNamedRows(to, first, live, ofBlock, a, rows);
    return true;
}

template <class V, class S, class D>
[[gnu::noinline]] bool decomposeTiled(const S& from, RowIndex index, const D& to, std::ptrdiff_t first, int live, int n)
{
    Tile<V> tile;
    loadTile<Part::whole>(from, first, live, n, n, tile.a);
    if (!eliminateTile(tile, n)) return false;
    const RowIndex ofBlock = indexOfObject(index, first, n);
    distribute(tile.rows, n, live, [&](int l, int i, auto row) { ofBlock.set(l * n + i, std::int32_t(row)); });
    storeNamedTile(to, first, live, ofBlock, n, tile.a);
    return true;
}

// Calls block(first, live), which may decline, and else one(object). A block with a singular object is worked on again
// object by object, which leaves what single calls leave.
template <class V, class Block, class One>
tarnmStatus untilSingularInBlocks(Place place, const Block& block, const One& one)
{
    const std::int32_t end = place.first + place.count;
    for (std::int32_t o = place.first; o < end;) {
        const int live = end - o < lane_count_v<V> ? end - o : lane_count_v<V>;
        if (live == 1 || !block(o, live)) [[unlikely]] {
            const tarnmStatus status = untilSingular({o, live, place.total}, one);
            if (status != StatusOk) return status;
        }
        o += live;
    }
    return StatusOk;
}

template <int n, class S, class D> tarnmStatus decomposeCases(const S& from, RowIndex index, const D& to, Place place)
{
    using V = native_lanes<typename D::ObjectView::Element>;
    const auto one = [&](std::ptrdiff_t o) { return decomposeCase<n>(from[o], indexOfObject(index, o, n), to[o]); };
    if constexpr (D::isSingle)
        return one(0);
    else
        return untilSingularInBlocks<V>(
            place, [&](std::int32_t o, int live) { return decomposeBlock<n, V>(from, index, to, o, live); }, one);
}

template <class S, class D>
tarnmStatus decomposeOthers(const S& from, RowIndex index, const D& to, std::int32_t n, Place place)
{
    using V = native_lanes<typename D::ObjectView::Element>;
    const auto one = [&](std::ptrdiff_t o) { return decomposeInPlace(from[o], indexOfObject(index, o, n), to[o], n); };
    if constexpr (!D::isSingle)
        if (n >= smallestTiled && n <= largestTiled)
            return untilSingularInBlocks<V>(
                place, [&](std::int32_t o, int live) { return decomposeTiled<V>(from, index, to, o, live, n); }, one);
    return untilSingular(place, one);
}

} // namespace lu

template <class S, class D>
tarnmStatus decomposeLU(const S& from, std::int32_t* firstIndex, const D& to, std::int32_t n, Place place)
{
    const RowIndex index{firstIndex, {}};
    return forOrder3to6(
        n, [&](auto order) { return lu::decomposeCases<order>(from, index, to, place); },
        [&] { return lu::decomposeOthers(from, index, to, n, place); });
}

} // namespace tarnm
