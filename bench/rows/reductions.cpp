// Traces and Frobenius norms of packed matrices.
#include <algorithm>
#include <cmath>
#include <string>

#include "rows/blas.h"
#include "rows/rows.h"
#include "rows/square.h"

#ifdef BENCH_HAS_EIGEN
#include <Eigen/Core>
#endif

namespace bench {
namespace {

// All of one sign: a sum that cancels would differ by more than a few roundings between orders of addition.
template <class S> const typename S::T* positive(Row& row)
{
    auto* const a = const_cast<typename S::T*>(row.source<typename S::T>(S::size));
    std::transform(a, a + std::size_t(S::size) * row.count, a, [](auto x) { return std::abs(x); });
    return a;
}

#ifdef BENCH_HAS_EIGEN
template <class S> auto matrixAt(const typename S::T* p)
{
    return Eigen::Map<const Eigen::Matrix<typename S::T, S::order, S::order>>(p);
}
// Matrices first to last, an array's column each, and their scalars.
template <class S> auto matricesAt(const typename S::T* p, int first, int last)
{
    using Columns = Eigen::Array<typename S::T, S::size, Eigen::Dynamic>;
    return Eigen::Map<const Columns>(p + std::ptrdiff_t(first) * S::size, S::size, last - first);
}
template <class T> auto scalarsAt(T* p, int first, int last)
{
    return Eigen::Map<Eigen::Array<T, 1, Eigen::Dynamic>>(p + first, last - first);
}
#endif

template <class S> void traces(Row& row)
{
    using T = typename S::T;
    constexpr int n = S::order;
    const T* const a = positive<S>(row);
    T* const d = row.result<T>(1);
    row.flops(n - 1);
    row.ours(MEMBER(T, tarnmTrace_ma),
             [=](auto f, int count) { return f(a, S::object, S::row, S::element, n, d, count); });
    row.peer("plain", [=](int first, int last) {
        for (int o = first; o < last; ++o) {
            T sum = 0;
            for (int k = 0; k < n; ++k)
                sum += a[o * S::size + k * (n + 1)];
            d[o] = sum;
        }
    });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen objects", [=](int first, int last) {
        for (int o = first; o < last; ++o)
            d[o] = matrixAt<S>(a + o * S::size).trace();
    });
#endif
}

template <class S> void norms(Row& row)
{
    using T = typename S::T;
    const T* const a = row.source<T>(S::size);
    T* const d = row.result<T>(1);
    row.flops(2 * S::size);
    row.ours(MEMBER(T, tarnmFrobNorm_ma),
             [=](auto f, int count) { return f(a, S::object, S::row, S::element, S::order, S::order, d, count); });
    row.peer("plain", [=](int first, int last) {
        for (int o = first; o < last; ++o) {
            T sum = 0;
            for (int k = 0; k < S::size; ++k)
                sum += a[o * S::size + k] * a[o * S::size + k];
            d[o] = std::sqrt(sum);
        }
    });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen objects", [=](int first, int last) {
        for (int o = first; o < last; ++o)
            d[o] = matrixAt<S>(a + o * S::size).norm();
    });
    row.peer("Eigen array", [=](int first, int last) {
        scalarsAt(d, first, last) = matricesAt<S>(a, first, last).square().colwise().sum().sqrt();
    });
#endif
#ifdef BENCH_HAS_OPENBLAS
    row.peer("OpenBLAS", [=](int first, int last) {
        for (int o = first; o < last; ++o)
            d[o] = blasNorm(S::size, a + o * S::size);
    });
#endif
}

template <class T, int n> void rowsOfOrder(Rows& rows)
{
    using S = Square<T, n>;
    rows.add("trace_ma/" + S::name(), {1000, 100000}, traces<S>);
    rows.add("frobnorm_ma/" + S::name(), {1000, 100000}, norms<S>);
}

template <class T> void rowsOfType(Rows& rows)
{
    rowsOfOrder<T, 3>(rows);
    rowsOfOrder<T, 4>(rows);
    rowsOfOrder<T, 6>(rows);
}

} // namespace

void reductionRows(Rows& rows)
{
    rowsOfType<float>(rows);
    rowsOfType<double>(rows);
}

} // namespace bench
