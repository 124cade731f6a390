// Least squares solution with the factors of a QR decomposition.
//
//   qrSolutions    the kernel of all members
//
// Square systems of order 3 to 6 are solved in values of our own, arrays of them in lanes, and leave the buffer alone.
// All others work in the buffer, into which each right-hand side is copied first.
#pragma once

#include "factor/held.h"
#include "factor/orders.h"
#include "factor/qr_steps.h"
#include "frame/blocks.h"
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

// In place. `factors` are those of the reflections. Out of line: it serves all layouts.
template <int n, class V> [[gnu::noinline]] void solveHeld(const V (&a)[n][n], const V (&factors)[n], V (&c)[n])
{
    constexpr int steps = reflectionCount(n, n);
    const HeldMatrix<const V, n> matrix{&a[0][0]};
    const HeldVector<V> vector{c};
    TARNM_UNROLL
    for (int k = 0; k < steps; ++k)
        reflectVector<Loops::unrolled>(matrix, vector, factors[k], k, n);
    solveUpperTriangle<Loops::unrolled>(matrix, vector, n);
}

template <int n, class V> [[gnu::noinline]] void factorAndSolveHeld(const V (&a)[n][n], V (&c)[n])
{
    V factors[n];
    reflectionFactors<n>(HeldMatrix<const V, n>{&a[0][0]}, factors);
    solveHeld<n>(a, factors, c);
}

template <int n, class A, class B, class X>
tarnmStatus solvedInLanes(const A& matrices, const B& right, const X& solutions, Place place)
{
    using T = typename X::ObjectView::Element;
    using Wide = std::conditional_t<X::isSingle, T, native_lanes<T>>;
    const auto solve = [](const auto& a, const auto& b, auto& x) __attribute__((always_inline))
    {
        TARNM_UNROLL
        for (int i = 0; i < n; ++i)
            x[i] = b[i];
        factorAndSolveHeld<n>(a, x);
    };
    forEachBlockOf<Wide>(place, solve, source<n, n>(matrices), source<n>(right), result<n>(solutions));
    return StatusOk;
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

} // namespace qr

template <class A, class B, class X>
tarnmStatus qrSolutions(const A& matrices, void* buffer, const B& right, const X& solutions, std::int32_t width,
                        std::int32_t height, Place place)
{
    using namespace qr;
    using T = typename X::ObjectView::Element;
    if (width == height && width >= 3 && width <= 6)
        return forOrder3to6(
            width, [&](auto order) { return solvedInLanes<order>(matrices, right, solutions, place); },
            tarnmStatus(StatusOk));
    const auto c = vectorAt<Spacing::dense>(static_cast<T*>(buffer), sizeof(T));
    const std::ptrdiff_t end = std::ptrdiff_t(place.first) + place.count;
    for (std::ptrdiff_t o = place.first; o < end; ++o)
        solveInBuffer(matrices[o], right[o], solutions[o], c, width, height);
    return StatusOk;
}

} // namespace tarnm
