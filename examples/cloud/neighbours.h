// The nearest neighbours of the points of a cloud.
#pragma once

#include "points.h"

#include <cstdint>
#include <memory>

namespace cloud {

// Keeps a reference to the points, all of which are finite.
template <class T> class Neighbours {
public:
    explicit Neighbours(const Points<T>& points);
    ~Neighbours();

    // Writes the numbers of the `k` points that are nearest to `point`, nearest first; there are that many points at least.
    // Of points at the same distance any may be taken.
    void nearest(const Point<T>& point, std::size_t k, std::uint32_t* numbers);

private:
    class Index;
    std::unique_ptr<Index> index;
    std::vector<T> distances;
};

} // namespace cloud
