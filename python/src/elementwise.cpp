// Sums, differences and products with a number, of vectors and matrices.
#include <tarnm/detail/elementwise.h>

#include "views.h"

namespace tarnm::python {
namespace {

// Calls with views of both inputs and of the result.
template <class T, class Call> std::ptrdiff_t combined(const batch& work, Call call)
{
    return by_layout(work, [&](auto layout) {
        constexpr auto place = layout.value;
        if (work.core == 2)
            return pair_of_matrices<T, place>(work, [&](const auto& a, const auto& b) {
                return call(a, b, matrices<T, place>(work.out[0], work.count));
            });
        return pair_of_vectors<T, place>(
            work, [&](const auto& a, const auto& b) { return call(a, b, vectors<T, place>(work.out[0], work.count)); });
    });
}

// The same with vectors and the number.
template <class T, class Call> std::ptrdiff_t with_number(const batch& work, Call call)
{
    return by_layout(work, [&](auto layout) -> std::ptrdiff_t {
        constexpr auto place = layout.value;
        return call(vectors<const T, place>(work.in[0], work.count), static_cast<T>(work.number),
                    vectors<T, place>(work.out[0], work.count));
    });
}

template <class T> std::ptrdiff_t sum(const batch& work)
{
    return combined<T>(work, [](const auto& a, const auto& b, const auto& d) { return add(a, b, d, std::nothrow); });
}

template <class T> std::ptrdiff_t difference(const batch& work)
{
    return combined<T>(work,
                       [](const auto& a, const auto& b, const auto& d) { return subtract(a, b, d, std::nothrow); });
}

template <class T> std::ptrdiff_t sum_with_number(const batch& work)
{
    return with_number<T>(work, [](const auto& a, T c, const auto& d) { return add(a, c, d, std::nothrow); });
}

template <class T> std::ptrdiff_t difference_with_number(const batch& work)
{
    return with_number<T>(work, [](const auto& a, T c, const auto& d) { return subtract(a, c, d, std::nothrow); });
}

template <class T> std::ptrdiff_t difference_from_number(const batch& work)
{
    return with_number<T>(work, [](const auto& a, T c, const auto& d) { return subtract(c, a, d, std::nothrow); });
}

template <class T> std::ptrdiff_t product_with_number(const batch& work)
{
    return with_number<T>(work, [](const auto& a, T c, const auto& d) { return scale(a, c, d, std::nothrow); });
}

} // namespace

const kernel_pair sums = {sum<float>, sum<double>};
const kernel_pair differences = {difference<float>, difference<double>};
const kernel_pair sums_with_number = {sum_with_number<float>, sum_with_number<double>};
const kernel_pair differences_with_number = {difference_with_number<float>, difference_with_number<double>};
const kernel_pair differences_from_number = {difference_from_number<float>, difference_from_number<double>};
const kernel_pair products_with_number = {product_with_number<float>, product_with_number<double>};

} // namespace tarnm::python
