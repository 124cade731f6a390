// Cholesky factors with the diagonal that the word promises, and solutions with them.
//
// The library compares pivots with an absolute tolerance. A matrix that was refused is tried again with rows and columns
// multiplied by powers of two that bring the diagonal between 1/4 and 1.
#include <tarnm/detail/cholesky.h>

#include "blocks.h"

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

template <class T> std::ptrdiff_t lower_factors(const batch& work)
{
    return by_place(work, [&](auto place) {
        const auto a = matrices<const T, place.value>(work.in[0], work.count);
        const auto lower = matrices<T, place.value>(work.out[0], work.count);
        std::ptrdiff_t failures = tarnm::cholesky(a, lower, statuses_of(work));
        if (failures <= 0) return failures;
        for (std::ptrdiff_t n = 0; n < work.count; ++n) {
            if (work.statuses[n] == StatusOk) continue;
            work.statuses[n] = lower_scaled<T>(a.objects(n, 1), lower.objects(n, 1));
            failures -= work.statuses[n] == StatusOk;
        }
        return failures;
    });
}

// Copies of factors with the reciprocals of the diagonal, as the solver wants them.
template <class T> void copy_with_reciprocals(const operand& source, std::ptrdiff_t count, T* factors)
{
    const std::ptrdiff_t order = source.rows;
    const auto lower = matrices<const T, strided>(source, count);
    for (std::ptrdiff_t n = 0; n < count; ++n, factors += order * order) {
        detail::read_object(lower, n, factors);
        for (std::ptrdiff_t i = 0; i < order; ++i)
            factors[i * (order + 1)] = 1 / factors[i * (order + 1)];
    }
}

template <class T> std::ptrdiff_t solve(const batch& work)
{
    const operand& f = work.in[0];
    const std::ptrdiff_t order = f.rows, size = order * order;
    const std::ptrdiff_t step = f.many ? objects_per_block(size * std::ptrdiff_t{sizeof(T)}, work.count) : work.count;
    scratch_array<T> factors(f.many ? step * size : size);
    if (!f.many) copy_with_reciprocals(f, 1, factors.data());
    for (std::ptrdiff_t first = 0; first < work.count; first += step) {
        const std::ptrdiff_t count = std::min(step, work.count - first);
        if (f.many) copy_with_reciprocals(part(f, first), count, factors.data());
        const operand b = part(work.in[1], first), x = part(work.out[0], first);
        for (std::ptrdiff_t k = 0; k < b.columns; ++k) {
            const auto right = vectors<const T, strided>(column(b, k), count);
            const auto result = vectors<T, strided>(column(x, k), count);
            const tarnmStatus status =
                f.many ? plain::cholesky_solve(matrix_array<const T>(factors.data(), count, order, order), right,
                                               result, std::nothrow)
                       : plain::cholesky_solve(matrix_view<const T>(factors.data(), order, order), right, result,
                                               std::nothrow);
            if (status != StatusOk) return status;
        }
    }
    return 0;
}

} // namespace

const kernel_pair cholesky_lower = {lower_factors<float>, lower_factors<double>};
const kernel_pair cholesky_solutions = {solve<float>, solve<double>};

} // namespace tarnm::python
