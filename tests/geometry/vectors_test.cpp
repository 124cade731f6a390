// Edge cases of the fixed-size vectors.
#include "bits.h"
#include "tarnm/tarnm.h"

namespace tarnm::test {
namespace {

using V2 = std::array<float, 2>;
using V3 = std::array<float, 3>;
using V4 = std::array<float, 4>;

TEST(GeometryVectors, ZeroVectorNormalizesToNaN)
{
    const V3 zero = {0, 0, 0};
    V3 d = {1, 2, 3};
    EXPECT_EQ(tarnmNormalize_v3_32f(zero.data(), d.data()), StatusOk);
    expectSame(d, V3{nan, nan, nan});
}

TEST(GeometryVectors, OverflowingLengthNormalizesToZero)
{
    const V3 huge = {3e38f, -1, 2};
    V3 d;
    EXPECT_EQ(tarnmNormalize_v3_32f(huge.data(), d.data()), StatusOk);
    expectSame(d, V3{0, -0.0f, 0});
    const V3 infinite = {infinity, -1, 2};
    EXPECT_EQ(tarnmNormalize_v3_32f(infinite.data(), d.data()), StatusOk);
    expectSame(d, V3{nan, -0.0f, 0});
}

TEST(GeometryVectors, NormalizesInPlace)
{
    V2 two = {3, 4};
    EXPECT_EQ(tarnmNormalize_v2_32f(two.data(), two.data()), StatusOk);
    expectSame(two, V2{3.0f / 5, 4.0f / 5});
    V4 four = {2, 4, 5, 6}; // length 9
    EXPECT_EQ(tarnmNormalize_v4_32f(four.data(), four.data()), StatusOk);
    expectSame(four, V4{2.0f / 9, 4.0f / 9, 5.0f / 9, 6.0f / 9});
}

// A true division: 1/L times the element would round twice.
TEST(GeometryVectors, NormalizeDividesEveryElement)
{
    Random random(1);
    for (int i = 0; i < 1000; ++i) {
        const V3 a = random.array<3>();
        V3 d;
        float length;
        tarnmLen_v3_32f(a.data(), &length);
        tarnmNormalize_v3_32f(a.data(), d.data());
        expectSame(d, V3{a[0] / length, a[1] / length, a[2] / length});
    }
}

TEST(GeometryVectors, ElementWiseInPlace)
{
    const V3 a = {1, -2, 3}, b = {4, 5, -6};
    const auto inPlace = [&](auto member, const V3& expected) {
        V3 first = a, second = b;
        EXPECT_EQ(member(first.data(), b.data(), first.data()), StatusOk);
        expectSame(first, expected);
        EXPECT_EQ(member(a.data(), second.data(), second.data()), StatusOk);
        expectSame(second, expected);
    };
    inPlace(tarnmAdd_v3_32f, {5, 3, -3});
    inPlace(tarnmSub_v3_32f, {-3, -7, 9});
    inPlace(tarnmMax_v3_32f, {4, 5, 3});
    inPlace(tarnmMin_v3_32f, {1, -2, -6});
    V3 scaled = a;
    EXPECT_EQ(tarnmMulC_v3_32f(scaled.data(), 2, scaled.data()), StatusOk);
    expectSame(scaled, V3{2, -4, 6});
}

// Every result is stored before the next elements are read, so a result one element on feeds on itself.
TEST(GeometryVectors, ShiftedOverlapFeedsOnItself)
{
    const V4 ones = {1, 1, 1, 1};
    std::array<float, 5> a = {1, 10, 20, 30, 40};
    tarnmAdd_v4_32f(a.data(), ones.data(), a.data() + 1);
    expectSame(a, std::array<float, 5>{1, 2, 3, 4, 5});
    a = {16, 0, 0, 0, 0};
    tarnmSub_v4_32f(a.data(), ones.data(), a.data() + 1);
    expectSame(a, std::array<float, 5>{16, 15, 14, 13, 12});
    a = {1, 0, 0, 0, 0};
    tarnmMulC_v4_32f(a.data(), 2, a.data() + 1);
    expectSame(a, std::array<float, 5>{1, 2, 4, 8, 16});
    a = {3, 0, 0, 0, 0};
    tarnmMax_v4_32f(a.data(), ones.data(), a.data() + 1);
    expectSame(a, std::array<float, 5>{3, 3, 3, 3, 3});
    a = {0, 5, 5, 5, 5};
    tarnmMin_v4_32f(a.data(), ones.data(), a.data() + 1);
    expectSame(a, std::array<float, 5>{0, 0, 0, 0, 0});
}

TEST(GeometryVectors, MaxTakesTheSecondWhereOneIsNaN)
{
    const V2 a = {nan, 1}, b = {2, nan};
    V2 d;
    EXPECT_EQ(tarnmMax_v2_32f(a.data(), b.data(), d.data()), StatusOk);
    expectSame(d, V2{2, nan});
    EXPECT_EQ(tarnmMax_v2_32f(b.data(), a.data(), d.data()), StatusOk);
    expectSame(d, V2{nan, 1});
}

TEST(GeometryVectors, MinAndMaxTakeTheSecondOfEqualZeros)
{
    const V2 plus = {+0.0f, 0}, minus = {-0.0f, 0};
    V2 d;
    EXPECT_EQ(tarnmMin_v2_32f(plus.data(), minus.data(), d.data()), StatusOk);
    EXPECT_TRUE(std::signbit(d[0]));
    EXPECT_EQ(tarnmMin_v2_32f(minus.data(), plus.data(), d.data()), StatusOk);
    EXPECT_FALSE(std::signbit(d[0]));
    EXPECT_EQ(tarnmMax_v2_32f(plus.data(), minus.data(), d.data()), StatusOk);
    EXPECT_TRUE(std::signbit(d[0]));
}

TEST(GeometryVectors, PlanarCrossProductWritesOneElement)
{
    const V2 a = {1, 2}, b = {3, 5};
    V2 d = {7, 8};
    EXPECT_EQ(tarnmCrossProduct_v2_32f(a.data(), b.data(), d.data()), StatusOk);
    expectSame(d, V2{-1, 8});
}

// Not detected: the first element of the result overwrites what the second still needs.
TEST(GeometryVectors, CrossProductOverASourceUsesWhatItHasWritten)
{
    const V3 a = {1, 2, 3}, b = {4, 5, 7};
    V3 over = a;
    EXPECT_EQ(tarnmCrossProduct_v3_32f(over.data(), b.data(), over.data()), StatusOk);
    const float d0 = 2 * 7 - 3 * 5, d1 = 3 * 4 - d0 * 7, d2 = d0 * 5 - d1 * 4;
    expectSame(over, V3{d0, d1, d2});
    over = b;
    EXPECT_EQ(tarnmCrossProduct_v3_32f(a.data(), over.data(), over.data()), StatusOk);
    const float e1 = 3 * d0 - 1 * 7, e2 = 1 * e1 - 2 * d0;
    expectSame(over, V3{d0, e1, e2});
}

TEST(GeometryVectors, CrossProductOfThreeOverASourceUsesWhatItHasWritten)
{
    Random random(2);
    const V4 b = random.array<4>(), c = random.array<4>();
    V4 a = random.array<4>(), over = a;
    EXPECT_EQ(tarnmCrossProduct_v4_32f(over.data(), b.data(), c.data(), over.data()), StatusOk);
    const auto m = [&](int i, int j) { return b[i] * c[j] - b[j] * c[i]; };
    a[0] = (a[1] * m(2, 3) - a[2] * m(1, 3)) + a[3] * m(1, 2);
    a[1] = 0.0f - ((a[0] * m(2, 3) - a[2] * m(0, 3)) + a[3] * m(0, 2));
    a[2] = (a[0] * m(1, 3) - a[1] * m(0, 3)) + a[3] * m(0, 1);
    a[3] = 0.0f - ((a[0] * m(1, 2) - a[1] * m(0, 2)) + a[2] * m(0, 1));
    expectSame(over, a);
}

TEST(GeometryVectors, CrossProductOfThreeZerosIsPositiveZero)
{
    const V4 zero = {0, 0, 0, 0};
    V4 d = {1, 2, 3, 4};
    EXPECT_EQ(tarnmCrossProduct_v4_32f(zero.data(), zero.data(), zero.data(), d.data()), StatusOk);
    expectSame(d, V4{+0.0f, +0.0f, +0.0f, +0.0f});
}

TEST(GeometryVectors, CrossProductOfThreeIsOrthogonal)
{
    const V4 a = {1, 0, 0, 0}, b = {0, 1, 0, 0}, c = {0, 0, 1, 0};
    V4 d;
    EXPECT_EQ(tarnmCrossProduct_v4_32f(a.data(), b.data(), c.data(), d.data()), StatusOk);
    expectSame(d, V4{0, 0, 0, -1});
}

// Large elements of opposite sign make the grouping visible.
TEST(GeometryVectors, DotProductGroupsFourElementsInPairs)
{
    const V4 a = {1e8f, 1, -1e8f, 1}, ones = {1, 1, 1, 1};
    float d;
    EXPECT_EQ(tarnmDotProduct_v4_32f(a.data(), ones.data(), &d), StatusOk);
    EXPECT_EQ(d, (1e8f + 1) + (-1e8f + 1));
    EXPECT_NE(d, ((1e8f + 1) + -1e8f) + 1);
}

TEST(GeometryVectors, NullPointersFault)
{
    V3 d;
    EXPECT_DEATH(tarnmAdd_v3_32f(nullptr, d.data(), d.data()), "");
    EXPECT_DEATH(tarnmLen_v2_32f(d.data(), nullptr), "");
}

} // namespace
} // namespace tarnm::test
