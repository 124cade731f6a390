// Matrices that are hard on an eigenvalue iteration, of any order.
#pragma once

#include <cmath>
#include <string_view>
#include <vector>

namespace tarnm::test {

struct HardMatrix {
    std::string_view name;
    double (*element)(int n, int r, int c);
};

// most converge.
inline const std::vector<HardMatrix>& hardMatrices()
{
    static const std::vector<HardMatrix> matrices = {
        {"zero", [](int, int, int) { return 0.0; }},
        {"identity", [](int, int r, int c) { return r == c ? 1.0 : 0.0; }},
        {"upper", [](int, int r, int c) { return r <= c ? 1.0 + r + 0.25 * c : 0.0; }},
        {"lower", [](int, int r, int c) { return r >= c ? 2.0 - r + 0.5 * c : 0.0; }},
        {"ones", [](int, int, int) { return 1.0; }},
        {"Jordan", [](int, int r, int c) { return r == c       ? 2.0
                                                  : c == r + 1 ? 1.0
                                                               : 0.0; }},
        {"shift", [](int n, int r, int c) { return c == (r + 1) % n ? 1.0 : 0.0; }},
        {"symmetric", [](int, int r, int c) { return 1.0 / (1 + r + c); }},
        {"skew", [](int, int r, int c) { return r == c  ? 0.0
                                                : r < c ? 1.0 + r
                                                        : -1.0 - c; }},
        {"Frank", [](int n, int r, int c) { return c + 1 < r ? 0.0 : double(n - (r > c ? r : c)); }},
        {"companion", [](int n, int r, int c) { return r == n - 1   ? -1.0 - c
                                                       : c == r + 1 ? 1.0
                                                                    : 0.0; }},
        {"graded", [](int, int r, int c) { return std::ldexp(1.0 + 0.5 * r - 0.25 * c, -4 * (r + c)); }},
        {"singular", [](int, int r, int c) { return 1.0 + r + 2.0 * c; }},
        {"blocks", [](int, int r, int c) { return r / 2 != c / 2 ? 0.0
                                                  : r == c       ? 1.0
                                                  : r < c        ? 2.0
                                                                 : -3.0; }},
        {"equal", [](int, int r, int c) { return r / 2 != c / 2 ? 0.0
                                                 : r == c       ? 1.0
                                                 : r < c        ? 2.0
                                                                : 3.0; }},
        {"steep", [](int, int r, int c) { return (r <= c ? 1.0 : 0.5) * std::ldexp(1.0, 12 * (c - r)); }},
        {"tiny", [](int, int r, int c) { return 1e-30 * (1.0 + 2 * r - c * (r + 1)); }},
        {"vast", [](int, int r, int c) { return 1e15 * (1.0 - 3 * r + c * (r + 2)); }},
    };
    return matrices;
}

} // namespace tarnm::test
