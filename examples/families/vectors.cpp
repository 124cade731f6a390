// Normals and areas of triangles.
#include <array>
#include <cstdio>
#include <vector>

#include <tarnm/tarnm.hpp>

int main()
{
    using vector = std::array<float, 3>;
    const std::vector<vector> edges{{1, 0, 0}, {0, 2, 0}};
    const std::vector<vector> others{{0, 1, 0}, {0, 0, 3}};
    std::vector<vector> normals(2);
    std::vector<float> lengths(2), dots(2);

    tarnm::cross(edges, others, normals);
    tarnm::norm(normals, lengths);
    tarnm::dot(normals, edges, dots);

    for (std::size_t n = 0; n < 2; ++n)
        std::printf("normal %g %g %g, area %g\n", normals[n][0], normals[n][1], normals[n][2], lengths[n] / 2);
    return dots[0] == 0 && dots[1] == 0 && lengths[1] == 6 ? 0 : 1;
}
