// Edge cases of projection to the viewport and back.
#include "bits.h"
#include "tarnm/tarnm.h"

namespace tarnm::test {
namespace {

using V3 = std::array<float, 3>;

struct Scene {
    Matrix projection, view, world;
    float width = 640, height = 480, zMin = 0.1f, zMax = 0.9f;

    tarnmStatus project(const V3& p, V3& d) const
    {
        return tarnmProject_m4v3_32f(projection.data(), view.data(), world.data(), p.data(), width, height, zMin, zMax,
                                     d.data());
    }
    tarnmStatus unproject(const float* p, float* d) const
    {
        return tarnmUnproject_m4v3_32f(projection.data(), view.data(), world.data(), p, width, height, zMin, zMax, d);
    }
    tarnmStatus projectArray(const float* p, int pStride, float* d, int dStride, int count) const
    {
        return tarnmProject_m4v3a_32f(projection.data(), view.data(), world.data(), p, pStride, width, height, zMin,
                                      zMax, d, dStride, count);
    }
    tarnmStatus unprojectArray(const float* p, int pStride, float* d, int dStride, int count) const
    {
        return tarnmUnproject_m4v3a_32f(projection.data(), view.data(), world.data(), p, pStride, width, height, zMin,
                                        zMax, d, dStride, count);
    }
    V3 normalized(const V3& p) const
    {
        return {2 * p[0] / width - 1, -2 * p[1] / height + 1, (p[2] - zMin) / (zMax - zMin)};
    }
};

Scene plainScene() { return {unit, unit, unit}; }

Scene someScene()
{
    Scene scene;
    const float eye[] = {3, 4, -6}, at[] = {0, 0, 0}, up[] = {0, 1, 0};
    tarnmLookAtLH_m4_32f(eye, at, up, scene.view.data());
    tarnmPerspectiveFovLH_m4_32f(1, 4.0f / 3, 1, 20, scene.projection.data());
    tarnmRotationYawPitchRoll_m4_32f(0.3f, 0.2f, 0.1f, scene.world.data());
    return scene;
}

Scene singularScene()
{
    Scene scene = someScene();
    scene.world.fill(0);
    return scene;
}

TEST(GeometryViewport, CentreOfClipSpaceIsTheCentreOfTheViewport)
{
    V3 d;
    EXPECT_EQ(plainScene().project({0, 0, 0}, d), StatusOk);
    expectSame(d, V3{320, 240, 0.1f});
}

TEST(GeometryViewport, YRunsDownwards)
{
    V3 d;
    EXPECT_EQ(plainScene().project({1, 1, 1}, d), StatusOk);
    expectSame(d, V3{640, 0, 0.1f + (0.9f - 0.1f)});
}

TEST(GeometryViewport, DivisorOfZeroGoesThrough)
{
    Scene scene = plainScene();
    scene.projection[15] = 0;
    V3 d;
    EXPECT_EQ(scene.project({1, 1, 0}, d), StatusOk);
    expectSame(d, V3{infinity, -infinity, nan});
}

// The array member multiplies the matrices first: as near as rounding allows, but not the same bits.
TEST(GeometryViewport, ArrayOfPointsDiffersFromOnePointInRoundingOnly)
{
    const Scene scene = someScene();
    Random random(18);
    int different = 0;
    for (int i = 0; i < 100; ++i) {
        const V3 p = random.array<3>();
        V3 one, many;
        EXPECT_EQ(scene.project(p, one), StatusOk);
        EXPECT_EQ(scene.projectArray(p.data(), 12, many.data(), 12, 1), StatusOk);
        for (int k = 0; k < 3; ++k) {
            EXPECT_NEAR(one[k], many[k], 1e-3);
            different += one[k] != many[k];
        }
    }
    EXPECT_GT(different, 0);
}

TEST(GeometryViewport, ProjectThenUnprojectGivesThePointBack)
{
    const Scene scene = someScene();
    Random random(19);
    for (int i = 0; i < 1000; ++i) {
        const V3 p = random.array<3>();
        V3 d;
        EXPECT_EQ(scene.project(p, d), StatusOk);
        EXPECT_EQ(scene.unproject(d.data(), d.data()), StatusOk);
        // A depth is right to eps, and near the far plane 1/20 of the range of depths stands for half of the distances.
        for (int k = 0; k < 3; ++k)
            EXPECT_NEAR(d[k], p[k], 2e-5);
        EXPECT_EQ(scene.projectArray(p.data(), 12, d.data(), 12, 1), StatusOk);
        EXPECT_EQ(scene.unprojectArray(d.data(), 12, d.data(), 12, 1), StatusOk);
        for (int k = 0; k < 3; ++k)
            EXPECT_NEAR(d[k], p[k], 2e-5);
    }
}

TEST(GeometryViewport, SingularUnprojectionLeavesTheNormalizedPoint)
{
    const Scene scene = singularScene();
    const V3 p = {100, 200, 0.5f};
    V3 d = {7, 7, 7};
    EXPECT_EQ(scene.unproject(p.data(), d.data()), StatusSingular);
    expectSame(d, scene.normalized(p));
    V3 inPlace = p;
    EXPECT_EQ(scene.unproject(inPlace.data(), inPlace.data()), StatusSingular);
    expectSame(inPlace, scene.normalized(p));
}

TEST(GeometryViewport, SingularUnprojectionOfAnArrayWritesNothing)
{
    const std::vector<float> points = Random(20).vector(30);
    std::vector<float> d(30, 7.0f);
    EXPECT_EQ(singularScene().unprojectArray(points.data(), 12, d.data(), 12, 10), StatusSingular);
    expectSame(d, std::vector<float>(30, 7.0f));
}

TEST(GeometryViewport, UnprojectionOfNoPointsDoesNotLookAtTheMatrices)
{
    V3 d = {7, 7, 7};
    for (const int count : {0, -1}) {
        EXPECT_EQ(singularScene().unprojectArray(d.data(), 12, d.data(), 12, count), StatusOk);
        EXPECT_EQ(tarnmUnproject_m4v3a_32f(nullptr, nullptr, nullptr, nullptr, 12, 1, 1, 0, 1, nullptr, 12, count),
                  StatusOk);
        EXPECT_EQ(tarnmProject_m4v3a_32f(nullptr, nullptr, nullptr, nullptr, 12, 1, 1, 0, 1, nullptr, 12, count),
                  StatusOk);
    }
    expectSame(d, V3{7, 7, 7});
}

TEST(GeometryViewport, NaNInAMatrixIsNotSingular)
{
    Scene scene = someScene();
    scene.view[5] = nan;
    V3 d = {1, 2, 3};
    EXPECT_EQ(scene.unproject(d.data(), d.data()), StatusOk);
    for (const float element : d)
        EXPECT_TRUE(std::isnan(element));
}

TEST(GeometryViewport, ArraysOfPointsInPlaceAndOverlapping)
{
    const Scene scene = someScene();
    constexpr int objects = 29;
    const auto check = [&](auto member, int sourceStride, int result, int resultStride) {
        std::vector<float> memory = Random(21).vector(400), expected = memory;
        const auto at = [](std::vector<float>& values, int bytes) { return values.data() + 100 + bytes / 4; };
        for (int n = 0; n < objects; ++n)
            EXPECT_EQ(member(at(expected, n * sourceStride), 12, at(expected, result + n * resultStride), 12, 1),
                      StatusOk);
        EXPECT_EQ(member(at(memory, 0), sourceStride, at(memory, result), resultStride, objects), StatusOk);
        expectSame(memory, expected);
    };
    const auto both = [&](int sourceStride, int result, int resultStride) {
        check([&](auto... a) { return scene.projectArray(a...); }, sourceStride, result, resultStride);
        check([&](auto... a) { return scene.unprojectArray(a...); }, sourceStride, result, resultStride);
    };
    both(12, 0, 12);
    both(16, 0, 16);
    both(12, 400, 12);
    both(12, 4, 12);
    both(12, -4, 12);
    both(16, 0, 12);
    both(12, 12, 16);
    both(0, 100, 12);
    both(12, 400, 0);
}

} // namespace
} // namespace tarnm::test
