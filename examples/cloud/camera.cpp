#include "camera.h"

#include <tarnm/tarnm.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace cloud {
namespace {

using Corners = std::array<Point<float>, 8>;

Corners cornersOf(const Bounds<float>& bounds)
{
    Corners corners;
    for (unsigned corner = 0; corner < corners.size(); ++corner)
        for (unsigned k = 0; k < 3; ++k)
            corners[corner][k] = (corner >> k & 1) != 0 ? bounds.high[k] : bounds.low[k];
    return corners;
}

// Where a view maps the corners of the cloud: the picture reaches from -1 to 1.
Bounds<float> seenBounds(const View& view, const Bounds<float>& bounds)
{
    Matrix4 whole;
    tarnmMul_mm4x4_32f(view.view.data(), view.projection.data(), whole.data());
    const Corners corners = cornersOf(bounds);
    Points<float> seen(corners.size());
    tarnmAffineTransformCoord_m4v3a_32f(whole.data(), corners[0].data(), sizeof(Point<float>), seen[0].data(),
                                        sizeof(Point<float>), static_cast<std::int32_t>(seen.size()));
    return boundsOf(seen);
}

// Moves and enlarges the picture behind the projection, until the cloud fills it.
void fillPicture(View& view, const Bounds<float>& bounds, float zoom)
{
    constexpr float filled = 0.94F;
    const Bounds<float> seen = seenBounds(view, bounds);
    const float width = seen.high[0] - seen.low[0], height = seen.high[1] - seen.low[1];
    const float scale = zoom * filled * 2 / std::max({width, height, 1e-6F});
    const float x = -scale * (seen.low[0] + seen.high[0]) / 2, y = -scale * (seen.low[1] + seen.high[1]) / 2;
    const Matrix4 fit = {scale, 0, 0, 0, 0, scale, 0, 0, 0, 0, 1, 0, x, y, 0, 1};
    tarnmMul_mm4x4_32f(view.projection.data(), fit.data(), view.projection.data());
    view.pixelsPerUnit *= scale;
}

} // namespace

View viewOf(const Camera& camera, const Bounds<float>& bounds, int width, int height)
{
    constexpr float degree = std::numbers::pi_v<float> / 180;
    const float azimuth = camera.azimuth * degree, elevation = camera.elevation * degree;
    const float fieldOfView = camera.fieldOfView * degree;
    const float aspect = static_cast<float>(width) / static_cast<float>(height);
    const Point<float> direction = {std::cos(elevation) * std::cos(azimuth), std::cos(elevation) * std::sin(azimuth),
                                    std::sin(elevation)};
    const float diagonal =
        std::hypot(bounds.high[0] - bounds.low[0], bounds.high[1] - bounds.low[1], bounds.high[2] - bounds.low[2]);
    // Points that all coincide are a cloud as well.
    const float radius = std::max(diagonal / 2, 1e-3F);
    const float distance = radius / std::sin(fieldOfView / 2);

    View view{};
    Point<float> target;
    for (std::size_t k = 0; k < 3; ++k) {
        target[k] = (bounds.low[k] + bounds.high[k]) / 2;
        view.eye[k] = target[k] + distance * direction[k];
    }
    view.nearest = distance - radius;
    view.farthest = distance + radius;
    view.pixelsPerUnit = static_cast<float>(height) / (2 * std::tan(fieldOfView / 2));
    const Point<float> up = {0, 0, 1};
    tarnmLookAtRH_m4_32f(view.eye.data(), target.data(), up.data(), view.view.data());
    tarnmPerspectiveFovRH_m4_32f(fieldOfView, aspect, view.nearest, view.farthest, view.projection.data());
    fillPicture(view, bounds, camera.zoom);
    return view;
}

} // namespace cloud
