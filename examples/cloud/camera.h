// Where a picture is taken from.
#pragma once

#include <array>

#include "placement.h"

namespace cloud {

// Angles are degrees. The camera looks at the middle of the cloud; the z axis points upward in the picture.
struct Camera {
    float azimuth = -60;    // of the camera, from the x axis towards the y axis
    float elevation = 35;   // above the plane of x and y
    float fieldOfView = 40; // how strong the perspective is: the angle at which a sphere around the cloud is seen
    float zoom = 1;         // 1: the cloud fills the picture
};

using Matrix4 = std::array<float, 16>;

// What maps points to a viewport of `width` by `height` pixels.
struct View {
    Point<float> eye;
    Matrix4 view, projection;
    float nearest, farthest; // distances from the camera that are mapped to the depths 0 and 1
    float pixelsPerUnit;     // of lengths seen at a distance of 1

    // Distance from the camera, measured along the direction in which it looks.
    float distanceOf(float depth) const { return nearest * farthest / (farthest - depth * (farthest - nearest)); }
};

View viewOf(const Camera& camera, const Bounds<float>& bounds, int width, int height);

} // namespace cloud
