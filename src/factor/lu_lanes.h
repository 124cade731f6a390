// Blocks of objects whose rows an index array names: each lane has an order of its own.
//
//   storeIndex, loadIndex      numbers of rows in lanes <-> the index arrays of a block
//   inNamedOrder               elements or rows of V in the order of an index
//   storeNamedRows             rows of factors -> the stored rows that they belong to
//   loadNamedRows              stored rows -> rows of factors
//
// Numbers of rows are kept as values of V, in which small whole numbers are exact.
#pragma once

#include "factor/lu_elimination.h"
#include "frame/blocks.h"
#include "frame/tile.h"

namespace tarnm::lu {

// The index arrays of all objects lie one behind the other.
template <class Index> TARNM_INLINE Index indexOfObject(Index first, std::ptrdiff_t object, std::int32_t n)
{
    return first.shifted(object * n * std::ptrdiff_t(sizeof(std::int32_t)));
}

template <int N> using IntegersInLanes = machine::RawVector<std::int32_t, N>;
template <int N> using IntegersAsSingles = machine::RawVector<float, N>;

// Integers travel between registers and memory as singles, whose values nothing looks at.
template <int N> inline constexpr bool fillsPieces = sizeof(IntegersInLanes<N>) >= machine::pieceBytes;

template <int n, class T, int N> TARNM_INLINE void storeIndex(RowIndex first, int live, const lanes<T, N> (&rows)[n])
{
    if constexpr (fillsPieces<N>)
        if (live == N) {
            lanes<float, N> bits[n];
            TARNM_UNROLL
            for (int i = 0; i < n; ++i)
                bits[i] =
                    lanes<float, N>((IntegersAsSingles<N>)__builtin_convertvector(rows[i].raw, IntegersInLanes<N>));
            return blocks::storePacked<n>(reinterpret_cast<float*>(first.base), bits);
        }
    for (int l = 0; l < live; ++l)
        for (int i = 0; i < n; ++i)
            first.set(l * n + i, std::int32_t(rows[i][l]));
}

template <int n, class T, int N> TARNM_INLINE void loadIndex(ConstRowIndex first, int live, lanes<T, N> (&rows)[n])
{
    if constexpr (fillsPieces<N>)
        if (live == N) {
            lanes<float, N> bits[n];
            blocks::loadPacked<n>(reinterpret_cast<const float*>(first.base), bits);
            TARNM_UNROLL
            for (int i = 0; i < n; ++i)
                rows[i] =
                    lanes<T, N>(__builtin_convertvector((IntegersInLanes<N>)bits[i].raw, typename lanes<T, N>::Raw));
            return;
        }
    for (int l = 0; l < N; ++l)
        for (int i = 0; i < n; ++i)
            rows[i].set(l, T(first[(l < live ? l : live - 1) * n + i]));
}

// Element number rows[i] of `all`, lane by lane.
template <int n, class V> TARNM_INLINE V named(const V (&all)[n], V row)
{
    V found = all[0];
    TARNM_UNROLL
    for (int r = 1; r < n; ++r)
        found = select(row == V(scalar_t<V>(r)), all[r], found);
    return found;
}

template <int n, class V> TARNM_INLINE void inNamedOrder(const V (&all)[n], const V (&rows)[n], V (&ordered)[n])
{
    TARNM_UNROLL
    for (int i = 0; i < n; ++i)
        ordered[i] = named(all, rows[i]);
}

// The same row number for all lanes is a row of each object.
template <class T, int N> struct NamedBases {
    T* base[N];

    TARNM_INLINE T* operator[](int l) const { return base[l]; }
};

template <int N, class Array, class Index>
TARNM_INLINE auto basesOfRows(const Array& array, std::ptrdiff_t first, int live, Index index, int n, int k)
{
    NamedBases<typename Array::ObjectView::Pointee, N> bases;
    TARNM_UNROLL
    for (int l = 0; l < N; ++l) {
        const int object = l < live ? l : live - 1;
        bases.base[l] = array[first + object].row(index[object * n + k]).base;
    }
    return bases;
}

// Rows can be stored in any order where none overlaps another.
template <class Array> TARNM_INLINE bool rowsAreApart(const Array& array, int n)
{
    const std::ptrdiff_t rowBytes = n * std::ptrdiff_t(sizeof(typename Array::ObjectView::Element));
    const std::ptrdiff_t row = blocks::rowStrideOf(array.first);
    return row >= rowBytes && array.objectStride >= (n - 1) * row + rowBytes;
}

// `index` holds the same numbers as `rows`.
template <int n, class V, class Array>
TARNM_INLINE void storeNamedRows(const Array& array, std::ptrdiff_t first, int live, RowIndex index, const V (&a)[n][n],
                                 const V (&rows)[n])
{
    constexpr int N = lane_count_v<V>;
    if constexpr (isDense<Array> && isObjectArray<Array>)
        if (live == N && rowsAreApart(array, n)) {
            TARNM_UNROLL
            for (int k = 0; k < n; ++k)
                blocks::storeRuns<n>(basesOfRows<N>(array, first, N, index, n, k), a[k]);
            return;
        }
    V stored[n][n];
    TARNM_UNROLL
    for (int r = 0; r < n; ++r) {
        TARNM_UNROLL
        for (int c = 0; c < n; ++c)
            stored[r][c] = a[0][c];
        TARNM_UNROLL
        for (int k = 1; k < n; ++k) {
            const mask_t<V> here = rows[k] == V(scalar_t<V>(r));
            TARNM_UNROLL
            for (int c = 0; c < n; ++c)
                stored[r][c] = select(here, a[k][c], stored[r][c]);
        }
    }
    storeBlock(array, first, live, stored);
}

// Out of line and through memory, like all that goes element by element.
template <int n, class V, class Array>
[[gnu::noinline]] void collectNamedRows(const Array& array, std::ptrdiff_t first, int live, ConstRowIndex index, V* a)
{
    using T = scalar_t<V>;
    T* const values = reinterpret_cast<T*>(a);
    for (int l = 0; l < lane_count_v<V>; ++l) {
        const int object = l < live ? l : live - 1;
        const auto stored = array[first + object];
        for (int k = 0; k < n; ++k)
            for (int c = 0; c < n; ++c)
                storeElement(values + (k * n + c) * lane_count_v<V> + l, stored(index[object * n + k], c));
    }
}

template <int n, class V> TARNM_INLINE void selectNamedRows(const V (&stored)[n][n], const V (&rows)[n], V (&a)[n][n])
{
    TARNM_UNROLL
    for (int k = 0; k < n; ++k)
        TARNM_UNROLL
    for (int c = 0; c < n; ++c) {
        a[k][c] = stored[0][c];
        TARNM_UNROLL
        for (int r = 1; r < n; ++r)
            a[k][c] = select(rows[k] == V(scalar_t<V>(r)), stored[r][c], a[k][c]);
    }
}

// Whether rows that are all loaded and then selected come faster than rows that are gathered one by one: by measurement.
template <class T, int n> inline constexpr bool selectsRows = sizeof(T) == sizeof(float) || n == 3;

// `rows` holds the same numbers as `index`.
template <int n, class V, class Array>
TARNM_INLINE void loadNamedRows(const Array& array, std::ptrdiff_t first, int live, ConstRowIndex index,
                                const V (&rows)[n], V (&a)[n][n])
{
    constexpr int N = lane_count_v<V>;
    const auto selected = [&]() __attribute__((always_inline))
    {
        V stored[n][n];
        loadBlock(array, first, live, stored);
        selectNamedRows(stored, rows, a);
    };
    if constexpr (isDense<Array> && selectsRows<scalar_t<V>, n>)
        selected();
    else if constexpr (isDense<Array>) {
        TARNM_UNROLL
        for (int k = 0; k < n; ++k)
            blocks::loadRuns<n>(basesOfRows<N>(array, first, live, index, n, k), a[k]);
    } else {
        if constexpr (isObjectArray<Array>)
            if (array.objectStride == sizeof(scalar_t<V>) && live == N) return selected();
        V collected[n * n];
        collectNamedRows<n>(array, first, live, index, collected);
        TARNM_UNROLL
        for (int k = 0; k < n; ++k)
            TARNM_UNROLL
        for (int c = 0; c < n; ++c)
            a[k][c] = collected[k * n + c];
    }
}

} // namespace tarnm::lu
