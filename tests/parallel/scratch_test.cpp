// The scratch of a team: how much, whose, and what happens when there is none.
#include <gtest/gtest.h>
#include <omp.h>

#include "frame/parallel.h"
#include "parallel/recorded_slices.h"
#include "parallel/watched_allocator.h"
#include "support/thread_count.h"

namespace tarnm::test {
namespace {

constexpr int perThread = 80;
char serialScratch[perThread];

class Scratch : public testing::Test {
protected:
    void SetUp() override
    {
        omp_set_dynamic(0);
        resetAllocations();
    }

    std::vector<RecordedSlice> run(int count, std::vector<std::int32_t> answers, int bytes)
    {
        RecordedSlices slices;
        answerThreadCount(std::move(answers));
        status = forkOverObjects(
            count, Merge::firstFailure, std::uint64_t(bytes), serialScratch, [&](Place place, void* scratch) {
                slices.add(place, scratch);
                return place.first == failing ? tarnmStatus(StatusSingular) : tarnmStatus(StatusOk);
            });
        return slices.sorted();
    }

    static void expectSlots(const std::vector<RecordedSlice>& slices)
    {
        auto* block = static_cast<char*>(allocations().lastBlock);
        for (std::size_t thread = 0; thread < slices.size(); ++thread)
            EXPECT_EQ(slices[thread].scratch, block + thread * perThread);
    }

    tarnmStatus status = -1;
    int failing = -1;
};

TEST_F(Scratch, IsOneBlockWithASlotPerThread)
{
    const auto slices = run(10, {4}, perThread);
    ASSERT_EQ(slices.size(), 4u);
    EXPECT_EQ(allocations().made, 1);
    EXPECT_EQ(allocations().released, 1);
    EXPECT_EQ(allocations().lastSize, 4u * perThread);
    expectSlots(slices);
}

TEST_F(Scratch, IsSizedByTheFirstAnswer)
{
    const auto slices = run(10, {5, 2}, perThread);
    ASSERT_EQ(slices.size(), 2u);
    EXPECT_EQ(allocations().lastSize, 5u * perThread);
    expectSlots(slices);
    ASSERT_EQ(run(10, {2, 5}, perThread).size(), 2u);
    EXPECT_EQ(allocations().lastSize, 2u * perThread);
}

TEST_F(Scratch, IsReleasedAfterAFailure)
{
    failing = 3;
    run(10, {4}, perThread);
    EXPECT_EQ(status, StatusSingular);
    EXPECT_EQ(allocations().made, 1);
    EXPECT_EQ(allocations().released, 1);
}

TEST_F(Scratch, IsTheCallersWhereTheCallIsSerial)
{
    for (const int answer : {1, 0, 11}) {
        const auto slices = run(10, {answer}, perThread);
        ASSERT_EQ(slices.size(), 1u);
        EXPECT_EQ(slices[0], (RecordedSlice{0, 10, 10, serialScratch}));
    }
    EXPECT_EQ(allocations().made, 0);
    EXPECT_EQ(allocations().released, 0);
}

TEST_F(Scratch, IsNotAllocatedWhereNoneIsNeeded)
{
    EXPECT_EQ(run(10, {4}, 0).size(), 4u);
    EXPECT_EQ(allocations().made, 0);
    EXPECT_EQ(allocations().released, 0);
}

TEST_F(Scratch, FallsBackToTheSerialKernelWhereTheBlockCannotBeHad)
{
    allocations().fail = true;
    const auto slices = run(10, {4}, perThread);
    ASSERT_EQ(slices.size(), 1u);
    EXPECT_EQ(slices[0], (RecordedSlice{0, 10, 10, serialScratch}));
    EXPECT_EQ(allocations().made, 1);
    EXPECT_EQ(allocations().released, 0);
    EXPECT_EQ(status, StatusOk);
}

TEST_F(Scratch, FallsBackToTheSerialKernelForMoreThanMemoryCanHold)
{
    RecordedSlices slices;
    answerThreadCount({4});
    forkOverObjects(10, Merge::firstFailure, std::uint64_t(1) << 61, serialScratch, [&](Place place, void* scratch) {
        slices.add(place, scratch);
        return tarnmStatus(StatusOk);
    });
    EXPECT_EQ(slices.sorted(), (std::vector<RecordedSlice>{{0, 10, 10, serialScratch}}));
    EXPECT_EQ(allocations().made, 0);
}

} // namespace
} // namespace tarnm::test
