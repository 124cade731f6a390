// Solution of a linear system with the factor of a Cholesky decomposition.
//
//   choleskySolutions    the kernel of all members
//
// Orders 3 to 6 read the whole right-hand side first. Arrays of order up to 16 run in lanes. All others keep the
// intermediate vector in the result.
#pragma once

#include "factor/cholesky_blocks.h"
#include "factor/cholesky_rows.h"
#include "factor/held.h"
#include "frame/operands.h"
#include "frame/orders.h"
#include "frame/tile.h"
#include "tarnm/tarnm.h"

namespace tarnm {

namespace cholesky {

// A factor that all objects share is broadcast once.
template <int n, class V> TARNM_INLINE void solveHeld(const V (&l)[n * n], const V (&b)[n], V (&x)[n])
{
    choleskySolution<Loops::unrolled>(HeldMatrix<const V, n>{l}, b, HeldVector<V>{x}, n);
}

template <int n, class L, class B, class X>
std::int32_t solvedInLanes(const L& factors, const B& right, const X& solutions, Place place)
{
    using T = typename X::ObjectView::Element;
    using V = std::conditional_t<X::isSingle, T, native_lanes<T>>;
    const auto solve = [](const auto& l, const auto& b, auto& x) { solveHeld<n>(l, b, x); };
    return forEachBlockOf<V>(place, solve, lowerSource<n>(factors), source<n>(right), result<n>(solutions));
}

template <class V> [[gnu::noinline]] void solveTile(const V* l, V* x, int n)
{
    choleskySolution<Loops::counted>(TileMatrix<const V>{l, n}, x, HeldVector<V>{x}, n);
}

// Any order that fits a tile.
template <class L, class B, class X>
std::int32_t solvedInTiles(const L& factors, const B& right, const X& solutions, int n, Place place)
{
    using V = native_lanes<typename X::ObjectView::Element>;
    V l[largestTile], x[largestTileExtent];
    if (L::isSingle && place.count > 1) loadTile<Part::lower>(factors, 0, 1, n, n, l);
    return forEachTile<V>(place, [&](std::ptrdiff_t first, int live) {
        if constexpr (!L::isSingle) loadTile<Part::lower>(factors, first, live, n, n, l);
        loadTile<Part::whole>(right, first, live, 1, n, x);
        solveTile(l, x, n);
        storeTile<Part::whole>(solutions, first, live, 1, n, x);
        return true;
    });
}

} // namespace cholesky

template <class L, class B, class X>
tarnmStatus choleskySolutions(const L& factors, const B& right, const X& solutions, std::int32_t n, Place place)
{
    using namespace cholesky;
    std::int32_t done = forOrder3to6(
        n, [&](auto order) { return solvedInLanes<order>(factors, right, solutions, place); }, [] { return 0; });
    if constexpr (!X::isSingle)
        if (n < 3 || (n > 6 && fitsTile(n, n))) done = solvedInTiles(factors, right, solutions, n, place);
    const std::ptrdiff_t end = std::ptrdiff_t(place.first) + place.count;
    for (std::ptrdiff_t o = std::ptrdiff_t(place.first) + done; o < end; ++o)
        choleskySolution<Loops::counted>(factors[o], right[o], solutions[o], n);
    return StatusOk;
}

} // namespace tarnm
