// Eigenvalues and eigenvectors of packed symmetric matrices.
//
//   eigen_sym_values     values alone
//   eigen_sym_vectors    values and vectors
//
// A call ends at the first object that does not converge or counts as singular, so objects are drawn again until the
// member takes each of them. Order of values and signs of vectors are each library's own: results are not compared here.
#include <algorithm>
#include <limits>
#include <random>
#include <string>

#include "rows/rows.h"

#ifdef BENCH_HAS_EIGEN
#include <Eigen/Eigenvalues>
#endif
#ifdef BENCH_HAS_LAPACKE
#include <lapacke.h>
#endif

namespace bench {
namespace {

template <class Element, int matrixOrder> struct Symmetric {
    using T = Element;
    static constexpr int order = matrixOrder, size = order * order, element = sizeof(T), row = order * element,
                         object = size * element;
    static std::string name() { return std::to_string(order) + "/" + typeName<T>(); }
};

// Symmetric matrices with elements in [-1, 1].
template <class S, class Accepts> const typename S::T* drawn(Row& row, Accepts accepts)
{
    using T = typename S::T;
    std::mt19937 generator(1);
    std::uniform_real_distribution<T> uniform(-1, 1);
    T* const all = const_cast<T*>(row.source<T>(S::size));
    for (int n = 0; n < row.count; ++n) {
        T* const a = all + std::size_t(n) * S::size;
        do
            for (int r = 0; r < S::order; ++r)
                for (int c = 0; c <= r; ++c)
                    a[r * S::order + c] = a[c * S::order + r] = uniform(generator);
        while (!accepts(a));
    }
    row.tolerance(std::numeric_limits<double>::infinity());
    return all;
}

#ifdef BENCH_HAS_EIGEN
template <class S> void eigenPeers(Row& row, const typename S::T* a, typename S::T* w, typename S::T* v)
{
    using Object = Eigen::Matrix<typename S::T, S::order, S::order, Eigen::RowMajor>;
    using Values = Eigen::Matrix<typename S::T, S::order, 1>;
    const int options = v != nullptr ? Eigen::ComputeEigenvectors : Eigen::EigenvaluesOnly;
    const auto store = [=](const auto& solver, int n) {
        Eigen::Map<Values>(w + n * S::order) = solver.eigenvalues();
        if (v != nullptr) Eigen::Map<Object>(v + n * S::size) = solver.eigenvectors();
    };
    row.peer("Eigen", [=](int first, int last) {
        Eigen::SelfAdjointEigenSolver<Object> solver;
        for (int n = first; n < last; ++n)
            store(solver.compute(Eigen::Map<const Object>(a + n * S::size), options), n);
    });
    if constexpr (S::order <= 3)
        row.peer("Eigen direct", [=](int first, int last) {
            Eigen::SelfAdjointEigenSolver<Object> solver;
            for (int n = first; n < last; ++n)
                store(solver.computeDirect(Eigen::Map<const Object>(a + n * S::size), options), n);
        });
}
#endif

#ifdef BENCH_HAS_LAPACKE
void syev(char job, int n, float* a, float* w, float* work, int length)
{
    LAPACKE_ssyev_work(LAPACK_COL_MAJOR, job, 'L', n, a, n, w, work, length);
}
void syev(char job, int n, double* a, double* w, double* work, int length)
{
    LAPACKE_dsyev_work(LAPACK_COL_MAJOR, job, 'L', n, a, n, w, work, length);
}

template <class S> void lapackPeer(Row& row, const typename S::T* a, typename S::T* w, typename S::T* v)
{
    using T = typename S::T;
    row.peer("LAPACK", [=](int first, int last) {
        constexpr int length = 64 * S::order;
        T copy[S::size], work[length];
        for (int n = first; n < last; ++n) {
            T* const vectors = v != nullptr ? v + n * S::size : copy;
            std::copy_n(a + n * S::size, S::size, vectors);
            syev(v != nullptr ? 'V' : 'N', S::order, vectors, w + n * S::order, work, length);
        }
    });
}
#endif

template <class S>
void peers([[maybe_unused]] Row& row, [[maybe_unused]] const typename S::T* a, [[maybe_unused]] typename S::T* w,
           [[maybe_unused]] typename S::T* v)
{
#ifdef BENCH_HAS_EIGEN
    eigenPeers<S>(row, a, w, v);
#endif
#ifdef BENCH_HAS_LAPACKE
    lapackPeer<S>(row, a, w, v);
#endif
}

template <class S> void values(Row& row)
{
    using T = typename S::T;
    const auto member = MEMBER(T, tarnmEigenValuesSym_ma);
    const T* const a = drawn<S>(row, [f = row.chooser(member)](const T* object) {
        T scratch[S::size], w[S::order];
        return f(object, S::object, S::row, S::element, scratch, w, S::order, 1) == StatusOk;
    });
    T* const w = row.result<T>(S::order);
    row.ours(member, [=](auto f, int count) {
        T scratch[S::size];
        return f(a, S::object, S::row, S::element, scratch, w, S::order, count);
    });
    peers<S>(row, a, w, nullptr);
}

template <class S> void vectors(Row& row)
{
    using T = typename S::T;
    const auto member = MEMBER(T, tarnmEigenValuesVectorsSym_ma);
    const T* const a = drawn<S>(row, [f = row.chooser(member)](const T* object) {
        T scratch[S::size], v[S::size], w[S::order];
        return f(object, S::object, S::row, S::element, scratch, v, S::object, S::row, S::element, w, S::order, 1) ==
               StatusOk;
    });
    T* const w = row.result<T>(S::order);
    T* const v = row.result<T>(S::size);
    row.ours(member, [=](auto f, int count) {
        T scratch[S::size];
        return f(a, S::object, S::row, S::element, scratch, v, S::object, S::row, S::element, w, S::order, count);
    });
    peers<S>(row, a, w, v);
}

template <class T, int order> void rowsOfOrder(Rows& rows)
{
    using S = Symmetric<T, order>;
    rows.add("eigen_sym_values/" + S::name(), values<S>);
    rows.add("eigen_sym_vectors/" + S::name(), vectors<S>);
}

template <class T> void rowsOfType(Rows& rows)
{
    rowsOfOrder<T, 2>(rows);
    rowsOfOrder<T, 3>(rows);
    rowsOfOrder<T, 4>(rows);
    rowsOfOrder<T, 6>(rows);
    rowsOfOrder<T, 8>(rows);
}

} // namespace

void symmetricEigenproblemRows(Rows& rows)
{
    rowsOfType<float>(rows);
    rowsOfType<double>(rows);
}

} // namespace bench
