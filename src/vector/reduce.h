// Sums of products along one vector: the scalar product and the Euclidean norm.
//
//   Grouping, groupedSum   the sum of 3 to 6 products
//   ReductionPlan          how a kernel adds, and the table of all kernels
//   sumsTogether           the sums of four long objects side by side
//   reduceVectors          the kernel of all members
//
// The order of additions is behaviour. Vectors of 3 to 6 elements have a grouping for each kernel; longer and shorter
// ones one ascending sum, through inner lanes where the vector is long enough. There is no scaling against overflow
// or underflow and no wider sum.
#pragma once

#include <array>

#include "frame/blocks.h"
#include "frame/fetch.h"
#include "frame/folds.h"
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

// The square roots of 64 bytes of doubles take longer than those of twice 32, and so does it to bring five or six singles
// of each object into lanes.
template <class T, int n, Reduction reduction>
using LanesOfCase =
    std::conditional_t<(sizeof(T) == 4 ? n > 4 : reduction == Reduction::norm), narrow_lanes<T>, native_lanes<T>>;

// Arrays run in lanes, but for elements that would have to be gathered one by one anyway.
template <int n, Path path, Reduction reduction, Grouping grouping, class A, class B, class D>
void reduceCases(const A& a, const B& b, const D& d, Place place)
{
    using T = typename A::ObjectView::Element;
    using V = LanesOfCase<T, n, reduction>;
    if constexpr (path == Path::strided || (A::isSingle && B::isSingle)) {
        for (std::ptrdiff_t i = place.first; i < std::ptrdiff_t(place.first) + place.count; ++i)
            d.set(i, reduceCase<n, reduction, grouping, T>(a[i], b[i]));
    } else if constexpr (reduction == Reduction::norm) {
        const auto kernel = [](const auto& x, auto& sum) __attribute__((always_inline))
        {
            sum = reduceCase<n, reduction, grouping, std::remove_cvref_t<decltype(sum)>>(x, x);
        };
        forEachBlockOf<V>(place, kernel, source<n>(a), result(d));
    } else {
        const auto kernel = [](const auto& x, const auto& y, auto& sum) __attribute__((always_inline))
        {
            sum = reduceCase<n, reduction, grouping, std::remove_cvref_t<decltype(sum)>>(x, y);
        };
        forEachBlockOf<V>(place, kernel, source<n>(a), source<n>(b), result(d));
    }
}

// ---- Four long objects at a time ----

// What foldedLanes gives for each of the four.
template <class T> TARNM_INLINE SumsTogether<T> foldedTogether(const std::array<InnerLanes<T>, objectsTogether>& s)
{
    const InnerLanes<T> t02 = halvesAdded(s[0], s[2]), t13 = halvesAdded(s[1], s[3]);
    if constexpr (inner_lane_count<T> == 4)
        return neighboursAdded(t02, t13);
    else
        return foldedPieces(t02, t13);
}

template <class V> using Together = std::array<V, objectsTogether>;

template <class Array>
TARNM_INLINE Together<typename Array::ObjectView> objectsFrom(const Array& array, std::ptrdiff_t n)
{
    if constexpr (Array::isSingle) {
        return {array.object, array.object, array.object, array.object};
    } else {
        const auto first = array[n], second = first.shifted(array.objectStride);
        return {first, second, second.shifted(array.objectStride), second.shifted(2 * array.objectStride)};
    }
}

// Products from .. to - 1 of each object, one by one.
template <class A, class B>
void addSingly(SumsTogether<typename A::Element>& sums, const Together<A>& a, const Together<B>& b, std::ptrdiff_t from,
               std::ptrdiff_t to)
{
    for (std::ptrdiff_t k = from; k < to; ++k) {
        const auto elements = [&](const auto& objects) __attribute__((always_inline))
        {
            return blocks::gathered<SumsTogether<typename A::Element>>([&](int o) __attribute__((always_inline)) {
                return objects[o].address(k);
            });
        };
        sums += elements(a) * elements(b);
    }
}

// One step of lanes.
template <class Sums, class A, class B> TARNM_INLINE void addStep(Sums& sums, const A& a, const B& b, std::ptrdiff_t k)
{
    using Factors = InnerLanes<typename A::Element>;
    sums.add(
        [&](std::ptrdiff_t i) __attribute__((always_inline)) { return elementsFrom<Factors>(a, i); },
        [&](std::ptrdiff_t i) __attribute__((always_inline)) { return elementsFrom<Factors>(b, i); }, k);
}

// What sumOfProducts gives for each of four dense objects whose lanes begin and end alike. `steps`: of lanes that are
// all there is, 0 for any span.
template <int vectors, int steps, class A, class B>
TARNM_INLINE auto sumsTogether(const Together<A>& a, const Together<B>& b, std::int32_t length, LaneSpan span)
{
    using T = typename A::Element;
    using Sums = PartialSums<T, vectors>;
    SumsTogether<T> sums(T(0));
    if constexpr (steps == 0) addSingly(sums, a, b, 0, span.first);

    Together<Sums> partial{Sums(sums[0]), Sums(sums[1]), Sums(sums[2]), Sums(sums[3])};
    if constexpr (steps == 0) {
        for (std::ptrdiff_t k = span.first; k < span.end; k += Sums::step)
            TARNM_UNROLL
        for (int o = 0; o < objectsTogether; ++o)
            addStep(partial[o], a[o], b[o], k);
    } else {
        TARNM_UNROLL
        for (int o = 0; o < objectsTogether; ++o)
            TARNM_UNROLL
        for (int s = 0; s < steps; ++s)
            addStep(partial[o], a[o], b[o], s * Sums::step);
    }
    sums = foldedTogether<T>(
        {partial[0].inOneVector(), partial[1].inOneVector(), partial[2].inOneVector(), partial[3].inOneVector()});
    if constexpr (steps == 0) addSingly(sums, a, b, span.end, length);
    return sums;
}

// Whether the objects' elements stand alike to the multiples of 32 bytes.
template <class B> bool alignedAlike(const B& b)
{
    if constexpr (B::isSingle)
        return true;
    else
        return b.objectStride % innerLaneBytes == 0;
}

// Asks for the lines of objects to come: where two streams come from beyond the first level of the cache, the loads of
// one group of objects alone do not keep it busy.
template <int bytes, class Object> TARNM_INLINE void fetchAhead(const Together<Object>& objects)
{
    constexpr std::ptrdiff_t ahead = 16 * lineBytes;
    TARNM_UNROLL
    for (const Object& object : objects)
        TARNM_UNROLL
    for (std::ptrdiff_t line = 0; line < bytes; line += lineBytes)
        fetchLine<false>(moved(object.base, ahead + line));
}

template <int vectors, int steps, Reduction reduction, class A, class B, class D>
std::int32_t reduceByFours(A a, B b, D d, std::int32_t length, LaneSpan span, Place place)
{
    std::int32_t done = 0;
    for (; done + objectsTogether <= place.count; done += objectsTogether) {
        const std::ptrdiff_t n = std::ptrdiff_t(place.first) + done;
        const auto first = objectsFrom(a, n);
        if constexpr (reduction == Reduction::norm) {
            store(d.base + n, sqrt(sumsTogether<vectors, steps>(first, first, length, span)));
        } else {
            constexpr int bytes = steps * vectors * innerLaneBytes;
            const auto second = objectsFrom(b, n);
            if constexpr (!A::isSingle && !B::isSingle) {
                fetchAhead<bytes>(first);
                fetchAhead<bytes>(second);
            }
            store(d.base + n, sumsTogether<vectors, steps>(first, second, length, span));
        }
    }
    return done;
}

template <class Operand> inline constexpr bool isReducedTogether = isDenseArray<Operand> || isDenseSingle<Operand>;

// How many objects were reduced; those left over go one by one.
template <ReductionPlan plan, Reduction reduction, class A, class B, class D>
std::int32_t reduceTogether(const A& a, const B& b, const D& d, std::int32_t length, Place place)
{
    if constexpr (isReducedTogether<A> && isReducedTogether<B> && !(A::isSingle && B::isSingle)) {
        using T = typename A::ObjectView::Element;
        constexpr int usual = 16, steps = usual / PartialSums<T, plan.vectors>::step;
        if (place.count < objectsTogether || !alignedAlike(b)) return 0;
        const LaneSpan span = laneSpan<plan>(b[place.first], length);
        if (span.isEmpty()) return 0;
        if (length == usual && span.first == 0)
            return reduceByFours<plan.vectors, steps, reduction>(a, b, d, length, span, place);
        return reduceByFours<plan.vectors, 0, reduction>(a, b, d, length, span, place);
    } else {
        return 0;
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
    std::ptrdiff_t n = place.first + std::ptrdiff_t(reduceTogether<plan, reduction>(a, b, d, length, place));
    for (; n < std::ptrdiff_t(place.first) + place.count; ++n) {
        const auto second = b[n];
        const LaneSpan span = laneSpan<plan>(second, length);
        d.set(n, finished<reduction>(sumOfProducts<plan.vectors>(a[n], second, length, span)));
    }
    return StatusOk;
}

} // namespace tarnm
