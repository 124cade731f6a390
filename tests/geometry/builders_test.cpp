// Edge cases of the builders of transforms.
#include <numbers>

#include "bits.h"
#include "tarnm/tarnm.h"

namespace tarnm::test {
namespace {

constexpr float pi = std::numbers::pi_v<float>;

// Filled with NaN ahead, so that an element that is not written shows.
template <class Build> Matrix built(Build build)
{
    Matrix m;
    m.fill(nan);
    EXPECT_EQ(build(m.data()), StatusOk);
    return m;
}

TEST(GeometryBuilders, TranslationStandsInTheLastRow)
{
    const Matrix m = built([](float* d) { return tarnmTranslation_m4_32f(2, 3, 4, d); });
    expectSame(m, Matrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 2, 3, 4, 1});
}

TEST(GeometryBuilders, ScalingStandsOnTheDiagonal)
{
    const Matrix m = built([](float* d) { return tarnmScaling_m4_32f(2, -3, 4, d); });
    expectSame(m, Matrix{2, 0, 0, 0, 0, -3, 0, 0, 0, 0, 4, 0, 0, 0, 0, 1});
}

TEST(GeometryBuilders, RotationByZeroIsTheIdentityWithPositiveZeros)
{
    expectSame(built([](float* d) { return tarnmRotationX_m4_32f(0, d); }), unit);
    expectSame(built([](float* d) { return tarnmRotationY_m4_32f(0, d); }), unit);
    expectSame(built([](float* d) { return tarnmRotationZ_m4_32f(0, d); }), unit);
}

// The negative sine is 0 - s: a sine of -0 leaves +0 there and keeps its sign beside it.
TEST(GeometryBuilders, RotationByNegativeZeroKeepsItInTheSineOnly)
{
    Matrix expected = unit;
    expected[4 + 2] = -0.0f;
    expectSame(built([](float* d) { return tarnmRotationX_m4_32f(-0.0f, d); }), expected);
}

TEST(GeometryBuilders, QuarterTurnAboutZTakesXToY)
{
    const Matrix m = built([](float* d) { return tarnmRotationZ_m4_32f(pi / 2, d); });
    EXPECT_EQ(m[1], 1);
    EXPECT_EQ(m[4], -1);
    EXPECT_NEAR(m[0], 0, 1e-7);
    const float x[] = {1, 0, 0, 1};
    float d[4];
    tarnmAffineTransform_m4v4_32f(m.data(), x, d);
    EXPECT_NEAR(d[0], 0, 1e-7);
    EXPECT_EQ(d[1], 1);
    EXPECT_EQ(d[2], 0);
    EXPECT_EQ(d[3], 1);
}

// Sine and cosine are those of the widened angle: in single precision many angles would come out differently.
TEST(GeometryBuilders, SinesAreTakenInDoublePrecision)
{
    Random random(6);
    for (int i = 0; i < 1000; ++i) {
        const float angle = random.number(-1000, 1000);
        const Matrix m = built([&](float* d) { return tarnmRotationX_m4_32f(angle, d); });
        EXPECT_NEAR(m[6], std::sin(double(angle)), 0.5000001 * std::numeric_limits<float>::epsilon() / 2);
        EXPECT_NEAR(m[5], std::cos(double(angle)), 0.5000001 * std::numeric_limits<float>::epsilon() / 2);
    }
}

TEST(GeometryBuilders, RotationAxisNormalizesTheAxis)
{
    const float unitAxis[] = {0, 0.6f, 0.8f}, doubled[] = {0, 1.2f, 1.6f};
    const Matrix m = built([&](float* d) { return tarnmRotationAxis_v3m4_32f(unitAxis, 0.7f, d); });
    expectSame(built([&](float* d) { return tarnmRotationAxis_v3m4_32f(doubled, 0.7f, d); }), m);
}

TEST(GeometryBuilders, RotationAboutCoordinateAxesAgreesWithTheirBuilders)
{
    const auto close = [](const Matrix& a, const Matrix& b) {
        for (int i = 0; i < 16; ++i)
            EXPECT_NEAR(a[i], b[i], 1e-7) << i;
    };
    const float axes[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    const auto about = [&](int axis) {
        return built([&](float* d) { return tarnmRotationAxis_v3m4_32f(axes[axis], 0.7f, d); });
    };
    close(about(0), built([](float* d) { return tarnmRotationX_m4_32f(0.7f, d); }));
    close(about(1), built([](float* d) { return tarnmRotationY_m4_32f(0.7f, d); }));
    close(about(2), built([](float* d) { return tarnmRotationZ_m4_32f(0.7f, d); }));
}

TEST(GeometryBuilders, RotationAboutAZeroAxisIsNaN)
{
    const float axis[] = {0, 0, 0};
    const Matrix m = built([&](float* d) { return tarnmRotationAxis_v3m4_32f(axis, 1, d); });
    expectSame(m, Matrix{nan, nan, nan, 0, nan, nan, nan, 0, nan, nan, nan, 0, 0, 0, 0, 1});
}

TEST(GeometryBuilders, YawPitchRollTurnsFirstByRollThenPitchThenYaw)
{
    const Matrix roll = built([](float* d) { return tarnmRotationZ_m4_32f(0.3f, d); });
    const Matrix pitch = built([](float* d) { return tarnmRotationX_m4_32f(0.5f, d); });
    const Matrix yaw = built([](float* d) { return tarnmRotationY_m4_32f(0.7f, d); });
    Matrix chain;
    tarnmMul_mm4x4_32f(roll.data(), pitch.data(), chain.data());
    tarnmMul_mm4x4_32f(chain.data(), yaw.data(), chain.data());
    const Matrix m = built([](float* d) { return tarnmRotationYawPitchRoll_m4_32f(0.7f, 0.5f, 0.3f, d); });
    for (int i = 0; i < 16; ++i)
        EXPECT_NEAR(m[i], chain[i], 2e-7) << i;
}

constexpr float origin[] = {0, 0, 0}, ahead[] = {0, 0, 1}, upwards[] = {0, 1, 0};

TEST(GeometryBuilders, LookAtAlongZIsTheIdentity)
{
    const Matrix m = built([](float* d) { return tarnmLookAtLH_m4_32f(origin, ahead, upwards, d); });
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(m[i], unit[i]) << i;
}

TEST(GeometryBuilders, LookAtRightHandedMirrorsX)
{
    const Matrix m = built([](float* d) { return tarnmLookAtRH_m4_32f(origin, ahead, upwards, d); });
    EXPECT_EQ(m[0], -1);
    EXPECT_EQ(m[5], 1);
    EXPECT_EQ(m[10], -1);
    EXPECT_EQ(m[15], 1);
}

TEST(GeometryBuilders, LookAtFromThePointItselfIsNaN)
{
    const float eye[] = {1, 2, 3};
    const Matrix expected = {nan, nan, nan, 0, nan, nan, nan, 0, nan, nan, nan, 0, nan, nan, nan, 1};
    expectSame(built([&](float* d) { return tarnmLookAtLH_m4_32f(eye, eye, upwards, d); }), expected);
    expectSame(built([&](float* d) { return tarnmLookAtRH_m4_32f(eye, eye, upwards, d); }), expected);
}

TEST(GeometryBuilders, LookAtAlongUpIsNaNInXAndY)
{
    const Matrix m = built([&](float* d) { return tarnmLookAtLH_m4_32f(origin, upwards, upwards, d); });
    expectSame(m, Matrix{nan, nan, 0, 0, nan, nan, 1, 0, nan, nan, 0, 0, nan, nan, 0, 1});
}

TEST(GeometryBuilders, LookAtTakesTheEyeToTheOrigin)
{
    const float eye[] = {3, -2, 5}, at[] = {1, 1, 1};
    const Matrix m = built([&](float* d) { return tarnmLookAtRH_m4_32f(eye, at, upwards, d); });
    float d[3];
    tarnmAffineTransformCoord_m4v3_32f(m.data(), eye, d);
    for (const float element : d)
        EXPECT_NEAR(element, 0, 1e-6);
}

TEST(GeometryBuilders, HalfTurnFieldOfViewHasAScaleOfAlmostZero)
{
    const Matrix m = built([](float* d) { return tarnmPerspectiveFovLH_m4_32f(pi, 1, 1, 10, d); });
    EXPECT_LT(std::abs(m[5]), 1e-6);
    EXPECT_EQ(m[0], m[5]);
}

TEST(GeometryBuilders, ZeroFieldOfViewGivesInfinity)
{
    const Matrix m = built([](float* d) { return tarnmPerspectiveFovLH_m4_32f(0, 1, 1, 10, d); });
    EXPECT_EQ(m[0], infinity);
    EXPECT_EQ(m[5], infinity);
}

TEST(GeometryBuilders, PerspectivesDivideByPlusOrMinusZ)
{
    const auto check = [](auto member, float sign) {
        const Matrix m = built([&](float* d) { return member(4, 3, 1, 10, d); });
        EXPECT_EQ(m[11], sign);
        EXPECT_EQ(m[15], 0);
    };
    check(tarnmPerspectiveLH_m4_32f, 1);
    check(tarnmPerspectiveRH_m4_32f, -1);
    check(tarnmPerspectiveFovLH_m4_32f, 1);
    check(tarnmPerspectiveFovRH_m4_32f, -1);
}

TEST(GeometryBuilders, PerspectivesMapTheNearPlaneTo0AndTheFarPlaneTo1)
{
    const auto check = [](auto member, float side) {
        const Matrix m = built([&](float* d) { return member(4, 3, 1, 10, d); });
        const float near[] = {0, 0, side * 1}, far[] = {0, 0, side * 10};
        float d[3];
        tarnmAffineTransformCoord_m4v3_32f(m.data(), near, d);
        EXPECT_NEAR(d[2], 0, 1e-6);
        tarnmAffineTransformCoord_m4v3_32f(m.data(), far, d);
        EXPECT_NEAR(d[2], 1, 1e-6);
    };
    check(tarnmPerspectiveLH_m4_32f, 1);
    check(tarnmPerspectiveRH_m4_32f, -1);
    check(tarnmOrthoLH_m4_32f, 1);
    check(tarnmOrthoRH_m4_32f, -1);
}

TEST(GeometryBuilders, OrthoNegatesByASubtractionFromZero)
{
    const Matrix m = built([](float* d) { return tarnmOrthoLH_m4_32f(4, 3, 1, 3, d); });
    EXPECT_EQ(m[14], -0.5f);
    // With equal planes the divisor is +0 in both hands, so that the sign is that of zNear.
    const Matrix empty = built([](float* d) { return tarnmOrthoLH_m4_32f(4, 3, 2, 2, d); });
    EXPECT_EQ(empty[10], infinity);
    EXPECT_EQ(empty[14], infinity);
}

TEST(GeometryBuilders, EmptyVolumesLeaveInfinities)
{
    EXPECT_EQ(built([](float* d) { return tarnmOrthoRH_m4_32f(0, 3, 1, 3, d); })[0], infinity);
    EXPECT_EQ(built([](float* d) { return tarnmPerspectiveLH_m4_32f(4, 3, 2, 2, d); })[10], infinity);
    EXPECT_EQ(built([](float* d) { return tarnmPerspectiveFovRH_m4_32f(1, 0, 1, 2, d); })[0], infinity);
    EXPECT_TRUE(std::isnan(built([](float* d) { return tarnmOrthoOffCenterLH_m4_32f(0, 0, 0, 1, 1, 2, d); })[12]));
}

TEST(GeometryBuilders, OffCentreVolumesAroundTheAxisAreTheCentredOnes)
{
    const auto check = [](auto offCentre, auto centred) {
        const Matrix a = built([&](float* d) { return offCentre(-2, 2, -1, 1, 1, 10, d); });
        const Matrix b = built([&](float* d) { return centred(4, 2, 1, 10, d); });
        for (int i = 0; i < 16; ++i)
            EXPECT_EQ(a[i], b[i]) << i;
    };
    check(tarnmOrthoOffCenterLH_m4_32f, tarnmOrthoLH_m4_32f);
    check(tarnmOrthoOffCenterRH_m4_32f, tarnmOrthoRH_m4_32f);
    check(tarnmPerspectiveOffCenterLH_m4_32f, tarnmPerspectiveLH_m4_32f);
    check(tarnmPerspectiveOffCenterRH_m4_32f, tarnmPerspectiveRH_m4_32f);
}

TEST(GeometryBuilders, NullPointersFault)
{
    EXPECT_DEATH(tarnmRotationX_m4_32f(1, nullptr), "");
    EXPECT_DEATH(tarnmLookAtLH_m4_32f(origin, nullptr, upwards, nullptr), "");
}

} // namespace
} // namespace tarnm::test
