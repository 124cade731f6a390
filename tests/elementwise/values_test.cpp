// Values at the edges of the arithmetic.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "tarnm/tarnm.h"

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr std::uint32_t signalling = 0x7FA00001, quietBit = 0x00400000;

// Bits are moved as integers, so that no load quiets the number on its way.
std::vector<float> filledWithSignalling(int length)
{
    std::vector<float> values(length);
    for (float& value : values)
        std::memcpy(&value, &signalling, sizeof value);
    return values;
}

std::uint32_t bitsOf(const float& value)
{
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

TEST(ElementwiseValues, AFactorOfOneStillMultiplies)
{
    for (const int length : {1, 3, 4, 6, 7, 33}) {
        const auto source = filledWithSignalling(length);
        std::vector<float> result(length);
        ASSERT_EQ(tarnmMul_vc_32f(source.data(), 4, 1.0f, result.data(), 4, length), StatusOk);
        for (const float& value : result) {
            EXPECT_TRUE(std::isnan(value));
            EXPECT_EQ(bitsOf(value) & quietBit, quietBit) << "a signalling NaN came through, length " << length;
        }
    }
}

TEST(ElementwiseValues, AFactorOfZeroIsNoShortcut)
{
    const float source[] = {infinity, -infinity, std::nanf(""), -1.0f, 5.0f};
    float result[5];
    ASSERT_EQ(tarnmMul_vc_32f(source, 4, 0.0f, result, 4, 5), StatusOk);
    EXPECT_TRUE(std::isnan(result[0]));
    EXPECT_TRUE(std::isnan(result[1]));
    EXPECT_TRUE(std::isnan(result[2]));
    EXPECT_TRUE(std::signbit(result[3]) && result[3] == 0);
    EXPECT_FALSE(std::signbit(result[4]));
}

TEST(ElementwiseValues, SumsAndDifferencesFollowTheRulesOfInfinity)
{
    const float first[] = {infinity, infinity, std::numeric_limits<float>::max(), -0.0f};
    const float second[] = {-infinity, infinity, std::numeric_limits<float>::max(), -0.0f};
    float sum[4], difference[4];
    ASSERT_EQ(tarnmAdd_vv_32f(first, 4, second, 4, sum, 4, 4), StatusOk);
    ASSERT_EQ(tarnmSub_vv_32f(first, 4, second, 4, difference, 4, 4), StatusOk);
    EXPECT_TRUE(std::isnan(sum[0]));
    EXPECT_EQ(sum[1], infinity);
    EXPECT_EQ(sum[2], infinity);
    EXPECT_TRUE(std::signbit(sum[3]));
    EXPECT_EQ(difference[0], infinity);
    EXPECT_TRUE(std::isnan(difference[1]));
    EXPECT_FALSE(std::signbit(difference[3]));
}

// An intermediate wider than single precision would keep the small part.
TEST(ElementwiseValues, EachOperationIsRoundedToTheElementType)
{
    const float first = 16777216.0f, second = 1.0f;
    float result = 0;
    ASSERT_EQ(tarnmAdd_vv_32f(&first, 4, &second, 4, &result, 4, 1), StatusOk);
    EXPECT_EQ(result, 16777216.0f);
}

} // namespace
