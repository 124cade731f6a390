// Transposes of small matrices.
//
//   copyElement               one element, as the bits that it has
//   transposeTile             four rows and columns of a dense matrix
//   transposePackedSquares    square matrices without gaps
//
// Elements are moved as bit patterns. Source and result must not overlap.
#pragma once

#include "frame/blocks.h"

namespace tarnm {

// Through memory and not as a value, which could pass through a register that quiets NaNs.
template <class T> TARNM_INLINE void copyElement(T* to, const T* from) { __builtin_memcpy(to, from, sizeof(T)); }

namespace movement {

inline constexpr std::int32_t tile = 4;

// Four rows of four elements as four objects of a block, whose lanes are the columns.
template <class S, class D>
TARNM_INLINE void transposeTile(const S& from, const D& to, std::ptrdiff_t r, std::ptrdiff_t c)
{
    using T = typename D::Element;
    using Rows = ObjectArray<StridedVector<const T, Spacing::dense>>;
    using V = lanes<T, tile>;
    const Rows rows{{from.address(r, c), {}}, from.rowStride};
    V columns[tile];
    loadBlock(rows, 0, tile, columns);
    TARNM_UNROLL
    for (int k = 0; k < tile; ++k)
        store(to.address(c + k, r), columns[k]);
}

template <int n, class T> StridedMatrix<T, Spacing::dense> packedSquare(T* base)
{
    return {base, std::ptrdiff_t(n * sizeof(T)), {}};
}

// Where the element at place i of a packed transpose stands in the matrix.
template <int n> constexpr int transposedPlace(int i) { return i % n * n + i / n; }

// One shuffle where a vector holds the matrix; of order 3 the last element stays where it is.
template <int n, class T> TARNM_INLINE void transposePackedSquare(const T* from, T* to)
{
    constexpr int shuffled = n == 3 ? 8 : n * n;
    if constexpr (n <= 4 && shuffled * sizeof(T) <= machine::vectorBytes) {
        using V = lanes<T, shuffled>;
        const V values = load<V>(from);
        store(to, blocks::picked<transposedPlace<n>>(values, values));
        if constexpr (shuffled < n * n) copyElement(to + shuffled, from + shuffled);
    } else if constexpr (n == tile) {
        transposeTile(packedSquare<n>(from), packedSquare<n>(to), 0, 0);
    } else {
        TARNM_UNROLL
        for (int i = 0; i < n * n; ++i)
            copyElement(to + i, from + transposedPlace<n>(i));
    }
}

template <int n, class T> void transposePackedSquares(const T* from, T* to, std::ptrdiff_t count)
{
    for (std::ptrdiff_t o = 0; o < count; ++o)
        transposePackedSquare<n>(from + o * n * n, to + o * n * n);
}

} // namespace movement
} // namespace tarnm
