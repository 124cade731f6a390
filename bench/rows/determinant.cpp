// Determinants of packed matrices, orders 3, 4, 5, 6 and 8.
#include "rows/lapack.h"
#include "rows/rows.h"
#include "rows/square_matrices.h"

#ifdef BENCH_HAS_EIGEN
#include <Eigen/LU>
#endif
#ifdef BENCH_HAS_GLM
#include <glm/glm.hpp>
#endif
#ifdef BENCH_HAS_CGLM
#include <cglm/cglm.h>
#endif

namespace bench {
namespace {

#ifdef BENCH_HAS_LAPACKE
template <class S> void lapackPeer(Row& row, const typename S::T* a, typename S::T* d)
{
    using T = typename S::T;
    row.peer("LAPACK", [=](int first, int last) {
        for (int n = first; n < last; ++n) {
            T copy[S::size], product = 1;
            int pivots[S::order];
            for (int i = 0; i < S::size; ++i)
                copy[i] = a[n * S::size + i];
            getrf(S::order, copy, pivots);
            for (int i = 0; i < S::order; ++i)
                product *= pivots[i] == i + 1 ? copy[i * (S::order + 1)] : -copy[i * (S::order + 1)];
            d[n] = product;
        }
    });
}
#endif

// Their matrices are columns: the determinant of the transpose is the same.
template <class S>
void graphicsPeers([[maybe_unused]] Row& row, [[maybe_unused]] const typename S::T* a,
                   [[maybe_unused]] typename S::T* d)
{
    using T = typename S::T;
#ifdef BENCH_HAS_GLM
    row.peer("GLM", [=](int first, int last) {
        using Object = glm::mat<S::order, S::order, T, glm::defaultp>;
        for (int n = first; n < last; ++n) {
            Object m;
            for (int i = 0; i < S::size; ++i)
                m[i / S::order][i % S::order] = a[n * S::size + i];
            d[n] = glm::determinant(m);
        }
    });
#endif
#ifdef BENCH_HAS_CGLM
    if constexpr (S::order == 4 && std::is_same_v<T, float>)
        row.peer("cglm", [=](int first, int last) {
            for (int n = first; n < last; ++n) {
                CGLM_ALIGN_MAT mat4 m;
                for (int i = 0; i < 16; ++i)
                    m[i / 4][i % 4] = a[n * 16 + i];
                d[n] = glm_mat4_det(m);
            }
        });
#endif
}

template <class S> void determinants(Row& row)
{
    using T = typename S::T;
    const T* const a = regularMatrices<S>(row);
    T* const d = row.result<T>(1);
    row.ours(MEMBER(T, tarnmDet_ma), [=](auto f, int count) {
        alignas(8) char scratch[scratchBytes<S>];
        return f(a, S::object, S::row, S::element, S::order, scratch, d, count);
    });
    row.peer("plain", [=](int first, int last) {
        for (int n = first; n < last; ++n)
            d[n] = plainDeterminant<S::order>(a + n * S::size);
    });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen", [=](int first, int last) {
        using Object = Eigen::Matrix<T, S::order, S::order, Eigen::RowMajor>;
        for (int n = first; n < last; ++n)
            d[n] = Eigen::Map<const Object>(a + n * S::size).determinant();
    });
#endif
#ifdef BENCH_HAS_LAPACKE
    lapackPeer<S>(row, a, d);
#endif
    if constexpr (S::order <= 4) graphicsPeers<S>(row, a, d);
}

template <class T> void rowsOfType(Rows& rows)
{
    rows.add("det/" + Square<T, 3>::name(), determinants<Square<T, 3>>);
    rows.add("det/" + Square<T, 4>::name(), determinants<Square<T, 4>>);
    rows.add("det/" + Square<T, 5>::name(), determinants<Square<T, 5>>);
    rows.add("det/" + Square<T, 6>::name(), determinants<Square<T, 6>>);
    rows.add("det/" + Square<T, 8>::name(), determinants<Square<T, 8>>);
}

} // namespace

void determinantRows(Rows& rows)
{
    rowsOfType<float>(rows);
    rowsOfType<double>(rows);
}

} // namespace bench
