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

template <class T, class OfArrays, class WithOne, class OneWith>
void expectPackedCrossProducts(OfArrays ofArrays, WithOne withOne, OneWith oneWith)
{
    constexpr int size = sizeof(T), stride = 3 * size, most = 40;
    for (int count = 1; count <= most; ++count) {
        T a[3 * most], b[3 * most], d[3][3 * most + 1];
        for (int i = 0; i < 3 * count; ++i) {
            a[i] = T(std::sin(i + 1));
            b[i] = T(std::cos(3 * i));
        }
        for (auto& result : d)
            result[3 * count] = 77;
        ASSERT_EQ(ofArrays(a, stride, size, b, stride, size, d[0], stride, size, count), StatusOk);
        ASSERT_EQ(withOne(a, stride, size, b, size, d[1], stride, size, count), StatusOk);
        ASSERT_EQ(oneWith(a, size, b, stride, size, d[2], stride, size, count), StatusOk);
        for (int i = 0; i < 3 * count; ++i) {
            const int next = i % 3 < 2 ? i + 1 : i - 2, afterNext = i % 3 == 0 ? i + 2 : i - 1;
            const auto element = [](const T* x, int j, const T* y, int k, int l, int m) {
                const T first = x[j] * y[k], second = x[l] * y[m];
                return first - second;
            };
            ASSERT_EQ(d[0][i], element(a, next, b, afterNext, afterNext, next)) << count << ", element " << i;
            ASSERT_EQ(d[1][i], element(a, next, b, afterNext % 3, afterNext, next % 3)) << count << ", element " << i;
            ASSERT_EQ(d[2][i], element(a, next % 3, b, afterNext, afterNext % 3, next)) << count << ", element " << i;
        }
        for (const auto& result : d)
            ASSERT_EQ(result[3 * count], T(77)) << "behind the last of " << count;
    }
}

TEST(CrossProduct, OfPackedArraysIsTheFormulaAtEveryCount)
{
    expectPackedCrossProducts<float>(tarnmCrossProduct_vava_32f, tarnmCrossProduct_vav_32f, tarnmCrossProduct_vva_32f);
    expectPackedCrossProducts<double>(tarnmCrossProduct_vava_64f, tarnmCrossProduct_vav_64f, tarnmCrossProduct_vva_64f);
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
