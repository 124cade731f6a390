// Traces and Frobenius norms: single cases that callers rely on.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "tarnm/tarnm.h"

namespace {

TEST(Trace, OfOneElementIsTheElement)
{
    for (const float x : {3.5f, -2.0f}) {
        float result = 0;
        ASSERT_EQ(tarnmTrace_m_32f(&x, 4, 4, 1, &result), StatusOk);
        EXPECT_EQ(result, x);
    }
    const float negativeZero = -0.0f;
    float result = 1;
    ASSERT_EQ(tarnmTrace_m_32f(&negativeZero, 4, 4, 1, &result), StatusOk);
    EXPECT_EQ(result, 0.0f);
    EXPECT_FALSE(std::signbit(result)) << "the sum starts from 0";
}

float frobeniusOfOne(float x)
{
    float result = -1;
    EXPECT_EQ(tarnmFrobNorm_m_32f(&x, 4, 4, 1, 1, &result), StatusOk);
    return result;
}

TEST(FrobNorm, OfOneElementIsItsMagnitude)
{
    EXPECT_EQ(frobeniusOfOne(-3.0f), 3.0f);
    EXPECT_EQ(frobeniusOfOne(1e30f), std::numeric_limits<float>::infinity());
}

TEST(FrobNorm, OfZerosIsZero)
{
    const double zeros[12] = {};
    double result = -1;
    ASSERT_EQ(tarnmFrobNorm_m_64f(zeros, 32, 8, 4, 3, &result), StatusOk);
    EXPECT_EQ(result, 0.0);
}

constexpr int mostMatrices = 40;

template <class T> void fill(std::vector<T>& elements)
{
    for (std::size_t i = 0; i < elements.size(); ++i)
        elements[i] = T(std::sin(double(i + 1)));
}

template <class T, class OfArray, class OfOne> void expectTracesOfEachAlone(OfArray ofArray, OfOne ofOne)
{
    for (const int order : {2, 3, 4, 5, 6})
        for (int count = 1; count <= mostMatrices; ++count) {
            const int size = order * order, row = order * int(sizeof(T));
            std::vector<T> a(std::size_t(count) * size), results(std::size_t(count) + 1, T(77));
            fill(a);
            ASSERT_EQ(ofArray(a.data(), row * order, row, int(sizeof(T)), order, results.data(), count), StatusOk);
            for (int n = 0; n < count; ++n) {
                T alone = 0;
                ASSERT_EQ(ofOne(&a[std::size_t(n) * size], row, int(sizeof(T)), order, &alone), StatusOk);
                ASSERT_EQ(results[n], alone) << n << " of " << count << ", order " << order;
            }
            ASSERT_EQ(results[count], T(77));
        }
}

TEST(Trace, OfPackedMatricesIsThatOfEachAlone)
{
    expectTracesOfEachAlone<float>(tarnmTrace_ma_32f, tarnmTrace_m_32f);
    expectTracesOfEachAlone<double>(tarnmTrace_ma_64f, tarnmTrace_m_64f);
}

// Dense arrays have one order of additions, whatever lies between rows and matrices.
template <class T, class Member> void expectNormsOfPaddedMatrices(Member member)
{
    constexpr int size = sizeof(T);
    for (const int order : {3, 4, 5, 6})
        for (int count = 1; count <= mostMatrices; ++count) {
            const int row = order * size, paddedRow = row + size, padded = paddedRow * order + 2 * size;
            std::vector<T> a(std::size_t(count) * order * order), b(std::size_t(count) * padded / size, T(1e30));
            fill(a);
            for (int n = 0; n < count; ++n)
                for (int r = 0; r < order; ++r)
                    for (int c = 0; c < order; ++c)
                        b[std::size_t(n * padded + r * paddedRow) / size + c] =
                            a[std::size_t((n * order + r) * order + c)];
            std::vector<T> packed(std::size_t(count) + 1, T(77)), results(packed);
            ASSERT_EQ(member(a.data(), row * order, row, size, order, order, packed.data(), count), StatusOk);
            ASSERT_EQ(member(b.data(), padded, paddedRow, size, order, order, results.data(), count), StatusOk);
            EXPECT_EQ(packed, results) << count << " of order " << order;
        }
}

TEST(FrobNorm, OfPackedMatricesHasTheBitsOfPaddedOnes)
{
    expectNormsOfPaddedMatrices<float>(tarnmFrobNorm_ma_32f);
    expectNormsOfPaddedMatrices<double>(tarnmFrobNorm_ma_64f);
}

} // namespace
