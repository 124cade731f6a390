// Products of packed matrices and vectors.
//
//   mul_mama, mul_mam          array by array, array by one
//   mul_tama, mul_mata         one operand transposed
//   mul_mama_P, mul_mava_P     tables of elements, the same elements of all objects side by side
//   mul_mava, mul_mva          arrays of matrices by arrays of vectors, one matrix by an array of vectors
//   gaxpy_mva                  the latter with a summand for each object
//   mul_mm                     one call for one 3 by 3 object
#include <string>
#include <vector>

#include "rows/rows.h"

#ifdef BENCH_HAS_EIGEN
#include <Eigen/Core>
#endif
#ifdef BENCH_HAS_LIBXSMM
#include <libxsmm.h>
#endif

namespace bench {
namespace {

// Rows by rows, as stored or transposed.
template <class T, int n, bool firstTransposed, bool secondTransposed>
void plainProduct(const T* __restrict a, const T* __restrict b, T* __restrict d)
{
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            T sum = 0;
            for (int k = 0; k < n; ++k)
                sum += a[firstTransposed ? k * n + i : i * n + k] * b[secondTransposed ? j * n + k : k * n + j];
            d[i * n + j] = sum;
        }
}

template <class T, int n> void plainVectorProduct(const T* __restrict m, const T* __restrict x, T* __restrict d)
{
    for (int i = 0; i < n; ++i) {
        T sum = 0;
        for (int k = 0; k < n; ++k)
            sum += m[i * n + k] * x[k];
        d[i] = sum;
    }
}

#ifdef BENCH_HAS_EIGEN
// Packed rows are the columns of the transpose, and the transpose of a product is the product in reverse order.
template <class T, int n> using EigenMatrix = Eigen::Matrix<T, n, n>;
template <class T, int n> using EigenVector = Eigen::Matrix<T, n, 1>;
template <class Object> using Source = Eigen::Map<const Object>;
template <class Object> using Target = Eigen::Map<Object>;

template <class T, int n, bool firstTransposed, bool secondTransposed, class A, class B>
void eigenProduct(const A& a, const B& b, T* result)
{
    Target<EigenMatrix<T, n>> d(result);
    if constexpr (firstTransposed && secondTransposed)
        d.noalias() = b.transpose().lazyProduct(a.transpose());
    else if constexpr (firstTransposed)
        d.noalias() = b.lazyProduct(a.transpose());
    else if constexpr (secondTransposed)
        d.noalias() = b.transpose().lazyProduct(a);
    else
        d.noalias() = b.lazyProduct(a);
}
#endif

#ifdef BENCH_HAS_LIBXSMM
// d = b * a of column-major matrices of n rows: `columns` columns of a and d.
auto smallKernel(float, int n, int columns)
{
    const float alpha = 1, beta = 0;
    return libxsmm_smmdispatch(n, columns, n, nullptr, nullptr, nullptr, &alpha, &beta, nullptr, nullptr);
}
auto smallKernel(double, int n, int columns)
{
    const double alpha = 1, beta = 0;
    return libxsmm_dmmdispatch(n, columns, n, nullptr, nullptr, nullptr, &alpha, &beta, nullptr, nullptr);
}
#endif

// `bIsOne`: one second operand for all objects.
template <class T, int n, bool firstTransposed, bool secondTransposed, bool bIsOne, class Members>
void matrixProducts(Row& row, const Members& member)
{
    constexpr int size = n * n, e = sizeof(T), r = n * e, o = n * r;
    constexpr auto stride = bIsOne ? 0 : size;
    const T* const a = row.source<T>(size);
    const T* const b = bIsOne ? row.one<T>(size) : row.source<T>(size);
    T* const d = row.result<T>(size);
    row.flops(2.0 * size * n);
    row.ours(member, [=](auto f, int count) {
        if constexpr (bIsOne)
            return f(a, o, r, e, n, n, b, r, e, n, n, d, o, r, e, count);
        else
            return f(a, o, r, e, n, n, b, o, r, e, n, n, d, o, r, e, count);
    });
    row.peer("plain", [=](int first, int last) {
        for (int i = first; i < last; ++i)
            plainProduct<T, n, firstTransposed, secondTransposed>(a + i * size, b + i * stride, d + i * size);
    });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen objects", [=](int first, int last) {
        using Object = EigenMatrix<T, n>;
        if constexpr (bIsOne) {
            const Object one = Source<Object>(b);
            for (int i = first; i < last; ++i)
                eigenProduct<T, n, firstTransposed, secondTransposed>(Source<Object>(a + i * size), one, d + i * size);
        } else
            for (int i = first; i < last; ++i)
                eigenProduct<T, n, firstTransposed, secondTransposed>(Source<Object>(a + i * size),
                                                                      Source<Object>(b + i * size), d + i * size);
    });
    if constexpr (bIsOne && !firstTransposed && !secondTransposed)
        row.peer("Eigen array", [=](int first, int last) {
            using Columns = Eigen::Matrix<T, n, Eigen::Dynamic>;
            const EigenMatrix<T, n> one = Source<EigenMatrix<T, n>>(b);
            const int columns = (last - first) * n;
            Target<Columns>(d + first * size, n, columns).noalias() =
                one.lazyProduct(Source<Columns>(a + first * size, n, columns));
        });
#endif
#ifdef BENCH_HAS_LIBXSMM
    if constexpr (!firstTransposed && !secondTransposed) {
        if (const auto kernel = smallKernel(T(0), n, n))
            row.peer("libxsmm", [=](int first, int last) {
                for (int i = first; i < last; ++i)
                    kernel(b + i * stride, a + i * size, d + i * size);
            });
        if constexpr (bIsOne)
            if (const auto kernel = smallKernel(T(0), n, n * row.count); kernel && row.threads == 1)
                row.peer("libxsmm array", [=](int, int) { kernel(b, a, d); });
    }
#endif
}

// `mIsOne`: one matrix for all vectors. `hasSummand`: a vector for each object is added.
template <class T, int n, bool mIsOne, bool hasSummand, class Members>
void vectorProducts(Row& row, const Members& member)
{
    constexpr int size = n * n, e = sizeof(T), r = n * e, o = n * r;
    const T* const m = mIsOne ? row.one<T>(size) : row.source<T>(size);
    const T* const x = row.source<T>(n);
    const T* const u = hasSummand ? row.source<T>(n) : nullptr;
    T* const d = row.result<T>(n);
    row.flops(2.0 * size + (hasSummand ? n : 0));
    row.ours(member, [=](auto f, int count) {
        if constexpr (hasSummand)
            return f(m, r, e, n, n, x, r, e, n, u, r, e, n, d, r, e, count);
        else if constexpr (mIsOne)
            return f(m, r, e, n, n, x, r, e, n, d, r, e, count);
        else
            return f(m, o, r, e, n, n, x, r, e, n, d, r, e, count);
    });
    row.peer("plain", [=](int first, int last) {
        for (int i = first; i < last; ++i) {
            plainVectorProduct<T, n>(m + (mIsOne ? 0 : i * size), x + i * n, d + i * n);
            if constexpr (hasSummand)
                for (int k = 0; k < n; ++k)
                    d[i * n + k] += u[i * n + k];
        }
    });
#ifdef BENCH_HAS_EIGEN
    using Vector = EigenVector<T, n>;
    const auto objects = [=](int first, int last, auto&& matrix) {
        for (int i = first; i < last; ++i) {
            Target<Vector> result(d + i * n);
            if constexpr (hasSummand)
                result.noalias() =
                    matrix(i).transpose().lazyProduct(Source<Vector>(x + i * n)) + Source<Vector>(u + i * n);
            else
                result.noalias() = matrix(i).transpose().lazyProduct(Source<Vector>(x + i * n));
        }
    };
    row.peer("Eigen objects", [=](int first, int last) {
        using Matrix = EigenMatrix<T, n>;
        if constexpr (mIsOne) {
            const Matrix one = Source<Matrix>(m);
            objects(first, last, [&](int) -> const Matrix& { return one; });
        } else
            objects(first, last, [&](int i) { return Source<Matrix>(m + i * size); });
    });
    if constexpr (mIsOne)
        row.peer("Eigen array", [=](int first, int last) {
            using Columns = Eigen::Matrix<T, n, Eigen::Dynamic>;
            const EigenMatrix<T, n> one = Source<EigenMatrix<T, n>>(m).transpose();
            Target<Columns> results(d + first * n, n, last - first);
            results.noalias() = one.lazyProduct(Source<Columns>(x + first * n, n, last - first));
            if constexpr (hasSummand) results += Source<Columns>(u + first * n, n, last - first);
        });
#endif
}

// Element k of all objects stands together: `columns` of these arrays for each of n rows.
template <class T, int n, int columns> std::vector<T*> planes(T* base, int total)
{
    std::vector<T*> table;
    for (int k = 0; k < n * columns; ++k)
        table.push_back(base + std::size_t(k) * total);
    return table;
}

// The second operand and the result are matrices with n columns, or vectors with one.
template <class T, int n, int columns, class Members> void planeProducts(Row& row, const Members& member)
{
    constexpr int e = sizeof(T);
    const int total = row.count;
    const T* const a = row.source<T>(n * n);
    const T* const b = row.source<T>(n * columns);
    T* const d = row.result<T>(n * columns);
    row.flops(2.0 * n * n * columns);
    row.ours(member, [first = planes<const T, n, n>(a, total), second = planes<const T, n, columns>(b, total),
                      result = planes<T, n, columns>(d, total)](auto f, int count) {
        if constexpr (columns == 1)
            return f(first.data(), 0, e, n, n, second.data(), 0, e, n, result.data(), 0, e, count);
        else
            return f(first.data(), 0, e, n, n, second.data(), 0, e, n, n, result.data(), 0, e, count);
    });
    row.peer("plain", [=](int from, int to) {
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < columns; ++j) {
                T* __restrict const z = d + std::size_t(i * columns + j) * total;
                for (int o = from; o < to; ++o) {
                    T sum = 0;
                    for (int k = 0; k < n; ++k)
                        sum += a[std::size_t(i * n + k) * total + o] * b[std::size_t(k * columns + j) * total + o];
                    z[o] = sum;
                }
            }
    });
}

template <class T, int n> std::string named(const char* name)
{
    return std::string(name) + "/" + std::to_string(n) + "/" + typeName<T>();
}

// `counts` as for Rows::add, which takes all of them without.
template <class T, int n, class... Counts> void arrayByArray(Rows& rows, Counts... counts)
{
    rows.add(named<T, n>("mul_mama"), counts...,
             [](Row& row) { matrixProducts<T, n, false, false, false>(row, MEMBER(T, tarnmMul_mama)); });
}
template <class T, int n> void arrayByOne(Rows& rows)
{
    rows.add(named<T, n>("mul_mam"), {1000},
             [](Row& row) { matrixProducts<T, n, false, false, true>(row, MEMBER(T, tarnmMul_mam)); });
}
template <class T, int n> void transposed(Rows& rows)
{
    rows.add(named<T, n>("mul_tama"), {1000},
             [](Row& row) { matrixProducts<T, n, true, false, false>(row, MEMBER(T, tarnmMul_tama)); });
    rows.add(named<T, n>("mul_mata"), {1000},
             [](Row& row) { matrixProducts<T, n, false, true, false>(row, MEMBER(T, tarnmMul_mata)); });
}
template <class T, int n, class... Counts> void byVectors(Rows& rows, Counts... counts)
{
    rows.add(named<T, n>("mul_mava"), counts...,
             [](Row& row) { vectorProducts<T, n, false, false>(row, MEMBER(T, tarnmMul_mava)); });
    rows.add(named<T, n>("mul_mva"), counts...,
             [](Row& row) { vectorProducts<T, n, true, false>(row, MEMBER(T, tarnmMul_mva)); });
}

template <class T> void addRows(Rows& rows)
{
    const std::initializer_list<int> one = {1000};
    arrayByArray<T, 3>(rows);
    arrayByArray<T, 4>(rows);
    arrayByArray<T, 5>(rows, one);
    arrayByArray<T, 6>(rows);
    arrayByArray<T, 8>(rows, one);
    arrayByArray<T, 16>(rows, one);
    arrayByOne<T, 3>(rows);
    arrayByOne<T, 4>(rows);
    arrayByOne<T, 6>(rows);
    transposed<T, 4>(rows);
    byVectors<T, 3>(rows);
    byVectors<T, 4>(rows);
    byVectors<T, 5>(rows, one);
    byVectors<T, 6>(rows, one);
    rows.add(named<T, 4>("gaxpy_mva"), {1000},
             [](Row& row) { vectorProducts<T, 4, true, true>(row, MEMBER(T, tarnmGaxpy_mva)); });
    rows.add(named<T, 3>("mul_mama_P"), {1000, 100000},
             [](Row& row) { planeProducts<T, 3, 3>(row, LAYOUT_MEMBER(T, tarnmMul_mama, P)); });
    rows.add(named<T, 3>("mul_mava_P"), {1000, 100000},
             [](Row& row) { planeProducts<T, 3, 1>(row, LAYOUT_MEMBER(T, tarnmMul_mava, P)); });
}

void oneProduct(Row& row)
{
    constexpr int n = 3, e = 4, r = n * e;
    const float* const a = row.source<float>(n * n);
    const float* const b = row.source<float>(n * n);
    float* const d = row.result<float>(n * n);
    row.flops(2.0 * n * n * n);
    row.ours(MEMBER(float, tarnmMul_mm), [=](auto f, int) { return f(a, r, e, n, n, b, r, e, n, n, d, r, e); });
    row.peer("plain", [=](int, int) { plainProduct<float, n, false, false>(a, b, d); });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen objects", [=](int, int) {
        using Object = EigenMatrix<float, n>;
        eigenProduct<float, n, false, false>(Source<Object>(a), Source<Object>(b), d);
    });
#endif
}

} // namespace

void productRows(Rows& rows)
{
    addRows<float>(rows);
    addRows<double>(rows);
    rows.add("mul_mm/3/32f", {1}, oneProduct);
}

} // namespace bench
