// Matrices of one of the orders 3 to 6 times vectors, with a summand or without, by the way that suits the operands.
//
//   multiplyVectorsOfCase
#pragma once

#include "products/planes.h"
#include "products/side_by_side.h"
#include "products/triples.h"

namespace tarnm {
namespace products {

template <class Array> inline constexpr bool isArrayOfVectors = false;
template <class T> inline constexpr bool isArrayOfVectors<ObjectArray<StridedVector<T, Spacing::dense>>> = true;

template <int n, class Vectors> bool arePackedVectors(const Vectors& vectors)
{
    if constexpr (isArrayOfVectors<Vectors>)
        return vectors.objectStride == n * sizeof(typename Vectors::ObjectView::Element);
    else
        return std::is_same_v<Vectors, NoSummand>;
}

// Rows of an odd number of doubles fill no vectors of any width.
template <class T, int n> inline constexpr bool hasRowsBesideVectors = sizeof(T) == sizeof(double) && n % 2 != 0;

// Out of line: a call with few objects takes no part in what lanes need.
template <int n, RowGrouping grouping, class M, class X, class D>
[[gnu::noinline]] void multiplyVectorsInLanes(const M& m, const X& x, const D& d, Place place)
{
    using T = typename D::ObjectView::Element;
    const auto kernel =
        []<class V>(const V(&matrix)[n][n], const V(&vector)[n], V(&product)[n]) __attribute__((always_inline))
    {
        TARNM_UNROLL
        for (int i = 0; i < n; ++i)
            product[i] = rowOfCase<n, grouping>(
                [&](int k) __attribute__((always_inline)) { return matrix[i][k]; },
                [&](int k) __attribute__((always_inline)) { return vector[k]; });
    };
    forEachPackedBlockOf<narrow_lanes<T>>(place, kernel, source<n, n>(m), source<n>(x), result<n>(d));
}

template <int n, RowGrouping grouping, class M, class X, class U, class D>
void multiplyDenseVectors(const M& m, const X& x, const U& u, const D& d, Place place)
{
    using T = typename D::ObjectView::Element;
    if constexpr (M::isSingle && isArrayOfVectors<X> && isArrayOfVectors<D>) {
        if constexpr (n == 4 && hasRowsSideBySide<T>)
            if (arePackedVectors<n>(x) && arePackedVectors<n>(d) && (isSingle<U> || arePackedVectors<n>(u)))
                return multiplyVectorsSideBySide<grouping>(m, x, u, d, place);
        if constexpr (n == 3 && hasQuickTriples<T> && !isSingle<U>)
            if (arePackedVectors<n>(x) && arePackedVectors<n>(d) && arePackedVectors<n>(u))
                place = multiplyTriples(m.object, x, u, d, place);
    }
    if constexpr (hasRowsBesideVectors<T, n> && isDenseArray<M> && std::is_same_v<U, NoSummand>)
        if (place.count >= narrow_lane_count_v<T> && isPacked(m, n, n) && arePackedVectors<n>(x) &&
            arePackedVectors<n>(d))
            return multiplyVectorsInLanes<n, grouping>(m, x, d, place);
    multiplyVectorsByRows<n, grouping>(m, x, u, d, place);
}

// Sums are grouped where operands are dense. Other objects that do not lie in planes are left to object(o), in
// ascending order.
template <int n, RowGrouping grouping, class M, class X, class U, class D, class ObjectBody>
void multiplyVectorsOfCase(const M& m, const X& x, const U& u, const D& d, Place place, const ObjectBody& object)
{
    if constexpr (isDense<D>)
        multiplyDenseVectors<n, grouping>(m, x, u, d, place);
    else {
        static_assert(grouping == RowGrouping::none);
        if constexpr (isOfTables<D>)
            if (arePlanes(m) && arePlanes(x) && arePlanes(u) && arePlanes(d))
                return multiplyVectorPlanes<n>(m, x, u, d, place);
        for (std::ptrdiff_t o = place.first; o < std::ptrdiff_t(place.first) + place.count; ++o)
            object(o);
    }
}

} // namespace products
} // namespace tarnm
