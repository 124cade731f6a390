// Which calls go to several threads: the cases worth a name. All thresholds are in tests/parallel.
#include <vector>

#include <gtest/gtest.h>

#include "support/thread_count.h"
#include "tarnm/tarnm.h"

namespace tarnm::test {
namespace {

std::vector<float> source(200000), constants(200000), result(200000);

int queriesOf(tarnmStatus status)
{
    EXPECT_EQ(status, StatusOk);
    return threadCountQueries();
}

class ElementwisePath : public testing::Test {
protected:
    void SetUp() override { answerThreadCount({1}); }
};

int addVav(int length, int count)
{
    answerThreadCount({1});
    return queriesOf(tarnmAdd_vav_32f(source.data(), length * 4, 4, constants.data(), 4, result.data(), length * 4, 4,
                                      length, count));
}

int subCva(int length, int count)
{
    answerThreadCount({1});
    return queriesOf(tarnmSub_cva_32f(source.data(), length * 4, 4, 1.0f, result.data(), length * 4, 4, length, count));
}

TEST_F(ElementwisePath, AddVavStaysSerialAtTheLimitAndForksAboveIt)
{
    EXPECT_EQ(addVav(64, 37), 0);  // 64 * (2 * 37 + 1) = 4800
    EXPECT_EQ(addVav(1, 2400), 1); // 4801
}

TEST_F(ElementwisePath, SubCvaForksAtTheLimit)
{
    EXPECT_EQ(subCva(1, 2400), 1); // 2 * 2400 = 4800
}

TEST_F(ElementwisePath, TheLengthPlaysNoPartForSubCva)
{
    EXPECT_EQ(subCva(1, 2399), 0);
    EXPECT_EQ(subCva(80, 2399), 0);
    EXPECT_EQ(subCva(80, 2400), 1);
}

int addMama(int width, int height, int count, int elementStride)
{
    answerThreadCount({1});
    return queriesOf(tarnmAdd_mama_32f(source.data(), width * height * 4, width * 4, 4, constants.data(),
                                       width * height * 4, width * 4, 4, result.data(), width * height * elementStride,
                                       width * elementStride, elementStride, width, height, count));
}

TEST_F(ElementwisePath, MatricesForkEarlierWhereElementsAreNotPacked)
{
    EXPECT_EQ(addMama(1, 1, 999, 4), 0);  // 2997
    EXPECT_EQ(addMama(1, 1, 1000, 4), 1); // 3000
    EXPECT_EQ(addMama(1, 1, 999, 8), 1);
    EXPECT_EQ(addMama(2, 3, 111, 8), 0); // 1998
    EXPECT_EQ(addMama(1, 667, 1, 8), 1); // 2001
}

TEST_F(ElementwisePath, AMeasureOf2999ForksOnlyWhereElementsAreNotPacked)
{
    const auto addMam = [](int elementStride) {
        answerThreadCount({1});
        return queriesOf(tarnmAdd_mam_32f(source.data(), 4, 4, 4, constants.data(), 4, 4, result.data(), elementStride,
                                          elementStride, elementStride, 1, 1, 1499)); // 1 * (1 + 2 * 1499)
    };
    EXPECT_EQ(addMam(4), 0);
    EXPECT_EQ(addMam(8), 1);
}

TEST_F(ElementwisePath, MulVacForksEarlierWhereElementsAreNotPacked)
{
    const auto mulVac = [](int elementStride) {
        answerThreadCount({1});
        return queriesOf(tarnmMul_vac_32f(source.data(), 4 * elementStride, elementStride, 2.0f, result.data(), 16, 4,
                                          4, 300)); // 2 * 4 * 300 = 2400
    };
    EXPECT_EQ(mulVac(4), 0);
    EXPECT_EQ(mulVac(8), 1);
}

TEST_F(ElementwisePath, SingleObjectsNeverFork)
{
    EXPECT_EQ(queriesOf(tarnmAdd_vc_32f(source.data(), 4, 1, result.data(), 4, 100000)), 0);
    EXPECT_EQ(queriesOf(tarnmSub_cv_32f(source.data(), 4, 1, result.data(), 4, 100000)), 0);
    EXPECT_EQ(queriesOf(tarnmMul_mc_32f(source.data(), 400, 4, 1, result.data(), 400, 4, 100, 1000)), 0);
}

// 3 * 32768 * 21846 is above the largest signed number of 32 bits and wraps to a negative one. Objects lie one element
// apart, so that the memory is small.
TEST_F(ElementwisePath, AMeasureThatWrapsToANegativeNumberStaysSerial)
{
    constexpr int length = 32768, count = 21846;
    EXPECT_EQ(
        queriesOf(tarnmAdd_vava_32f(source.data(), 4, 4, constants.data(), 4, 4, result.data(), 4, 4, length, count)),
        0);
}

} // namespace
} // namespace tarnm::test
