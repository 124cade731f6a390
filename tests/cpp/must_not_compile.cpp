// One misuse per CASE. Without one, this compiles: what stands around the misuse is right.
#include <array>
#include <vector>

#include "tarnm/tarnm.hpp"

int main()
{
    using square = std::array<std::array<float, 3>, 3>;
    std::vector<float> x(3), y(3), sum(3);
    std::vector<double> wide(3);
    std::vector<std::array<float, 3>> points(4);
    square a{}, b{};
    float* table[4] = {x.data(), y.data(), x.data(), y.data()};
    const tarnm::vector_list<float> list(table, 4, 3);
    tarnm::add(x, y, sum);
    tarnm::add(a, b, a);
#if CASE == 1 // elements of two types
    tarnm::add(x, wide, sum);
#elif CASE == 2  // a result that cannot be written
    const std::vector<float> constant(3);
    tarnm::add(x, y, constant);
#elif CASE == 3  // a result that is gone when the call returns
    tarnm::add(x, y, std::vector<float>(3));
#elif CASE == 4  // a view of a temporary
    const auto view = tarnm::view_of(std::vector<float>(3));
#elif CASE == 5  // the same, transposed
    const auto view = tarnm::transposed(square{});
#elif CASE == 6  // a vector and a matrix
    tarnm::add(a, x, b);
#elif CASE == 7  // one result for an array
    tarnm::add(points, x, sum);
#elif CASE == 8  // two layouts in one call
    tarnm::add(points, list, points);
#elif CASE == 9  // elements of a type that the library has not
    std::vector<int> whole(3);
    tarnm::add(whole, whole, whole);
#elif CASE == 10 // a transposed result
    tarnm::transpose(a, tarnm::transposed(b));
#elif CASE == 11 // a vector by a matrix
    tarnm::multiply(x, a, y);
#elif CASE == 12 // statuses of another type
    std::vector<float> statuses(4);
    tarnm::add(points, points, points, statuses);
#elif CASE == 13 // statuses that are gone when the call returns
    tarnm::add(points, points, points, std::vector<tarnm::status>(4));
#elif CASE == 14 // an array by one object where the library has no such product
    tarnm::matrix_array<float> many(x.data(), 1, 1, 3);
    tarnm::gaxpy(many, points, points, points);
#endif
    return 0;
}
