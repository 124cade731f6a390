#include "scene.h"

#include "progress.h"

#include <cmath>
#include <cstdint>
#include <random>

namespace cloud {
namespace {

using Position = Point<double>;

struct Hill {
    double x, y, height, width;
};

struct Sphere {
    Position centre;
    double radius;
};

// Corners with the smallest and with the largest coordinates; the foot is below the terrain.
struct Box {
    Position low, high;
};

constexpr double side = 100;
constexpr Position origin = {640, 210, 85};

constexpr Hill hills[] = {{20, 30, 14, 18}, {75, 70, 22, 25}, {60, 15, 7, 9}, {25, 85, -6, 15}};
constexpr Sphere spheres[] = {{{45, 48, 18}, 8}, {{15, 65, 9}, 5}, {{82, 22, 8}, 6}};
constexpr Box boxes[] = {{{36, 72, -5}, {48, 84, 24}}, {{84, 42, -5}, {92, 56, 20}}, {{40, 20, -5}, {52, 28, 14}}};

class Random {
public:
    // From low up to and without high, in steps of 2^-53 of the difference.
    double between(double low, double high)
    {
        return low + (high - low) * (static_cast<double>(engine() >> 11) * 0x1p-53);
    }

    std::size_t below(std::size_t count)
    {
        return static_cast<std::size_t>(between(0, 1) * static_cast<double>(count));
    }

private:
    std::mt19937_64 engine{7};
};

double groundHeight(double x, double y)
{
    double height = 0;
    for (const Hill& hill : hills) {
        const double dx = x - hill.x, dy = y - hill.y;
        height += hill.height / (1 + (dx * dx + dy * dy) / (hill.width * hill.width));
    }
    return height;
}

bool isBuried(const Position& p) { return p[2] < groundHeight(p[0], p[1]); }

Position onGround(Random& random)
{
    const double x = random.between(0, side), y = random.between(0, side);
    return {x, y, groundHeight(x, y)};
}

// A direction within the unit ball is uniform in all directions; very short ones would lose digits.
Position onSphere(Random& random, const Sphere& sphere)
{
    for (;;) {
        const double x = random.between(-1, 1), y = random.between(-1, 1), z = random.between(-1, 1);
        const double square = x * x + y * y + z * z;
        if (square < 0.01 || square > 1) continue;
        const double factor = sphere.radius / std::sqrt(square);
        return {sphere.centre[0] + factor * x, sphere.centre[1] + factor * y, sphere.centre[2] + factor * z};
    }
}

// On the roof or one of the four walls, each as often as its area asks for.
Position onBox(Random& random, const Box& box)
{
    Position p;
    for (std::size_t k = 0; k < 3; ++k)
        p[k] = random.between(box.low[k], box.high[k]);
    const double dx = box.high[0] - box.low[0], dy = box.high[1] - box.low[1], dz = box.high[2] - box.low[2];
    const double choice = random.between(0, dx * dy + 2 * dx * dz + 2 * dy * dz);
    const bool high = random.below(2) == 1;
    const std::size_t axis = choice < dx * dy ? 2 : choice < dx * dy + 2 * dx * dz ? 1 : 0;
    p[axis] = axis == 2 || high ? box.high[axis] : box.low[axis];
    return p;
}

// Of 20 points 12 lie on the terrain, 5 on spheres and 3 on boxes.
Position pointOfScene(Random& random, std::size_t number)
{
    const std::size_t turn = number % 20;
    if (turn < 12) return onGround(random);
    for (;;) {
        const Position p = turn < 17 ? onSphere(random, spheres[random.below(std::size(spheres))])
                                     : onBox(random, boxes[random.below(std::size(boxes))]);
        if (!isBuried(p)) return p;
    }
}

} // namespace

Points<float> makeScene(std::size_t count)
{
    Random random;
    Points<float> points;
    points.reserve(count);
    Progress progress("making the scene", count);
    for (std::size_t n = 0; n < count; ++n) {
        progress.at(n);
        const Position p = pointOfScene(random, n);
        points.push_back({static_cast<float>(origin[0] + p[0]), static_cast<float>(origin[1] + p[1]),
                          static_cast<float>(origin[2] + p[2])});
    }
    return points;
}

} // namespace cloud
