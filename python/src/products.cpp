// Products of matrices with matrices and vectors.
#include <tarnm/detail/products.h>

#include "views.h"

namespace tarnm::python {
namespace {

template <class T> std::ptrdiff_t by_matrix(const batch& work)
{
    return by_layout(work, [&](auto layout) {
        return pair_of_matrices<T, layout.value>(work, [&](const auto& a, const auto& b) {
            return multiply(a, b, matrices<T, layout.value>(work.out[0], work.count), std::nothrow);
        });
    });
}

template <class T> std::ptrdiff_t by_vector(const batch& work)
{
    return by_layout(work, [&](auto layout) {
        return matrix_and_vector<T, layout.value>(work, [&](const auto& a, const auto& x) {
            return multiply(a, x, vectors<T, layout.value>(work.out[0], work.count), std::nothrow);
        });
    });
}

} // namespace

const kernel_pair multiply_matrices = {by_matrix<float>, by_matrix<double>};
const kernel_pair multiply_vectors = {by_vector<float>, by_vector<double>};

} // namespace tarnm::python
