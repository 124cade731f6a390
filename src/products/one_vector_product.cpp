#include "products/one_vector_product.h"

namespace tarnm {
namespace {

// A vector as the one row a(i, k) or the one column b(k, j) of a product of matrices.
template <class X> struct AsRow {
    X x;

    auto operator()(std::ptrdiff_t, std::ptrdiff_t k) const { return x[k]; }
};
template <class X> struct AsColumn {
    X x;

    auto operator()(std::ptrdiff_t k, std::ptrdiff_t) const { return x[k]; }
};

// How the elements first .. end - 1 are summed.
enum class Order { ascending, paired, oneVector, twoVectors };

// Elements beside each other in memory for each k: a vector of results.
template <Order order, class M, class X, class D>
void sumStrips(const Transposed<M>& m, const X& x, const D& d, std::int32_t first, std::int32_t end, std::int32_t inner,
               LaneSpan span)
{
    using T = typename D::Element;
    const AsRow<X> a{x};
    inStrips<T>(
        first, end, [&](auto v, std::ptrdiff_t i) __attribute__((always_inline)) {
            using V = decltype(v);
            static_assert(order == Order::oneVector || order == Order::twoVectors);
            store(d.address(i), laneSum < order == Order::oneVector ? 1 : 2, V > (a, m.stored, 0, i, inner, span));
        });
}

template <Order order, class M, class X, class D>
void sumStrips(const M& m, const X& x, const D& d, std::int32_t first, std::int32_t end, std::int32_t inner,
               LaneSpan span)
{
    using T = typename D::Element;
    const AsColumn<X> b{x};
    std::ptrdiff_t i = first;
    if constexpr (order == Order::ascending) {
        constexpr int block = 4;
        for (; i + block <= end; i += block) {
            T sums[block];
            ascendingSums(sums, m, b, i, 0, inner);
            for (int r = 0; r < block; ++r)
                d.set(i + r, sums[r]);
        }
    }
    for (; i < end; ++i)
        if constexpr (order == Order::ascending) {
            T sums[1];
            ascendingSums(sums, m, b, i, 0, inner);
            d.set(i, sums[0]);
        } else if constexpr (order == Order::paired)
            d.set(i, pairedSum<T>(m, b, i, 0, inner));
        else
            d.set(i, sumOfProducts < order == Order::oneVector ? 1 : 2 > (m.row(i), x, inner, span));
}

template <class M, class X, class D>
void addRowInMemory(const M& m, const X& x, const D& d, std::ptrdiff_t i, std::int32_t inner)
{
    d.set(i, 0);
    for (std::ptrdiff_t k = 0; k < inner; ++k)
        d.set(i, d[i] + m(i, k) * x[k]);
}

template <class M, class X, class D>
void addRowGuarded(const M& m, const X& x, const D& d, std::ptrdiff_t i, std::int32_t inner, LaneSpan span)
{
    using T = typename D::Element;
    const T* result = d.address(i);
    if (!span.isEmpty() && isClearOf<T>(result, m.address(i, 0), inner) && isClearOf<T>(result, x.address(0), inner))
        d.set(i, sumOfProducts<2>(m.row(i), x, inner, span));
    else
        addRowInMemory(m, x, d, i, inner);
}

// The first element left over by blocks of `block`, if at most `most` are.
constexpr std::int32_t firstLeftOver(std::int32_t rows, std::int32_t block, std::int32_t most)
{
    const std::int32_t leftOver = rows % block;
    return leftOver <= most ? rows - leftOver : rows;
}

} // namespace

template <RowSum sum, class M, class X, class D>
void multiplyVectorObject(const M& m, const X& x, const D& d, std::int32_t rows, std::int32_t inner)
{
    using T = typename D::Element;
    constexpr int lanesOfVector = inner_lane_count<T>;
    // In double precision 8 products per step fill two vectors.
    constexpr Order stepOf8 = lanesOfVector == 8 ? Order::oneVector : Order::twoVectors;

    if constexpr (sum == RowSum::plainAlone || sum == RowSum::plainInPair) {
        const std::int32_t end = sum == RowSum::plainAlone ? firstLeftOver(rows, 8, 3) : firstLeftOver(rows, 4, 1);
        sumStrips<Order::ascending>(m, x, d, 0, end, inner, {});
        sumStrips<Order::paired>(m, x, d, end, rows, inner, {});
    } else if constexpr (sum == RowSum::alignedAlone && stepOf8 == Order::oneVector) {
        const std::int32_t end = firstLeftOver(rows, 8, 3);
        sumStrips<Order::oneVector>(m, x, d, 0, end, inner, spanFromAlignment(x.address(0), inner, 8));
        sumStrips<Order::twoVectors>(m, x, d, end, rows, inner, spanFromAlignment(x.address(0), inner, 16));
    } else if constexpr (sum == RowSum::alignedAlone || sum == RowSum::alignedInPair) {
        sumStrips<stepOf8>(m, x, d, 0, rows, inner, spanFromAlignment(x.address(0), inner, 8));
    } else if constexpr (sum == RowSum::sixteens) {
        sumStrips<Order::twoVectors>(m, x, d, 0, rows, inner, spanFromStart(inner, 16, 16));
    } else {
        constexpr int step = 2 * lanesOfVector;
        const LaneSpan span = spanFromStart(inner, step, step);
        for (std::ptrdiff_t i = 0; i < rows; ++i)
            if constexpr (sum == RowSum::guardedLanes)
                addRowGuarded(m, x, d, i, inner, span);
            else
                addRowInMemory(m, x, d, i, inner);
    }
}

template <int n, class M, class X, class D> void multiplyVectorCase(const M& m, const X& x, const D& d)
{
    using T = typename D::Element;
    T rows[n][n], vector[n], result[n];
    for (int i = 0; i < n; ++i)
        for (int k = 0; k < n; ++k)
            rows[i][k] = m(i, k);
    for (int k = 0; k < n; ++k)
        vector[k] = x[k];
    for (int i = 0; i < n; ++i)
        result[i] =
            rowOfCase<n, RowGrouping::none>([&](int k) { return rows[i][k]; }, [&](int k) { return vector[k]; });
    for (int i = 0; i < n; ++i)
        d.set(i, result[i]);
}

// ---- Operands that members have ----

template <class T> using Dense = StridedMatrix<T, Spacing::dense>;
template <class T> using DenseVector = StridedVector<T, Spacing::dense>;
template <class T> using Strided = StridedMatrix<T, Spacing::strided>;
template <class T> using StridedVectorOf = StridedVector<T, Spacing::strided>;
template <class T> using Scattered = ScatteredMatrix<T>;
template <class T> using ScatteredVectorOf = ScatteredVector<T>;

template <class Matrix> using Stored = Matrix;

#define TARNM_SUM(T, Matrix, Vector, A, sum)                                                                           \
    template void multiplyVectorObject<sum>(const A<Matrix<const T>>&, const Vector<const T>&, const Vector<T>&,       \
                                            std::int32_t, std::int32_t);

#define TARNM_CASE(T, Matrix, Vector, A, n)                                                                            \
    template void multiplyVectorCase<n>(const A<Matrix<const T>>&, const Vector<const T>&, const Vector<T>&);

#define TARNM_CASES(T, Matrix, Vector, A)                                                                              \
    TARNM_CASE(T, Matrix, Vector, A, 3)                                                                                \
    TARNM_CASE(T, Matrix, Vector, A, 4)                                                                                \
    TARNM_CASE(T, Matrix, Vector, A, 5)                                                                                \
    TARNM_CASE(T, Matrix, Vector, A, 6)

#define TARNM_PRODUCTS(T)                                                                                              \
    TARNM_SUM(T, Dense, DenseVector, Stored, RowSum::plainAlone)                                                       \
    TARNM_SUM(T, Dense, DenseVector, Stored, RowSum::plainInPair)                                                      \
    TARNM_SUM(T, Dense, DenseVector, Stored, RowSum::alignedAlone)                                                     \
    TARNM_SUM(T, Dense, DenseVector, Stored, RowSum::alignedInPair)                                                    \
    TARNM_SUM(T, Dense, DenseVector, Stored, RowSum::sixteens)                                                         \
    TARNM_SUM(T, Dense, DenseVector, Transposed, RowSum::alignedAlone)                                                 \
    TARNM_SUM(T, Dense, DenseVector, Transposed, RowSum::alignedInPair)                                                \
    TARNM_SUM(T, Dense, DenseVector, Transposed, RowSum::sixteens)                                                     \
    TARNM_SUM(T, Strided, StridedVectorOf, Stored, RowSum::guardedLanes)                                               \
    TARNM_SUM(T, Strided, StridedVectorOf, Transposed, RowSum::inMemory)                                               \
    TARNM_SUM(T, Scattered, ScatteredVectorOf, Stored, RowSum::inMemory)                                               \
    TARNM_SUM(T, Scattered, ScatteredVectorOf, Transposed, RowSum::inMemory)                                           \
    TARNM_CASES(T, Strided, StridedVectorOf, Stored)                                                                   \
    TARNM_CASES(T, Strided, StridedVectorOf, Transposed)                                                               \
    TARNM_CASES(T, Scattered, ScatteredVectorOf, Stored)                                                               \
    TARNM_CASES(T, Scattered, ScatteredVectorOf, Transposed)

TARNM_PRODUCTS(float)
TARNM_PRODUCTS(double)

} // namespace tarnm
