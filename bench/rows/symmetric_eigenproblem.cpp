// Eigenvalues and eigenvectors of packed symmetric matrices.
//
//   eigen_sym_values     values alone
//   eigen_sym_vectors    values and vectors
//
// A call ends at the first object that does not converge or counts as singular, and with the absolute tolerances that the
// member has by definition the values of one object in some thousand are far off in single precision: such objects are
// drawn again. Order of values and signs of vectors are each library's own: what is compared is the sorted
// values, and the matrices that values and vectors make up.
#include <algorithm>
#include <cmath>
#include <random>
#include <string>

#include "peers/eigen_eigenproblems.h"
#include "rows/lapack.h"
#include "rows/rows.h"
#include "rows/square.h"

namespace bench {
namespace {

// Whether the values have the sum and the sum of squares that the matrix has.
template <class S> bool fits(const typename S::T* a, const typename S::T* w)
{
    double sum = 0, size = 0;
    for (int i = 0; i < S::size; ++i) {
        if (i % (S::order + 1) == 0) sum += a[i];
        size += double(a[i]) * a[i];
    }
    double squares = size;
    for (int k = 0; k < S::order; ++k) {
        sum -= w[k];
        squares -= double(w[k]) * w[k];
    }
    const double tolerance = std::is_same_v<typename S::T, float> ? 1e-5 : 1e-12;
    return std::abs(sum) <= tolerance * std::sqrt(size) && std::abs(squares) <= tolerance * size;
}

// Symmetric matrices with elements in [-1, 1].
template <class S, class Accepts> const typename S::T* drawn(Row& row, Accepts accepts)
{
    using T = typename S::T;
    std::mt19937 generator(1);
    std::uniform_real_distribution<T> uniform(-1, 1);
    T* const all = const_cast<T*>(row.source<T>(S::size));
    for (int n = 0; n < row.count; ++n) {
        T* const a = all + std::size_t(n) * S::size;
        int draws = 0;
        do
            for (int r = 0; r < S::order; ++r)
                for (int c = 0; c <= r; ++c)
                    a[r * S::order + c] = a[c * S::order + r] = uniform(generator);
        while (!accepts(a) && ++draws < 100); // a member that refuses everything shows when results are compared
    }
    row.tolerance(std::is_same_v<T, float> ? 1e-3 : 1e-12);
    return all;
}

// The operands of a row: `v` is null where only values are wanted.
template <class S> struct Operands {
    using T = typename S::T;

    Operands(Row& row, const T* a, bool hasVectors)
        : a(a)
        , w(row.result<T>(S::order))
        , v(hasVectors ? row.result<T>(S::size) : nullptr)
        , compared(row.comparable<T>(hasVectors ? S::size : S::order))
        , count(row.count)
    {}

    // Vectors are columns, or rows for LAPACK.
    void makeComparable(bool vectorsAreRows) const
    {
        for (int n = 0; n < count; ++n)
            if (v != nullptr)
                compose(w + n * S::order, v + n * S::size, vectorsAreRows, compared + n * S::size);
            else
                std::partial_sort_copy(w + n * S::order, w + (n + 1) * S::order, compared + n * S::order,
                                       compared + (n + 1) * S::order);
    }

    static void compose(const T* values, const T* vectors, bool vectorsAreRows, T* matrix)
    {
        const int toComponent = vectorsAreRows ? 1 : S::order, toVector = vectorsAreRows ? S::order : 1;
        for (int r = 0; r < S::order; ++r)
            for (int c = 0; c < S::order; ++c) {
                T sum = 0;
                for (int k = 0; k < S::order; ++k)
                    sum +=
                        values[k] * vectors[r * toComponent + k * toVector] * vectors[c * toComponent + k * toVector];
                matrix[r * S::order + c] = sum;
            }
    }

    const T* a;
    T *w, *v, *compared;
    int count;
};

// Whether values and vectors are those of the matrix: few in ten thousand are not.
template <class S> bool fits(const typename S::T* a, const typename S::T* w, const typename S::T* v)
{
    typename S::T composed[S::size];
    Operands<S>::compose(w, v, false, composed);
    const double tolerance = std::is_same_v<typename S::T, float> ? 1e-5 : 1e-13;
    return fits<S>(a, w) && std::equal(a, a + S::size, composed,
                                       [&](double x, double y) { return std::abs(x - y) <= tolerance * S::order; });
}

#ifdef BENCH_HAS_EIGEN
template <class S> void eigenPeers(Row& row, const Operands<S>& o)
{
    using T = typename S::T;
    const auto convert = [=] { o.makeComparable(false); };
    row.peer(
        "Eigen", [=](int first, int last) { eigenSymmetric<T, S::order>(o.a, o.w, o.v, first, last); }, convert);
    if constexpr (S::order <= 3)
        row.peer(
            "Eigen direct", [=](int first, int last) { eigenSymmetricDirect<T, S::order>(o.a, o.w, o.v, first, last); },
            convert);
}
#endif

#ifdef BENCH_HAS_LAPACKE
template <class S> void lapackPeer(Row& row, const Operands<S>& o)
{
    using T = typename S::T;
    row.peer(
        "LAPACK",
        [=](int first, int last) {
            constexpr int length = 64 * S::order;
            T copy[S::size], work[length];
            for (int n = first; n < last; ++n) {
                T* const vectors = o.v != nullptr ? o.v + n * S::size : copy;
                std::copy_n(o.a + n * S::size, S::size, vectors);
                syev(o.v != nullptr ? 'V' : 'N', S::order, vectors, o.w + n * S::order, work, length);
            }
        },
        [=] { o.makeComparable(true); });
}
#endif

template <class S> void peers([[maybe_unused]] Row& row, [[maybe_unused]] const Operands<S>& o)
{
#ifdef BENCH_HAS_EIGEN
    eigenPeers<S>(row, o);
#endif
#ifdef BENCH_HAS_LAPACKE
    lapackPeer<S>(row, o);
#endif
}

template <class S> void values(Row& row)
{
    using T = typename S::T;
    const auto member = MEMBER(T, tarnmEigenValuesSym_ma);
    const T* const a = drawn<S>(row, [f = row.chooser(member)](const T* object) {
        T scratch[S::size], w[S::order];
        return f(object, S::object, S::row, S::element, scratch, w, S::order, 1) == StatusOk && fits<S>(object, w);
    });
    const Operands<S> o(row, a, false);
    row.ours(
        member,
        [=](auto f, int count) {
            T scratch[S::size];
            return f(o.a, S::object, S::row, S::element, scratch, o.w, S::order, count);
        },
        [=] { o.makeComparable(false); });
    peers<S>(row, o);
}

template <class S> void vectors(Row& row)
{
    using T = typename S::T;
    const auto member = MEMBER(T, tarnmEigenValuesVectorsSym_ma);
    const T* const a = drawn<S>(row, [f = row.chooser(member)](const T* object) {
        T scratch[S::size], v[S::size], w[S::order];
        return f(object, S::object, S::row, S::element, scratch, v, S::object, S::row, S::element, w, S::order, 1) ==
                   StatusOk &&
               fits<S>(object, w, v);
    });
    const Operands<S> o(row, a, true);
    row.ours(
        member,
        [=](auto f, int count) {
            T scratch[S::size];
            return f(o.a, S::object, S::row, S::element, scratch, o.v, S::object, S::row, S::element, o.w, S::order,
                     count);
        },
        [=] { o.makeComparable(false); });
    peers<S>(row, o);
}

template <class T, int order> void rowsOfOrder(Rows& rows)
{
    using S = Square<T, order>;
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
