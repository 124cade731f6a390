// Comparison of elements by their bits, and random ones.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <span>
#include <vector>

namespace tarnm::test {

inline constexpr float nan = std::numeric_limits<float>::quiet_NaN();
inline constexpr float infinity = std::numeric_limits<float>::infinity();

using Matrix = std::array<float, 16>;

inline constexpr Matrix unit = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

// Equal bits, so that the sign of a zero counts; any NaN is like any other.
void expectSame(std::span<const float> got, std::span<const float> expected);

class Random {
public:
    explicit Random(unsigned seed);

    float number(float low = -2, float high = 2);
    void fill(std::span<float> values);
    std::vector<float> vector(std::size_t n);

    template <std::size_t n> std::array<float, n> array()
    {
        std::array<float, n> values;
        fill(values);
        return values;
    }

private:
    std::mt19937 generator;
};

} // namespace tarnm::test
