// The product of a matrix by a vector, and a second vector added to it: d = M x + u.
//
//   GaxpyPlan   how the sums of shapes outside the cases are added
//   gaxpy       the kernel of all members
//
// u is added last, to the finished sum.
#pragma once

#include "frame/operands.h"
#include "products/inner_lanes.h"
#include "products/vectors_of_case.h"
#include "tarnm/tarnm.h"

namespace tarnm {

struct GaxpyPlan {
    bool hasGuardedLanes = false; // inner lanes where the result keeps clear of the row and the vector that they read
    RowGrouping groupingOf4to6 = RowGrouping::none;
};

namespace products {

template <int n, class M, class X, class U, class D> void gaxpyCase(const M& m, const X& x, const U& u, const D& d)
{
    using T = typename D::Element;
    T factors[n], result[n];
    for (int k = 0; k < n; ++k)
        factors[k] = x[k];
    for (int i = 0; i < n; ++i) {
        const T product =
            rowOfCase<n, RowGrouping::none>([&](int k) { return m(i, k); }, [&](int k) { return factors[k]; });
        result[i] = product + u[i];
    }
    for (int i = 0; i < n; ++i)
        d.set(i, result[i]);
}

// The result takes the sum in memory, product by product: a result that overlaps u has cleared it before it is read.
template <GaxpyPlan plan, class M, class X, class U, class D>
void gaxpyRow(const M& m, const X& x, const U& u, const D& d, std::ptrdiff_t i, std::int32_t inner)
{
    using T = typename D::Element;
    bool isSummed = false;
    if constexpr (plan.hasGuardedLanes) {
        constexpr int step = 2 * inner_lane_count<T>;
        const LaneSpan span = spanFromStart(inner, step, step);
        const T* result = d.address(i);
        isSummed = !span.isEmpty() && isClearOf<T>(result, m.address(i, 0), inner) &&
                   isClearOf<T>(result, x.address(0), inner);
        if (isSummed) d.set(i, sumOfProducts<2>(m.row(i), x, inner, span));
    }
    if (!isSummed) {
        d.set(i, 0);
        for (std::ptrdiff_t k = 0; k < inner; ++k)
            d.set(i, d[i] + m(i, k) * x[k]);
    }
    d.set(i, d[i] + u[i]);
}

template <int n, RowGrouping grouping, class M, class X, class U, class D>
void gaxpyObjectsOfCase(const M& m, const X& x, const U& u, const D& d, Place place)
{
    multiplyVectorsOfCase<n, grouping>(m, x, u, d, place, [&](std::ptrdiff_t o) {
        if constexpr (!isDense<D>) gaxpyCase<n>(m[o], x[o], u[o], d[o]);
    });
}

} // namespace products

template <GaxpyPlan plan, class M, class X, class U, class D>
tarnmStatus gaxpy(const M& m, const X& x, const U& u, const D& d, std::int32_t rows, std::int32_t inner, Place place)
{
    using namespace products;
    if (rows == inner) {
        constexpr RowGrouping grouping = plan.groupingOf4to6;
        switch (rows) {
        case 3:
            return gaxpyObjectsOfCase<3, RowGrouping::none>(m, x, u, d, place), StatusOk;
        case 4:
            return gaxpyObjectsOfCase<4, grouping>(m, x, u, d, place), StatusOk;
        case 5:
            return gaxpyObjectsOfCase<5, grouping>(m, x, u, d, place), StatusOk;
        case 6:
            return gaxpyObjectsOfCase<6, grouping>(m, x, u, d, place), StatusOk;
        }
    }
    for (std::ptrdiff_t o = place.first; o < std::ptrdiff_t(place.first) + place.count; ++o)
        for (std::ptrdiff_t i = 0; i < rows; ++i)
            gaxpyRow<plan>(m[o], x[o], u[o], d[o], i, inner);
    return StatusOk;
}

} // namespace tarnm
