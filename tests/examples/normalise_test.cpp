// The scene, the placement and the layouts of examples/cloud.

#include "layouts.h"
#include "normalise.h"
#include "placement.h"
#include "scene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

using cloud::Placement;
using cloud::Point;
using cloud::Points;

template <class T> Points<T> randomPoints(std::size_t count)
{
    std::mt19937 engine(1);
    std::uniform_real_distribution<T> distribution(-100, 300);
    Points<T> points(count);
    for (auto& point : points) {
        for (T& value : point)
            value = distribution(engine);
    }
    return points;
}

template <class T> class CloudOf : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CloudOf, ElementTypes);

// ---- placement

TYPED_TEST(CloudOf, PlacementIsMeanAndReciprocalOfTheFarthestCoordinate)
{
    using T = TypeParam;
    const Points<T> points = {{0, 10, -1}, {4, 10, -1}, {8, 10, -7}, {-4, 10, 1}};
    const Placement<T> placement = cloud::placementOf(points);
    EXPECT_EQ(placement.centre, (Point<T>{2, 10, -2}));
    EXPECT_EQ(placement.scale, T(1) / 6);
    EXPECT_EQ(cloud::boundsOf(points).low, (Point<T>{-4, 10, -7}));
    EXPECT_EQ(cloud::boundsOf(points).high, (Point<T>{8, 10, 1}));
}

TYPED_TEST(CloudOf, PointsThatCoincideKeepTheirScale)
{
    using T = TypeParam;
    // The sum of these in double is not a thousand times the number.
    const Placement<T> placement = cloud::placementOf(Points<T>(1000, {T(0.1), T(0.1), T(0.1)}));
    EXPECT_EQ(placement.centre, (Point<T>{T(0.1), T(0.1), T(0.1)}));
    EXPECT_EQ(placement.scale, 1);
    const T least = std::numeric_limits<T>::denorm_min();
    EXPECT_EQ(cloud::placementOf(Points<T>{{0, 0, 0}, {2 * least, 0, 0}}).scale, 1);
}

TYPED_TEST(CloudOf, DifferencesThatOverflowAreAnError)
{
    using T = TypeParam;
    const T most = std::numeric_limits<T>::max();
    EXPECT_THROW(cloud::placementOf(Points<T>{{most, 0, 0}, {-most, 0, 0}, {-most, 0, 0}}), std::runtime_error);
}

TYPED_TEST(CloudOf, RemovesPointsThatAreNotFinite)
{
    using T = TypeParam;
    const T infinity = std::numeric_limits<T>::infinity(), nan = std::numeric_limits<T>::quiet_NaN();
    Points<T> points = {{1, 2, 3}, {nan, 0, 0}, {4, 5, 6}, {0, infinity, 0}, {0, 0, -infinity}, {7, 8, 9}};
    EXPECT_EQ(cloud::removeNotFinite(points), 3U);
    EXPECT_EQ(points, (Points<T>{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}));
    EXPECT_EQ(cloud::removeNotFinite(points), 0U);
}

// ---- layouts

// Counts on both sides of a vector's width and of the size from which threads share the work.
TYPED_TEST(CloudOf, EveryLayoutGivesTheBitsOfTheFormula)
{
    using T = TypeParam;
    for (std::size_t count : {1, 2, 7, 8, 9, 100, 20000}) {
        const Points<T> points = randomPoints<T>(count);
        const Placement<T> placement{{T(17.1), T(-3.7), T(99.9)}, T(0.013)};
        Points<T> expected = points;
        for (auto& point : expected) {
            for (std::size_t k = 0; k < 3; ++k)
                point[k] = (point[k] - placement.centre[k]) * placement.scale;
        }
        // Throws if the other layouts differ from the first.
        const auto normalised = cloud::normalise(points, placement, 2);
        EXPECT_EQ(cloud::firstDifference(normalised.points, expected), std::nullopt) << count;
        EXPECT_EQ(normalised.times.size(), 3U);
    }
}

TYPED_TEST(CloudOf, FirstDifferenceIsOneOfBits)
{
    using T = TypeParam;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    const Points<T> points = {{1, 2, 3}, {0, nan, 0}, {4, 5, 6}};
    EXPECT_EQ(cloud::firstDifference(points, points), std::nullopt);
    Points<T> other = points;
    other[2][2] = std::nextafter(other[2][2], T(0));
    EXPECT_EQ(cloud::firstDifference(points, other), 2U);
    other[1][0] = -T(0);
    EXPECT_EQ(cloud::firstDifference(points, other), 1U);
}

TYPED_TEST(CloudOf, ListedPointsLieApart)
{
    using T = TypeParam;
    const cloud::Listed<T> listed(3);
    EXPECT_GT(listed.table()[1] - listed.table()[0], 3);
    EXPECT_EQ(listed.table()[2], &listed.at(2, 0));
}

// ---- scene

TEST(CloudScene, IsTheSameEachTimeAndBeginsAsASmallerOne)
{
    const Points<float> large = cloud::makeScene(5000);
    ASSERT_EQ(large.size(), 5000U);
    EXPECT_EQ(large, cloud::makeScene(5000));
    for (std::size_t count : {1, 13, 20, 999})
        EXPECT_EQ(cloud::makeScene(count),
                  Points<float>(large.begin(), large.begin() + static_cast<std::ptrdiff_t>(count)));
}

// Not only a plane, and as large as promised.
TEST(CloudScene, FillsItsSquareAndRisesAboveIt)
{
    const auto bounds = cloud::boundsOf(cloud::makeScene(20000));
    for (std::size_t k = 0; k < 2; ++k) {
        EXPECT_GT(bounds.high[k] - bounds.low[k], 99);
        EXPECT_LE(bounds.high[k] - bounds.low[k], 100);
        EXPECT_GT(bounds.low[k], 100);
    }
    EXPECT_GT(bounds.high[2] - bounds.low[2], 20);
    EXPECT_LT(bounds.high[2] - bounds.low[2], 40);
}

} // namespace
