// Rows of a few elements in vectors: what products of dense matrices and vectors are made of.
//
//   Row                       the elements of one row, with + and *
//   loadRows                  the rows of a matrix, as stored or transposed
//   transposedView            a matrix with rows and columns exchanged
//   multiplyByRows            arrays of matrices of 3 to 6 rows
//   multiplyByRowsFromZero    arrays of matrices of 8 or 16 rows, whose sums start from 0
//   multiplyVectorsByRows     arrays of vectors, with a summand or without
//
// Row i of a product is ((a(i,0) * B0 + a(i,1) * B1) + a(i,2) * B2) + ..., where Bk is row k of b, so that every element
// is the sum that it is by itself. Elements of a are spread over vectors while they are loaded. At these orders that is
// quicker than lanes of objects, which have to be transposed on the way in and out, though rows do not fill vectors.
#pragma once

#include "frame/blocks.h"
#include "frame/fetch.h"
#include "frame/partial.h"
#include "products/row_case.h"

namespace tarnm {
namespace products {

// In one vector with room for 4, 8 or 16 elements, or in several of the target's, of which the last reaches back over
// elements that the one before has.
template <class T, int n> struct Row {
    static constexpr int room = n <= 4 ? 4 : n <= 8 ? 8 : 16;
    static constexpr int width = room < native_lane_count_v<T> ? room : native_lane_count_v<T>;
    static constexpr int filled = n < width ? n : width;
    static constexpr int parts = (n + width - 1) / width;
    using V = lanes<T, width>;

    V part[parts];

    static constexpr int firstOf(int p) { return (p + 1) * filled <= n ? p * filled : n - filled; }

    Row() = default;
    TARNM_INLINE explicit Row(T value)
    {
        TARNM_UNROLL
        for (V& v : part)
            v = V(value);
    }
    TARNM_INLINE explicit Row(const T* address)
    {
        TARNM_UNROLL
        for (int p = 0; p < parts; ++p)
            part[p] = loadFirst<filled, V>(address + firstOf(p));
    }

    TARNM_INLINE void storeTo(T* address) const
    {
        TARNM_UNROLL
        for (int p = 0; p < parts; ++p)
            storeFirst<filled>(address + firstOf(p), part[p]);
    }

    TARNM_INLINE friend Row operator+(Row a, const Row& b)
    {
        TARNM_UNROLL
        for (int p = 0; p < parts; ++p)
            a.part[p] += b.part[p];
        return a;
    }
    TARNM_INLINE friend Row operator*(Row a, const Row& b)
    {
        TARNM_UNROLL
        for (int p = 0; p < parts; ++p)
            a.part[p] *= b.part[p];
        return a;
    }
};

template <class T, int n, class Matrix>
requires Matrix::isDense TARNM_INLINE void loadRows(Row<T, n> (&rows)[n], const Matrix& m)
{
    TARNM_UNROLL
    for (int k = 0; k < n; ++k)
        rows[k] = Row<T, n>(m.address(k, 0));
}

// From column k on, a piece of each of the rows first, first + W, first + 2 W, ... as far as there are rows; W is the
// number of elements of a piece.
template <class V, int first, class Matrix, std::size_t... q>
TARNM_INLINE V loadPiecesOfRows(const Matrix& m, int k, std::index_sequence<q...>)
{
    return loadFirstPieces<V>(m.address(first + int(q) * blocks::pieceLength<V>, k)...);
}

template <class V, int n, int first, class Matrix> TARNM_INLINE V loadPiecesOfRows(const Matrix& m, int k)
{
    constexpr int W = blocks::pieceLength<V>, room = blocks::pieceCount<V>;
    constexpr int there = (n - first + W - 1) / W;
    if constexpr (there <= 0)
        return V(scalar_t<V>(0));
    else
        return loadPiecesOfRows<V, first>(m, k, std::make_index_sequence<(there < room ? there : room)>{});
}

// Columns k .. k + W - 1 of the rows from `first` on, one in each vector.
template <int n, int first, class V, class Matrix, std::size_t... j>
TARNM_INLINE void loadColumns(V (&columns)[sizeof...(j)], const Matrix& m, int k, std::index_sequence<j...>)
{
    ((columns[j] = loadPiecesOfRows<V, n, first + int(j)>(m, k)), ...);
    blocks::transposePieces(columns);
}

template <int p, class T, int n, class Matrix>
TARNM_INLINE void loadPartOfColumns(Row<T, n> (&columns)[n], const Matrix& m)
{
    using Part = typename Row<T, n>::V;
    constexpr int W = blocks::pieceLength<Part>;
    TARNM_UNROLL
    for (int k = 0; k < n; k += W) {
        const int from = k + W <= n ? k : n - W;
        Part taken[W];
        loadColumns<n, Row<T, n>::firstOf(p)>(taken, m, from, std::make_index_sequence<W>{});
        TARNM_UNROLL
        for (int j = k - from; j < W; ++j)
            columns[from + j].part[p] = taken[j];
    }
}

template <class T, int n, class Matrix, int... p>
TARNM_INLINE void loadColumnsInPieces(Row<T, n> (&columns)[n], const Matrix& m, std::integer_sequence<int, p...>)
{
    (loadPartOfColumns<p>(columns, m), ...);
}

// Columns shorter than a piece: lanes behind the last row repeat it.
template <class T, int n, class Matrix> TARNM_INLINE void loadShortColumns(Row<T, n> (&columns)[n], const Matrix& m)
{
    constexpr int width = Row<T, n>::width;
    blocks::ListedBases<const T, width> rows;
    rows.shift = 0;
    TARNM_UNROLL
    for (int l = 0; l < width; ++l)
        rows.base[l] = m.address(l < n ? l : n - 1, 0);
    typename Row<T, n>::V taken[n];
    blocks::loadRuns<n>(rows, taken);
    TARNM_UNROLL
    for (int k = 0; k < n; ++k)
        columns[k].part[0] = taken[k];
}

template <class T, int n, class Matrix> TARNM_INLINE void loadRows(Row<T, n> (&rows)[n], const Transposed<Matrix>& m)
{
    if constexpr (n < blocks::pieceLength<typename Row<T, n>::V>)
        loadShortColumns(rows, m.stored);
    else
        loadColumnsInPieces(rows, m.stored, std::make_integer_sequence<int, Row<T, n>::parts>{});
}

template <class Matrix> Transposed<Matrix> transposedView(const Matrix& matrix) { return {matrix}; }
template <class Matrix> Matrix transposedView(const Transposed<Matrix>& matrix) { return matrix.stored; }

template <int n, class A, class B, class D> void multiplyByRows(const A a, const B b, const D d, Place place)
{
    using T = typename D::ObjectView::Element;
    Row<T, n> rows[n];
    if constexpr (B::isSingle) loadRows(rows, b.object);
    const std::ptrdiff_t end = std::ptrdiff_t(place.first) + place.count;
    for (std::ptrdiff_t o = place.first; o < end; ++o) {
        if constexpr (!B::isSingle) loadRows(rows, b[o]);
        const auto x = a[o];
        const auto z = d[o];
        TARNM_UNROLL
        for (int i = 0; i < n; ++i)
            rowOfCase<n, RowGrouping::none>(
                [&](int k) __attribute__((always_inline)) { return Row<T, n>(x(i, k)); },
                [&](int k) __attribute__((always_inline)) { return rows[k]; })
                .storeTo(z.address(i, 0));
    }
}

template <int n, bool forWriting, class Matrix> TARNM_INLINE void fetchRow(const Matrix& m, int i)
{
    constexpr std::ptrdiff_t bytes = n * sizeof(typename Matrix::Element);
    TARNM_UNROLL
    for (std::ptrdiff_t line = 0; line < bytes; line += lineBytes)
        fetchLine<forWriting>(moved(m.address(i, 0), line));
}
template <int n, bool forWriting, class Matrix> TARNM_INLINE void fetchRow(const Transposed<Matrix>& m, int i)
{
    fetchRow<n, forWriting>(m.stored, i);
}

// Row i of the object behind one, as stored.
template <int n, bool forWriting, class Array>
TARNM_INLINE void fetchRowOfNext(const Array& array, std::ptrdiff_t o, int i)
{
    if constexpr (isObjectArray<Array>) fetchRow<n, forWriting>(array[o + 1], i);
}

template <int n, class Matrix, class R> TARNM_INLINE R rowFromZero(const Matrix& x, const R (&rows)[n], int i)
{
    using T = typename Matrix::Element;
    R sum(T(0));
    TARNM_UNROLL
    for (int k = 0; k < n; ++k)
        sum = sum + R(x(i, k)) * rows[k];
    return sum;
}

// Row by row and not block by block: rows of sums are independent of each other, and the processor overlaps them. Objects
// of order 16 have so many lines that a thousand of them come from behind the second level of the cache.
template <int n, class A, class B, class D> void multiplyByRowsFromZero(const A a, const B b, const D d, Place place)
{
    using T = typename D::ObjectView::Element;
    Row<T, n> rows[n];
    if constexpr (B::isSingle) loadRows(rows, b.object);
    const std::ptrdiff_t end = std::ptrdiff_t(place.first) + place.count;
    for (std::ptrdiff_t o = place.first; o < end; ++o) {
        if constexpr (!B::isSingle) loadRows(rows, b[o]);
        const auto x = a[o];
        const auto z = d[o];
        if constexpr (n <= 8) {
            TARNM_UNROLL
            for (int i = 0; i < n; ++i)
                rowFromZero(x, rows, i).storeTo(z.address(i, 0));
        } else {
            for (int i = 0; i < n; ++i) {
                fetchRowOfNext<n, false>(a, o, i);
                fetchRowOfNext<n, false>(b, o, i);
                fetchRowOfNext<n, true>(d, o, i);
                rowFromZero(x, rows, i).storeTo(z.address(i, 0));
            }
        }
    }
}

struct NoSummand {};

// A matrix times a vector is the vector, as a row, times the transposed matrix.
template <int n, RowGrouping grouping, class M, class X, class U, class D>
void multiplyVectorsByRows(const M m, const X x, const U u, const D d, Place place)
{
    using T = typename D::ObjectView::Element;
    Row<T, n> columns[n];
    if constexpr (M::isSingle) loadRows(columns, transposedView(m.object));
    const std::ptrdiff_t end = std::ptrdiff_t(place.first) + place.count;
    for (std::ptrdiff_t o = place.first; o < end; ++o) {
        if constexpr (!M::isSingle) loadRows(columns, transposedView(m[o]));
        const auto factors = x[o];
        auto sum = rowOfCase<n, grouping>(
            [&](int k) __attribute__((always_inline)) { return columns[k]; },
            [&](int k) __attribute__((always_inline)) { return Row<T, n>(factors[k]); });
        if constexpr (!std::is_same_v<U, NoSummand>) sum = sum + Row<T, n>(u[o].address(0));
        sum.storeTo(d[o].address(0));
    }
}

} // namespace products
} // namespace tarnm
