#include "placement.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace cloud {

template <class T> Bounds<T> boundsOf(const Points<T>& points)
{
    Bounds<T> bounds{points.at(0), points.at(0)};
    for (const Point<T>& point : points) {
        for (std::size_t k = 0; k < 3; ++k) {
            bounds.low[k] = std::min(bounds.low[k], point[k]);
            bounds.high[k] = std::max(bounds.high[k], point[k]);
        }
    }
    return bounds;
}

template <class T> Placement<T> placementOf(const Points<T>& points)
{
    const Bounds<T> bounds = boundsOf(points);
    Point<double> sum{};
    for (const Point<T>& point : points) {
        for (std::size_t k = 0; k < 3; ++k)
            sum[k] += point[k];
    }
    Placement<T> placement{{}, 1};
    T farthest = 0;
    for (std::size_t k = 0; k < 3; ++k) {
        const T mean = static_cast<T>(sum[k] / static_cast<double>(points.size()));
        // By rounding the mean of many equal numbers is another number.
        const T centre = std::clamp(mean, bounds.low[k], bounds.high[k]);
        placement.centre[k] = centre;
        const T farther = std::max(centre - bounds.low[k], bounds.high[k] - centre);
        if (!std::isfinite(farther)) throw std::runtime_error("the coordinates are too large for differences of them");
        farthest = std::max(farthest, farther);
    }
    // The reciprocal of a difference near the smallest number is infinite.
    if (farthest > 0 && std::isfinite(1 / farthest)) placement.scale = 1 / farthest;
    return placement;
}

template Bounds<float> boundsOf(const Points<float>&);
template Bounds<double> boundsOf(const Points<double>&);
template Placement<float> placementOf(const Points<float>&);
template Placement<double> placementOf(const Points<double>&);

} // namespace cloud
