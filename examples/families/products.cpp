// Turns a structure of arrays by one matrix, and forms a transposed times a without a transposed copy.
#include <array>
#include <cstdio>

#include <tarnm/tarnm.hpp>

int main()
{
    // Three arrays of four coordinates.
    std::array<double, 4> x{1, 2, 3, 4}, y{0, 1, 0, 1}, z{5, 5, 5, 5};
    std::array<double, 4> new_x{}, new_y{}, new_z{};
    double* const from[3] = {x.data(), y.data(), z.data()};
    double* const to[3] = {new_x.data(), new_y.data(), new_z.data()};

    // A quarter turn about z. Elements of one call lie in one layout: here a pointer to each.
    double turn[9] = {0, -1, 0, 1, 0, 0, 0, 0, 1};
    double* elements[9];
    for (int i = 0; i < 9; ++i)
        elements[i] = turn + i;
    tarnm::multiply(tarnm::matrix_elements<double>(elements, 3, 3), tarnm::vector_elements_array<double>(from, 4, 3),
                    tarnm::vector_elements_array<double>(to, 4, 3));
    std::printf("%g %g %g\n", new_x[1], new_y[1], new_z[1]);

    const std::array<std::array<double, 2>, 3> a{{{1, 2}, {3, 4}, {5, 6}}};
    std::array<std::array<double, 2>, 2> square;
    tarnm::multiply(tarnm::transposed(a), a, square);
    std::printf("%g %g %g\n", square[0][0], square[0][1], square[1][1]);
    return new_x[1] == -1 && new_y[1] == 2 && square[0][1] == 44 ? 0 : 1;
}
