// Objects of any small shape in lanes: what blocks.h does, in loops over elements instead of unrolled moves.
//
//   largestTileExtent       rows and columns up to which objects go into tiles
//   fitsTile                whether a shape does
//   TileMatrix              rows of values of our own, as kernels see them
//   Part                    the elements that are moved: all, or the lower triangle
//   loadTile, storeTile     the objects first .. first + live - 1 of an array <-> rows of V
//   forEachTile             first object and length of each tile of a call
//
// A vector is a matrix of one row. Only elements of the part are read or written. Unused lanes repeat the last object.
#pragma once

#include "frame/blocks.h"

namespace tarnm {

inline constexpr int largestTileExtent = 16;
inline constexpr int largestTile = largestTileExtent * largestTileExtent;

constexpr bool fitsTile(int columns, int rows) { return columns <= largestTileExtent && rows <= largestTileExtent; }

template <class V> struct TileMatrix {
    V* values;
    int columns;

    TARNM_INLINE V operator()(int i, int j) const { return values[i * columns + j]; }
    TARNM_INLINE void set(int i, int j, V value) const { values[i * columns + j] = value; }
};

enum class Part { whole, lower };

namespace tile {

struct Shape {
    int rows, columns;
};

template <Part part> TARNM_INLINE int lengthOfRow(Shape shape, int r)
{
    return part == Part::lower ? r + 1 : shape.columns;
}

// The last piece of a run that is no multiple of a piece reaches back over elements already taken.
template <class V, class Bases> TARNM_INLINE void loadRun(const Bases& bases, int length, V* a)
{
    constexpr int W = blocks::pieceLength<V>;
    int k = 0;
    for (; length >= W && k < length; k += W) {
        const int from = k + W <= length ? k : length - W;
        V v[W];
        blocks::loadPieces(bases, from, v);
        TARNM_UNROLL
        for (int j = 0; j < W; ++j)
            a[from + j] = v[j];
    }
    for (; k < length; ++k)
        a[k] = blocks::loadElements<V>(bases, k);
}

template <class V, class Bases> TARNM_INLINE void storeRun(const Bases& bases, int length, const V* a)
{
    constexpr int W = blocks::pieceLength<V>;
    int k = 0;
    for (; length >= W && k < length; k += W) {
        const int from = k + W <= length ? k : length - W;
        V v[W];
        TARNM_UNROLL
        for (int j = 0; j < W; ++j)
            v[j] = a[from + j];
        blocks::storePieces(bases, from, v);
    }
    for (; k < length; ++k)
        blocks::storeElements(bases, k, a[k]);
}

// body(r, c) for all elements of the part.
template <Part part, class Body> TARNM_INLINE void overPart(Shape shape, Body&& body)
{
    for (int r = 0; r < shape.rows; ++r)
        for (int c = 0; c < lengthOfRow<part>(shape, r); ++c)
            body(r, c);
}

// Whether the same elements of neighbouring objects lie side by side.
template <class V, class Array> TARNM_INLINE bool isInterleaved(const Array& array, int live)
{
    if constexpr (isObjectArray<Array>)
        return live == lane_count_v<V> && array.objectStride == std::ptrdiff_t(sizeof(scalar_t<V>));
    else
        return false;
}

// And whether whole vectors of them keep clear of the next element.
template <class V, class Object> TARNM_INLINE bool isClearInterleaved(const Object& object, Shape shape)
{
    if constexpr (requires { object.elementStride; }) {
        const std::ptrdiff_t column = object.elementStride.bytes, row = blocks::rowStrideOf(object), block = sizeof(V);
        if (shape.rows == 1) return column >= block;
        return column >= block && row >= block &&
               (row >= (shape.columns - 1) * column + block || column >= (shape.rows - 1) * row + block);
    } else
        return true;
}

template <class Array> TARNM_INLINE bool isDisjoint(const Array& array, Shape shape)
{
    if constexpr (isObjectArray<Array>)
        return array.objectStride >= (shape.rows - 1) * blocks::rowStrideOf(array.first) +
                                         shape.columns * std::ptrdiff_t(sizeof(typename Array::ObjectView::Element));
    else
        return true;
}

} // namespace tile

template <Part part, class V, class Array>
[[gnu::noinline]] void loadTile(const Array& array, std::ptrdiff_t first, int live, int rows, int columns, V* a)
{
    using T = scalar_t<V>;
    constexpr int N = lane_count_v<V>;
    const tile::Shape shape{rows, columns};
    if constexpr (Array::isSingle)
        return tile::overPart<part>(shape,
                                    [&](int r, int c) { a[r * columns + c] = V(blocks::element(array.object, r, c)); });
    else if constexpr (isDense<Array>) {
        const auto bases = blocks::basesOf<N>(array, first, live);
        const std::ptrdiff_t rowStride = blocks::rowStrideOf(blocks::pattern(array));
        for (int r = 0; r < rows; ++r)
            tile::loadRun(bases.shifted(r * rowStride), tile::lengthOfRow<part>(shape, r), a + r * columns);
    } else if (tile::isInterleaved<V>(array, live)) {
        const auto object = array[first];
        tile::overPart<part>(shape,
                             [&](int r, int c) { a[r * columns + c] = load<V>(blocks::elementAddress(object, r, c)); });
    } else {
        T* const values = reinterpret_cast<T*>(a);
        for (int l = 0; l < N; ++l) {
            const auto object = array[first + (l < live ? l : live - 1)];
            tile::overPart<part>(shape, [&](int r, int c) {
                storeElement(values + (r * columns + c) * N + l, T(blocks::element(object, r, c)));
            });
        }
    }
}

template <Part part, class V, class Array>
[[gnu::noinline]] void storeTile(const Array& array, std::ptrdiff_t first, int live, int rows, int columns, const V* a)
{
    using T = scalar_t<V>;
    constexpr int N = lane_count_v<V>;
    const tile::Shape shape{rows, columns};
    if constexpr (isDense<Array>) {
        if (live == N && tile::isDisjoint(array, shape)) {
            const auto bases = blocks::basesOf<N>(array, first, live);
            const std::ptrdiff_t rowStride = blocks::rowStrideOf(blocks::pattern(array));
            for (int r = 0; r < rows; ++r)
                tile::storeRun(bases.shifted(r * rowStride), tile::lengthOfRow<part>(shape, r), a + r * columns);
            return;
        }
    } else if constexpr (isObjectArray<Array>) {
        if (tile::isInterleaved<V>(array, live) && tile::isClearInterleaved<V>(array.first, shape)) {
            const auto object = array[first];
            return tile::overPart<part>(
                shape, [&](int r, int c) { store(blocks::elementAddress(object, r, c), a[r * columns + c]); });
        }
    }
    const T* const values = reinterpret_cast<const T*>(a);
    for (int l = 0; l < live; ++l) {
        const auto object = array[first + l];
        tile::overPart<part>(shape, [&](int r, int c) {
            blocks::setElement(object, r, c, loadElement(values + (r * columns + c) * N + l));
        });
    }
}

// Calls body(first, live) for one tile after the other, until it says false. How many objects were done; a last object
// that would have a tile to itself is left over.
template <class V, class Body> TARNM_INLINE std::int32_t forEachTile(Place place, const Body& body)
{
    std::int32_t done = 0;
    while (done < place.count) {
        const int left = place.count - done, live = left < lane_count_v<V> ? left : lane_count_v<V>;
        if (live == 1 || !body(std::ptrdiff_t(place.first) + done, live)) break;
        done += live;
    }
    return done;
}

} // namespace tarnm
