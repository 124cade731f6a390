// A normal for every point of a cloud.
#pragma once

#include "surface.h"

namespace cloud {

struct NormalsReport {
    std::size_t neighbours = 0;                  // per point, itself among them
    double search = 0, covariance = 0, axes = 0; // nanoseconds per point
    // Neighbourhoods that are special:
    std::size_t coincident = 0; // all points at one place: the normal points upward
    std::size_t onLine = 0;     // no plane to be normal to: the normal is one of those of the line
    std::size_t alone = 0;      // not solved along with the others
    std::size_t unsolved = 0;   // not solved at all: the normal is a coordinate axis
};

struct Normals {
    Surface surface;
    NormalsReport report;
};

// The normal at a point is the direction in which its `neighbours` nearest points, or all where there are fewer, spread
// least. At least one point, all of them finite.
template <class T> Normals normalsOf(const Points<T>& points, std::size_t neighbours);

} // namespace cloud
