// Determinants, inverses, traces, transposes.
#include <tarnm/detail/invert.h>
#include <tarnm/detail/movement.h>

#include "views.h"

namespace tarnm::python {
namespace {

template <class T> std::ptrdiff_t determinant_of(const batch& work)
{
    return by_layout(work, [&](auto layout) -> std::ptrdiff_t {
        return determinant(matrices<const T, layout.value>(work.in[0], work.count), packed<T>(work.out[0], work.count),
                           std::nothrow);
    });
}

template <class View> bool is_finite(const View& view, std::ptrdiff_t n)
{
    bool finite = true;
    for (std::ptrdiff_t r = 0; r < view.rows(); ++r)
        for (std::ptrdiff_t c = 0; c < view.columns(); ++c)
            finite = finite && std::isfinite(detail::load(view.address(n, r, c)));
    return finite;
}

// A small determinant can leave the range on the way to its reciprocal: such an inverse is done again with scaled rows and
// columns.
template <class A, class D> std::ptrdiff_t invert_again(const A& a, const D& inverse, const batch& work)
{
    std::ptrdiff_t failures = 0;
    for (std::ptrdiff_t n = 0; n < work.count; ++n) {
        if (work.statuses[n] == StatusOk && !is_finite(inverse, n) && is_finite(a, n)) {
            detail::scratch buffer(detail::elimination_bytes(a)), place(detail::invert_scaled_bytes(a));
            work.statuses[n] = detail::invert_scaled(a.objects(n, 1), inverse.objects(n, 1), buffer.get(), place.get());
        }
        failures += work.statuses[n] != StatusOk;
    }
    return failures;
}

template <class T> std::ptrdiff_t inverse_of(const batch& work)
{
    return by_layout(work, [&](auto layout) -> std::ptrdiff_t {
        const auto a = matrices<const T, layout.value>(work.in[0], work.count);
        const auto inverse = matrices<T, layout.value>(work.out[0], work.count);
        const std::ptrdiff_t failures = invert(a, inverse, statuses_of(work));
        return failures < 0 ? failures : invert_again(a, inverse, work);
    });
}

template <class T> std::ptrdiff_t trace_of(const batch& work)
{
    return by_layout(work, [&](auto layout) -> std::ptrdiff_t {
        return trace(matrices<const T, layout.value>(work.in[0], work.count), packed<T>(work.out[0], work.count),
                     std::nothrow);
    });
}

template <class T> std::ptrdiff_t transpose_of(const batch& work)
{
    return by_layout(work, [&](auto layout) -> std::ptrdiff_t {
        return transpose(matrices<const T, layout.value>(work.in[0], work.count),
                         matrices<T, layout.value>(work.out[0], work.count), std::nothrow);
    });
}

} // namespace

const kernel_pair determinants = {determinant_of<float>, determinant_of<double>};
const kernel_pair inverses = {inverse_of<float>, inverse_of<double>};
const kernel_pair traces = {trace_of<float>, trace_of<double>};
const kernel_pair transposes = {transpose_of<float>, transpose_of<double>};

} // namespace tarnm::python
