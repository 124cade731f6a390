// What a cloud tells of the surface that it was taken from.
#pragma once

#include "points.h"

namespace cloud {

// One entry per point.
struct Surface {
    Points<float> normals;        // of length 1, none pointing downward
    std::vector<float> curvature; // 0 in a plane, at most 1/3: the share of the spread that lies along the normal
};

} // namespace cloud
