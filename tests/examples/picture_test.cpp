// Pictures of clouds: what is seen where, in which light, and the files.
#include "image.h"
#include "picture.h"

#include <gtest/gtest.h>
#include <png.h>

#include <cmath>
#include <cstdio>

namespace cloud {
namespace {

constexpr int width = 160, height = 90;

struct Scene {
    Points<float> points;
    Surface surface;

    void add(const Point<float>& point, const Point<float>& normal)
    {
        points.push_back(point);
        surface.normals.push_back(normal);
        surface.curvature.push_back(0);
    }
};

// A square of points with a side of 2 at a height, facing upward.
Scene square(float at)
{
    Scene scene;
    for (int i = 0; i < 60; ++i)
        for (int j = 0; j < 60; ++j)
            scene.add({static_cast<float>(i) / 29.5F - 1, static_cast<float>(j) / 29.5F - 1, at}, {0, 0, 1});
    return scene;
}

Picture pictureOf(const Scene& scene, const Camera& camera = {})
{
    return pictureOf(scene.points, scene.surface, camera, width, height);
}

const Colour sky = pictureOf(square(0)).image.at(0, 0);

int pointsOfCloud(const Image& image)
{
    int count = 0;
    for (const Colour& colour : image.pixels)
        count += colour != sky;
    return count;
}

float brightness(const Colour& colour) { return colour[0] + colour[1] + colour[2]; }

TEST(Picture, FillsTheViewWithoutLeavingIt)
{
    for (const float azimuth : {-170.0F, -60.0F, 0.0F, 45.0F, 120.0F})
        for (const float elevation : {-60.0F, 5.0F, 35.0F, 80.0F}) {
            const Image image = pictureOf(square(0), {.azimuth = azimuth, .elevation = elevation}).image;
            bool leftOrTop = false, touchesEdge = false;
            for (int x = 0; x < width; ++x)
                touchesEdge |= image.at(x, 0) != sky || image.at(x, height - 1) != sky;
            for (int y = 0; y < height; ++y)
                touchesEdge |= image.at(0, y) != sky || image.at(width - 1, y) != sky;
            for (int x = 0; x < width; ++x)
                for (int y = 0; y < height; ++y)
                    if (x < width / 10 || y < height / 10) leftOrTop |= image.at(x, y) != sky;
            EXPECT_FALSE(touchesEdge) << azimuth << ' ' << elevation;
            EXPECT_TRUE(leftOrTop) << azimuth << ' ' << elevation;
        }
}

TEST(Picture, ZoomEnlarges)
{
    const int usual = pointsOfCloud(pictureOf(square(0)).image);
    EXPECT_LT(pointsOfCloud(pictureOf(square(0), {.zoom = 0.5F}).image), usual / 3);
    EXPECT_GT(pointsOfCloud(pictureOf(square(0), {.zoom = 1.5F}).image), usual * 3 / 2);
}

TEST(Picture, NearerPointsHideFartherOnes)
{
    const Camera fromAbove = {.azimuth = 0, .elevation = 89};
    Scene upper = square(0.5F), both = square(0.5F);
    const Scene lower = square(-0.5F);
    for (std::size_t n = 0; n < lower.points.size(); ++n)
        if (std::abs(lower.points[n][0]) < 0.5F && std::abs(lower.points[n][1]) < 0.5F)
            both.add(lower.points[n], {0.8F, 0, 0.6F});
    // Keeps the bounds, and with them the camera and the colours, equal.
    both.add({1, 1, -0.5F}, {0, 0, 1});
    upper.add({1, 1, -0.5F}, {0, 0, 1});
    const Image hidden = pictureOf(both, fromAbove).image;
    const Colour centre = hidden.at(width / 2, height / 2), beside = hidden.at(width / 2 + 20, height / 2);
    for (std::size_t k = 0; k < 3; ++k)
        EXPECT_NEAR(centre[k], beside[k], 0.02F);
}

TEST(Picture, SurfacesThatFaceTheLightAreBrighter)
{
    // The light comes from the left of the camera, which looks along -x here.
    const Camera camera = {.azimuth = 0, .elevation = 35};
    const auto brightnessOf = [&](const Point<float>& normal) {
        Scene scene = square(0);
        for (Point<float>& each : scene.surface.normals)
            each = normal;
        return brightness(pictureOf(scene, camera).image.at(width / 2, height / 2));
    };
    EXPECT_GT(brightnessOf({0, -0.6F, 0.8F}), brightnessOf({0, 0.6F, 0.8F}));
    EXPECT_GT(brightnessOf({0.6F, 0, 0.8F}), brightnessOf({-0.6F, 0, 0.8F}));
}

TEST(Picture, NormalsAreTurnedToTheCamera)
{
    Scene turned = square(0);
    for (Point<float>& each : turned.surface.normals)
        each[2] = -1;
    EXPECT_EQ(pictureOf(turned).image.pixels, pictureOf(square(0)).image.pixels);
}

TEST(Picture, CloudOfOnePointIsSeen)
{
    Scene scene;
    scene.add({0, 0, 0}, {0, 0, 1});
    EXPECT_GE(pointsOfCloud(pictureOf(scene).image), 1);
}

TEST(Picture, DoublePrecisionLooksTheSame)
{
    const Scene scene = square(0);
    Points<double> points;
    for (const Point<float>& point : scene.points)
        points.push_back({point[0], point[1], point[2]});
    EXPECT_EQ(pictureOf(points, scene.surface, {}, width, height).image.pixels, pictureOf(scene).image.pixels);
}

TEST(Image, ReducedIsTheMeanOfBlocks)
{
    Image image(4, 2);
    for (int x = 0; x < 4; ++x)
        image.at(x, 1) = {static_cast<float>(x), 1, 0};
    const Image half = reduced(image, 2);
    ASSERT_EQ(half.width, 2);
    ASSERT_EQ(half.height, 1);
    EXPECT_EQ(half.at(0, 0), (Colour{0.25F, 0.5F, 0}));
    EXPECT_EQ(half.at(1, 0), (Colour{1.25F, 0.5F, 0}));
}

TEST(Image, PngHoldsThePixels)
{
    const std::string file = testing::TempDir() + "cloud_image_test.png";
    Image image(3, 2);
    image.at(2, 0) = {1, 0.5F, 0};
    image.at(0, 1) = {-1, 2, 0.2F};
    writePng(file, image);

    png_image read{};
    read.version = PNG_IMAGE_VERSION;
    ASSERT_NE(png_image_begin_read_from_file(&read, file.c_str()), 0) << read.message;
    read.format = PNG_FORMAT_RGB;
    std::vector<std::uint8_t> bytes(PNG_IMAGE_SIZE(read));
    ASSERT_NE(png_image_finish_read(&read, nullptr, bytes.data(), 0, nullptr), 0) << read.message;
    EXPECT_EQ(read.width, 3U);
    EXPECT_EQ(read.height, 2U);
    EXPECT_EQ(bytes, (std::vector<std::uint8_t>{0, 0, 0, 0, 0, 0, 255, 128, 0, 0, 255, 51, 0, 0, 0, 0, 0, 0}));
    std::remove(file.c_str());
}

TEST(Image, FileThatCannotBeWrittenThrows)
{
    EXPECT_THROW(writePng("/nonexistent/folder/image.png", Image(2, 2)), std::runtime_error);
}

} // namespace
} // namespace cloud
