// Edge cases of interpolation and curves.
#include "bits.h"
#include "tarnm/tarnm.h"

namespace tarnm::test {
namespace {

using V2 = std::array<float, 2>;
using V3 = std::array<float, 3>;
using V4 = std::array<float, 4>;

TEST(GeometryCurves, LinearAtZeroIsTheFirstVector)
{
    const V2 a = {0.1f, -7}, b = {1e6f, 3};
    V2 d;
    EXPECT_EQ(tarnmInterpolationLinear_v2_32f(a.data(), b.data(), 0, d.data()), StatusOk);
    expectSame(d, a);
}

// a + (b - a) is not b where b - a rounds.
TEST(GeometryCurves, LinearAtOneMayDifferFromTheSecondVector)
{
    const V2 a = {1, 1}, b = {1e-8f, 5};
    V2 d;
    EXPECT_EQ(tarnmInterpolationLinear_v2_32f(a.data(), b.data(), 1, d.data()), StatusOk);
    expectSame(d, V2{0, 5});
}

TEST(GeometryCurves, LinearExtrapolates)
{
    const V2 a = {1, 1}, b = {2, 4};
    V2 d;
    EXPECT_EQ(tarnmInterpolationLinear_v2_32f(a.data(), b.data(), 2, d.data()), StatusOk);
    expectSame(d, V2{3, 7});
    EXPECT_EQ(tarnmInterpolationLinear_v2_32f(a.data(), b.data(), -1, d.data()), StatusOk);
    expectSame(d, V2{0, -2});
}

TEST(GeometryCurves, BarycentricWeightsBelongToTheSecondAndThirdVector)
{
    const V3 a = {1, 2, 3}, b = {5, 7, 9}, c = {-1, -2, -4};
    V3 d;
    EXPECT_EQ(tarnmBaryCentric_v3_32f(a.data(), b.data(), c.data(), 0, 0, d.data()), StatusOk);
    expectSame(d, a);
    EXPECT_EQ(tarnmBaryCentric_v3_32f(a.data(), b.data(), c.data(), 1, 0, d.data()), StatusOk);
    expectSame(d, b);
    EXPECT_EQ(tarnmBaryCentric_v3_32f(a.data(), b.data(), c.data(), 0, 1, d.data()), StatusOk);
    expectSame(d, c);
}

TEST(GeometryCurves, HermiteAtZeroIsTheStartAndIgnoresTheTangents)
{
    Random random(7);
    for (int i = 0; i < 100; ++i) {
        const V3 a = random.array<3>(), b = random.array<3>(), c = random.array<3>(), e = random.array<3>();
        V3 d;
        EXPECT_EQ(tarnmHermite_v3_32f(a.data(), b.data(), c.data(), e.data(), 0, d.data()), StatusOk);
        expectSame(d, a);
    }
}

TEST(GeometryCurves, HermiteAtOneIsTheEndUpToRounding)
{
    Random random(8);
    for (int i = 0; i < 100; ++i) {
        const V3 a = random.array<3>(), b = random.array<3>(), c = random.array<3>(), e = random.array<3>();
        V3 d;
        EXPECT_EQ(tarnmHermite_v3_32f(a.data(), b.data(), c.data(), e.data(), 1, d.data()), StatusOk);
        for (int k = 0; k < 3; ++k) {
            EXPECT_EQ(d[k], -(a[k] - c[k]) + a[k]);
            EXPECT_NEAR(d[k], c[k], 4 * std::numeric_limits<float>::epsilon());
        }
    }
}

// Between the ends: the usual cubic in double precision, to a few units of the sum of magnitudes.
TEST(GeometryCurves, HermiteIsTheCubicOfEndsAndTangents)
{
    Random random(9);
    for (int i = 0; i < 1000; ++i) {
        const V4 a = random.array<4>(), b = random.array<4>(), c = random.array<4>(), e = random.array<4>();
        const double s = random.number(0, 1), s2 = s * s, s3 = s * s2;
        V4 d;
        EXPECT_EQ(tarnmHermite_v4_32f(a.data(), b.data(), c.data(), e.data(), float(s), d.data()), StatusOk);
        for (int k = 0; k < 4; ++k) {
            const double value =
                (2 * s3 - 3 * s2 + 1) * a[k] + (s3 - 2 * s2 + s) * b[k] + (3 * s2 - 2 * s3) * c[k] + (s3 - s2) * e[k];
            const double magnitude = std::abs(a[k]) + std::abs(b[k]) + std::abs(c[k]) + std::abs(e[k]);
            EXPECT_NEAR(d[k], value, 4 * std::numeric_limits<float>::epsilon() * magnitude);
        }
    }
}

TEST(GeometryCurves, CatmullRomAtZeroIsTheSecondVector)
{
    Random random(10);
    for (int i = 0; i < 100; ++i) {
        const V3 a = random.array<3>(), b = random.array<3>(), c = random.array<3>(), e = random.array<3>();
        V3 d;
        EXPECT_EQ(tarnmInterpolationCatmullRom_v3_32f(a.data(), b.data(), c.data(), e.data(), 0, d.data()), StatusOk);
        expectSame(d, b);
    }
}

TEST(GeometryCurves, CatmullRomIsTheHermiteOfItsTangents)
{
    Random random(11);
    const V4 a = random.array<4>(), b = random.array<4>(), c = random.array<4>(), e = random.array<4>();
    V4 tangentB, tangentC, expected, d;
    for (int k = 0; k < 4; ++k) {
        tangentB[k] = (c[k] - a[k]) * 0.5f;
        tangentC[k] = (e[k] - b[k]) * 0.5f;
    }
    tarnmHermite_v4_32f(b.data(), tangentB.data(), c.data(), tangentC.data(), 0.3f, expected.data());
    EXPECT_EQ(tarnmInterpolationCatmullRom_v4_32f(a.data(), b.data(), c.data(), e.data(), 0.3f, d.data()), StatusOk);
    expectSame(d, expected);
}

TEST(GeometryCurves, ResultMayBeAnySource)
{
    Random random(12);
    const std::array<V4, 4> sources = {random.array<4>(), random.array<4>(), random.array<4>(), random.array<4>()};
    const auto check = [&](int count, auto call) {
        V4 expected;
        call(sources, expected.data());
        for (int k = 0; k < count; ++k) {
            auto copies = sources;
            call(copies, copies[k].data());
            expectSame(copies[k], expected);
        }
    };
    using Sources = std::array<V4, 4>;
    check(2, [](const Sources& s, float* d) { tarnmInterpolationLinear_v4_32f(s[0].data(), s[1].data(), 0.3f, d); });
    check(3, [](const Sources& s, float* d) {
        tarnmBaryCentric_v4_32f(s[0].data(), s[1].data(), s[2].data(), 0.3f, 0.2f, d);
    });
    check(4, [](const Sources& s, float* d) {
        tarnmHermite_v4_32f(s[0].data(), s[1].data(), s[2].data(), s[3].data(), 0.3f, d);
    });
    check(4, [](const Sources& s, float* d) {
        tarnmInterpolationCatmullRom_v4_32f(s[0].data(), s[1].data(), s[2].data(), s[3].data(), 0.3f, d);
    });
}

TEST(GeometryCurves, NullPointersFault)
{
    V2 d = {1, 2};
    EXPECT_DEATH(tarnmInterpolationLinear_v2_32f(d.data(), nullptr, 0, d.data()), "");
}

} // namespace
} // namespace tarnm::test
