// Eigenvalues of general matrices whose result is known.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "eigen/general_calls.h"

namespace tarnm::test {
namespace {

template <class T> class GeneralValues : public testing::Test {};
using Types = testing::Types<float, double>;
TYPED_TEST_SUITE(GeneralValues, Types);

template <class T> constexpr T epsilon = std::numeric_limits<T>::epsilon();

template <class T>
void expectValues(const Solution<T>& s, std::initializer_list<double> re, std::initializer_list<double> im,
                  double within)
{
    EXPECT_EQ(s.status, StatusOk);
    ASSERT_EQ(s.re.size(), re.size());
    for (std::size_t k = 0; k < re.size(); ++k) {
        EXPECT_NEAR(double(s.re[k]), re.begin()[k], within) << k;
        EXPECT_NEAR(double(s.im[k]), im.begin()[k], within) << k;
    }
}

TYPED_TEST(GeneralValues, OrderOneIsTheElement)
{
    expectValues(valuesOf(Matrix<TypeParam>(1, {-3.5})), {-3.5}, {0}, 0);
}

TYPED_TEST(GeneralValues, LowerTriangularOfOrderTwoSplitsAtOnce)
{
    expectValues(valuesOf(Matrix<TypeParam>(2, {2, 0, 1, 3})), {2, 3}, {0, 0}, 0);
}

TYPED_TEST(GeneralValues, EqualDiagonalCountsAsComplexThoughTheEigenvaluesAreReal)
{
    const double root = std::sqrt(6.0);
    expectValues(valuesOf(Matrix<TypeParam>(2, {1, 2, 3, 1})), {1, 1}, {root, -root}, 2 * epsilon<TypeParam>);
}

TYPED_TEST(GeneralValues, RotationHasThePositiveImaginaryPartFirst)
{
    expectValues(valuesOf(Matrix<TypeParam>(2, {0, 1, -1, 0})), {0, 0}, {1, -1}, 0);
}

TYPED_TEST(GeneralValues, ElementsUpToTheToleranceAreNeglectedHoweverLargeTheDiagonal)
{
    using T = TypeParam;
    const T e = epsilon<T>;
    expectValues(valuesOf(Matrix<T>(2, {1e6, e, e, 1e6})), {1e6, 1e6}, {0, 0}, 0);
}

TYPED_TEST(GeneralValues, ElementsUpToTheToleranceAreNeglectedHoweverSmallTheMatrix)
{
    using T = TypeParam;
    const T e = epsilon<T>;
    expectValues(valuesOf(Matrix<T>(2, {0.25 * e, e, -e, 0.5 * e})), {double(T(0.25 * e)), double(T(0.5 * e))}, {0, 0},
                 0);
}

TYPED_TEST(GeneralValues, ElementsAboveTheToleranceAreNot)
{
    using T = TypeParam;
    const T above = std::nextafter(epsilon<T>, T(1));
    const Solution<T> s = valuesOf(Matrix<T>(2, {0, above, -above, 0}));
    EXPECT_GT(s.im[0], T(0));
    EXPECT_EQ(s.im[1], -s.im[0]);
}

TYPED_TEST(GeneralValues, ZeroMatrix)
{
    for (int n = 1; n <= 9; ++n) {
        const Solution<TypeParam> s = valuesOf(Matrix<TypeParam>(n));
        EXPECT_EQ(s.status, StatusOk);
        for (int k = 0; k < n; ++k) {
            EXPECT_EQ(s.re[std::size_t(k)], TypeParam(0));
            EXPECT_EQ(s.im[std::size_t(k)], TypeParam(0));
        }
    }
}

// The shifts of the matrix that moves every coordinate to the next do not change it: only the exceptional ones do.
TYPED_TEST(GeneralValues, CyclicShiftHasTheRootsOfUnity)
{
    using T = TypeParam;
    for (int n = 3; n <= 12; ++n) {
        const Solution<T> s = valuesOf(Matrix<T>(n, [n](int r, int c) { return c == (r + 1) % n; }));
        ASSERT_EQ(s.status, StatusOk) << n;
        for (std::size_t k = 0; k < std::size_t(n); ++k) {
            EXPECT_NEAR(std::hypot(double(s.re[k]), double(s.im[k])), 1.0, 40 * n * double(epsilon<T>)) << n;
            const double turns = std::atan2(double(s.im[k]), double(s.re[k])) * n / (2 * std::acos(-1.0));
            EXPECT_NEAR(turns, std::round(turns), 40 * n * n * double(epsilon<T>)) << n;
        }
    }
}

TYPED_TEST(GeneralValues, CompanionHasTheRootsOfItsPolynomial)
{
    using T = TypeParam;
    // (x - 1)(x - 2)(x + 3)
    const Solution<T> s = valuesOf(Matrix<T>(3, {0, 1, 0, 0, 0, 1, -6, 7, 0}));
    ASSERT_EQ(s.status, StatusOk);
    std::vector<T> re = s.re;
    std::sort(re.begin(), re.end());
    EXPECT_NEAR(re[0], -3, 60 * epsilon<T>);
    EXPECT_NEAR(re[1], 1, 60 * epsilon<T>);
    EXPECT_NEAR(re[2], 2, 60 * epsilon<T>);
    for (T im : s.im)
        EXPECT_EQ(im, T(0));
}

TYPED_TEST(GeneralValues, SingularMatrixIsNoFailure)
{
    using T = TypeParam;
    const Solution<T> s = valuesOf(Matrix<T>(3, {1, 2, 3, 4, 5, 6, 7, 8, 9}));
    ASSERT_EQ(s.status, StatusOk);
    EXPECT_TRUE(std::any_of(s.re.begin(), s.re.end(), [](T x) { return std::fabs(x) < 100 * epsilon<T>; }));
}

TYPED_TEST(GeneralValues, TriangularMatricesHaveTheirDiagonal)
{
    using T = TypeParam;
    expectValues(valuesOf(Matrix<T>(3, {1, 0, 0, 5, 2, 0, 6, 7, 3})), {1, 2, 3}, {0, 0, 0}, 0);
}

// Already in the form of the iteration, so that what has split off before the failure is known.
template <class T> Matrix<T> brokenAbove()
{
    const T nan = std::numeric_limits<T>::quiet_NaN();
    // The working matrix is the transpose: its last row is (0, 0, 0, 7).
    Matrix<T> m(4, {0, 1, 0, 0, 2, 1, 1, 0, 3, 4, 2, 0, 1, 1, 1, 7});
    m(0, 0) = nan;
    return m;
}

TYPED_TEST(GeneralValues, AFailureLeavesTheFinishedPositionsAndNoOther)
{
    using T = TypeParam;
    const Solution<T> s = valuesOf(brokenAbove<T>());
    EXPECT_EQ(s.status, StatusNotConverged);
    EXPECT_EQ(s.re[3], T(7));
    EXPECT_EQ(s.im[3], T(0));
    for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_EQ(s.re[k], untouched<T>);
        EXPECT_EQ(s.im[k], untouched<T>);
    }
}

TYPED_TEST(GeneralValues, NotANumberAndInfinityEnd)
{
    using T = TypeParam;
    for (const T odd : {std::numeric_limits<T>::quiet_NaN(), std::numeric_limits<T>::infinity()})
        for (int n = 1; n <= 10; ++n)
            for (int place = 0; place < n * n; ++place) {
                Matrix<T> m(n, [](int r, int c) { return 1.0 + r - 2.0 * c + r * c; });
                m.elements[std::size_t(place)] = odd;
                const tarnmStatus status = valuesOf(m).status;
                EXPECT_TRUE(status == StatusOk || status == StatusNotConverged);
                const tarnmStatus other = vectorsOf(m).status;
                EXPECT_TRUE(other == StatusOk || other == StatusNotConverged || other == StatusError);
            }
}

TYPED_TEST(GeneralValues, AnArrayEndsAtItsFirstFailure)
{
    using T = TypeParam;
    const int n = 4, count = 12; // below the work that goes to several threads
    for (int bad = 0; bad < count; ++bad) {
        std::vector<Matrix<T>> objects;
        for (int k = 0; k < count; ++k)
            objects.push_back(Matrix<T>(n, [k](int r, int c) { return std::sin(1.0 + 7 * k + 3 * r + 5.5 * c * c); }));
        const Solution<T> whole = valuesOfArray(objects);
        ASSERT_EQ(whole.status, StatusOk);
        objects[std::size_t(bad)] = brokenAbove<T>();
        const Solution<T> s = valuesOfArray(objects);
        EXPECT_EQ(s.status, StatusNotConverged);
        for (int k = 0; k < count * n; ++k) {
            const auto i = std::size_t(k);
            const int object = k / n;
            const T expected = object < bad   ? whole.re[i]
                               : object > bad ? untouched<T>
                               : k % n == 3   ? T(7)
                                              : untouched<T>;
            EXPECT_EQ(s.re[i], expected) << bad << " " << k;
        }
    }
}

TYPED_TEST(GeneralValues, AnArrayGivesTheBitsOfItsObjectsAlone)
{
    using T = TypeParam;
    for (int n = 1; n <= 10; ++n)
        for (int count = 1; count <= 250 / (n * n + n); ++count) {
            std::vector<Matrix<T>> objects;
            for (int k = 0; k < count; ++k)
                objects.push_back(
                    Matrix<T>(n, [k](int r, int c) { return std::sin(0.3 + 11 * k + 2 * r * r + 5.5 * c); }));
            const Solution<T> all = valuesOfArray(objects), vectors = bothOfArray(objects);
            ASSERT_EQ(all.status, StatusOk);
            ASSERT_EQ(vectors.status, StatusOk);
            for (std::size_t k = 0; k < std::size_t(count); ++k) {
                const Solution<T> one = valuesOf(objects[k]), both = vectorsOf(objects[k]);
                const auto same = [k](const std::vector<T>& part, const std::vector<T>& whole) {
                    return std::equal(part.begin(), part.end(), whole.begin() + std::ptrdiff_t(k * part.size()));
                };
                EXPECT_TRUE(same(one.re, all.re) && same(one.im, all.im)) << n << " " << k;
                EXPECT_TRUE(same(both.re, vectors.re) && same(both.im, vectors.im)) << n << " " << k;
                EXPECT_TRUE(same(both.right, vectors.right) && same(both.left, vectors.left)) << n << " " << k;
            }
        }
}

TYPED_TEST(GeneralValues, SizesOfScratch)
{
    using S = Scratch<TypeParam>;
    const std::size_t e = sizeof(TypeParam);
    EXPECT_EQ(S::sizeOf(S::Of::values, 1), 6 * e);
    EXPECT_EQ(S::sizeOf(S::Of::values, 4), 36 * e);
    EXPECT_EQ(S::sizeOf(S::Of::vectors, 1), 8 * e);
    EXPECT_EQ(S::sizeOf(S::Of::vectors, 4), 68 * e);
}

TYPED_TEST(GeneralValues, ScratchMayBeginAtAnyAddress)
{
    using T = TypeParam;
    const int n = 5, e = sizeof(T);
    const Matrix<T> m(n, [](int r, int c) { return std::cos(1.0 + 2 * r + 3 * c * r); });
    const Solution<T> expected = vectorsOf(m);
    const std::size_t size = Scratch<T>::sizeOf(Scratch<T>::Of::vectors, n);
    for (std::size_t offset = 0; offset < 9; ++offset) {
        const GuardedBlock block(size, Against::start, offset);
        Solution<T> s(n, 1);
        s.status = byType<T>(tarnmEigenValuesVectors_m_32f, tarnmEigenValuesVectors_m_64f)(
            m.elements.data(), n * e, e, s.right.data(), n * e, e, s.left.data(), n * e, e, s.re.data(), s.im.data(), n,
            block.begin());
        EXPECT_EQ(s, expected) << offset;
    }
}

} // namespace
} // namespace tarnm::test
