// Determinants: single cases that callers rely on, in every layout and type.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "matrixfunc/matrix_calls.h"
#include "support/thread_count.h"

namespace tarnm::test {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

std::vector<const Member*> allMembers()
{
    std::vector<const Member*> members = membersOf("Det", "m");
    for (const Member* member : membersOf("Det", "ma"))
        members.push_back(member);
    return members;
}

// Calls check(member, style) for each of the members in every style.
template <class Check> void forEach(const std::vector<const Member*>& members, Check&& check)
{
    ASSERT_FALSE(members.empty());
    for (const Member* member : members)
        for (const Style style : stylesOf(*member)) {
            SCOPED_TRACE(std::string(member->name) + ", " + std::string(nameOf(style)));
            check(*member, style);
        }
}

double determinantOf(const Member& member, const Matrix& matrix, Style style, int offset = 0)
{
    MatrixCall call(member, {matrix}, style, offset);
    EXPECT_EQ(call(), StatusOk);
    return call.determinant();
}

bool isPlusZero(double x) { return x == 0 && !std::signbit(x); }

// ---- Elimination ----

TEST(Determinant, OfOrderOneIsTheElementAboveTheTolerance)
{
    forEach(allMembers(), [](const Member& member, Style style) {
        const double t = toleranceOf(member, 1), more = 2 * t - below(member, 2 * t) + t;
        const auto of = [&](double x) { return determinantOf(member, diagonal({x}), style); };
        EXPECT_EQ(of(3.5), 3.5);
        EXPECT_EQ(of(-0.25), -0.25);
        EXPECT_EQ(of(more), more);
        EXPECT_EQ(of(-more), -more);
        EXPECT_EQ(of(infinity), infinity);
        for (const double x : {t, -t, below(member, t), 0.0, nan})
            EXPECT_TRUE(isPlusZero(of(x))) << x;
    });
}

// A pivot equal to the tolerance passes, a last pivot equal to it does not.
TEST(Determinant, OfOrderTwoComparesItsTwoPivotsDifferently)
{
    forEach(allMembers(), [](const Member& member, Style style) {
        const double t = toleranceOf(member, 2);
        const auto of = [&](double first, double last) {
            return determinantOf(member, diagonal({first, last}), style);
        };
        EXPECT_EQ(of(t, 2), 2 * t);
        EXPECT_EQ(of(-t, 2), -2 * t);
        EXPECT_EQ(of(below(member, t), 2), 0);
        EXPECT_EQ(of(2, 2 * t), 4 * t);
        EXPECT_TRUE(isPlusZero(of(2, t)));
        EXPECT_TRUE(isPlusZero(of(-2, t)));
        EXPECT_EQ(determinantOf(member, Matrix(2, {0, 1, 0, 1}), style), 0) << "a column of zeros";
        EXPECT_EQ(determinantOf(member, Matrix(2, {0, 2, 4, 1}), style), -8) << "an exchange";
    });
}

// One matrix is +0. In an array the sign of 0 meets the last element: -1 times 0.
TEST(Determinant, WithAPivotUnderTheToleranceIsPlusZeroForOneAndMayBeMinusZeroInAnArray)
{
    for (const int n : {2, 7, 8, 9}) {
        Matrix matrix = identityBut(n, 0);
        matrix(n - 1, n - 1) = -1;
        forEach(membersOf("Det", "m"), [&](const Member& member, Style style) {
            EXPECT_TRUE(isPlusZero(determinantOf(member, matrix, style)));
        });
        forEach(membersOf("Det", "ma"), [&](const Member& member, Style style) {
            MatrixCall call(member, {matrix, identityBut(n, 5), identityBut(n, 0)}, style);
            EXPECT_EQ(call(), StatusOk);
            EXPECT_EQ(call.determinant(0), 0);
            EXPECT_TRUE(std::signbit(call.determinant(0)));
            EXPECT_EQ(call.determinant(1), 5) << "the objects behind are worked on as usual";
            EXPECT_TRUE(isPlusZero(call.determinant(2)));
        });
    }
}

TEST(Determinant, WithAPivotUnderTheToleranceIsNaNInAnArrayWhereTheLastElementIsInfinite)
{
    Matrix matrix = identityBut(7, 0);
    matrix(6, 6) = infinity;
    forEach(membersOf("Det", "m"),
            [&](const Member& member, Style style) { EXPECT_TRUE(isPlusZero(determinantOf(member, matrix, style))); });
    forEach(membersOf("Det", "ma"),
            [&](const Member& member, Style style) { EXPECT_TRUE(std::isnan(determinantOf(member, matrix, style))); });
    matrix(6, 6) = 0;
    forEach(membersOf("Det", "ma"), [&](const Member& member, Style style) {
        EXPECT_TRUE(isPlusZero(determinantOf(member, matrix, style))) << "the last element fails its own test";
    });
}

// A NaN pivot passes and makes all rows below NaN, and with them the last pivot, which fails as a NaN of its own does.
TEST(Determinant, WithNaNIsZeroByEliminationAndNaNInClosedForm)
{
    forEach(allMembers(), [](const Member& member, Style style) {
        for (const int n : {1, 2, 3, 4, 5, 6, 7, 8})
            for (const int place : {0, n - 1}) {
                Matrix matrix = regular(n, 0);
                matrix(place, place) = nan;
                const double det = determinantOf(member, matrix, style);
                if (n >= 3 && n <= 6)
                    EXPECT_TRUE(std::isnan(det)) << n << ' ' << place;
                else
                    EXPECT_TRUE(isPlusZero(det)) << n << ' ' << place;
            }
    });
}

// The running maximum of the first row is 1e300, infinite in single precision: no later row beats it.
TEST(Determinant, OfOneDenseMatrixOfDoublesKeepsTheMaximumInSingle)
{
    const Matrix matrix(2, {1e300, 3, 1.7e300, 7});
    const double firstRow = 1e300 * (7 - 1.7e300 / 1e300 * 3), secondRow = 1.7e300 * -(3 - 1e300 / 1.7e300 * 7);
    ASSERT_NE(firstRow, secondRow);
    EXPECT_EQ(determinantOf(memberNamed("tarnmDet_m_64f"), matrix, Style::packed), firstRow);
    EXPECT_EQ(determinantOf(memberNamed("tarnmDet_m_64f"), matrix, Style::strided), secondRow);
    EXPECT_EQ(determinantOf(memberNamed("tarnmDet_m_64f_P"), matrix, Style::planes), secondRow);
    forEach(membersOf("Det", "ma"), [&](const Member& member, Style style) {
        if (member.type == Type::f64) {
            EXPECT_EQ(determinantOf(member, matrix, style), secondRow);
        }
    });
}

// Magnitudes that agree to single precision: the winner of each column is another one, and with it the rounding.
TEST(Determinant, OfOneDenseMatrixOfDoublesRoundsTheMaximumAfterEachRow)
{
    std::mt19937 generator(5);
    int others = 0;
    for (int i = 0; i < 30; ++i) {
        Matrix matrix(7);
        for (double& element : matrix.elements)
            element = (generator() % 2 ? -1 : 1) * (1 + 0x1p-34 * double(generator() % 1024));
        const auto of = [&](const char* member, Style style) {
            return determinantOf(memberNamed(member), matrix, style);
        };
        const double expected = of("tarnmDet_m_64f", Style::strided);
        others += of("tarnmDet_m_64f", Style::packed) != expected;
        EXPECT_EQ(of("tarnmDet_m_64f_P", Style::planes), expected);
        EXPECT_EQ(of("tarnmDet_ma_64f", Style::packed), expected);
        EXPECT_EQ(of("tarnmDet_ma_64f_L", Style::packed), expected);
    }
    EXPECT_GT(others, 5);
}

// ---- Closed forms ----

TEST(Determinant, OfOrdersThreeToSixIsNotTestedForSingularity)
{
    forEach(allMembers(), [](const Member& member, Style style) {
        for (const int n : {3, 4, 5, 6}) {
            const double t = toleranceOf(member, n);
            EXPECT_EQ(determinantOf(member, identityBut(n, t / 4), style), t / 4) << "far below the tolerance";
            bool leavesResidue = false;
            std::mt19937 generator(unsigned(17 * n));
            for (int i = 0; i < 40; ++i) {
                Matrix matrix(n);
                for (double& element : matrix.elements)
                    element = float(std::uniform_real_distribution<double>(-2, 2)(generator));
                for (int c = 0; c < n; ++c)
                    matrix(1, c) = float(matrix(0, c) * 0.7f);
                const double det = determinantOf(member, matrix, style);
                EXPECT_LT(std::fabs(det), 2e-4);
                leavesResidue = leavesResidue || det != 0;
            }
            EXPECT_TRUE(leavesResidue) << n;
        }
    });
}

TEST(Determinant, OfOrdersThreeToSixLeavesScratchUntouched)
{
    forEach(allMembers(), [](const Member& member, Style style) {
        const int count = member.code == "ma" ? 11 : 1;
        for (const int n : {3, 4, 5, 6}) {
            MatrixCall call(member, std::vector<Matrix>(std::size_t(count), regular(n, 1)), style);
            EXPECT_EQ(call(), StatusOk);
            EXPECT_EQ(call.writtenBeside(0, count), "");
        }
    });
}

TEST(Determinant, OfManyMatricesOnSeveralThreadsLeavesScratchUntouched)
{
    answerThreadCount({3});
    forEach(membersOf("Det", "ma"), [](const Member& member, Style style) {
        const int n = 24, count = 601;
        MatrixCall call(member, std::vector<Matrix>(std::size_t(count), identityBut(n, 4)), style);
        EXPECT_EQ(call(), StatusOk);
        EXPECT_EQ(call.determinant(count - 1), 4);
        EXPECT_EQ(call.writtenBeside(0, count), "");
    });
    answerThreadCount({1});
}

// Elements whose products leave the range of single precision. In double precision their determinant is 1.
Matrix outOfSingleRange() { return diagonal({1e-20, 1e-20, 1e20, 1e20}); }

TEST(Determinant, OfAlignedPairsIsInSingleAndOfTheLastOddMatrixInDouble)
{
    const Member& member = memberNamed("tarnmDet_ma_32f");
    for (const int count : {1, 2, 3, 8, 9, 16, 17, 33}) {
        const std::vector<Matrix> matrices(std::size_t(count), outOfSingleRange());
        MatrixCall aligned(member, matrices, Style::rowsOf16), unaligned(member, matrices, Style::rowsOf16, 4);
        EXPECT_EQ(aligned(), StatusOk);
        EXPECT_EQ(unaligned(), StatusOk);
        for (int n = 0; n < count; ++n) {
            EXPECT_EQ(unaligned.determinant(n), 1) << n;
            if (n < count / 2 * 2)
                EXPECT_FALSE(std::isfinite(aligned.determinant(n))) << n << " of " << count;
            else
                EXPECT_EQ(aligned.determinant(n), 1) << n << " of " << count;
        }
    }
}

TEST(Determinant, OfAlignedPairsDoesNotDependOnTheSplitOverThreads)
{
    const Member& member = memberNamed("tarnmDet_ma_32f");
    const int count = 3609;
    const std::vector<Matrix> matrices(count, outOfSingleRange());
    for (const int threads : {1, 2, 3, 4, 5, 7}) {
        answerThreadCount({threads});
        MatrixCall call(member, matrices, Style::rowsOf16);
        EXPECT_EQ(call(), StatusOk);
        for (int n = 0; n + 1 < count; ++n)
            ASSERT_FALSE(std::isfinite(call.determinant(n))) << n << ", threads " << threads;
        EXPECT_EQ(call.determinant(count - 1), 1);
    }
    answerThreadCount({1});
}

// The dense forms of singles are rounded once: (1 + e)(1 - e) - 1 = -e e is lost in single precision.
TEST(Determinant, OfDenseSinglesIsComputedInDouble)
{
    const double e = 0x1p-20;
    for (const int n : {3, 4, 5, 6}) {
        Matrix matrix = identityBut(n, 1 + e);
        matrix(1, 1) = 1 - e;
        matrix(0, 1) = matrix(1, 0) = 1;
        EXPECT_EQ(determinantOf(memberNamed("tarnmDet_m_32f"), matrix, Style::packed), -e * e);
        EXPECT_EQ(determinantOf(memberNamed("tarnmDet_m_32f"), matrix, Style::strided), 0);
        EXPECT_EQ(determinantOf(memberNamed("tarnmDet_m_32f_P"), matrix, Style::planes), 0);
        EXPECT_EQ(determinantOf(memberNamed("tarnmDet_ma_32f_L"), matrix, Style::packed), -e * e);
        EXPECT_EQ(determinantOf(memberNamed("tarnmDet_ma_32f_L"), matrix, Style::strided), 0);
        EXPECT_EQ(determinantOf(memberNamed("tarnmDet_ma_32f"), matrix, Style::strided), 0);
        const double denseArray = determinantOf(memberNamed("tarnmDet_ma_32f"), matrix, Style::packed, 4);
        EXPECT_EQ(denseArray, n == 3 ? 0 : -e * e);
    }
}

TEST(Determinant, OfFixedFourByFourIsInSingle)
{
    float matrix[16] = {}, det = 0;
    for (int i = 0; i < 4; ++i)
        matrix[5 * i] = float(i + 1);
    EXPECT_EQ(tarnmDet_m4_32f(matrix, &det), StatusOk);
    EXPECT_EQ(det, 24);
    const Matrix wide = outOfSingleRange();
    for (int i = 0; i < 16; ++i)
        matrix[i] = float(wide.elements[std::size_t(i)]);
    EXPECT_EQ(tarnmDet_m4_32f(matrix, &det), StatusOk);
    EXPECT_FALSE(std::isfinite(det));
}

// ---- Arguments ----

TEST(Determinant, RefusesAnObjectStrideOfZero)
{
    const float matrix[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    float determinants[3] = {-1, -1, -1}, scratch[12];
    EXPECT_EQ(tarnmDet_ma_32f(matrix, 0, 12, 4, 3, scratch, determinants, 3), StatusBadStride);
    EXPECT_EQ(determinants[0], -1);
}

} // namespace
} // namespace tarnm::test
