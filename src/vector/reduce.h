// Sums of products along one vector: the scalar product and the Euclidean norm.
//
//   Grouping, groupedSum   the sum of 3 to 6 products
//   ReductionPlan          how a kernel adds, and the table of all kernels
//   reduceVectors          the kernel of all members
//
// The order of additions is behaviour. Vectors of 3 to 6 elements have a grouping for each kernel; longer and shorter
// ones one ascending sum, through inner lanes where the vector is long enough. There is no scaling against overflow
// or underflow and no wider sum.
#pragma once

#include "frame/blocks.h"
#include "frame/path.h"
#include "products/inner_lanes.h"
#include "tarnm/tarnm.h"

namespace tarnm {

enum class Reduction { dot, norm };

enum class Grouping {
    pairs,       // neighbours in pairs, then the others one by one
    pairsOnly,   // the same, and elements 4 and 5 as a pair
    evenOdd,     // even and odd elements apart, the fifth of five behind them
    evenOddOnly, // even and odd elements apart
    fromMiddle,  // 1 or the last first, the odd ones before the even ones
    ascending,
};

template <Grouping grouping, class V, int n> TARNM_INLINE V groupedSum(const V (&p)[n])
{
    static_assert(n >= 3 && n <= 6);
    V sum = p[0];
    if constexpr (grouping == Grouping::ascending) {
        TARNM_UNROLL
        for (int k = 1; k < n; ++k)
            sum = sum + p[k];
        return sum;
    } else if constexpr (grouping == Grouping::fromMiddle) {
        if constexpr (n == 3) return (p[1] + p[2]) + p[0];
        if constexpr (n == 4) return ((p[3] + p[1]) + p[2]) + p[0];
        if constexpr (n == 5) return (((p[4] + p[2]) + p[3]) + p[0]) + p[1];
        if constexpr (n == 6) return ((((p[5] + p[3]) + p[4]) + p[0]) + p[1]) + p[2];
    } else if constexpr (grouping == Grouping::pairs || grouping == Grouping::pairsOnly) {
        if constexpr (n == 3) return (p[0] + p[1]) + p[2];
        if constexpr (n >= 4) sum = (p[0] + p[1]) + (p[2] + p[3]);
        if constexpr (n == 5) return sum + p[4];
        if constexpr (n == 6) return grouping == Grouping::pairs ? (sum + p[4]) + p[5] : sum + (p[4] + p[5]);
        return sum;
    } else if constexpr (grouping == Grouping::evenOdd) {
        if constexpr (n == 3) return (p[0] + p[1]) + p[2];
        if constexpr (n == 4) return (p[0] + p[2]) + (p[1] + p[3]);
        if constexpr (n == 5) return ((p[0] + p[2]) + (p[1] + p[3])) + p[4];
        if constexpr (n == 6) return (p[0] + (p[2] + p[4])) + (p[1] + (p[3] + p[5]));
    } else {
        if constexpr (n == 3) return (p[0] + p[2]) + p[1];
        if constexpr (n == 4) return (p[0] + p[2]) + (p[1] + p[3]);
        if constexpr (n == 5) return ((p[0] + p[2]) + p[4]) + (p[1] + p[3]);
        if constexpr (n == 6) return ((p[0] + p[2]) + p[4]) + ((p[1] + p[3]) + p[5]);
    }
}

struct ReductionPlan {
    enum class Lanes {
        none,
        fromAlignment, // behind the elements ahead of the first multiple of 32 bytes
        fromStart,     // gathered by stride
        fromList,      // like fromAlignment, by the address of the table of pointers
    };

    Grouping grouping;
    Lanes lanes;
    int vectors; // of partial sums
    int step;    // products go through the lanes in multiples of this number
    int minimum; // number of products from which on lanes are used, counted behind those ahead of the alignment
};

// The table of all kernels.
template <class T, Path path, Reduction reduction, bool isArray> constexpr ReductionPlan reductionPlan()
{
    using enum Grouping;
    using Lanes = ReductionPlan::Lanes;
    constexpr bool single = sizeof(T) == 4;
    constexpr bool isNorm = reduction == Reduction::norm;
    constexpr Grouping dense = isNorm ? (single ? pairsOnly : evenOddOnly) : (single ? pairs : evenOdd);
    if constexpr (path == Path::dense) {
        constexpr int step = single && !isNorm ? 8 : 16;
        return {dense, Lanes::fromAlignment, single && !isNorm ? 1 : 2, step, step};
    } else if constexpr (path == Path::strided) {
        constexpr int step = single ? 16 : 8;
        return {isArray || isNorm ? dense : fromMiddle, Lanes::fromStart, 2, step, isArray ? step : 16};
    } else {
        return {isArray || isNorm ? dense : ascending, single ? Lanes::fromList : Lanes::none, 2, 16, 16};
    }
}

namespace vectors {

template <ReductionPlan plan, class B> LaneSpan laneSpan(const B& b, std::int32_t length)
{
    if constexpr (plan.lanes == ReductionPlan::Lanes::fromAlignment)
        return spanFromAlignment(b.address(0), length, plan.step);
    else if constexpr (plan.lanes == ReductionPlan::Lanes::fromStart)
        return spanFromStart(length, plan.minimum, plan.step);
    else if constexpr (plan.lanes == ReductionPlan::Lanes::fromList)
        return spanFromAlignment(b.table, sizeof(typename B::Element), length, plan.step);
    else
        return {};
}

template <Reduction reduction, class V> TARNM_INLINE V finished(V sum)
{
    if constexpr (reduction == Reduction::norm)
        return sqrt(sum);
    else
        return sum;
}

template <int n, Reduction reduction, Grouping grouping, class V, class A, class B>
TARNM_INLINE V reduceCase(const A& a, const B& b)
{
    V p[n];
    TARNM_UNROLL
    for (int k = 0; k < n; ++k)
        p[k] = a[k] * b[k];
    return finished<reduction>(groupedSum<grouping>(p));
}

// Arrays run in lanes, but for elements that would have to be gathered one by one anyway.
template <int n, Path path, Reduction reduction, Grouping grouping, class A, class B, class D>
void reduceCases(const A& a, const B& b, const D& d, Place place)
{
    if constexpr (path == Path::strided || (A::isSingle && B::isSingle)) {
        using T = typename A::ObjectView::Element;
        for (std::ptrdiff_t i = place.first; i < std::ptrdiff_t(place.first) + place.count; ++i)
            d.set(i, reduceCase<n, reduction, grouping, T>(a[i], b[i]));
    } else if constexpr (reduction == Reduction::norm) {
        const auto kernel = [](const auto& x, auto& sum) __attribute__((always_inline))
        {
            sum = reduceCase<n, reduction, grouping, std::remove_cvref_t<decltype(sum)>>(x, x);
        };
        forEachBlock(place, kernel, source<n>(a), result(d));
    } else {
        const auto kernel = [](const auto& x, const auto& y, auto& sum) __attribute__((always_inline))
        {
            sum = reduceCase<n, reduction, grouping, std::remove_cvref_t<decltype(sum)>>(x, y);
        };
        forEachBlock(place, kernel, source<n>(a), source<n>(b), result(d));
    }
}

} // namespace vectors

// The norm has the vector itself as second operand.
template <Path path, Reduction reduction, class A, class B, class D>
tarnmStatus reduceVectors(const A& a, const B& b, const D& d, std::int32_t length, Place place)
{
    using namespace vectors;
    using T = typename A::ObjectView::Element;
    constexpr bool isArray = !(A::isSingle && B::isSingle);
    constexpr ReductionPlan plan = reductionPlan<T, path, reduction, isArray>();
    switch (length) {
    case 3:
        reduceCases<3, path, reduction, plan.grouping>(a, b, d, place);
        return StatusOk;
    case 4:
        reduceCases<4, path, reduction, plan.grouping>(a, b, d, place);
        return StatusOk;
    case 5:
        reduceCases<5, path, reduction, plan.grouping>(a, b, d, place);
        return StatusOk;
    case 6:
        reduceCases<6, path, reduction, plan.grouping>(a, b, d, place);
        return StatusOk;
    }
    for (std::ptrdiff_t n = place.first; n < std::ptrdiff_t(place.first) + place.count; ++n) {
        const auto second = b[n];
        const LaneSpan span = laneSpan<plan>(second, length);
        d.set(n, finished<reduction>(sumOfProducts<plan.vectors>(a[n], second, length, span)));
    }
    return StatusOk;
}

} // namespace tarnm
