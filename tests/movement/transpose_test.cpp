// Transposes and identities: single cases that callers rely on.
#include <gtest/gtest.h>

#include <vector>

#include "tarncore/tarncore.h"
#include "tarnm/tarnm.h"

namespace {

std::int32_t reportedCache = 0;
int cacheQueries = 0;

} // namespace

// Takes the place of tarncore's answer.
extern "C" std::int32_t tarnGetMaxCacheSizeB(std::int32_t* size)
{
    ++cacheQueries;
    *size = reportedCache;
    return 0;
}

namespace {

TEST(Transpose, ExchangesWidthAndHeight)
{
    const float from[3][2] = {{1, 2}, {3, 4}, {5, 6}};
    float to[2][3] = {};
    ASSERT_EQ(tarnmTranspose_m_32f(from[0], 8, 4, 2, 3, to[0], 12, 4), StatusOk);
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 2; ++c)
            EXPECT_EQ(to[c][r], from[r][c]);
}

TEST(Transpose, AsksForTheCacheOfLargeArraysAndDoesNotDependOnIt)
{
    constexpr int width = 37, height = 50, count = 12;
    std::vector<float> from(width * height * count), first, to(from.size());
    for (std::size_t i = 0; i < from.size(); ++i)
        from[i] = float(i);
    for (const std::int32_t cache : {1 << 30, 1000, 0}) {
        reportedCache = cache;
        cacheQueries = 0;
        ASSERT_EQ(tarnmTranspose_ma_32f(from.data(), width * height * 4, width * 4, 4, width, height, to.data(),
                                        width * height * 4, height * 4, 4, count),
                  StatusOk);
        EXPECT_EQ(cacheQueries, 1);
        if (first.empty()) first = to;
        EXPECT_EQ(to, first);
    }
    for (int n = 0; n < count; ++n)
        for (int r = 0; r < height; ++r)
            for (int c = 0; c < width; ++c)
                ASSERT_EQ(first[std::size_t((n * width + c) * height + r)],
                          from[std::size_t((n * height + r) * width + c)]);
}

template <class T, class Bits, class Member> void expectPackedTransposes(Member member)
{
    for (const int order : {3, 4, 5, 6, 8, 16, 20})
        for (const int count : {1, 2, 5}) {
            const int size = order * order, row = order * int(sizeof(T));
            // Every pattern is another, and most are no numbers.
            std::vector<Bits> from(std::size_t(count) * size), to(from.size() + 1, 77), expected(to);
            for (std::size_t i = 0; i < from.size(); ++i)
                from[i] = Bits(i + 1) * Bits(0x9E3779B97F4A7C15u) | Bits(0x7F8) << (8 * sizeof(T) - 12);
            for (int n = 0; n < count; ++n)
                for (int r = 0; r < order; ++r)
                    for (int c = 0; c < order; ++c)
                        expected[std::size_t(n * size + c * order + r)] = from[std::size_t(n * size + r * order + c)];
            ASSERT_EQ(member(reinterpret_cast<const T*>(from.data()), row * order, row, int(sizeof(T)), order, order,
                             reinterpret_cast<T*>(to.data()), row * order, row, int(sizeof(T)), count),
                      StatusOk);
            EXPECT_EQ(to, expected) << count << " of order " << order;
        }
}

TEST(Transpose, OfPackedSquaresMovesBitPatterns)
{
    expectPackedTransposes<float, std::uint32_t>(tarnmTranspose_ma_32f);
    expectPackedTransposes<double, std::uint64_t>(tarnmTranspose_ma_64f);
}

TEST(LoadIdentity, OfMoreRowsThanColumnsLeavesTheLastRowsZero)
{
    float m[3][2] = {{9, 9}, {9, 9}, {9, 9}};
    ASSERT_EQ(tarnmLoadIdentity_ma_32f(m[0], 24, 8, 4, 2, 3, 1), StatusOk);
    const float expected[3][2] = {{1, 0}, {0, 1}, {0, 0}};
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 2; ++c)
            EXPECT_EQ(m[r][c], expected[r][c]);
}

TEST(LoadIdentity, OfMoreColumnsThanRowsLeavesTheLastColumnsZero)
{
    double m[2][3] = {{9, 9, 9}, {9, 9, 9}};
    ASSERT_EQ(tarnmLoadIdentity_ma_64f(m[0], 48, 24, 8, 3, 2, 1), StatusOk);
    const double expected[2][3] = {{1, 0, 0}, {0, 1, 0}};
    for (int r = 0; r < 2; ++r)
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(m[r][c], expected[r][c]);
}

TEST(LoadIdentity, TestsTheObjectStrideOnlyOfSeveralObjects)
{
    float m[4];
    EXPECT_EQ(tarnmLoadIdentity_ma_32f(m, 0, 8, 4, 2, 2, 1), StatusOk);
    EXPECT_EQ(tarnmLoadIdentity_ma_32f(m, 0, 8, 4, 2, 2, 2), StatusBadStride);
}

TEST(LoadIdentity, OfTablesTestsShiftAndCountInAnOrderOfItsType)
{
    float single;
    double real;
    float* singles[] = {&single};
    double* reals[] = {&real};
    EXPECT_EQ(tarnmLoadIdentity_ma_32f_P(singles, 2, 4, 1, 1, 0), StatusBadRoiShift);
    EXPECT_EQ(tarnmLoadIdentity_ma_64f_P(reals, 2, 8, 1, 1, 0), StatusBadCount);
}

} // namespace
