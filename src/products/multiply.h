// Products of matrices, for one object and for arrays.
//
//   ProductPlan   which orders of square matrices have code of their own, and how the sums of other shapes are added
//   multiply      the kernel of all members that multiply a matrix by a matrix
#pragma once

#include "products/one_product.h"
#include "products/packed.h"
#include "products/planes.h"
#include "products/side_by_side.h"
#include "products/triples.h"
#include "tarnm/tarnm.h"

namespace tarnm {

struct ProductPlan {
    Sum sum;
    int largestCase = 6; // n x n by n x n from 3 to this; below 3: none
    Grouping groupingOf5 = Grouping::none;
    // Sizes of 1, 2 and 3 whose bitwise OR is 3 count as the case 3 as well: it touches nine entries of each table.
    bool matchesSizesByOr = false;
};

namespace products {

template <ProductPlan plan> bool isCase(int n, Extents extents)
{
    if (plan.matchesSizesByOr && n == 3) return (extents.rows | extents.columns | extents.inner) == 3;
    return extents.rows == n && extents.columns == n && extents.inner == n;
}

// The table as that of a matrix of three columns.
template <class T> ScatteredMatrix<T> withThreeColumns(const ScatteredMatrix<T>& matrix)
{
    return {matrix.table, matrix.shift, 3};
}
template <class Matrix> Transposed<Matrix> withThreeColumns(const Transposed<Matrix>& matrix)
{
    return {withThreeColumns(matrix.stored)};
}

template <ProductPlan plan, int n, class A, class B, class D>
void multiplyObjectOfCase(const A& a, const B& b, const D& d)
{
    if constexpr (plan.matchesSizesByOr && n == 3)
        multiplyCase<3>(withThreeColumns(a), withThreeColumns(b), withThreeColumns(d));
    else
        multiplyCase<n, n == 5 ? plan.groupingOf5 : Grouping::none>(a, b, d);
}

// Rows of 3 elements, packed over all objects, times one matrix are so many vectors times its transpose.
template <class A, class B, class D> bool multipliedAsTriples(const A& a, const B& b, const D& d, Place place)
{
    using T = typename D::ObjectView::Element;
    if constexpr (requires {
                      requires B::isSingle && hasQuickTriples<T>;
                      a.first.rowStride;
                      d.first.rowStride;
                  }) {
        constexpr std::ptrdiff_t row = 3 * sizeof(T);
        const bool arePacked = a.first.rowStride == row && a.objectStride == 3 * row && d.first.rowStride == row &&
                               d.objectStride == 3 * row;
        if (!arePacked || place.total > INT32_MAX / 3) return false;
        const ObjectArray<StridedVector<const T, Spacing::dense>> rows{{a.first.base, {}}, row};
        const ObjectArray<StridedVector<T, Spacing::dense>> results{{d.first.base, {}}, row};
        const Single<decltype(transposedView(b.object))> matrix{transposedView(b.object)};
        const Place all{place.first * 3, place.count * 3, place.total * 3};
        const Place rest = multiplyTriples(matrix.object, rows, NoSummand{}, results, all);
        multiplyVectorsByRows<3, RowGrouping::none>(matrix, rows, NoSummand{}, results, rest);
        return true;
    } else
        return false;
}

template <int n, class A, class B, class D> void multiplyDense(const A& a, const B& b, const D& d, Place place)
{
    using T = typename D::ObjectView::Element;
    if constexpr (n == 4 && hasRowsSideBySide<T>)
        if (haveRowsSideBySide(a) && haveRowsSideBySide(d)) return multiplySideBySide(a, b, d, place);
    if constexpr (n == 3)
        if (multipliedAsTriples(a, b, d, place)) return;
    onPackedViews<n>([&](const auto&... operands) { multiplyByRows<n>(operands..., place); }, a, b, d);
}

template <ProductPlan plan, int n, class A, class B, class D>
void multiplyObjectsOfCase(const A& a, const B& b, const D& d, Place place)
{
    constexpr bool isGrouped = n == 5 && plan.groupingOf5 != Grouping::none;
    if constexpr (isDense<D> && !isGrouped)
        multiplyDense<n>(a, b, d, place);
    else {
        if constexpr (isOfTables<D>)
            if (arePlanes(a) && arePlanes(b) && arePlanes(d)) return multiplyPlanes<n>(a, b, d, place);
        for (std::ptrdiff_t o = place.first; o < std::ptrdiff_t(place.first) + place.count; ++o)
            multiplyObjectOfCase<plan, n>(a[o], b[o], d[o]);
    }
}

template <ProductPlan plan, int n, class A, class B, class D>
bool multipliedAsCase(const A& a, const B& b, const D& d, Extents extents, Place place)
{
    if constexpr (n <= plan.largestCase)
        if (isCase<plan>(n, extents)) {
            multiplyObjectsOfCase<plan, n>(a, b, d, place);
            return true;
        }
    return false;
}

// Square matrices that fill vectors, where every sum is the ascending one.
template <ProductPlan plan, int n, class A, class B, class D>
bool multipliedByRows(const A& a, const B& b, const D& d, Extents extents, Place place)
{
    constexpr int shortestLanes = 2 * inner_lane_count<typename D::ObjectView::Element>;
    if constexpr (isDense<D> && (plan.sum != Sum::innerLanes || n < shortestLanes))
        if (extents.rows == n && extents.columns == n && extents.inner == n) {
            onPackedViews<n>([&](const auto&... operands) { multiplyByRowsFromZero<n>(operands..., place); }, a, b, d);
            return true;
        }
    return false;
}

} // namespace products

template <ProductPlan plan, class A, class B, class D>
tarnmStatus multiply(const A& a, const B& b, const D& d, Extents extents, Place place)
{
    using namespace products;
    const bool done =
        multipliedAsCase<plan, 3>(a, b, d, extents, place) || multipliedAsCase<plan, 4>(a, b, d, extents, place) ||
        multipliedAsCase<plan, 5>(a, b, d, extents, place) || multipliedAsCase<plan, 6>(a, b, d, extents, place) ||
        multipliedByRows<plan, 8>(a, b, d, extents, place) || multipliedByRows<plan, 16>(a, b, d, extents, place);
    if (!done)
        for (std::ptrdiff_t o = place.first; o < std::ptrdiff_t(place.first) + place.count; ++o)
            multiplyObject<plan.sum>(a[o], b[o], d[o], extents);
    return StatusOk;
}

} // namespace tarnm
