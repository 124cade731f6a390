// Inverses: tolerances and values that callers rely on, in every layout and type.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "matrixfunc/matrix_calls.h"
#include "support/thread_count.h"

namespace tarnm::test {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

std::vector<const Member*> allMembers()
{
    std::vector<const Member*> members = membersOf("Invert", "m");
    for (const Member* member : membersOf("Invert", "ma"))
        members.push_back(member);
    return members;
}

template <class Check> void forEach(const std::vector<const Member*>& members, Check&& check)
{
    ASSERT_FALSE(members.empty());
    for (const Member* member : members)
        for (const Style style : stylesOf(*member)) {
            SCOPED_TRACE(std::string(member->name) + ", " + std::string(nameOf(style)));
            check(*member, style);
        }
}

bool isDense(const Member& member, Style style) { return member.layout != "P" && style != Style::strided; }

tarnmStatus statusFor(const Member& member, const Matrix& matrix, Style style)
{
    MatrixCall call(member, {matrix}, style);
    return call();
}

// ---- Order 1 ----

TEST(Inverse, OfOrderOneDividesAboveTheTolerance)
{
    forEach(allMembers(), [](const Member& member, Style style) {
        const double t = toleranceOf(member, 1), more = 2 * t - below(member, 2 * t) + t;
        for (const double x : {t, -t, below(member, t), 0.0, nan})
            EXPECT_EQ(statusFor(member, diagonal({x}), style), StatusSingular) << x;
        for (const double x : {more, -more, 3.0, -0.125, 1e30, infinity}) {
            MatrixCall call(member, {diagonal({x})}, style);
            EXPECT_EQ(call(), StatusOk) << x;
            EXPECT_EQ(call.at(0, 0, 0), member.type == Type::f32 ? double(1 / float(x)) : 1 / x);
            EXPECT_EQ(call.writtenBeside(0, 1), "") << "scratch is not used";
        }
    });
}

// Far above the measure at which other orders go to several threads.
TEST(Inverse, OfOrderOneStopsAtTheFirstSingularOnOneThread)
{
    answerThreadCount({4});
    forEach(membersOf("Invert", "ma"), [](const Member& member, Style style) {
        for (const int failing : {0, 1, 17, 2999}) {
            std::vector<Matrix> matrices(3000, diagonal({2}));
            matrices[std::size_t(failing)] = diagonal({0});
            MatrixCall call(member, matrices, style);
            EXPECT_EQ(call(), StatusSingular);
            for (int n = 0; n < failing; ++n)
                ASSERT_EQ(call.at(n, 0, 0), 0.5) << n;
            EXPECT_EQ(call.writtenBeside(0, failing), "");
        }
    });
    EXPECT_EQ(threadCountQueries(), 0);
    answerThreadCount({1});
}

// ---- Cofactors by elimination ----

TEST(Inverse, OfTheIdentityOfOrderTwoHasTheToleranceBesideTheDiagonal)
{
    forEach(allMembers(), [](const Member& member, Style style) {
        MatrixCall call(member, {identityBut(2, 1)}, style);
        EXPECT_EQ(call(), StatusOk);
        EXPECT_EQ(call.at(0, 0, 0), 1);
        EXPECT_EQ(call.at(0, 1, 1), 1);
        EXPECT_EQ(call.at(0, 0, 1), -toleranceOf(member, 2));
        EXPECT_EQ(call.at(0, 1, 0), -toleranceOf(member, 2));
    });
}

// A minor with a row and a column of zeros stops at its first small pivot: the tolerance takes the place of the product
// of the pivots, times a last element of 1.
TEST(Inverse, OfTheIdentityOfOrderSevenHasTheToleranceForSingularMinors)
{
    forEach(allMembers(), [](const Member& member, Style style) {
        MatrixCall call(member, {identityBut(7, 1)}, style);
        EXPECT_EQ(call(), StatusOk);
        for (int r = 0; r < 7; ++r)
            for (int c = 0; c < 7; ++c)
                if (r == c)
                    EXPECT_EQ(call.at(0, r, c), 1);
                else
                    EXPECT_EQ(std::fabs(call.at(0, r, c)), toleranceOf(member, 7)) << r << ' ' << c;
    });
}

// The whole determinant must be greater than the tolerance; tables of elements in arrays look at the last pivot.
TEST(Inverse, ByCofactorsRefusesADeterminantEqualToTheTolerance)
{
    forEach(allMembers(), [](const Member& member, Style style) {
        const bool looksAtLastPivot = member.layout == "P" && member.code == "ma";
        for (const int n : {2, 7, 8}) {
            const double t = toleranceOf(member, n), more = 2 * t - below(member, 2 * t) + t;
            EXPECT_EQ(statusFor(member, identityBut(n, t), style), looksAtLastPivot ? StatusOk : StatusSingular) << n;
            EXPECT_EQ(statusFor(member, identityBut(n, -t), style), looksAtLastPivot ? StatusOk : StatusSingular) << n;
            EXPECT_EQ(statusFor(member, identityBut(n, more), style), StatusOk) << n;
            EXPECT_EQ(statusFor(member, identityBut(n, below(member, t)), style), StatusSingular) << n;

            Matrix smallLast = identityBut(n, 1);
            smallLast(n - 1, n - 1) = t;
            EXPECT_EQ(statusFor(member, smallLast, style), StatusSingular) << n;
            smallLast(n - 1, n - 1) = more;
            EXPECT_EQ(statusFor(member, smallLast, style), StatusOk) << n;
            smallLast(0, 0) = 0.5;
            EXPECT_EQ(statusFor(member, smallLast, style), looksAtLastPivot ? StatusOk : StatusSingular) << n;
        }
    });
}

// Each pivot is large enough, their product underflows.
TEST(Inverse, OfTablesInArraysMayBeInfinite)
{
    forEach(membersOf("Invert", "ma"), [](const Member& member, Style style) {
        const double small = member.type == Type::f32 ? 1e-30 : 1e-200;
        MatrixCall call(member, {diagonal({small, small})}, style);
        if (member.layout == "P") {
            EXPECT_EQ(call(), StatusOk);
            EXPECT_EQ(call.at(0, 0, 0), infinity);
        } else {
            EXPECT_EQ(call(), StatusSingular);
            EXPECT_TRUE(call.isUntouched(0));
        }
    });
}

TEST(Inverse, ByCofactorsClearsTheFirstElementOfScratchAtASmallPivot)
{
    forEach(allMembers(), [](const Member& member, Style style) {
        Matrix matrix = identityBut(7, 3);
        matrix(4, 4) = 0;
        MatrixCall call(member, {matrix}, style);
        EXPECT_EQ(call(), StatusSingular);
        EXPECT_TRUE(call.isUntouched(0));
        const int buffer = call.call.operandIndex("pBuffer");
        double first = -1;
        if (member.type == Type::f32)
            first = double(call.call.read<float>(buffer, 0, 0, 0));
        else
            first = call.call.read<double>(buffer, 0, 0, 0);
        EXPECT_EQ(first, member.layout == "P" && member.code == "ma" ? 3 : 0);
    });
}

// A residual of the order of the rounding errors, which grow with the growth of the elements and the order.
TEST(Inverse, OfOrderSixteenTimesTheMatrixIsTheIdentity)
{
    const int n = 16;
    const Matrix a = regular(n, 5);
    forEach(allMembers(), [&](const Member& member, Style style) {
        MatrixCall call(member, {a}, style);
        ASSERT_EQ(call(), StatusOk);
        const double bound = 1e3 * (member.type == Type::f32 ? double(std::numeric_limits<float>::epsilon())
                                                             : std::numeric_limits<double>::epsilon());
        for (int r = 0; r < n; ++r)
            for (int c = 0; c < n; ++c) {
                double sum = 0;
                for (int k = 0; k < n; ++k)
                    sum += a(r, k) * call.at(0, k, c);
                EXPECT_NEAR(sum, r == c, bound) << r << ' ' << c;
            }
    });
}

// ---- Closed forms ----

TEST(Inverse, InClosedFormAcceptsADeterminantEqualToTheTolerance)
{
    forEach(allMembers(), [](const Member& member, Style style) {
        const bool isBlock = isDense(member, style) && member.type == Type::f32;
        for (const int n : {3, 4, 5, 6}) {
            if (isBlock && n > 4) continue;
            const bool isDoubled = isDense(member, style) && member.type == Type::f64 && n < 5;
            const double t = toleranceOf(member, n) * (isDoubled ? 2 : 1);
            EXPECT_EQ(statusFor(member, identityBut(n, t), style), StatusOk) << n;
            EXPECT_EQ(statusFor(member, identityBut(n, -t), style), StatusOk) << n;
            MatrixCall call(member, {identityBut(n, below(member, t))}, style);
            EXPECT_EQ(call(), StatusSingular) << n;
            EXPECT_EQ(call.writtenBeside(0, 0), "") << n;
        }
    });
}

TEST(Inverse, OfDenseDoublesOfOrderThreeHasTwiceTheToleranceOfItsSiblings)
{
    const Matrix matrix = identityBut(3, 100 * std::numeric_limits<double>::min());
    for (const char* name : {"tarnmInvert_m_64f", "tarnmInvert_ma_64f", "tarnmInvert_ma_64f_L"}) {
        EXPECT_EQ(statusFor(memberNamed(name), matrix, Style::packed), StatusSingular) << name;
        EXPECT_EQ(statusFor(memberNamed(name), matrix, Style::strided), StatusOk) << name;
    }
    EXPECT_EQ(statusFor(memberNamed("tarnmInvert_m_64f_P"), matrix, Style::planes), StatusOk);
    EXPECT_EQ(statusFor(memberNamed("tarnmInvert_ma_64f_P"), matrix, Style::planes), StatusOk);
}

// Each pivot and the determinant of the rest is compared with the tolerance of the whole order.
TEST(Inverse, ByBlocksComparesPivotsAndTheLastFourWithTheTolerance)
{
    for (const char* name : {"tarnmInvert_m_32f", "tarnmInvert_ma_32f", "tarnmInvert_ma_32f_L"})
        for (const int n : {5, 6}) {
            const Member& member = memberNamed(name);
            const double t = toleranceOf(member, n);
            for (int i = 0; i < n; ++i) {
                Matrix matrix = identityBut(n, 1);
                matrix(i, i) = t;
                const bool isPivot = i < n - 4;
                // The reciprocal of a pivot that is not tested as such is not exactly 1.
                matrix(i, i) = isPivot ? t : 1.001 * t;
                EXPECT_EQ(statusFor(member, matrix, Style::packed), StatusOk) << name << ' ' << i;
                matrix(i, i) = isPivot ? below(member, t) : 0.999 * t;
                EXPECT_EQ(statusFor(member, matrix, Style::packed), StatusSingular) << name << ' ' << i;
            }
        }
}

TEST(Inverse, WithNaNIsNaNInClosedForm)
{
    forEach(allMembers(), [](const Member& member, Style style) {
        for (const int n : {3, 4, 5, 6})
            for (const int place : {0, n - 1}) {
                Matrix matrix = regular(n, 0);
                matrix(place, n - 1 - place) = nan;
                MatrixCall call(member, {matrix}, style);
                EXPECT_EQ(call(), StatusOk);
                for (int r = 0; r < n; ++r)
                    for (int c = 0; c < n; ++c)
                        EXPECT_TRUE(std::isnan(call.at(0, r, c))) << n << ' ' << place << ' ' << r << ' ' << c;
            }
    });
}

TEST(Inverse, WithInfinitiesIsNoFailure)
{
    forEach(allMembers(), [](const Member& member, Style style) {
        for (const int n : {3, 4, 5, 6}) {
            Matrix matrix = regular(n, 0);
            matrix(0, 0) = infinity;
            EXPECT_EQ(statusFor(member, matrix, style), StatusOk) << n;
        }
    });
}

// ---- The refined reciprocal ----

// The range of the refined reciprocal: its estimate is squared. Below 2^-64 the square overflows, above 2^75 it vanishes
// and the result is twice as large as it should be.
TEST(Inverse, WithTheRefinedReciprocalIsUsableInsideItsRangeOnly)
{
    const struct {
        const char* name;
        std::vector<int> orders;
    } refined[] = {{"tarnmInvert_m_32f", {3, 4}}, {"tarnmInvert_ma_32f_L", {3, 4}}, {"tarnmInvert_ma_32f", {4}}};
    for (const auto& member : refined)
        for (const int n : member.orders) {
            const auto first = [&](double x) {
                MatrixCall call(memberNamed(member.name), {identityBut(n, x)}, Style::packed);
                EXPECT_EQ(call(), StatusOk);
                return call.at(0, 0, 0) * x;
            };
            for (const double x : {1.0, 3.0, 0x1.8p-60, -0x1.4p-62, 0x1.2p+60, -0x1.cp+62})
                EXPECT_NEAR(first(x), 1, 0x1p-20) << member.name << ' ' << n << ' ' << x;
            EXPECT_FALSE(std::isfinite(first(0x1p-66))) << member.name << ' ' << n;
            EXPECT_FALSE(std::isfinite(first(0x1p-100))) << member.name << ' ' << n;
            EXPECT_NEAR(first(0x1p+78), 2, 0x1p-8) << member.name << ' ' << n;
        }
}

TEST(Inverse, ByBlocksIsUsableInTheRangeOfItsPivotsOnly)
{
    for (const int n : {5, 6}) {
        const auto first = [&](double x) {
            MatrixCall call(memberNamed("tarnmInvert_m_32f"), {identityBut(n, x)}, Style::packed);
            EXPECT_EQ(call(), StatusOk);
            return call.at(0, 0, 0) * x;
        };
        EXPECT_NEAR(first(0x1.4p-62), 1, 0x1p-20);
        EXPECT_NEAR(first(0x1.4p+62), 1, 0x1p-20);
        EXPECT_FALSE(std::isfinite(first(0x1p-66)));
        EXPECT_NEAR(first(0x1p+78), 2, 0x1p-8);
    }
}

// The dense array of singles of order 3 and all that is not dense divide.
TEST(Inverse, ByDivisionIsUsableOutsideTheRangeOfTheRefinedReciprocal)
{
    forEach(allMembers(), [](const Member& member, Style style) {
        for (const int n : {3, 4, 5, 6}) {
            const bool isDenseArray = member.name == "tarnmInvert_ma_32f" && n == 3;
            if (isDense(member, style) && member.type == Type::f32 && !isDenseArray) continue;
            for (const double x : {0x1p-80, 0x1p+80, 0x1p-110, 0x1p+110}) {
                MatrixCall call(member, {identityBut(n, x)}, style);
                EXPECT_EQ(call(), StatusOk);
                EXPECT_EQ(call.at(0, 0, 0), 1 / x) << n << ' ' << x;
                EXPECT_EQ(call.at(0, 1, 1), 1) << n << ' ' << x;
            }
        }
    });
}

// ---- The fixed form ----

struct FixedCall {
    float matrix[16] = {}, inverse[16], determinant = -7;
    tarnmStatus status;

    explicit FixedCall(double first, bool asksForDeterminant = true)
    {
        for (int i = 0; i < 16; ++i) {
            matrix[i] = i % 5 == 0 ? 1.0f : 0.0f;
            inverse[i] = -7;
        }
        matrix[0] = float(first);
        status = tarnmInvert_m4_32f(matrix, asksForDeterminant ? &determinant : nullptr, inverse);
    }
};

TEST(Inverse, OfFixedFourByFourWritesTheDeterminant)
{
    const FixedCall regular(4);
    EXPECT_EQ(regular.status, StatusOk);
    EXPECT_EQ(regular.determinant, 4);
    EXPECT_NEAR(regular.inverse[0], 0.25, 0x1p-20);
    EXPECT_NEAR(regular.inverse[5], 1, 0x1p-20);

    const float t = 1.5046328e-36f;
    const FixedCall atTolerance(t), belowTolerance(std::nextafter(t, 0.0f));
    EXPECT_EQ(atTolerance.status, StatusOk);
    EXPECT_EQ(atTolerance.determinant, t);
    EXPECT_EQ(belowTolerance.status, StatusSingular);
    EXPECT_EQ(belowTolerance.determinant, 0);
    for (const float element : belowTolerance.inverse)
        EXPECT_EQ(element, -7);
}

TEST(Inverse, OfFixedFourByFourNeedsNoDeterminant)
{
    const FixedCall regular(4, false), singular(0, false);
    EXPECT_EQ(regular.status, StatusOk);
    EXPECT_NEAR(regular.inverse[0], 0.25, 0x1p-20);
    EXPECT_EQ(singular.status, StatusSingular);
    EXPECT_EQ(singular.inverse[0], -7);
}

} // namespace
} // namespace tarnm::test
