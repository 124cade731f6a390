// Cholesky factors with the diagonal that the word promises, and solutions with them.
//
// The library compares pivots with an absolute tolerance. A matrix that was refused is tried again with rows and columns
// multiplied by powers of two that bring the diagonal between 1/4 and 1. Matrices of the orders 3 to 6 that are far from
// singular are factored without the library.
#include <tarnm/detail/cholesky.h>

#include "blocks.h"
#include "elimination.h"

namespace tarnm::python {
namespace {

constexpr auto strided = layout::strided;

template <class T, class A, class D> tarnmStatus lower_scaled(const A& a, const D& lower)
{
    const std::ptrdiff_t order = a.rows();
    scratch_array<T> scaled(order * order);
    scratch_array<std::int32_t> powers(order);
    T* const m = scaled.data();
    std::int32_t* const power = powers.data();
    detail::read_object(a, 0, m);
    for (std::ptrdiff_t i = 0; i < order; ++i) {
        const T diagonal = m[i * order + i];
        if (!(diagonal > 0) || !std::isfinite(diagonal)) return StatusNotPositiveDefinite;
        const int exponent = detail::exponent_above(diagonal);
        power[i] = exponent >= 0 ? (exponent + 1) / 2 : exponent / 2;
    }
    for (std::ptrdiff_t r = 0; r < order; ++r)
        for (std::ptrdiff_t c = 0; c <= r; ++c)
            m[r * order + c] = std::ldexp(m[r * order + c], -power[r] - power[c]);
    const matrix_view<T> in_place(m, order, order);
    const tarnmStatus status = tarnm::cholesky(in_place, in_place, std::nothrow);
    if (status != StatusOk) return status;
    for (std::ptrdiff_t r = 0; r < order; ++r)
        for (std::ptrdiff_t c = 0; c < order; ++c)
            detail::store(lower.address(0, r, c), std::ldexp(m[r * order + c], power[r]));
    return status;
}

template <class T, class A, class D> std::ptrdiff_t lower_block(const A& a, const D& lower, tarnmStatus* statuses)
{
    std::ptrdiff_t failures = tarnm::cholesky(a, lower, std::span(statuses, static_cast<std::size_t>(a.count())));
    if (failures <= 0) return failures;
    for (std::ptrdiff_t n = 0; n < a.count(); ++n) {
        if (statuses[n] == StatusOk) continue;
        statuses[n] = lower_scaled<T>(a.objects(n, 1), lower.objects(n, 1));
        failures -= statuses[n] == StatusOk;
    }
    return failures;
}

// Orders that have an elimination of their own.
template <class T, class A, class D> std::ptrdiff_t lower_in_blocks(const A& a, const D& lower, tarnmStatus* statuses)
{
    const std::ptrdiff_t step =
        objects_per_block(std::ptrdiff_t{a.rows()} * a.rows() * std::ptrdiff_t{sizeof(T)}, a.count());
    std::ptrdiff_t failures = 0;
    for (std::ptrdiff_t first = 0; first < a.count(); first += step) {
        const std::ptrdiff_t count = std::min<std::ptrdiff_t>(step, a.count() - first);
        const auto source = a.objects(first, count);
        const auto result = lower.objects(first, count);
        if (factored(source, result)) {
            std::fill_n(statuses + first, count, StatusOk);
            continue;
        }
        const std::ptrdiff_t failed = lower_block<T>(source, result, statuses + first);
        if (failed < 0) return failed;
        failures += failed;
    }
    return failures;
}

template <class T> std::ptrdiff_t lower_factors(const batch& work)
{
    return by_place(work, [&](auto place) {
        const auto a = matrices<const T, place.value>(work.in[0], work.count);
        const auto lower = matrices<T, place.value>(work.out[0], work.count);
        return is_small_order(a.rows()) ? lower_in_blocks<T>(a, lower, work.statuses)
                                        : lower_block<T>(a, lower, work.statuses);
    });
}

// Copies of factors with the reciprocals of the diagonal, as the solver wants them.
template <class T, class F> void copy_with_reciprocals(const F& lower, T* factors)
{
    const std::ptrdiff_t order = lower.rows();
    for (std::ptrdiff_t n = 0; n < lower.count(); ++n, factors += order * order) {
        detail::read_object(lower, n, factors);
        for (std::ptrdiff_t i = 0; i < order; ++i)
            factors[i * (order + 1)] = 1 / factors[i * (order + 1)];
    }
}

template <class T, layout Place> std::ptrdiff_t solve_at(const batch& work)
{
    const operand& f = work.in[0];
    const std::ptrdiff_t order = f.rows, size = order * order;
    const std::ptrdiff_t step = f.many ? objects_per_block(size * std::ptrdiff_t{sizeof(T)}, work.count) : work.count;
    scratch_array<T> factors(f.many ? step * size : size);
    if (!f.many) copy_with_reciprocals(matrices<const T, strided>(f, 1), factors.data());
    for (std::ptrdiff_t first = 0; first < work.count; first += step) {
        const std::ptrdiff_t count = std::min(step, work.count - first);
        if (f.many) copy_with_reciprocals(matrices<const T, Place>(part(f, first), count), factors.data());
        packed_beside<T, Place> beside(factors.data(), f.many ? count : 1, order, order);
        const operand b = part(work.in[1], first), x = part(work.out[0], first);
        for (std::ptrdiff_t k = 0; k < b.columns; ++k) {
            const auto right = columns_of<const T, Place>(b, k, count);
            const auto result = columns_of<T, Place>(x, k, count);
            const tarnmStatus status = f.many
                                           ? plain::cholesky_solve(beside.view(), right, result, std::nothrow)
                                           : plain::cholesky_solve(matrix_view<const T>(factors.data(), order, order),
                                                                   right, result, std::nothrow);
            if (status != StatusOk) return status;
        }
    }
    return 0;
}

template <class T> std::ptrdiff_t solve(const batch& work)
{
    return by_place(work, [&](auto place) { return solve_at<T, place.value>(work); });
}

} // namespace

const kernel_pair cholesky_lower = {lower_factors<float>, lower_factors<double>};
const kernel_pair cholesky_solutions = {solve<float>, solve<double>};

} // namespace tarnm::python
