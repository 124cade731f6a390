// Where a cloud lies and how large it is, and the move and the scale that bring it to the origin.
#pragma once

#include "points.h"

namespace cloud {

template <class T> struct Bounds {
    Point<T> low, high; // the smallest and the largest coordinate along each axis
};

// A point p goes to (p - centre) * scale.
template <class T> struct Placement {
    Point<T> centre;
    T scale;
};

// At least one point, all of them finite.
template <class T> Bounds<T> boundsOf(const Points<T>& points);

// The centre is the mean, with sums in double. The scale takes the coordinate that is farthest from it to 1 or -1; points that
// all coincide keep their scale. Throws std::runtime_error if a difference of coordinates overflows.
template <class T> Placement<T> placementOf(const Points<T>& points);

} // namespace cloud
