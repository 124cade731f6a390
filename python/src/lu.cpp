// LU factors and solutions of systems of equations.
//
// The library refuses a pivot by its magnitude. A matrix that was refused is divided by a power of two, which is exact, and
// tried again: what fails then is singular, and not only small.
#include <tarnm/detail/factor.h>
#include <tarnm/detail/right.h>

#include "blocks.h"

namespace tarnm::python {
namespace {

constexpr auto strided = layout::strided;

template <class T> void set_identity(T* factors, std::int32_t* pivots, std::ptrdiff_t order)
{
    for (std::ptrdiff_t r = 0; r < order; ++r) {
        for (std::ptrdiff_t c = 0; c < order; ++c)
            factors[r * order + c] = T(r == c);
        pivots[r] = static_cast<std::int32_t>(r);
    }
}

// Factors of one matrix divided by a power of two, which is given back in `exponent`. A matrix that fails all the same gets
// those of the identity, so that solving is harmless.
template <class T, class A>
tarnmStatus factor_scaled(const A& a, T* factors, std::int32_t* pivots, std::int32_t& exponent)
{
    const std::ptrdiff_t order = a.rows();
    scratch_array<T> scaled(order * order);
    detail::read_object(a, 0, scaled.data());
    tarnmStatus status = StatusSingular;
    if (detail::all_finite(scaled.data(), order * order)) {
        exponent = detail::normalise(scaled.data(), order);
        status = tarnm::lu(matrix_view<const T>(scaled.data(), order, order), matrix_view<T>(factors, order, order),
                           std::span(pivots, static_cast<std::size_t>(order)), std::nothrow);
    }
    if (status != StatusOk) set_identity(factors, pivots, order);
    return status;
}

// Packed factors of `count` matrices; exponents are zero but where a matrix had to be scaled.
template <class T>
std::ptrdiff_t factor_block(const operand& source, std::ptrdiff_t count, T* factors, std::int32_t* pivots,
                            std::int32_t* exponents, tarnmStatus* statuses)
{
    const std::ptrdiff_t order = source.rows, size = order * order;
    const auto a = matrices<const T, strided>(source, count);
    std::fill_n(exponents, count, 0);
    std::ptrdiff_t failures = tarnm::lu(a, matrix_array<T>(factors, count, order, order),
                                        std::span(pivots, static_cast<std::size_t>(count * order)),
                                        std::span(statuses, static_cast<std::size_t>(count)));
    if (failures <= 0) return failures;
    for (std::ptrdiff_t n = 0; n < count; ++n) {
        if (statuses[n] == StatusOk) continue;
        statuses[n] = factor_scaled(a.objects(n, 1), factors + n * size, pivots + n * order, exponents[n]);
        failures -= statuses[n] == StatusOk;
    }
    return failures;
}

template <class T>
void undo_scale(const operand& solution, std::ptrdiff_t count, std::ptrdiff_t columns, const std::int32_t* exponents)
{
    for (std::ptrdiff_t n = 0; n < count; ++n) {
        if (exponents[n] == 0) continue;
        for (std::ptrdiff_t k = 0; k < columns; ++k) {
            const auto x = vectors<T, strided>(column(solution, k), count);
            for (std::ptrdiff_t i = 0; i < x.columns(); ++i) {
                T* const place = x.address(n, 0, i);
                detail::store(place, std::ldexp(detail::load(place), -exponents[n]));
            }
        }
    }
}

// Each matrix with right sides of its own.
template <class T> std::ptrdiff_t solve_each(const batch& work)
{
    const std::ptrdiff_t order = work.in[0].rows, size = order * order, columns = work.in[1].columns;
    const std::ptrdiff_t step = objects_per_block(size * std::ptrdiff_t{sizeof(T)}, work.count);
    scratch_array<T> factors(step * size);
    scratch_array<std::int32_t> pivots(step * order);
    scratch_array<std::int32_t> exponents(step);
    std::ptrdiff_t failures = 0;
    for (std::ptrdiff_t first = 0; first < work.count; first += step) {
        const std::ptrdiff_t count = std::min(step, work.count - first);
        const std::ptrdiff_t failed = factor_block<T>(part(work.in[0], first), count, factors.data(), pivots.data(),
                                                      exponents.data(), work.statuses + first);
        if (failed < 0) return failed;
        failures += failed;
        const matrix_array<const T> lu(factors.data(), count, order, order);
        const operand b = part(work.in[1], first), x = part(work.out[0], first);
        for (std::ptrdiff_t k = 0; k < columns; ++k) {
            const std::ptrdiff_t status = lu_solve(
                lu, std::span(pivots.data(), static_cast<std::size_t>(count * order)),
                vectors<const T, strided>(column(b, k), count), vectors<T, strided>(column(x, k), count), std::nothrow);
            if (status < 0) return status;
        }
        undo_scale<T>(x, count, columns, exponents.data());
    }
    return failures;
}

// One matrix for all right sides.
template <class T> std::ptrdiff_t solve_shared(const batch& work)
{
    const std::ptrdiff_t order = work.in[0].rows, columns = work.in[1].columns;
    scratch_array<T> factors(order * order);
    scratch_array<std::int32_t> pivots(order);
    std::int32_t exponent = 0;
    tarnmStatus status = StatusOk;
    const std::ptrdiff_t failed = factor_block<T>(work.in[0], 1, factors.data(), pivots.data(), &exponent, &status);
    if (failed < 0) return failed;
    std::fill_n(work.statuses, work.count, status);
    if (failed > 0) return work.count;
    for (std::ptrdiff_t k = 0; k < columns; ++k) {
        const std::ptrdiff_t result = lu_solve(matrix_view<const T>(factors.data(), order, order),
                                               std::span(pivots.data(), static_cast<std::size_t>(order)),
                                               vectors<const T, strided>(column(work.in[1], k), work.count),
                                               vectors<T, strided>(column(work.out[0], k), work.count), std::nothrow);
        if (result < 0) return result;
    }
    if (exponent != 0) {
        for (std::ptrdiff_t n = 0; n < work.count; ++n)
            undo_scale<T>(part(work.out[0], n), 1, columns, &exponent);
    }
    return 0;
}

template <class T> std::ptrdiff_t solve_systems(const batch& work)
{
    return work.in[0].many ? solve_each<T>(work) : solve_shared<T>(work);
}

// out: packed factors, packed pivots, packed exponents.
template <class T> std::ptrdiff_t factor(const batch& work)
{
    return factor_block<T>(work.in[0], work.count, static_cast<T*>(work.out[0].data),
                           static_cast<std::int32_t*>(work.out[1].data), static_cast<std::int32_t*>(work.out[2].data),
                           work.statuses);
}

// in: factors, right sides, pivots.
template <class T> std::ptrdiff_t solve_factored(const batch& work)
{
    const operand &f = work.in[0], &b = work.in[1];
    const std::ptrdiff_t order = f.rows;
    const auto pivots = packed<const std::int32_t>(work.in[2], order * (f.many ? work.count : 1));
    for (std::ptrdiff_t k = 0; k < b.columns; ++k) {
        const auto right = vectors<const T, strided>(column(b, k), work.count);
        const auto x = vectors<T, strided>(column(work.out[0], k), work.count);
        const tarnmStatus status =
            f.many ? lu_solve(matrices<const T, strided>(f, work.count), pivots, right, x, std::nothrow)
                   : lu_solve(matrix<const T, strided>(f), pivots, right, x, std::nothrow);
        if (status != StatusOk) return status;
    }
    return 0;
}

} // namespace

const kernel_pair solutions = {solve_systems<float>, solve_systems<double>};
const kernel_pair lu_factors = {factor<float>, factor<double>};
const kernel_pair lu_solutions = {solve_factored<float>, solve_factored<double>};

} // namespace tarnm::python
