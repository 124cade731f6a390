// Every exported member against the plain reference of its family.
#include <gtest/gtest.h>

#include <omp.h>

#include "conformance/trial.h"
#include "reference/problem.h"
#include "support/members.h"

namespace tarnm::test {
namespace {

constexpr int worstFailures = 3;

std::string shortName(const Member& member) { return std::string(member.name.substr(sizeof "tarnm" - 1)); }

class Conformance : public testing::TestWithParam<const Member*> {
protected:
    void SetUp() override
    {
        reportFaults();
        omp_set_dynamic(0);
    }

    // Counts failures and stops the test when there are enough to see what is wrong.
    bool enough(const std::string& failure)
    {
        if (failure.empty()) return false;
        ADD_FAILURE() << failure;
        return ++failures >= worstFailures;
    }

private:
    int failures = 0;
};

TEST_P(Conformance, MatchesReference)
{
    const Member& member = *GetParam();
    const auto found = reference::registrationsOf(member);
    ASSERT_EQ(found.size(), 1u) << member.name << " needs exactly one reference";
    const reference::Registration& registration = *found.front();
    for (const Trial& trial : planTrials(member, registration.options))
        if (enough(runTrial(member, registration, trial, 1))) return;

    constexpr int manyObjects = 1 << 15;
    for (const Trial& trial : planTeamTrials(member, registration.options)) {
        const int first = firstParallelCount(member, registration, trial, manyObjects);
        if (first == 0) continue;
        for (const int count : {first - 1, first, first + 7})
            for (const int threads : {1, 2, 3, 5}) {
                Trial on = trial;
                on.setup.count = std::max(1, count);
                if (enough(runTrial(member, registration, on, threads))) return;
            }
    }
}

std::vector<const Member*> allMembers()
{
    std::vector<const Member*> all;
    for (const Member& member : members())
        all.push_back(&member);
    return all;
}

INSTANTIATE_TEST_SUITE_P(Members, Conformance, testing::ValuesIn(allMembers()),
                         [](const auto& info) { return shortName(*info.param); });

TEST(References, EveryExportedMemberHasAReference)
{
    for (const Member& member : members()) {
        const auto found = reference::registrationsOf(member);
        EXPECT_EQ(found.size(), 1u) << member.name;
        for (const reference::Registration* registration : found)
            EXPECT_TRUE(member.type == Type::f32 ? registration->single != nullptr : registration->real != nullptr)
                << member.name;
    }
}

} // namespace
} // namespace tarnm::test
