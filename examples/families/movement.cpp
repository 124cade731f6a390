// Copies one member of structures into arrays of coordinates.
#include <array>
#include <cstdio>
#include <vector>

#include <tarnm/tarnm.hpp>

struct particle {
    std::array<float, 3> place;
    float mass;
};

// Tells the library that a particle begins with a vector of three elements.
template <> struct tarnm::object_traits<particle> : tarnm::vector_object<float, 3> {};

int main()
{
    const std::vector<particle> particles{{{1, 2, 3}, 9}, {{4, 5, 6}, 9}};
    std::array<float, 2> x{}, y{}, z{};
    float* const coordinates[3] = {x.data(), y.data(), z.data()};

    tarnm::copy(particles, tarnm::vector_elements_array<float>(coordinates, 2, 3));

    std::printf("x %g %g, y %g %g, z %g %g\n", x[0], x[1], y[0], y[1], z[0], z[1]);
    return x[1] == 4 && y[0] == 2 && z[1] == 6 ? 0 : 1;
}
