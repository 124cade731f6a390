// The sum of the diagonal of a square matrix.
//
//   traces    the kernel of all members
#pragma once

#include "frame/operands.h"
#include "frame/orders.h"
#include "frame/rearrange.h"
#include "tarnm/tarnm.h"

namespace tarnm {

// Ascending. Orders 3 to 6 start from the first element, the others from 0, which shows where all elements are -0.
template <class M> auto trace(const M& m, std::int32_t order)
{
    typename M::Element sum = 0;
    for (std::ptrdiff_t i = 0; i < order; ++i)
        sum = sum + m(i, i);
    return sum;
}

template <int order, class M> TARNM_INLINE auto traceOfOrder(const M& m)
{
    auto sum = m(0, 0);
    TARNM_UNROLL
    for (std::ptrdiff_t i = 1; i < order; ++i)
        sum = sum + m(i, i);
    return sum;
}

constexpr int diagonalOf3x3(int p) { return p / 3 * 9 + p % 3 * 4; }
template <int objects> constexpr int byElements(int p) { return p % objects * 3 + p / objects; }

// Objects of 3x3 elements without gaps. Diagonals first, as they follow one another in memory, then element by element.
// How many were done.
template <class S, class D> std::int32_t tracesOfPacked3x3(const S& from, const D& to, Place place)
{
    using V = native_lanes<typename S::ObjectView::Element>;
    if (!isPacked(from, 3, 3)) return 0;

    std::int32_t done = 0;
    for (; done + V::size() <= place.count; done += V::size()) {
        const std::ptrdiff_t n = std::ptrdiff_t(place.first) + done;
        const auto d = rearranged<byElements<V::size()>, 3>(loadRearranged<diagonalOf3x3, 3, V, 9>(from[n].base));
        store(to.base + n, (d[0] + d[1]) + d[2]);
    }
    return done;
}

// The views by value: their members then stay in registers over the stores of results.
template <int order, class S, class D> void tracesOfOrder(S from, D to, Place place)
{
    std::ptrdiff_t n = place.first;
    // Doubles are no quicker that way.
    if constexpr (rearrangesInVectors && order == 3 && isDenseArray<S> && sizeof(typename S::ObjectView::Element) == 4)
        n += tracesOfPacked3x3(from, to, place);
    for (; n < std::ptrdiff_t(place.first) + place.count; ++n)
        to.set(n, traceOfOrder<order>(from[n]));
}

template <class S, class D> tarnmStatus traces(const S& from, const D& to, std::int32_t order, Place place)
{
    forOrder3to6(
        order, [&]<int n>(std::integral_constant<int, n>) { tracesOfOrder<n>(from, to, place); },
        [&] {
            for (std::ptrdiff_t n = place.first; n < std::ptrdiff_t(place.first) + place.count; ++n)
                to.set(n, trace(from[n], order));
        });
    return StatusOk;
}

} // namespace tarnm
