// How the objects of a call are spread over threads, and what is made of the statuses.
#include <atomic>

#include <gtest/gtest.h>
#include <omp.h>

#include "frame/parallel.h"
#include "parallel/recorded_slices.h"
#include "support/thread_count.h"

namespace tarnm::test {
namespace {

using Ranges = std::vector<std::pair<int, int>>;

class Frame : public testing::Test {
protected:
    void SetUp() override { omp_set_dynamic(0); }

    // The slices of a call that hears these answers.
    Ranges slicesOf(int count, std::vector<std::int32_t> answers)
    {
        RecordedSlices slices;
        answerThreadCount(std::move(answers));
        status = forkOverObjects(count, Merge::none, 0, nullptr, [&](Place place, void* scratch) {
            slices.add(place, scratch);
            return tarnmStatus(StatusOk);
        });
        for (const RecordedSlice& slice : slices.sorted())
            EXPECT_EQ(slice.total, count);
        return slices.ranges();
    }

    tarnmStatus status = -1;
};

TEST_F(Frame, SplitsTenObjectsOverFourThreads)
{
    EXPECT_EQ(slicesOf(10, {4}), (Ranges{{0, 3}, {3, 3}, {6, 2}, {8, 2}}));
    EXPECT_EQ(status, StatusOk);
    EXPECT_EQ(threadCountQueries(), 2);
}

TEST_F(Frame, GivesEachThreadOneObjectWhereThereAreAsManyObjectsAsThreads)
{
    EXPECT_EQ(slicesOf(4, {4}), (Ranges{{0, 1}, {1, 1}, {2, 1}, {3, 1}}));
}

TEST_F(Frame, StaysSerialWithOneObjectLessThanThreads)
{
    EXPECT_EQ(slicesOf(3, {4}), (Ranges{{0, 3}}));
    EXPECT_EQ(threadCountQueries(), 1);
    EXPECT_EQ(slicesOf(6, {7}), (Ranges{{0, 6}}));
    EXPECT_EQ(threadCountQueries(), 1);
}

TEST_F(Frame, StaysSerialForOneThreadAndForAnswersBelow)
{
    for (const int answer : {1, 0, -1, -1000}) {
        EXPECT_EQ(slicesOf(10, {answer}), (Ranges{{0, 10}})) << answer;
        EXPECT_EQ(threadCountQueries(), 1) << answer;
    }
}

TEST_F(Frame, StaysSerialForMoreThreadsThanObjects)
{
    EXPECT_EQ(slicesOf(999, {1000}), (Ranges{{0, 999}}));
    EXPECT_EQ(threadCountQueries(), 1);
}

TEST_F(Frame, CoversEveryObjectOnceForAllTeams)
{
    for (const int threads : {2, 3, 4, 7})
        for (int count = 1; count < 40; ++count) {
            int next = 0;
            for (const auto& [first, length] : slicesOf(count, {threads})) {
                EXPECT_EQ(first, next);
                EXPECT_GT(length, 0);
                next += length;
            }
            EXPECT_EQ(next, count);
        }
}

TEST_F(Frame, AsksForTheSecondAnswerIfItIsSmaller)
{
    EXPECT_EQ(slicesOf(10, {4, 2}), (Ranges{{0, 5}, {5, 5}}));
    EXPECT_EQ(slicesOf(11, {7, 3}), (Ranges{{0, 4}, {4, 4}, {8, 3}}));
}

TEST_F(Frame, AsksForNoMoreThanTheFirstAnswer) { EXPECT_EQ(slicesOf(10, {2, 7}), (Ranges{{0, 5}, {5, 5}})); }

TEST_F(Frame, TakesASecondAnswerBelowOneForOne)
{
    EXPECT_EQ(slicesOf(10, {4, 0}), (Ranges{{0, 10}}));
    EXPECT_EQ(slicesOf(10, {4, -3}), (Ranges{{0, 10}}));
    EXPECT_EQ(slicesOf(10, {4, 1}), (Ranges{{0, 10}}));
}

// The runtime gives a nested region one thread, whatever is asked for.
TEST_F(Frame, FollowsTheTeamThatItReallyGets)
{
    omp_set_max_active_levels(1);
    Ranges seen[2];
#pragma omp parallel num_threads(2)
    {
#pragma omp critical(slicesOfOneCall)
        seen[omp_get_thread_num()] = slicesOf(10, {4});
    }
    EXPECT_EQ(seen[0], (Ranges{{0, 10}}));
    EXPECT_EQ(seen[1], (Ranges{{0, 10}}));
}

TEST_F(Frame, SplitsByTheRealSizeOfATeam)
{
    for (const int team : {1, 2, 3, 4, 5})
        for (int thread = 0, next = 0; thread < team; ++thread) {
            const Place place = sliceOf(13, team, thread);
            EXPECT_EQ(place.first, next);
            EXPECT_EQ(place.count, 13 / team + (thread < 13 % team));
            next += place.count;
        }
}

TEST_F(Frame, ReturnsTheFailureAndLetsTheOthersRunToTheirEnd)
{
    for (const int failing : {0, 3, 6, 8}) {
        std::atomic<int> finished{0};
        answerThreadCount({4});
        const auto slice = [&](Place place, void*) {
            ++finished;
            return tarnmStatus(place.first == failing ? StatusSingular : StatusOk);
        };
        EXPECT_EQ(forkOverObjects(10, Merge::firstFailure, 0, nullptr, slice), StatusSingular);
        EXPECT_EQ(finished, 4);
    }
}

TEST_F(Frame, ReturnsOneOfTwoFailures)
{
    answerThreadCount({4});
    const tarnmStatus found = forkOverObjects(10, Merge::firstFailure, 0, nullptr, [](Place place, void*) {
        return tarnmStatus(place.first == 3 ? StatusSingular : place.first == 6 ? StatusNotConverged : StatusOk);
    });
    EXPECT_TRUE(found == StatusSingular || found == StatusNotConverged) << found;
}

TEST_F(Frame, DoesNotLetASuccessHideAFailure)
{
    std::atomic<bool> late{false};
    answerThreadCount({2});
    const tarnmStatus found = forkOverObjects(10, Merge::firstFailure, 0, nullptr, [&](Place place, void*) {
        if (place.first == 0) {
            late = true;
            return tarnmStatus(StatusOk);
        }
        while (!late) {
        }
        return tarnmStatus(StatusDivByZero);
    });
    EXPECT_EQ(found, StatusDivByZero);
}

TEST_F(Frame, ReturnsOkWhereSlicesCannotFail)
{
    answerThreadCount({2});
    const auto slice = [](Place, void*) { return tarnmStatus(StatusError); };
    EXPECT_EQ(forkOverObjects(10, Merge::none, 0, nullptr, slice), StatusOk);
}

TEST_F(Frame, ReturnsTheStatusOfTheSerialKernel)
{
    answerThreadCount({1});
    const auto slice = [](Place, void*) { return tarnmStatus(StatusSingular); };
    EXPECT_EQ(forkOverObjects(10, Merge::firstFailure, 0, nullptr, slice), StatusSingular);
}

} // namespace
} // namespace tarnm::test
