// Copies and extracts: single cases that callers rely on.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "tarnm/tarnm.h"

namespace {

template <class T, class Bits> void writeBits(T* at, Bits bits) { std::memcpy(at, &bits, sizeof bits); }
template <class Bits, class T> Bits readBits(const T* at)
{
    Bits bits;
    std::memcpy(&bits, at, sizeof bits);
    return bits;
}

// Signalling NaNs with payloads, quiet NaN, -0, denormals, infinity.
const std::uint32_t patterns32[] = {0x7f800001, 0xffa01234, 0x7fc00000, 0x80000000, 0x00000001, 0x807fffff, 0x7f800000};
const std::uint64_t patterns64[] = {0x7ff0000000000001, 0xfff4000012345678, 0x8000000000000000, 0x0000000000000001};

TEST(Copy, MovesBitPatternsOfSingles)
{
    constexpr int count = 21;
    std::vector<float> from(9 * count), to(9 * count), planes(9 * count);
    for (std::size_t i = 0; i < from.size(); ++i)
        writeBits(&from[i], patterns32[i % std::size(patterns32)]);
    const float* source[9];
    float* result[9];
    for (int k = 0; k < 9; ++k) {
        result[k] = &planes[std::size_t(k) * count];
        source[k] = result[k];
    }
    ASSERT_EQ(tarnmCopy_ma_32f_SP(from.data(), 36, 12, 4, result, 0, 4, 3, 3, count), StatusOk);
    ASSERT_EQ(tarnmCopy_ma_32f_PS(source, 0, 4, to.data(), 36, 12, 4, 3, 3, count), StatusOk);
    for (std::size_t i = 0; i < from.size(); ++i)
        EXPECT_EQ(readBits<std::uint32_t>(&to[i]), patterns32[i % std::size(patterns32)]) << i;
}

TEST(Copy, MovesBitPatternsOfDoubles)
{
    std::vector<double> from(20), to(40);
    for (std::size_t i = 0; i < from.size(); ++i)
        writeBits(&from[i], patterns64[i % std::size(patterns64)]);
    ASSERT_EQ(tarnmCopy_va_64f_SS(from.data(), 16, 8, to.data(), 32, 16, 2, 10), StatusOk);
    for (std::size_t i = 0; i < from.size(); ++i)
        EXPECT_EQ(readBits<std::uint64_t>(&to[2 * i]), patterns64[i % std::size(patterns64)]) << i;
}

TEST(Copy, OfOneObjectTakesAnyObjectStride)
{
    const float from[] = {1, 2, 3, 4};
    for (const int stride : {0, 3, -4}) {
        float to[4] = {};
        EXPECT_EQ(tarnmCopy_ma_32f_SS(from, stride, 8, 4, to, stride, 8, 4, 2, 2, 1), StatusOk);
        EXPECT_EQ(to[3], 4.0f);
    }
}

TEST(Copy, OfTwoObjectsTestsTheObjectStrides)
{
    const float from[] = {1, 2, 3, 4};
    float to[4] = {};
    EXPECT_EQ(tarnmCopy_ma_32f_SS(from, 0, 4, 4, to, 8, 4, 4, 1, 1, 2), StatusBadStride);
    EXPECT_EQ(tarnmCopy_ma_32f_SS(from, 8, 4, 4, to, 0, 4, 4, 1, 1, 2), StatusBadStride);
}

TEST(Copy, RunsForwardThroughOverlappingMemory)
{
    // The element that is read has been written by the step before.
    float data[30];
    for (int i = 0; i < 30; ++i)
        data[i] = float(i);
    ASSERT_EQ(tarnmCopy_va_32f_SS(data, 12, 4, data + 1, 12, 4, 3, 9), StatusOk);
    for (int i = 0; i <= 27; ++i)
        EXPECT_EQ(data[i], 0.0f) << i;
    EXPECT_EQ(data[28], 28.0f);
}

// Rows of three to six elements, ever further apart than they are long: elements are read and written one by one.
TEST(Copy, OfShortRowsRunsForwardThroughOverlappingMemory)
{
    for (const int len : {3, 4, 5, 6})
        for (const int shift : {1, 2, 3, 7}) {
            double data[80], expected[80];
            for (int i = 0; i < 80; ++i)
                data[i] = expected[i] = double(i);
            for (int n = 0; n < 8; ++n)
                for (int k = 0; k < len; ++k)
                    expected[shift + 9 * n + k] = expected[8 * n + k];
            ASSERT_EQ(tarnmCopy_va_64f_SS(data, 64, 8, data + shift, 72, 8, len, 8), StatusOk);
            for (int i = 0; i < 80; ++i)
                ASSERT_EQ(data[i], expected[i]) << len << " elements, " << shift << " on, " << i;
        }
}

TEST(Copy, OfShortRowsLeavesTheGapsAlone)
{
    for (const int len : {3, 4, 5, 6}) {
        float from[80], to[90];
        for (int i = 0; i < 80; ++i)
            from[i] = float(i);
        for (float& value : to)
            value = -1.0f;
        ASSERT_EQ(tarnmCopy_va_32f_SS(from, 32, 4, to, 36, 4, len, 10), StatusOk);
        for (int i = 0; i < 90; ++i)
            ASSERT_EQ(to[i], i % 9 < len ? float(i / 9 * 8 + i % 9) : -1.0f) << len << " elements, " << i;
    }
}

TEST(Copy, OntoItselfChangesNothing)
{
    float data[30];
    for (int i = 0; i < 30; ++i)
        data[i] = float(i);
    ASSERT_EQ(tarnmCopy_va_32f_SS(data, 12, 4, data, 12, 4, 3, 10), StatusOk);
    for (int i = 0; i < 30; ++i)
        EXPECT_EQ(data[i], float(i));
}

TEST(Copy, TestsSizesAheadOfTheCount)
{
    const float from[1] = {};
    float to[1];
    EXPECT_EQ(tarnmCopy_va_32f_SS(from, 4, 4, to, 4, 4, 0, 0), StatusBadSize);
}

TEST(Copy, OfTablesTestsTheShiftsAheadOfTheObjectStrides)
{
    const float from[1] = {};
    float to[1];
    const float* source[] = {from};
    float* result[] = {to};
    EXPECT_EQ(tarnmCopy_va_32f_PP(source, -4, 3, result, 0, 3, 1, 2), StatusBadRoiShift);
}

TEST(Extract, OfTablesOfMatricesTestsSizesAheadOfPointers)
{
    float to[1];
    EXPECT_EQ(tarnmExtract_m_32f_P(nullptr, 0, to, 0, 1), StatusBadSize);
    EXPECT_EQ(tarnmExtract_m_32f(nullptr, 4, 4, to, 0, 1), StatusNullPointer);
    EXPECT_EQ(tarnmExtract_v_64f_P(nullptr, 0, nullptr, 0), StatusBadSize);
    EXPECT_EQ(tarnmExtract_v_32f_P(nullptr, 0, nullptr, 0), StatusNullPointer);
}

TEST(Extract, OfListsTestsTheShiftAheadOfTheStride)
{
    const float from[1] = {};
    const float* list[] = {from};
    float to[1];
    EXPECT_EQ(tarnmExtract_va_32f_L(list, 2, 2, to, 1, 1), StatusBadRoiShift);
    EXPECT_EQ(tarnmExtract_va_32f(from, 4, 2, to, 1, 1), StatusBadStride);
}

TEST(Extract, OfATransposedMatrixBeginsWithItsFirstStoredColumn)
{
    const float stored[3][2] = {{1, 2}, {3, 4}, {5, 6}};
    float block[6] = {};
    ASSERT_EQ(tarnmExtract_t_32f(stored[0], 8, 4, block, 3, 2), StatusOk);
    const float expected[] = {1, 3, 5, 2, 4, 6};
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(block[i], expected[i]) << i;
}

TEST(Extract, OfTransposedSquaresRunsForwardThroughOverlappingMemory)
{
    for (const int order : {3, 4, 6})
        for (const int shift : {0, 1, 5}) {
            const int size = order * order, count = 3;
            std::vector<float> data(count * size + shift);
            for (int i = 0; i < int(data.size()); ++i)
                data[i] = float(i);
            std::vector<float> expected = data;
            for (int n = 0; n < count; ++n)
                for (int r = 0; r < order; ++r)
                    for (int c = 0; c < order; ++c)
                        expected[shift + n * size + r * order + c] = expected[n * size + c * order + r];
            ASSERT_EQ(
                tarnmExtract_ta_32f(data.data(), 4 * size, 4 * order, 4, data.data() + shift, order, order, count),
                StatusOk);
            EXPECT_EQ(data, expected) << order << " rows, " << shift << " on";
        }
}

TEST(Extract, OfTransposedSquaresMovesBitPatterns)
{
    for (const int order : {3, 4, 6}) {
        const int size = order * order, count = 3;
        std::vector<std::uint32_t> from(count * size), to(count * size), expected(count * size);
        for (int i = 0; i < count * size; ++i)
            from[i] = patterns32[i % 7] + std::uint32_t(i / 7);
        for (int n = 0; n < count; ++n)
            for (int r = 0; r < order; ++r)
                for (int c = 0; c < order; ++c)
                    expected[n * size + r * order + c] = from[n * size + c * order + r];
        ASSERT_EQ(tarnmExtract_ta_32f(reinterpret_cast<const float*>(from.data()), 4 * size, 4 * order, 4,
                                      reinterpret_cast<float*>(to.data()), order, order, count),
                  StatusOk);
        EXPECT_EQ(to, expected) << order << " rows";
    }
}

template <class T, class Bits, class Member> void expectThreeOfFour(Member member)
{
    for (int count = 1; count <= 40; ++count) {
        std::vector<Bits> from(std::size_t(count) * 4 - 1), to(std::size_t(count) * 3 + 1, 77), expected(to);
        for (std::size_t i = 0; i < from.size(); ++i) {
            from[i] = Bits(i + 1) | Bits(0x7F8) << (8 * sizeof(T) - 12);
            if (i % 4 < 3) expected[i / 4 * 3 + i % 4] = from[i];
        }
        ASSERT_EQ(member(reinterpret_cast<const T*>(from.data()), 4 * sizeof(T), sizeof(T),
                         reinterpret_cast<T*>(to.data()), 3, count),
                  StatusOk);
        EXPECT_EQ(to, expected) << count;
    }
}

TEST(Extract, OfThreeOfFourElementsMovesBitPatternsAtEveryCount)
{
    expectThreeOfFour<float, std::uint32_t>(tarnmExtract_va_32f);
    expectThreeOfFour<double, std::uint64_t>(tarnmExtract_va_64f);
}

TEST(Extract, TestsSizesAheadOfTheCount)
{
    const float from[1] = {};
    const float* table[] = {from};
    float to[1];
    EXPECT_EQ(tarnmExtract_ma_32f(from, 4, 4, 4, to, 0, 1, 0), StatusBadSize);
    EXPECT_EQ(tarnmExtract_ma_32f_L(table, 0, 4, 4, to, 0, 1, 0), StatusBadSize);
    EXPECT_EQ(tarnmExtract_ma_32f_P(table, 0, 4, to, 0, 1, 0), StatusBadSize);
}

} // namespace
