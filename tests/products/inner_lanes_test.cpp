// The inner lanes themselves: spans, folds, steps and guards.
#include <gtest/gtest.h>

#include "products/inner_lanes.h"
#include "products/numbers.h"
#include "reference/sums.h"

namespace tarnm::test {
namespace {

TEST(LaneSpan, FromTheStartTakesWholeSteps)
{
    EXPECT_TRUE(spanFromStart(15, 16, 16).isEmpty());
    for (const int length : {16, 17, 31}) {
        EXPECT_EQ(spanFromStart(length, 16, 16).first, 0);
        EXPECT_EQ(spanFromStart(length, 16, 16).end, 16);
    }
    EXPECT_EQ(spanFromStart(40, 16, 8).end, 40);
}

TEST(LaneSpan, FromAlignmentBeginsAtAMultipleOf32Bytes)
{
    alignas(32) const float singles[16] = {};
    alignas(32) const double doubles[16] = {};
    const auto spanOf = [](const auto* address, int length, int step) {
        const LaneSpan span = spanFromAlignment(address, length, step);
        return std::pair(span.first, span.end);
    };
    const std::pair none(0, 0);
    EXPECT_EQ(spanOf(singles, 7, 8), none);
    EXPECT_EQ(spanOf(singles, 8, 8), std::pair(0, 8));
    EXPECT_EQ(spanOf(singles, 17, 8), std::pair(0, 16));
    EXPECT_EQ(spanOf(singles + 4, 11, 8), none);
    EXPECT_EQ(spanOf(singles + 4, 12, 8), std::pair(4, 12));
    EXPECT_EQ(spanOf(singles + 1, 14, 8), none);
    EXPECT_EQ(spanOf(singles + 1, 31, 8), std::pair(7, 31));
    EXPECT_EQ(spanOf(singles + 4, 19, 16), none);
    EXPECT_EQ(spanOf(singles + 4, 20, 16), std::pair(4, 20));
    EXPECT_EQ(spanOf(doubles + 1, 10, 8), none);
    EXPECT_EQ(spanOf(doubles + 1, 11, 8), std::pair(3, 11));
    const auto* between = reinterpret_cast<const float*>(reinterpret_cast<const char*>(singles) + 2);
    EXPECT_EQ(spanOf(between, 100, 8), none);
    const auto* half = reinterpret_cast<const double*>(reinterpret_cast<const char*>(doubles) + 4);
    EXPECT_EQ(spanOf(half, 100, 8), none);
}

template <class T, int vectors> void expectSums()
{
    for (int length = 1; length < 70; ++length)
        for (const int first : {0, 1, 3}) {
            const int step = vectors * inner_lane_count<T>;
            if (length < first + step) continue;
            const LaneSpan span{first, length - (length - first) % step};
            const auto a = randomNumbers<T>(2 * length, unsigned(length)), b = randomNumbers<T>(2 * length, 99);
            const std::vector<T> packedA(a.begin(), a.begin() + length), packedB(b.begin(), b.begin() + length);
            const auto dense = [](const T* base) { return vectorAt<Spacing::dense>(base, sizeof(T)); };
            EXPECT_EQ((sumOfProducts<vectors>(dense(a.data()), dense(b.data()), length, span)),
                      reference::inLanes(rounded(packedA, packedB), first, vectors));

            std::vector<T> everySecond;
            for (int k = 0; k < length; ++k)
                everySecond.push_back(a[2 * k]);
            const auto strided = vectorAt<Spacing::strided>(a.data(), 2 * sizeof(T));
            EXPECT_EQ((sumOfProducts<vectors>(strided, dense(b.data()), length, span)),
                      reference::inLanes(rounded(everySecond, packedB), first, vectors));
        }
}

TEST(SumOfProducts, FoldsItsLanesInOneOrder)
{
    expectSums<float, 1>();
    expectSums<float, 2>();
    expectSums<double, 1>();
    expectSums<double, 2>();
}

TEST(SumOfProducts, WithoutASpanIsAscendingFromZero)
{
    const std::vector<float> negativeZeros(3, -0.0f), ones(3, 1.0f);
    const auto view = [](const std::vector<float>& v) { return vectorAt<Spacing::dense>(v.data(), 4); };
    EXPECT_FALSE(std::signbit(sumOfProducts<2>(view(negativeZeros), view(ones), 3, LaneSpan{})));
    const auto a = randomNumbers<float>(33, 1), b = randomNumbers<float>(33, 2);
    EXPECT_EQ(sumOfProducts<2>(view(a), view(b), 33, LaneSpan{}), reference::fromZero(rounded(a, b)));
}

TEST(IsClearOf, CountsPartialOverlapAsInside)
{
    const float elements[32] = {};
    const auto at = [&](int bytes) {
        return reinterpret_cast<const float*>(reinterpret_cast<const char*>(&elements[8]) + bytes);
    };
    for (const int inside : {-3, -1, 0, 1, 4, 39, 36})
        EXPECT_FALSE(isClearOf(at(inside), at(0), 10)) << inside;
    for (const int outside : {-8, -4, 40, 41, 44})
        EXPECT_TRUE(isClearOf(at(outside), at(0), 10)) << outside;
}

} // namespace
} // namespace tarnm::test
