#ifdef BENCH_HAS_EIGEN
#include <Eigen/Eigenvalues>

#include "peers/eigen_eigenproblems.h"

namespace bench {
namespace {

template <class T, int order> using Object = Eigen::Matrix<T, order, order, Eigen::RowMajor>;

// `compute(solver, matrix, options)` is one of the ways to solve.
template <class T, int order, class Compute>
void forObjects(const T* a, T* values, T* vectors, int first, int last, Compute compute)
{
    using Matrix = Object<T, order>;
    constexpr int size = order * order;
    const int options = vectors != nullptr ? Eigen::ComputeEigenvectors : Eigen::EigenvaluesOnly;
    Eigen::SelfAdjointEigenSolver<Matrix> solver;
    for (int n = first; n < last; ++n) {
        compute(solver, Eigen::Map<const Matrix>(a + n * size), options);
        Eigen::Map<Eigen::Matrix<T, order, 1>>(values + n * order) = solver.eigenvalues();
        if (vectors != nullptr) Eigen::Map<Matrix>(vectors + n * size) = solver.eigenvectors();
    }
}

} // namespace

template <class T, int order> void eigenSymmetric(const T* a, T* values, T* vectors, int first, int last)
{
    forObjects<T, order>(a, values, vectors, first, last,
                         [](auto& solver, const auto& matrix, int options) { solver.compute(matrix, options); });
}

template <class T, int order> void eigenSymmetricDirect(const T* a, T* values, T* vectors, int first, int last)
{
    forObjects<T, order>(a, values, vectors, first, last,
                         [](auto& solver, const auto& matrix, int options) { solver.computeDirect(matrix, options); });
}

#define INSTANTIATE(name, T, order) template void name<T, order>(const T*, T*, T*, int, int)
INSTANTIATE(eigenSymmetric, float, 2);
INSTANTIATE(eigenSymmetric, float, 3);
INSTANTIATE(eigenSymmetric, float, 4);
INSTANTIATE(eigenSymmetric, float, 6);
INSTANTIATE(eigenSymmetric, float, 8);
INSTANTIATE(eigenSymmetric, double, 2);
INSTANTIATE(eigenSymmetric, double, 3);
INSTANTIATE(eigenSymmetric, double, 4);
INSTANTIATE(eigenSymmetric, double, 6);
INSTANTIATE(eigenSymmetric, double, 8);
INSTANTIATE(eigenSymmetricDirect, float, 2);
INSTANTIATE(eigenSymmetricDirect, float, 3);
INSTANTIATE(eigenSymmetricDirect, double, 2);
INSTANTIATE(eigenSymmetricDirect, double, 3);

} // namespace bench
#endif
