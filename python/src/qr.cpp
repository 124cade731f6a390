// QR factors, least squares, and the matrices Q and R themselves.
//
// The library refuses a column by its length. Small matrices that were refused are multiplied by a power of two and tried
// again for least squares; Q and R exist for every matrix and are computed in double precision where the library gives none.
#include <tarnm/detail/factor.h>
#include <tarnm/detail/planes.h>

#include "blocks.h"

namespace tarnm::python {
namespace {

constexpr auto strided = layout::strided;

template <class T, class A> tarnmStatus factor_scaled(const A& a, T* factors, std::int32_t& exponent)
{
    const std::ptrdiff_t rows = a.rows(), columns = a.columns(), size = rows * columns;
    detail::read_object(a, 0, factors);
    if (!detail::all_finite(factors, size)) return StatusDivByZero;
    T largest = 0;
    for (std::ptrdiff_t i = 0; i < size; ++i)
        largest = std::max(largest, std::abs(factors[i]));
    exponent = detail::exponent_above(largest);
    detail::scale_by_power(factors, size, -exponent);
    const matrix_view<T> in_place(factors, rows, columns);
    return tarnm::qr(in_place, in_place, std::nothrow);
}

// Packed factors; exponents are zero but where a matrix had to be scaled.
template <class T, class A>
std::ptrdiff_t factor_block(const A& a, T* factors, std::int32_t* exponents, tarnmStatus* statuses)
{
    const std::ptrdiff_t rows = a.rows(), columns = a.columns(), count = a.count();
    std::fill_n(exponents, count, 0);
    packed_beside<T, A::place> results(factors, count, rows, columns);
    std::ptrdiff_t failures = tarnm::qr(a, results.view(), std::span(statuses, static_cast<std::size_t>(count)));
    if (failures <= 0) return failures;
    for (std::ptrdiff_t n = 0; n < count; ++n) {
        if (statuses[n] == StatusOk) continue;
        statuses[n] = factor_scaled(a.objects(n, 1), factors + n * rows * columns, exponents[n]);
        failures -= statuses[n] == StatusOk;
    }
    return failures;
}

// Whether no element of the diagonal of R is zero, within what rounding leaves of a dependent column.
template <class T> bool has_full_rank(const T* factors, std::ptrdiff_t rows, std::ptrdiff_t columns)
{
    T largest = 0, smallest = std::numeric_limits<T>::infinity();
    for (std::ptrdiff_t i = 0; i < columns; ++i) {
        const T value = std::abs(factors[i * columns + i]);
        largest = std::max(largest, value);
        smallest = std::min(smallest, value);
    }
    return smallest > static_cast<T>(rows) * std::numeric_limits<T>::epsilon() * largest;
}

template <class T, layout Place> std::ptrdiff_t least_squares_at(const batch& work)
{
    const operand& a = work.in[0];
    const std::ptrdiff_t rows = a.rows, columns = a.columns, size = rows * columns;
    const std::ptrdiff_t step = a.many ? objects_per_block(size * std::ptrdiff_t{sizeof(T)}, work.count) : work.count;
    scratch_array<T> factors(a.many ? step * size : size);
    scratch_array<std::int32_t> exponents(a.many ? step : 1);
    std::ptrdiff_t failures = 0;
    for (std::ptrdiff_t first = 0; first < work.count; first += step) {
        const std::ptrdiff_t count = std::min(step, work.count - first);
        const std::ptrdiff_t matrices_here = a.many ? count : 1;
        tarnmStatus* const statuses = work.statuses + first;
        const std::ptrdiff_t failed =
            a.many ? factor_block<T>(matrices<const T, Place>(part(a, first), count), factors.data(), exponents.data(),
                                     statuses)
                   : factor_block<T>(matrices<const T, strided>(a, 1), factors.data(), exponents.data(), statuses);
        if (failed < 0) return failed;
        for (std::ptrdiff_t n = 0; n < matrices_here; ++n) {
            T* const found = factors + n * size;
            if (statuses[n] == StatusOk && !has_full_rank(found, rows, columns)) statuses[n] = StatusSingular;
            if (statuses[n] == StatusOk) continue;
            std::fill_n(found, size, T(0));
            for (std::ptrdiff_t i = 0; i < columns; ++i)
                found[i * columns + i] = 1;
        }
        if (!a.many) std::fill_n(statuses, count, statuses[0]);
        for (std::ptrdiff_t n = 0; n < count; ++n)
            failures += statuses[n] != StatusOk;
        packed_beside<T, Place> beside(factors.data(), matrices_here, rows, columns);
        const operand b = part(work.in[1], first), x = part(work.out[0], first);
        for (std::ptrdiff_t k = 0; k < b.columns; ++k) {
            const auto right = columns_of<const T, Place>(b, k, count);
            const auto result = columns_of<T, Place>(x, k, count);
            const tarnmStatus status =
                a.many ? qr_solve(beside.view(), right, result, std::nothrow)
                       : qr_solve(matrix_view<const T>(factors.data(), rows, columns), right, result, std::nothrow);
            if (status != StatusOk) return status;
            for (std::ptrdiff_t n = 0; n < count; ++n) {
                const std::int32_t exponent = exponents.data()[a.many ? n : 0];
                for (std::ptrdiff_t i = 0; exponent != 0 && i < columns; ++i) {
                    T* const place = result.address(n, 0, i);
                    detail::store(place, std::ldexp(detail::load(place), -exponent));
                }
            }
        }
    }
    return failures;
}

template <class T> std::ptrdiff_t least_squares(const batch& work)
{
    return by_place(work, [&](auto place) { return least_squares_at<T, place.value>(work); });
}

// out: packed factors, packed exponents.
template <class T> std::ptrdiff_t factor(const batch& work)
{
    return by_place(work, [&](auto place) {
        return factor_block<T>(matrices<const T, place.value>(work.in[0], work.count),
                               static_cast<T*>(work.out[0].data), static_cast<std::int32_t*>(work.out[1].data),
                               work.statuses);
    });
}

// Householder reflections of one matrix in double precision, also where a column is zero. As the library stores them.
inline void reflect(double* a, std::ptrdiff_t rows, std::ptrdiff_t columns)
{
    for (std::ptrdiff_t k = 0; k < std::min(columns, rows - 1); ++k) {
        double length = 0;
        for (std::ptrdiff_t i = k; i < rows; ++i)
            length = std::hypot(length, a[i * columns + k]);
        if (length == 0) continue;
        const double alpha = a[k * columns + k] > 0 ? length : -length, pivot = a[k * columns + k] + alpha;
        double squares = 1;
        for (std::ptrdiff_t i = k + 1; i < rows; ++i) {
            a[i * columns + k] /= pivot;
            squares += a[i * columns + k] * a[i * columns + k];
        }
        for (std::ptrdiff_t j = k + 1; j < columns; ++j) {
            double sum = a[k * columns + j];
            for (std::ptrdiff_t i = k + 1; i < rows; ++i)
                sum += a[i * columns + j] * a[i * columns + k];
            sum *= -2 / squares;
            a[k * columns + j] += sum;
            for (std::ptrdiff_t i = k + 1; i < rows; ++i)
                a[i * columns + j] += sum * a[i * columns + k];
        }
        a[k * columns + k] = -alpha;
    }
}

// q, rows x columns, from the reflections below the diagonal of f.
template <class T> void form_q(const T* f, T* q, std::ptrdiff_t rows, std::ptrdiff_t columns)
{
    for (std::ptrdiff_t i = 0; i < rows * columns; ++i)
        q[i] = 0;
    for (std::ptrdiff_t i = 0; i < columns; ++i)
        q[i * columns + i] = 1;
    for (std::ptrdiff_t k = std::min(columns, rows - 1) - 1; k >= 0; --k) {
        T squares = 1;
        for (std::ptrdiff_t i = k + 1; i < rows; ++i)
            squares += f[i * columns + k] * f[i * columns + k];
        // A column that was zero has no reflection.
        if (squares == 1 && f[k * columns + k] == 0) continue;
        const T factor = -2 / squares;
        for (std::ptrdiff_t j = k; j < columns; ++j) {
            T sum = q[k * columns + j];
            for (std::ptrdiff_t i = k + 1; i < rows; ++i)
                sum += q[i * columns + j] * f[i * columns + k];
            sum *= factor;
            q[k * columns + j] += sum;
            for (std::ptrdiff_t i = k + 1; i < rows; ++i)
                q[i * columns + j] += sum * f[i * columns + k];
        }
    }
}

template <class T, class View> void upper_triangle(const T* f, const View& r, std::ptrdiff_t n, int exponent)
{
    const std::ptrdiff_t columns = r.columns();
    for (std::ptrdiff_t i = 0; i < columns; ++i)
        for (std::ptrdiff_t j = 0; j < columns; ++j) {
            const T value = j >= i ? f[i * columns + j] : T(0);
            detail::store(r.address(n, i, j), exponent == 0 ? value : std::ldexp(value, exponent));
        }
}

// Q and R of one matrix that the library refused.
template <class T, class A, class Q, class R> void matrices_of_refused(const A& a, const Q& q, const R& r)
{
    const std::ptrdiff_t rows = a.rows(), columns = a.columns();
    scratch_array<double> factors(rows * columns), orthogonal(rows * columns);
    detail::read_object(a, 0, factors.data());
    reflect(factors.data(), rows, columns);
    form_q(factors.data(), orthogonal.data(), rows, columns);
    detail::write_object(q, 0, orthogonal.data());
    for (std::ptrdiff_t i = 0; i < columns; ++i)
        for (std::ptrdiff_t j = 0; j < columns; ++j)
            detail::store(r.address(0, i, j), j >= i ? static_cast<T>(factors.data()[i * columns + j]) : T(0));
}

// What Q and R are computed in: matrices side by side.
template <class T> struct planar_block {
    detail::planes<T> factors;
    detail::planes<T> orthogonal; // the matrices before Q
    T** factor_table;
    T** orthogonal_table;
    T* buffer;
};

// Q from the reflections below the diagonal of the factors, for pack i of a block. The factors have no column of zeros.
template <class T>
void form_q(const planar_block<T>& block, std::ptrdiff_t i, std::ptrdiff_t rows, std::ptrdiff_t columns)
{
    using pack = detail::pack<T>;
    const auto f = [&](std::ptrdiff_t r, std::ptrdiff_t c) -> const pack& {
        return block.factors.at(r * columns + c, i);
    };
    const auto q = [&](std::ptrdiff_t r, std::ptrdiff_t c) -> pack& { return block.orthogonal.at(r * columns + c, i); };
    const std::ptrdiff_t reflections = std::min(columns, rows - 1);
    for (std::ptrdiff_t r = 0; r < rows; ++r)
        for (std::ptrdiff_t c = 0; c < columns; ++c)
            q(r, c) = pack{} + T(r == c);
    for (std::ptrdiff_t k = reflections - 1; k >= 0; --k) {
        pack squares = pack{} + T(1);
        for (std::ptrdiff_t r = k + 1; r < rows; ++r)
            squares += f(r, k) * f(r, k);
        const pack factor = -2 / squares;
        // Column k is still that of the identity, and so is row k.
        q(k, k) = 1 + factor;
        for (std::ptrdiff_t r = k + 1; r < rows; ++r)
            q(r, k) = factor * f(r, k);
        for (std::ptrdiff_t c = k + 1; c < columns; ++c) {
            pack sum = {};
            for (std::ptrdiff_t r = k + 1; r < rows; ++r)
                sum += q(r, c) * f(r, k);
            sum *= factor;
            q(k, c) = sum;
            for (std::ptrdiff_t r = k + 1; r < rows; ++r)
                q(r, c) += sum * f(r, k);
        }
    }
}

// The same for square matrices of an order that is a constant: unrolled, and in registers as far as they reach.
template <class T, int n> void form_square_q(const planar_block<T>& block, std::ptrdiff_t packs)
{
    using pack = detail::pack<T>;
    for (std::ptrdiff_t i = 0; i < packs; ++i) {
        pack q[n][n];
        TARNM_DETAIL_UNROLL for (int k = n - 1; k >= 0; --k)
        {
            pack v[n], squares = pack{} + T(1);
            TARNM_DETAIL_UNROLL for (int r = k + 1; r < n; ++r)
            {
                v[r] = block.factors.at(r * n + k, i);
                squares += v[r] * v[r];
            }
            // The last one has no reflection.
            const pack factor = k == n - 1 ? pack{} : -2 / squares;
            q[k][k] = 1 + factor;
            TARNM_DETAIL_UNROLL for (int r = k + 1; r < n; ++r) q[r][k] = factor * v[r];
            TARNM_DETAIL_UNROLL for (int c = k + 1; c < n; ++c)
            {
                pack sum = {};
                TARNM_DETAIL_UNROLL for (int r = k + 1; r < n; ++r) sum += q[r][c] * v[r];
                sum *= factor;
                q[k][c] = sum;
                TARNM_DETAIL_UNROLL for (int r = k + 1; r < n; ++r) q[r][c] += sum * v[r];
            }
        }
        TARNM_DETAIL_UNROLL for (int r = 0; r < n; ++r) TARNM_DETAIL_UNROLL for (int c = 0; c < n; ++c)
            block.orthogonal.at(r * n + c, i) = q[r][c];
    }
}

template <class T>
void form_all_q(const planar_block<T>& block, std::ptrdiff_t packs, std::ptrdiff_t rows, std::ptrdiff_t columns)
{
    const auto form = [&](auto order) {
        form_square_q<T, order>(block, packs);
        return true;
    };
    if (rows == columns && by_small_order(rows, form)) return;
    for (std::ptrdiff_t i = 0; i < packs; ++i)
        form_q(block, i, rows, columns);
}

// Q and R of a block that the library factors as it is. False where it refuses a matrix: nothing is written then.
template <class T, class A, class Q, class R>
bool q_and_r_in_planes(const A& a, const Q& q, const R& r, const planar_block<T>& block)
{
    const std::ptrdiff_t rows = a.rows(), columns = a.columns(), count = a.count();
    detail::read_planes(a, block.orthogonal);
    if (detail::qr_views(detail::matrices_at(block.orthogonal_table, count, rows, columns),
                         detail::matrices_at(block.factor_table, count, rows, columns), block.buffer,
                         std::tie(std::nothrow)) != StatusOk)
        return false;
    for (std::ptrdiff_t e = 0; e < rows * columns; ++e)
        detail::fill_tail(block.factors.plane(e), count);
    form_all_q(block, detail::packs_of<T>(count), rows, columns);
    // What stood below the diagonal has served.
    for (std::ptrdiff_t i = 0; i < columns; ++i)
        for (std::ptrdiff_t j = 0; j < i; ++j)
            std::fill_n(block.factors.plane(i * columns + j), count, T(0));
    const auto same = [](std::ptrdiff_t c) { return c; };
    detail::write_planes(q, block.orthogonal, same);
    detail::write_planes(r, block.factors, same);
    return true;
}

// Q and R of one matrix. Gives the number of failures.
template <class T, class A, class Q, class R>
std::ptrdiff_t q_and_r_alone(const A& a, const Q& q, const R& r, tarnmStatus& status)
{
    const std::ptrdiff_t rows = a.rows(), columns = a.columns(), size = rows * columns;
    scratch_array<T> source(size), factors(size), orthogonal(size);
    std::int32_t exponent = 0;
    detail::read_object(a, 0, source.data());
    factor_block<T>(matrix_array<const T>(source.data(), 1, rows, columns), factors.data(), &exponent, &status);
    if (status != StatusOk) {
        matrices_of_refused<T>(a, q, r);
        if (detail::all_finite(source.data(), size)) status = StatusOk;
        return status != StatusOk;
    }
    form_q(factors.data(), orthogonal.data(), rows, columns);
    detail::write_object(q, 0, orthogonal.data());
    upper_triangle(factors.data(), r, 0, exponent);
    return 0;
}

// out: Q, R.
template <class T> std::ptrdiff_t q_and_r(const batch& work)
{
    const std::ptrdiff_t rows = work.in[0].rows, columns = work.in[0].columns, size = rows * columns;
    const std::ptrdiff_t step = objects_per_block(2 * size * std::ptrdiff_t{sizeof(T)}, work.count);
    const std::ptrdiff_t width = detail::plane_width<T>(step);
    scratch_array<T> elements(2 * size * width), column(rows);
    scratch_array<T*> tables(2 * size);
    const planar_block<T> block = {
        {elements.data(), width}, {elements + size * width, width}, tables.data(), tables + size, column.data()};
    detail::table_of(block.factors, size, block.factor_table);
    detail::table_of(block.orthogonal, size, block.orthogonal_table);
    std::ptrdiff_t failures = 0;
    for (std::ptrdiff_t first = 0; first < work.count; first += step) {
        const std::ptrdiff_t count = std::min(step, work.count - first);
        const operand source = part(work.in[0], first);
        const std::ptrdiff_t failed = by_place(work, [&](auto place) -> std::ptrdiff_t {
            const auto q = matrices<T, place.value>(part(work.out[0], first), count);
            const auto r = matrices<T, place.value>(part(work.out[1], first), count);
            const auto a = matrices<const T, place.value>(source, count);
            if (q_and_r_in_planes(a, q, r, block)) {
                std::fill_n(work.statuses + first, count, StatusOk);
                return 0;
            }
            std::ptrdiff_t refused = 0;
            for (std::ptrdiff_t n = 0; n < count; ++n)
                refused +=
                    q_and_r_alone<T>(a.objects(n, 1), q.objects(n, 1), r.objects(n, 1), work.statuses[first + n]);
            return refused;
        });
        failures += failed;
    }
    return failures;
}

// in: packed factors, right sides.
template <class T> std::ptrdiff_t solve_factored(const batch& work)
{
    const operand &f = work.in[0], &b = work.in[1];
    return by_place(work, [&](auto place) -> std::ptrdiff_t {
        for (std::ptrdiff_t k = 0; k < b.columns; ++k) {
            const auto right = columns_of<const T, place.value>(b, k, work.count);
            const auto x = columns_of<T, place.value>(work.out[0], k, work.count);
            const tarnmStatus status =
                f.many ? qr_solve(matrices<const T, place.value>(f, work.count), right, x, std::nothrow)
                       : qr_solve(matrix<const T, place.value>(f), right, x, std::nothrow);
            if (status != StatusOk) return status;
        }
        return 0;
    });
}

} // namespace

const kernel_pair qr_factors = {factor<float>, factor<double>};
const kernel_pair qr_solutions = {least_squares<float>, least_squares<double>};
const kernel_pair qr_matrices = {q_and_r<float>, q_and_r<double>};
const kernel_pair qr_factored_solutions = {solve_factored<float>, solve_factored<double>};

} // namespace tarnm::python
