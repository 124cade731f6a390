// Traces and Frobenius norms: single cases that callers rely on.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

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

} // namespace
