// Cholesky factors of packed matrices, and solutions with them.
//
//   cholesky_factor    the factor alone; libraries store its diagonal, `plain` and ours the reciprocals
//   cholesky_solve     one right-hand side for each factor
//   cholesky_many      one factor, many right-hand sides
#include <algorithm>
#include <cmath>
#include <string>
#include <type_traits>

#include "rows/lapack.h"
#include "rows/rows.h"
#include "rows/square.h"

#ifdef BENCH_HAS_EIGEN
#include <Eigen/Cholesky>
#endif

namespace bench {
namespace {

// Diagonally dominant.
template <class S> const typename S::T* definite(const typename S::T* drawn, int count)
{
    auto* all = const_cast<typename S::T*>(drawn);
    for (int n = 0; n < count; ++n)
        for (int r = 0; r < S::order; ++r)
            for (int c = 0; c <= r; ++c) {
                auto* const a = all + std::size_t(n) * S::size;
                const auto value = a[r * S::order + c];
                a[r * S::order + c] = a[c * S::order + r] = r == c ? std::abs(value) + 2 * S::order : value;
            }
    return drawn;
}

// ---- a loop of fixed size

template <class S> void plainFactor(const typename S::T* a, typename S::T* l)
{
    for (int i = 0; i < S::order; ++i)
        for (int j = 0; j <= i; ++j) {
            auto s = a[i * S::order + j];
            for (int k = 0; k < j; ++k)
                s -= l[i * S::order + k] * l[j * S::order + k];
            l[i * S::order + j] = i == j ? 1 / std::sqrt(s) : s * l[j * S::order + j];
        }
}

template <class S> void plainSolve(const typename S::T* l, const typename S::T* b, typename S::T* x)
{
    for (int i = 0; i < S::order; ++i) {
        auto s = b[i];
        for (int k = 0; k < i; ++k)
            s -= l[i * S::order + k] * x[k];
        x[i] = s * l[i * S::order + i];
    }
    for (int i = S::order - 1; i >= 0; --i) {
        auto s = x[i];
        for (int k = i + 1; k < S::order; ++k)
            s -= l[k * S::order + i] * x[k];
        x[i] = s * l[i * S::order + i];
    }
}

// ---- peers

#ifdef BENCH_HAS_EIGEN
template <class S> using EigenMatrix = Eigen::Matrix<typename S::T, S::order, S::order, Eigen::RowMajor>;
template <class S> using EigenVector = Eigen::Matrix<typename S::T, S::order, 1>;

template <class S> auto matrixAt(const typename S::T* p) { return Eigen::Map<const EigenMatrix<S>>(p); }
template <class S> auto vectorAt(const typename S::T* p) { return Eigen::Map<const EigenVector<S>>(p); }
template <class S> auto matrixAt(typename S::T* p) { return Eigen::Map<EigenMatrix<S>>(p); }
template <class S> auto vectorAt(typename S::T* p) { return Eigen::Map<EigenVector<S>>(p); }

template <class S> void eigenSolve(const typename S::T* l, const typename S::T* b, typename S::T* x)
{
    const auto factor = matrixAt<S>(l).template triangularView<Eigen::Lower>();
    vectorAt<S>(x) = factor.adjoint().solve(factor.solve(vectorAt<S>(b)));
}
#endif

// ---- rows

// Takes the lower triangles from storages that have reciprocals on the diagonal or not.
template <class S>
void lowerTriangles(const typename S::T* stored, bool hasReciprocals, typename S::T* lower, int count)
{
    for (std::size_t n = 0; n < std::size_t(count) * S::size; n += S::size)
        for (int r = 0; r < S::order; ++r)
            for (int c = 0; c < S::order; ++c) {
                const auto value = stored[n + r * S::order + c];
                lower[n + r * S::order + c] = c > r ? 0 : c == r && hasReciprocals ? 1 / value : value;
            }
}

template <class S> void factor(Row& row)
{
    using T = typename S::T;
    const T* const a = definite<S>(row.source<T>(S::size), row.count);
    T* const l = row.result<T>(S::size);
    T* const lower = row.comparable<T>(S::size);
    const auto reciprocal = [=, count = row.count] { lowerTriangles<S>(l, true, lower, count); };
    [[maybe_unused]] const auto direct = [=, count = row.count] { lowerTriangles<S>(l, false, lower, count); };
    row.tolerance(std::is_same_v<T, float> ? 1e-4 : 1e-12);
    row.flops(S::order * S::size / 3.0);
    row.ours(
        MEMBER(T, tarnmCholeskyDecomp_ma),
        [=](auto f, int count) {
            return f(a, S::object, S::row, S::element, l, S::object, S::row, S::element, S::order, count);
        },
        reciprocal);
    row.peer(
        "plain",
        [=](int first, int last) {
            for (int n = first; n < last; ++n)
                plainFactor<S>(a + n * S::size, l + n * S::size);
        },
        reciprocal);
#ifdef BENCH_HAS_EIGEN
    row.peer(
        "Eigen",
        [=](int first, int last) {
            for (int n = first; n < last; ++n) {
                const Eigen::LLT<EigenMatrix<S>> llt(matrixAt<S>(a + n * S::size));
                matrixAt<S>(l + n * S::size) = llt.matrixLLT();
            }
        },
        direct);
#endif
#ifdef BENCH_HAS_LAPACKE
    row.peer(
        "LAPACK",
        [=](int first, int last) { // a lower triangle row by row is an upper triangle column by column
            std::copy(a + first * S::size, a + last * S::size, l + first * S::size);
            for (int n = first; n < last; ++n)
                potrf(S::order, l + n * S::size);
        },
        direct);
#endif
}

// Factors for the solvers: with reciprocals on the diagonal for `plain` and ours, without for the others.
template <class S> struct Factors {
    using T = typename S::T;

    Factors(Row& row, bool isShared)
        : reciprocal(isShared ? row.one<T>(S::size) : row.source<T>(S::size))
        , direct(isShared ? row.one<T>(S::size) : row.source<T>(S::size))
    {
        const int count = isShared ? 1 : row.count;
        definite<S>(reciprocal, count);
        for (int n = 0; n < count; ++n) {
            T* const l = const_cast<T*>(reciprocal) + std::size_t(n) * S::size;
            T* const m = const_cast<T*>(direct) + std::size_t(n) * S::size;
            T factor[S::size] = {};
            plainFactor<S>(l, factor);
            std::copy_n(factor, S::size, l);
            std::copy_n(factor, S::size, m);
            for (int i = 0; i < S::order; ++i)
                m[i * (S::order + 1)] = 1 / factor[i * (S::order + 1)];
        }
    }

    const T* reciprocal;
    const T* direct;
};

template <class S> void solve(Row& row)
{
    using T = typename S::T;
    constexpr int n = S::order;
    const Factors<S> factors(row, false);
    const T* const b = row.source<T>(n);
    T* const x = row.result<T>(n);
    row.bytesRead -= double(S::object) * row.count; // everyone reads one of the two factors
    row.flops(2 * S::size);
    row.tolerance(1e-4);
    row.ours(MEMBER(T, tarnmCholeskyBackSubst_mava), [=](auto f, int count) {
        return f(factors.reciprocal, S::object, S::row, S::element, b, S::row, S::element, x, S::row, S::element, n,
                 count);
    });
    row.peer("plain", [=](int first, int last) {
        for (int o = first; o < last; ++o)
            plainSolve<S>(factors.reciprocal + o * S::size, b + o * n, x + o * n);
    });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen", [=](int first, int last) {
        for (int o = first; o < last; ++o)
            eigenSolve<S>(factors.direct + o * S::size, b + o * n, x + o * n);
    });
#endif
#ifdef BENCH_HAS_LAPACKE
    row.peer("LAPACK", [=](int first, int last) {
        std::copy(b + first * n, b + last * n, x + first * n);
        for (int o = first; o < last; ++o)
            potrs(n, 1, factors.direct + o * S::size, x + o * n);
    });
#endif
}

template <class S> void many(Row& row)
{
    using T = typename S::T;
    constexpr int n = S::order;
    const Factors<S> factors(row, true);
    const T* const b = row.source<T>(n);
    T* const x = row.result<T>(n);
    row.flops(2 * S::size);
    row.tolerance(1e-4);
    row.ours(MEMBER(T, tarnmCholeskyBackSubst_mva), [=](auto f, int count) {
        return f(factors.reciprocal, S::row, S::element, b, S::row, S::element, x, S::row, S::element, n, count);
    });
    row.peer("plain", [=](int first, int last) {
        for (int o = first; o < last; ++o)
            plainSolve<S>(factors.reciprocal, b + o * n, x + o * n);
    });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen", [=](int first, int last) {
        for (int o = first; o < last; ++o)
            eigenSolve<S>(factors.direct, b + o * n, x + o * n);
    });
#endif
#ifdef BENCH_HAS_LAPACKE
    row.peer("LAPACK", [=](int first, int last) {
        std::copy(b + first * n, b + last * n, x + first * n);
        potrs(n, last - first, factors.direct, x + first * n);
    });
#endif
}

template <class S> void rowsOf(Rows& rows)
{
    rows.add("cholesky_factor/" + S::name(), factor<S>);
    rows.add("cholesky_solve/" + S::name(), solve<S>);
}

template <class T> void rowsOfType(Rows& rows)
{
    rowsOf<Square<T, 3>>(rows);
    rowsOf<Square<T, 4>>(rows);
    rowsOf<Square<T, 5>>(rows);
    rowsOf<Square<T, 6>>(rows);
    rowsOf<Square<T, 8>>(rows);
    rowsOf<Square<T, 16>>(rows);
    rows.add("cholesky_many/" + Square<T, 4>::name(), many<Square<T, 4>>);
    rows.add("cholesky_many/" + Square<T, 6>::name(), many<Square<T, 6>>);
}

} // namespace

void choleskyRows(Rows& rows)
{
    rowsOfType<float>(rows);
    rowsOfType<double>(rows);
}

} // namespace bench
