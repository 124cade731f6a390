// Determinants and inverses of an array in which one matrix is singular.
#include <array>
#include <cstdio>
#include <vector>

#include <tarnm/tarnm.hpp>

int main()
{
    using matrix = std::array<std::array<double, 2>, 2>;
    const std::vector<matrix> a{{{{2, 1}, {1, 1}}}, {{{1, 2}, {2, 4}}}, {{{1e-200, 0}, {0, 1e-200}}}};
    std::vector<matrix> inverse(3);
    std::vector<double> determinants(3);
    std::vector<tarnm::status> statuses(3);

    tarnm::determinant(a, determinants);
    const auto failed = tarnm::invert(a, inverse, statuses);

    for (std::size_t n = 0; n < 3; ++n)
        std::printf("determinant %g: %s\n", determinants[n], tarnm::status_name(statuses[n]));
    return failed == 1 && statuses[1] == StatusSingular && inverse[2][0][0] > 1e199 ? 0 : 1;
}
