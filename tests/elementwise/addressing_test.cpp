// Addresses that the grammar of operands allows and that few callers use.
#include <vector>

#include <gtest/gtest.h>

#include "tarnm/tarnm.h"

namespace {

TEST(ElementwiseAddressing, ObjectsMayOverlapEachOther)
{
    // Objects of three elements, one element apart: the result is a window over the source.
    std::vector<float> source(8), result(24);
    for (int i = 0; i < 8; ++i)
        source[i] = float(i);
    ASSERT_EQ(tarnmAdd_vac_32f(source.data(), 4, 4, 10.0f, result.data(), 12, 4, 3, 6), StatusOk);
    for (int n = 0; n < 6; ++n)
        for (int k = 0; k < 3; ++k)
            EXPECT_EQ(result[3 * n + k], float(n + k) + 10.0f);
}

TEST(ElementwiseAddressing, OverlappingResultsAreWrittenObjectByObject)
{
    std::vector<float> source(24), result(8, -1.0f);
    for (int i = 0; i < 24; ++i)
        source[i] = float(i);
    ASSERT_EQ(tarnmAdd_vac_32f(source.data(), 12, 4, 10.0f, result.data(), 4, 4, 3, 6), StatusOk);
    for (int n = 0; n < 6; ++n)
        EXPECT_EQ(result[n], source[3 * n] + 10.0f);
    EXPECT_EQ(result[6], source[16] + 10.0f);
    EXPECT_EQ(result[7], source[17] + 10.0f);
}

TEST(ElementwiseAddressing, ElementsMayShareBytes)
{
    // A stride of one element for the rows: row r begins at element r.
    std::vector<double> source(6), result(9);
    for (int i = 0; i < 6; ++i)
        source[i] = i * 1.5;
    ASSERT_EQ(tarnmMul_mc_64f(source.data(), 8, 8, 2.0, result.data(), 24, 8, 3, 3), StatusOk);
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(result[3 * r + c], 2.0 * source[r + c]);
}

TEST(ElementwiseAddressing, EntriesOfAListMayBeEqual)
{
    const float object[] = {1, 2, 3};
    const float* const sources[] = {object, object, object};
    float result[9];
    float* const results[] = {result, result + 3, result + 6};
    ASSERT_EQ(tarnmSub_cva_32f_L(sources, 0, 4, 10.0f, results, 0, 4, 3, 3), StatusOk);
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(result[i], 10.0f - object[i % 3]);
}

TEST(ElementwiseAddressing, EntriesOfATableMayBeEqual)
{
    const float element = 4;
    const float* const sources[] = {&element, &element, &element, &element};
    float result[4];
    float* const results[] = {result + 3, result + 1, result, result + 2};
    ASSERT_EQ(tarnmAdd_vc_32f_P(sources, 0, 1.0f, results, 0, 4), StatusOk);
    for (const float value : result)
        EXPECT_EQ(value, 5.0f);
}

TEST(ElementwiseAddressing, AShiftIsAddedToEveryEntry)
{
    std::vector<float> source(16), result(16, -1.0f);
    for (int i = 0; i < 16; ++i)
        source[i] = float(i);
    const float* const sources[] = {source.data(), source.data() + 8};
    float* const results[] = {result.data(), result.data() + 8};
    ASSERT_EQ(tarnmAdd_vac_32f_L(sources, 8, 4, 0.5f, results, 12, 4, 3, 2), StatusOk);
    for (int n = 0; n < 2; ++n)
        for (int k = 0; k < 3; ++k)
            EXPECT_EQ(result[8 * n + 3 + k], source[8 * n + 2 + k] + 0.5f);
    EXPECT_EQ(result[2], -1.0f);
}

// A transposed operand is stored with as many rows as the result has columns.
TEST(ElementwiseAddressing, ATransposedOperandHasTheShapeOfItsStorage)
{
    constexpr int width = 5, height = 3;
    std::vector<float> stored(width * height), other(width * height), result(width * height);
    for (int i = 0; i < width * height; ++i) {
        stored[i] = float(i);
        other[i] = 100.0f * float(i);
    }
    ASSERT_EQ(tarnmAdd_tm_32f(stored.data(), height * 4, 4, other.data(), width * 4, 4, result.data(), width * 4, 4,
                              width, height),
              StatusOk);
    for (int r = 0; r < height; ++r)
        for (int c = 0; c < width; ++c)
            EXPECT_EQ(result[r * width + c], stored[c * height + r] + other[r * width + c]);
}

TEST(ElementwiseAddressing, TheTableOfATransposedOperandRunsAlongItsStorage)
{
    constexpr int width = 5, height = 3;
    std::vector<float> stored(width * height), other(width * height), result(width * height);
    std::vector<const float*> storedTable, otherTable;
    std::vector<float*> resultTable;
    for (int i = 0; i < width * height; ++i) {
        stored[i] = float(i);
        other[i] = 100.0f * float(i);
        storedTable.push_back(&stored[i]);
        otherTable.push_back(&other[i]);
        resultTable.push_back(&result[i]);
    }
    ASSERT_EQ(tarnmAdd_tm_32f_P(storedTable.data(), 0, otherTable.data(), 0, resultTable.data(), 0, width, height),
              StatusOk);
    for (int r = 0; r < height; ++r)
        for (int c = 0; c < width; ++c)
            EXPECT_EQ(result[r * width + c], stored[c * height + r] + other[r * width + c]);
}

} // namespace
