// Symmetric matrices for the tests of the Cholesky family.
//
//   definiteElement     element (r, c) of a well conditioned definite matrix, small integers on the way
//   DefiniteKind        kinds of definite matrices for properties: random, graded, ill conditioned, structured
#pragma once

#include <cmath>
#include <functional>
#include <string>
#include <vector>

namespace tarnm::test {

// Object n of a series; diagonally dominant.
inline double definiteElement(int n, int r, int c)
{
    if (r == c) return 40 + 3 * r + n % 5;
    const int low = r < c ? r : c, high = r < c ? c : r;
    return double((7 * low + 5 * high + 3 * n) % 9) / 4 - 1;
}

struct DefiniteKind {
    std::string name;
    std::function<double(int order, int r, int c)> element;
    int largestOrder = 16; // definite in single precision up to there
};

inline std::vector<DefiniteKind> definiteKinds()
{
    // A random triangle with its transpose.
    const auto random = [](int order, int r, int c) {
        double sum = 0;
        for (int k = 0; k <= (r < c ? r : c); ++k) {
            const auto m = [&](int i) {
                return i == k ? 1.0 + (i * 7 + order) % 5 * 0.25 : std::sin(i * 12.9 + k * 78.2);
            };
            sum += m(r) * m(c);
        }
        return sum;
    };
    return {
        {"random", random},
        {"graded", [=](int n, int r, int c) { return std::ldexp(random(n, r, c), -3 * (r + c)); }},
        {"graded upwards", [=](int n, int r, int c) { return std::ldexp(random(n, r, c), 3 * (r + c)); }},
        {"ill conditioned", [](int, int r, int c) { return 1.0 / (r + c + 1); }, 4},
        {"tridiagonal", [](int, int r, int c) { return r == c                 ? 2.0
                                                       : std::abs(r - c) == 1 ? -1.0
                                                                              : 0.0; }},
        {"smallest index", [](int, int r, int c) { return double(std::min(r, c) + 1); }},
        {"nearly singular", [](int, int r, int c) { return r == c ? 1.0 + 0x1p-12 : 1.0; }},
        {"large", [=](int n, int r, int c) { return std::ldexp(random(n, r, c), 90); }},
        {"small", [=](int n, int r, int c) { return std::ldexp(random(n, r, c), -90); }},
    };
}

} // namespace tarnm::test
