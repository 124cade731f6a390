// Principal axes of covariances, one of them of points in a plane.
#include <array>
#include <cmath>
#include <cstdio>
#include <vector>

#include <tarnm/tarnm.hpp>

int main()
{
    using matrix = std::array<std::array<float, 3>, 3>;
    const std::vector<matrix> covariances{{{{4, 1, 0}, {1, 3, 0}, {0, 0, 1}}}, {{{2, 1, 0}, {1, 2, 0}, {0, 0, 0}}}};
    std::vector<float> values(6);
    std::vector<matrix> axes(2);

    tarnm::eigen_symmetric(covariances, values, axes);

    for (std::size_t n = 0; n < 2; ++n)
        std::printf("%.3f %.3f %.3f\n", values[3 * n], values[3 * n + 1], values[3 * n + 2]);
    return std::abs(values[3] - 3) < 1e-5F && std::abs(values[5]) < 1e-5F ? 0 : 1;
}
