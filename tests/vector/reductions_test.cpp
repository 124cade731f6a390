// Scalar products and norms: single cases that callers rely on.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "tarnm/tarnm.h"

namespace {

float norm(const std::vector<float>& v)
{
    float result = -1;
    EXPECT_EQ(tarnmL2Norm_v_32f(v.data(), 4, &result, int(v.size())), StatusOk);
    return result;
}

TEST(L2Norm, OfTwoElementsIsThePlainSum) { EXPECT_EQ(norm({3, 4}), 5.0f); }

TEST(L2Norm, OverflowsWhereTheSumOfSquaresDoes)
{
    EXPECT_EQ(norm({1e30f, 1e30f}), std::numeric_limits<float>::infinity());
}

TEST(L2Norm, UnderflowsToZero) { EXPECT_EQ(norm({1e-30f, 1e-30f, 1e-30f}), 0.0f); }

TEST(DotProduct, OfOneElementIsTheProduct)
{
    const float a = 3, b = -2;
    float result = 0;
    ASSERT_EQ(tarnmDotProduct_vv_32f(&a, 4, &b, 4, &result, 1), StatusOk);
    EXPECT_EQ(result, -6.0f);
}

// One large and many small products: their sum tells whether the small ones met in lanes.
struct Telling {
    alignas(32) float a[16];
    alignas(32) float b[16];

    Telling()
    {
        for (int k = 0; k < 16; ++k) {
            a[k] = k == 0 ? 16777216.0f : 1.0f;
            b[k] = 1.0f;
        }
    }
    float dot(int length) const
    {
        float result = 0;
        EXPECT_EQ(tarnmDotProduct_vv_32f(a, 4, b, 4, &result, length), StatusOk);
        return result;
    }
};

TEST(DotProduct, OfSevenAlignedElementsIsOneAscendingSum)
{
    // Each 1 is lost beside 2^24.
    EXPECT_EQ(Telling().dot(7), 16777216.0f);
}

TEST(DotProduct, OfEightAlignedElementsIsOneStepOfLanes)
{
    // Lane 4 loses its 1 to lane 0, the other three pairs survive.
    EXPECT_EQ(Telling().dot(8), 16777216.0f + 2.0f + 4.0f);
}

TEST(DotProduct, DependsInTheLastBitsOnTheElementStride)
{
    const float p[] = {16777216.0f, 1.0f, 1.0f}, ones[] = {1, 1, 1};
    float strided[6] = {}, packedResult = 0, stridedResult = 0;
    for (int k = 0; k < 3; ++k)
        strided[2 * k] = p[k];
    ASSERT_EQ(tarnmDotProduct_vv_32f(p, 4, ones, 4, &packedResult, 3), StatusOk);
    ASSERT_EQ(tarnmDotProduct_vv_32f(strided, 8, ones, 4, &stridedResult, 3), StatusOk);
    EXPECT_EQ(packedResult, 16777216.0f);  // (p0 + p1) + p2
    EXPECT_EQ(stridedResult, 16777218.0f); // (p1 + p2) + p0
}

TEST(DotProduct, OfAnObjectAloneAndInAnArrayHasTheSameBits)
{
    constexpr int count = 19;
    for (int length = 3; length <= 6; ++length) {
        std::vector<double> a(std::size_t(length) * count), b(a.size());
        for (std::size_t i = 0; i < a.size(); ++i) {
            a[i] = std::sin(double(i + 1));
            b[i] = std::cos(double(3 * i));
        }
        std::vector<double> results(count);
        const int stride = length * 8;
        ASSERT_EQ(tarnmDotProduct_vava_64f(a.data(), stride, 8, b.data(), stride, 8, results.data(), length, count),
                  StatusOk);
        for (int n = 0; n < count; ++n) {
            double alone = 0;
            ASSERT_EQ(
                tarnmDotProduct_vv_64f(&a[std::size_t(n) * length], 8, &b[std::size_t(n) * length], 8, &alone, length),
                StatusOk);
            EXPECT_EQ(results[n], alone) << "length " << length << ", object " << n;
        }
    }
}

} // namespace
