// Sums of two vectors with constant factors, as operations of the element-wise kernel.
//
//   ScaledSum     val * a + b
//   WeightedSum   val1 * a + val2 * b
//
// Each product and the sum are rounded on their own. A factor of 0 or 1 is a factor like any other.
#pragma once

#include "elementwise/combine.h"

namespace tarnm {

template <class T> struct ScaledSum {
    T val;

    template <class V> V operator()(V a, V b) const { return V(val) * a + b; }
};

template <class T> struct WeightedSum {
    T val1, val2;

    template <class V> V operator()(V a, V b) const { return V(val1) * a + V(val2) * b; }
};

} // namespace tarnm
