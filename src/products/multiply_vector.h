// Products of matrices and vectors, for one object and for arrays.
//
//   VectorPlan       how the sums of shapes outside the cases are added, by the object's place in its call
//   multiplyVector   the kernel of all members that multiply a matrix by a vector
//
// Arrays are thought of as pairs of objects, so that the last object of an odd number stands alone. Pairs are those of
// the whole call: results do not depend on how it is spread over threads.
#pragma once

#include "products/one_vector_product.h"
#include "products/vectors_of_case.h"
#include "tarnm/tarnm.h"

namespace tarnm {

struct VectorPlan {
    RowSum inPair;
    RowSum alone = inPair;
    // One matrix and packed vectors in single precision: alignment chooses groupings of the cases 4 and 5, and between
    // inPair and sixteens elsewhere.
    bool looksAtAlignment = false;
};

namespace products {

template <class... Address> bool areMultiplesOf(std::uintptr_t unit, Address... addresses)
{
    return (((std::uintptr_t)(addresses) | ...) & (unit - 1)) == 0;
}

template <int n, RowGrouping grouping, class M, class X, class D>
void multiplyVectorsGrouped(const M& m, const X& x, const D& d, Place place)
{
    multiplyVectorsOfCase<n, grouping>(m, x, NoSummand{}, d, place, [&](std::ptrdiff_t o) {
        if constexpr (!isDense<D>) multiplyVectorCase<n>(m[o], x[o], d[o]);
    });
}

template <VectorPlan plan, int n, class M, class X, class D>
void multiplyVectorsOfOrder(const M& m, const X& x, const D& d, Place place)
{
    if constexpr (plan.looksAtAlignment && n == 4) {
        const auto& matrix = m.object;
        if (matrix.rowStride == 16 &&
            areMultiplesOf(16, matrix.base, x.first.base, x.objectStride, d.first.base, d.objectStride))
            return multiplyVectorsGrouped<n, RowGrouping::evenAndOdd>(m, x, d, place);
    }
    if constexpr (plan.looksAtAlignment && n == 5) {
        if (place.total >= 5 && areMultiplesOf(16, x.first.base, x.objectStride, d.first.base, d.objectStride))
            return multiplyVectorsGrouped<n, RowGrouping::neighbours>(m, x, d, place);
    }
    multiplyVectorsGrouped<n, RowGrouping::none>(m, x, d, place);
}

template <RowSum inPair, RowSum alone, class M, class X, class D>
void multiplyVectorsByShape(const M& m, const X& x, const D& d, std::int32_t rows, std::int32_t inner, Place place)
{
    const std::ptrdiff_t first = place.first, end = first + place.count;
    const std::ptrdiff_t paired = place.total - place.total % 2;
    for (std::ptrdiff_t o = first; o < end; ++o)
        if (inPair == alone || o < paired)
            multiplyVectorObject<inPair>(m[o], x[o], d[o], rows, inner);
        else
            multiplyVectorObject<alone>(m[o], x[o], d[o], rows, inner);
}

} // namespace products

template <VectorPlan plan, class M, class X, class D>
tarnmStatus multiplyVector(const M& m, const X& x, const D& d, std::int32_t rows, std::int32_t inner, Place place)
{
    using namespace products;
    if (rows == inner) switch (rows) {
        case 3:
            return multiplyVectorsOfOrder<plan, 3>(m, x, d, place), StatusOk;
        case 4:
            return multiplyVectorsOfOrder<plan, 4>(m, x, d, place), StatusOk;
        case 5:
            return multiplyVectorsOfOrder<plan, 5>(m, x, d, place), StatusOk;
        case 6:
            return multiplyVectorsOfOrder<plan, 6>(m, x, d, place), StatusOk;
        }
    if constexpr (plan.looksAtAlignment) {
        const auto& matrix = m.object;
        if (inner >= 16 && areMultiplesOf(32, matrix.base, matrix.rowStride, x.first.base, x.objectStride, d.first.base,
                                          d.objectStride)) {
            multiplyVectorsByShape<RowSum::sixteens, RowSum::sixteens>(m, x, d, rows, inner, place);
            return StatusOk;
        }
    }
    multiplyVectorsByShape<plan.inPair, plan.alone>(m, x, d, rows, inner, place);
    return StatusOk;
}

} // namespace tarnm
