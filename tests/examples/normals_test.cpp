// The normals of examples/cloud, beside plain ones in double precision.

#include "axes.h"
#include "normals.h"
#include "placement.h"
#include "scene.h"

#include <tarnm/tarnm.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>

namespace {

using cloud::Axes;
using cloud::Matrix3;
using cloud::Normals;
using cloud::Point;
using cloud::Points;

constexpr double epsilon = 0x1p-23;

// ---- the reference

struct Spread {
    std::array<double, 9> covariance{};          // of trace 1
    std::array<double, 3> values{};              // ascending
    std::array<std::array<double, 3>, 3> axes{}; // axes[j] belongs to values[j]
    bool neighboursAreCertain = false;           // none is as near as the first that is left out
};

// By rotations in the three planes in turn.
void diagonalise(Spread& spread)
{
    double a[3][3], v[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    for (int i = 0; i < 9; ++i)
        a[i / 3][i % 3] = spread.covariance[std::size_t(i)];
    for (int turn = 0; turn < 90; ++turn) {
        const int p = turn % 3, q = (p + 1) % 3;
        // The smaller of the two angles, without which the turns need not end anywhere.
        const double sign = a[q][q] < a[p][p] ? -1 : 1;
        const double angle = std::atan2(sign * 2 * a[p][q], sign * (a[q][q] - a[p][p])) / 2;
        const double c = std::cos(angle), s = std::sin(angle);
        const auto rotate = [&](double& x, double& y) {
            const double t = c * x - s * y;
            y = s * x + c * y;
            x = t;
        };
        for (int k = 0; k < 3; ++k)
            rotate(a[k][p], a[k][q]);
        for (int k = 0; k < 3; ++k)
            rotate(a[p][k], a[q][k]);
        for (int k = 0; k < 3; ++k)
            rotate(v[k][p], v[k][q]);
    }
    std::size_t order[] = {0, 1, 2};
    std::sort(order, order + 3, [&](std::size_t i, std::size_t j) { return a[i][i] < a[j][j]; });
    for (std::size_t j = 0; j < 3; ++j) {
        spread.values[j] = a[order[j]][order[j]];
        for (std::size_t k = 0; k < 3; ++k)
            spread.axes[j][k] = v[k][order[j]];
    }
}

template <class T> Spread spreadAround(const Points<T>& points, std::size_t point, std::size_t neighbours)
{
    std::vector<std::pair<double, std::size_t>> near;
    for (std::size_t n = 0; n < points.size(); ++n) {
        double square = 0;
        for (std::size_t k = 0; k < 3; ++k)
            square += std::pow(double(points[n][k]) - double(points[point][k]), 2);
        near.emplace_back(square, n);
    }
    std::partial_sort(near.begin(), near.begin() + std::ptrdiff_t(neighbours) + 1, near.end());
    Spread spread;
    spread.neighboursAreCertain = near[neighbours].first > near[neighbours - 1].first * (1 + 1e-5);

    double mean[3] = {};
    for (std::size_t i = 0; i < neighbours; ++i) {
        for (std::size_t k = 0; k < 3; ++k)
            mean[k] += double(points[near[i].second][k]) / double(neighbours);
    }
    for (std::size_t i = 0; i < neighbours; ++i) {
        for (std::size_t r = 0; r < 3; ++r) {
            for (std::size_t c = 0; c < 3; ++c)
                spread.covariance[3 * r + c] +=
                    (double(points[near[i].second][r]) - mean[r]) * (double(points[near[i].second][c]) - mean[c]);
        }
    }
    const double trace = spread.covariance[0] + spread.covariance[4] + spread.covariance[8];
    for (double& x : spread.covariance)
        x /= trace;
    diagonalise(spread);
    return spread;
}

template <class A, class B> double dot(const A& a, const B& b)
{
    return double(a[0]) * double(b[0]) + double(a[1]) * double(b[1]) + double(a[2]) * double(b[2]);
}

// How much of the spread lies along the normal.
double shareAlong(const Spread& spread, const Point<float>& normal)
{
    double share = 0;
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 3; ++c)
            share += double(normal[r]) * spread.covariance[3 * r + c] * double(normal[c]);
    }
    return share;
}

template <class T> Points<T> placedScene(std::size_t count)
{
    const Points<float> scene = cloud::makeScene(count);
    const auto placement = cloud::placementOf(scene);
    Points<T> points(count);
    for (std::size_t n = 0; n < count; ++n) {
        for (std::size_t k = 0; k < 3; ++k)
            points[n][k] = (T(scene[n][k]) - T(placement.centre[k])) * T(placement.scale);
    }
    return points;
}

template <class T> class CloudNormals : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CloudNormals, ElementTypes);

// ---- the scene

// The direction is as certain as the gap between the two smallest values is wide.
TYPED_TEST(CloudNormals, AgreeWithDoublePrecisionOnTheScene)
{
    const auto points = placedScene<TypeParam>(3000);
    for (const std::size_t neighbours : {8U, 16U, 33U}) {
        const Normals normals = cloud::normalsOf(points, neighbours);
        ASSERT_EQ(normals.surface.normals.size(), points.size());
        std::size_t compared = 0, directed = 0;
        for (std::size_t n = 0; n < points.size(); n += 3) {
            const Spread spread = spreadAround(points, n, neighbours);
            if (!spread.neighboursAreCertain) continue;
            ++compared;
            const Point<float>& normal = normals.surface.normals[n];
            EXPECT_NEAR(dot(normal, normal), 1, 16 * epsilon) << n;
            EXPECT_GE(normal[2], 0) << n;
            EXPECT_NEAR(shareAlong(spread, normal), spread.values[0], 32 * epsilon) << n;
            EXPECT_NEAR(normals.surface.curvature[n], spread.values[0], 32 * epsilon) << n;
            const double gap = spread.values[1] - spread.values[0];
            if (gap < 1e-3) continue;
            ++directed;
            for (std::size_t j = 1; j < 3; ++j)
                EXPECT_LE(std::abs(dot(normal, spread.axes[j])), 32 * epsilon / gap) << n;
        }
        EXPECT_GT(compared, 990U);
        EXPECT_GT(directed, 950U);
        EXPECT_EQ(normals.report.coincident + normals.report.onLine + normals.report.unsolved, 0U);
        EXPECT_LT(normals.report.alone, 30U);
        EXPECT_EQ(normals.report.neighbours, neighbours);
    }
}

// ---- special neighbourhoods

TYPED_TEST(CloudNormals, TiltedPlane)
{
    using T = TypeParam;
    std::mt19937 engine(1);
    std::uniform_real_distribution<double> uniform(-1, 1);
    Points<T> points(5000);
    for (auto& point : points) {
        const double x = uniform(engine), y = uniform(engine);
        point = {T(x), T(y), T(0.5 * x - 0.25 * y)};
    }
    const Normals normals = cloud::normalsOf(points, 12);
    const double length = std::sqrt(1 + 0.25 + 0.0625), expected[] = {-0.5 / length, 0.25 / length, 1 / length};
    for (std::size_t n = 0; n < points.size(); ++n) {
        for (std::size_t k = 0; k < 3; ++k)
            EXPECT_NEAR(normals.surface.normals[n][k], expected[k], 1e-4) << n;
        EXPECT_LT(normals.surface.curvature[n], 32 * epsilon) << n;
    }
    EXPECT_EQ(normals.report.coincident + normals.report.unsolved, 0U);
}

TYPED_TEST(CloudNormals, FlatGridIsUpright)
{
    using T = TypeParam;
    Points<T> points;
    for (int i = 0; i < 2500; ++i)
        points.push_back({T(i / 50), T(i % 50), T(7)});
    const Normals normals = cloud::normalsOf(points, 9);
    for (const auto& normal : normals.surface.normals) {
        EXPECT_EQ(normal[0], 0);
        EXPECT_EQ(normal[1], 0);
        EXPECT_EQ(normal[2], 1);
    }
    EXPECT_EQ(normals.report.coincident + normals.report.onLine + normals.report.unsolved, 0U);
}

TYPED_TEST(CloudNormals, PointsAtOnePlacePointUpward)
{
    using T = TypeParam;
    // The mean of sixteen such numbers is another number.
    const Normals normals = cloud::normalsOf(Points<T>(100, {T(0.1), T(-0.7), T(0.3)}), 13);
    EXPECT_EQ(normals.report.coincident, 100U);
    EXPECT_EQ(normals.surface.normals, Points<float>(100, {0, 0, 1}));
    EXPECT_EQ(normals.surface.curvature, std::vector<float>(100, 0));
}

TYPED_TEST(CloudNormals, RepeatedPointsOfASurfaceStillHaveIt)
{
    using T = TypeParam;
    std::mt19937 engine(2);
    std::uniform_real_distribution<T> uniform(-1, 1);
    Points<T> points;
    for (int i = 0; i < 400; ++i)
        points.insert(points.end(), 3, {uniform(engine), uniform(engine), T(0)});
    const Normals normals = cloud::normalsOf(points, 16);
    for (const auto& normal : normals.surface.normals)
        EXPECT_NEAR(normal[2], 1, 1e-5);
    EXPECT_EQ(normals.report.coincident, 0U);
}

TYPED_TEST(CloudNormals, PointsOnALineHaveANormalOfTheLine)
{
    using T = TypeParam;
    Points<T> points;
    for (int i = 0; i < 200; ++i)
        points.push_back({T(i), T(2 * i), T(-i)});
    const Normals normals = cloud::normalsOf(points, 10);
    EXPECT_EQ(normals.report.onLine, 200U);
    for (const auto& normal : normals.surface.normals) {
        EXPECT_NEAR(dot(normal, Point<double>{1, 2, -1}), 0, 1e-5);
        EXPECT_NEAR(dot(normal, normal), 1, 16 * epsilon);
    }
}

TYPED_TEST(CloudNormals, FewerPointsThanNeighbours)
{
    using T = TypeParam;
    const Normals one = cloud::normalsOf(Points<T>{{1, 2, 3}}, 16);
    EXPECT_EQ(one.report.neighbours, 1U);
    EXPECT_EQ(one.report.coincident, 1U);
    const Normals three = cloud::normalsOf(Points<T>{{0, 0, 0}, {0, 1, 0}, {0, 0, 1}}, 16);
    EXPECT_EQ(three.report.neighbours, 3U);
    for (const auto& normal : three.surface.normals)
        EXPECT_NEAR(std::abs(normal[0]), 1, 1e-6);
}

// Far from the origin, where single precision would not hold the differences.
TEST(CloudNormalsOfDouble, KeepWhatDoubleHolds)
{
    Points<double> points;
    std::mt19937 engine(3);
    std::uniform_real_distribution<double> uniform(-1e-3, 1e-3);
    for (int i = 0; i < 300; ++i)
        points.push_back({1e6 + uniform(engine), -2e6 + uniform(engine), 5e5});
    for (const auto& normal : cloud::normalsOf(points, 16).surface.normals)
        EXPECT_NEAR(normal[2], 1, 1e-5);
}

// ---- matrices that stop a call

struct Solved {
    tarnmStatus status;
    std::array<float, 3> values;
    Matrix3 vectors;
};

Solved solvedByItself(const Matrix3& matrix)
{
    Solved solved{};
    float scratch[9];
    solved.status = tarnmEigenValuesVectorsSym_ma_32f(matrix.data(), 36, 12, 4, scratch, solved.vectors.data(), 36, 12,
                                                      4, solved.values.data(), 3, 1);
    return solved;
}

double residual(const Matrix3& matrix, const std::array<float, 3>& values, const Matrix3& vectors)
{
    double largest = 0;
    for (std::size_t j = 0; j < 3; ++j) {
        const Point<float> v = {vectors[j], vectors[3 + j], vectors[6 + j]};
        for (std::size_t r = 0; r < 3; ++r)
            largest =
                std::max(largest, std::abs(dot(Point<float>{matrix[3 * r], matrix[3 * r + 1], matrix[3 * r + 2]}, v) -
                                           double(values[j]) * double(v[r])));
    }
    return largest;
}

// Random covariances as the program makes them: a trace of 1, and the identity.
class Covariances {
public:
    Matrix3 next()
    {
        std::uniform_real_distribution<double> uniform(-1, 1);
        double b[9], a[9] = {};
        for (double& x : b)
            x = uniform(engine);
        for (int i = 0; i < 27; ++i)
            a[i / 3] += b[i / 9 * 3 + i % 3] * b[i / 3 % 3 * 3 + i % 3];
        const double trace = a[0] + a[4] + a[8];
        Matrix3 matrix;
        for (std::size_t i = 0; i < 9; ++i)
            matrix[i] = float(a[i] / trace) + (i % 4 == 0 ? 1.0F : 0.0F);
        return matrix;
    }

    Matrix3 nextThatStops()
    {
        for (;;) {
            const Matrix3 matrix = next();
            if (solvedByItself(matrix).status != StatusOk) return matrix;
        }
    }
    Matrix3 nextThatIsSolved(bool precisely)
    {
        for (;;) {
            const Matrix3 matrix = next();
            const Solved solved = solvedByItself(matrix);
            if (solved.status != StatusOk) continue;
            const double error = residual(matrix, solved.values, solved.vectors);
            if (precisely ? error < 8 * epsilon : error > 100 * epsilon) return matrix;
        }
    }

private:
    std::mt19937 engine{5};
};

void expectEigenpairs(const Matrix3& matrix, const std::array<float, 3>& values, const Matrix3& vectors)
{
    for (std::size_t j = 0; j < 3; ++j) {
        const Point<float> v = {vectors[j], vectors[3 + j], vectors[6 + j]};
        EXPECT_NEAR(dot(v, v), 1, 8 * epsilon);
    }
    EXPECT_LT(residual(matrix, values, vectors), 8 * epsilon);
    EXPECT_GE(values[0], values[1]);
    EXPECT_GE(values[1], values[2]);
}

TEST(CloudAxes, MatrixThatStopsTheCallIsSolvedAloneWhereverItStands)
{
    Covariances covariances;
    std::vector<Matrix3> matrices(40);
    std::generate(matrices.begin(), matrices.end(), [&] { return covariances.nextThatIsSolved(true); });
    const Matrix3 stopping = covariances.nextThatStops();
    for (std::size_t position = 0; position < matrices.size(); ++position) {
        auto all = matrices;
        all[position] = stopping;
        const Axes axes = cloud::axesOf(all);
        EXPECT_EQ(axes.alone, 1U);
        EXPECT_EQ(axes.unsolved, 0U);
        for (std::size_t n = 0; n < all.size(); ++n) {
            if (n == position) {
                expectEigenpairs(all[n], axes.values[n], axes.vectors[n]);
                continue;
            }
            EXPECT_EQ(axes.values[n], solvedByItself(all[n]).values) << n << " beside " << position;
            EXPECT_EQ(axes.vectors[n], solvedByItself(all[n]).vectors) << n << " beside " << position;
        }
    }
}

TEST(CloudAxes, MatrixThatLosesDigitsIsSolvedAlone)
{
    Covariances covariances;
    const std::vector<Matrix3> matrices = {covariances.nextThatIsSolved(true), covariances.nextThatIsSolved(false),
                                           covariances.nextThatIsSolved(true)};
    const Axes axes = cloud::axesOf(matrices);
    EXPECT_EQ(axes.alone, 1U);
    for (std::size_t n = 0; n < matrices.size(); ++n)
        expectEigenpairs(matrices[n], axes.values[n], axes.vectors[n]);
}

// Enough of them for threads, several that stop, one of them last.
TEST(CloudAxes, SeveralMatricesThatStopLargeCalls)
{
    Covariances covariances;
    std::vector<Matrix3> matrices(3000);
    std::generate(matrices.begin(), matrices.end(), [&] { return covariances.nextThatIsSolved(true); });
    const std::size_t positions[] = {0, 1, 700, 1499, 1500, 1501, 2999};
    for (const std::size_t position : positions)
        matrices[position] = covariances.nextThatStops();
    const Axes axes = cloud::axesOf(matrices);
    EXPECT_EQ(axes.alone, std::size(positions));
    EXPECT_EQ(axes.unsolved, 0U);
    for (std::size_t n = 0; n < matrices.size(); ++n)
        expectEigenpairs(matrices[n], axes.values[n], axes.vectors[n]);
}

TEST(CloudAxes, MatrixThatCannotBeSolvedKeepsTheAxesOfTheCoordinates)
{
    Covariances covariances;
    std::vector<Matrix3> matrices(5);
    std::generate(matrices.begin(), matrices.end(), [&] { return covariances.nextThatIsSolved(true); });
    matrices[3].fill(std::numeric_limits<float>::quiet_NaN());
    const Axes axes = cloud::axesOf(matrices);
    EXPECT_EQ(axes.alone, 1U);
    EXPECT_EQ(axes.unsolved, 1U);
    EXPECT_EQ(axes.vectors[3], (Matrix3{1, 0, 0, 0, 1, 0, 0, 0, 1}));
    expectEigenpairs(matrices[4], axes.values[4], axes.vectors[4]);
}

TEST(CloudAxes, NoMatrixAtAll) { EXPECT_TRUE(cloud::axesOf({}).values.empty()); }

} // namespace
