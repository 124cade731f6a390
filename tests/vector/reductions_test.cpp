// Scalar products and norms: single cases that callers rely on.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "support/typed_member.h"
#include "tarnm/tarnm.h"

namespace tarnm::test {
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

template <class T> struct Members {
    static constexpr auto dotOfArrays = typedMember<operation::DotProduct, code("vava"), T>;
    static constexpr auto dotWithOne = typedMember<operation::DotProduct, code("vav"), T>;
    static constexpr auto dot = typedMember<operation::DotProduct, code("vv"), T>;
    static constexpr auto norms = typedMember<operation::L2Norm, code("va"), T>;
    static constexpr auto norm = typedMember<operation::L2Norm, code("v"), T>;
};

template <class T> class LongVectors : public testing::Test {};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(LongVectors, ElementTypes);

// Behind lengths and offsets there are lanes without anything ahead or behind, with both, and none at all; only where
// objects lie whole multiples of 32 bytes apart do they begin alike. An offset of 2 is no place of an element.
TYPED_TEST(LongVectors, InAnArrayHaveTheBitsOfEachAlone)
{
    using T = TypeParam;
    using M = Members<T>;
    constexpr int size = sizeof(T), mostBytes = 64 * 64;
    for (const int length : {7, 8, 15, 16, 17, 23, 24, 33, 40})
        for (const int gap : {0, 8})
            for (const int offset : {0, 2, size, 16, 32 - size})
                for (int count = 1; count <= 9; ++count) {
                    const int stride = (length * size + 31) / 32 * 32 + gap;
                    ASSERT_LE(count * stride + offset, mostBytes);
                    alignas(32) static unsigned char memory[2][mostBytes];
                    unsigned char *const a = memory[0] + offset, *const b = memory[1] + offset;
                    const auto object = [&](unsigned char* array, int n) {
                        return reinterpret_cast<T*>(array + n * stride);
                    };
                    for (int n = 0; n < count; ++n)
                        for (int k = 0; k < length; ++k) {
                            const T x = T(std::sin(n * 50 + k + 1)), y = T(std::cos(3 * (n * 50 + k)));
                            std::memcpy(a + n * stride + k * size, &x, size);
                            std::memcpy(b + n * stride + k * size, &y, size);
                        }
                    T dots[9], dotsWithOne[9], norms[9];
                    ASSERT_EQ(
                        M::dotOfArrays(object(a, 0), stride, size, object(b, 0), stride, size, dots, length, count),
                        StatusOk);
                    ASSERT_EQ(M::dotWithOne(object(a, 0), stride, size, object(b, 0), size, dotsWithOne, length, count),
                              StatusOk);
                    ASSERT_EQ(M::norms(object(a, 0), stride, size, norms, length, count), StatusOk);
                    for (int n = 0; n < count; ++n) {
                        T dot = 0, dotWithOne = 0, norm = 0;
                        ASSERT_EQ(M::dot(object(a, n), size, object(b, n), size, &dot, length), StatusOk);
                        ASSERT_EQ(M::dot(object(a, n), size, object(b, 0), size, &dotWithOne, length), StatusOk);
                        ASSERT_EQ(M::norm(object(a, n), size, &norm, length), StatusOk);
                        const auto where = [&] {
                            return "length " + std::to_string(length) + ", offset " + std::to_string(offset) +
                                   ", stride " + std::to_string(stride) + ", object " + std::to_string(n) + " of " +
                                   std::to_string(count);
                        };
                        ASSERT_EQ(dots[n], dot) << where();
                        ASSERT_EQ(dotsWithOne[n], dotWithOne) << where();
                        ASSERT_EQ(norms[n], norm) << where();
                    }
                }
}

} // namespace
} // namespace tarnm::test
