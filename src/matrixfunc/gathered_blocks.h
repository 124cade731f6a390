// Blocks of long objects from anywhere, element by element in loops.
//
//   forEachGatheredBlock    as forEachBlock, for matrices of order n that do not lie densely
//
// The unrolled moves of forEachBlock are worth their code where elements stand side by side, and for small objects.
// For 25 and 36 elements in any places they are code alone.
#pragma once

#include "frame/tile.h"

namespace tarnm {

namespace gathered {

template <class V, class Array, int n> void put(const Array& to, std::ptrdiff_t first, int live, const V (&x)[n][n])
{
    storeTile<Part::whole>(to, first, live, n, n, &x[0][0]);
}

template <class V, class T> void put(const ScalarArray<T>& to, std::ptrdiff_t first, int live, const V& x)
{
    storeBlock(to, first, live, x);
}

// Whether all objects of the block succeeded; else nothing is written.
template <class V, int n, class X, class Kernel, class S, class D>
bool computed(const Kernel& kernel, std::ptrdiff_t first, int live, const S& from, const D& to)
{
    V a[n][n];
    X x;
    loadTile<Part::whole>(from, first, live, n, n, &a[0][0]);
    if constexpr (std::is_void_v<decltype(kernel(a, x))>)
        kernel(a, x);
    else if (any(kernel(a, x)))
        return false;
    put(to, first, live, x);
    return true;
}

template <class D>
concept Matrices = requires(const D& results)
{
    results[0].set(0, 0, 0);
};

template <class V, class D, int n> using ResultOf = std::conditional_t<Matrices<D>, V[n][n], V>;

} // namespace gathered

// Returns how many objects were completed.
template <class V, int n, class Kernel, class S, class D>
std::int32_t forEachGatheredBlock(Place place, const Kernel& kernel, const S& from, const D& to)
{
    using namespace gathered;
    using T = scalar_t<V>;
    const std::int32_t end = place.first + place.count;
    for (std::int32_t first = place.first; first < end;) {
        const int live = end - first < lane_count_v<V> ? end - first : lane_count_v<V>;
        if (live == 1 || !gathered::computed<V, n, ResultOf<V, D, n>>(kernel, first, live, from, to))
            for (int l = 0; l < live; ++l)
                if (!gathered::computed<T, n, ResultOf<T, D, n>>(kernel, first + l, 1, from, to))
                    return first + l - place.first;
        first += live;
    }
    return place.count;
}

} // namespace tarnm
