// Products of matrices and vectors: checks, pairs of objects, alignment.
#include <cmath>

#include <gtest/gtest.h>
#include <omp.h>

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

TEST(VectorProduct, AVectorOfAnotherLengthIsAMismatch)
{
    const float a[9] = {}, x[4] = {};
    float d[4] = {7, 7, 7, 7};
    EXPECT_EQ(tarnmMul_mv_32f(a, 12, 4, 3, 3, x, 4, 4, d, 4), StatusSizeMismatch);
    for (const float element : d)
        EXPECT_EQ(element, 7);
}

TEST(VectorProduct, TransposedTwoByThreeTakesThreeElementsAndWritesTwo)
{
    const float a[] = {1, 2, 3, 4, 5, 6}, x[] = {1, 10, 100};
    float d[] = {7, 7, 7};
    EXPECT_EQ(tarnmMul_tv_32f(a, 8, 4, 2, 3, x, 4, 2, d, 4), StatusSizeMismatch);
    EXPECT_EQ(tarnmMul_tv_32f(a, 8, 4, 2, 3, x, 4, 3, d, 4), StatusOk);
    EXPECT_EQ(d[0], 531);
    EXPECT_EQ(d[1], 642);
    EXPECT_EQ(d[2], 7);
}

TEST(VectorProduct, ThreeByFourIsNoCase)
{
    const std::vector<float> negativeZeros(12, -0.0f), ones(4, 1.0f);
    float d[3] = {7, 7, 7};
    ASSERT_EQ(tarnmMul_mv_32f(negativeZeros.data(), 16, 4, 4, 3, ones.data(), 4, 4, d, 4), StatusOk);
    for (const float element : d)
        EXPECT_TRUE(element == 0 && !std::signbit(element));
    ASSERT_EQ(tarnmMul_mv_32f(negativeZeros.data(), 12, 4, 3, 3, ones.data(), 4, 3, d, 4), StatusOk);
    for (const float element : d)
        EXPECT_TRUE(element == 0 && std::signbit(element));
}

TEST(VectorProduct, CountIsTestedBehindPointersAndAheadOfSizes)
{
    const float a[9] = {}, x[3] = {};
    float d[3];
    EXPECT_EQ(tarnmMul_mva_32f(a, 12, 4, 0, 3, x, 12, 4, 3, d, 12, 4, 0), StatusBadCount);
    EXPECT_EQ(tarnmMul_mva_32f(nullptr, 12, 4, 3, 3, x, 12, 4, 3, d, 12, 4, 0), StatusNullPointer);
}

TEST(VectorProduct, ANegativeShiftIsAFault)
{
    const float a[9] = {}, x[3] = {};
    float d[3];
    const float* vectors[] = {x};
    float* results[] = {d};
    EXPECT_EQ(tarnmMul_mva_32f_L(a, 12, 4, 3, 3, vectors, -4, 4, 3, results, 0, 4, 1), StatusBadRoiShift);
    EXPECT_EQ(tarnmMul_mva_32f_L(a, 12, 4, 3, 3, vectors, 0, 4, 3, results, -4, 4, 1), StatusBadRoiShift);
}

// Two rows of nine products: in a pair of objects ascending, for an object alone even and odd apart. The pairs are those
// of the whole call, whatever the number of threads.
TEST(VectorProduct, TheLastOfAnOddNumberStandsAlone)
{
    omp_set_dynamic(0);
    constexpr int rows = 2, inner = 9;
    for (const int count : {1, 2, 3, 501, 502})
        for (const int threads : {1, 2, 3, 5}) {
            const auto a = randomNumbers<float>(std::size_t(rows) * inner * count, 1);
            const auto x = randomNumbers<float>(std::size_t(inner) * count, 2);
            std::vector<float> d(std::size_t(rows) * count);
            answerThreadCount({threads});
            ASSERT_EQ(tarnmMul_mava_32f(a.data(), rows * inner * 4, inner * 4, 4, inner, rows, x.data(), inner * 4, 4,
                                        inner, d.data(), rows * 4, 4, count),
                      StatusOk);
            EXPECT_EQ(threadCountQueries() > 0, count > 100);
            for (int n = 0; n < count; ++n)
                for (int i = 0; i < rows; ++i) {
                    std::vector<float> p;
                    for (int k = 0; k < inner; ++k)
                        p.push_back(a[(n * rows + i) * inner + k] * x[n * inner + k]);
                    const bool alone = count % 2 == 1 && n == count - 1;
                    ASSERT_EQ(d[n * rows + i], alone ? evenAndOdd(p) : fromZero(p)) << n << " of " << count;
                }
        }
}

// 16 bytes behind a multiple of 32: four products come ahead of the lanes.
TEST(VectorProduct, TransposedBeginsItsLanesAtAMultipleOf32Bytes)
{
    constexpr int rows = 8;
    for (const int inner : {11, 12, 13}) {
        const auto a = randomNumbers<float>(std::size_t(rows) * inner, 3);
        const auto numbers = randomNumbers<float>(inner, 4);
        const Aligned<float> x(numbers, 16);
        float d[rows];
        ASSERT_EQ(tarnmMul_tv_32f(a.data(), rows * 4, 4, rows, inner, x.data(), 4, inner, d, 4), StatusOk);
        bool differs = false;
        for (int i = 0; i < rows; ++i) {
            std::vector<float> p;
            for (int k = 0; k < inner; ++k)
                p.push_back(a[k * rows + i] * numbers[k]);
            EXPECT_EQ(d[i], inner < 12 ? fromZero(p) : inLanes(p, 4, 1)) << inner << ' ' << i;
            differs = differs || fromZero(p) != inLanes(p, 4, 1);
        }
        EXPECT_TRUE(differs || inner < 12) << "these numbers do not tell the orders apart";
    }
}

TEST(VectorProduct, TransposedTakesSixteenAtATimeForThreeElementsLeftOver)
{
    for (const int rows : {1, 2, 3, 4, 9, 12})
        for (const int inner : {15, 16, 24}) {
            const auto a = randomNumbers<float>(std::size_t(rows) * inner, 5);
            const auto numbers = randomNumbers<float>(inner, 6);
            const Aligned<float> x(numbers, 0);
            std::vector<float> d(rows);
            ASSERT_EQ(tarnmMul_tv_32f(a.data(), rows * 4, 4, rows, inner, x.data(), 4, inner, d.data(), 4), StatusOk);
            for (int i = 0; i < rows; ++i) {
                std::vector<float> p;
                for (int k = 0; k < inner; ++k)
                    p.push_back(a[k * rows + i] * numbers[k]);
                const bool bySixteen = rows % 8 <= 3 && i >= rows - rows % 8;
                const float expected = !bySixteen ? inLanes(p, 0, 1) : inner < 16 ? fromZero(p) : inLanes(p, 0, 2);
                EXPECT_EQ(d[i], expected) << rows << ' ' << inner << ' ' << i;
            }
        }
}

// One 4 by 4 or 5 by 5 matrix and `count` vectors, `objectStride` bytes apart, `offset` bytes behind a multiple of 32.
struct OneMatrix {
    int order, count, objectStride, rowStride, matrixOffset, vectorOffset, resultOffset;

    // Whether all elements are the sums of `grouped`, or else those from the first product on.
    template <class Grouped> bool isGrouped(const Grouped& grouped) const
    {
        const auto a = randomNumbers<float>(64, 7), x = randomNumbers<float>(std::size_t(objectStride) * count, 8);
        const Aligned<float> matrix(a, matrixOffset), vectors(x, vectorOffset);
        Aligned<float> results(std::vector<float>(x.size()), resultOffset);
        EXPECT_EQ(tarnmMul_mva_32f(matrix.data(), rowStride, 4, order, order, vectors.data(), objectStride, 4, order,
                                   results.data(), objectStride, 4, count),
                  StatusOk);
        int asGrouped = 0, fromTheFirst = 0, all = 0;
        for (int n = 0; n < count; ++n)
            for (int i = 0; i < order; ++i, ++all) {
                std::vector<float> p;
                for (int k = 0; k < order; ++k)
                    p.push_back(a[i * rowStride / 4 + k] * x[n * objectStride / 4 + k]);
                const float got = results[std::size_t(n * objectStride / 4 + i)];
                asGrouped += got == grouped(p);
                fromTheFirst += got == fromFirst(p);
            }
        EXPECT_NE(asGrouped, fromTheFirst) << "these numbers do not tell the orders apart";
        EXPECT_EQ(std::max(asGrouped, fromTheFirst), all);
        return asGrouped == all;
    }
};

TEST(VectorProduct, AlignedFourByFourAddsEvenAndOddApart)
{
    const auto isGrouped = [](OneMatrix call) {
        return call.isGrouped([](const std::vector<float>& p) { return (p[0] + p[2]) + (p[1] + p[3]); });
    };
    EXPECT_TRUE(isGrouped({4, 9, 16, 16, 0, 0, 0}));
    EXPECT_TRUE(isGrouped({4, 9, 32, 16, 16, 16, 16}));
    EXPECT_FALSE(isGrouped({4, 9, 16, 32, 0, 0, 0}));
    EXPECT_FALSE(isGrouped({4, 9, 20, 16, 0, 0, 0}));
    EXPECT_FALSE(isGrouped({4, 9, 16, 16, 4, 0, 0}));
    EXPECT_FALSE(isGrouped({4, 9, 16, 16, 0, 8, 0}));
    EXPECT_FALSE(isGrouped({4, 9, 16, 16, 0, 0, 4}));
}

TEST(VectorProduct, AlignedFiveByFiveGroupsFromFiveObjectsOn)
{
    const auto isGrouped = [](OneMatrix call) {
        return call.isGrouped([](const std::vector<float>& p) { return ((p[0] + p[1]) + (p[2] + p[3])) + p[4]; });
    };
    EXPECT_TRUE(isGrouped({5, 5, 32, 20, 0, 0, 0}));
    EXPECT_FALSE(isGrouped({5, 4, 32, 20, 0, 0, 0}));
    EXPECT_TRUE(isGrouped({5, 5, 32, 24, 4, 16, 16}));
    EXPECT_FALSE(isGrouped({5, 5, 20, 20, 0, 0, 0}));
    EXPECT_FALSE(isGrouped({5, 5, 32, 20, 0, 4, 0}));
    EXPECT_FALSE(isGrouped({5, 5, 32, 20, 0, 0, 8}));
}

// Outside the cases: all six multiples of 32 and sixteen products lead to lanes in steps of 16 without a prologue.
TEST(VectorProduct, OneMatrixAndManyVectorsLookAtAllAlignments)
{
    constexpr int rows = 2, inner = 24, rowStride = 96, objectStride = 128, count = 3;
    const auto a = randomNumbers<float>(rows * inner, 9), x = randomNumbers<float>(objectStride / 4 * count, 10);
    struct {
        int matrixOffset, vectorOffset, resultOffset;
    } const offsets[] = {{0, 0, 0}, {16, 0, 0}, {0, 16, 0}, {0, 0, 16}};
    for (const auto& [matrixOffset, vectorOffset, resultOffset] : offsets) {
        const Aligned<float> matrix(a, matrixOffset), vectors(x, vectorOffset);
        Aligned<float> results(std::vector<float>(x.size()), resultOffset);
        ASSERT_EQ(tarnmMul_mva_32f(matrix.data(), rowStride, 4, inner, rows, vectors.data(), objectStride, 4, inner,
                                   results.data(), objectStride, 4, count),
                  StatusOk);
        const bool allAligned = matrixOffset + vectorOffset + resultOffset == 0;
        for (int n = 0; n < count; ++n)
            for (int i = 0; i < rows; ++i) {
                std::vector<float> p;
                for (int k = 0; k < inner; ++k)
                    p.push_back(a[i * inner + k] * x[n * objectStride / 4 + k]);
                EXPECT_EQ(results[std::size_t(n * objectStride / 4 + i)],
                          allAligned ? inLanes(p, 0, 2) : inLanes(p, vectorOffset / 4, 1))
                    << matrixOffset << ' ' << vectorOffset << ' ' << resultOffset;
            }
    }
}

} // namespace
} // namespace tarnm::test
