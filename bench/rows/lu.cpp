// LU decompositions and solutions of packed linear systems.
//
//   lu_decompose        factors alone; every contender has a storage of its own, compared by what it gives as a solution
//   lu_decompose_solve  a system of its own for each vector, from the matrix to the solution
//   lu_solve            the same with the factors at hand
//   lu_solve_many       one factor, many vectors
//
// The matrices dominate in one element of each row, in any order of the rows: pivots are as hard to predict as those of
// random matrices, and results agree to a few roundings.
#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "rows/lapack.h"
#include "rows/rows.h"
#include "rows/square.h"

#ifdef BENCH_HAS_EIGEN
#include <Eigen/LU>
#endif

namespace bench {
namespace {

// `count` matrices, or one for all.
template <class S> const typename S::T* matrices(Row& row, int count)
{
    using T = typename S::T;
    T* const a = const_cast<T*>(count == 1 ? row.one<T>(S::size) : row.source<T>(S::size));
    std::mt19937 generator(7);
    int place[S::order];
    for (int r = 0; r < S::order; ++r)
        place[r] = r;
    for (int o = 0; o < count; ++o) {
        std::shuffle(place, place + S::order, generator);
        for (int r = 0; r < S::order; ++r)
            a[o * S::size + r * S::order + place[r]] *= T(2 * S::order);
    }
    return a;
}

// What our decomposition leaves for the solver.
template <class S> struct Factors {
    std::vector<typename S::T> lu;
    std::vector<std::int32_t> index;

    explicit Factors(int count)
        : lu(std::size_t(S::size) * count)
        , index(std::size_t(S::order) * count)
    {}

    tarnmStatus decompose(auto member, const typename S::T* a, int count)
    {
        return member(a, S::object, S::row, S::element, index.data(), lu.data(), S::object, S::row, S::element,
                      S::order, count);
    }
};

// ---- a plain loop of fixed size

template <class S> struct Plain {
    using T = typename S::T;
    static constexpr int n = S::order;

    T lu[n][n];
    int rows[n];

    void decompose(const T* a)
    {
        std::copy_n(a, n * n, lu[0]);
        for (int i = 0; i < n; ++i)
            rows[i] = i;
        for (int k = 0; k < n; ++k) {
            int best = k;
            for (int p = k + 1; p < n; ++p)
                if (std::abs(lu[p][k]) > std::abs(lu[best][k])) best = p;
            if (best != k) {
                std::swap(rows[k], rows[best]);
                for (int c = 0; c < n; ++c)
                    std::swap(lu[k][c], lu[best][c]);
            }
            const T reciprocal = 1 / lu[k][k];
            for (int p = k + 1; p < n; ++p) {
                lu[p][k] *= reciprocal;
                for (int c = k + 1; c < n; ++c)
                    lu[p][c] -= lu[p][k] * lu[k][c];
            }
        }
    }

    void solve(const T* b, T* x) const
    {
        T y[n];
        for (int i = 0; i < n; ++i) {
            y[i] = b[rows[i]];
            for (int k = 0; k < i; ++k)
                y[i] -= lu[i][k] * y[k];
        }
        for (int i = n - 1; i >= 0; --i) {
            for (int k = i + 1; k < n; ++k)
                y[i] -= lu[i][k] * y[k];
            y[i] /= lu[i][i];
        }
        std::copy_n(y, n, x);
    }
};

// ---- Eigen

#ifdef BENCH_HAS_EIGEN
template <class S> struct WithEigen {
    using T = typename S::T;
    using Object = Eigen::Matrix<T, S::order, S::order, Eigen::RowMajor>;
    using Vector = Eigen::Matrix<T, S::order, 1>;
    using Vectors = Eigen::Matrix<T, S::order, Eigen::Dynamic>;

    Eigen::PartialPivLU<Object> lu;

    void decompose(const T* a) { lu.compute(Eigen::Map<const Object>(a)); }
    void solve(const T* b, T* x) const { Eigen::Map<Vector>(x).noalias() = lu.solve(Eigen::Map<const Vector>(b)); }
    void solveMany(const T* b, T* x, int count) const
    {
        Eigen::Map<Vectors>(x, S::order, count).noalias() = lu.solve(Eigen::Map<const Vectors>(b, S::order, count));
    }
};
#endif

// ---- LAPACK, for which a matrix row by row is its transpose

#ifdef BENCH_HAS_LAPACKE
template <class S> struct Lapack {
    using T = typename S::T;

    T lu[S::size];
    int pivots[S::order];

    void decompose(const T* a)
    {
        std::copy_n(a, S::size, lu);
        getrf(S::order, lu, pivots);
    }
    void solve(const T* b, T* x) const { solveMany(b, x, 1); }
    void solveMany(const T* b, T* x, int count) const
    {
        std::copy_n(b, std::size_t(S::order) * count, x);
        getrsTransposed(S::order, count, lu, pivots, x);
    }
};
#endif

// Calls add(name, the type of a peer) for every peer.
template <class S, class Add> void forPeers(const Add& add)
{
    add("plain", std::type_identity<Plain<S>>{});
#ifdef BENCH_HAS_EIGEN
    add("Eigen", std::type_identity<WithEigen<S>>{});
#endif
#ifdef BENCH_HAS_LAPACKE
    add("LAPACK", std::type_identity<Lapack<S>>{});
#endif
}

// ---- rows

template <class S> void decompose(Row& row)
{
    using T = typename S::T;
    const T* const a = matrices<S>(row, row.count);
    T* const lu = row.result<T>(S::size);
    T* const x = row.comparable<T>(S::order);
    row.tolerance(1e3 * std::numeric_limits<T>::epsilon());
    const auto f = std::make_shared<Factors<S>>(row.count);
    const auto b = std::make_shared<std::vector<T>>(std::size_t(S::order) * row.count, T(1));
    const auto solver = row.chooser(MEMBER(T, tarnmLUBackSubst_mava));
    row.ours(
        MEMBER(T, tarnmLUDecomp_ma),
        [=](auto member, int count) {
            return member(a, S::object, S::row, S::element, f->index.data(), lu, S::object, S::row, S::element,
                          S::order, count);
        },
        [=, count = row.count] {
            solver(lu, S::object, S::row, S::element, f->index.data(), b->data(), S::row, S::element, x, S::row,
                   S::element, S::order, count);
        });
    forPeers<S>([&]<class Peer>(const char* name, std::type_identity<Peer>) {
        const auto peers = std::make_shared<std::vector<Peer>>(row.count);
        row.peer(
            name,
            [=](int first, int last) {
                for (int o = first; o < last; ++o)
                    (*peers)[o].decompose(a + o * S::size);
            },
            [=, count = row.count] {
                for (int o = 0; o < count; ++o)
                    (*peers)[o].solve(b->data() + o * S::order, x + o * S::order);
            });
    });
}

template <class S> void decomposeAndSolve(Row& row)
{
    using T = typename S::T;
    const T* const a = matrices<S>(row, row.count);
    const T* const b = row.source<T>(S::order);
    T* const x = row.result<T>(S::order);
    row.tolerance(1e3 * std::numeric_limits<T>::epsilon());
    const auto f = std::make_shared<Factors<S>>(row.count);
    row.ours(MEMBER(T, tarnmLUDecomp_ma), MEMBER(T, tarnmLUBackSubst_mava), [=](auto first, auto second, int count) {
        f->decompose(first, a, count);
        return second(f->lu.data(), S::object, S::row, S::element, f->index.data(), b, S::row, S::element, x, S::row,
                      S::element, S::order, count);
    });
    forPeers<S>([&]<class Peer>(const char* name, std::type_identity<Peer>) {
        row.peer(name, [=](int first, int last) {
            Peer peer;
            for (int o = first; o < last; ++o) {
                peer.decompose(a + o * S::size);
                peer.solve(b + o * S::order, x + o * S::order);
            }
        });
    });
}

template <class S> void solve(Row& row)
{
    using T = typename S::T;
    const T* const a = matrices<S>(row, row.count);
    const T* const b = row.source<T>(S::order);
    T* const x = row.result<T>(S::order);
    row.tolerance(1e3 * std::numeric_limits<T>::epsilon());
    const auto f = std::make_shared<Factors<S>>(row.count);
    f->decompose(row.chooser(MEMBER(T, tarnmLUDecomp_ma)), a, row.count);
    row.ours(MEMBER(T, tarnmLUBackSubst_mava), [=](auto member, int count) {
        return member(f->lu.data(), S::object, S::row, S::element, f->index.data(), b, S::row, S::element, x, S::row,
                      S::element, S::order, count);
    });
    forPeers<S>([&]<class Peer>(const char* name, std::type_identity<Peer>) {
        const auto peers = std::make_shared<std::vector<Peer>>(row.count);
        for (int o = 0; o < row.count; ++o)
            (*peers)[o].decompose(a + o * S::size);
        row.peer(name, [=](int first, int last) {
            for (int o = first; o < last; ++o)
                (*peers)[o].solve(b + o * S::order, x + o * S::order);
        });
    });
}

template <class S> void solveMany(Row& row)
{
    using T = typename S::T;
    const T* const a = matrices<S>(row, 1);
    const T* const b = row.source<T>(S::order);
    T* const x = row.result<T>(S::order);
    row.tolerance(1e3 * std::numeric_limits<T>::epsilon());
    const auto f = std::make_shared<Factors<S>>(1);
    f->decompose(row.chooser(MEMBER(T, tarnmLUDecomp_ma)), a, 1);
    row.ours(MEMBER(T, tarnmLUBackSubst_mva), [=](auto member, int count) {
        return member(f->lu.data(), S::row, S::element, f->index.data(), b, S::row, S::element, x, S::row, S::element,
                      S::order, count);
    });
    forPeers<S>([&]<class Peer>(const char* name, std::type_identity<Peer>) {
        const auto peer = std::make_shared<Peer>();
        peer->decompose(a);
        row.peer(name, [=](int first, int last) {
            if constexpr (requires { peer->solveMany(b, x, 1); })
                peer->solveMany(b + first * S::order, x + first * S::order, last - first);
            else
                for (int o = first; o < last; ++o)
                    peer->solve(b + o * S::order, x + o * S::order);
        });
    });
}

template <class T, int order> void rowsOfOrder(Rows& rows)
{
    using S = Square<T, order>;
    rows.add("lu_decompose/" + S::name(), decompose<S>);
    rows.add("lu_decompose_solve/" + S::name(), decomposeAndSolve<S>);
    if constexpr (order != 5) rows.add("lu_solve/" + S::name(), solve<S>);
    if constexpr (order == 4 || order == 6) rows.add("lu_solve_many/" + S::name(), solveMany<S>);
}

template <class T> void rowsOfType(Rows& rows)
{
    rowsOfOrder<T, 3>(rows);
    rowsOfOrder<T, 4>(rows);
    rowsOfOrder<T, 5>(rows);
    rowsOfOrder<T, 6>(rows);
    rowsOfOrder<T, 8>(rows);
    rowsOfOrder<T, 16>(rows);
}

} // namespace

void luRows(Rows& rows)
{
    rowsOfType<float>(rows);
    rowsOfType<double>(rows);
}

} // namespace bench
