// Copies of vectors and matrices between layouts.
//
//   copyObjects     all elements of all objects, in ascending order
//   packedBlock     the view of a dense block without strides
//
// Elements are moved as bit patterns: a signalling NaN, a denormal or a negative zero arrives as it was. A result that
// overlaps its source further on receives what has been copied before, as the ascending order gives. Where result and
// source lie apart the order does not show, and whole blocks are moved.
#pragma once

#include <cstring>

#include "frame/blocks.h"
#include "frame/overlap.h"
#include "frame/rearrange.h"
#include "movement/squares.h"
#include "tarnm/tarnm.h"

namespace tarnm {

// One object after the other, row by row, no gaps.
template <class T>
ObjectArray<StridedMatrix<T, Spacing::dense>> packedBlock(T* base, std::int32_t rows, std::int32_t columns)
{
    const std::ptrdiff_t rowStride = std::ptrdiff_t(sizeof(T)) * columns;
    return {{base, rowStride, {}}, rowStride * rows};
}

namespace movement {

template <class View> inline constexpr bool isScatteredArray = false;
template <class T> inline constexpr bool isScatteredArray<ObjectArray<ScatteredMatrix<T>>> = true;

template <class S, class D>
bool copyPacked(const S& from, const D& to, std::int32_t rows, std::int32_t columns, Place place)
{
    if (!isPacked(from, rows, columns) || !isPacked(to, rows, columns)) return false;
    const std::uint64_t bytes = std::uint64_t(to.objectStride) * std::uint64_t(place.count);
    if (!apart(from[place.first].base, bytes, to[place.first].base, bytes)) return false;
    std::memcpy(to[place.first].base, from[place.first].base, bytes);
    return true;
}

// Elements of neighbouring objects side by side on one hand, packed objects on the other: a transposition in lanes.
template <int R, int C, class S, class D> bool copyInLanes(const S& from, const D& to, Place place)
{
    using T = typename D::ObjectView::Element;
    const auto& table = [&]() -> const auto&
    {
        if constexpr (isScatteredArray<S>)
            return from;
        else
            return to;
    }
    ();
    const auto& block = [&]() -> const auto&
    {
        if constexpr (isScatteredArray<S>)
            return to;
        else
            return from;
    }
    ();
    if (!isInterleaved(table) || !isPacked(block, R, C)) return false;
    const std::uint64_t bytes = std::uint64_t(block.objectStride) * std::uint64_t(place.count);
    for (int r = 0; r < R; ++r)
        for (int c = 0; c < C; ++c)
            if (!apart(table[place.first].address(r, c), stretch(table, place), block[place.first].base, bytes))
                return false;

    // Whole blocks only: a single value is never held.
    using V = native_lanes<T>;
    const std::ptrdiff_t end = std::ptrdiff_t(place.first) + place.count;
    std::ptrdiff_t n = place.first;
    for (; n + V::size() <= end; n += V::size()) {
        V elements[R][C];
        if constexpr (isScatteredArray<S>)
            fetchObject<true>(block[n + V::size()].base, R * C * std::ptrdiff_t(sizeof(V)));
        loadBlock(from, n, V::size(), elements);
        storeBlock(to, n, V::size(), elements);
    }
    for (; n < end; ++n)
        for (int r = 0; r < R; ++r)
            for (int c = 0; c < C; ++c)
                copyElement<T>(to[n].address(r, c), from[n].address(r, c));
    return true;
}

template <class View> inline constexpr bool isTransposedDenseArray = false;
template <class T>
inline constexpr bool isTransposedDenseArray<ObjectArray<Transposed<StridedMatrix<T, Spacing::dense>>>> = true;

template <class S, class D>
bool copyTransposedSquares(const S& from, const D& to, std::int32_t rows, std::int32_t columns, Place place)
{
    const auto stored = blocks::asStored(from);
    if (rows != columns || !isPacked(stored, rows, rows) || !isPacked(to, rows, rows)) return false;
    const auto* source = stored[place.first].base;
    auto* result = to[place.first].base;
    const std::uint64_t bytes = std::uint64_t(to.objectStride) * std::uint64_t(place.count);
    if (!apart(source, bytes, result, bytes)) return false;
    switch (rows) {
    case 3:
        return transposePackedSquares<3>(source, result, place.count), true;
    case 4:
        return transposePackedSquares<4>(source, result, place.count), true;
    case 6:
        return transposePackedSquares<6>(source, result, place.count), true;
    }
    return false;
}

constexpr int threeOfFour(int p) { return p / 3 * 4 + p % 3; }

// The first three of every four elements, which go together without gaps.
template <class T> void copyThreeOfFour(const T* from, T* to, std::ptrdiff_t rows)
{
    using V = native_lanes<T>;
    std::ptrdiff_t r = 0;
    if constexpr (rearrangesInVectors)
        for (; r + V::size() <= rows; r += V::size()) {
            const auto packed = loadRearranged<threeOfFour, 3, V, 4>(from + 4 * r);
            TARNM_UNROLL
            for (int j = 0; j < 3; ++j)
                store(to + 3 * r + j * V::size(), packed[j]);
        }
    for (; r < rows; ++r)
        __builtin_memcpy(to + 3 * r, from + 4 * r, 3 * sizeof(T));
}

// Whether all rows of all objects begin at the same distance from one another.
template <class T>
bool isEvenlySpaced(const ObjectArray<StridedMatrix<T, Spacing::dense>>& array, std::int32_t rows,
                    std::ptrdiff_t distance)
{
    return (rows == 1 || array.first.rowStride == distance) && array.objectStride == distance * rows;
}

// Dense rows of few elements.
template <int columns, class S, class D> bool copyShortRows(const S& from, const D& to, std::int32_t rows, Place place)
{
    using T = typename D::ObjectView::Element;
    for (std::ptrdiff_t n = place.first; n < std::ptrdiff_t(place.first) + place.count; ++n)
        for (std::ptrdiff_t r = 0; r < rows; ++r)
            __builtin_memcpy(to[n].address(r, 0), from[n].address(r, 0), columns * sizeof(T));
    return true;
}

// Bytes from the first element to behind the last, over the objects of a call.
template <class T>
std::uint64_t extentOf(const ObjectArray<StridedMatrix<T, Spacing::dense>>& array, std::int32_t rows,
                       std::int32_t columns, Place place)
{
    return std::uint64_t(place.count - 1) * std::uint64_t(array.objectStride) +
           std::uint64_t(rows - 1) * std::uint64_t(rows > 1 ? array.first.rowStride : 0) + sizeof(T) * columns;
}

template <class S, class D>
bool copyRows(const S& from, const D& to, std::int32_t rows, std::int32_t columns, Place place)
{
    if (columns < 3 || columns > 6) return false;
    if (!apart(from[place.first].base, extentOf(from, rows, columns, place), to[place.first].base,
               extentOf(to, rows, columns, place)))
        return false;
    using T = typename D::ObjectView::Element;
    if (columns == 3 && isPacked(to, rows, columns) && isEvenlySpaced(from, rows, 4 * sizeof(T))) {
        copyThreeOfFour<T>(from[place.first].base, to[place.first].base, std::ptrdiff_t(rows) * place.count);
        return true;
    }
    switch (columns) {
    case 3:
        return copyShortRows<3>(from, to, rows, place);
    case 4:
        return copyShortRows<4>(from, to, rows, place);
    case 5:
        return copyShortRows<5>(from, to, rows, place);
    default:
        return copyShortRows<6>(from, to, rows, place);
    }
}

template <class S, class D>
bool copyAsBlock(const S& from, const D& to, std::int32_t rows, std::int32_t columns, Place place)
{
    if constexpr (isDenseArray<S> && isDenseArray<D>)
        return copyPacked(from, to, rows, columns, place) || copyRows(from, to, rows, columns, place);
    if constexpr (isTransposedDenseArray<S> && isDenseArray<D>)
        return copyTransposedSquares(from, to, rows, columns, place);
    if constexpr ((isDenseArray<S> && isScatteredArray<D>) || (isScatteredArray<S> && isDenseArray<D>)) {
        if (place.count < native_lane_count_v<typename D::ObjectView::Element>) return false;
        if (rows == 1 && columns == 3) return copyInLanes<1, 3>(from, to, place);
        if (rows == 1 && columns == 4) return copyInLanes<1, 4>(from, to, place);
        if (rows == 3 && columns == 3) return copyInLanes<3, 3>(from, to, place);
        if (rows == 4 && columns == 4) return copyInLanes<4, 4>(from, to, place);
    }
    return false;
}

template <class S, class D> void copyObject(const S& from, const D& to, std::int32_t rows, std::int32_t columns)
{
    using T = typename D::Element;
    for (std::ptrdiff_t r = 0; r < rows; ++r)
        for (std::ptrdiff_t c = 0; c < columns; ++c)
            copyElement<T>(to.address(r, c), from.address(r, c));
}

} // namespace movement

template <class S, class D>
tarnmStatus copyObjects(const S& from, const D& to, std::int32_t rows, std::int32_t columns, Place place)
{
    if (movement::copyAsBlock(from, to, rows, columns, place)) return StatusOk;
    for (std::ptrdiff_t n = place.first; n < std::ptrdiff_t(place.first) + place.count; ++n)
        movement::copyObject(from[n], to[n], rows, columns);
    return StatusOk;
}

} // namespace tarnm
