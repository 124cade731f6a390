// The sum of the diagonal of a square matrix.
//
//   traces    the kernel of all members
#pragma once

#include "frame/operands.h"
#include "tarnm/tarnm.h"

namespace tarnm {

// Ascending. Orders 3 to 6 start from the first element, the others from 0, which shows where all elements are -0.
template <class M> auto trace(const M& m, std::int32_t order)
{
    using T = typename M::Element;
    const bool startsFromFirst = order >= 3 && order <= 6;
    T sum = startsFromFirst ? m(0, 0) : T(0);
    for (std::ptrdiff_t i = startsFromFirst ? 1 : 0; i < order; ++i)
        sum = sum + m(i, i);
    return sum;
}

template <class S, class D> tarnmStatus traces(const S& from, const D& to, std::int32_t order, Place place)
{
    for (std::ptrdiff_t n = place.first; n < std::ptrdiff_t(place.first) + place.count; ++n)
        to.set(n, trace(from[n], order));
    return StatusOk;
}

} // namespace tarnm
