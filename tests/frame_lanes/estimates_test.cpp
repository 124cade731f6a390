// The estimates of 1/x and 1/sqrt(x) and their refinement: error bounds, and the same bits in every width.
#include "frame/lanes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace tarnm {
namespace {

// Both estimates of the processors have a relative error of at most 1.5 * 2^-12.
constexpr double estimateBound = 1.5 / 4096;

// One step leaves the square of that, times 3/2 for the root; four roundings of half a unit add to it.
constexpr double refinedBound = 1.5 * estimateBound * estimateBound + 4 * 0x1p-24;

std::vector<float> samples(int smallestExponent, int largestExponent)
{
    std::mt19937 random(20240607);
    std::vector<float> values;
    for (int exponent = smallestExponent; exponent <= largestExponent; ++exponent)
        for (int i = 0; i < 256; ++i)
            values.push_back(std::ldexp(1.0f + float(random() >> 9) * 0x1p-23f, exponent));
    return values;
}

std::uint32_t bitsOf(float value)
{
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

void expectSame(float actual, float expected, float x)
{
    if (std::isnan(expected))
        EXPECT_TRUE(std::isnan(actual)) << x;
    else
        EXPECT_EQ(bitsOf(actual), bitsOf(expected)) << x << ": " << actual << " for " << expected;
}

TEST(Estimates, HaveTwelveBits)
{
    for (float x : samples(-120, 120)) {
        for (float signedX : {x, -x})
            ASSERT_LE(std::fabs(double(reciprocalEstimate(signedX)) * signedX - 1), estimateBound) << signedX;
        ASSERT_LE(std::fabs(double(reciprocalSqrtEstimate(x)) * std::sqrt(double(x)) - 1), estimateBound) << x;
    }
}

#if defined(__x86_64__) || defined(__i386__)
TEST(Estimates, AreTheProcessorsAndNotDivisions)
{
    int coarse = 0, coarseRoots = 0, total = 0;
    for (float x : samples(0, 1)) {
        coarse += std::fabs(double(reciprocalEstimate(x)) * x - 1) > 0x1p-20;
        coarseRoots += std::fabs(double(reciprocalSqrtEstimate(x)) * std::sqrt(double(x)) - 1) > 0x1p-20;
        ++total;
    }
    EXPECT_GT(coarse, total / 2);
    EXPECT_GT(coarseRoots, total / 2);
}
#endif

TEST(Estimates, OfZeroAndInfinity)
{
    const float infinity = std::numeric_limits<float>::infinity();
    expectSame(reciprocalEstimate(0.0f), infinity, 0);
    expectSame(reciprocalEstimate(-0.0f), -infinity, 0);
    expectSame(reciprocalEstimate(infinity), 0.0f, infinity);
    expectSame(reciprocalSqrtEstimate(0.0f), infinity, 0);
    expectSame(reciprocalSqrtEstimate(infinity), 0.0f, infinity);
    EXPECT_TRUE(std::isnan(reciprocalSqrtEstimate(-1.0f)));
    EXPECT_TRUE(std::isnan(reciprocalEstimate(std::numeric_limits<float>::quiet_NaN())));
}

TEST(RefinedReciprocal, IsOneStepFromTheEstimate)
{
    std::vector<float> values = samples(-126, 127);
    for (float special :
         {0.0f, -0.0f, std::numeric_limits<float>::infinity(), 1e-40f, std::numeric_limits<float>::quiet_NaN()})
        values.push_back(special);
    for (float x : values) {
        const volatile float r0 = reciprocalEstimate(x);
        const volatile float square = r0 * r0;
        const volatile float correction = x * square;
        const volatile float twice = 2.0f * r0;
        const volatile float expected = twice - correction;
        expectSame(refinedReciprocal(x), expected, x);
    }
}

TEST(RefinedReciprocal, HasTwentyTwoBits)
{
    for (float x : samples(-60, 60))
        ASSERT_LE(std::fabs(double(refinedReciprocal(x)) * x - 1), refinedBound) << x;
}

TEST(RefinedReciprocalSqrt, ScaleFirstMultipliesTheArgumentByTheEstimateFirst)
{
    for (float s : samples(-126, 127)) {
        const volatile float y = reciprocalSqrtEstimate(s);
        volatile float residual = s * y;
        residual = residual * y;
        residual = residual - 3.0f;
        volatile float expected = y * residual;
        expected = expected * -0.5f;
        expectSame(refinedReciprocalSqrtScaleFirst(s), expected, s);
    }
}

TEST(RefinedReciprocalSqrt, SquareFirstSquaresTheEstimateFirst)
{
    for (float s : samples(-126, 127)) {
        const volatile float y = reciprocalSqrtEstimate(s);
        volatile float residual = y * y;
        residual = residual * s;
        residual = 3.0f - residual;
        volatile float expected = y * residual;
        expected = expected * 0.5f;
        expectSame(refinedReciprocalSqrtSquareFirst(s), expected, s);
    }
}

TEST(RefinedReciprocalSqrt, TheTwoFormsDifferInLastBits)
{
    int different = 0;
    for (float s : samples(-10, 10))
        different += refinedReciprocalSqrtScaleFirst(s) != refinedReciprocalSqrtSquareFirst(s);
    EXPECT_GT(different, 0);
}

TEST(RefinedReciprocalSqrt, HasTwentyTwoBits)
{
    for (float s : samples(-100, 100)) {
        const double root = std::sqrt(double(s));
        ASSERT_LE(std::fabs(double(refinedReciprocalSqrtScaleFirst(s)) * root - 1), refinedBound) << s;
        ASSERT_LE(std::fabs(double(refinedReciprocalSqrtSquareFirst(s)) * root - 1), refinedBound) << s;
    }
}

template <class V> class EstimatesOf : public testing::Test {};
using SingleLanes = testing::Types<lanes<float, 4>, lanes<float, 8>, lanes<float, 16>>;
TYPED_TEST_SUITE(EstimatesOf, SingleLanes);

TYPED_TEST(EstimatesOf, EveryLaneHasTheBitsOfTheScalar)
{
    using V = TypeParam;
    constexpr int N = lane_count_v<V>;
    std::vector<float> values = samples(-126, 127);
    for (float special : {0.0f, -0.0f, std::numeric_limits<float>::infinity(), 1e-40f, -1e-40f, -1.0f, -3.0f,
                          std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::max()})
        values.insert(values.end(), {special, 1.0f, special});
    values.resize(values.size() / N * N);
    for (std::size_t i = 0; i < values.size(); i += N) {
        const V x = load<V>(&values[i]);
        const V reciprocal = reciprocalEstimate(x), root = reciprocalSqrtEstimate(x), refined = refinedReciprocal(x);
        const V scaleFirst = refinedReciprocalSqrtScaleFirst(x), squareFirst = refinedReciprocalSqrtSquareFirst(x);
        for (int l = 0; l < N; ++l) {
            const float s = values[i + std::size_t(l)];
            expectSame(lane(reciprocal, l), reciprocalEstimate(s), s);
            expectSame(lane(root, l), reciprocalSqrtEstimate(s), s);
            expectSame(lane(refined, l), refinedReciprocal(s), s);
            expectSame(lane(scaleFirst, l), refinedReciprocalSqrtScaleFirst(s), s);
            expectSame(lane(squareFirst, l), refinedReciprocalSqrtSquareFirst(s), s);
        }
    }
}

} // namespace
} // namespace tarnm
