// Least squares solution with the factors of a QR decomposition.
//
//   qrSolutions    the kernel of all members
//
// Square systems of order 3 to 6 are solved in values of our own and leave the buffer alone. Arrays of systems with up
// to 16 rows run in lanes. All others work in the buffer, into which each right-hand side is copied first.
#pragma once

#include "factor/held.h"
#include "factor/qr_steps.h"
#include "frame/blocks.h"
#include "frame/orders.h"
#include "frame/tile.h"
#include "tarnm/tarnm.h"

namespace tarnm {

namespace qr {

template <int n, class V> TARNM_INLINE void reflectionFactors(const HeldMatrix<const V, n>& a, V (&factors)[n])
{
    constexpr int steps = reflectionCount(n, n);
    TARNM_UNROLL
    for (int k = 0; k < steps; ++k)
        factors[k] = reflectionFactor<Loops::unrolled>(a, k, n);
}

// In place. `factors` are those of the reflections.
template <int n, class V> TARNM_INLINE void solveHeld(const V (&a)[n][n], const V (&factors)[n], V (&c)[n])
{
    constexpr int steps = reflectionCount(n, n);
    const HeldMatrix<const V, n> matrix{&a[0][0]};
    const HeldVector<V> vector{c};
    TARNM_UNROLL
    for (int k = 0; k < steps; ++k)
        reflectVector<Loops::unrolled>(matrix, vector, factors[k], k, n);
    solveUpperTriangle<Loops::unrolled>(matrix, vector, n);
}

template <int n, class V> TARNM_INLINE void factorAndSolveHeld(const V (&a)[n][n], V (&c)[n])
{
    V factors[n];
    reflectionFactors<n>(HeldMatrix<const V, n>{&a[0][0]}, factors);
    solveHeld<n>(a, factors, c);
}

// A matrix that all objects share is broadcast once, and its factors are computed once.
template <int n, class A, class B, class X>
std::int32_t solvedInLanes(const A& matrices, const B& right, const X& solutions, Place place)
{
    using V = lanes_for_order<typename X::ObjectView::Element, n>;
    V a[n][n], factors[n];
    if constexpr (A::isSingle) {
        if (place.count < 2) return 0; // a vector by itself does not run in lanes
        loadBlock(matrices, 0, lane_count_v<V>, a);
        reflectionFactors<n>(HeldMatrix<const V, n>{&a[0][0]}, factors);
    }
    return forEachTile<V>(
        place, [&](std::ptrdiff_t first, int live) __attribute__((always_inline)) {
            V c[n];
            if constexpr (!A::isSingle) loadBlock(matrices, first, live, a);
            loadBlock(right, first, live, c);
            if constexpr (A::isSingle)
                solveHeld<n>(a, factors, c);
            else
                factorAndSolveHeld<n>(a, c);
            storeBlock(solutions, first, live, c);
            return true;
        });
}

// One object, without the buffer.
template <int n, class A, class B, class X> void solveObject(const A& matrix, const B& right, const X& solution)
{
    using T = typename X::Element;
    T a[n][n], c[n];
    for (int r = 0; r < n; ++r)
        for (int k = 0; k < n; ++k)
            a[r][k] = matrix(r, k);
    for (int i = 0; i < n; ++i)
        c[i] = right[i];
    factorAndSolveHeld<n>(a, c);
    for (int i = 0; i < n; ++i)
        solution.set(i, c[i]);
}

template <int n, class A, class B, class X>
tarnmStatus solveCase(const A& matrices, const B& right, const X& solutions, Place place)
{
    std::int32_t done = 0;
    if constexpr (!X::isSingle) done = solvedInLanes<n>(matrices, right, solutions, place);
    const std::ptrdiff_t end = std::ptrdiff_t(place.first) + place.count;
    for (std::ptrdiff_t o = std::ptrdiff_t(place.first) + done; o < end; ++o)
        solveObject<n>(matrices[o], right[o], solutions[o]);
    return StatusOk;
}

// `a` and `c` in tiles, factors in `f`.
template <class V> [[gnu::noinline]] void tileFactors(const V* a, V* f, int width, int height)
{
    for (int k = 0; k < reflectionCount(width, height); ++k)
        f[k] = reflectionFactor<Loops::counted>(TileMatrix<const V>{a, width}, k, height);
}

template <class V> [[gnu::noinline]] void solveTile(const V* a, const V* f, V* c, int width, int height)
{
    const TileMatrix<const V> matrix{a, width};
    for (int k = 0; k < reflectionCount(width, height); ++k)
        reflectVector<Loops::counted>(matrix, HeldVector<V>{c}, f[k], k, height);
    solveUpperTriangle<Loops::counted>(matrix, HeldVector<V>{c}, width);
}

// Any shape that fits a tile.
template <class A, class B, class X>
std::int32_t solvedInTiles(const A& matrices, const B& right, const X& solutions, int width, int height, Place place)
{
    using V = native_lanes<typename X::ObjectView::Element>;
    V a[largestTile], f[largestTileExtent], c[largestTileExtent];
    const auto loadMatrix = [&](std::ptrdiff_t first, int live) {
        loadTile<Part::whole>(matrices, first, live, height, width, a);
        tileFactors(a, f, width, height);
    };
    if (A::isSingle && place.count > 1) loadMatrix(0, 1);
    return forEachTile<V>(place, [&](std::ptrdiff_t first, int live) {
        if constexpr (!A::isSingle) loadMatrix(first, live);
        loadTile<Part::whole>(right, first, live, 1, height, c);
        solveTile(a, f, c, width, height);
        storeTile<Part::whole>(solutions, first, live, 1, width, c);
        return true;
    });
}

template <class A, class B, class X, class Buffer>
void solveInBuffer(const A& a, const B& b, const X& x, const Buffer& c, int width, int height)
{
    for (int i = 0; i < height; ++i)
        c.set(i, b[i]);
    for (int k = 0; k < reflectionCount(width, height); ++k)
        reflectVector<Loops::counted>(a, c, reflectionFactor<Loops::counted>(a, k, height), k, height);
    solveUpperTriangle<Loops::counted>(a, c, width);
    for (int i = 0; i < width; ++i)
        x.set(i, c[i]);
}

// Orders that have no case of their own.
template <class A, class B, class X>
tarnmStatus solveOthers(const A& matrices, void* buffer, const B& right, const X& solutions, std::int32_t width,
                        std::int32_t height, Place place)
{
    using T = typename X::ObjectView::Element;
    std::int32_t done = 0;
    if constexpr (!X::isSingle)
        if (fitsTile(width, height)) done = solvedInTiles(matrices, right, solutions, width, height, place);
    const auto c = vectorAt<Spacing::dense>(static_cast<T*>(buffer), sizeof(T));
    const std::ptrdiff_t end = std::ptrdiff_t(place.first) + place.count;
    for (std::ptrdiff_t o = std::ptrdiff_t(place.first) + done; o < end; ++o)
        solveInBuffer(matrices[o], right[o], solutions[o], c, width, height);
    return StatusOk;
}

} // namespace qr

template <class A, class B, class X>
tarnmStatus qrSolutions(const A& matrices, void* buffer, const B& right, const X& solutions, std::int32_t width,
                        std::int32_t height, Place place)
{
    return forOrder3to6(
        width == height ? width : 0,
        [&](auto order) { return qr::solveCase<order>(matrices, right, solutions, place); },
        [&] { return qr::solveOthers(matrices, buffer, right, solutions, width, height, place); });
}

} // namespace tarnm
