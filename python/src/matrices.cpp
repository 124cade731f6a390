// Determinants, inverses, traces, transposes.
#include <tarnm/detail/invert.h>
#include <tarnm/detail/movement.h>
#include <tarnm/detail/planes.h>

#include "blocks.h"

namespace tarnm::python {
namespace {

template <class T> std::ptrdiff_t determinant_of(const batch& work)
{
    return by_layout(work, [&](auto layout) -> std::ptrdiff_t {
        return determinant(matrices<const T, layout.value>(work.in[0], work.count), packed<T>(work.out[0], work.count),
                           std::nothrow);
    });
}

// Block by block: what is looked at before and behind the call of the library stays near. Of a stack that is larger than the
// caches the next block, a smaller one, is on its way meanwhile.
template <class T> std::ptrdiff_t inverse_of(const batch& work)
{
    constexpr std::ptrdiff_t large = std::ptrdiff_t{1} << 20; // bytes, half of a usual second-level cache
    const std::ptrdiff_t bytes = work.in[0].rows * work.in[0].rows * std::ptrdiff_t{sizeof(T)};
    const bool is_large = work.count * bytes > large;
    const std::ptrdiff_t step = objects_per_block(is_large ? 4 * bytes : bytes, work.count);
    return by_layout(work, [&](auto layout) -> std::ptrdiff_t {
        const auto a = matrices<const T, layout.value>(work.in[0], work.count);
        const auto inverse = matrices<T, layout.value>(work.out[0], work.count);
        std::ptrdiff_t failures = 0;
        for (std::ptrdiff_t first = 0; first < work.count; first += step) {
            const std::ptrdiff_t count = std::min(step, work.count - first);
            if (is_large) {
                detail::fetch_ahead<false>(a, first, count, count * work.in[0].object);
                detail::fetch_ahead<true>(inverse, first, count, count * work.out[0].object);
            }
            const std::ptrdiff_t failed = invert(a.objects(first, count), inverse.objects(first, count),
                                                 std::span(work.statuses + first, static_cast<std::size_t>(count)));
            if (failed < 0) return failed;
            failures += failed;
        }
        return failures;
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
