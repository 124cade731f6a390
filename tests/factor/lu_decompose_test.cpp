// Pivots, multipliers and storage of the LU decomposition.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "factor/lu_calls.h"

namespace tarnm::test {
namespace {

template <class T> class LuDecompose : public testing::Test {};
using Types = testing::Types<float, double>;
TYPED_TEST_SUITE(LuDecompose, Types);

template <class T> constexpr T epsilon = std::numeric_limits<T>::epsilon();
template <class T> constexpr T twiceSmallestNormal = 2 * std::numeric_limits<T>::min();

bool isCase(int n) { return n >= 3 && n <= 6; }

template <class T> std::vector<std::int32_t> identityIndex(int n)
{
    std::vector<std::int32_t> index;
    for (int i = 0; i < n; ++i)
        index.push_back(i);
    return index;
}

// The identity with one column scaled.
template <class T> Matrices<T> scaledIdentity(int n, int column, T scale)
{
    return Matrices<T>(n, 1, [&](int, int r, int c) { return r != c ? T(0) : c == column ? scale : T(1); });
}

TEST(LuDecompose, AColumnOf1eMinus7IsZeroAtOrder2AndNotAtOrder3)
{
    const auto withColumn = [](int n) {
        return Matrices<float>(n, 1, [](int, int r, int c) { return c == 0 ? 1e-7f : r == c ? 1.0f : 0.0f; });
    };
    EXPECT_EQ(decomposeOne(withColumn(2)).status, StatusSingular);
    EXPECT_EQ(decomposeOne(withColumn(3)).status, StatusOk);
}

TEST(LuDecompose, TolerancesAreTheStatedNumbers)
{
    EXPECT_EQ(twiceSmallestNormal<float>, 2.3509887e-38f);
    EXPECT_EQ(twiceSmallestNormal<double>, 4.450147717014403e-308);
    EXPECT_EQ(epsilon<float>, 1.1920929e-7f);
    EXPECT_EQ(epsilon<double>, 2.220446049250313e-16);
}

TYPED_TEST(LuDecompose, APivotEqualToTheToleranceIsAcceptedAtOrders3To6AndRejectedAtOthers)
{
    using T = TypeParam;
    for (int n = 1; n <= 9; ++n)
        for (int column = 0; column < n; ++column)
            for (const T sign : {T(1), T(-1)}) {
                const T tolerance = isCase(n) ? twiceSmallestNormal<T> : epsilon<T>;
                const auto status = [&](T pivot) {
                    return decomposeOne(scaledIdentity(n, column, sign * pivot)).status;
                };
                EXPECT_EQ(status(std::nextafter(tolerance, T(0))), StatusSingular) << n << " " << column;
                EXPECT_EQ(status(tolerance), isCase(n) ? StatusOk : StatusSingular) << n << " " << column;
                EXPECT_EQ(status(std::nextafter(tolerance, T(1))), StatusOk) << n << " " << column;
            }
}

TYPED_TEST(LuDecompose, TheToleranceDoesNotFollowTheScale)
{
    using T = TypeParam;
    for (int n = 1; n <= 9; ++n) {
        const Matrices<T> small(n, 1, [](int, int r, int c) { return r == c ? epsilon<T> / 4 : T(0); });
        EXPECT_EQ(decomposeOne(small).status, isCase(n) ? StatusOk : StatusSingular) << n;
    }
}

TYPED_TEST(LuDecompose, TiesKeepTheEarlierRow)
{
    using T = TypeParam;
    for (int n = 2; n <= 9; ++n) {
        const Matrices<T> ties(n, 1, [](int, int r, int c) { return r >= c ? T(r % 2 ? -1 : 1) : T(0); });
        const Factors<T> f = decomposeOne(ties);
        EXPECT_EQ(f.status, StatusOk);
        EXPECT_EQ(f.index, identityIndex<T>(n)) << n;
    }
}

TYPED_TEST(LuDecompose, ALaterTieDoesNotBeatTheWinner)
{
    using T = TypeParam;
    for (int n = 3; n <= 9; ++n) {
        const Matrices<T> m(
            n, 1, [](int, int r, int c) { return c == 0 ? T(r == 0 ? 1 : 3) : T(r == 0 ? c == 1 : r > 1 && c == r); });
        const Factors<T> f = decomposeOne(m);
        EXPECT_EQ(f.row(0, 0), 1) << n;
        EXPECT_EQ(f.row(0, 1), 0) << n;
    }
}

// The row that gives way takes the winner's place; the rows between stay where they are.
TYPED_TEST(LuDecompose, RowsAreExchangedAndNotShifted)
{
    using T = TypeParam;
    for (int n = 3; n <= 9; ++n) {
        // Magnitudes rise down the first column, the rest is such that no other exchange follows.
        const Matrices<T> m(n, 1, [&](int, int r, int c) {
            if (c == 0) return T(r + 1);
            return r == n - 1 ? T(0) : r == 0 ? T(c == n - 1) : T(c == r);
        });
        const Factors<T> f = decomposeOne(m);
        ASSERT_EQ(f.status, StatusOk);
        auto expected = identityIndex<T>(n);
        std::swap(expected.front(), expected.back());
        EXPECT_EQ(f.index, expected) << n;
    }
}

TYPED_TEST(LuDecompose, ALeadingNanStaysThePivotAndALaterOneNeverWins)
{
    using T = TypeParam;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    for (int n = 2; n <= 9; ++n) {
        Matrices<T> leading(n, 1, [](int, int r, int c) { return T(r == c ? 1 : 0.5); });
        leading.at(0, 0, 0) = nan;
        leading.at(0, 1, 0) = T(100);
        const Factors<T> first = decomposeOne(leading);
        EXPECT_EQ(first.status, StatusOk) << n;
        EXPECT_EQ(first.row(0, 0), 0) << n;
        EXPECT_TRUE(std::isnan(first.factor(0, 0, 0)));

        Matrices<T> later(n, 1, [](int, int r, int c) { return T(r == c ? 1 : 0); });
        later.at(0, n - 1, 0) = nan;
        EXPECT_EQ(decomposeOne(later).row(0, 0), 0) << n;
    }
}

// An element and a pivot whose quotient is not the product with the rounded reciprocal.
template <class T> struct Rounding {
    T element = 0, pivot = 0;

    Rounding()
    {
        for (int p = 3; p < 60; ++p)
            for (int a = 1; a < p; ++a)
                if (T(a) / T(p) != T(a) * (T(1) / T(p))) {
                    element = T(a);
                    pivot = T(p);
                    return;
                }
    }
};

TYPED_TEST(LuDecompose, MultipliersAreProductsWithTheReciprocalButForTheLastStepOfOrders3To6)
{
    using T = TypeParam;
    const Rounding<T> numbers;
    ASSERT_NE(numbers.pivot, T(0));
    const T quotient = numbers.element / numbers.pivot, product = numbers.element * (T(1) / numbers.pivot);
    for (int n = 2; n <= 9; ++n)
        for (int k = 0; k + 1 < n; ++k) {
            Matrices<T> m = scaledIdentity(n, k, numbers.pivot);
            m.at(0, n - 1, k) = numbers.element;
            const Factors<T> f = decomposeOne(m);
            EXPECT_EQ(f.factor(0, n - 1, k), isCase(n) && k == n - 2 ? quotient : product) << n << " " << k;
        }
}

TYPED_TEST(LuDecompose, StoresTheFactorsInTheRowsThatTheIndexNames)
{
    using T = TypeParam;
    // Row 2 wins the first step, row 0 the second.
    Matrices<T> m(3, 1);
    m.elements = {2, 3, 1, 1, 1, 1, 4, 2, 8};
    const Factors<T> f = decomposeOne(m);
    EXPECT_EQ(f.status, StatusOk);
    EXPECT_EQ(f.index, (std::vector<std::int32_t>{2, 0, 1}));
    EXPECT_EQ(f.lu.elements, (std::vector<T>{0.5, 2, -3, 0.25, 0.25, -0.25, 4, 2, 8}));
}

TYPED_TEST(LuDecompose, MayRunInPlace)
{
    using T = TypeParam;
    for (int n = 1; n <= 9; ++n) {
        const Matrices<T> m(n, 21,
                            [&](int o, int r, int c) { return (o * 7 + r * 5 + c * 3) % 11 + (r == c) * 13 - 5; });
        for (const Form form : allForms)
            EXPECT_EQ(decomposeInPlace(m, form), decompose(m, form)) << n << " form " << int(form);
    }
}

// Orders 3 to 6 read all of an object first, so that the destination may be its transpose in the same place.
TYPED_TEST(LuDecompose, MayTurnAnObjectOver)
{
    using T = TypeParam;
    for (int n = 3; n <= 6; ++n) {
        const Matrices<T> m(n, 11,
                            [&](int o, int r, int c) { return (o * 7 + r * 5 + c * 3) % 11 + (r == c) * 13 - 5; });
        const Factors<T> apart = decompose(m);
        Factors<T> f(m);
        const int e = sizeof(T);
        f.status = byType<T>(tarnmLUDecomp_ma_32f, tarnmLUDecomp_ma_64f)(f.lu.elements.data(), n * n * e, n * e, e,
                                                                         f.index.data(), f.lu.elements.data(),
                                                                         n * n * e, e, n * e, n, m.count);
        EXPECT_EQ(f.status, StatusOk);
        EXPECT_EQ(f.index, apart.index);
        for (int o = 0; o < m.count; ++o)
            for (int r = 0; r < n; ++r)
                for (int c = 0; c < n; ++c)
                    EXPECT_EQ(f.lu.at(o, c, r), apart.lu.at(o, r, c)) << n;
    }
}

TYPED_TEST(LuDecompose, OverflowRunsOnWithStatusOk)
{
    using T = TypeParam;
    const T huge = std::numeric_limits<T>::max();
    for (int n = 2; n <= 9; ++n) {
        const Matrices<T> m(n, 1, [&](int, int r, int c) { return r == c || c == n - 1 ? huge : -huge; });
        EXPECT_EQ(decomposeOne(m).status, StatusOk) << n;
    }
}

TYPED_TEST(LuDecompose, TheIndexArrayNeedsNoAlignment)
{
    using T = TypeParam;
    for (int n = 1; n <= 8; ++n) {
        const Matrices<T> m(n, 17,
                            [&](int o, int r, int c) { return (o + r * 5 + c * 3) % 7 + (r == (c + o) % n) * 9; });
        const Factors<T> f = decompose(m);
        std::vector<char> bytes(f.index.size() * 4 + 4);
        auto* const shifted = reinterpret_cast<std::int32_t*>(bytes.data() + 3);
        Matrices<T> lu(n, m.count);
        const int e = sizeof(T);
        byType<T>(tarnmLUDecomp_ma_32f, tarnmLUDecomp_ma_64f)(m.elements.data(), n * n * e, n * e, e, shifted,
                                                              lu.elements.data(), n * n * e, n * e, e, n, m.count);
        EXPECT_EQ(std::memcmp(bytes.data() + 3, f.index.data(), f.index.size() * 4), 0) << n;
        EXPECT_EQ(lu, f.lu);
    }
}

} // namespace
} // namespace tarnm::test
