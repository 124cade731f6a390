// eigenvalues(a, real, imaginary): eigenvalues of general matrices.
//
// The C function neglects elements by an absolute tolerance, and takes a block with equal diagonal elements for a complex
// pair even where its values are real. Here every matrix is divided by a power of two first; the values must have the
// sum of the diagonal, and their squares the trace of the square of the matrix. A matrix where that fails, or that did not
// converge, is done again as Q * a * Q with an orthogonal Q, which has the same values and another diagonal.
//
// A complex pair stands at neighbouring positions, the positive imaginary part first. Values are not sorted. Status per
// object: StatusNotConverged where no similarity led to values that pass, and for NaN and infinities.
#ifndef TARNM_DETAIL_GENERAL_H
#define TARNM_DETAIL_GENERAL_H

#include "eigen.h"
#include "right.h"

namespace tarnm {
namespace detail {

// Whether the values have the traces of the matrix and of its square.
template <class T> bool traces_agree(const T* a, const T* real, const T* imaginary, std::ptrdiff_t order)
{
    double trace = 0, trace_of_square = 0, norm = 0, sum = 0, sum_of_squares = 0;
    for (std::ptrdiff_t r = 0; r < order; ++r) {
        trace += a[r * order + r];
        sum += real[r];
        sum_of_squares += double{real[r]} * real[r] - double{imaginary[r]} * imaginary[r];
        for (std::ptrdiff_t c = 0; c < order; ++c) {
            trace_of_square += double{a[r * order + c]} * a[c * order + r];
            norm += double{a[r * order + c]} * a[r * order + c];
        }
    }
    const double tolerance = 32.0 * static_cast<double>(order) * std::numeric_limits<T>::epsilon();
    return std::abs(sum - trace) <= tolerance * std::sqrt(norm) &&
           std::abs(sum_of_squares - trace_of_square) <= tolerance * norm;
}

// Q * a * Q with the reflection Q = I - 2 v vT / (vT v). The attempts differ in v.
template <class T> void reflect_both_sides(const T* a, T* similar, std::ptrdiff_t order, int attempt)
{
    const auto v = [attempt](std::ptrdiff_t i) { return 1.0 + std::sin(double(1 + attempt) * double(i + 1) * 0.7); };
    double length = 0;
    for (std::ptrdiff_t i = 0; i < order; ++i)
        length += v(i) * v(i);
    std::copy_n(a, order * order, similar);
    const auto reflect = [&](std::ptrdiff_t first, std::ptrdiff_t step) {
        double sum = 0;
        for (std::ptrdiff_t i = 0; i < order; ++i)
            sum += v(i) * similar[first + i * step];
        for (std::ptrdiff_t i = 0; i < order; ++i)
            similar[first + i * step] = static_cast<T>(similar[first + i * step] - 2 * sum / length * v(i));
    };
    for (std::ptrdiff_t c = 0; c < order; ++c)
        reflect(c, order);
    for (std::ptrdiff_t r = 0; r < order; ++r)
        reflect(r * order, 1);
}

template <class T> tarnmStatus general_values_once(T* matrix, T* real, T* imaginary, std::ptrdiff_t order, void* buffer)
{
    const auto size = static_cast<std::size_t>(order);
    return general_values_views(matrix_array<T>(matrix, 1, order, order), run<T>{real, order, size},
                                run<T>{imaginary, order, size}, buffer, std::tie(std::nothrow));
}

// One matrix whose values did not pass.
template <class T>
tarnmStatus general_values_again(const T* matrix, T* similar, T* real, T* imaginary, std::ptrdiff_t order, void* buffer)
{
    for (int attempt = 0; attempt < 8; ++attempt) {
        reflect_both_sides(matrix, similar, order, attempt);
        const tarnmStatus status = general_values_once(similar, real, imaginary, order, buffer);
        if (status == StatusOk && traces_agree(matrix, real, imaginary, order)) return StatusOk;
    }
    return StatusNotConverged;
}

// Some matrices: scaled copies, one call, a look at every object, scale undone.
template <class A, class R, class T>
tarnmStatus general_values_part(const A& a, const R& real, const R& imaginary, T* matrices, std::int32_t* exponents,
                                void* buffer)
{
    const std::ptrdiff_t order = a.rows(), size = order * order, count = a.count();
    for (std::ptrdiff_t n = 0; n < count; ++n) {
        T* const matrix = matrices + n * size;
        read_object(a, n, matrix);
        if (all_finite(matrix, size)) {
            exponents[n] = normalise(matrix, order);
        } else {
            std::fill_n(matrix, size, T(0));
            exponents[n] = std::numeric_limits<std::int32_t>::min();
        }
    }
    const tarnmStatus whole = general_values_views(matrix_array<T>(matrices, count, order, order), real, imaginary,
                                                   buffer, std::tie(std::nothrow));
    tarnmStatus first_failure = StatusOk;
    for (std::ptrdiff_t n = 0; n < count; ++n) {
        T* const matrix = matrices + n * size;
        T* const re = real.data + n * order;
        T* const im = imaginary.data + n * order;
        tarnmStatus status = StatusNotConverged;
        if (exponents[n] != std::numeric_limits<std::int32_t>::min()) {
            status = whole == StatusOk ? whole : general_values_once(matrix, re, im, order, buffer);
            if (status != StatusOk || !traces_agree(matrix, re, im, order))
                status = general_values_again(matrix, matrices + count * size, re, im, order, buffer);
            scale_by_power(re, order, exponents[n]);
            scale_by_power(im, order, exponents[n]);
        }
        first_failure = first_failure != StatusOk ? first_failure : status;
    }
    return first_failure;
}

template <class A, class R>
tarnmStatus general_values_all(const A& a, const R& real, const R& imaginary, workspace* given)
{
    using T = typename A::value_type;
    const auto size = static_cast<std::size_t>(a.rows()) * static_cast<std::size_t>(a.rows());
    const std::ptrdiff_t fitting = (std::ptrdiff_t{1} << 18) / static_cast<std::ptrdiff_t>(size * sizeof(T));
    const std::ptrdiff_t step = std::clamp<std::ptrdiff_t>(fitting, 1, a.count());
    // The matrices, one for a similar matrix, the scratch of the call, exponents.
    const std::size_t matrices = (static_cast<std::size_t>(step) + 1) * size * sizeof(T);
    const std::size_t bytes = matrices + general_bytes(a) + static_cast<std::size_t>(step) * sizeof(std::int32_t);
    std::unique_ptr<std::byte[]> own;
    alignas(32) std::byte small[2048];
    std::byte* place = small;
    if (bytes > sizeof small) {
        if (given == nullptr) own.reset(new std::byte[bytes]);
        place = given != nullptr ? static_cast<std::byte*>(given->reserve(bytes)) : own.get();
    }
    auto* const exponents = reinterpret_cast<std::int32_t*>(place + matrices + general_bytes(a));
    tarnmStatus first_failure = StatusOk;
    for (std::ptrdiff_t first = 0; first < a.count(); first += step) {
        const std::ptrdiff_t count = std::min<std::ptrdiff_t>(step, a.count() - first);
        const tarnmStatus status =
            general_values_part(a.objects(first, count), real.objects(first, count), imaginary.objects(first, count),
                                reinterpret_cast<T*>(place), exponents, place + matrices);
        first_failure = first_failure != StatusOk ? first_failure : status;
    }
    return first_failure;
}

template <class A, class R, class Options>
TARNM_DETAIL_INLINE auto general_values_right(const A& a, const R& real, const R& imaginary, workspace* given,
                                              Options options)
{
    const problem shapes = first_of(check(a, "a"), must_be_square(a, "a"));
    const auto call = [given](const auto& a_, const auto& real_, const auto& imaginary_) {
        return general_values_all(a_, real_, imaginary_, given);
    };
    return execute("eigenvalues", shapes, call, options, named<A>{"a", a}, named<R>{"real", real},
                   named<R>{"imaginary", imaginary});
}

} // namespace detail

template <detail::matrix_operand A, detail::run_for<A> R, detail::run_for<A> I, detail::option... Options>
requires(!detail::operand_type<A>::is_transposed) TARNM_DETAIL_INLINE
    auto eigenvalues(A&& a, R&& real, I&& imaginary, Options&&... options)
{
    const auto view = detail::as_array(detail::operand_of(a));
    return detail::general_values_right(view, detail::make_run(real, view.rows()),
                                        detail::make_run(imaginary, view.rows()), detail::workspace_of(options...),
                                        std::tie(options...));
}

// The vectors are computed as they are by plain:: with the sides of the matrix passed.
using plain::eigenvectors;
using plain::left_eigenvectors;

} // namespace tarnm

#endif
