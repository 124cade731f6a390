// Brings a cloud to the origin and to the size of 1, in every layout, and proves that the layouts agree.
#pragma once

#include "placement.h"
#include "points.h"

#include <optional>
#include <string>
#include <vector>

namespace cloud {

struct LayoutTime {
    std::string layout;
    double fastest, median; // nanoseconds per point, for both calls together
};

template <class T> struct Normalised {
    Points<T> points;
    std::vector<LayoutTime> times; // in the order S, L, P
};

// Applies the placement to at least one point, repeat times in each layout in turn. Throws std::runtime_error if the results
// of the layouts are not the same, bit for bit.
template <class T> Normalised<T> normalise(const Points<T>& points, const Placement<T>& placement, int repeat);

// The number of the first point that differs in any bit: 0 and -0 differ, a NaN equals itself. Both have the same size.
template <class T> std::optional<std::size_t> firstDifference(const Points<T>& a, const Points<T>& b);

} // namespace cloud
