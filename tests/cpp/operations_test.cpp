// Operations through views of each layout, against sums written out here. Elements are whole numbers: every order of
// additions gives the same bits.
#include <vector>

#include <gtest/gtest.h>

#include "cpp/samples.h"

namespace tarnm::test {
namespace {

constexpr std::ptrdiff_t count = 5;

template <class T> class Operations : public testing::Test {};
using Types = testing::Types<float, double>;
TYPED_TEST_SUITE(Operations, Types);

// Calls `body` with a function that gives the view of a sample in one layout, for each layout.
template <class Body> void in_each_layout(Body body)
{
    body([](auto& sample) { return sample.strided(); });
    body([](auto& sample) { return sample.list(); });
    body([](auto& sample) { return sample.elements(); });
}

template <class T, class Expected>
void expect_matrices(Matrices<T>& actual, std::ptrdiff_t objects, std::ptrdiff_t rows, std::ptrdiff_t columns,
                     Expected expected)
{
    for (std::ptrdiff_t n = 0; n < objects; ++n)
        for (std::ptrdiff_t r = 0; r < rows; ++r)
            for (std::ptrdiff_t c = 0; c < columns; ++c)
                ASSERT_EQ(actual.at(n, r, c), expected(n, r, c)) << n << ' ' << r << ' ' << c;
}

template <class T, class Expected>
void expect_vectors(Vectors<T>& actual, std::ptrdiff_t objects, std::ptrdiff_t size, Expected expected)
{
    for (std::ptrdiff_t n = 0; n < objects; ++n)
        for (std::ptrdiff_t k = 0; k < size; ++k)
            ASSERT_EQ(actual.at(n, k), expected(n, k)) << n << ' ' << k;
}

TYPED_TEST(Operations, MatricesAreAddedAndSubtracted)
{
    using T = TypeParam;
    Matrices<T> a(count, 2, 3, 1), b(count, 2, 3, 5), bt(count, 3, 2, 5), d(count, 2, 3);
    in_each_layout([&](auto view) {
        add(view(a), view(b), view(d));
        expect_matrices(d, count, 2, 3, [&](auto n, auto r, auto c) { return a.at(n, r, c) + b.at(n, r, c); });
        subtract(view(a), transposed(view(bt)), view(d));
        expect_matrices(d, count, 2, 3, [&](auto n, auto r, auto c) { return a.at(n, r, c) - bt.at(n, c, r); });
        // A sum that exists in the other order only.
        add(view(a), transposed(view(bt)), view(d));
        expect_matrices(d, count, 2, 3, [&](auto n, auto r, auto c) { return a.at(n, r, c) + bt.at(n, c, r); });
        scale(transposed(view(bt)), 3, view(d));
        expect_matrices(d, count, 2, 3, [&](auto n, auto r, auto c) { return 3 * bt.at(n, c, r); });
    });
}

TYPED_TEST(Operations, OneMatrixGoesWithAnArray)
{
    using T = TypeParam;
    Matrices<T> a(1, 2, 3, 1), b(count, 2, 3, 5), d(count, 2, 3);
    add(a.single_strided(), b.strided(), d.strided());
    expect_matrices(d, count, 2, 3, [&](auto n, auto r, auto c) { return a.at(0, r, c) + b.at(n, r, c); });
    subtract(a.single_strided(), b.list(), d.list());
    expect_matrices(d, count, 2, 3, [&](auto n, auto r, auto c) { return a.at(0, r, c) - b.at(n, r, c); });
    subtract(b.elements(), a.single_elements(), d.elements());
    expect_matrices(d, count, 2, 3, [&](auto n, auto r, auto c) { return b.at(n, r, c) - a.at(0, r, c); });
    subtract(a.single_elements(), a.single_elements(), d.single_elements());
    expect_matrices(d, 1, 2, 3, [&](auto, auto, auto) { return T(0); });
}

TYPED_TEST(Operations, VectorsGoWithConstants)
{
    using T = TypeParam;
    Vectors<T> a(count, 4), d(count, 4);
    std::vector<T> factors{2, 3, 4, 5, 6};
    std::vector<const T*> table;
    for (const T& f : factors)
        table.push_back(&f);
    const constant_array<T> c(factors.data(), count);
    in_each_layout([&](auto view) {
        add(T(2), view(a), view(d));
        expect_vectors(d, count, 4, [&](auto n, auto k) { return a.at(n, k) + 2; });
        subtract(2, view(a), view(d));
        expect_vectors(d, count, 4, [&](auto n, auto k) { return 2 - a.at(n, k); });
    });
    subtract(c, a.strided(), d.strided());
    expect_vectors(d, count, 4, [&](auto n, auto k) { return factors[n] - a.at(n, k); });
    scale(a.elements(), c, d.elements());
    expect_vectors(d, count, 4, [&](auto n, auto k) { return factors[n] * a.at(n, k); });
    subtract(a.list(), constant_list<const T>(table.data(), count), d.list());
    expect_vectors(d, count, 4, [&](auto n, auto k) { return a.at(n, k) - factors[n]; });
    scale(a.single_strided(), c, d.strided());
    expect_vectors(d, count, 4, [&](auto n, auto k) { return factors[n] * a.at(0, k); });
}

TYPED_TEST(Operations, MatricesAreMultiplied)
{
    using T = TypeParam;
    Matrices<T> a(count, 2, 3, 1), at(count, 3, 2, 4), b(count, 3, 4, 5), bt(count, 4, 3, 6), d(count, 2, 4);
    const auto product = [](auto left, auto right) {
        T sum = 0;
        for (std::ptrdiff_t k = 0; k < 3; ++k)
            sum += left(k) * right(k);
        return sum;
    };
    in_each_layout([&](auto view) {
        multiply(view(a), view(b), view(d));
        expect_matrices(d, count, 2, 4, [&](auto n, auto r, auto c) {
            return product([&](auto k) { return a.at(n, r, k); }, [&](auto k) { return b.at(n, k, c); });
        });
        multiply(transposed(view(at)), view(b), view(d));
        expect_matrices(d, count, 2, 4, [&](auto n, auto r, auto c) {
            return product([&](auto k) { return at.at(n, k, r); }, [&](auto k) { return b.at(n, k, c); });
        });
        multiply(view(a), transposed(view(bt)), view(d));
        expect_matrices(d, count, 2, 4, [&](auto n, auto r, auto c) {
            return product([&](auto k) { return a.at(n, r, k); }, [&](auto k) { return bt.at(n, c, k); });
        });
        multiply(transposed(view(at)), transposed(view(bt)), view(d));
        expect_matrices(d, count, 2, 4, [&](auto n, auto r, auto c) {
            return product([&](auto k) { return at.at(n, k, r); }, [&](auto k) { return bt.at(n, c, k); });
        });
    });
    multiply(a.single_strided(), b.list(), d.list());
    expect_matrices(d, count, 2, 4, [&](auto n, auto r, auto c) {
        return product([&](auto k) { return a.at(0, r, k); }, [&](auto k) { return b.at(n, k, c); });
    });
}

TYPED_TEST(Operations, MatricesMultiplyVectors)
{
    using T = TypeParam;
    Matrices<T> a(count, 2, 3, 1), at(count, 3, 2, 4);
    Vectors<T> x(count, 3), y(count, 2, 7), d(count, 2);
    const auto row = [&](auto element, auto n) {
        T sum = 0;
        for (std::ptrdiff_t k = 0; k < 3; ++k)
            sum += element(k) * x.at(n, k);
        return sum;
    };
    in_each_layout([&](auto view) {
        multiply(view(a), view(x), view(d));
        expect_vectors(d, count, 2, [&](auto n, auto r) { return row([&](auto k) { return a.at(n, r, k); }, n); });
        multiply(transposed(view(at)), view(x), view(d));
        expect_vectors(d, count, 2, [&](auto n, auto r) { return row([&](auto k) { return at.at(n, k, r); }, n); });
    });
    const auto expected = [&](auto n, auto r) { return row([&](auto k) { return a.at(0, r, k); }, n) + y.at(n, r); };
    gaxpy(a.single_strided(), x.strided(), y.strided(), d.strided());
    expect_vectors(d, count, 2, expected);
    gaxpy(a.single_elements(), x.elements(), y.elements(), d.elements());
    expect_vectors(d, count, 2, expected);
    gaxpy(a.single_strided(), x.single_strided(), y.single_strided(), d.single_strided());
    expect_vectors(d, 1, 2, expected);
    gaxpy(a.single_strided(), x.list(), y.single_strided(), d.list());
    expect_vectors(d, count, 2, [&](auto n, auto r) { return expected(n, r) - y.at(n, r) + y.at(0, r); });
}

TYPED_TEST(Operations, VectorAlgebra)
{
    using T = TypeParam;
    Vectors<T> a(count, 3, 1), b(count, 3, 5), d(count, 3);
    std::vector<T> sums(count);
    const auto dot_of = [](auto& p, auto n, auto& q, auto m) {
        return p.at(n, 0) * q.at(m, 0) + p.at(n, 1) * q.at(m, 1) + p.at(n, 2) * q.at(m, 2);
    };
    in_each_layout([&](auto view) {
        dot(view(a), view(b), sums);
        for (std::ptrdiff_t n = 0; n < count; ++n)
            EXPECT_EQ(sums[n], dot_of(a, n, b, n));
        cross(view(a), view(b), view(d));
        expect_vectors(d, count, 3, [&](auto n, auto k) {
            const auto i = (k + 1) % 3, j = (k + 2) % 3;
            return a.at(n, i) * b.at(n, j) - a.at(n, j) * b.at(n, i);
        });
        saxpy(T(2), view(a), view(b), view(d));
        expect_vectors(d, count, 3, [&](auto n, auto k) { return 2 * a.at(n, k) + b.at(n, k); });
        linear_combination(T(2), view(a), T(3), view(b), view(d));
        expect_vectors(d, count, 3, [&](auto n, auto k) { return 2 * a.at(n, k) + 3 * b.at(n, k); });
        norm(view(a), sums);
        for (std::ptrdiff_t n = 0; n < count; ++n)
            EXPECT_NEAR(sums[n] * sums[n], dot_of(a, n, a, n), 1e-4);
    });
    // One vector first: these exist in the other order only.
    dot(a.single_strided(), b.strided(), sums);
    for (std::ptrdiff_t n = 0; n < count; ++n)
        EXPECT_EQ(sums[n], dot_of(a, 0, b, n));
    linear_combination(T(2), a.single_strided(), T(3), b.list(), d.list());
    expect_vectors(d, count, 3, [&](auto n, auto k) { return 2 * a.at(0, k) + 3 * b.at(n, k); });
    EXPECT_EQ(dot(a.single_strided(), b.single_strided()), dot_of(a, 0, b, 0));
    EXPECT_EQ(norm(std::array<T, 2>{3, 4}), T(5));
}

TYPED_TEST(Operations, ObjectsMoveBetweenAllLayouts)
{
    using T = TypeParam;
    Matrices<T> a(count, 2, 3, 1);
    in_each_layout([&](auto from) {
        in_each_layout([&](auto to) {
            Matrices<T> d(count, 2, 3, 9);
            copy(from(a), to(d));
            expect_matrices(d, count, 2, 3, [&](auto n, auto r, auto c) { return a.at(n, r, c); });
        });
    });
    Matrices<T> d(count, 2, 3, 9), t(count, 3, 2, 9);
    copy(a.single_elements(), d.single_strided());
    expect_matrices(d, 1, 2, 3, [&](auto n, auto r, auto c) { return a.at(n, r, c); });
    std::vector<T> block(count * 6);
    in_each_layout([&](auto view) {
        extract(view(a), block);
        EXPECT_EQ(block[2 * 6 + 1 * 3 + 2], a.at(2, 1, 2));
        extract(transposed(view(a)), block);
        EXPECT_EQ(block[2 * 6 + 2 * 2 + 1], a.at(2, 1, 2));
        transpose(view(a), view(t));
        expect_matrices(t, count, 3, 2, [&](auto n, auto r, auto c) { return a.at(n, c, r); });
        load_identity(view(d));
        expect_matrices(d, count, 2, 3, [&](auto, auto r, auto c) { return T(r == c); });
    });
}

TYPED_TEST(Operations, ScalarsOfMatrices)
{
    using T = TypeParam;
    Matrices<T> a(count, 3, 3, 1);
    std::vector<T> values(count);
    in_each_layout([&](auto view) {
        trace(view(a), values);
        for (std::ptrdiff_t n = 0; n < count; ++n)
            EXPECT_EQ(values[n], a.at(n, 0, 0) + a.at(n, 1, 1) + a.at(n, 2, 2));
        frobenius_norm(view(a), values);
        for (std::ptrdiff_t n = 0; n < count; ++n) {
            T squares = 0;
            for (std::ptrdiff_t i = 0; i < 9; ++i)
                squares += a.at(n, i / 3, i % 3) * a.at(n, i / 3, i % 3);
            EXPECT_NEAR(values[n] * values[n], squares, 1e-4);
        }
    });
    EXPECT_EQ(trace(a.single_strided()), a.at(0, 0, 0) + a.at(0, 1, 1) + a.at(0, 2, 2));
}

} // namespace
} // namespace tarnm::test
