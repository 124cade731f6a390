#include "picture.h"

#include "placement.h"
#include "progress.h"
#include "stopwatch.h"

#include <tarnm/tarnm.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace cloud {
namespace {

constexpr std::size_t batch = 1 << 16; // points that are projected and lit at a time
constexpr int samples = 2;             // along each side of a pixel
constexpr Colour sky = {0.93F, 0.95F, 0.97F};
constexpr Colour palette[] = {
    {0.16F, 0.33F, 0.45F}, {0.30F, 0.54F, 0.42F}, {0.62F, 0.71F, 0.42F}, {0.87F, 0.74F, 0.50F}, {0.97F, 0.93F, 0.88F}};

float asFloat(std::floating_point auto value) { return static_cast<float>(value); }

Colour mixed(const Colour& a, const Colour& b, float shareOfB)
{
    Colour colour;
    for (std::size_t k = 0; k < 3; ++k)
        colour[k] = a[k] + (b[k] - a[k]) * shareOfB;
    return colour;
}

// `height` from 0 to 1.
Colour colourAt(float height)
{
    constexpr std::size_t last = std::size(palette) - 1;
    const float place = std::clamp(height, 0.0F, 1.0F) * asFloat(double(last));
    const std::size_t below = std::min(static_cast<std::size_t>(place), last - 1);
    return mixed(palette[below], palette[below + 1], place - asFloat(double(below)));
}

void normaliseVector(Point<float>& vector) { tarnmNormalize_v3_32f(vector.data(), vector.data()); }

template <class T> Points<float> singlePrecision(const Points<T>& points)
{
    Points<float> result(points.size());
    for (std::size_t n = 0; n < points.size(); ++n)
        for (std::size_t k = 0; k < 3; ++k)
            result[n][k] = asFloat(points[n][k]);
    return result;
}

Bounds<float> widened(Bounds<float> bounds, float by)
{
    for (std::size_t k = 0; k < 3; ++k) {
        bounds.low[k] -= by;
        bounds.high[k] += by;
    }
    return bounds;
}

// The heights between which nearly all points lie: single birds and holes do not take the colours from the others.
std::pair<float, float> usualHeights(const Points<float>& points)
{
    std::vector<float> heights;
    for (const Point<float>& point : points)
        heights.push_back(point[2]);
    const auto quantile = [&](double share) {
        const auto nth = heights.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(heights.size() - 1));
        std::nth_element(heights.begin(), nth, heights.end());
        return *nth;
    };
    const float low = quantile(0.02), high = quantile(0.98);
    return {low, std::max(high, low + std::numeric_limits<float>::min())};
}

// What the discs of neighbouring points must reach to close the surface, for points that lie evenly over the plan.
float discRadius(const Bounds<float>& bounds, std::size_t count)
{
    const float area = (bounds.high[0] - bounds.low[0]) * (bounds.high[1] - bounds.low[1]);
    return 1.5F * std::sqrt(area / asFloat(double(count)));
}

// The picture while points are drawn into it.
struct Canvas {
    Image image;
    std::vector<float> distances; // from the camera, of what is seen so far

    Canvas(int width, int height)
        : image(width, height)
        , distances(image.pixels.size(), infinity)
    {}

    static constexpr float infinity = std::numeric_limits<float>::infinity();

    void draw(float x, float y, float distance, float radius, const Colour& colour)
    {
        const int left = std::max(0, static_cast<int>(std::ceil(x - radius)));
        const int right = std::min(image.width - 1, static_cast<int>(std::floor(x + radius)));
        const int top = std::max(0, static_cast<int>(std::ceil(y - radius)));
        const int bottom = std::min(image.height - 1, static_cast<int>(std::floor(y + radius)));
        for (int row = top; row <= bottom; ++row)
            for (int column = left; column <= right; ++column) {
                const float dx = asFloat(double(column)) - x, dy = asFloat(double(row)) - y;
                const std::size_t pixel = image.number(column, row);
                if (dx * dx + dy * dy > radius * radius || !(distance < distances[pixel])) continue;
                distances[pixel] = distance;
                image.pixels[pixel] = colour;
            }
    }

    // Darkens what lies behind its neighbourhood, so that edges stand out.
    void deepen()
    {
        constexpr int reach = 2 * samples;
        const auto logarithm = [&](int x, int y) {
            const float distance =
                distances[image.number(std::clamp(x, 0, image.width - 1), std::clamp(y, 0, image.height - 1))];
            return distance == infinity ? infinity : std::log2(distance);
        };
        for (int y = 0; y < image.height; ++y)
            for (int x = 0; x < image.width; ++x) {
                const float here = logarithm(x, y);
                if (here == infinity) {
                    image.at(x, y) = sky;
                    continue;
                }
                float behind = 0;
                for (const auto& [dx, dy] : {std::pair{-reach, 0}, {reach, 0}, {0, -reach}, {0, reach}})
                    behind += std::max(0.0F, here - logarithm(x + dx, y + dy));
                const float light = std::exp(-6 * behind);
                for (float& value : image.at(x, y))
                    value *= std::max(light, 0.35F);
            }
    }
};

// How much of the light every point sends to the camera, from 0 to 1. Normals are turned to the camera, which sees only
// that side of the surface.
void light(const float* normals, const Points<float>& points, std::size_t first, const Point<float>& eye,
           const Point<float>& towardsLight, std::vector<float>& brightness)
{
    const auto count = static_cast<std::int32_t>(brightness.size());
    tarnmDotProduct_vav_32f(normals, sizeof(Point<float>), sizeof(float), towardsLight.data(), sizeof(float),
                            brightness.data(), 3, count);
    for (std::size_t n = 0; n < brightness.size(); ++n) {
        float seen = 0;
        for (std::size_t k = 0; k < 3; ++k)
            seen += normals[3 * n + k] * (eye[k] - points[first + n][k]);
        const float lit = seen < 0 ? -brightness[n] : brightness[n];
        brightness[n] = 0.42F + 0.58F * std::max(lit, 0.0F);
    }
}

// From behind the camera, from its left and above.
Point<float> towardsLightOf(const View& view)
{
    Point<float> eye = view.eye;
    normaliseVector(eye);
    Point<float> light = {eye[0] * 0.45F + eye[1] * 0.75F, eye[1] * 0.45F - eye[0] * 0.75F, 0.75F};
    normaliseVector(light);
    return light;
}

} // namespace

template <class T>
Picture pictureOf(const Points<T>& given, const Surface& surface, const Camera& camera, int width, int height)
{
    constexpr Matrix4 unmoved = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const Points<float> points = singlePrecision(given);
    const Bounds<float> bounds = boundsOf(points);
    const float radius = discRadius(bounds, points.size());
    const View view = viewOf(camera, widened(bounds, radius), width * samples, height * samples);
    const Point<float> towardsLight = towardsLightOf(view);
    const float disc = radius * view.pixelsPerUnit;
    const auto [lowest, highest] = usualHeights(points);

    Canvas canvas(width * samples, height * samples);
    PictureReport report;
    report.points = points.size();
    Points<float> seen(std::min(batch, points.size()));
    std::vector<float> brightness;
    Progress progress("drawing", points.size());
    for (std::size_t first = 0; first < points.size(); first += batch) {
        progress.lookAtClock(first);
        const std::size_t count = std::min(batch, points.size() - first);
        {
            const Stopwatch stopwatch(report.projection);
            tarnmProject_m4v3a_32f(view.projection.data(), view.view.data(), unmoved.data(), points[first].data(),
                                   sizeof(Point<float>), asFloat(double(canvas.image.width)),
                                   asFloat(double(canvas.image.height)), 0, 1, seen[0].data(), sizeof(Point<float>),
                                   static_cast<std::int32_t>(count));
        }
        {
            const Stopwatch stopwatch(report.shading);
            brightness.resize(count);
            light(surface.normals[first].data(), points, first, view.eye, towardsLight, brightness);
        }
        const Stopwatch stopwatch(report.drawing);
        for (std::size_t n = 0; n < count; ++n) {
            const auto [x, y, depth] = seen[n];
            if (!(depth >= 0 && depth <= 1)) continue;
            const float distance = view.distanceOf(depth);
            Colour colour = colourAt((points[first + n][2] - lowest) / (highest - lowest));
            for (float& value : colour)
                value *= brightness[n];
            canvas.draw(x - 0.5F, y - 0.5F, distance, std::clamp(disc / distance, 0.75F, 64.0F), colour);
        }
    }
    canvas.deepen();
    for (double* time : {&report.projection, &report.shading, &report.drawing})
        *time /= asFloat(double(points.size()));
    return {reduced(canvas.image, samples), report};
}

template Picture pictureOf(const Points<float>&, const Surface&, const Camera&, int, int);
template Picture pictureOf(const Points<double>&, const Surface&, const Camera&, int, int);

} // namespace cloud
