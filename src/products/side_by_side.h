// Rows of 4 elements, as many beside each other as a vector has room for.
//
//   hasRowsSideBySide            whether the target's vectors have room for more than one
//   haveRowsSideBySide           whether the objects of an array have their rows next to each other
//   multiplySideBySide           arrays of 4 by 4 matrices
//   multiplyVectorsSideBySide    arrays of vectors times one 4 by 4 matrix
//
// The rows of the result that share a vector lie next to each other in memory. Factor k of each of these rows fills
// the row's four lanes by one shuffle; row k of the second matrix stands in the vector once for every row.
#pragma once

#include "products/rows.h"

namespace tarnm {
namespace products {

template <class T> inline constexpr int rowsSideBySide = native_lane_count_v<T> / 4;
template <class T> inline constexpr bool hasRowsSideBySide = rowsSideBySide<T> >= 2;

// Transposed matrices are read row by row, wherever their rows lie.
template <class Array> bool haveRowsSideBySide(const Array& array)
{
    if constexpr (blocks::isTransposed<typename Array::ObjectView>)
        return true;
    else if constexpr (Array::isSingle)
        return isPacked(array, 4, 4);
    else
        return isPacked(blocks::pattern(array), 4, 4);
}

template <class T> bool haveRowsSideBySide(const ObjectArray<StridedVector<T, Spacing::dense>>& vectors)
{
    return vectors.objectStride == 4 * sizeof(T);
}

// Lane l from lane l / 4 * rowStep + l % 4 * columnStep + offset.
template <int rowStep, int columnStep, int offset, class Raw, std::size_t... l>
TARNM_INLINE Raw pickedBy(Raw v, std::index_sequence<l...>)
{
    return __builtin_shufflevector(v, v, (int(l) / 4 * rowStep + int(l) % 4 * columnStep + offset)...);
}

template <int rowStep, int columnStep, int offset, class V> TARNM_INLINE V picked(V v)
{
    return V(pickedBy<rowStep, columnStep, offset>(v.raw, std::make_index_sequence<lane_count_v<V>>{}));
}

// The rows of b, each in all places of its vector.
template <class V, class T> TARNM_INLINE void loadRepeatedRows(V (&rows)[4], const StridedMatrix<T, Spacing::dense>& b)
{
    TARNM_UNROLL
    for (int k = 0; k < 4; ++k)
        rows[k] = loadRepeated<4, V>(b.address(k, 0));
}

template <class V, class T>
TARNM_INLINE void loadRepeatedRows(V (&rows)[4], const Transposed<StridedMatrix<T, Spacing::dense>>& b)
{
    if constexpr (lane_count_v<V> == 16) {
        if (isPacked(b.stored, 4, 4)) {
            const V all = load<V>(b.stored.address(0, 0));
            rows[0] = picked<0, 4, 0>(all);
            rows[1] = picked<0, 4, 1>(all);
            rows[2] = picked<0, 4, 2>(all);
            rows[3] = picked<0, 4, 3>(all);
            return;
        }
    }
    if constexpr (blocks::pieceLength<V> == 4) {
        loadRepeatedRows(rows, b.stored);
        blocks::transposePieces(rows);
    } else {
        Row<scalar_t<V>, 4> columns[4];
        loadRows(columns, b);
        TARNM_UNROLL
        for (int k = 0; k < 4; ++k)
            rows[k] = V(machine::repeated<typename V::Raw>(columns[k].part[0].raw));
    }
}

// What the factors of a matrix are taken from: its rows side by side, or the rows of the stored matrix, each repeated.
template <class V, class T> struct FactorsOf {
    static constexpr int vectors = 16 / lane_count_v<V>;
    V rows[vectors];

    TARNM_INLINE explicit FactorsOf(const StridedMatrix<T, Spacing::dense>& a)
    {
        TARNM_UNROLL
        for (int v = 0; v < vectors; ++v)
            rows[v] = load<V>(moved(a.base, v * sizeof(V)));
    }
    // Factor k of the rows from i on.
    template <int i, int k> TARNM_INLINE V at() const { return picked<4, 0, k>(rows[4 * i / lane_count_v<V>]); }
};

template <class V, class T> struct FactorsOfTransposed {
    V rows[4];

    TARNM_INLINE explicit FactorsOfTransposed(const Transposed<StridedMatrix<T, Spacing::dense>>& a)
    {
        loadRepeatedRows(rows, a.stored);
    }
    template <int i, int k> TARNM_INLINE V at() const { return picked<5, 0, i>(rows[k]); }
};

template <class V, class T> TARNM_INLINE FactorsOf<V, T> factorsOf(const StridedMatrix<T, Spacing::dense>& a)
{
    return FactorsOf<V, T>(a);
}
template <class V, class T>
TARNM_INLINE FactorsOfTransposed<V, T> factorsOf(const Transposed<StridedMatrix<T, Spacing::dense>>& a)
{
    return FactorsOfTransposed<V, T>(a);
}

template <RowGrouping grouping, class V> TARNM_INLINE V sumSideBySide(const V (&a)[4], const V (&b)[4])
{
    return rowOfCase<4, grouping>(
        [&](int k) __attribute__((always_inline)) { return a[k]; }, [&](int k) __attribute__((
                                                                        always_inline)) { return b[k]; });
}

// Rows i and following of the result.
template <int i, class V, class Factors, class D>
TARNM_INLINE void multiplyRowsFrom(const Factors& a, const V (&rows)[4], const D& d)
{
    if constexpr (i < 4) {
        const V factors[] = {a.template at<i, 0>(), a.template at<i, 1>(), a.template at<i, 2>(),
                             a.template at<i, 3>()};
        store(d.address(i, 0), sumSideBySide<RowGrouping::none>(factors, rows));
        multiplyRowsFrom<i + lane_count_v<V> / 4>(a, rows, d);
    }
}

template <class A, class B, class D> void multiplySideBySide(const A a, const B b, const D d, Place place)
{
    using V = native_lanes<typename D::ObjectView::Element>;
    V rows[4];
    if constexpr (B::isSingle) loadRepeatedRows(rows, b.object);
    const std::ptrdiff_t end = std::ptrdiff_t(place.first) + place.count;
    for (std::ptrdiff_t o = place.first; o < end; ++o) {
        if constexpr (!B::isSingle) loadRepeatedRows(rows, b[o]);
        multiplyRowsFrom<0>(factorsOf<V>(a[o]), rows, d[o]);
    }
}

// Vectors that lie next to each other are rows of matrices.
template <RowGrouping grouping, class M, class X, class U, class D>
void multiplyVectorsSideBySide(const M m, const X x, const U u, const D d, Place place)
{
    using T = typename D::ObjectView::Element;
    using V = native_lanes<T>;
    constexpr int vectors = rowsSideBySide<T>;
    V columns[4];
    loadRepeatedRows(columns, transposedView(m.object));
    V summand;
    if constexpr (requires { u.object; }) summand = loadRepeated<4, V>(u.object.address(0));
    const std::ptrdiff_t end = std::ptrdiff_t(place.first) + place.count;
    std::ptrdiff_t o = place.first;
    for (; o + vectors <= end; o += vectors) {
        const V values = load<V>(x[o].address(0));
        const V factors[] = {picked<4, 0, 0>(values), picked<4, 0, 1>(values), picked<4, 0, 2>(values),
                             picked<4, 0, 3>(values)};
        V sum = sumSideBySide<grouping>(columns, factors);
        if constexpr (requires { u.first; }) summand = load<V>(u[o].address(0));
        if constexpr (!std::is_same_v<U, NoSummand>) sum = sum + summand;
        store(d[o].address(0), sum);
    }
    if (o < end)
        multiplyVectorsByRows<4, grouping>(m, x, u, d, Place{std::int32_t(o), std::int32_t(end - o), place.total});
}

} // namespace products
} // namespace tarnm
