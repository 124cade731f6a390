// Moves points by an offset, halves them, and takes one cloud of points from another.
#include <array>
#include <cstdio>
#include <vector>

#include <tarnm/tarnm.hpp>

int main()
{
    using point = std::array<float, 3>;
    const std::vector<point> points{{1, 2, 3}, {4, 5, 6}};
    const point offset{10, 20, 30};
    std::vector<point> moved(2), halved(2), difference(2);

    tarnm::add(points, offset, moved);
    tarnm::scale(moved, 0.5, halved);
    tarnm::subtract(moved, points, difference);

    std::printf("%g %g %g\n", moved[1][0], moved[1][1], moved[1][2]);
    std::printf("%g %g %g\n", halved[1][0], halved[1][1], halved[1][2]);
    return difference[0] == offset && difference[1] == offset ? 0 : 1;
}
