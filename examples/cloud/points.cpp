#include "points.h"

#include <algorithm>
#include <cmath>

namespace cloud {

template <class T> std::size_t removeNotFinite(Points<T>& points)
{
    return std::erase_if(points, [](const Point<T>& point) {
        return !std::all_of(point.begin(), point.end(), [](T value) { return std::isfinite(value); });
    });
}

template std::size_t removeNotFinite(Points<float>&);
template std::size_t removeNotFinite(Points<double>&);

} // namespace cloud
