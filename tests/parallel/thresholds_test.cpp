// Each threshold on both sides, told by the questions for the number of threads.
#include <algorithm>

#include <gtest/gtest.h>

#include "parallel/thresholds.h"
#include "support/call.h"
#include "support/thread_count.h"
#include "support/usual_sizes.h"
#include "support/valid_call.h"

namespace tarnm::test {
namespace {

bool hasCount(const Member& member)
{
    return std::ranges::any_of(member.arguments(), [](const Argument& a) { return a.kind == Kind::count; });
}

bool has(const Sizes& sizes, const char* name) { return sizes.contains(std::string_view(name)); }

// Many sizes, so that the measures come close to the threshold.
std::vector<Sizes> manySizes(const Member& member, int smallest)
{
    std::vector<Sizes> found = usualSizes(member);
    const Sizes first = found.front();
    const bool square = first.size() == 1;
    if (square)
        for (int n = 1; n <= 130; ++n)
            found.push_back({{first.begin()->first, n}});
    if (has(first, "width") && has(first, "height"))
        for (int width = 1; width <= 20; ++width)
            for (int height = width; height <= 20; ++height)
                found.push_back({{"width", width}, {"height", height}});
    std::erase_if(found, [&](const Sizes& sizes) {
        return std::ranges::any_of(sizes, [&](const auto& size) { return size.second < smallest; });
    });
    return found;
}

struct Work {
    Sizes sizes;
    int count = 0;
    std::int64_t measure = -1;
};

// The calls with the largest measure below the threshold and the smallest from it on.
std::pair<Work, Work> nearest(const Member& member, const ThresholdRow& row, std::int64_t threshold)
{
    Work below, above;
    for (const Sizes& sizes : manySizes(member, row.smallest)) {
        const std::int64_t step = row.measure(sizes, 2) - row.measure(sizes, 1);
        const std::int64_t last = (threshold - 1 - row.measure(sizes, 0)) / step;
        if (threshold <= row.measure(sizes, 0)) continue;
        if (last >= 1 && row.measure(sizes, last) > below.measure) below = {sizes, int(last), row.measure(sizes, last)};
        if (last >= 1 && (above.measure < 0 || row.measure(sizes, last + 1) < above.measure))
            above = {sizes, int(last + 1), row.measure(sizes, last + 1)};
    }
    return {below, above};
}

int queriesOf(const Member& member, const Work& work, const std::vector<Style>& styles,
              const std::vector<std::int32_t>& answers)
{
    Call call(member, {.sizes = work.sizes, .count = work.count, .styles = styles});
    fillWithIdentities(call);
    answerThreadCount(answers);
    EXPECT_GE(call(), -205);
    return threadCountQueries();
}

std::string text(const Member& member, const Work& work)
{
    std::string line(member.name);
    for (const auto& [name, size] : work.sizes)
        line += ", " + name + ' ' + std::to_string(size);
    return line + ", count " + std::to_string(work.count) + ", measure " + std::to_string(work.measure);
}

void expectThreshold(const Member& member, const ThresholdRow& row, std::int64_t threshold,
                     const std::vector<Style>& styles)
{
    const auto [below, above] = nearest(member, row, threshold);
    ASSERT_GT(below.count, 0) << member.name;
    ASSERT_GT(above.count, 0) << member.name;
    EXPECT_EQ(queriesOf(member, below, styles, {2}), 0) << text(member, below);
    EXPECT_EQ(queriesOf(member, above, styles, {1}), 1) << text(member, above);
    // A second question is asked only where a team is to be had.
    EXPECT_EQ(queriesOf(member, above, styles, {2}), above.count >= 2 ? 2 : 1) << text(member, above);
}

class Thresholds : public testing::TestWithParam<const Member*> {};

TEST_P(Thresholds, AreExactWhereAllElementsArePacked)
{
    const Member& member = *GetParam();
    const ThresholdRow& row = *thresholdsOf(member).front();
    expectThreshold(member, row, row.dense, simpleStyles(member));
}

// A single element stride is enough to leave the dense case.
TEST_P(Thresholds, AreExactWhereOneOperandIsNotPacked)
{
    const Member& member = *GetParam();
    const ThresholdRow& row = *thresholdsOf(member).front();
    for (const Argument& argument : member.arguments()) {
        if (argument.kind != Kind::elementStride) continue;
        std::vector<Style> styles = simpleStyles(member);
        styles[argument.operand] = Style::strided;
        expectThreshold(member, row, row.other, styles);
    }
}

std::vector<const Member*> membersWithThresholds()
{
    std::vector<const Member*> found;
    for (const Member& member : members())
        if (!thresholdsOf(member).empty()) found.push_back(&member);
    return found;
}

INSTANTIATE_TEST_SUITE_P(Members, Thresholds, testing::ValuesIn(membersWithThresholds()),
                         [](const auto& info) { return std::string(info.param->name.substr(sizeof "tarnm" - 1)); });

TEST(ThresholdTable, CoversEveryArrayMemberOnce)
{
    for (const Member& member : members())
        if (hasCount(member)) {
            EXPECT_EQ(thresholdsOf(member).size(), isAlwaysSerial(member) ? 0u : 1u) << member.name;
        }
}

TEST(ThresholdTable, LeavesTheSerialMembersSerial)
{
    for (const Member& member : members()) {
        if (hasCount(member) && !isAlwaysSerial(member)) continue;
        Call call = validCall(member, hasCount(member) ? 10000 : 1);
        answerThreadCount({4});
        call();
        EXPECT_EQ(threadCountQueries(), 0) << member.name;
    }
}

} // namespace
} // namespace tarnm::test
