// Which of several faults some members tell, where siblings differ.
#include <gtest/gtest.h>

#include "tarnm/tarnm.h"

namespace {

float a[64], b[64], c[64];
double d[64], e[64], f[64];

TEST(ElementwiseValidation, AddMamTellsABadStrideBeforeABadSize)
{
    EXPECT_EQ(tarnmAdd_mam_32f(a, 64, 3, 4, b, 16, 4, c, 64, 16, 4, 0, 4, 1), StatusBadStride);
    EXPECT_EQ(tarnmSub_mam_32f(a, 64, 3, 4, b, 16, 4, c, 64, 16, 4, 0, 4, 1), StatusBadStride);
    EXPECT_EQ(tarnmSub_mma_32f(a, 3, 4, b, 64, 16, 4, c, 64, 16, 4, 0, 4, 1), StatusBadStride);
}

TEST(ElementwiseValidation, AddMatTellsABadSizeBeforeABadStride)
{
    EXPECT_EQ(tarnmAdd_mat_32f(a, 64, 3, 4, b, 16, 4, c, 64, 16, 4, 0, 4, 1), StatusBadSize);
}

TEST(ElementwiseValidation, AddVavTellsABadStrideBeforeABadCount)
{
    EXPECT_EQ(tarnmAdd_vav_32f(a, 12, 3, b, 4, c, 12, 4, 3, 0), StatusBadStride);
    EXPECT_EQ(tarnmAdd_vava_32f(a, 12, 3, b, 12, 4, c, 12, 4, 3, 0), StatusBadCount);
}

TEST(ElementwiseValidation, AStrideMustBeAMultipleOfTheElement)
{
    EXPECT_EQ(tarnmAdd_vv_32f(a, 2, b, 4, c, 4, 3), StatusBadStride);
    EXPECT_EQ(tarnmAdd_vv_64f(d, 4, e, 8, f, 8, 3), StatusBadStride);
}

TEST(ElementwiseValidation, ARoiShiftOfZeroIsAccepted)
{
    const float* sources[] = {a, a + 1, a + 2};
    float* results[] = {c, c + 1, c + 2};
    EXPECT_EQ(tarnmAdd_vc_32f_P(sources, 0, 1, results, 0, 3), StatusOk);
    EXPECT_EQ(tarnmAdd_vc_32f_P(sources, -4, 1, results, 0, 3), StatusBadRoiShift);
    EXPECT_EQ(tarnmAdd_vc_32f_P(sources, 2, 1, results, 0, 3), StatusBadRoiShift);
}

TEST(ElementwiseValidation, TheObjectStrideOfOneObjectInATableIsTestedThoughUnused)
{
    const float* sources[] = {a, a + 1, a + 2};
    float* results[] = {c, c + 1, c + 2};
    EXPECT_EQ(tarnmAdd_vac_32f_P(sources, 0, 3, 1, results, 0, 4, 3, 1), StatusBadStride);
    EXPECT_EQ(tarnmAdd_vac_32f_P(sources, 0, 4, 1, results, 0, 0, 3, 1), StatusBadStride);
}

// Entries of a table are the caller's business: only the table itself is tested.
TEST(ElementwiseValidation, TablesAreNotLookedIntoBeforeTheChecksEnd)
{
    const float* const sources[] = {nullptr};
    float* const results[] = {nullptr};
    EXPECT_EQ(tarnmAdd_vac_32f_L(sources, 0, 4, 1, results, 0, 4, 0, 1), StatusBadSize);
    EXPECT_EQ(tarnmAdd_vac_32f_L(sources, 0, 4, 1, results, 0, 4, 1, 0), StatusBadCount);
}

} // namespace
