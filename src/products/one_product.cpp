#include "products/one_product.h"

#include "products/row_case.h"

namespace tarnm {
namespace {

constexpr int blockRows = 4;

// Rows i and following, as long as they fill a block.
template <int rows, class V, class A, class B, class D>
TARNM_INLINE void multiplyBlocksOfRows(const A& a, const B& b, const D& d, Extents extents, std::ptrdiff_t& i,
                                       std::ptrdiff_t j)
{
    for (; i + rows <= extents.rows; i += rows) {
        V sums[rows];
        ascendingSums(sums, a, b, i, j, extents.inner);
        TARNM_UNROLL
        for (int r = 0; r < rows; ++r)
            setElementsAt(d, i + r, j, sums[r]);
    }
}

template <Sum sum, class V, class A, class B, class D>
TARNM_INLINE void multiplyStrip(const A& a, const B& b, const D& d, Extents extents, std::ptrdiff_t j)
{
    std::ptrdiff_t i = 0;
    if constexpr (sum == Sum::innerLanes) {
        constexpr int step = 2 * inner_lane_count<scalar_t<V>>;
        const LaneSpan span = spanFromStart(extents.inner, step, step);
        if (!span.isEmpty())
            for (; i < extents.rows; ++i)
                setElementsAt(d, i, j, laneSum<2, V>(a, b, i, j, extents.inner, span));
    }
    const std::int32_t leftOver = extents.rows % blockRows;
    if constexpr (lane_count_v < V >> 1) multiplyBlocksOfRows<2 * blockRows, V>(a, b, d, extents, i, j);
    multiplyBlocksOfRows<blockRows, V>(a, b, d, extents, i, j);
    for (; i < extents.rows; ++i) {
        V sums[1];
        if (sum == Sum::paired && leftOver <= 2)
            sums[0] = pairedSum<V>(a, b, i, j, extents.inner);
        else
            ascendingSums(sums, a, b, i, j, extents.inner);
        setElementsAt(d, i, j, sums[0]);
    }
}

template <class A, class B, class D>
void addInMemory(const A& a, const B& b, const D& d, std::ptrdiff_t i, std::ptrdiff_t j, std::int32_t inner)
{
    d.set(i, j, 0);
    for (std::ptrdiff_t k = 0; k < inner; ++k)
        d.set(i, j, d(i, j) + a(i, k) * b(k, j));
}

// The rows of a and of the stored b are what lanes run along.
template <class A, class B, class D>
void addGuarded(const A& a, const B& b, const D& d, std::ptrdiff_t i, std::ptrdiff_t j, std::int32_t inner,
                LaneSpan span)
{
    using T = typename D::Element;
    const T* result = d.address(i, j);
    if (!span.isEmpty() && isClearOf<T>(result, a.address(i, 0), inner) && isClearOf<T>(result, b.address(0, j), inner))
        d.set(i, j, sumOfProducts<2>(a.row(i), b.stored.row(j), inner, span));
    else
        addInMemory(a, b, d, i, j, inner);
}

} // namespace

template <Sum sum, class A, class B, class D> void multiplyObject(const A& a, const B& b, const D& d, Extents extents)
{
    using T = typename D::Element;
    if constexpr (sum == Sum::inMemory || sum == Sum::guardedLanes) {
        constexpr int step = 2 * inner_lane_count<T>;
        const LaneSpan span = spanFromStart(extents.inner, step, step);
        for (std::ptrdiff_t i = 0; i < extents.rows; ++i)
            for (std::ptrdiff_t j = 0; j < extents.columns; ++j)
                if constexpr (sum == Sum::inMemory)
                    addInMemory(a, b, d, i, j, extents.inner);
                else
                    addGuarded(a, b, d, i, j, extents.inner, span);
    } else {
        inStrips<T>(
            0, extents.columns, [&](auto v, std::ptrdiff_t j) __attribute__((always_inline)) {
                multiplyStrip<sum, decltype(v)>(a, b, d, extents, j);
            });
    }
}

template <int n, Grouping grouping, class A, class B, class D> void multiplyCase(const A& a, const B& b, const D& d)
{
    using T = typename D::Element;
    T x[n][n], y[n][n], z[n][n];
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c) {
            x[r][c] = a(r, c);
            y[r][c] = b(r, c);
        }
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            const auto row = [&](int k) { return x[i][k]; };
            const auto column = [&](int k) { return y[k][j]; };
            z[i][j] = grouping == Grouping::lastColumn && j == n - 1
                          ? rowOfCase<n, RowGrouping::neighbours>(row, column)
                          : rowOfCase<n, RowGrouping::none>(row, column);
        }
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c)
            d.set(r, c, z[r][c]);
}

// ---- Operands that members have ----

template <class T> using Dense = StridedMatrix<T, Spacing::dense>;
template <class T> using Strided = StridedMatrix<T, Spacing::strided>;
template <class T> using Scattered = ScatteredMatrix<T>;

template <class Matrix> using Stored = Matrix;

#define TARNM_SUM(T, Form, A, B, sum)                                                                                  \
    template void multiplyObject<sum>(const A<Form<const T>>&, const B<Form<const T>>&, const Form<T>&, Extents);

#define TARNM_CASE(T, Form, A, B, n)                                                                                   \
    template void multiplyCase<n>(const A<Form<const T>>&, const B<Form<const T>>&, const Form<T>&);

#define TARNM_CASES(T, Form, A, B)                                                                                     \
    TARNM_CASE(T, Form, A, B, 3)                                                                                       \
    TARNM_CASE(T, Form, A, B, 4)                                                                                       \
    TARNM_CASE(T, Form, A, B, 5)                                                                                       \
    TARNM_CASE(T, Form, A, B, 6)

#define TARNM_CASES_OF_ALL_CODES(T, Form)                                                                              \
    TARNM_CASES(T, Form, Stored, Stored)                                                                               \
    TARNM_CASES(T, Form, Stored, Transposed)                                                                           \
    TARNM_CASES(T, Form, Transposed, Stored)                                                                           \
    TARNM_CASES(T, Form, Transposed, Transposed)

#define TARNM_PRODUCTS(T)                                                                                              \
    TARNM_SUM(T, Dense, Stored, Stored, Sum::paired)                                                                   \
    TARNM_SUM(T, Dense, Stored, Transposed, Sum::ascending)                                                            \
    TARNM_SUM(T, Dense, Transposed, Stored, Sum::innerLanes)                                                           \
    TARNM_SUM(T, Dense, Transposed, Transposed, Sum::paired)                                                           \
    TARNM_SUM(T, Strided, Stored, Stored, Sum::inMemory)                                                               \
    TARNM_SUM(T, Strided, Stored, Transposed, Sum::inMemory)                                                           \
    TARNM_SUM(T, Strided, Stored, Transposed, Sum::guardedLanes)                                                       \
    TARNM_SUM(T, Strided, Transposed, Stored, Sum::inMemory)                                                           \
    TARNM_SUM(T, Strided, Transposed, Transposed, Sum::inMemory)                                                       \
    TARNM_SUM(T, Scattered, Stored, Stored, Sum::inMemory)                                                             \
    TARNM_SUM(T, Scattered, Stored, Transposed, Sum::inMemory)                                                         \
    TARNM_SUM(T, Scattered, Transposed, Stored, Sum::inMemory)                                                         \
    TARNM_SUM(T, Scattered, Transposed, Transposed, Sum::inMemory)                                                     \
    TARNM_CASES_OF_ALL_CODES(T, Strided)                                                                               \
    TARNM_CASES_OF_ALL_CODES(T, Scattered)

TARNM_PRODUCTS(float)
TARNM_PRODUCTS(double)

template void multiplyCase<5, Grouping::lastColumn>(const Dense<const float>&, const Dense<const float>&,
                                                    const Dense<float>&);

} // namespace tarnm
