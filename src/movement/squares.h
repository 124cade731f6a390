// Transposes of small matrices.
//
//   copyElement               one element, as the bits that it has
//   transposeTile             a few rows and four columns of a dense matrix
//   fetchObject               asks for the lines of an object to come
//   transposePackedSquares    square matrices without gaps
//
// Elements are moved as bit patterns. Source and result must not overlap.
#pragma once

#include "frame/blocks.h"
#include "frame/fetch.h"

namespace tarnm {

// Through memory and not as a value, which could pass through a register that quiets NaNs.
template <class T> TARNM_INLINE void copyElement(T* to, const T* from) { __builtin_memcpy(to, from, sizeof(T)); }

namespace movement {

inline constexpr std::int32_t tile = 4;

// Rows of four elements as objects of a block, whose lanes are the columns.
template <int rowsOfTile, class S, class D>
TARNM_INLINE void transposeTile(const S& from, const D& to, std::ptrdiff_t r, std::ptrdiff_t c)
{
    using T = typename D::Element;
    using Rows = ObjectArray<StridedVector<const T, Spacing::dense>>;
    using V = lanes<T, rowsOfTile>;
    const Rows rows{{from.address(r, c), {}}, from.rowStride};
    V columns[tile];
    loadBlock(rows, 0, rowsOfTile, columns);
    TARNM_UNROLL
    for (int k = 0; k < tile; ++k)
        store(to.address(c + k, r), columns[k]);
}

// Where the element at place i of a packed transpose stands in the matrix.
template <int n> constexpr int transposedPlace(int i) { return i % n * n + i / n; }

// Rows r and on of all columns, a piece of them at a time, in vectors as long as there are rows for.
template <int n, class V, int r = 0> TARNM_INLINE void transposeStrips(const scalar_t<V>* from, scalar_t<V>* to)
{
    using T = scalar_t<V>;
    constexpr int W = blocks::pieceLength<V>, N = lane_count_v<V>;
    static_assert(n % W == 0);
    if constexpr (r + N <= n) {
        const blocks::PackedBases<const T, n * sizeof(T)> rows{from + r * n};
        TARNM_UNROLL
        for (int c = 0; c < n; c += W) {
            V columns[W];
            blocks::loadPieces(rows, c, columns);
            TARNM_UNROLL
            for (int k = 0; k < W; ++k)
                store(to + (c + k) * n + r, columns[k]);
        }
        transposeStrips<n, V, r + N>(from, to);
    } else if constexpr (r < n) {
        transposeStrips<n, lanes<T, N / 2>, r>(from, to);
    }
}

// One shuffle where a vector holds the matrix; of order 3 the last element stays where it is.
template <int n, class T> TARNM_INLINE void transposePackedSquare(const T* from, T* to)
{
    constexpr int shuffled = n == 3 ? 8 : n * n;
    if constexpr (n <= 4 && shuffled * sizeof(T) <= machine::vectorBytes) {
        using V = lanes<T, shuffled>;
        const V values = load<V>(from);
        store(to, blocks::picked<transposedPlace<n>>(values, values));
        if constexpr (shuffled < n * n) copyElement(to + shuffled, from + shuffled);
    } else if constexpr (n % blocks::pieceLength<native_lanes<T>> == 0) {
        transposeStrips<n, native_lanes<T>>(from, to);
    } else {
        TARNM_UNROLL
        for (int i = 0; i < n * n; ++i)
            copyElement(to + i, from + transposedPlace<n>(i));
    }
}

// To have the lines of the next object on their way pays for objects of many lines, and as long as they do not drive out
// those of this one.
inline constexpr std::ptrdiff_t fewestBytesAhead = 256, mostBytesAhead = 4096;

template <bool forWriting, class T> TARNM_INLINE void fetchObject(T* begin, std::ptrdiff_t bytes)
{
    if (bytes < fewestBytesAhead || bytes > mostBytesAhead) return;
    for (std::ptrdiff_t line = 0; line < bytes; line += lineBytes)
        fetchLine<forWriting>(moved(begin, line));
}

template <int n, class T> void transposePackedSquares(const T* from, T* to, std::ptrdiff_t count)
{
    constexpr int size = n * n;
    for (std::ptrdiff_t o = 0; o < count; ++o) {
        fetchObject<false>(from + (o + 1) * size, size * sizeof(T));
        fetchObject<true>(to + (o + 1) * size, size * sizeof(T));
        transposePackedSquare<n>(from + o * size, to + o * size);
    }
}

} // namespace movement
} // namespace tarnm
