// Calls on several threads: the same results for every team, from every kind of caller.
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <omp.h>

#include "support/thread_count.h"
#include "tarnm/tarnm.h"

namespace tarnm::test {
namespace {

constexpr int length = 5;
constexpr int count = 3001;

// src1(n)[k] + src2[k] over packed vectors, far above the threshold.
class Sum {
public:
    Sum()
        : first(std::size_t(length) * count)
        , second(length)
        , result(first.size(), -1.0f)
    {
        for (std::size_t i = 0; i < first.size(); ++i)
            first[i] = float(i) * 0.25f;
        for (int k = 0; k < length; ++k)
            second[k] = float(k) * 1000.5f;
    }

    tarnmStatus run(int objects = count)
    {
        return tarnmAdd_vav_32f(first.data(), length * 4, 4, second.data(), 4, result.data(), length * 4, 4, length,
                                objects);
    }

    // Empty where the first `objects` are right and the others untouched.
    std::string mistakes(int objects = count) const
    {
        for (std::size_t i = 0; i < result.size(); ++i) {
            const bool within = i < std::size_t(length) * std::size_t(objects);
            const float expected = within ? first[i] + second[i % length] : -1.0f;
            if (result[i] != expected) return "element " + std::to_string(i);
        }
        return {};
    }

private:
    std::vector<float> first, second, result;
};

class ParallelCalls : public testing::Test {
protected:
    void SetUp() override { omp_set_dynamic(0); }
};

TEST_F(ParallelCalls, GiveTheSameResultForEveryAnswer)
{
    for (const int threads : {0, -1, 1, 2, 3, 4, 7, 1000}) {
        Sum sum;
        answerThreadCount({threads});
        EXPECT_EQ(sum.run(), StatusOk);
        EXPECT_EQ(sum.mistakes(), "") << threads << " threads";
        EXPECT_EQ(threadCountQueries(), threads > 1 ? 2 : 1) << threads << " threads";
    }
}

TEST_F(ParallelCalls, GiveTheSameResultWhenTheSecondAnswerDiffers)
{
    const std::vector<std::int32_t> pairs[] = {{4, 2}, {2, 4}, {3, 0}, {3, -7}, {7, 1}, {2, 1000}};
    for (const auto& answers : pairs) {
        Sum sum;
        answerThreadCount(answers);
        EXPECT_EQ(sum.run(), StatusOk);
        EXPECT_EQ(sum.mistakes(), "") << answers[0] << " then " << answers[1];
        EXPECT_EQ(threadCountQueries(), 2);
    }
}

TEST_F(ParallelCalls, StaySerialWithOneObjectLessThanThreads)
{
    for (const int objects : {999, 1000}) {
        Sum sum;
        answerThreadCount({1000, 4});
        EXPECT_EQ(sum.run(objects), StatusOk);
        EXPECT_EQ(sum.mistakes(objects), "");
        EXPECT_EQ(threadCountQueries(), objects < 1000 ? 1 : 2);
    }
}

TEST_F(ParallelCalls, AreLegalFromInsideAParallelRegion)
{
    for (const int levels : {1, 2}) {
        omp_set_max_active_levels(levels);
        answerThreadCount({3});
        std::vector<Sum> sums(2);
        std::vector<tarnmStatus> statuses(2, -1);
#pragma omp parallel num_threads(2)
        {
            const int thread = omp_get_thread_num();
            statuses[thread] = sums[thread].run();
        }
        for (int thread = 0; thread < 2; ++thread) {
            EXPECT_EQ(statuses[thread], StatusOk);
            EXPECT_EQ(sums[thread].mistakes(), "") << levels << " active levels";
        }
    }
    omp_set_max_active_levels(1);
}

TEST_F(ParallelCalls, MayComeFromManyThreadsAtOnce)
{
    constexpr int callers = 8, rounds = 5;
    answerThreadCount({3});
    std::vector<Sum> sums(callers);
    std::vector<std::thread> threads;
    std::vector<int> failures(callers, 0);
    for (int caller = 0; caller < callers; ++caller)
        threads.emplace_back([&, caller] {
            for (int round = 0; round < rounds; ++round)
                failures[caller] += sums[caller].run() != StatusOk;
        });
    for (std::thread& thread : threads)
        thread.join();
    for (int caller = 0; caller < callers; ++caller) {
        EXPECT_EQ(failures[caller], 0);
        EXPECT_EQ(sums[caller].mistakes(), "");
    }
}

// Its siblings fork with this much work. It computes the same measure and stays on the calling thread.
TEST_F(ParallelCalls, DoNotForkInTheTableMemberOfSubVva64f)
{
    std::vector<double> first(length), second(std::size_t(length) * count), result(second.size());
    for (int k = 0; k < length; ++k)
        first[k] = k * 3.5;
    for (std::size_t i = 0; i < second.size(); ++i)
        second[i] = double(i);
    std::vector<const double*> firstTable, secondTable;
    std::vector<double*> resultTable;
    for (int k = 0; k < length; ++k) {
        firstTable.push_back(&first[k]);
        secondTable.push_back(&second[k]);
        resultTable.push_back(&result[k]);
    }
    answerThreadCount({4});
    EXPECT_EQ(tarnmSub_vva_64f_P(firstTable.data(), 0, secondTable.data(), 0, length * 8, resultTable.data(), 0,
                                 length * 8, length, count),
              StatusOk);
    EXPECT_EQ(threadCountQueries(), 0);
    for (std::size_t i = 0; i < result.size(); ++i)
        ASSERT_EQ(result[i], first[i % length] - second[i]) << i;

    std::vector<double> sibling(result.size());
    EXPECT_EQ(
        tarnmSub_vva_64f(first.data(), 8, second.data(), length * 8, 8, sibling.data(), length * 8, 8, length, count),
        StatusOk);
    EXPECT_EQ(threadCountQueries(), 2);
    EXPECT_EQ(sibling, result);
}

} // namespace
} // namespace tarnm::test
