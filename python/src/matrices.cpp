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

template <class T> std::ptrdiff_t inverse_of(const batch& work)
{
    return by_layout(work, [&](auto layout) -> std::ptrdiff_t {
        return invert(matrices<const T, layout.value>(work.in[0], work.count),
                      matrices<T, layout.value>(work.out[0], work.count), statuses_of(work));
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
