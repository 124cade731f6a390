// The parts of the general eigenproblem that no matrix is known to lead to, and those worth a look by themselves.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "eigen/general_back_substitution.h"
#include "eigen/general_standardise.h"

namespace tarnm::general {
namespace {

template <class T> class GeneralSolvers : public testing::Test {
protected:
    using Tolerance = GeneralTolerance<T>;
    const SolverLimits<T> limits{Tolerance::vanishingNorm, largestComponent<T>(2)};
};
using Types = testing::Types<float, double>;
TYPED_TEST_SUITE(GeneralSolvers, Types);

TYPED_TEST(GeneralSolvers, OrderOne)
{
    using T = TypeParam;
    const auto s = solve1<T, T>(T(4), T(-6), T(0), this->limits);
    EXPECT_EQ(s.x[0], T(-1.5));
    EXPECT_EQ(s.scale, T(1));
}

TYPED_TEST(GeneralSolvers, OrderOneTakesTheSmallestPivotForLess)
{
    using T = TypeParam;
    const SolverLimits<T> limits{T(0.25), largestComponent<T>(2)};
    EXPECT_EQ((solve1<T, T>(T(-0.2), T(1), T(0), limits).x[0]), T(4));
    EXPECT_EQ((solve1<T, T>(T(-0.25), T(1), T(0), limits).x[0]), T(-4));
}

TYPED_TEST(GeneralSolvers, OrderOneScalesTheRightHandSideWhereTheQuotientOverflows)
{
    using T = TypeParam;
    const T small = T(1) / GeneralTolerance<T>::solverOverflow;
    const auto at = solve1<T, T>(small * T(2), T(2), T(0), this->limits); // 2 is B times 2/B: not above
    EXPECT_EQ(at.scale, T(1));
    const auto above = solve1<T, T>(small * T(2), T(4), T(0), this->limits);
    EXPECT_EQ(above.scale, T(0.25));
    EXPECT_EQ(above.x[0], T(1) / (small * T(2)));
}

TYPED_TEST(GeneralSolvers, OrderOneIsDividedByItsNormWhereTheColumnWouldOverflow)
{
    using T = TypeParam;
    const auto under = solve1<T, T>(T(1), T(8), largestComponent<T>(2) / T(8), this->limits);
    EXPECT_EQ(under.x[0], T(8));
    const auto above = solve1<T, T>(T(1), T(8), largestComponent<T>(2), this->limits);
    EXPECT_EQ(above.x[0], T(1));
    EXPECT_EQ(above.scale, T(0.125));
}

TYPED_TEST(GeneralSolvers, OrderTwoWithEveryPivot)
{
    using T = TypeParam;
    for (int pivot = 0; pivot < 4; ++pivot) {
        T c[2][2] = {{T(1), T(2)}, {T(3), T(-2)}};
        c[pivot % 2][pivot / 2] = T(16);
        const T x[2] = {T(2), T(-3)};
        const T b[2] = {c[0][0] * x[0] + c[0][1] * x[1], c[1][0] * x[0] + c[1][1] * x[1]};
        const auto s = solve2<T, T>(c, b, T(0), this->limits);
        EXPECT_TRUE(s.hasPivot);
        EXPECT_NEAR(double(s.x[0]), 2, 8 * double(GeneralTolerance<T>::epsilon)) << pivot;
        EXPECT_NEAR(double(s.x[1]), -3, 8 * double(GeneralTolerance<T>::epsilon)) << pivot;
        EXPECT_EQ(s.scale, T(1));
    }
}

TYPED_TEST(GeneralSolvers, TheFirstOfEqualPivotsIsTaken)
{
    using T = TypeParam;
    const T c[2][2] = {{T(1), T(5)}, {T(-5), T(5)}};
    const auto p = pivoted(c);
    EXPECT_EQ(p.u11, T(-5)); // (2,1) comes before (1,2) and (2,2)
    EXPECT_TRUE(p.exchangesRows);
    EXPECT_FALSE(p.exchangesColumns);
}

TYPED_TEST(GeneralSolvers, OrderTwoWithoutAPivot)
{
    using T = TypeParam;
    const SolverLimits<T> limits{T(0.5), largestComponent<T>(2)};
    const T below[2][2] = {{T(0.25), T(-0.25)}, {T(0.125), T(0.25)}}, b[2] = {T(1), T(1)};
    EXPECT_FALSE((solve2<T, T>(below, b, T(0), limits).hasPivot));
    const T at[2][2] = {{T(0.25), T(-0.5)}, {T(0.125), T(0.25)}};
    EXPECT_TRUE((solve2<T, T>(at, b, T(0), limits).hasPivot));
}

TYPED_TEST(GeneralSolvers, ComplexOrderTwoWithEveryPivot)
{
    using T = TypeParam;
    using C = Complex<T>;
    for (int pivot = 0; pivot < 4; ++pivot) {
        C c[2][2] = {{C(1, -2), C(2)}, {C(3), C(-2, -2)}};
        c[pivot % 2][pivot / 2] = C(11, 5);
        const C x[2] = {C(2, 1), C(-3, 4)};
        const C b[2] = {c[0][0] * x[0] + c[0][1] * x[1], c[1][0] * x[0] + c[1][1] * x[1]};
        const auto s = solve2<T, C>(c, b, T(0), this->limits);
        EXPECT_TRUE(s.hasPivot);
        for (int k = 0; k < 2; ++k) {
            EXPECT_NEAR(double(s.x[k].re), double(x[k].re), 40 * double(GeneralTolerance<T>::epsilon)) << pivot;
            EXPECT_NEAR(double(s.x[k].im), double(x[k].im), 40 * double(GeneralTolerance<T>::epsilon)) << pivot;
        }
    }
}

TYPED_TEST(GeneralSolvers, ComplexDivisionKeepsLargeAndSmallComponents)
{
    using T = TypeParam;
    const T large = std::sqrt(GeneralTolerance<T>::solverOverflow) * T(256);
    const auto q = Complex<T>(large, large) / Complex<T>(large, -large);
    EXPECT_EQ(q.re, T(0));
    EXPECT_EQ(q.im, T(1));
}

// A quasi-triangular matrix with values of its own, its vectors and its work arrays.
template <class T> struct Form {
    explicit Form(int n)
        : order(n)
        , elements(std::size_t(n * n))
        , vectors(std::size_t(n * n))
        , norms(std::size_t(n))
        , re(norms)
        , im(norms)
    {
        for (int k = 1; k <= n; ++k)
            z()(k, k) = T(1);
    }

    int order;
    std::vector<T> elements, vectors, norms, re, im;

    ColumnMatrix<T> t() { return {elements.data(), order}; }
    ColumnMatrix<T> z() { return {vectors.data(), order}; }
    VectorWork<T> work() { return {norms.data() - 1, re.data() - 1, im.data() - 1}; }
    SchurForm<T> form() { return {t(), norms.data() - 1}; }
};

// A block far below the tolerance of an eigenvalue beside it: its system has no element that can be divided by.
template <class T> Form<T> formWithLostBlock(bool asPair)
{
    Form<T> f(4);
    const T s = GeneralTolerance<T>::epsilon * T(0.125);
    const T large = T(1);
    const auto block = [&](int k, T off) {
        f.t()(k, k) = f.t()(k + 1, k + 1) = large;
        f.t()(k, k + 1) = off;
        f.t()(k + 1, k) = -off;
    };
    block(1, s);
    if (asPair) {
        block(3, s);
    } else {
        f.t()(3, 3) = f.t()(4, 4) = large;
    }
    return f;
}

TYPED_TEST(GeneralSolvers, ARealSystemWithoutAPivotEndsTheRightPass)
{
    auto f = formWithLostBlock<TypeParam>(false);
    EXPECT_EQ(rightVectors(f.form(), f.work(), f.z()), PassEnd::noRealPivot);
}

TYPED_TEST(GeneralSolvers, AComplexSystemWithoutAPivotEndsTheRightPass)
{
    auto f = formWithLostBlock<TypeParam>(true);
    EXPECT_EQ(rightVectors(f.form(), f.work(), f.z()), PassEnd::noComplexPivot);
}

TYPED_TEST(GeneralSolvers, AComplexSystemWithoutAPivotEndsTheLeftPass)
{
    auto f = formWithLostBlock<TypeParam>(true);
    EXPECT_EQ(leftVectors(f.form(), f.work(), f.z()), PassEnd::noComplexPivot);
}

// Components that outgrow the root of what is allowed, by close eigenvalues, while the columns are small enough not to
// call for a division in the solver.
TYPED_TEST(GeneralSolvers, TheLeftPassScalesComponentsThatGrow)
{
    using T = TypeParam;
    Form<T> f(3);
    const T gap = T(0x1p-16), large = std::sqrt(largestComponent<T>(3)) / T(1024);
    for (int k = 1; k <= 3; ++k) {
        f.t()(k, k) = T(1) + T(k) * gap;
        if (k < 3) f.t()(k, k + 1) = large;
    }
    EXPECT_EQ(leftVectors(f.form(), f.work(), f.z()), PassEnd::complete);
    const double eps = GeneralTolerance<T>::epsilon;
    // Scaled to 1 ahead of the third component, which follows from it alone.
    EXPECT_NEAR(std::fabs(double(f.z()(2, 1))), 1, 4 * eps);
    EXPECT_NEAR(double(f.z()(3, 1) / f.z()(2, 1)) / -double(large / (2 * gap)), 1, 8 * eps);
    EXPECT_NEAR(double(f.z()(2, 1) / f.z()(1, 1)) / -double(large / gap), 1, 8 * eps);
}

TYPED_TEST(GeneralSolvers, TheRightPassScalesComponentsThatGrow)
{
    using T = TypeParam;
    Form<T> f(5);
    const T large = std::sqrt(largestComponent<T>(5)) * T(64);
    for (int k = 1; k <= 5; ++k) {
        f.t()(k, k) = T(k);
        if (k < 5) f.t()(k, k + 1) = large;
    }
    EXPECT_EQ(rightVectors(f.form(), f.work(), f.z()), PassEnd::complete);
    for (T x : f.vectors)
        EXPECT_TRUE(std::isfinite(x));
}

// ---- Standard form of blocks

TYPED_TEST(GeneralSolvers, ValuesOfANearlyDefectiveBlockSplitByTheHalfDifference)
{
    using T = TypeParam;
    // p and c are so small against b that the block is no real one; b and c keep one sign through the rotation.
    const T p = GeneralTolerance<T>::realBlock;
    const Block<T> block{T(1) + p * T(4), T(1), GeneralTolerance<T>::realBlock * T(0.125), T(1) - p * T(4)};
    const auto values = standardiseForValues<T>(block);
    EXPECT_EQ(values.imaginary, T(0));
    EXPECT_NE(values.a, values.d);
    // The roots of b and c enter only with vectors: true eigenvalues 1 -+ sqrt(p^2 + b c).
    Rotation<T> kept{T(0), T(0)};
    const auto standard = standardiseForVectors<T>(block, kept);
    EXPECT_EQ(standard.block.c, T(0));
    const double root = std::sqrt(16.0 * double(p) * double(p) + double(block.b) * double(block.c));
    EXPECT_NEAR(double(standard.block.a - standard.block.d), 2 * root, 0.01 * root);
    EXPECT_NEAR(double(values.a - values.d), 8 * double(p), 4 * double(GeneralTolerance<T>::epsilon));
}

TYPED_TEST(GeneralSolvers, StandardFormsAreSimilarToTheirBlocks)
{
    using T = TypeParam;
    const double eps = GeneralTolerance<T>::epsilon;
    for (int trial = 0; trial < 400; ++trial) {
        const auto element = [&](int k) { return T(std::sin(1.3 * trial + 2.7 * k * (trial % 7 + 1))); };
        const Block<T> m{element(1), element(2), element(3), element(4)};
        Rotation<T> q{T(0), T(0)};
        const auto s = standardiseForVectors<T>(m, q);
        EXPECT_NEAR(double(q.cs * q.cs + q.sn * q.sn), 1, 16 * eps) << trial;
        // Q^T standard Q = m, with Q the rotation
        const double cs = q.cs, sn = q.sn;
        const double a = s.block.a, b = s.block.b, c = s.block.c, d = s.block.d;
        EXPECT_NEAR(cs * (a * cs - b * sn) - sn * (c * cs - d * sn), double(m.a), 32 * eps) << trial;
        EXPECT_NEAR(cs * (a * sn + b * cs) - sn * (c * sn + d * cs), double(m.b), 32 * eps) << trial;
        EXPECT_NEAR(sn * (a * cs - b * sn) + cs * (c * cs - d * sn), double(m.c), 32 * eps) << trial;
        EXPECT_NEAR(sn * (a * sn + b * cs) + cs * (c * sn + d * cs), double(m.d), 32 * eps) << trial;
        EXPECT_TRUE(s.block.c == T(0) || s.block.a == s.block.d) << trial;
    }
}

} // namespace
} // namespace tarnm::general
