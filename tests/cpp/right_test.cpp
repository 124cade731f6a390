// Where the C functions have a gap and the names promise more: inverses, symmetric and general eigenvalues, Cholesky factors.
// Results are held against computations in long double that are written out here.
#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "cpp/samples.h"

namespace tarnm::test {
namespace {

template <class T> constexpr long double eps = std::numeric_limits<T>::epsilon();

template <class T> class Right : public testing::Test {};
using Types = testing::Types<float, double>;
TYPED_TEST_SUITE(Right, Types);

// Packed matrices of one order.
template <class T> struct Packed {
    Packed(std::ptrdiff_t number, std::ptrdiff_t n)
        : count(number)
        , order(n)
        , elements(static_cast<std::size_t>(count * order * order))
    {}
    matrix_array<T> view() { return {elements.data(), count, order, order}; }
    T& operator()(std::ptrdiff_t n, std::ptrdiff_t r, std::ptrdiff_t c)
    {
        return elements[static_cast<std::size_t>((n * order + r) * order + c)];
    }
    std::ptrdiff_t count, order;
    std::vector<T> elements;
};

template <class T> Packed<T> random_matrices(std::ptrdiff_t count, std::ptrdiff_t order, bool symmetric, unsigned seed)
{
    std::mt19937 generator(seed);
    std::uniform_real_distribution<T> uniform(-1, 1);
    Packed<T> a(count, order);
    for (T& x : a.elements)
        x = uniform(generator);
    for (std::ptrdiff_t n = 0; symmetric && n < count; ++n)
        for (std::ptrdiff_t r = 0; r < order; ++r)
            for (std::ptrdiff_t c = 0; c < r; ++c)
                a(n, r, c) = a(n, c, r);
    return a;
}

// ---- inverse

// The largest element of a * x - I, each product taken relative to the scale that the sum has.
template <class T> long double residual(Packed<T>& a, Packed<T>& x, std::ptrdiff_t n)
{
    long double worst = 0;
    for (std::ptrdiff_t r = 0; r < a.order; ++r)
        for (std::ptrdiff_t c = 0; c < a.order; ++c) {
            long double sum = r == c ? -1 : 0, size = r == c ? 1 : 0;
            for (std::ptrdiff_t k = 0; k < a.order; ++k) {
                const long double term = static_cast<long double>(a(n, r, k)) * x(n, k, c);
                sum += term;
                size += std::abs(term);
            }
            worst = std::max(worst, std::abs(sum) / std::max(size, 1.0L));
        }
    return worst;
}

// A well conditioned matrix, every element multiplied by 2^exponent.
template <class T> void fill_regular(Packed<T>& a, std::ptrdiff_t n, int exponent)
{
    for (std::ptrdiff_t r = 0; r < a.order; ++r)
        for (std::ptrdiff_t c = 0; c < a.order; ++c)
            a(n, r, c) = std::ldexp(static_cast<T>(r == c ? 3 + r : 1.0 / double(2 + r + 2 * c)), exponent);
}

TYPED_TEST(Right, InverseOfLargeAndSmallMatrices)
{
    using T = TypeParam;
    const int far = std::numeric_limits<T>::max_exponent - 5;
    for (std::ptrdiff_t order = 1; order <= 8; ++order) {
        Packed<T> a(9, order), x(9, order);
        const int exponents[9] = {0, far, -far + 3, far / 2, -far / 2, 40, -40, far / 3, -far / 3};
        for (std::ptrdiff_t n = 0; n < 9; ++n)
            fill_regular(a, n, exponents[n]);
        invert(a.view(), x.view());
        for (std::ptrdiff_t n = 0; n < 9; ++n)
            EXPECT_LE(residual(a, x, n), 64 * order * eps<T>) << order << ' ' << exponents[n];
    }
}

// Among them determinants whose reciprocal is a normal number, while the square that refines it is not.
TYPED_TEST(Right, InverseAtEveryScale)
{
    using T = TypeParam;
    const int far = 80;
    for (std::ptrdiff_t order = 1; order <= 6; ++order)
        for (int exponent = -far; exponent <= far; ++exponent) {
            Packed<T> a(1, order), x(1, order);
            fill_regular(a, 0, exponent);
            invert(a.view(), x.view());
            ASSERT_LE(residual(a, x, 0), 64 * order * eps<T>) << order << ' ' << exponent;
        }
}

TYPED_TEST(Right, InverseOfRowsOfDifferentScale)
{
    using T = TypeParam;
    const int far = std::numeric_limits<T>::max_exponent / 2;
    Packed<T> a(2, 3), x(2, 3);
    fill_regular(a, 0, 0);
    fill_regular(a, 1, 0);
    for (int c = 0; c < 3; ++c) {
        a(0, 0, c) = std::ldexp(a(0, 0, c), far);
        a(0, 2, c) = std::ldexp(a(0, 2, c), -far);
        a(1, c, 1) = std::ldexp(a(1, c, 1), -far);
    }
    invert(a.view(), x.view());
    // Rows of the inverse have the scales of columns: the residual is taken column by column of the product.
    EXPECT_LE(residual(a, x, 0), 64 * eps<T>);
    EXPECT_LE(residual(a, x, 1), 64 * eps<T>);
}

TYPED_TEST(Right, InverseOfUsualMatricesHasTheBitsOfThePlainOne)
{
    using T = TypeParam;
    auto a = random_matrices<T>(200, 3, false, 5);
    Packed<T> x(200, 3), plainly(200, 3);
    for (std::ptrdiff_t r = 0; r < 3; ++r)
        for (std::ptrdiff_t c = 0; c < 3; ++c)
            a(77, r, c) = std::ldexp(a(77, r, c), 100 * int(sizeof(T)) / 4);
    invert(a.view(), x.view());
    plain::invert(a.view(), plainly.view(), std::nothrow);
    for (std::ptrdiff_t n = 0; n < 200; ++n)
        for (std::ptrdiff_t i = 0; i < 9 && n != 77; ++i)
            ASSERT_EQ(x(n, 0, i), plainly(n, 0, i)) << n;
}

TYPED_TEST(Right, SingularMatricesAreStillToldAndDoNotStopTheOthers)
{
    using T = TypeParam;
    Packed<T> a(100, 3), x(100, 3);
    for (std::ptrdiff_t n = 0; n < 100; ++n)
        fill_regular(a, n, n == 50 ? -60 : 0);
    for (std::ptrdiff_t c = 0; c < 3; ++c)
        a(10, 1, c) = 2 * a(10, 0, c), a(99, 2, c) = 0;
    std::vector<status> statuses(100);
    EXPECT_EQ(invert(a.view(), x.view(), statuses), 2);
    for (std::ptrdiff_t n = 0; n < 100; ++n) {
        EXPECT_EQ(statuses[n], n == 10 || n == 99 ? StatusSingular : StatusOk) << n;
        if (statuses[n] == StatusOk) {
            EXPECT_LE(residual(a, x, n), 200 * eps<T>) << n;
        }
    }
    EXPECT_EQ(invert(a.view(), x.view(), std::nothrow), StatusSingular);
    EXPECT_THROW(invert(a.view(), x.view()), error);
}

TYPED_TEST(Right, InverseInEveryLayout)
{
    using T = TypeParam;
    Matrices<T> a(3, 2, 2), x(3, 2, 2);
    for (std::ptrdiff_t n = 0; n < 3; ++n)
        a.at(n, 0, 0) = 2, a.at(n, 1, 1) = T(3) + n, a.at(n, 0, 1) = a.at(n, 1, 0) = 1;
    const auto expect = [&](std::ptrdiff_t count) {
        for (std::ptrdiff_t n = 0; n < count; ++n) {
            EXPECT_NEAR(x.at(n, 0, 0), double(3 + n) / double(5 + 2 * n), 4 * eps<T>);
            EXPECT_NEAR(x.at(n, 0, 1), -1 / double(5 + 2 * n), 4 * eps<T>);
            x.at(n, 0, 0) = 99;
        }
    };
    invert(a.list(), x.list()), expect(3);
    invert(a.elements(), x.elements()), expect(3);
    invert(a.single_strided(), x.single_strided()), expect(1);
    invert(a.single_elements(), x.single_elements()), expect(1);
}

// ---- symmetric

// Eigenvalues in descending order by rotations in long double.
template <class T> std::vector<long double> symmetric_values(Packed<T>& a, std::ptrdiff_t n)
{
    const std::ptrdiff_t order = a.order;
    std::vector<long double> m(static_cast<std::size_t>(order * order));
    const auto at = [&](std::ptrdiff_t r, std::ptrdiff_t c) -> long double& {
        return m[static_cast<std::size_t>(r * order + c)];
    };
    for (std::ptrdiff_t r = 0; r < order; ++r)
        for (std::ptrdiff_t c = 0; c < order; ++c)
            at(r, c) = a(n, std::min(r, c), std::max(r, c));
    for (int sweep = 0; sweep < 12; ++sweep)
        for (std::ptrdiff_t p = 0; p < order; ++p)
            for (std::ptrdiff_t q = p + 1; q < order; ++q) {
                const long double angle = 0.5L * std::atan2(2 * at(p, q), at(q, q) - at(p, p));
                const long double c = std::cos(angle), s = std::sin(angle);
                for (std::ptrdiff_t k = 0; k < order; ++k) {
                    const long double x = at(p, k), y = at(q, k);
                    at(p, k) = c * x - s * y, at(q, k) = s * x + c * y;
                }
                for (std::ptrdiff_t k = 0; k < order; ++k) {
                    const long double x = at(k, p), y = at(k, q);
                    at(k, p) = c * x - s * y, at(k, q) = s * x + c * y;
                }
            }
    std::vector<long double> values;
    for (std::ptrdiff_t i = 0; i < order; ++i)
        values.push_back(at(i, i));
    std::sort(values.rbegin(), values.rend());
    return values;
}

// Values and vectors of all matrices, with vectors and without.
template <class T> void expect_symmetric(Packed<T>& a)
{
    const std::ptrdiff_t order = a.order;
    Packed<T> v(a.count, order);
    std::vector<T> values(static_cast<std::size_t>(a.count * order)), alone(values.size());
    eigen_symmetric(a.view(), values, v.view());
    eigen_symmetric(a.view(), alone);
    for (std::ptrdiff_t n = 0; n < a.count; ++n) {
        const auto wanted = symmetric_values(a, n);
        const long double norm = std::max(std::abs(wanted.front()), std::abs(wanted.back()));
        const long double tolerance = 24 * order * eps<T> * norm;
        for (std::ptrdiff_t j = 0; j < order; ++j) {
            ASSERT_NEAR(double(values[n * order + j] - wanted[j]), 0, tolerance) << n << ' ' << j;
            ASSERT_NEAR(double(alone[n * order + j] - wanted[j]), 0, tolerance) << n << ' ' << j;
            long double length = 0;
            for (std::ptrdiff_t r = 0; r < order; ++r) {
                long double sum = -static_cast<long double>(values[n * order + j]) * v(n, r, j);
                for (std::ptrdiff_t c = 0; c < order; ++c)
                    sum += static_cast<long double>(a(n, std::min(r, c), std::max(r, c))) * v(n, c, j);
                ASSERT_LE(std::abs(sum), 2 * tolerance) << n << ' ' << j;
                length += static_cast<long double>(v(n, r, j)) * v(n, r, j);
            }
            ASSERT_NEAR(double(length), 1, 32 * order * eps<T>);
        }
    }
}

TYPED_TEST(Right, SymmetricMatricesOfAllScales)
{
    using T = TypeParam;
    const int far = std::numeric_limits<T>::max_exponent - 6;
    for (std::ptrdiff_t order = 1; order <= 8; ++order)
        for (const int exponent : {0, -20, 20, far, 20 - far}) {
            auto a = random_matrices<T>(60, order, true, unsigned(order));
            for (T& x : a.elements)
                x = std::ldexp(x, exponent);
            expect_symmetric(a);
        }
}

TYPED_TEST(Right, SingularMatricesHaveEigenvalues)
{
    using T = TypeParam;
    // Covariances of points in a plane, along a line, and of one point.
    auto a = random_matrices<T>(300, 3, true, 9);
    for (std::ptrdiff_t n = 0; n < a.count; ++n)
        for (std::ptrdiff_t i = 0; i < 3; ++i) {
            if (n % 3 >= 0) a(n, 2, i) = a(n, i, 2) = 0;
            if (n % 3 >= 1) a(n, 1, i) = a(n, i, 1) = 0;
            if (n % 3 == 2) a(n, 0, i) = 0;
        }
    std::vector<status> statuses(300);
    std::vector<T> values(900);
    EXPECT_EQ(eigen_symmetric(a.view(), values, statuses), 0);
    expect_symmetric(a);
}

TYPED_TEST(Right, ValuesOfOrderTwoDescendLikeAllOthers)
{
    const std::array<std::array<TypeParam, 2>, 2> m{{{-2, 1}, {1, -2}}};
    std::array<TypeParam, 2> values;
    eigen_symmetric(m, values);
    EXPECT_NEAR(values[0], -1, 4 * eps<TypeParam>);
    EXPECT_NEAR(values[1], -3, 4 * eps<TypeParam>);
}

TYPED_TEST(Right, NearlyEqualValuesKeepTheirSums)
{
    using T = TypeParam;
    // Blocks with close eigenvalues and elements of the band near the tolerance: there the iteration can drop one.
    for (std::ptrdiff_t order = 4; order <= 7; ++order) {
        std::mt19937 generator(static_cast<unsigned>(order));
        std::uniform_int_distribution<int> exponent(-26, 0);
        auto a = random_matrices<T>(300, order, true, 77);
        for (std::ptrdiff_t n = 0; n < a.count; ++n)
            for (std::ptrdiff_t r = 0; r < order; ++r)
                for (std::ptrdiff_t c = r; c < order; ++c)
                    a(n, r, c) = a(n, c, r) =
                        r == c ? T(1) : std::ldexp(a(n, r, c), exponent(generator) * int(sizeof(T)) / 4);
        expect_symmetric(a);
    }
}

TYPED_TEST(Right, MatricesThatAreNotFiniteAreTold)
{
    using T = TypeParam;
    auto a = random_matrices<T>(3, 3, true, 2);
    a(1, 0, 2) = std::numeric_limits<T>::quiet_NaN();
    std::vector<T> values(9);
    std::vector<status> statuses(3);
    EXPECT_EQ(eigen_symmetric(a.view(), values, statuses), 1);
    EXPECT_EQ(statuses[1], StatusNotConverged);
    EXPECT_THROW(eigen_symmetric(a.view(), values), error);
}

// ---- general

// How far a number is from an eigenvalue: the last pivot of a - value * I under complete pivoting.
template <class T> long double distance(Packed<T>& a, std::ptrdiff_t n, std::complex<long double> value)
{
    const std::ptrdiff_t order = a.order;
    std::vector<std::complex<long double>> m(static_cast<std::size_t>(order * order));
    for (std::ptrdiff_t i = 0; i < order * order; ++i)
        m[i] = static_cast<long double>(a(n, i / order, i % order)) - (i % (order + 1) == 0 ? value : 0.0L);
    for (std::ptrdiff_t k = 0;; ++k) {
        std::ptrdiff_t row = k, column = k;
        for (std::ptrdiff_t r = k; r < order; ++r)
            for (std::ptrdiff_t c = k; c < order; ++c)
                if (std::abs(m[r * order + c]) > std::abs(m[row * order + column])) row = r, column = c;
        if (k == order - 1 || std::abs(m[row * order + column]) == 0) return std::abs(m[row * order + column]);
        for (std::ptrdiff_t i = 0; i < order; ++i)
            std::swap(m[k * order + i], m[row * order + i]);
        for (std::ptrdiff_t i = 0; i < order; ++i)
            std::swap(m[i * order + k], m[i * order + column]);
        for (std::ptrdiff_t r = k + 1; r < order; ++r) {
            const auto factor = m[r * order + k] / m[k * order + k];
            for (std::ptrdiff_t c = k; c < order; ++c)
                m[r * order + c] -= factor * m[k * order + c];
        }
    }
}

template <class T> void expect_general(Packed<T>& a)
{
    const std::ptrdiff_t order = a.order;
    std::vector<T> real(static_cast<std::size_t>(a.count * order)), imaginary(real.size());
    eigenvalues(a.view(), real, imaginary);
    for (std::ptrdiff_t n = 0; n < a.count; ++n) {
        long double norm = 0, trace = 0, sum = 0;
        for (std::ptrdiff_t i = 0; i < order * order; ++i)
            norm += std::abs(static_cast<long double>(a(n, 0, i)));
        for (std::ptrdiff_t j = 0; j < order; ++j) {
            const std::ptrdiff_t at = n * order + j;
            trace += a(n, j, j);
            sum += real[at];
            EXPECT_LE(distance(a, n, {real[at], imaginary[at]}), 48 * order * eps<T> * norm) << n << ' ' << j;
        }
        EXPECT_NEAR(double((sum - trace) / std::max(norm, 1e-300L)), 0, 48 * order * eps<T>);
    }
}

TYPED_TEST(Right, BlocksWithEqualDiagonalAndRealValues)
{
    using T = TypeParam;
    Packed<T> a(3, 2);
    a.elements = {1, 2, 3, 1, T(-0.5), 4, T(0.25), T(-0.5), 0, 1, -1, 0};
    expect_general(a);
    std::array<T, 6> real, imaginary;
    eigenvalues(a.view(), real, imaginary);
    std::sort(real.begin(), real.begin() + 2);
    EXPECT_NEAR(real[0], 1 - std::sqrt(6.0), 16 * eps<T>);
    EXPECT_NEAR(real[1], 1 + std::sqrt(6.0), 16 * eps<T>);
    EXPECT_EQ(imaginary[0], 0);
    // A true pair stays one.
    EXPECT_NEAR(imaginary[4], 1, 16 * eps<T>);
    EXPECT_NEAR(imaginary[5], -1, 16 * eps<T>);
}

TYPED_TEST(Right, SuchBlocksWithinLargerMatrices)
{
    using T = TypeParam;
    Packed<T> a(2, 4);
    a.elements = {1, 2, 0, 0, 3, 1, 0, 0, 0, 0, 5, 1, 0, 0, 2, 5, 1, 2, 7, 1, 3, 1, 2, 6, 0, 0, 5, 1, 0, 0, 2, 5};
    expect_general(a);
}

TYPED_TEST(Right, GeneralMatricesOfAllScales)
{
    using T = TypeParam;
    const int far = std::numeric_limits<T>::max_exponent - 6;
    for (std::ptrdiff_t order = 1; order <= 7; ++order)
        for (const int exponent : {0, -30, 30, far, 20 - far}) {
            auto a = random_matrices<T>(40, order, false, unsigned(order) + 20);
            for (T& x : a.elements)
                x = std::ldexp(x, exponent);
            expect_general(a);
        }
}

// |a v - value v| of column j, or |transposed(a) v - value v|, for v of length 1.
template <class T>
long double vector_residual(Packed<T>& a, Packed<T>& vectors, std::ptrdiff_t n, std::ptrdiff_t j, bool pair,
                            std::complex<long double> value, bool transposed)
{
    const std::ptrdiff_t order = a.order;
    const auto component = [&](std::ptrdiff_t r) {
        return std::complex<long double>(vectors(n, r, j), pair ? vectors(n, r, j + 1) : T(0));
    };
    long double square = 0, length = 0;
    for (std::ptrdiff_t r = 0; r < order; ++r) {
        std::complex<long double> sum = -value * component(r);
        for (std::ptrdiff_t c = 0; c < order; ++c)
            sum += static_cast<long double>(transposed ? a(n, c, r) : a(n, r, c)) * component(c);
        square += std::norm(sum);
        length += std::norm(component(r));
    }
    EXPECT_NEAR(double(length), 1, 32 * order * eps<T>) << n << ' ' << j;
    return std::sqrt(square);
}

template <class T>
void expect_vectors(Packed<T>& a, const std::vector<T>& real, const std::vector<T>& imaginary, Packed<T>* right,
                    Packed<T>* left)
{
    const std::ptrdiff_t order = a.order;
    for (std::ptrdiff_t n = 0; n < a.count; ++n) {
        long double norm = 0;
        for (std::ptrdiff_t i = 0; i < order * order; ++i)
            norm += std::abs(static_cast<long double>(a(n, 0, i)));
        for (std::ptrdiff_t j = 0; j < order; ++j) {
            const std::complex<long double> value(real[n * order + j], imaginary[n * order + j]);
            const bool pair = value.imag() != 0;
            for (Packed<T>* const vectors : {right, left}) {
                if (vectors == nullptr) continue;
                ASSERT_LE(vector_residual(a, *vectors, n, j, pair, value, vectors == left), 32 * order * eps<T> * norm)
                    << n << ' ' << j << (vectors == left ? " left" : " right");
            }
            j += pair;
        }
    }
}

template <class T> void expect_general_vectors(Packed<T>& a)
{
    Packed<T> right(a.count, a.order), left(a.count, a.order);
    std::vector<T> real(static_cast<std::size_t>(a.count * a.order)), imaginary(real.size());
    eigenvectors(a.view(), real, imaginary, right.view());
    expect_vectors<T>(a, real, imaginary, &right, nullptr);
    left_eigenvectors(a.view(), real, imaginary, left.view());
    expect_vectors<T>(a, real, imaginary, nullptr, &left);
    eigenvectors(a.view(), real, imaginary, right.view(), left.view());
    expect_vectors(a, real, imaginary, &right, &left);
}

TYPED_TEST(Right, EigenvectorsOfBlocksWithEqualDiagonal)
{
    using T = TypeParam;
    Packed<T> small(3, 2), large(2, 4);
    small.elements = {1, 2, 3, 1, T(-0.5), 4, T(0.25), T(-0.5), 0, 1, -1, 0};
    large.elements = {1, 2, 0, 0, 3, 1, 0, 0, 0, 0, 5, 1, 0, 0, 2, 5, 1, 2, 7, 1, 3, 1, 2, 6, 0, 0, 5, 1, 0, 0, 2, 5};
    expect_general_vectors(small);
    expect_general_vectors(large);
}

TYPED_TEST(Right, EigenvectorsAtAllScales)
{
    using T = TypeParam;
    const int far = std::numeric_limits<T>::max_exponent - 6;
    for (std::ptrdiff_t order = 1; order <= 7; ++order)
        for (const int exponent : {0, -30, 30, far, 20 - far}) {
            auto a = random_matrices<T>(200, order, false, unsigned(order) + 40);
            for (T& x : a.elements)
                x = std::ldexp(x, exponent);
            expect_general_vectors(a);
        }
}

TYPED_TEST(Right, ComplexEigenvectorsOfAReflectedMatrixHaveARealLargestComponent)
{
    using T = TypeParam;
    // The upper block has real values and is taken for a pair at first, so that the pair of the lower one is found again.
    Packed<T> a(1, 4), right(1, 4);
    a.elements = {1, 2, 1, 0, 3, 1, 0, 2, 0, 0, 2, -5, 0, 0, 3, 1};
    std::vector<T> real(4), imaginary(4);
    eigenvectors(a.view(), real, imaginary, right.view());
    int pairs = 0;
    for (std::ptrdiff_t j = 0; j < 3; ++j) {
        if (imaginary[j] == 0) continue;
        ++pairs;
        std::ptrdiff_t largest = 0;
        const auto square = [&](std::ptrdiff_t r) { return std::hypot(right(0, r, j), right(0, r, j + 1)); };
        for (std::ptrdiff_t r = 1; r < 4; ++r)
            if (square(r) > square(largest)) largest = r;
        EXPECT_NEAR(right(0, largest, j + 1), 0, 4 * eps<T>);
        ++j;
    }
    EXPECT_EQ(pairs, 1);
    expect_vectors<T>(a, real, imaginary, &right, nullptr);
}

TYPED_TEST(Right, EigenvectorsTellMatricesThatAreNotFinite)
{
    using T = TypeParam;
    auto a = random_matrices<T>(60, 3, false, 3);
    a(41, 1, 1) = std::numeric_limits<T>::infinity();
    Packed<T> right(60, 3), alone(1, 3);
    std::vector<T> real(180), imaginary(180), re(3), im(3);
    std::vector<status> statuses(60);
    EXPECT_EQ(eigenvectors(a.view(), real, imaginary, right.view(), statuses), 1);
    EXPECT_EQ(statuses[41], StatusNotConverged);
    EXPECT_TRUE(std::isnan(right(41, 0, 0)));
    EXPECT_TRUE(std::isnan(real[41 * 3]));
    // The others are those of calls by themselves.
    for (const std::ptrdiff_t n : {std::ptrdiff_t(40), std::ptrdiff_t(42), std::ptrdiff_t(59)}) {
        eigenvectors(a.view().objects(n, 1), re, im, alone.view());
        for (std::ptrdiff_t i = 0; i < 9; ++i)
            ASSERT_EQ(alone(0, 0, i), right(n, 0, i));
    }
    EXPECT_THROW(eigenvectors(a.view(), real, imaginary, right.view()), error);
}

TYPED_TEST(Right, EigenvectorsTakeAnyLayouts)
{
    using T = TypeParam;
    auto a = random_matrices<T>(5, 3, false, 9);
    Matrices<T> source(5, 3, 3), right(5, 3, 3), left(5, 3, 3);
    for (std::ptrdiff_t n = 0; n < 5; ++n)
        for (std::ptrdiff_t i = 0; i < 9; ++i)
            source.at(n, i / 3, i % 3) = a(n, 0, i);
    Packed<T> packed_right(5, 3), packed_left(5, 3);
    std::vector<T> real(15), imaginary(15), re(15), im(15);
    eigenvectors(a.view(), real, imaginary, packed_right.view(), packed_left.view());
    eigenvectors(source.elements(), re, im, right.list(), left.strided());
    EXPECT_EQ(re, real);
    EXPECT_EQ(im, imaginary);
    for (std::ptrdiff_t n = 0; n < 5; ++n)
        for (std::ptrdiff_t i = 0; i < 9; ++i) {
            ASSERT_EQ(right.at(n, i / 3, i % 3), packed_right(n, 0, i));
            ASSERT_EQ(left.at(n, i / 3, i % 3), packed_left(n, 0, i));
        }
    Packed<T> few(5, 2);
    EXPECT_EQ(eigenvectors(a.view(), real, imaginary, few.view(), std::nothrow), StatusSizeMismatch);
}

// ---- Cholesky

TYPED_TEST(Right, CholeskyFactorsHaveTheirDiagonal)
{
    using T = TypeParam;
    Packed<T> a(1, 3), l(1, 3);
    a.elements = {4, 2, 0, 2, 5, 2, 0, 2, 5};
    l.elements.assign(9, 7);
    cholesky(a.view(), l.view());
    const T wanted[9] = {2, 0, 0, 1, 2, 0, 0, 1, 2};
    for (std::ptrdiff_t i = 0; i < 9; ++i)
        EXPECT_NEAR(l.elements[i], wanted[i], 8 * eps<T>) << i;
    const auto factors = cholesky(a.view());
    l.elements.assign(9, 7);
    factors.lower(l.view());
    for (std::ptrdiff_t i = 0; i < 9; ++i)
        EXPECT_NEAR(l.elements[i], wanted[i], 8 * eps<T>) << i;
    const std::array<T, 3> b{6, 9, 7};
    std::array<T, 3> x;
    factors.solve(b, x);
    for (std::ptrdiff_t i = 0; i < 3; ++i)
        EXPECT_NEAR(x[i], 1, 16 * eps<T>);
}

TYPED_TEST(Right, CholeskyTellsWhichMatricesAreNotDefinite)
{
    using T = TypeParam;
    Packed<T> a(80, 4), l(80, 4);
    for (std::ptrdiff_t n = 0; n < 80; ++n)
        for (std::ptrdiff_t r = 0; r < 4; ++r)
            a(n, r, r) = n == 13 && r == 2 ? T(-1) : T(9);
    std::vector<status> statuses(80);
    EXPECT_EQ(cholesky(a.view(), l.view(), statuses), 1);
    EXPECT_EQ(statuses[13], StatusNotPositiveDefinite);
    EXPECT_NEAR(l(12, 3, 3), 3, 8 * eps<T>);
    EXPECT_NEAR(l(79, 3, 3), 3, 8 * eps<T>);
    EXPECT_THROW(cholesky(a.view()), error);
}

} // namespace
} // namespace tarnm::test
