// Inverses of packed matrices, orders 2, 3, 4, 5, 6 and 8.
//
// Orders 2 and 8 go through one elimination per cofactor by definition; their rows say what that costs.
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
// The inverse of the transpose is the transpose of the inverse, so that rows may be taken for columns.
template <class S> void lapackPeer(Row& row, const typename S::T* a, typename S::T* x)
{
    using T = typename S::T;
    row.peer("LAPACK", [=](int first, int last) {
        constexpr int length = 64 * S::order;
        T work[length];
        int pivots[S::order];
        for (int n = first; n < last; ++n) {
            for (int i = 0; i < S::size; ++i)
                x[n * S::size + i] = a[n * S::size + i];
            getrf(S::order, x + n * S::size, pivots);
            getri(S::order, x + n * S::size, pivots, work, length);
        }
    });
}
#endif

template <class S>
void graphicsPeers([[maybe_unused]] Row& row, [[maybe_unused]] const typename S::T* a,
                   [[maybe_unused]] typename S::T* x)
{
    using T = typename S::T;
#ifdef BENCH_HAS_GLM
    row.peer("GLM", [=](int first, int last) {
        using Object = glm::mat<S::order, S::order, T, glm::defaultp>;
        for (int n = first; n < last; ++n) {
            Object m;
            for (int i = 0; i < S::size; ++i)
                m[i / S::order][i % S::order] = a[n * S::size + i];
            m = glm::inverse(m);
            for (int i = 0; i < S::size; ++i)
                x[n * S::size + i] = m[i / S::order][i % S::order];
        }
    });
#endif
#ifdef BENCH_HAS_CGLM
    if constexpr (S::order == 4 && std::is_same_v<T, float>)
        row.peer("cglm", [=](int first, int last) {
            for (int n = first; n < last; ++n) {
                CGLM_ALIGN_MAT mat4 m, inverse;
                for (int i = 0; i < 16; ++i)
                    m[i / 4][i % 4] = a[n * 16 + i];
                glm_mat4_inv(m, inverse);
                for (int i = 0; i < 16; ++i)
                    x[n * 16 + i] = inverse[i / 4][i % 4];
            }
        });
#endif
}

template <class S> void inverses(Row& row)
{
    using T = typename S::T;
    const T* const a = regularMatrices<S>(row);
    T* const x = row.result<T>(S::size);
    row.ours(MEMBER(T, tarnmInvert_ma), [=](auto f, int count) {
        alignas(8) char scratch[scratchBytes<S>];
        return f(a, S::object, S::row, S::element, scratch, x, S::object, S::row, S::element, S::order, count);
    });
    row.peer("plain", [=](int first, int last) {
        for (int n = first; n < last; ++n)
            plainInverse<S::order>(a + n * S::size, x + n * S::size);
    });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen", [=](int first, int last) {
        using Object = Eigen::Matrix<T, S::order, S::order, Eigen::RowMajor>;
        for (int n = first; n < last; ++n)
            Eigen::Map<Object>(x + n * S::size) = Eigen::Map<const Object>(a + n * S::size).inverse();
    });
#endif
#ifdef BENCH_HAS_LAPACKE
    lapackPeer<S>(row, a, x);
#endif
    if constexpr (S::order <= 4) graphicsPeers<S>(row, a, x);
}

template <class T> void rowsOfType(Rows& rows)
{
    rows.add("inverse/" + Square<T, 2>::name(), inverses<Square<T, 2>>);
    rows.add("inverse/" + Square<T, 3>::name(), inverses<Square<T, 3>>);
    rows.add("inverse/" + Square<T, 4>::name(), inverses<Square<T, 4>>);
    rows.add("inverse/" + Square<T, 5>::name(), inverses<Square<T, 5>>);
    rows.add("inverse/" + Square<T, 6>::name(), inverses<Square<T, 6>>);
    rows.add("inverse/" + Square<T, 8>::name(), inverses<Square<T, 8>>);
}

} // namespace

void inverseRows(Rows& rows)
{
    rowsOfType<float>(rows);
    rowsOfType<double>(rows);
}

} // namespace bench
