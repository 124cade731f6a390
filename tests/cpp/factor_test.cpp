// Factorisations, solvers and eigenproblems through views, by what their results must satisfy.
#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "cpp/samples.h"

namespace tarnm::test {
namespace {

constexpr std::ptrdiff_t count = 70;
constexpr std::ptrdiff_t order = 3;

// Symmetric, positive definite and far from singular.
template <class T> void make_definite(Matrices<T>& a)
{
    for (std::ptrdiff_t n = 0; n < count; ++n)
        for (std::ptrdiff_t r = 0; r < order; ++r)
            for (std::ptrdiff_t c = 0; c < order; ++c)
                a.at(n, r, c) = r == c ? T(8 + r + n % 3) : T(1) / T(1 + r + c + n % 5);
}

template <class T> class Factor : public testing::Test {
protected:
    Factor()
        : a(count, order, order)
        , factors(count, order, order)
        , b(count, order)
        , x(count, order)
    {
        make_definite(a);
    }

    // The residual of a * x = b, which is small against the elements, near 10.
    void expect_solved(std::ptrdiff_t objects, bool one_matrix = false)
    {
        for (std::ptrdiff_t n = 0; n < objects; ++n)
            for (std::ptrdiff_t r = 0; r < order; ++r) {
                double residual = -b.at(n, r);
                for (std::ptrdiff_t c = 0; c < order; ++c)
                    residual += double(a.at(one_matrix ? 0 : n, r, c)) * x.at(n, c);
                ASSERT_NEAR(residual, 0, sizeof(T) == 4 ? 1e-4 : 1e-12) << n << ' ' << r;
            }
    }
    void clear() { load_identity(factors.strided()), scale(x.strided(), 0, x.strided()); }

    Matrices<T> a, factors;
    Vectors<T> b, x;
    std::vector<std::int32_t> pivots = std::vector<std::int32_t>(count * order);
};
using Types = testing::Types<float, double>;
TYPED_TEST_SUITE(Factor, Types);

template <class Body> void in_each_layout(Body body)
{
    body([](auto& sample) { return sample.strided(); });
    body([](auto& sample) { return sample.list(); });
    body([](auto& sample) { return sample.elements(); });
}

TYPED_TEST(Factor, LU)
{
    in_each_layout([&](auto view) {
        this->clear();
        lu(view(this->a), view(this->factors), this->pivots);
        lu_solve(view(this->factors), this->pivots, view(this->b), view(this->x));
        this->expect_solved(count);
    });
    this->clear();
    lu(this->a.single_strided(), this->factors.single_strided(), this->pivots);
    lu_solve(this->factors.single_strided(), this->pivots, this->b.strided(), this->x.strided());
    this->expect_solved(count, true);
}

TYPED_TEST(Factor, Cholesky)
{
    in_each_layout([&](auto view) {
        this->clear();
        plain::cholesky(view(this->a), view(this->factors));
        plain::cholesky_solve(view(this->factors), view(this->b), view(this->x));
        this->expect_solved(count);
    });
}

TYPED_TEST(Factor, QR)
{
    in_each_layout([&](auto view) {
        this->clear();
        qr(view(this->a), view(this->factors));
        qr_solve(view(this->factors), view(this->b), view(this->x));
        this->expect_solved(count);
    });
}

TYPED_TEST(Factor, SolveNeedsNoFactors)
{
    in_each_layout([&](auto view) {
        this->clear();
        solve(view(this->a), view(this->b), view(this->x));
        this->expect_solved(count);
    });
    this->clear();
    solve(this->a.single_strided(), this->b.list(), this->x.list());
    this->expect_solved(count, true);
    this->clear();
    solve(this->a.single_elements(), this->b.single_elements(), this->x.single_elements());
    this->expect_solved(1);
    workspace own;
    this->clear();
    solve(this->a.strided(), this->b.strided(), this->x.strided(), own);
    this->expect_solved(count);
}

TYPED_TEST(Factor, SolveHasTheBitsOfItsSteps)
{
    lu(this->a.strided(), this->factors.strided(), this->pivots);
    Vectors<TypeParam> stepped(count, order);
    lu_solve(this->factors.strided(), this->pivots, this->b.strided(), stepped.strided());
    solve(this->a.strided(), this->b.strided(), this->x.strided());
    for (std::ptrdiff_t n = 0; n < count; ++n)
        for (std::ptrdiff_t k = 0; k < order; ++k)
            ASSERT_EQ(this->x.at(n, k), stepped.at(n, k));
}

TYPED_TEST(Factor, EigenvectorsAreThoseOfTheMatrixPassed)
{
    using T = TypeParam;
    // Eigenvalues 2 and 3; the right vectors are (1, -1) and (0, 1), the left ones (1, 0) and (1, 1).
    const std::array<std::array<T, 2>, 2> m{{{2, 0}, {1, 3}}};
    std::array<T, 2> real, imaginary;
    std::array<std::array<T, 2>, 2> right, left;
    plain::eigenvectors(m, real, imaginary, right);
    for (int j = 0; j < 2; ++j) {
        EXPECT_NEAR(2 * right[0][j], real[j] * right[0][j], 1e-5);
        EXPECT_NEAR(right[0][j] + 3 * right[1][j], real[j] * right[1][j], 1e-5);
        EXPECT_NEAR(right[0][j] * right[0][j] + right[1][j] * right[1][j], 1, 1e-5);
    }
    plain::left_eigenvectors(m, real, imaginary, left);
    for (int j = 0; j < 2; ++j)
        EXPECT_NEAR(2 * left[0][j] + left[1][j], real[j] * left[0][j], 1e-5);
    std::array<std::array<T, 2>, 2> right_again, left_again;
    plain::eigenvectors(m, real, imaginary, right_again, left_again);
    EXPECT_EQ(right_again, right);
    EXPECT_EQ(left_again, left);
}

TYPED_TEST(Factor, WideMatricesHaveNoQR)
{
    Matrices<TypeParam> wide(2, 2, 3);
    EXPECT_EQ(qr(wide.strided(), wide.strided(), std::nothrow), StatusSizeMismatch);
}

} // namespace
} // namespace tarnm::test
