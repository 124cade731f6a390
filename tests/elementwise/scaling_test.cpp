// Two members that see the same memory in two ways.
#include <vector>

#include <gtest/gtest.h>

#include "tarnm/tarnm.h"

namespace {

// An array of vectors is a matrix whose rows are the vectors.
TEST(ElementwiseScaling, AMatrixAndItsRowsAsVectorsGiveTheSame)
{
    for (const int length : {1, 3, 4, 5, 6, 7, 15, 16, 17, 40})
        for (const int elementStride : {4, 8}) {
            constexpr int count = 9;
            const int rowStride = length * elementStride + 12;
            std::vector<float> source(std::size_t(rowStride) / 4 * count);
            for (std::size_t i = 0; i < source.size(); ++i)
                source[i] = float(i) / 7;
            std::vector<float> asMatrix(source.size(), -1.0f), asVectors(source.size(), -1.0f);
            ASSERT_EQ(tarnmMul_mc_32f(source.data(), rowStride, elementStride, 1.1f, asMatrix.data(), rowStride,
                                      elementStride, length, count),
                      StatusOk);
            ASSERT_EQ(tarnmMul_vac_32f(source.data(), rowStride, elementStride, 1.1f, asVectors.data(), rowStride,
                                       elementStride, length, count),
                      StatusOk);
            EXPECT_EQ(asMatrix, asVectors) << "length " << length;
            EXPECT_EQ(asMatrix[0], 1.1f * source[0]);
        }
}

} // namespace
