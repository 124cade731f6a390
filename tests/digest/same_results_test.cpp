// What a result does not depend on: the number of threads, and the place of an object in its array.
#include <gtest/gtest.h>

#include <omp.h>

#include <algorithm>
#include <string>

#include "conformance/contents.h"
#include "digest/digest.h"
#include "support/thread_count.h"

namespace tarnm::test {
namespace {

bool hasCount(const Member& member)
{
    return std::ranges::any_of(member.arguments(), [](const Argument& a) { return a.kind == Kind::count; });
}

std::vector<const Member*> arrayMembers()
{
    std::vector<const Member*> found;
    for (const Member& member : members())
        if (hasCount(member)) found.push_back(&member);
    return found;
}

std::string shortName(const testing::TestParamInfo<const Member*>& info)
{
    return std::string(info.param->name.substr(sizeof "tarnm" - 1));
}

class SameResults : public testing::TestWithParam<const Member*> {
protected:
    void SetUp() override { omp_set_dynamic(0); }
};

Results resultsWith(const Member& member, const Trial& trial, int threads)
{
    Call call(member, trial.setup);
    fillSources(call, optionsOf(member), trial);
    answerThreadCount({threads});
    return resultsOf(call, call());
}

// Above every threshold, and no multiple of a team.
constexpr int manyObjects = 4099;
// Packed singles are factored in groups of four, counted in the run of each thread: here every run is whole groups.
constexpr int wholeGroups = 4120;

TEST_P(SameResults, ForEveryNumberOfThreads)
{
    const Member& member = *GetParam();
    for (Trial trial : planTeamTrials(member, optionsOf(member))) {
        trial.setup.count = member.name == "tarnmCholeskyDecomp_ma_32f" ? wholeGroups : manyObjects;
        const Results alone = resultsWith(member, trial, 1);
        // After a failure it depends on the slices which objects were worked on.
        if (alone.status != StatusOk) continue;
        for (const int threads : {2, 5}) {
            const Results together = resultsWith(member, trial, threads);
            ASSERT_EQ(together.status, alone.status);
            ASSERT_EQ(together.objects, alone.objects) << trial.setup.text() << ", " << threads << " threads";
        }
    }
}

// Members whose documented arithmetic looks at the place of an object.
bool looksAtThePlace(const Member& member)
{
    // Pairs of objects, and the last one of an odd number, have orders of additions of their own.
    const bool byVector = member.operation == "Mul" && member.code.find('v') != std::string_view::npos;
    const bool isSum = member.code.find_first_of("mt") != std::string_view::npos;
    if (byVector && isSum) return true;
    if (member.name == "tarnmDet_ma_32f") return true;
    // Long sums begin at an alignment, and the objects of a list stand at any address.
    if ((member.operation == "DotProduct" || member.operation == "L2Norm") && member.layout == "L") return true;
    // Groups of four objects, and the remaining ones, have forms of their own.
    return member.name == "tarnmCholeskyDecomp_ma_32f";
}

// Makes the sources of object n of `to` those of object (n + by) % count of `from`.
template <class T> void rotateSources(const Call& from, Call& to, int by)
{
    const auto operands = from.member().operands();
    for (int i = 0; i < int(operands.size()); ++i) {
        if (operands[i].direction != Direction::in || !operands[i].isArray) continue;
        for (int n = 0; n < from.objects(i); ++n)
            for (int r = 0; r < from.rows(i); ++r)
                for (int c = 0; c < from.columns(i); ++c) {
                    const int source = (n + by) % from.objects(i);
                    if (operands[i].letter == 'i')
                        to.write(i, n, r, c, from.read<std::int32_t>(i, source, r, c));
                    else
                        to.write(i, n, r, c, from.read<T>(i, source, r, c));
                }
    }
}

std::vector<Style> alignedStyles(const Member& member)
{
    std::vector<Style> styles;
    for (const Operand& operand : member.operands())
        styles.push_back(suits(operand, Style::rowsOf32) ? Style::rowsOf32 : Style::paddedPlanes);
    return styles;
}

TEST_P(SameResults, AtEveryPlaceInTheArray)
{
    const Member& member = *GetParam();
    if (looksAtThePlace(member)) return;
    constexpr int count = 37;
    const reference::Options& options = optionsOf(member);
    std::vector<Trial> trials = planTeamTrials(member, options);
    for (Trial& trial : trials) {
        trial.setup.count = count;
        trial.setup.styles = alignedStyles(member);
        trial.setup.offset = 0;
        Call call(member, trial.setup);
        fillSources(call, options, trial);
        answerThreadCount({1});
        for (const int by : {1, 5, 8, 20}) {
            Call rotated(member, trial.setup);
            fillSources(rotated, options, trial);
            if (member.type == Type::f32)
                rotateSources<float>(call, rotated, by);
            else
                rotateSources<double>(call, rotated, by);
            const Results turned = resultsOf(rotated, rotated());
            const Results plain = resultsWith(member, trial, 1);
            ASSERT_EQ(turned.status == StatusOk, plain.status == StatusOk);
            if (plain.status != StatusOk) break;
            for (int n = 0; n < count; ++n)
                ASSERT_EQ(turned.objects[n], plain.objects[(n + by) % count]) << trial.setup.text() << ", object " << n;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Members, SameResults, testing::ValuesIn(arrayMembers()), shortName);

} // namespace
} // namespace tarnm::test
