// Axes of many symmetric 3x3 matrices.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace cloud {

using Matrix3 = std::array<float, 9>; // row by row

struct Axes {
    std::vector<std::array<float, 3>> values; // eigenvalues, descending
    std::vector<Matrix3> vectors;             // column j belongs to value j
    std::size_t alone = 0;                    // matrices that had to be solved by themselves
    std::size_t unsolved = 0;                 // of these, matrices that kept the axes of the coordinates
};

// Eigenvalues and orthonormal eigenvectors, with one call for all. Few in ten thousand matrices make the iteration give up,
// and with it the call, and a few more lose digits, since its tolerances are absolute. Both kinds are found and solved alone
// in double precision, the others as before. Matrices whose product of eigenvalues is near 0 count as singular: a multiple
// of the identity, added before, avoids that and keeps the vectors.
//
// For matrices of a norm of 2 at most.
Axes axesOf(const std::vector<Matrix3>& matrices);

} // namespace cloud
