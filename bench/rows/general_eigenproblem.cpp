// Eigenvalues and eigenvectors of packed general matrices.
//
//   eigen_values     values alone
//   eigen_right      values and one set of vectors
//   eigen_both       values and both sets
//
// The order of the values and the phases of the vectors are each library's own. What is compared is the sums of the powers
// of the values; vectors are not.
#include <algorithm>
#include <cmath>
#include <complex>
#include <string>

#include "peers/eigen_eigenproblems.h"
#include "rows/lapack.h"
#include "rows/rows.h"
#include "rows/square.h"

namespace bench {
namespace {

template <class S> constexpr int scratchElements = S::order*(3 * S::order + 5);

template <class S> struct Operands {
    using T = typename S::T;

    explicit Operands(Row& row)
        : a(row.source<T>(S::size))
        , re(row.result<T>(S::order))
        , im(row.result<T>(S::order))
        , sums(row.comparable<T>(S::order))
        , count(row.count)
    {
        row.tolerance(std::is_same_v<T, float> ? 1e-4 : 1e-12);
    }

    // The sums of the powers 1 to order of the values: whatever their order, and as well conditioned as the matrix where
    // values lie close together. The matrices are scaled to values around 1.
    void sumPowers() const
    {
        const double scale = 0.75 / std::sqrt(S::order);
        for (int n = 0; n < count; ++n) {
            double sum[S::order] = {};
            for (int k = 0; k < S::order; ++k) {
                const std::complex<double> value(re[n * S::order + k] * scale, im[n * S::order + k] * scale);
                std::complex<double> power = 1;
                for (double& s : sum)
                    s += (power *= value).real();
            }
            std::copy_n(sum, S::order, sums + n * S::order);
        }
    }

    const T* a;
    T *re, *im, *sums;
    int count;
};

#ifdef BENCH_HAS_EIGEN
template <class S> void eigenPeer(Row& row, const Operands<S>& o, typename S::T* vectors)
{
    row.peer(
        "Eigen",
        [=](int first, int last) { eigenGeneral<typename S::T, S::order>(o.a, o.re, o.im, vectors, first, last); },
        [=] { o.sumPowers(); });
}
#endif

#ifdef BENCH_HAS_LAPACKE
template <class S> void lapackPeer(Row& row, const Operands<S>& o, typename S::T* right, typename S::T* left)
{
    using T = typename S::T;
    row.peer(
        "LAPACK",
        [=](int first, int last) {
            constexpr int length = 64 * S::order;
            T copy[S::size], work[length];
            for (int n = first; n < last; ++n) {
                std::copy_n(o.a + n * S::size, S::size, copy);
                geev(left ? 'V' : 'N', right ? 'V' : 'N', S::order, copy, o.re + n * S::order, o.im + n * S::order,
                     left + (left ? n * S::size : 0), right + (right ? n * S::size : 0), work, length);
            }
        },
        [=] { o.sumPowers(); });
}
#endif

template <class S>
void peers([[maybe_unused]] Row& row, [[maybe_unused]] const Operands<S>& o, [[maybe_unused]] typename S::T* right,
           [[maybe_unused]] typename S::T* left)
{
#ifdef BENCH_HAS_EIGEN
    if (left == nullptr) eigenPeer<S>(row, o, right);
#endif
#ifdef BENCH_HAS_LAPACKE
    lapackPeer<S>(row, o, right, left);
#endif
}

template <class S> void values(Row& row)
{
    using T = typename S::T;
    const Operands<S> o(row);
    row.ours(
        MEMBER(T, tarnmEigenValues_ma),
        [=](auto f, int count) {
            T scratch[scratchElements<S>];
            return f(o.a, S::object, S::row, S::element, o.re, o.im, S::order, count, scratch);
        },
        [=] { o.sumPowers(); });
    peers<S>(row, o, nullptr, nullptr);
}

template <class S> void rightVectors(Row& row)
{
    using T = typename S::T;
    const Operands<S> o(row);
    T* const v = row.result<T>(S::size);
    row.ours(
        MEMBER(T, tarnmEigenValuesVectorsRight_ma),
        [=](auto f, int count) {
            T scratch[scratchElements<S>];
            return f(o.a, S::object, S::row, S::element, v, S::object, S::row, S::element, o.re, o.im, S::order, count,
                     scratch);
        },
        [=] { o.sumPowers(); });
    peers<S>(row, o, v, nullptr);
}

template <class S> void bothVectors(Row& row)
{
    using T = typename S::T;
    const Operands<S> o(row);
    T* const right = row.result<T>(S::size);
    T* const left = row.result<T>(S::size);
    row.ours(
        MEMBER(T, tarnmEigenValuesVectors_ma),
        [=](auto f, int count) {
            T scratch[scratchElements<S>];
            return f(o.a, S::object, S::row, S::element, right, S::object, S::row, S::element, left, S::object, S::row,
                     S::element, o.re, o.im, S::order, count, scratch);
        },
        [=] { o.sumPowers(); });
    peers<S>(row, o, right, left);
}

// Objects take microseconds: at most 10000 of them, with one thread and with two.
void addRow(Rows& rows, const std::string& name, const Rows::Prepare& prepare)
{
    rows.add(name, {1, 1000, 10000}, prepare);
    rows.add(name + "/10000/2t", 10000, 2, prepare);
}

template <class T, int order> void valueRows(Rows& rows)
{
    using S = Square<T, order>;
    addRow(rows, "eigen_values/" + S::name(), values<S>);
}

template <class T, int order> void rightRows(Rows& rows)
{
    using S = Square<T, order>;
    addRow(rows, "eigen_right/" + S::name(), rightVectors<S>);
}

template <class T> void rowsOfType(Rows& rows)
{
    valueRows<T, 3>(rows);
    valueRows<T, 4>(rows);
    valueRows<T, 6>(rows);
    valueRows<T, 8>(rows);
    rightRows<T, 3>(rows);
    rightRows<T, 4>(rows);
    rightRows<T, 6>(rows);
    addRow(rows, "eigen_both/" + Square<T, 4>::name(), bothVectors<Square<T, 4>>);
}

} // namespace

void generalEigenproblemRows(Rows& rows)
{
    rowsOfType<float>(rows);
    rowsOfType<double>(rows);
}

} // namespace bench
