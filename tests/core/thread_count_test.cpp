// How many threads a call may use: the default, the override, and where each holds.
#include "core/cpu_quota.h"
#include "core/thread_count.h"

#include <tarncore/tarncore.h>

#include <gtest/gtest.h>

#include <omp.h>

#include <algorithm>
#include <array>
#include <thread>
#include <vector>

namespace {

using tarncore::defaultThreads;

constexpr tarncore::RuntimeState eightThreads{
    .maxThreads = 8, .threadLimit = 1000, .activeLevel = 0, .maxActiveLevels = 1};

TEST(DefaultThreads, WhatTheRuntimeWouldUse) { EXPECT_EQ(defaultThreads(eightThreads, 0), 8); }

TEST(DefaultThreads, QuotaLimits)
{
    EXPECT_EQ(defaultThreads(eightThreads, 3), 3);
    EXPECT_EQ(defaultThreads(eightThreads, 8), 8);
}

TEST(DefaultThreads, LargerQuotaAddsNothing) { EXPECT_EQ(defaultThreads(eightThreads, 64), 8); }

TEST(DefaultThreads, ThreadLimitOfTheProgram)
{
    auto runtime = eightThreads;
    runtime.threadLimit = 2;
    EXPECT_EQ(defaultThreads(runtime, 0), 2);
}

TEST(DefaultThreads, InsideARegionThatMayNotNestIsOne)
{
    auto runtime = eightThreads;
    runtime.activeLevel = 1;
    EXPECT_EQ(defaultThreads(runtime, 0), 1);
}

TEST(DefaultThreads, InsideARegionThatMayNestIsAsOutside)
{
    auto runtime = eightThreads;
    runtime.activeLevel = 1;
    runtime.maxActiveLevels = 2;
    EXPECT_EQ(defaultThreads(runtime, 0), 8);
}

TEST(DefaultThreads, NeverBelowOne)
{
    auto runtime = eightThreads;
    runtime.maxThreads = 0;
    EXPECT_EQ(defaultThreads(runtime, 0), 1);
}

// The process's own runtime, with five threads for the next region unless the machine's quota is smaller.
struct NumThreads : testing::Test {
    void SetUp() override
    {
        omp_set_num_threads(5);
        ASSERT_EQ(tarnSetNumThreads(0), 0);
        byDefault = tarnGetNumThreads();
    }
    void TearDown() override
    {
        tarnSetNumThreads(0);
        omp_set_max_active_levels(1);
    }
    int32_t byDefault = 0;
};

TEST_F(NumThreads, DefaultFollowsTheRuntime)
{
    const int32_t quota = tarncore::cpuQuota("");
    EXPECT_EQ(byDefault, quota > 0 ? std::min(5, quota) : 5);
    omp_set_num_threads(1);
    EXPECT_EQ(tarnGetNumThreads(), 1);
}

TEST_F(NumThreads, OverrideHolds)
{
    for (int32_t threads : {1, 2, 7, 1000}) {
        EXPECT_EQ(tarnSetNumThreads(threads), 0);
        EXPECT_EQ(tarnGetNumThreads(), threads);
    }
}

TEST_F(NumThreads, ZeroRestoresTheDefault)
{
    tarnSetNumThreads(77);
    EXPECT_EQ(tarnSetNumThreads(0), 0);
    EXPECT_EQ(tarnGetNumThreads(), byDefault);
}

TEST_F(NumThreads, NegativeIsRefusedAndChangesNothing)
{
    tarnSetNumThreads(7);
    EXPECT_EQ(tarnSetNumThreads(-1), -6);
    EXPECT_EQ(tarnGetNumThreads(), 7);
    EXPECT_EQ(tarnSetNumThreads(INT32_MIN), -6);
    EXPECT_EQ(tarnGetNumThreads(), 7);
}

TEST_F(NumThreads, TheLibrarysQuestionHasTheSameAnswer)
{
    EXPECT_EQ(ownGetNumThreads(), byDefault);
    tarnSetNumThreads(9);
    EXPECT_EQ(ownGetNumThreads(), 9);
}

TEST_F(NumThreads, OverrideHoldsInEveryThread)
{
    int32_t seen = 0;
    std::thread([] { tarnSetNumThreads(11); }).join();
    std::thread([&] { seen = tarnGetNumThreads(); }).join();
    EXPECT_EQ(seen, 11);
    EXPECT_EQ(tarnGetNumThreads(), 11);
}

TEST_F(NumThreads, InsideAParallelRegionIsOne)
{
    std::array<int32_t, 2> seen{};
    int team = 0;
    omp_set_max_active_levels(1);
#pragma omp parallel num_threads(2)
    {
        seen[omp_get_thread_num()] = tarnGetNumThreads();
#pragma omp master
        team = omp_get_num_threads();
    }
    ASSERT_EQ(team, 2);
    EXPECT_EQ(seen, (std::array<int32_t, 2>{1, 1}));
}

TEST_F(NumThreads, InsideAParallelRegionThatMayNestIsTheDefault)
{
    std::array<int32_t, 2> seen{};
    omp_set_max_active_levels(2);
#pragma omp parallel num_threads(2)
    seen[omp_get_thread_num()] = tarnGetNumThreads();
    EXPECT_EQ(seen, (std::array<int32_t, 2>{byDefault, byDefault}));
}

TEST_F(NumThreads, AnyNumberOfThreadsMaySetAndAsk)
{
    std::vector<std::thread> threads;
    std::array<bool, 4> allInRange{};
    tarnSetNumThreads(1);
    for (int each = 0; each < 4; ++each)
        threads.emplace_back([&, each] {
            bool inRange = true;
            for (int round = 0; round < 1000; ++round) {
                tarnSetNumThreads(1 + each);
                const int32_t now = ownGetNumThreads();
                inRange = inRange && now >= 1 && now <= 4;
            }
            allInRange[each] = inRange;
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(allInRange, (std::array<bool, 4>{true, true, true, true}));
}

} // namespace
