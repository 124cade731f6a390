// A camera: from points of a scene to points of the screen and back.
#include <array>
#include <cmath>
#include <cstdio>
#include <vector>

#include <tarnm/tarnm.hpp>

int main()
{
    const std::vector<tarnm::vector3> scene{{0, 0, 0}, {1, 1, 0}};
    std::vector<tarnm::vector3> screen(2), back(2), turned(2);

    const auto world = tarnm::identity4();
    const auto view = tarnm::look_at_rh({0, 0, 5}, {0, 0, 0}, {0, 1, 0});
    const auto projection = tarnm::perspective_fov_rh(1.0F, 4.0F / 3.0F, 1.0F, 100.0F);
    const tarnm::viewport port{640, 480, 0, 1};

    tarnm::project(projection, view, world, port, scene, screen);
    tarnm::unproject(projection, view, world, port, screen, back);
    tarnm::transform_point(tarnm::multiply(tarnm::rotation_z(1.5707964F), tarnm::translation(0, 0, 1)), scene, turned);

    std::printf("%.1f %.1f, %.1f %.1f\n", screen[0][0], screen[0][1], screen[1][0], screen[1][1]);
    std::printf("%.3f %.3f %.3f\n", turned[1][0], turned[1][1], turned[1][2]);
    return screen[0][0] == 320 && std::abs(back[1][0] - 1) < 1e-4F && std::abs(turned[1][1] - 1) < 1e-6F ? 0 : 1;
}
