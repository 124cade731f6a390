// The sum of one row of a case: n products in straight-line code.
#pragma once

#include "frame/lanes.h"

namespace tarnm {

enum class RowGrouping {
    none,       // from the first product in ascending k
    evenAndOdd, // (p0 + p2) + (p1 + p3)
    neighbours, // (p0 + p1) + (p2 + p3), further products behind in ascending k
};

// row(k) and x(k): the factors of product k, as V.
template <int n, RowGrouping grouping, class Row, class Vector>
TARNM_INLINE auto rowOfCase(const Row& row, const Vector& x)
{
    const auto p = [&](int k) __attribute__((always_inline)) { return row(k) * x(k); };
    auto sum = p(0);
    if constexpr (grouping == RowGrouping::evenAndOdd)
        sum = (sum + p(2)) + (p(1) + p(3));
    else if constexpr (grouping == RowGrouping::neighbours)
        sum = (sum + p(1)) + (p(2) + p(3));
    TARNM_UNROLL
    for (int k = grouping == RowGrouping::none ? 1 : 4; k < n; ++k)
        sum = sum + p(k);
    return sum;
}

} // namespace tarnm
