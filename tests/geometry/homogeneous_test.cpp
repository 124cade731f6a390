// Edge cases of AffineTransform3DH: its failing objects, its paths and its checks.
#include "bits.h"
#include "support/thread_count.h"
#include "tarnm/tarnm.h"

namespace tarnm::test {
namespace {

constexpr float largest = std::numeric_limits<float>::max();
constexpr float smallest = std::numeric_limits<float>::min();

// Points (x, y, z) of which the fourth coordinate is z.
constexpr Matrix byZ = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0};

struct Points {
    std::vector<float> source, result;

    explicit Points(int count)
        : source(3 * std::size_t(count))
        , result(source.size(), 7.0f)
    {
        for (int n = 0; n < count; ++n) {
            source[3 * n] = float(n);
            source[3 * n + 1] = 2;
            source[3 * n + 2] = 2;
        }
    }
    int count() const { return int(source.size() / 3); }
    tarnmStatus run(const Matrix& m)
    {
        return tarnmAffineTransform3DH_mva_32f(m.data(), 16, 4, source.data(), 12, 4, result.data(), 12, 4, count());
    }
    // All of the array was computed, and object n failed where `fails` says so.
    template <class Fails> void expectResults(Fails fails) const
    {
        std::vector<float> expected;
        for (int n = 0; n < count(); ++n)
            if (fails(n))
                expected.insert(expected.end(), {largest, largest, largest});
            else
                expected.insert(expected.end(), {float(n) * 0.5f, 1, 1});
        expectSame(result, expected);
    }
};

TEST(GeometryHomogeneous, ZeroLastRowGivesTheLargestValueEverywhere)
{
    Matrix m = byZ;
    m[14] = 0;
    for (const int count : {1, 7, 8, 9, 130, 131}) {
        answerThreadCount({2});
        Points points(count);
        EXPECT_EQ(points.run(m), StatusDivByZero);
        points.expectResults([](int) { return true; });
    }
}

TEST(GeometryHomogeneous, FailingObjectAtEveryPlaceLeavesTheOthersRight)
{
    for (const int count : {1, 2, 8, 9, 20, 131})
        for (const int threads : {1, 2, 3})
            for (int bad = 0; bad < count; ++bad) {
                answerThreadCount({threads});
                Points points(count);
                points.source[3 * bad + 2] = 0;
                EXPECT_EQ(points.run(byZ), StatusDivByZero);
                points.expectResults([&](int n) { return n == bad; });
            }
}

// The fourth coordinate must be above the smallest normal number in magnitude.
TEST(GeometryHomogeneous, ToleranceIsStrict)
{
    const auto statusFor = [](float w, int elementStride) {
        Matrix m{};
        m[0] = m[5] = m[10] = 1;
        m[15] = w;
        const float p[] = {1, 0, 1, 0, 1, 0};
        float d[6];
        return tarnmAffineTransform3DH_mva_32f(m.data(), 16, 4, p, 24, elementStride, d, 24, elementStride, 1);
    };
    for (const int stride : {4, 8})
        for (const float sign : {1.0f, -1.0f}) {
            EXPECT_EQ(statusFor(sign * smallest, stride), StatusDivByZero);
            EXPECT_EQ(statusFor(sign * std::nextafter(smallest, 0.0f), stride), StatusDivByZero);
            EXPECT_EQ(statusFor(sign * std::nextafter(smallest, 1.0f), stride), StatusOk);
        }
    EXPECT_EQ(statusFor(nan, 4), StatusDivByZero);
    EXPECT_EQ(statusFor(infinity, 4), StatusOk);
}

TEST(GeometryHomogeneous, NaNInTheFourthCoordinateGivesTheLargestValue)
{
    Points points(9);
    points.source[3 * 4 + 2] = nan;
    EXPECT_EQ(points.run(byZ), StatusDivByZero);
    points.expectResults([](int n) { return n == 4; });
}

// NaN elsewhere is no failure.
TEST(GeometryHomogeneous, NaNInAnotherRowGoesThrough)
{
    Matrix m = byZ;
    m[1] = nan;
    Points points(1);
    EXPECT_EQ(points.run(m), StatusOk);
    expectSame(points.result, std::vector<float>{nan, 1, 1});
}

// One reciprocal and three products, which rounds otherwise than three divisions.
TEST(GeometryHomogeneous, MultipliesByTheReciprocal)
{
    Points points(1);
    points.source = {5, 7, 3};
    EXPECT_EQ(points.run(byZ), StatusOk);
    const float q = 1.0f / 3;
    expectSame(points.result, std::vector<float>{5 * q, 7 * q, 3 * q});
}

TEST(GeometryHomogeneous, SpreadsOverThreadsFrom131Objects)
{
    for (const int stride : {4, 8})
        for (const auto& [count, queries] : {std::pair(130, 0), std::pair(131, 2)}) {
            std::vector<float> p(6 * std::size_t(count), 1.0f), d(p.size());
            answerThreadCount({2});
            EXPECT_EQ(
                tarnmAffineTransform3DH_mva_32f(byZ.data(), 16, 4, p.data(), 24, stride, d.data(), 24, stride, count),
                StatusOk);
            EXPECT_EQ(threadCountQueries(), queries) << count << ' ' << stride;
        }
}

// The two kernels add in different orders: a point where this shows.
TEST(GeometryHomogeneous, PackedAndStridedElementsAddInDifferentOrders)
{
    Matrix m = unit;
    m[0] = 1;
    m[1] = -1;
    m[3] = 1;
    const float packed[] = {1e8f, 1e8f, 1}, strided[] = {1e8f, 0, 1e8f, 0, 1, 0};
    float d[3], e[6];
    EXPECT_EQ(tarnmAffineTransform3DH_mva_32f(m.data(), 16, 4, packed, 12, 4, d, 12, 4, 1), StatusOk);
    EXPECT_EQ(tarnmAffineTransform3DH_mva_32f(m.data(), 16, 4, strided, 24, 8, e, 24, 8, 1), StatusOk);
    EXPECT_EQ(d[0], 1); // (1e8 - 1e8) + 1
    EXPECT_EQ(e[0], 0); // (1e8 + 1) - 1e8
    // One operand that is not packed is enough.
    EXPECT_EQ(tarnmAffineTransform3DH_mva_32f(m.data(), 16, 4, packed, 12, 4, e, 24, 8, 1), StatusOk);
    EXPECT_EQ(e[0], 0);
}

TEST(GeometryHomogeneous, ChecksPointersThenCountThenStrides)
{
    const Matrix m = byZ;
    const std::array<float, 3> p = {1, 2, 3};
    std::array<float, 3> d = {7, 7, 7};
    const auto call = [&](const float* a, const float* b, float* c, std::array<int, 6> s, int count) {
        return tarnmAffineTransform3DH_mva_32f(a, s[0], s[1], b, s[2], s[3], c, s[4], s[5], count);
    };
    const std::array<int, 6> good = {16, 4, 12, 4, 12, 4}, bad = {16, 4, 12, 4, 12, 2};
    EXPECT_EQ(call(nullptr, p.data(), d.data(), bad, 0), StatusNullPointer);
    EXPECT_EQ(call(m.data(), nullptr, d.data(), bad, 0), StatusNullPointer);
    EXPECT_EQ(call(m.data(), p.data(), nullptr, bad, 0), StatusNullPointer);
    EXPECT_EQ(call(m.data(), p.data(), d.data(), bad, 0), StatusBadCount);
    EXPECT_EQ(call(m.data(), p.data(), d.data(), good, -1), StatusBadCount);
    for (int i = 0; i < 6; ++i)
        for (const int stride : {0, -4, 2, 6}) {
            std::array<int, 6> strides = good;
            strides[i] = stride;
            EXPECT_EQ(call(m.data(), p.data(), d.data(), strides, 1), StatusBadStride) << i << ' ' << stride;
        }
    expectSame(d, std::array<float, 3>{7, 7, 7});
    EXPECT_EQ(call(m.data(), p.data(), d.data(), good, 1), StatusOk);
}

} // namespace
} // namespace tarnm::test
