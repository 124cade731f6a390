// Eigenvectors of general matrices: known results, and what holds of all of them.
//
// In terms of the source S the left vectors are those of S u = lambda u, the right ones those of its transpose.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <random>

#include "eigen/general_calls.h"

namespace tarnm::test {
namespace {

template <class T> class GeneralVectors : public testing::Test {};
using Types = testing::Types<float, double>;
TYPED_TEST_SUITE(GeneralVectors, Types);

template <class T> constexpr double epsilon = std::numeric_limits<T>::epsilon();

template <class T> void expectElements(const std::vector<T>& got, std::initializer_list<double> rows, double within)
{
    ASSERT_EQ(got.size(), rows.size());
    for (std::size_t k = 0; k < got.size(); ++k)
        EXPECT_NEAR(double(got[k]), rows.begin()[k], within) << k;
}

TYPED_TEST(GeneralVectors, OrderOne)
{
    const Solution<TypeParam> s = vectorsOf(Matrix<TypeParam>(1, {4.5}));
    EXPECT_EQ(s.status, StatusOk);
    expectElements(s.re, {4.5}, 0);
    expectElements(s.im, {0}, 0);
    expectElements(s.right, {1}, 0);
    expectElements(s.left, {1}, 0);
}

TYPED_TEST(GeneralVectors, TheSetsAreNamedForTheTransposeOfTheSource)
{
    using T = TypeParam;
    const double h = std::sqrt(0.5);
    const Solution<T> s = vectorsOf(Matrix<T>(2, {1, 1, 0, 2}));
    EXPECT_EQ(s.status, StatusOk);
    expectElements(s.re, {2, 1}, 0);
    expectElements(s.im, {0, 0}, 0);
    expectElements(s.right, {0, -h, 1, h}, 2 * epsilon<T>);
    expectElements(s.left, {h, -1, h, 0}, 2 * epsilon<T>);
}

TYPED_TEST(GeneralVectors, RotationHasThePairWithItsLargestComponentReal)
{
    using T = TypeParam;
    const Solution<T> s = vectorsOf(Matrix<T>(2, {0, 1, -1, 0}));
    EXPECT_EQ(s.status, StatusOk);
    expectElements(s.re, {0, 0}, 0);
    expectElements(s.im, {1, -1}, 0);
    // Both components have the same modulus: the first is made real.
    EXPECT_NEAR(std::fabs(double(s.right[0])), std::sqrt(0.5), 4 * epsilon<T>);
    EXPECT_NEAR(double(s.right[1]), 0, 4 * epsilon<T>);
}

using Exact = long double;
using Complex = std::complex<Exact>;

// Column k of a set of vectors, joined from two columns for a pair.
template <class T> std::vector<Complex> vectorAt(const Solution<T>& s, const std::vector<T>& set, int n, int k)
{
    const auto i = std::size_t(k);
    const bool isSecond = s.im[i] < 0;
    const bool isPair = s.im[i] != 0;
    std::vector<Complex> v;
    for (int r = 0; r < n; ++r) {
        const auto at = [&](int c) { return Exact(set[std::size_t(r * n + c)]); };
        if (!isPair)
            v.push_back(at(k));
        else
            v.push_back(isSecond ? Complex(at(k - 1), -at(k)) : Complex(at(k), at(k + 1)));
    }
    return v;
}

template <class T> Exact frobenius(const Matrix<T>& m)
{
    Exact sum = 0;
    for (T x : m.elements)
        sum += Exact(x) * Exact(x);
    return std::sqrt(sum);
}

// |M v - lambda v| over n eps |M|, with M or its transpose.
template <class T> double residual(const Matrix<T>& m, bool transposed, const std::vector<Complex>& v, Complex lambda)
{
    Exact squares = 0;
    for (int r = 0; r < m.n; ++r) {
        Complex sum = -lambda * v[std::size_t(r)];
        for (int c = 0; c < m.n; ++c)
            sum += Exact(transposed ? m(c, r) : m(r, c)) * v[std::size_t(c)];
        squares += std::norm(sum);
    }
    return double(std::sqrt(squares) / (m.n * Exact(epsilon<T>) * frobenius(m)));
}

constexpr double largestResidual = 40; // in units of n eps |S|

template <class T> void expectEigenpairs(const Matrix<T>& m, const Solution<T>& s)
{
    for (int k = 0; k < m.n; ++k) {
        const Complex lambda(s.re[std::size_t(k)], s.im[std::size_t(k)]);
        for (const bool isRight : {true, false}) {
            const auto v = vectorAt(s, isRight ? s.right : s.left, m.n, k);
            EXPECT_LT(residual(m, isRight, v, lambda), largestResidual) << m.n << " " << k << (isRight ? " r" : " l");
            Exact squares = 0;
            for (const Complex& x : v)
                squares += std::norm(x);
            EXPECT_NEAR(double(squares), 1.0, 10 * (m.n + 4) * epsilon<T>) << m.n << " " << k;
        }
    }
}

TYPED_TEST(GeneralVectors, ResidualsOfRandomMatrices)
{
    using T = TypeParam;
    std::mt19937 generator(17);
    std::uniform_real_distribution<double> uniform(-1, 1);
    for (int n = 2; n <= 12; ++n)
        for (int repeat = 0; repeat < 60; ++repeat) {
            const Matrix<T> m(n, [&](int, int) { return uniform(generator); });
            const Solution<T> s = vectorsOf(m);
            ASSERT_EQ(s.status, StatusOk);
            expectEigenpairs(m, s);
        }
}

TYPED_TEST(GeneralVectors, TheLargestComponentOfAPairIsReal)
{
    using T = TypeParam;
    std::mt19937 generator(4);
    std::uniform_real_distribution<double> uniform(-1, 1);
    int pairs = 0;
    for (int repeat = 0; repeat < 60; ++repeat) {
        const int n = 2 + repeat % 7;
        const Solution<T> s = vectorsOf(Matrix<T>(n, [&](int, int) { return uniform(generator); }));
        for (int k = 0; k < n; ++k) {
            if (!(s.im[std::size_t(k)] > 0)) continue;
            ++pairs;
            for (const auto* set : {&s.right, &s.left}) {
                const auto v = vectorAt(s, *set, n, k);
                const auto largest = std::max_element(
                    v.begin(), v.end(), [](const Complex& x, const Complex& y) { return std::norm(x) < std::norm(y); });
                EXPECT_NEAR(double(largest->imag()), 0, 8 * epsilon<T>);
            }
        }
    }
    EXPECT_GT(pairs, 40);
}

// Product of the pivots with partial pivoting.
template <class T> Exact determinant(const Matrix<T>& m)
{
    std::vector<Exact> a(m.elements.begin(), m.elements.end());
    const auto at = [&](int r, int c) -> Exact& { return a[std::size_t(r * m.n + c)]; };
    Exact product = 1;
    for (int k = 0; k < m.n; ++k) {
        int pivot = k;
        for (int r = k + 1; r < m.n; ++r)
            if (std::fabs(at(r, k)) > std::fabs(at(pivot, k))) pivot = r;
        if (pivot != k) {
            for (int c = 0; c < m.n; ++c)
                std::swap(at(k, c), at(pivot, c));
            product = -product;
        }
        product *= at(k, k);
        for (int r = k + 1; r < m.n; ++r)
            for (int c = m.n - 1; c >= k; --c)
                at(r, c) -= at(r, k) / at(k, k) * at(k, c);
    }
    return product;
}

TYPED_TEST(GeneralVectors, SumAndProductOfTheValues)
{
    using T = TypeParam;
    std::mt19937 generator(23);
    std::uniform_real_distribution<double> uniform(-1, 1);
    for (int n = 2; n <= 9; ++n)
        for (int repeat = 0; repeat < 40; ++repeat) {
            const Matrix<T> m(n, [&](int, int) { return uniform(generator); });
            for (const Solution<T>& s : {valuesOf(m), vectorsOf(m)}) {
                Exact trace = 0;
                Complex sum = 0, product = 1;
                for (int k = 0; k < n; ++k) {
                    const Complex lambda(s.re[std::size_t(k)], s.im[std::size_t(k)]);
                    trace += m(k, k);
                    sum += lambda;
                    product *= lambda;
                }
                const Exact norm = frobenius(m);
                EXPECT_LT(double(std::abs(sum - trace)), 20 * n * epsilon<T> * double(norm)) << n;
                EXPECT_LT(double(std::abs(product - determinant(m))),
                          20 * n * epsilon<T> * double(std::pow(std::max<Exact>(norm, 1), Exact(n))))
                    << n;
            }
        }
}

TYPED_TEST(GeneralVectors, SymmetricMatrixHasRealValuesAndOneSetTwice)
{
    using T = TypeParam;
    std::mt19937 generator(5);
    std::uniform_real_distribution<double> uniform(-1, 1);
    for (int n = 2; n <= 8; ++n) {
        Matrix<T> m(n, [&](int r, int c) { return r == c ? 3.0 * r + uniform(generator) : uniform(generator); });
        for (int r = 0; r < n; ++r)
            for (int c = 0; c < r; ++c)
                m(r, c) = m(c, r);
        const Solution<T> s = vectorsOf(m);
        ASSERT_EQ(s.status, StatusOk);
        expectEigenpairs(m, s);
        for (int k = 0; k < n; ++k) {
            EXPECT_EQ(s.im[std::size_t(k)], T(0));
            Exact product = 0;
            for (int r = 0; r < n; ++r)
                product += Exact(s.right[std::size_t(r * n + k)]) * Exact(s.left[std::size_t(r * n + k)]);
            EXPECT_NEAR(std::fabs(double(product)), 1.0, 200 * n * epsilon<T>) << n;
        }
    }
}

// Residuals hold for these too; how far the values may be off is another matter.
TYPED_TEST(GeneralVectors, TriangularGradedFrankAndCompanion)
{
    using T = TypeParam;
    for (int n = 3; n <= 8; ++n) {
        const std::vector<Matrix<T>> hard = {
            Matrix<T>(n, [](int r, int c) { return r <= c ? 1.0 + 2.0 * r + 0.25 * c : 0.0; }),
            Matrix<T>(n, [](int r, int c) { return r >= c ? 1.0 + 2.0 * r + 0.25 * c : 0.0; }),
            Matrix<T>(n, [](int r, int c) { return std::ldexp(1.0 + 0.5 * r - 0.375 * c, -(r + c)); }),
            Matrix<T>(n, [n](int r, int c) { return c + 1 < r ? 0.0 : double(n - std::max(r, c)); }),
            Matrix<T>(n, [n](int r, int c) { return r == n - 1 ? -1.0 - c : double(c == r + 1); }),
        };
        for (const Matrix<T>& m : hard) {
            const Solution<T> s = vectorsOf(m);
            ASSERT_EQ(s.status, StatusOk) << n;
            expectEigenpairs(m, s);
        }
    }
}

TYPED_TEST(GeneralVectors, TheSetsAloneAreThoseOfBoth)
{
    using T = TypeParam;
    for (int n = 1; n <= 10; ++n) {
        std::vector<Matrix<T>> objects;
        for (int k = 0; k < 3; ++k)
            objects.push_back(Matrix<T>(n, [k](int r, int c) { return std::sin(1.0 + 4 * k + 3 * r * c + 5.5 * c); }));
        const Solution<T> both = bothOfArray(objects);
        EXPECT_EQ(rightOfArray(objects).right, both.right) << n;
        EXPECT_EQ(leftOfArray(objects).left, both.left) << n;
    }
}

// Unlike for values alone.
TYPED_TEST(GeneralVectors, ANonZeroLowerElementIsNeglectedOnlyAgainstTheDiagonal)
{
    using T = TypeParam;
    const T small = T(0.5) * T(epsilon<T>);
    const Matrix<T> m(2, {0.0, double(small), -double(small), 0.0});
    EXPECT_EQ(valuesOf(m).im[0], T(0));
    EXPECT_NEAR(double(vectorsOf(m).im[0] / small), 1, 4 * epsilon<T>);
}

TYPED_TEST(GeneralVectors, EqualDiagonalOfOneSignKeepsTheRotationOfTheBlockBefore)
{
    using T = TypeParam;
    // The first block of the call starts from no rotation at all, which takes both columns of vectors to 0.
    const Solution<T> s = vectorsOf(Matrix<T>(2, {1, 2, 3, 1}));
    EXPECT_EQ(s.status, StatusOk);
    EXPECT_NEAR(double(s.im[0]), std::sqrt(6.0), 4 * epsilon<T>);
    for (T x : s.right)
        EXPECT_TRUE(std::isnan(x));
    // After a rotation block the kept rotation is the identity, and the vectors are finite.
    const Solution<T> after = vectorsOf(Matrix<T>(4, {1, 2, 0, 0, 3, 1, 0, 0, 0, 0, 5, 1, 0, 0, -1, 5}));
    EXPECT_EQ(after.status, StatusOk);
    EXPECT_NEAR(double(after.im[0]), std::sqrt(6.0), 4 * epsilon<T>);
    for (T x : after.right)
        EXPECT_TRUE(std::isfinite(x));
}

TYPED_TEST(GeneralVectors, TheKeptRotationStartsAnewWithEveryObject)
{
    using T = TypeParam;
    for (const int before : {1, 2, 5}) {
        std::vector<Matrix<T>> objects(std::size_t(before), Matrix<T>(2, {5, 1, -1, 5}));
        objects.push_back(Matrix<T>(2, {1, 2, 3, 1}));
        const Solution<T> s = bothOfArray(objects);
        EXPECT_EQ(s.status, StatusOk);
        for (std::size_t k = 0; k < 4; ++k)
            EXPECT_TRUE(std::isnan(s.right[std::size_t(before) * 4 + k]));
    }
}

TYPED_TEST(GeneralVectors, ANearlyDefectiveBlockEnds)
{
    using T = TypeParam;
    const double d = 0.25 * epsilon<T>;
    for (const double off : {0.0, d, -d, 4 * d, -4 * d}) {
        const Solution<T> s = vectorsOf(Matrix<T>(4, {1, 0, 0, 0, 1, 1 + off, 0, 0, 0.5, 2, 1, off, 1, 3, 1, 1 + d}));
        EXPECT_TRUE(s.status == StatusOk || s.status == StatusError);
    }
}

TYPED_TEST(GeneralVectors, NotConvergedLeavesTheVectorsAlone)
{
    using T = TypeParam;
    const int n = 4, count = 9;
    const Matrix<T> good(n, [](int r, int c) { return std::sin(1.0 + 3 * r + 5.5 * c * c); });
    Matrix<T> broken(n, {0, 1, 0, 0, 2, 1, 1, 0, 3, 4, 2, 0, 1, 1, 1, 7});
    broken(0, 0) = std::numeric_limits<T>::quiet_NaN();
    const Solution<T> one = vectorsOf(good);
    for (int bad = 0; bad < count; ++bad) {
        std::vector<Matrix<T>> objects(std::size_t(count), good);
        objects[std::size_t(bad)] = broken;
        const Solution<T> s = bothOfArray(objects);
        EXPECT_EQ(s.status, StatusNotConverged);
        for (int k = 0; k < count; ++k)
            for (std::size_t e = 0; e < 16; ++e) {
                const std::size_t i = std::size_t(k) * 16 + e;
                EXPECT_EQ(s.right[i], k < bad ? one.right[e] : untouched<T>) << bad << " " << k;
                EXPECT_EQ(s.left[i], k < bad ? one.left[e] : untouched<T>) << bad << " " << k;
            }
        EXPECT_EQ(s.re[std::size_t(bad * n + 3)], T(7));
        EXPECT_EQ(s.re[std::size_t(bad * n + 2)], untouched<T>);
    }
}

} // namespace
} // namespace tarnm::test
