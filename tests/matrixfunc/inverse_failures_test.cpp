// What a call of inverses leaves when an object is singular: at every place of a block of lanes, of a pair of objects and
// of a thread's slice.
#include <gtest/gtest.h>

#include <cstring>

#include "matrixfunc/matrix_calls.h"
#include "support/thread_count.h"

namespace tarnm::test {
namespace {

// Singular for every form of every order: a row of zeros.
Matrix singular(int n, int row)
{
    Matrix matrix = regular(n, 3);
    for (int c = 0; c < n; ++c)
        matrix(row, c) = 0;
    return matrix;
}

// Rows of a singular object's result that hold work values.
int workRows(const Member& member, Style style, int n)
{
    const bool isDense = member.layout != "P" && style != Style::strided;
    return isDense && member.type == Type::f32 && n > 4 && n < 7 ? n - 4 : 0;
}

std::vector<Matrix> matricesWith(int n, int count, int failing, int row)
{
    std::vector<Matrix> matrices;
    for (int i = 0; i < count; ++i)
        matrices.push_back(i == failing ? singular(n, row) : regular(n, i));
    return matrices;
}

// That the objects first .. end - 1 have the results of calls of their own.
void expectInverted(const MatrixCall& call, const Member& member, const std::vector<Matrix>& matrices, Style style,
                    int first, int end)
{
    const int n = matrices[0].n;
    for (int i = first; i < end; ++i) {
        MatrixCall alone(member, {matrices[std::size_t(i)]}, style);
        ASSERT_EQ(alone(), StatusOk);
        for (int r = 0; r < n; ++r)
            for (int c = 0; c < n; ++c)
                ASSERT_EQ(call.at(i, r, c), alone.at(0, r, c)) << "object " << i << ", " << r << ' ' << c;
    }
}

// The last object that is complete; `pairs`: objects 2k and 2k + 1 are written together.
int completeBefore(int failing, bool pairs) { return pairs ? failing / 2 * 2 : failing; }

void expectStop(const Member& member, Style style, int n, int count, int failing, int row, bool pairs)
{
    SCOPED_TRACE(std::string(member.name) + ", " + std::string(nameOf(style)) + ", order " + std::to_string(n) +
                 ", object " + std::to_string(failing) + " of " + std::to_string(count));
    const auto matrices = matricesWith(n, count, failing, row);
    MatrixCall call(member, matrices, style);
    ASSERT_EQ(call(), StatusSingular);
    const int complete = completeBefore(failing, pairs);
    expectInverted(call, member, matrices, style, 0, complete);
    EXPECT_TRUE(call.isUntouched(failing, workRows(member, style, n)));
    if (n == 2 || n > 6) call.call.acceptScratch();
    // A failing object with work rows was looked at above.
    EXPECT_EQ(call.writtenBeside(0, workRows(member, style, n) > 0 ? failing + 1 : complete), "");
}

TEST(SingularObject, EndsAnArrayAtEveryPlaceOfABlock)
{
    constexpr int count = 19;
    for (const Member* member : membersOf("Invert", "ma"))
        for (const Style style : stylesOf(*member))
            for (const int n : {2, 3, 4, 5, 6, 7}) {
                // Packed 4x4 singles are pairs, see below.
                if (n == 4 && member->name == "tarnmInvert_ma_32f" && style == Style::packed) continue;
                for (int failing = 0; failing < count; ++failing)
                    expectStop(*member, style, n, count, failing, failing % n, false);
            }
}

TEST(SingularObject, LeavesBothOfAPairUntouched)
{
    const Member& member = memberNamed("tarnmInvert_ma_32f");
    for (const int count : {1, 2, 3, 9, 16, 17, 18, 33})
        for (int failing = 0; failing < count; ++failing) {
            expectStop(member, Style::packed, 4, count, failing, 1, true);
            expectStop(member, Style::rowsOf16, 4, count, failing, 1, true);
        }
}

TEST(SingularObject, EndsObjectsThatAreNoPairsByThemselves)
{
    const Member& member = memberNamed("tarnmInvert_ma_32f");
    const auto matrices = matricesWith(4, 6, 3, 0);
    for (const auto& [style, offset] : {std::pair(Style::rowsOf16, 4), std::pair(Style::rowsOf32, 0)}) {
        MatrixCall call(member, matrices, style, offset);
        EXPECT_EQ(call(), StatusSingular);
        EXPECT_FALSE(call.isUntouched(2)) << nameOf(style);
        EXPECT_EQ(call.writtenBeside(0, 3), "");
    }
}

TEST(SingularObject, LeavesOneMatrixUntouched)
{
    for (const Member* member : membersOf("Invert", "m"))
        for (const Style style : stylesOf(*member))
            for (const int n : {1, 2, 3, 4, 5, 6, 7, 9})
                for (int row = 0; row < n; ++row) {
                    SCOPED_TRACE(std::string(member->name) + ", order " + std::to_string(n));
                    MatrixCall call(*member, {singular(n, row)}, style);
                    EXPECT_EQ(call(), StatusSingular);
                    EXPECT_TRUE(call.isUntouched(0, workRows(*member, style, n)));
                }
}

// ---- Work rows of the block forms ----

const char* const blockMembers[] = {"tarnmInvert_m_32f", "tarnmInvert_ma_32f", "tarnmInvert_ma_32f_L"};

TEST(SingularObject, OfOrderFiveWithASmallFirstRowLeavesACopyOfIt)
{
    for (const char* name : blockMembers)
        for (const double size : {0.0, 0x1p-130, 0x1p-120}) {
            Matrix matrix = regular(5, 2);
            for (int c = 0; c < 5; ++c)
                matrix(0, c) = size * (c - 2);
            MatrixCall call(memberNamed(name), {matrix}, Style::padded);
            EXPECT_EQ(call(), StatusSingular) << name;
            for (int c = 0; c < 5; ++c)
                EXPECT_EQ(call.at(0, 0, c), matrix(0, c)) << name << ' ' << c;
            EXPECT_TRUE(call.isUntouched(0, 1));
        }
}

// Ties go to the highest of the columns 0 to 3; column 4 wins only where it is alone.
TEST(SingularObject, OfOrderFiveLeavesItsFirstRowWithThePivotInFront)
{
    const struct {
        std::vector<double> row, left;
    } cases[] = {
        {{2, -2, 2, -2, 1}, {-2, -2, 2, 2, 1}},   {{2, -2, 2, 1, 2}, {2, -2, 2, 1, 2}},
        {{2, -2, 1, 1, 2}, {-2, 2, 1, 1, 2}},     {{2, 1, 1, 1, -2}, {2, 1, 1, 1, -2}},
        {{1, 0.5, 1, 1, -2}, {-2, 0.5, 1, 1, 1}}, {{1, 3, 1, 2, -2}, {3, 1, 1, 2, -2}},
    };
    for (const char* name : blockMembers)
        for (const auto& [row, left] : cases) {
            Matrix matrix(5);
            for (int r = 0; r < 5; ++r)
                for (int c = 0; c < 5; ++c)
                    matrix(r, c) = row[std::size_t(c)] * (r == 0 ? 1 : 0);
            MatrixCall call(memberNamed(name), {matrix}, Style::packed);
            EXPECT_EQ(call(), StatusSingular) << name;
            for (int c = 0; c < 5; ++c)
                EXPECT_EQ(call.at(0, 0, c), left[std::size_t(c)]) << name << ' ' << c;
            EXPECT_TRUE(call.isUntouched(0, 1));
        }
}

// ---- Several threads ----

class SingularSlices : public testing::Test {
protected:
    ~SingularSlices() override { answerThreadCount({1}); }
};

struct Slice {
    int first, end;
};

Slice sliceOf(int count, int threads, int t)
{
    const int chunk = count / threads, rest = count % threads;
    const int first = t < rest ? t * (chunk + 1) : (t - rest) * chunk + rest * (chunk + 1);
    return {first, first + chunk + (t < rest ? 1 : 0)};
}

// Threads end at their own failures only.
TEST_F(SingularSlices, EndByThemselves)
{
    constexpr int threads = 3;
    for (const Member* member : membersOf("Invert", "ma"))
        for (const Style style : stylesOf(*member)) {
            const int n = 3, count = 611;
            const Slice middle = sliceOf(count, threads, 1);
            for (const int failing :
                 {middle.first, middle.first + 1, middle.first + 7, middle.first + 8, middle.end - 2, middle.end - 1}) {
                SCOPED_TRACE(std::string(member->name) + ", object " + std::to_string(failing));
                const auto matrices = matricesWith(n, count, failing, 0);
                answerThreadCount({threads});
                MatrixCall call(*member, matrices, style);
                ASSERT_EQ(call(), StatusSingular);
                EXPECT_EQ(threadCountQueries(), 2);
                answerThreadCount({1});
                expectInverted(call, *member, matrices, style, 0, failing);
                expectInverted(call, *member, matrices, style, middle.end, count);
                for (int i = failing; i < middle.end; ++i)
                    ASSERT_TRUE(call.isUntouched(i)) << i;
                EXPECT_EQ(call.writtenBeside(0, count), "") << "scratch of the caller is not used";
            }
        }
}

// Pairs are those of the whole call; where a slice cuts one, each object stands by itself.
TEST_F(SingularSlices, KeepThePairsOfTheWholeCall)
{
    constexpr int threads = 2, count = 455 * 2;
    const Member& member = memberNamed("tarnmInvert_ma_32f");
    const Slice last = sliceOf(count, threads, 1);
    ASSERT_EQ(last.first % 2, 1) << "the second slice begins with the second of a pair";
    for (const int failing :
         {last.first - 1, last.first, last.first + 1, last.first + 2, last.first + 3, count - 2, count - 1}) {
        SCOPED_TRACE(failing);
        const auto matrices = matricesWith(4, count, failing, 2);
        answerThreadCount({threads});
        MatrixCall call(member, matrices, Style::packed);
        ASSERT_EQ(call(), StatusSingular);
        EXPECT_EQ(threadCountQueries(), 2);
        answerThreadCount({1});
        const Slice slice = failing < last.first ? sliceOf(count, threads, 0) : last;
        const int complete = std::max(completeBefore(failing, true), slice.first);
        for (int i = 0; i < count; ++i)
            ASSERT_EQ(call.isUntouched(i), i >= complete && i >= slice.first && i < slice.end) << i;
    }
}

} // namespace
} // namespace tarnm::test
