// Tiles whose rows an index array names, of an order that is known at run time only, from smallestTiled to largestTiled.
//
//   loadNamedTile     stored rows -> rows of factors
//   storeNamedTile    rows of factors -> the stored rows that they belong to
//   eliminateTile     the elimination of the general orders, on rows that change places
//
// Tiles lie in memory: element (r, c) of a tile is a[r * n + c].
#pragma once

#include "factor/lu_lanes.h"
#include "frame/tile.h"

namespace tarnm::lu {

inline constexpr int smallestTiled = 7, largestTiled = largestTileExtent;

template <class V> struct Tile {
    V a[largestTiled * largestTiled];
    V rows[largestTiled];
};

// ---- Lanes in memory

template <class V> scalar_t<V>* lanesInMemory(V* a) { return reinterpret_cast<scalar_t<V>*>(a); }

// element(l, i): element number i of lane l.
template <class V, class Element> void collect(V* a, int elements, int live, const Element& element)
{
    scalar_t<V>* const values = lanesInMemory(a);
    for (int l = 0; l < lane_count_v<V>; ++l)
        for (int i = 0; i < elements; ++i)
            storeElement(values + i * lane_count_v<V> + l, element(l < live ? l : live - 1, i));
}

template <class V, class Set> void distribute(const V* a, int elements, int live, const Set& set)
{
    const scalar_t<V>* const values = lanesInMemory(const_cast<V*>(a));
    for (int l = 0; l < live; ++l)
        for (int i = 0; i < elements; ++i)
            set(l, i, loadElement(values + i * lane_count_v<V> + l));
}

// ---- Rows that an index names

template <class V, class Array>
void loadNamedTile(const Array& array, std::ptrdiff_t first, int live, ConstRowIndex index, int n, V* a)
{
    if constexpr (isDense<Array>)
        for (int k = 0; k < n; ++k)
            tile::loadRun(basesOfRows<lane_count_v<V>>(array, first, live, index, n, k), n, a + k * n);
    else
        collect(a, n * n, live, [&](int l, int i) { return array[first + l](index[l * n + i / n], i % n); });
}

template <class V, class Array>
void storeNamedTile(const Array& array, std::ptrdiff_t first, int live, RowIndex index, int n, const V* a)
{
    constexpr int N = lane_count_v<V>;
    if constexpr (isDense<Array> && isObjectArray<Array>)
        if (live == N && rowsAreApart(array, n)) {
            for (int k = 0; k < n; ++k)
                tile::storeRun(basesOfRows<N>(array, first, N, index, n, k), n, a + k * n);
            return;
        }
    distribute(a, n * n, live,
               [&](int l, int i, auto value) { array[first + l].set(index[l * n + i / n], i % n, value); });
}

// ---- Elimination

// For each position behind k the lanes whose pivot stands there; returns the magnitude of the pivots.
template <class V> TARNM_INLINE V findPivots(const V* a, int n, int k, mask_t<V>* wins)
{
    V largest = abs(a[k * n + k]);
    for (int p = k + 1; p < n; ++p) {
        const V magnitude = abs(a[p * n + k]);
        wins[p] = magnitude > largest;
        largest = select(wins[p], magnitude, largest);
    }
    mask_t<V> isSettled(false);
    for (int p = n - 1; p > k; --p) {
        const mask_t<V> exceeds = wins[p];
        wins[p] = exceeds && !isSettled;
        isSettled = isSettled || exceeds;
    }
    return largest;
}

// Step k: the row of the pivots comes to position k, the row that was there takes its place, and the rows behind lose
// their multiples of it, all in one pass.
template <class V> TARNM_INLINE void eliminateStep(Tile<V>& tile, int n, int k, const mask_t<V>* wins)
{
    V displaced[largestTiled];
    V* const pivots = tile.a + k * n;
    V& pivotNumbers = tile.rows[k];
    const V displacedNumbers = pivotNumbers;
    for (int c = 0; c < n; ++c)
        displaced[c] = pivots[c];
    for (int p = k + 1; p < n; ++p) {
        const V* const row = tile.a + p * n;
        for (int c = 0; c < n; ++c)
            pivots[c] = select(wins[p], row[c], pivots[c]);
        pivotNumbers = select(wins[p], tile.rows[p], pivotNumbers);
        tile.rows[p] = select(wins[p], displacedNumbers, tile.rows[p]);
    }
    const V reciprocal = V(scalar_t<V>(1)) / pivots[k];
    for (int p = k + 1; p < n; ++p) {
        V* const row = tile.a + p * n;
        for (int c = 0; c < k; ++c)
            row[c] = select(wins[p], displaced[c], row[c]);
        const V multiplier = select(wins[p], displaced[k], row[k]) * reciprocal;
        row[k] = multiplier;
        for (int c = k + 1; c < n; ++c)
            row[c] = select(wins[p], displaced[c], row[c]) - pivots[c] * multiplier;
    }
}

// Whether no lane met a pivot up to the tolerance.
template <class V> bool eliminateTile(Tile<V>& tile, int n)
{
    const V tolerance(generalTolerance<scalar_t<V>>);
    mask_t<V> wins[largestTiled];
    for (int i = 0; i < n; ++i)
        tile.rows[i] = V(scalar_t<V>(i));
    for (int k = 0; k < n; ++k) {
        if (any(tolerance >= findPivots(tile.a, n, k, wins))) return false;
        if (k < n - 1) eliminateStep(tile, n, k, wins);
    }
    return true;
}

} // namespace tarnm::lu
