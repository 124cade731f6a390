// Scalar products, lengths, cross products.
#include <tarnm/detail/vectors.h>

#include "views.h"

namespace tarnm::python {
namespace {

template <class T> std::ptrdiff_t dots(const batch& work)
{
    return by_layout(work, [&](auto layout) {
        return pair_of_vectors<T, layout.value>(work, [&](const auto& a, const auto& b) {
            return dot(a, b, packed<T>(work.out[0], work.count), std::nothrow);
        });
    });
}

template <class T> std::ptrdiff_t lengths(const batch& work)
{
    return by_layout(work, [&](auto layout) -> std::ptrdiff_t {
        return norm(vectors<const T, layout.value>(work.in[0], work.count), packed<T>(work.out[0], work.count),
                    std::nothrow);
    });
}

template <class T> std::ptrdiff_t crosses(const batch& work)
{
    return by_layout(work, [&](auto layout) {
        return pair_of_vectors<T, layout.value>(work, [&](const auto& a, const auto& b) {
            return cross(a, b, vectors<T, layout.value>(work.out[0], work.count), std::nothrow);
        });
    });
}

} // namespace

const kernel_pair dot_products = {dots<float>, dots<double>};
const kernel_pair norms = {lengths<float>, lengths<double>};
const kernel_pair cross_products = {crosses<float>, crosses<double>};

} // namespace tarnm::python
