// Products of matrices, for one object and for arrays.
//
//   ProductPlan   which orders of square matrices have code of their own, and how the sums of other shapes are added
//   multiply      the kernel of all members that multiply a matrix by a matrix
#pragma once

#include "products/block_product.h"
#include "products/one_product.h"
#include "products/one_vector_product.h"
#include "products/row_product.h"
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

template <class Object> Single<Transposed<Object>> transposedOnce(const Single<Object>& matrix)
{
    return {{matrix.object}};
}
template <class Object> Single<Object> transposedOnce(const Single<Transposed<Object>>& matrix)
{
    return {matrix.object.stored};
}

// The rows of many matrices times one matrix are many vectors times its transpose.
template <int n, class A, class B, class D> bool multipliedAsVectors(const A& a, const B& b, const D& d, Place place)
{
    using T = typename D::ObjectView::Element;
    if constexpr (
        B::isSingle &&
        requires {
            requires A::ObjectView::isDense;
            requires D::ObjectView::isDense;
        } &&
        requires {
            a.first;
            d.first;
        }) {
        using Rows = ObjectArray<StridedVector<const T, Spacing::dense>>;
        using Results = ObjectArray<StridedVector<T, Spacing::dense>>;
        const std::ptrdiff_t rowStride = a.first.rowStride, resultStride = d.first.rowStride;
        const bool areEvenlySpaced = a.objectStride == n * rowStride && d.objectStride == n * resultStride;
        if (!areEvenlySpaced || place.total > INT32_MAX / n) return false;
        const Rows rows{{a.first.base, {}}, rowStride};
        const Results results{{d.first.base, {}}, resultStride};
        const Place allRows{place.first * n, place.count * n, place.total * n};
        const auto matrix = transposedOnce(b);
        multiplyVectorsInBlocks<n, RowGrouping::none>(
            matrix, rows, NoSummand{}, results, allRows,
            [&](std::ptrdiff_t r) { multiplyVectorCase<n>(matrix.object, rows[r], results[r]); });
        return true;
    } else
        return false;
}

template <ProductPlan plan, int n, class A, class B, class D>
void multiplyObjectsOfCase(const A& a, const B& b, const D& d, Place place)
{
    using T = typename D::ObjectView::Element;
    using Object = typename D::ObjectView;
    constexpr bool isDense = requires { requires Object::isDense; };
    constexpr bool isSinglePrecision = sizeof(T) == 4;
    const auto object = [&](std::ptrdiff_t o) { multiplyObjectOfCase<plan, n>(a[o], b[o], d[o]); };
    if constexpr (D::isSingle)
        object(0);
    else if constexpr (isDense && isSinglePrecision && n == 6)
        multiplyByRows6(a, b, d, place);
    else {
        constexpr bool hasRowsOfVector = isDense && n == 4;
        if constexpr (!isStrided<Object> && !hasRowsOfVector) {
            if constexpr (n == 3)
                if (multipliedAsVectors<n>(a, b, d, place)) return;
            if (movesInBlocks(a) && movesInBlocks(b) && movesInBlocks(d))
                return multiplyInBlocks<n>(a, b, d, place, object);
        }
        for (std::ptrdiff_t o = place.first; o < std::ptrdiff_t(place.first) + place.count; ++o)
            object(o);
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

} // namespace products

template <ProductPlan plan, class A, class B, class D>
tarnmStatus multiply(const A& a, const B& b, const D& d, Extents extents, Place place)
{
    using namespace products;
    const bool done =
        multipliedAsCase<plan, 3>(a, b, d, extents, place) || multipliedAsCase<plan, 4>(a, b, d, extents, place) ||
        multipliedAsCase<plan, 5>(a, b, d, extents, place) || multipliedAsCase<plan, 6>(a, b, d, extents, place);
    if (!done)
        for (std::ptrdiff_t o = place.first; o < std::ptrdiff_t(place.first) + place.count; ++o)
            multiplyObject<plan.sum>(a[o], b[o], d[o], extents);
    return StatusOk;
}

} // namespace tarnm
