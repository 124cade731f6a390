// Loading and calling the library leaves the processor's modes alone: results below the smallest normal number stay.
#include <limits>

#include <gtest/gtest.h>

#include "tarnm/tarnm.h"

namespace {

template <class T> void expectDenormals()
{
    volatile T smallest = std::numeric_limits<T>::min();
    const T half = smallest * T(0.5);
    EXPECT_GT(half, T(0));
    EXPECT_LT(half, smallest);
}

TEST(ProcessorModes, DenormalsStayWhatTheyAre)
{
    expectDenormals<float>();
    expectDenormals<double>();

    const float one[3] = {std::numeric_limits<float>::min(), 1, 1};
    float halved[3];
    ASSERT_EQ(tarnmMul_vac_32f(one, 12, 4, 0.5f, halved, 12, 4, 3, 1), StatusOk);
    EXPECT_EQ(halved[0], std::numeric_limits<float>::min() * 0.5f);
    EXPECT_GT(halved[0], 0.0f);
    expectDenormals<float>();
    expectDenormals<double>();
}

} // namespace
