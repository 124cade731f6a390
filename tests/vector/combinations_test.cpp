// Cross products and sums with constant factors: single cases that callers rely on.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tarnm/tarnm.h"

namespace {

const float x[] = {1, 2, 3}, y[] = {4, 5, 6};

TEST(CrossProduct, WithOneTestsTheStridesAheadOfTheCount)
{
    float d[3];
    EXPECT_EQ(tarnmCrossProduct_vav_32f(x, 2, 4, y, 4, d, 12, 4, 0), StatusBadStride);
    EXPECT_EQ(tarnmCrossProduct_vva_32f(x, 4, y, 2, 4, d, 12, 4, 0), StatusBadCount);
}

TEST(CrossProduct, ListsTestTheShiftsAheadOfTheCountAndTablesBehindIt)
{
    float d[3];
    const float* sources[] = {x, x + 1, x + 2};
    float* results[] = {d, d + 1, d + 2};
    EXPECT_EQ(tarnmCrossProduct_vav_32f_L(sources, 2, 4, y, 4, results, 0, 4, 0), StatusBadRoiShift);
    EXPECT_EQ(tarnmCrossProduct_vav_32f_P(sources, 2, 12, sources, 0, results, 0, 12, 0), StatusBadCount);
}

TEST(CrossProduct, PackedVectorsMayBeOverwritten)
{
    float d[] = {1, 2, 3};
    ASSERT_EQ(tarnmCrossProduct_vv_32f(d, 4, y, 4, d, 4), StatusOk);
    EXPECT_EQ(d[0], -3.0f);
    EXPECT_EQ(d[1], 6.0f);
    EXPECT_EQ(d[2], -3.0f);
}

TEST(CrossProduct, PackedArraysMayBeOverwritten)
{
    float d[37][3];
    for (auto& vector : d)
        for (int k = 0; k < 3; ++k)
            vector[k] = x[k];
    ASSERT_EQ(tarnmCrossProduct_vav_32f(d[0], 12, 4, y, 4, d[0], 12, 4, 37), StatusOk);
    for (const auto& vector : d) {
        EXPECT_EQ(vector[0], -3.0f);
        EXPECT_EQ(vector[1], 6.0f);
        EXPECT_EQ(vector[2], -3.0f);
    }
}

TEST(LComb, FactorsOfOneAndZeroAreNoShortcut)
{
    const float bad[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 1};
    float d[3];
    ASSERT_EQ(tarnmLComb_vv_32f(x, 4, 1, bad, 4, 0, d, 4, 3), StatusOk);
    EXPECT_TRUE(std::isnan(d[0]));
    EXPECT_TRUE(std::isnan(d[1]));
    EXPECT_EQ(d[2], 3.0f);
}

TEST(Saxpy, UpdatesItsSecondSourceInPlace)
{
    for (const int stride : {4, 8}) {
        float v[40], sum[40], expected[40];
        for (int k = 0; k < 40; ++k) {
            v[k] = float(k) * 0.3f;
            sum[k] = float(k) - 7;
        }
        const int length = stride == 4 ? 40 : 20;
        for (int k = 0; k < 40; ++k)
            expected[k] = sum[k];
        for (int k = 0; k < length; ++k) {
            const int at = k * stride / 4;
            const float scaled = 1.7f * v[at];
            expected[at] = scaled + sum[at];
        }
        ASSERT_EQ(tarnmSaxpy_vv_32f(v, stride, 1.7f, sum, stride, sum, stride, length), StatusOk);
        for (int k = 0; k < 40; ++k)
            EXPECT_EQ(sum[k], expected[k]) << "stride " << stride << ", element " << k;
    }
}

} // namespace
