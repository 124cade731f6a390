// Backward errors of the LU decomposition and of solutions, in units of n eps.
//
// Preconditions: matrices of all kinds that do not count as singular. Checked: |P A - L U| <= 2 n eps |L| |U| and
// |b - A x| <= 6 n eps (|A| + |P^T L| |U|) |x|, element by element, with the sums formed in extended precision.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "factor/lu_calls.h"

namespace tarnm::test {
namespace {

using Wide = long double;

// ---- kinds of matrices

struct Kind {
    const char* name;
    double (*element)(int n, int r, int c, double random); // random: in [-1, 1]
};

const Kind kinds[] = {
    {"random", [](int, int, int, double random) { return random; }},
    {"graded rows", [](int, int r, int, double random) { return std::ldexp(random, -3 * r); }},
    {"graded columns", [](int, int, int c, double random) { return std::ldexp(random, 2 * c); }},
    {"rows that grow", [](int, int r, int, double random) { return std::ldexp(random, 2 * r); }},
    {"ill conditioned", [](int, int r, int c, double random) { return 1.0 / (r + c + 1) + 1e-3 * random; }},
    {"nearly singular", [](int, int r, int c, double random) { return (r + 1) * (c + 2) + 1e-2 * random; }},
    {"diagonally dominant", [](int n, int r, int c, double random) { return r == c ? 2 * n : random; }},
    {"tridiagonal", [](int, int r, int c, double random) { return std::abs(r - c) <= 1 ? 1 + random : 0; }},
    {"permuted triangle", [](int n, int r, int c, double random) { return n - 1 - r <= c ? 1.5 + random : 0; }},
    {"powers", [](int n, int r, int c, double) { return std::pow((r + 1.0) / n, c); }},
    {"growth", [](int n, int r, int c, double) { return r == c || c == n - 1 ? 1.0
                                                        : c < r              ? -1.0
                                                                             : 0.0; }},
};

template <class T> Matrices<T> make(const Kind& kind, int n, int count)
{
    std::mt19937 generator(unsigned(n * 100 + count));
    std::uniform_real_distribution<double> uniform(-1, 1);
    return Matrices<T>(n, count, [&](int, int r, int c) { return kind.element(n, r, c, uniform(generator)); });
}

// ---- sums over the factors of one object

template <class T> Wide lower(const Factors<T>& f, int o, int i, int k)
{
    return k < i ? Wide(f.factor(o, i, k)) : Wide(k == i);
}
template <class T> Wide upper(const Factors<T>& f, int o, int k, int j)
{
    return k <= j ? Wide(f.factor(o, k, j)) : Wide(0);
}

struct Product {
    Wide value = 0, magnitudes = 0;
};

template <class T> Product product(const Factors<T>& f, int o, int i, int j)
{
    Product p;
    for (int k = 0; k < f.lu.n; ++k) {
        const Wide term = lower(f, o, i, k) * upper(f, o, k, j);
        p.value += term;
        p.magnitudes += std::fabs(term);
    }
    return p;
}

template <class T> class LuAccuracy : public testing::Test {};
using Types = testing::Types<float, double>;
TYPED_TEST_SUITE(LuAccuracy, Types);

constexpr int orders[] = {1, 2, 3, 4, 5, 6, 7, 8, 11, 16, 33};
constexpr int count = 21;

TYPED_TEST(LuAccuracy, ThePermutedMatrixIsTheProductOfItsFactors)
{
    using T = TypeParam;
    for (const Kind& kind : kinds)
        for (const int n : orders) {
            const Matrices<T> a = make<T>(kind, n, count);
            const Factors<T> f = decompose(a);
            if (f.status != StatusOk) {
                EXPECT_GT(n, 6) << kind.name << ": only the tolerance of large orders may stop this";
                continue;
            }
            const Wide bound = 2 * n * Wide(std::numeric_limits<T>::epsilon());
            for (int o = 0; o < count; ++o)
                for (int i = 0; i < n; ++i)
                    for (int j = 0; j < n; ++j) {
                        const Product p = product(f, o, i, j);
                        ASSERT_LE(std::fabs(p.value - a.at(o, f.row(o, i), j)), bound * p.magnitudes)
                            << kind.name << " " << n;
                    }
        }
}

TYPED_TEST(LuAccuracy, MultipliersAreAtMostOneAndTheIndexIsAPermutation)
{
    using T = TypeParam;
    for (const Kind& kind : kinds)
        for (const int n : orders) {
            const Factors<T> f = decompose(make<T>(kind, n, count));
            if (f.status != StatusOk) continue;
            for (int o = 0; o < count; ++o) {
                std::vector<int> seen(std::size_t(n), 0);
                for (int i = 0; i < n; ++i) {
                    ++seen[std::size_t(f.row(o, i))];
                    for (int k = 0; k < i; ++k)
                        ASSERT_LE(std::fabs(f.factor(o, i, k)), 1 + 2 * std::numeric_limits<T>::epsilon());
                }
                ASSERT_EQ(seen, std::vector<int>(std::size_t(n), 1)) << kind.name << " " << n;
            }
        }
}

template <class T>
void expectSmallResidual(const Matrices<T>& a, int o, const Factors<T>& f, int fo, const T* b, const T* x,
                         const char* name)
{
    const int n = a.n;
    const Wide bound = 6 * n * Wide(std::numeric_limits<T>::epsilon());
    for (int i = 0; i < n; ++i) {
        const int row = f.row(fo, i);
        Wide residual = b[row], allowed = 0;
        for (int j = 0; j < n; ++j) {
            residual -= Wide(a.at(o, row, j)) * x[j];
            allowed += (std::fabs(Wide(a.at(o, row, j))) + product(f, fo, i, j).magnitudes) * std::fabs(Wide(x[j]));
        }
        ASSERT_LE(std::fabs(residual), bound * allowed) << name << " " << n;
    }
}

template <class T> Vectors<T> rightSides(int n)
{
    std::mt19937 generator{unsigned(n)};
    std::uniform_real_distribution<double> uniform(-1, 1);
    Vectors<T> b;
    for (int i = 0; i < n * count; ++i)
        b.push_back(T(uniform(generator)));
    return b;
}

TYPED_TEST(LuAccuracy, SolutionsOfOwnSystemsHaveSmallBackwardErrors)
{
    using T = TypeParam;
    for (const Kind& kind : kinds)
        for (const int n : orders) {
            const Matrices<T> a = make<T>(kind, n, count);
            const Factors<T> f = decompose(a);
            if (f.status != StatusOk) continue;
            const Vectors<T> b = rightSides<T>(n);
            Vectors<T> x(b.size());
            ASSERT_EQ(solveOwn(f, b.data(), x.data()), StatusOk);
            for (int o = 0; o < count; ++o)
                expectSmallResidual(a, o, f, o, b.data() + o * n, x.data() + o * n, kind.name);
        }
}

TYPED_TEST(LuAccuracy, SolutionsOfOneSystemHaveSmallBackwardErrors)
{
    using T = TypeParam;
    for (const Kind& kind : kinds)
        for (const int n : orders) {
            const Matrices<T> a = make<T>(kind, n, 1);
            const Factors<T> f = decompose(a);
            if (f.status != StatusOk) continue;
            const Vectors<T> b = rightSides<T>(n);
            for (const Form form : allForms) {
                const Vectors<T> x = solve(f, b, form);
                for (int o = 0; o < count; ++o)
                    expectSmallResidual(a, 0, f, 0, b.data() + o * n, x.data() + o * n, kind.name);
            }
        }
}

} // namespace
} // namespace tarnm::test
