// Blocks of long objects from anywhere, element by element in loops.
//
//   forEachGatheredBlock    as forEachBlock, for matrices of order n that do not lie densely
//
// The unrolled moves of forEachBlock are worth their code where elements stand side by side, and for small objects.
// For 25 and 36 elements in any places they are code alone.
#pragma once

#include "frame/blocks.h"

namespace tarnm {

namespace gathered {

// Elements of lane l at to[k * lanes + l]. Unused lanes repeat the last object.
template <class V, class Array>
[[gnu::noinline]] void gather(const Array& from, std::ptrdiff_t first, int live, int order, scalar_t<V>* to)
{
    using T = scalar_t<V>;
    constexpr int N = lane_count_v<V>;
    if constexpr (N > 1 && requires { from.objectStride; })
        if (live == N && from.objectStride == sizeof(T)) {
            const auto object = from[first];
            for (int r = 0; r < order; ++r)
                for (int c = 0; c < order; ++c, to += N)
                    store(to, load<V>(object.address(r, c)));
            return;
        }
    for (int l = 0; l < N; ++l) {
        const auto object = from[first + (l < live ? l : live - 1)];
        T* lane = to + l;
        for (int r = 0; r < order; ++r)
            for (int c = 0; c < order; ++c, lane += N)
                storeElement(lane, object(r, c));
    }
}

// In the order of objects, rows, columns.
template <class V, class Array>
[[gnu::noinline]] void scatter(const Array& to, std::ptrdiff_t first, int live, int order, const scalar_t<V>* from)
{
    for (int l = 0; l < live; ++l) {
        const auto object = to[first + l];
        const scalar_t<V>* lane = from + l;
        for (int r = 0; r < order; ++r)
            for (int c = 0; c < order; ++c, lane += lane_count_v<V>)
                object.set(r, c, loadElement(lane));
    }
}

template <class V, class Array, int n> void put(const Array& to, std::ptrdiff_t first, int live, const V (&x)[n][n])
{
    scatter<V>(to, first, live, n, reinterpret_cast<const scalar_t<V>*>(x));
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
    gather<V>(from, first, live, n, reinterpret_cast<scalar_t<V>*>(a));
    if constexpr (std::is_void_v<decltype(kernel(a, x))>)
        kernel(a, x);
    else if (any(kernel(a, x)))
        return false;
    put(to, first, live, x);
    return true;
}

template <class V, class D, int n> using ResultOf = std::conditional_t < requires(D d) { d[0].set(0, 0, 0); }
, V[n][n], V > ;

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
