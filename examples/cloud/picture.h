// A picture of a cloud: points as discs, hidden by nearer ones, lit by their normals and coloured by height.
#pragma once

#include "camera.h"
#include "image.h"
#include "surface.h"

namespace cloud {

struct PictureReport {
    double projection = 0, shading = 0, drawing = 0; // nanoseconds per point
    std::size_t points = 0;
};

struct Picture {
    Image image;
    PictureReport report;
};

// The points are those of a normalised cloud, at least one, with one normal each.
template <class T>
Picture pictureOf(const Points<T>& points, const Surface& surface, const Camera& camera, int width, int height);

} // namespace cloud
