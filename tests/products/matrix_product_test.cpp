// Products of matrices: the cases with code of their own, the orders of addition, the guard of the inner lanes.
#include <cmath>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "products/numbers.h"
#include "reference/sums.h"
#include "support/thread_count.h"
#include "tarnm/tarnm.h"

namespace tarnm::test {
namespace {

using reference::evenAndOdd;
using reference::fromFirst;
using reference::fromZero;
using reference::inLanes;

// Tables with one entry for each of `numbers`.
template <class T> std::vector<T*> tableOf(std::vector<T>& numbers)
{
    std::vector<T*> table;
    for (T& number : numbers)
        table.push_back(&number);
    return table;
}

TEST(MatrixProduct, OneByOneIsTheOneProduct)
{
    const float a = 3, b = -5;
    float d = 0;
    EXPECT_EQ(tarnmMul_mm_32f(&a, 4, 4, 1, 1, &b, 4, 4, 1, 1, &d, 4, 4), StatusOk);
    EXPECT_EQ(d, -15);

    const float *first[] = {&a}, *second[] = {&b};
    float* result[] = {&d};
    d = 0;
    EXPECT_EQ(tarnmMul_mm_32f_P(first, 0, 1, 1, second, 0, 1, 1, result, 0), StatusOk);
    EXPECT_EQ(d, -15);
}

// A sum of negative zeros is -0 in a case, where it begins with the first product, and +0 elsewhere.
TEST(MatrixProduct, ThreeByThreeByThreeByFourIsNoCase)
{
    const std::vector<float> negativeZeros(9, -0.0f), ones(12, 1.0f);
    std::vector<float> d(12, 7.0f);
    EXPECT_EQ(tarnmMul_mm_32f(negativeZeros.data(), 12, 4, 3, 3, ones.data(), 16, 4, 4, 3, d.data(), 16, 4), StatusOk);
    for (const float element : d)
        EXPECT_TRUE(element == 0 && !std::signbit(element));

    EXPECT_EQ(tarnmMul_mm_32f(negativeZeros.data(), 12, 4, 3, 3, ones.data(), 12, 4, 3, 3, d.data(), 12, 4), StatusOk);
    for (int i = 0; i < 9; ++i)
        EXPECT_TRUE(d[i] == 0 && std::signbit(d[i])) << i;
}

// One row by one row, every second element, so that the sum runs in the strided kernel.
template <class T, class Mul> T strided(Mul mul, const std::vector<T>& a, const std::vector<T>& b)
{
    constexpr int size = sizeof(T);
    const int inner = int(a.size());
    std::vector<T> spreadA(2 * a.size()), spreadB(2 * b.size());
    for (int k = 0; k < inner; ++k) {
        spreadA[2 * k] = a[k];
        spreadB[2 * k] = b[k];
    }
    T d = 0;
    EXPECT_EQ(mul(spreadA.data(), size, 2 * size, inner, 1, spreadB.data(), size, 2 * size, inner, 1, &d, size, size),
              StatusOk);
    return d;
}

TEST(MatrixProduct, MtSumsInLanesFromSixteenProductsOn)
{
    for (const int inner : {15, 16, 17}) {
        std::vector<float> a, b, p;
        for (unsigned seed = 1; seed < 100 && (p.empty() || fromZero(p) == inLanes(p, 0, 2)); ++seed) {
            a = randomNumbers<float>(inner, seed);
            b = randomNumbers<float>(inner, seed + 100);
            p = rounded(a, b);
        }
        // Fifteen products fill no step of lanes.
        ASSERT_EQ(fromZero(p) != inLanes(p, 0, 2), inner >= 16) << "these numbers do not tell the orders apart";
        EXPECT_EQ(strided(tarnmMul_mt_32f, a, b), inner == 15 ? fromZero(p) : inLanes(p, 0, 2)) << inner;
    }
    for (const int inner : {7, 8, 9}) {
        const auto a = randomNumbers<double>(inner, 6), b = randomNumbers<double>(inner, 7);
        const auto p = rounded(a, b);
        EXPECT_EQ(strided(tarnmMul_mt_64f, a, b), inner == 7 ? fromZero(p) : inLanes(p, 0, 2)) << inner;
    }
}

TEST(MatrixProduct, DenseMtNeverUsesLanes)
{
    const auto a = randomNumbers<float>(33, 1), b = randomNumbers<float>(33, 2);
    float d = 0;
    EXPECT_EQ(tarnmMul_mt_32f(a.data(), 4, 4, 33, 1, b.data(), 4, 4, 33, 1, &d, 4, 4), StatusOk);
    EXPECT_EQ(d, fromZero(rounded(a, b)));
}

TEST(MatrixProduct, DenseTmOfSixBySixRunsTheTilePath)
{
    const std::vector<float> negativeZeros(36, -0.0f), ones(36, 1.0f);
    std::vector<float> d(36, 7.0f);
    EXPECT_EQ(tarnmMul_tm_32f(negativeZeros.data(), 24, 4, 6, 6, ones.data(), 24, 4, 6, 6, d.data(), 24, 4), StatusOk);
    for (const float element : d)
        EXPECT_TRUE(element == 0 && !std::signbit(element));

    const auto a = randomNumbers<float>(36, 3), b = randomNumbers<float>(36, 4);
    EXPECT_EQ(tarnmMul_tm_32f(a.data(), 24, 4, 6, 6, b.data(), 24, 4, 6, 6, d.data(), 24, 4), StatusOk);
    for (int i = 0; i < 6; ++i)
        for (int j = 0; j < 6; ++j) {
            std::vector<float> p;
            for (int k = 0; k < 6; ++k)
                p.push_back(a[k * 6 + i] * b[k * 6 + j]);
            EXPECT_EQ(d[i * 6 + j], fromZero(p)) << i << ' ' << j;
        }
}

TEST(MatrixProduct, StridesOfZeroOrBelowAreFaults)
{
    const std::vector<float> a(16, 1.0f);
    std::vector<float> d(16, 7.0f);
    for (const int stride : {0, -16}) {
        EXPECT_EQ(tarnmMul_mm_32f(a.data(), stride, 4, 4, 4, a.data(), 16, 4, 4, 4, d.data(), 16, 4), StatusBadStride);
        EXPECT_EQ(tarnmMul_mm_32f(a.data(), 16, 4, 4, 4, a.data(), 16, 4, 4, 4, d.data(), stride, 4), StatusBadStride);
    }
    EXPECT_EQ(d, std::vector<float>(16, 7.0f));
}

TEST(MatrixProduct, SizesAreComparedAheadOfStrides)
{
    const std::vector<float> a(16, 1.0f);
    std::vector<float> d(16, 7.0f);
    EXPECT_EQ(tarnmMul_mm_32f(a.data(), 6, 4, 2, 2, a.data(), 8, 4, 2, 2, d.data(), 8, 4), StatusBadStride);
    EXPECT_EQ(tarnmMul_mm_32f(a.data(), 6, 4, 2, 2, a.data(), 8, 4, 2, 3, d.data(), 8, 4), StatusSizeMismatch);
    EXPECT_EQ(d, std::vector<float>(16, 7.0f));
}

// 4m + 1 and 4m + 2 rows: even and odd products apart in the rows left over. 4m + 3 rows: not.
TEST(MatrixProduct, OneOrTwoRowsLeftOverSumEvenAndOddApart)
{
    constexpr int inner = 7, columns = 3;
    for (const int rows : {5, 6, 7}) {
        const auto a = randomNumbers<float>(std::size_t(rows) * inner, 5);
        const auto b = randomNumbers<float>(inner * columns, 6);
        std::vector<float> d(std::size_t(rows) * columns);
        ASSERT_EQ(tarnmMul_mm_32f(a.data(), inner * 4, 4, inner, rows, b.data(), columns * 4, 4, columns, inner,
                                  d.data(), columns * 4, 4),
                  StatusOk);
        bool differs = false;
        for (int i = 0; i < rows; ++i)
            for (int j = 0; j < columns; ++j) {
                std::vector<float> p;
                for (int k = 0; k < inner; ++k)
                    p.push_back(a[i * inner + k] * b[k * columns + j]);
                const bool apart = i >= 4 && rows < 7;
                EXPECT_EQ(d[i * columns + j], apart ? evenAndOdd(p) : fromZero(p)) << rows << ": " << i << ' ' << j;
                differs = differs || evenAndOdd(p) != fromZero(p);
            }
        EXPECT_TRUE(differs) << "these numbers do not tell the orders apart";
    }
}

TEST(MatrixProduct, DenseFiveByFiveGroupsItsLastColumn)
{
    const auto a = randomNumbers<float>(25, 8), b = randomNumbers<float>(25, 9);
    std::vector<float> d(25);
    ASSERT_EQ(tarnmMul_mm_32f(a.data(), 20, 4, 5, 5, b.data(), 20, 4, 5, 5, d.data(), 20, 4), StatusOk);
    bool differs = false;
    for (int i = 0; i < 5; ++i)
        for (int j = 0; j < 5; ++j) {
            std::vector<float> p;
            for (int k = 0; k < 5; ++k)
                p.push_back(a[i * 5 + k] * b[k * 5 + j]);
            const float grouped = ((p[0] + p[1]) + (p[2] + p[3])) + p[4];
            EXPECT_EQ(d[i * 5 + j], j == 4 ? grouped : fromFirst(p)) << i << ' ' << j;
            differs = differs || grouped != fromFirst(p);
        }
    EXPECT_TRUE(differs) << "these numbers do not tell the orders apart";
}

// Sizes of 1, 2 and 3 whose bitwise OR is 3 run the code for 3 by 3 matrices, on nine entries of each table.
TEST(MatrixProduct, TwoMembersMatchTheSizesOfThreeByThreeByTheirBits)
{
    auto a = randomNumbers<float>(9, 10), b = randomNumbers<float>(9, 11);
    auto c = randomNumbers<double>(9, 12), e = randomNumbers<double>(9, 13);
    for (int rows = 1; rows <= 3; ++rows)
        for (int columns = 1; columns <= 3; ++columns)
            for (int inner = 1; inner <= 3; ++inner) {
                if ((rows | columns | inner) != 3) continue;
                std::vector<float> d(9, 100.0f);
                const auto tableA = tableOf(a), tableB = tableOf(b), tableD = tableOf(d);
                ASSERT_EQ(tarnmMul_mm_32f_P(tableA.data(), 0, inner, rows, tableB.data(), 0, columns, inner,
                                            tableD.data(), 0),
                          StatusOk);
                std::vector<double> f(9, 100.0);
                const auto tableC = tableOf(c), tableE = tableOf(e), tableF = tableOf(f);
                ASSERT_EQ(tarnmMul_tt_64f_P(tableC.data(), 0, rows, inner, tableE.data(), 0, inner, columns,
                                            tableF.data(), 0),
                          StatusOk);
                for (int i = 0; i < 3; ++i)
                    for (int j = 0; j < 3; ++j) {
                        EXPECT_EQ(d[3 * i + j], (a[3 * i] * b[j] + a[3 * i + 1] * b[3 + j]) + a[3 * i + 2] * b[6 + j]);
                        EXPECT_EQ(f[3 * i + j], (c[i] * e[3 * j] + c[3 + i] * e[3 * j + 1]) + c[6 + i] * e[3 * j + 2]);
                    }
            }
}

TEST(MatrixProduct, TheOtherMembersTestEverySize)
{
    double a[] = {2, 3}, b[] = {5, 7}, d[4] = {};
    const double *first[] = {&a[0], &a[1]}, *second[] = {&b[0], &b[1]};
    double* result[] = {&d[0], &d[1], &d[2], &d[3]};
    ASSERT_EQ(tarnmMul_mm_64f_P(first, 0, 1, 2, second, 0, 2, 1, result, 0), StatusOk);
    EXPECT_EQ(d[0], 10);
    EXPECT_EQ(d[1], 14);
    EXPECT_EQ(d[2], 15);
    EXPECT_EQ(d[3], 21);
}

// Where the element of the result lies against the 64 bytes that count as the row: K = 16 elements as if packed.
// The elements themselves are 24 bytes apart, so that there is room for the result between them.
class GuardOfLanes : public testing::TestWithParam<bool> {};

TEST_P(GuardOfLanes, IsExactToTheByte)
{
    const bool againstSecond = GetParam();
    constexpr int inner = 16, stride = 24, start = 64;
    std::vector<float> a, b, p;
    for (unsigned seed = 14; seed < 100 && (p.empty() || fromZero(p) == inLanes(p, 0, 2)); ++seed) {
        a = randomNumbers<float>(inner, seed);
        b = randomNumbers<float>(inner, seed + 100);
        p = rounded(a, b);
    }
    ASSERT_NE(fromZero(p), inLanes(p, 0, 2)) << "these numbers do not tell the orders apart";

    struct {
        int offset;
        bool isClear;
    } const places[] = {{-8, true},  {-4, true},  {4, false}, {20, false}, {52, false}, {60, false},
                        {61, false}, {63, false}, {64, true}, {65, true},  {100, true}};
    for (const auto& [offset, isClear] : places) {
        std::vector<std::byte> memory(start + inner * stride + 64), other(inner * stride);
        for (int k = 0; k < inner; ++k) {
            std::memcpy(&memory[start + k * stride], &(againstSecond ? b : a)[k], 4);
            std::memcpy(&other[k * stride], &(againstSecond ? a : b)[k], 4);
        }
        const auto* near = reinterpret_cast<const float*>(&memory[start]);
        const auto* far = reinterpret_cast<const float*>(other.data());
        auto* d = reinterpret_cast<float*>(&memory[start + offset]);
        ASSERT_EQ(tarnmMul_mt_32f(againstSecond ? far : near, 4, stride, inner, 1, againstSecond ? near : far, 4,
                                  stride, inner, 1, d, 4, 4),
                  StatusOk);
        float got;
        std::memcpy(&got, d, 4);
        EXPECT_EQ(got, isClear ? inLanes(p, 0, 2) : fromZero(p)) << offset;
    }
}

INSTANTIATE_TEST_SUITE_P(BothSources, GuardOfLanes, testing::Values(false, true));

// ---- Arrays

TEST(ArrayProduct, GoesToThreadsFromItsMeasureOn)
{
    const std::vector<float> a(9 * 2000, 1.0f);
    std::vector<float> d(9 * 2000);
    const auto asks = [&](int elementStride, int count) {
        answerThreadCount({1});
        EXPECT_EQ(tarnmMul_mam_32f(a.data(), 36, 12, elementStride, 3, 3, a.data(), 12, elementStride, 3, 3, d.data(),
                                   36, 12, elementStride, count),
                  StatusOk);
        return threadCountQueries() > 0;
    };
    EXPECT_TRUE(asks(4, 160));
    EXPECT_FALSE(asks(4, 138));
    EXPECT_FALSE(asks(8, 79)); // 9 + 18 * 79 = 1431
    EXPECT_TRUE(asks(8, 80));
}

TEST(ArrayProduct, ListsAndDoublesHaveAHigherLimit)
{
    constexpr int below = 199, from = 200; // 9 + 18 * 199 = 3591
    const std::vector<float> a(9, 1.0f);
    std::vector<float> d(9 * from);
    const std::vector<const float*> first(from, a.data());
    std::vector<float*> result;
    for (int n = 0; n < from; ++n)
        result.push_back(&d[9 * n]);
    const std::vector<double> b(9 * from, 1.0);
    std::vector<double> e(9 * from);
    for (const int count : {below, from}) {
        answerThreadCount({1});
        EXPECT_EQ(
            tarnmMul_mam_32f_L(first.data(), 0, 12, 4, 3, 3, a.data(), 12, 4, 3, 3, result.data(), 0, 12, 4, count),
            StatusOk);
        EXPECT_EQ(threadCountQueries() > 0, count == from);
        answerThreadCount({1});
        EXPECT_EQ(tarnmMul_mam_64f(b.data(), 72, 24, 8, 3, 3, b.data(), 24, 8, 3, 3, e.data(), 72, 24, 8, count),
                  StatusOk);
        EXPECT_EQ(threadCountQueries() > 0, count == from);
    }
}

TEST(ArrayProduct, CountIsTestedAheadOfSizes)
{
    const float a[9] = {};
    float d[9];
    EXPECT_EQ(tarnmMul_mam_32f(a, 36, 12, 4, 3, 3, a, 12, 4, 3, 2, d, 36, 12, 4, 0), StatusBadCount);
    EXPECT_EQ(tarnmMul_mam_32f(a, 36, 12, 4, 3, 3, a, 12, 4, 3, 2, d, 36, 12, 4, 1), StatusSizeMismatch);
}

TEST(ArrayProduct, SourcesMayOverlap)
{
    const auto a = randomNumbers<float>(9 + 6, 16), b = randomNumbers<float>(9, 17);
    std::vector<float> d(9 * 7);
    ASSERT_EQ(tarnmMul_mam_32f(a.data(), 4, 12, 4, 3, 3, b.data(), 12, 4, 3, 3, d.data(), 36, 12, 4, 7), StatusOk);
    for (int n = 0; n < 7; ++n)
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                EXPECT_EQ(d[9 * n + 3 * i + j],
                          (a[n + 3 * i] * b[j] + a[n + 3 * i + 1] * b[3 + j]) + a[n + 3 * i + 2] * b[6 + j]);
}

} // namespace
} // namespace tarnm::test
