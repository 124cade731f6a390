// What the C++ layer costs beside the C functions: tarnm_cpp_cost prints the fastest of many interleaved runs.
//
//   per call     one packed 3 x 3 matrix in an array: the time of a call that does next to nothing
//   per object   arrays of 4096 packed 3 x 3 matrices, one thread
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <limits>
#include <vector>

#include <tarncore/tarncore.h>
#include <tarnm/tarnm.hpp>

namespace {

using matrix = std::array<std::array<float, 3>, 3>;

double nanoseconds(const std::function<void()>& run)
{
    const auto begin = std::chrono::steady_clock::now();
    run();
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - begin).count();
}

// The fastest run of each, in turns, for each of `units`.
void compare(const char* what, double units, const std::function<void()>& c, const std::function<void()>& cpp)
{
    double best_c = std::numeric_limits<double>::max(), best_cpp = best_c;
    for (int i = 0; i < 200; ++i) {
        best_c = std::min(best_c, nanoseconds(c));
        best_cpp = std::min(best_cpp, nanoseconds(cpp));
    }
    std::printf("%-58s %9.2f %9.2f %9.2f\n", what, best_c / units, best_cpp / units, (best_cpp - best_c) / units);
}

std::vector<matrix> regular(std::size_t count)
{
    std::vector<matrix> all(count);
    std::uint32_t state = 1;
    const auto next = [&state] {
        state = state * 1664525U + 1013904223U;
        return static_cast<float>(state >> 8) / 16777216.0F - 0.5F;
    };
    for (matrix& m : all)
        for (int r = 0; r < 3; ++r)
            for (int c = r; c < 3; ++c)
                m[r][c] = m[c][r] = r == c ? 3.0F + next() : next();
    return all;
}

} // namespace

int main()
{
    tarnSetNumThreads(1);
    constexpr int calls = 10000;
    constexpr std::int32_t count = 4096;
    const auto a = regular(count);
    auto planar = a;
    for (matrix& m : planar)
        for (int i = 0; i < 3; ++i)
            m[2][i] = m[i][2] = 0;
    std::vector<matrix> x(count);
    std::vector<float> values(3 * count);
    std::vector<tarnm::status> statuses(count);
    const float* const from = a[0][0].data();
    float* const to = x[0][0].data();
    alignas(32) std::byte buffer[64];

    std::printf("%-58s %9s %9s %9s\n", "ns", "C", "C++", "more");
    compare(
        "per call: multiply, one matrix", calls,
        [&] {
            for (int i = 0; i < calls; ++i)
                tarnmMul_mama_32f(from, 36, 12, 4, 3, 3, from, 36, 12, 4, 3, 3, to, 36, 12, 4, 1);
        },
        [&] {
            for (int i = 0; i < calls; ++i)
                tarnm::multiply(tarnm::matrix_array(from, 1, 3, 3), tarnm::matrix_array(from, 1, 3, 3),
                                tarnm::matrix_array(to, 1, 3, 3));
        });
    compare(
        "per call: plain::invert, one matrix", calls,
        [&] {
            for (int i = 0; i < calls; ++i)
                tarnmInvert_ma_32f(from, 36, 12, 4, buffer, to, 36, 12, 4, 3, 1);
        },
        [&] {
            for (int i = 0; i < calls; ++i)
                tarnm::plain::invert(tarnm::matrix_array(from, 1, 3, 3), tarnm::matrix_array(to, 1, 3, 3));
        });
    compare(
        "per call: invert, one matrix", calls,
        [&] {
            for (int i = 0; i < calls; ++i)
                tarnmInvert_ma_32f(from, 36, 12, 4, buffer, to, 36, 12, 4, 3, 1);
        },
        [&] {
            for (int i = 0; i < calls; ++i)
                tarnm::invert(tarnm::matrix_array(from, 1, 3, 3), tarnm::matrix_array(to, 1, 3, 3));
        });
    const auto invert_c = [&] { tarnmInvert_ma_32f(from, 36, 12, 4, buffer, to, 36, 12, 4, 3, count); };
    const auto eigen_c = [&] {
        tarnmEigenValuesVectorsSym_ma_32f(from, 36, 12, 4, buffer, to, 36, 12, 4, values.data(), 3, count);
    };
    compare("per object: invert", count, invert_c, [&] { tarnm::invert(a, x); });
    compare("per object: invert with statuses", count, invert_c, [&] { tarnm::invert(a, x, statuses); });
    compare("per object: eigen_symmetric with vectors", count, eigen_c, [&] { tarnm::eigen_symmetric(a, values, x); });
    compare("per object: the same of planar covariances (C: regular)", count, eigen_c,
            [&] { tarnm::eigen_symmetric(planar, values, x); });
    return 0;
}
