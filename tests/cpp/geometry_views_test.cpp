// The geometry kit through the C++ layer: one vector, arrays with gaps, and what it refuses.
#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "tarnm/tarnm.hpp"

namespace tarnm::test {
namespace {

const matrix4 moved = multiply(rotation_z(0.5F), translation(1, 2, 3));

TEST(GeometryViews, ArraysHaveTheBitsOfSingleVectors)
{
    struct vertex {
        float place[3];
        float colour[2];
    };
    std::vector<vertex> vertices(5);
    for (int n = 0; n < 5; ++n)
        for (int k = 0; k < 3; ++k)
            vertices[n].place[k] = static_cast<float>(n * k) - 1.5F;
    const vector_array<const float> places(vertices[0].place, 5, 3, {.object = sizeof(vertex)});
    std::vector<vector4> full(5);
    std::vector<vector3> points(5), directions(5);
    transform(moved, places, full);
    transform_point(moved, places, points);
    transform_direction(moved, places, directions);
    for (int n = 0; n < 5; ++n) {
        vector4 one_full;
        vector3 one_point, one_direction;
        transform(moved, vertices[n].place, one_full);
        transform_point(moved, vertices[n].place, one_point);
        transform_direction(moved, vertices[n].place, one_direction);
        EXPECT_EQ(full[n], one_full);
        EXPECT_EQ(points[n], one_point);
        EXPECT_EQ(directions[n], one_direction);
        const float x = vertices[n].place[0], y = vertices[n].place[1];
        EXPECT_NEAR(points[n][0], std::cos(0.5F) * x - std::sin(0.5F) * y + 1, 1e-5F);
        EXPECT_NEAR(directions[n][1], std::sin(0.5F) * x + std::cos(0.5F) * y, 1e-5F);
        EXPECT_EQ(full[n][3], 1);
    }
}

TEST(GeometryViews, SizesAndStridesThatDoNotFitAreRefused)
{
    float x[30] = {};
    vector3 three;
    vector4 four;
    EXPECT_EQ(transform(moved, three, three, std::nothrow), StatusSizeMismatch);
    EXPECT_EQ(transform_point(moved, four, four, std::nothrow), StatusSizeMismatch);
    EXPECT_EQ(transform_point(moved, vector_view<float>(x, 3, {.element = 8}), three, std::nothrow), StatusBadStride);
}

TEST(GeometryViews, OneRightColumnIsNoIdentity)
{
    matrix4 m = identity4();
    EXPECT_TRUE(is_identity(m));
    m[2][1] = 1;
    EXPECT_FALSE(is_identity(m));
}

TEST(GeometryViews, PointsAsColumnsReportEachZeroDivisor)
{
    matrix4 m = identity4();
    m[3] = {1, 0, 0, 0};
    const std::vector<vector3> points{{2, 4, 6}, {0, 1, 1}, {4, 4, 4}};
    std::vector<vector3> result(3);
    std::vector<status> statuses(3);
    EXPECT_EQ(transform_column(m, points, result, statuses), 1);
    EXPECT_EQ(statuses[1], StatusDivByZero);
    EXPECT_EQ(result[0], (vector3{1, 2, 3}));
    EXPECT_EQ(result[2], (vector3{1, 1, 1}));
}

TEST(GeometryViews, VectorsByValue)
{
    EXPECT_EQ(length(vector2{3, 4}), 5);
    EXPECT_EQ(length_squared(vector3{1, 2, 2}), 9);
    EXPECT_EQ(interpolate(vector3{0, 0, 0}, vector3{2, 4, 6}, 0.5F), (vector3{1, 2, 3}));
    EXPECT_EQ(larger(vector2{1, 5}, vector2{3, 2}), (vector2{3, 5}));
    EXPECT_EQ(smaller(vector2{1, 5}, vector2{3, 2}), (vector2{1, 2}));
    EXPECT_EQ(barycentric(vector2{0, 0}, vector2{2, 0}, vector2{0, 4}, 0.5F, 0.25F), (vector2{1, 1}));
    EXPECT_EQ(catmull_rom(vector2{0, 0}, vector2{1, 1}, vector2{2, 2}, vector2{3, 3}, 0), (vector2{1, 1}));
    EXPECT_EQ(hermite(vector2{1, 2}, vector2{0, 0}, vector2{3, 4}, vector2{0, 0}, 0), (vector2{1, 2}));
    EXPECT_NEAR(length(normalized(vector4{1, 2, 3, 4})), 1, 1e-6F);
}

} // namespace
} // namespace tarnm::test
