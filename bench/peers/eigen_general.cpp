#ifdef BENCH_HAS_EIGEN
#include <Eigen/Eigenvalues>

#include "peers/eigen_eigenproblems.h"

namespace bench {

template <class T, int order> void eigenGeneral(const T* a, T* re, T* im, T* vectors, int first, int last)
{
    using Object = Eigen::Matrix<T, order, order, Eigen::RowMajor>;
    constexpr int size = order * order;
    Eigen::EigenSolver<Object> solver;
    for (int n = first; n < last; ++n) {
        solver.compute(Eigen::Map<const Object>(a + n * size), vectors != nullptr);
        for (int k = 0; k < order; ++k) {
            re[n * order + k] = solver.eigenvalues()[k].real();
            im[n * order + k] = solver.eigenvalues()[k].imag();
        }
        if (vectors != nullptr) Eigen::Map<Object>(vectors + n * size) = solver.eigenvectors().real();
    }
}

#define INSTANTIATE(T, order) template void eigenGeneral<T, order>(const T*, T*, T*, T*, int, int)
INSTANTIATE(float, 3);
INSTANTIATE(float, 4);
INSTANTIATE(float, 6);
INSTANTIATE(float, 8);
INSTANTIATE(double, 3);
INSTANTIATE(double, 4);
INSTANTIATE(double, 6);
INSTANTIATE(double, 8);

} // namespace bench
#endif
