// Fits lines to measurements by least squares, and solves systems with a Cholesky factor that is kept.
#include <array>
#include <cmath>
#include <cstdio>

#include <tarnm/tarnm.hpp>

int main()
{
    // y = c + d * t at t = 0, 1, 2, 3.
    const std::array<std::array<double, 2>, 4> design{{{1, 0}, {1, 1}, {1, 2}, {1, 3}}};
    const std::array<double, 4> y{1, 3, 5, 7};
    std::array<std::array<double, 2>, 4> factors;
    std::array<double, 2> line;
    tarnm::qr(design, factors);
    tarnm::qr_solve(factors, y, line);
    std::printf("%.3f + %.3f t\n", line[0], line[1]);

    const std::array<std::array<double, 2>, 2> stiffness{{{4, 2}, {2, 5}}};
    const auto factor = tarnm::cholesky(stiffness);
    const std::array<double, 2> load{8, 12};
    std::array<double, 2> shift;
    factor.solve(load, shift);
    std::printf("%.3f %.3f\n", shift[0], shift[1]);
    return std::abs(line[1] - 2) < 1e-12 && std::abs(shift[0] - 1) < 1e-12 ? 0 : 1;
}
