// LU factors and solutions of systems of equations. Single right sides of the orders 3 to 6 are solved without the
// library.
//
// The library refuses a pivot by its magnitude. A matrix that was refused is divided by a power of two, which is exact, and
// tried again: what fails then is singular, and not only small.
#include <tarnm/detail/factor.h>
#include <tarnm/detail/right.h>

#include "blocks.h"
#include "elimination.h"

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

// Packed factors of matrices; exponents are zero but where a matrix had to be scaled.
template <class T, class A>
std::ptrdiff_t factor_block(const A& a, T* factors, std::int32_t* pivots, std::int32_t* exponents,
                            tarnmStatus* statuses)
{
    const std::ptrdiff_t order = a.rows(), size = order * order, count = a.count();
    std::fill_n(exponents, count, 0);
    packed_beside<T, A::place> results(factors, count, order, order);
    std::ptrdiff_t failures = tarnm::lu(a, results.view(), std::span(pivots, static_cast<std::size_t>(count * order)),
                                        std::span(statuses, static_cast<std::size_t>(count)));
    if (failures <= 0) return failures;
    for (std::ptrdiff_t n = 0; n < count; ++n) {
        if (statuses[n] == StatusOk) continue;
        statuses[n] = factor_scaled(a.objects(n, 1), factors + n * size, pivots + n * order, exponents[n]);
        failures -= statuses[n] == StatusOk;
    }
    return failures;
}

// The solutions of a matrix that was divided by this power of two.
template <class T, class X> void undo_scale(const X& x, std::ptrdiff_t n, std::int32_t exponent)
{
    if (exponent == 0) return;
    for (std::ptrdiff_t r = 0; r < x.rows(); ++r)
        for (std::ptrdiff_t c = 0; c < x.columns(); ++c)
            detail::store(x.address(n, r, c), std::ldexp(detail::load(x.address(n, r, c)), -exponent));
}

// With factors in scratch.
template <class T, layout Place>
std::ptrdiff_t solve_factoring(const operand& a, const operand& b, const operand& x, std::ptrdiff_t count,
                               tarnmStatus* statuses)
{
    const std::ptrdiff_t order = a.rows;
    scratch_array<T> factors(count * order * order);
    scratch_array<std::int32_t> pivots(count * order), exponents(count);
    const std::ptrdiff_t failures =
        factor_block<T>(matrices<const T, Place>(a, count), factors.data(), pivots.data(), exponents.data(), statuses);
    if (failures < 0) return failures;
    packed_beside<T, Place> beside(factors.data(), count, order, order);
    for (std::ptrdiff_t k = 0; k < b.columns; ++k) {
        const std::ptrdiff_t status =
            lu_solve(beside.view(), std::span(pivots.data(), static_cast<std::size_t>(count * order)),
                     columns_of<const T, Place>(b, k, count), columns_of<T, Place>(x, k, count), std::nothrow);
        if (status < 0) return status;
    }
    const auto solutions_here = matrices<T, Place>(x, count);
    for (std::ptrdiff_t n = 0; n < count; ++n)
        undo_scale<T>(solutions_here, n, exponents.data()[n]);
    return failures;
}

// Each matrix with right sides of its own.
template <class T, layout Place> std::ptrdiff_t solve_each(const batch& work)
{
    const std::ptrdiff_t order = work.in[0].rows;
    const std::ptrdiff_t step = objects_per_block(order * order * std::ptrdiff_t{sizeof(T)}, work.count);
    std::ptrdiff_t failures = 0;
    for (std::ptrdiff_t first = 0; first < work.count; first += step) {
        const std::ptrdiff_t count = std::min(step, work.count - first);
        const operand a = part(work.in[0], first), b = part(work.in[1], first), x = part(work.out[0], first);
        tarnmStatus* const statuses = work.statuses + first;
        if (is_small_order(order) && b.columns == 1 &&
            solved(matrices<const T, Place>(a, count), matrices<const T, Place>(b, count),
                   matrices<T, Place>(x, count))) {
            std::fill_n(statuses, count, StatusOk);
            continue;
        }
        const std::ptrdiff_t failed = solve_factoring<T, Place>(a, b, x, count, statuses);
        if (failed < 0) return failed;
        failures += failed;
    }
    return failures;
}

// One matrix for all right sides.
template <class T, layout Place> std::ptrdiff_t solve_shared(const batch& work)
{
    const std::ptrdiff_t order = work.in[0].rows, columns = work.in[1].columns;
    scratch_array<T> factors(order * order);
    scratch_array<std::int32_t> pivots(order);
    std::int32_t exponent = 0;
    tarnmStatus status = StatusOk;
    const std::ptrdiff_t failed =
        factor_block<T>(matrices<const T, strided>(work.in[0], 1), factors.data(), pivots.data(), &exponent, &status);
    if (failed < 0) return failed;
    std::fill_n(work.statuses, work.count, status);
    if (failed > 0) return work.count;
    for (std::ptrdiff_t k = 0; k < columns; ++k) {
        const std::ptrdiff_t result = lu_solve(matrix_view<const T>(factors.data(), order, order),
                                               std::span(pivots.data(), static_cast<std::size_t>(order)),
                                               columns_of<const T, Place>(work.in[1], k, work.count),
                                               columns_of<T, Place>(work.out[0], k, work.count), std::nothrow);
        if (result < 0) return result;
    }
    const auto x = matrices<T, Place>(work.out[0], work.count);
    for (std::ptrdiff_t n = 0; n < work.count; ++n)
        undo_scale<T>(x, n, exponent);
    return 0;
}

template <class T> std::ptrdiff_t solve_systems(const batch& work)
{
    return by_place(work, [&](auto place) {
        return work.in[0].many ? solve_each<T, place.value>(work) : solve_shared<T, place.value>(work);
    });
}

// out: packed factors, packed pivots, packed exponents.
template <class T> std::ptrdiff_t factor(const batch& work)
{
    return by_place(work, [&](auto place) {
        return factor_block<T>(matrices<const T, place.value>(work.in[0], work.count),
                               static_cast<T*>(work.out[0].data), static_cast<std::int32_t*>(work.out[1].data),
                               static_cast<std::int32_t*>(work.out[2].data), work.statuses);
    });
}

// in: factors, right sides, pivots.
template <class T> std::ptrdiff_t solve_factored(const batch& work)
{
    const operand &f = work.in[0], &b = work.in[1];
    const auto pivots = packed<const std::int32_t>(work.in[2], f.rows * (f.many ? work.count : 1));
    return by_place(work, [&](auto place) -> std::ptrdiff_t {
        for (std::ptrdiff_t k = 0; k < b.columns; ++k) {
            const auto right = columns_of<const T, place.value>(b, k, work.count);
            const auto x = columns_of<T, place.value>(work.out[0], k, work.count);
            const tarnmStatus status =
                f.many ? lu_solve(matrices<const T, place.value>(f, work.count), pivots, right, x, std::nothrow)
                       : lu_solve(matrix<const T, place.value>(f), pivots, right, x, std::nothrow);
            if (status != StatusOk) return status;
        }
        return 0;
    });
}

} // namespace

const kernel_pair solutions = {solve_systems<float>, solve_systems<double>};
const kernel_pair lu_factors = {factor<float>, factor<double>};
const kernel_pair lu_solutions = {solve_factored<float>, solve_factored<double>};

} // namespace tarnm::python
