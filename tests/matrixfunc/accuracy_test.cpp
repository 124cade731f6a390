// How far inverses are from the inverse: the bounds that the reference page states.
//
// For each form and kind of matrix the largest element of A X - I, in units of the epsilon of the type times the condition
// number (in the norm of row sums) of A. Sources and results are taken as they are stored; the rest is extended precision.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "matrixfunc/matrix_calls.h"

namespace tarnm::test {
namespace {

using Wide = std::vector<std::vector<long double>>;

Wide zeros(int n) { return Wide(std::size_t(n), std::vector<long double>(std::size_t(n))); }

// Gauss-Jordan with row pivoting.
Wide inverted(Wide a)
{
    const std::size_t n = a.size();
    Wide x = zeros(int(n));
    for (std::size_t i = 0; i < n; ++i)
        x[i][i] = 1;
    for (std::size_t k = 0; k < n; ++k) {
        std::size_t p = k;
        for (std::size_t r = k + 1; r < n; ++r)
            if (std::fabs(a[r][k]) > std::fabs(a[p][k])) p = r;
        std::swap(a[k], a[p]);
        std::swap(x[k], x[p]);
        const long double pivot = a[k][k];
        for (std::size_t c = 0; c < n; ++c) {
            a[k][c] /= pivot;
            x[k][c] /= pivot;
        }
        for (std::size_t r = 0; r < n; ++r) {
            const long double factor = a[r][k];
            for (std::size_t c = 0; c < n && r != k; ++c) {
                a[r][c] -= factor * a[k][c];
                x[r][c] -= factor * x[k][c];
            }
        }
    }
    return x;
}

long double norm(const Wide& a)
{
    long double largest = 0;
    for (const auto& row : a) {
        long double sum = 0;
        for (const long double element : row)
            sum += std::fabs(element);
        largest = std::max(largest, sum);
    }
    return largest;
}

// Elements in [-2, 2]; the same with rows scaled by powers of two between 2^-8 and 2^8; unit length in all directions but
// one; lengths that fall off evenly.
enum Kind { isRandom, isGraded, isFlat, isFalling };
constexpr Kind kinds[] = {isRandom, isGraded, isFlat, isFalling};

using Generator = std::mt19937;

double uniform(Generator& generator, double low, double high)
{
    return std::uniform_real_distribution<double>(low, high)(generator);
}

Wide randomMatrix(int n, Generator& generator)
{
    Wide a = zeros(n);
    for (auto& row : a)
        for (long double& element : row)
            element = uniform(generator, -2, 2);
    return a;
}

// The lengths of orthogonal directions, the last one the smallest: a reflection on each side of a diagonal.
Wide illConditioned(const std::vector<double>& lengths, Generator& generator)
{
    const int n = int(lengths.size());
    std::vector<long double> u, v;
    long double uu = 0, vv = 0;
    for (int i = 0; i < n; ++i) {
        u.push_back(uniform(generator, -1, 1));
        v.push_back(uniform(generator, -1, 1));
        uu += u.back() * u.back();
        vv += v.back() * v.back();
    }
    Wide a = zeros(n);
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c)
            for (int k = 0; k < n; ++k) {
                const std::size_t i = std::size_t(r), j = std::size_t(c), l = std::size_t(k);
                a[i][j] += ((r == k) - 2 * u[i] * u[l] / uu) * lengths[l] * ((k == c) - 2 * v[l] * v[j] / vv);
            }
    return a;
}

std::vector<double> lengthsOf(Kind kind, bool isSingle, int n)
{
    std::vector<double> lengths(std::size_t(n), 1.0);
    if (kind == isFlat) lengths.back() = isSingle ? 1e-3 : 1e-9;
    for (int k = 0; k < n && kind == isFalling; ++k)
        lengths[std::size_t(k)] = std::pow(1e-3, double(k) / (n - 1));
    return lengths;
}

Matrix matrixOf(Kind kind, const Member& member, int n, Generator& generator)
{
    const bool isSingle = member.type == Type::f32;
    const bool isIllConditioned = kind == isFlat || kind == isFalling;
    const Wide a =
        isIllConditioned ? illConditioned(lengthsOf(kind, isSingle, n), generator) : randomMatrix(n, generator);
    Matrix matrix(n);
    for (int r = 0; r < n; ++r) {
        const double scale = kind == isGraded ? std::ldexp(1.0, int(uniform(generator, -8, 9))) : 1;
        for (int c = 0; c < n; ++c) {
            const double element = scale * double(a[std::size_t(r)][std::size_t(c)]);
            matrix(r, c) = isSingle ? double(float(element)) : element;
        }
    }
    return matrix;
}

double residualOf(const MatrixCall& call, int object, const Matrix& matrix, double epsilon)
{
    const int n = matrix.n;
    Wide a = zeros(n);
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c)
            a[std::size_t(r)][std::size_t(c)] = matrix(r, c);
    long double largest = 0;
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c) {
            long double sum = -(r == c);
            for (int k = 0; k < n; ++k)
                sum += a[std::size_t(r)][std::size_t(k)] * static_cast<long double>(call.at(object, k, c));
            largest = std::max(largest, std::fabs(sum));
        }
    return double(largest / (epsilon * norm(a) * norm(inverted(a))));
}

double worstOf(const Member& member, Style style, int n, Kind kind)
{
    constexpr int count = 500, rounds = 4;
    const double epsilon = member.type == Type::f32 ? double(std::numeric_limits<float>::epsilon())
                                                    : std::numeric_limits<double>::epsilon();
    Generator generator(unsigned(100 * n + kind));
    double worst = 0;
    for (int round = 0; round < rounds; ++round) {
        std::vector<Matrix> matrices;
        for (int i = 0; i < count; ++i)
            matrices.push_back(matrixOf(kind, member, n, generator));
        MatrixCall call(member, matrices, style);
        if (call() != StatusOk) return INFINITY;
        for (int i = 0; i < count; ++i)
            worst = std::max(worst, residualOf(call, i, matrices[std::size_t(i)], epsilon));
    }
    return worst;
}

// As the reference page states them, in the order of the kinds.
struct Stated {
    const char* member;
    Style style;
    int order;
    double bounds[4];
};

const Stated stated[] = {
    {"tarnmInvert_ma_32f", Style::packed, 2, {1, 1, 1, 1}},
    {"tarnmInvert_ma_32f", Style::packed, 3, {1, 2.5, 1, 3}},
    {"tarnmInvert_ma_32f_L", Style::packed, 3, {1, 2.5, 1, 3}},
    {"tarnmInvert_ma_32f", Style::packed, 4, {1, 5, 1, 50}},
    {"tarnmInvert_ma_32f", Style::packed, 5, {1, 8, 1, 150}},
    {"tarnmInvert_ma_32f", Style::packed, 6, {2, 6, 1, 100}},
    {"tarnmInvert_ma_32f", Style::packed, 8, {1, 32, 1, 14}},
    {"tarnmInvert_ma_32f", Style::strided, 4, {1, 3, 1, 6}},
    {"tarnmInvert_ma_32f", Style::strided, 5, {1, 5, 1, 17}},
    {"tarnmInvert_ma_32f", Style::strided, 6, {2.5, 6, 1, 32}},
    {"tarnmInvert_ma_64f", Style::packed, 2, {1, 1, 1, 1}},
    {"tarnmInvert_ma_64f", Style::packed, 3, {1, 2, 1, 3}},
    {"tarnmInvert_ma_64f", Style::packed, 4, {1, 4, 1, 8}},
    {"tarnmInvert_ma_64f", Style::packed, 5, {1, 3, 1, 25}},
    {"tarnmInvert_ma_64f", Style::packed, 6, {2, 5, 1, 20}},
    {"tarnmInvert_ma_64f", Style::packed, 8, {1, 36, 1, 20}},
};

TEST(InverseAccuracy, IsWithinTheStatedBounds)
{
    for (const auto& [name, style, order, bounds] : stated)
        for (const Kind kind : kinds) {
            const double worst = worstOf(memberNamed(name), style, order, kind);
            EXPECT_LE(worst, bounds[kind]) << name << ", " << nameOf(style) << ", order " << order << ", kind " << kind;
            // A bound that is far away says nothing.
            EXPECT_GE(worst, bounds[kind] / 8)
                << name << ", " << nameOf(style) << ", order " << order << ", kind " << kind;
        }
}

} // namespace
} // namespace tarnm::test
