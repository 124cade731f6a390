// Points and clouds of points, as read from a file and before any layout is chosen.
#pragma once

#include <array>
#include <cstddef>
#include <variant>
#include <vector>

namespace cloud {

template <class T> using Point = std::array<T, 3>;

template <class T> using Points = std::vector<Point<T>>;

// A cloud keeps the number type of the file that it comes from.
using Cloud = std::variant<Points<float>, Points<double>>;

// Removes the points of which a coordinate is infinite or not a number, keeps the order of the others, and returns how
// many it removed.
template <class T> std::size_t removeNotFinite(Points<T>& points);

} // namespace cloud
