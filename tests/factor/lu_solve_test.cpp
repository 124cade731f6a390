// Orders of operations, aliasing and special values of the solver of LU factors.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <string>

#include <omp.h>

#include "factor/lu_calls.h"

namespace tarnm::test {
namespace {

bool isCase(int n) { return n >= 3 && n <= 6; }

std::vector<std::int32_t> identityIndex(int n)
{
    std::vector<std::int32_t> index(std::size_t(n), 0);
    std::iota(index.begin(), index.end(), 0);
    return index;
}

std::vector<std::int32_t> someIndex(int n)
{
    auto index = identityIndex(n);
    std::rotate(index.begin(), index.begin() + n / 2, index.end());
    if (n > 2) std::swap(index[0], index[1]);
    return index;
}

template <class T> bool sameBits(const std::vector<T>& a, const std::vector<T>& b)
{
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0;
}

// Numbers whose quotients and sums are all rounded.
template <class T> T number(int i) { return T((i * 37 + 11) % 29 + 3) / T((i * 13) % 7 + 6) * (i % 3 == 1 ? -1 : 1); }

template <class T> Factors<T> someFactors(int n)
{
    return stored<T>(someIndex(n), [&](int k, int c) { return number<T>(7 * k + c) + (k == c ? T(3) : T(0)); });
}

template <class T> Vectors<T> someVectors(int n, int count)
{
    Vectors<T> b;
    for (int i = 0; i < n * count; ++i)
        b.push_back(number<T>(5 * i + 2));
    return b;
}

// `count` objects, all with the same factors.
template <class T> Factors<T> repeated(const Factors<T>& one, int count)
{
    Factors<T> all(one.lu.n, 0);
    all.lu.count = count;
    for (int o = 0; o < count; ++o) {
        all.lu.elements.insert(all.lu.elements.end(), one.lu.elements.begin(), one.lu.elements.end());
        all.index.insert(all.index.end(), one.index.begin(), one.index.end());
    }
    return all;
}

template <class T> class LuSolve : public testing::Test {
protected:
    void SetUp() override
    {
        omp_set_dynamic(0);
        answerThreadCount({1});
    }
};
using Types = testing::Types<float, double>;
TYPED_TEST_SUITE(LuSolve, Types);

TYPED_TEST(LuSolve, AZeroOnTheDiagonalGivesInfinitiesAndNan)
{
    using T = TypeParam;
    for (int n = 1; n <= 9; ++n) {
        const Factors<T> f = stored<T>(identityIndex(n), [](int k, int c) { return k == c ? (k ? 1 : 0) : 1; });
        const Vectors<T> b(std::size_t(n), T(1));
        Vectors<T> x(b);
        EXPECT_EQ(solveOne(f, b.data(), x.data()), StatusOk);
        EXPECT_FALSE(std::isfinite(x[0])) << n;
        const Factors<T> zero = stored<T>(identityIndex(n), [](int, int) { return 0; });
        EXPECT_EQ(solve(zero, b.data(), x.data(), 1), StatusOk);
        EXPECT_FALSE(std::isfinite(x[std::size_t(n - 1)]));
        const Vectors<T> none(std::size_t(n), T(0));
        EXPECT_EQ(solveOwn(zero, none.data(), x.data()), StatusOk);
        EXPECT_TRUE(std::isnan(x[std::size_t(n - 1)])) << n;
    }
}

TYPED_TEST(LuSolve, AnIdentityCopies)
{
    using T = TypeParam;
    for (int n = 1; n <= 9; ++n) {
        const Factors<T> f = stored<T>(identityIndex(n), [](int k, int c) { return k == c; });
        const Vectors<T> b = someVectors<T>(n, 5);
        for (const Form form : allForms) {
            EXPECT_EQ(solve(f, b, form), b) << n;
            Vectors<T> x(b.size());
            EXPECT_EQ(solveOwn(repeated(f, 5), b.data(), x.data(), form), StatusOk);
            EXPECT_EQ(x, b) << n;
        }
        const Vectors<T> one(b.begin(), b.begin() + n);
        EXPECT_EQ(solveOne(f, one), one) << n;
    }
}

TYPED_TEST(LuSolve, ASystemOfOrder1IsAQuotient)
{
    using T = TypeParam;
    for (const T pivot : {T(3), T(7), T(-49)}) {
        const Factors<T> f = stored<T>({0}, [&](int, int) { return pivot; });
        for (const T b : {T(1), T(2), T(5)}) {
            EXPECT_EQ(solveOne(f, Vectors<T>{b}), Vectors<T>{b / pivot});
            EXPECT_EQ(solve(f, Vectors<T>(4, b)), Vectors<T>(4, b / pivot));
        }
    }
}

TYPED_TEST(LuSolve, TheIndexNamesRowsOfTheFactorAndElementsOfTheRightSide)
{
    using T = TypeParam;
    for (int n = 1; n <= 9; ++n) {
        const auto index = someIndex(n);
        const Factors<T> f = stored<T>(index, [](int k, int c) { return k == c ? T(1 << k) : T(0); });
        Vectors<T> b, expected;
        for (int i = 0; i < n; ++i)
            b.push_back(T(100 + i));
        for (int i = 0; i < n; ++i)
            expected.push_back(b[std::size_t(index[std::size_t(i)])] / T(1 << i));
        EXPECT_EQ(solveOne(f, b), expected) << n;
    }
}

// A large term ahead of a small one swallows it.
TYPED_TEST(LuSolve, Column0IsSubtractedLastAtOrders3To6)
{
    using T = TypeParam;
    const T large = 4 / std::numeric_limits<T>::epsilon();
    // y = (1, -large, ...), then row 2: large - 1 * 1 (column 0) and (-1)(-large) (column 1).
    for (int n = 3; n <= 9; ++n) {
        const Factors<T> f = stored<T>(identityIndex(n), [](int k, int c) {
            if (k == c) return 1;
            return k == 2 && c == 0 ? 1 : k == 2 && c == 1 ? -1 : 0;
        });
        Vectors<T> b(std::size_t(n), T(0));
        b[0] = T(1);
        b[1] = -large;
        b[2] = large;
        // At other orders the sum of both terms comes off at once.
        const T expected = isCase(n) ? (large - large) - T(1) : large - (T(1) + large);
        ASSERT_NE((large - T(1)) - large, T(-1));
        EXPECT_EQ(solveOne(f, b)[2], expected) << n;
    }
}

TYPED_TEST(LuSolve, TheHighestColumnIsSubtractedFirstGoingBackAtOrders3To6)
{
    using T = TypeParam;
    const T large = 4 / std::numeric_limits<T>::epsilon();
    for (int n = 3; n <= 9; ++n) {
        const Factors<T> f = stored<T>(identityIndex(n), [&](int k, int c) {
            if (k == c) return 1;
            return k == 0 && (c == 1 || c == n - 1) ? 1 : 0;
        });
        Vectors<T> b(std::size_t(n), T(0));
        b[0] = large;
        b[1] = T(1);
        b[std::size_t(n - 1)] = large;
        // Highest first: (large - large) - 1.
        const T expected = isCase(n) ? T(-1) : large - (T(1) + large);
        EXPECT_EQ(solveOne(f, b)[0], expected) << n;
        EXPECT_EQ(solve(f, b, Form::list)[0], expected) << n;
    }
}

// Each x is b / d or b times the rounded 1 / d.
template <class T> T pivotOf(int k) { return T(7 * (2 * k + 3)); }

template <class T> Factors<T> diagonal(int n)
{
    return stored<T>(identityIndex(n), [](int k, int c) { return k == c ? pivotOf<T>(k) : T(0); });
}

// From `first` on the next whole number whose quotient is not its product with the reciprocal.
template <class T> T awkwardNumber(T pivot, int first)
{
    const T reciprocal = T(1) / pivot;
    T a = T(first);
    while (a / pivot == a * reciprocal)
        a += 1;
    return a;
}

template <class T> Vectors<T> awkwardVectors(int n, int count)
{
    Vectors<T> b;
    for (int i = 0; i < n * count; ++i)
        b.push_back(awkwardNumber(pivotOf<T>(i % n), i % 23 + 1));
    return b;
}

template <class T> std::string kindOfQuotients(const Factors<T>& f, const Vectors<T>& b, const Vectors<T>& x)
{
    const std::size_t n = std::size_t(f.lu.n);
    bool areDivided = true, areProducts = true;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const T d = f.lu.at(0, int(i % n), int(i % n));
        areDivided = areDivided && x[i] == b[i] / d;
        areProducts = areProducts && x[i] == b[i] * (T(1) / d);
    }
    return areDivided ? areProducts ? "no difference" : "divided" : areProducts ? "products" : "neither";
}

TYPED_TEST(LuSolve, OneFactorForAllMultipliesByReciprocalsAtOrders3To6)
{
    using T = TypeParam;
    for (int n = 2; n <= 8; ++n)
        for (const int count : {1, 2, 3, 4, 9, 17})
            for (const Form form : allForms) {
                const Factors<T> f = diagonal<T>(n);
                const Vectors<T> b = awkwardVectors<T>(n, count);
                const bool takesLoops = std::is_same_v<T, float> && form == Form::dense && count <= 2;
                EXPECT_EQ(kindOfQuotients(f, b, solve(f, b, form)), isCase(n) && !takesLoops ? "products" : "divided")
                    << "order " << n << " count " << count << " form " << int(form);
            }
}

TEST(LuSolve, SinglePrecisionDividesWithTwoPackedVectorsAndMultipliesWithThree)
{
    for (int n = 3; n <= 6; ++n) {
        const Factors<float> f = diagonal<float>(n);
        const Vectors<float> two = awkwardVectors<float>(n, 2), three = awkwardVectors<float>(n, 3);
        EXPECT_EQ(kindOfQuotients(f, two, solve(f, two)), "divided");
        EXPECT_EQ(kindOfQuotients(f, three, solve(f, three)), "products");
    }
}

TYPED_TEST(LuSolve, OneSystemAndOwnFactorsDivide)
{
    using T = TypeParam;
    for (int n = 2; n <= 8; ++n) {
        const Factors<T> f = diagonal<T>(n);
        const Vectors<T> b = awkwardVectors<T>(n, 1);
        EXPECT_EQ(kindOfQuotients(f, b, solveOne(f, b)), "divided");
        for (const int count : {1, 2, 3, 17})
            for (const Form form : allForms) {
                const Vectors<T> many = awkwardVectors<T>(n, count);
                Vectors<T> x(many.size());
                solveOwn(repeated(f, count), many.data(), x.data(), form);
                EXPECT_EQ(kindOfQuotients(f, many, x), "divided") << n << " " << count << " form " << int(form);
            }
    }
}

// Slices of two vectors take the loops, and divide, where the call as a whole would not.
TEST(LuSolve, EachThreadLooksAtItsOwnNumberOfVectors)
{
    constexpr int n = 6, count = 57, threads = 28; // one slice of three, the others of two
    const Factors<float> f = diagonal<float>(n);
    const Vectors<float> b = awkwardVectors<float>(n, count);
    answerThreadCount({threads});
    const Vectors<float> x = solve(f, b);
    const auto kindFrom = [&](int first, int objects) {
        const auto part = [&](const Vectors<float>& all) {
            return Vectors<float>(all.begin() + first * n, all.begin() + (first + objects) * n);
        };
        return kindOfQuotients(f, part(b), part(x));
    };
    EXPECT_EQ(kindFrom(0, 3), "products");
    for (int slice = 1; slice < threads; ++slice)
        EXPECT_EQ(kindFrom(1 + 2 * slice, 2), "divided") << slice;
}

TYPED_TEST(LuSolve, OwnFactorsGiveTheBitsOfSingleCalls)
{
    using T = TypeParam;
    for (int n = 1; n <= 9; ++n)
        for (const int count : {1, 3, 8, 19})
            for (const Form form : allForms) {
                Factors<T> f(n, count);
                Vectors<T> expected;
                const Vectors<T> b = someVectors<T>(n, count);
                for (int o = 0; o < count; ++o) {
                    auto index = identityIndex(n);
                    std::rotate(index.begin(), index.begin() + o % n, index.end());
                    const Factors<T> one = stored<T>(
                        index, [&](int k, int c) { return number<T>(3 * o + 7 * k + c) + (k == c ? T(3) : T(0)); });
                    std::copy(one.lu.elements.begin(), one.lu.elements.end(), f.lu.elements.begin() + o * n * n);
                    std::copy(index.begin(), index.end(), f.index.begin() + o * n);
                    const Vectors<T> x = solveOne(one, Vectors<T>(b.begin() + o * n, b.begin() + (o + 1) * n));
                    expected.insert(expected.end(), x.begin(), x.end());
                }
                Vectors<T> x(b.size());
                EXPECT_EQ(solveOwn(f, b.data(), x.data(), form), StatusOk);
                EXPECT_TRUE(sameBits(x, expected)) << "order " << n << " count " << count << " form " << int(form);
            }
}

TYPED_TEST(LuSolve, MayRunInPlaceAtOrders3To6)
{
    using T = TypeParam;
    for (int n = 3; n <= 6; ++n) {
        const Factors<T> f = someFactors<T>(n);
        for (const Form form : allForms)
            for (const int count : {1, 3, 4, 9, 17}) {
                const bool takesLoops = std::is_same_v<T, float> && form == Form::dense && count <= 2;
                const Vectors<T> b = someVectors<T>(n, count);
                Vectors<T> x(b);
                if (!takesLoops) {
                    EXPECT_EQ(solve(f, x.data(), x.data(), count, form), StatusOk);
                    EXPECT_TRUE(sameBits(x, solve(f, b, form))) << n << " " << count << " form " << int(form);
                }
                Vectors<T> own(b), apart(b.size());
                solveOwn(repeated(f, count), own.data(), own.data(), form);
                solveOwn(repeated(f, count), b.data(), apart.data(), form);
                EXPECT_TRUE(sameBits(own, apart)) << n << " " << count << " form " << int(form);
            }
        const Vectors<T> b = someVectors<T>(n, 1);
        Vectors<T> x(b);
        solveOne(f, x.data(), x.data());
        EXPECT_TRUE(sameBits(x, solveOne(f, b))) << n;
    }
}

} // namespace
} // namespace tarnm::test
