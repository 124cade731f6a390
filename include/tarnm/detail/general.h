// eigenvalues(a, real, imaginary): eigenvalues of general matrices.
//
// The C function neglects elements by an absolute tolerance, and takes a block with equal diagonal elements for a complex
// pair even where its values are real. Here every matrix is divided by a power of two first; the values must have the
// sum of the diagonal, and their squares the trace of the square of the matrix. A matrix where that fails, or that did not
// converge, is done again as Q * a * Q with an orthogonal Q, which has the same values and another diagonal.
//
// A complex pair stands at neighbouring positions, the positive imaginary part first. Values are not sorted. Status per
// object: StatusNotConverged where no similarity led to values that pass, and for NaN and infinities, whose values are NaN.
#ifndef TARNM_DETAIL_GENERAL_H
#define TARNM_DETAIL_GENERAL_H

#include "eigen.h"
#include "planes.h"

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

// Q times a row or column, `step` elements apart, with the reflection Q = I - 2 v vT / (vT v). The attempts differ in v.
template <class T> void reflect(T* elements, std::ptrdiff_t step, std::ptrdiff_t order, int attempt)
{
    const auto v = [attempt](std::ptrdiff_t i) { return 1.0 + std::sin(double(1 + attempt) * double(i + 1) * 0.7); };
    double length = 0, sum = 0;
    for (std::ptrdiff_t i = 0; i < order; ++i) {
        length += v(i) * v(i);
        sum += v(i) * elements[i * step];
    }
    for (std::ptrdiff_t i = 0; i < order; ++i)
        elements[i * step] = static_cast<T>(elements[i * step] - 2 * sum / length * v(i));
}

// Q * a * Q.
template <class T> void reflect_both_sides(const T* a, T* similar, std::ptrdiff_t order, int attempt)
{
    std::copy_n(a, order * order, similar);
    for (std::ptrdiff_t c = 0; c < order; ++c)
        reflect(similar + c, order, order, attempt);
    for (std::ptrdiff_t r = 0; r < order; ++r)
        reflect(similar + r * order, 1, order, attempt);
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

// What one call of the C function works on: matrices side by side.
template <class T> struct general_block {
    planes<T> matrices;
    planes<T> factors; // by which the matrices were multiplied; 0 where a matrix is done by itself
    planes<T> sums;    // of each matrix: the trace, that of its square, all squares
    T* single;         // one matrix and a similar one
    T** table;
    void* buffer;
};

// Brings matrices to planes, scaled, and adds up what their values are held against.
template <class A, class T> void prepare_general(const A& a, const general_block<T>& work)
{
    const std::ptrdiff_t order = a.rows();
    read_planes(a, work.matrices);
    for (std::ptrdiff_t i = 0; i < packs_of<T>(a.count()); ++i) {
        const auto at = [&](std::ptrdiff_t r, std::ptrdiff_t c) -> pack<T>& {
            return work.matrices.at(r * order + c, i);
        };
        // The largest sum of magnitudes of a row bounds the eigenvalues. A sum that is not finite makes it NaN.
        pack<T> largest = {}, nothing = {};
        for (std::ptrdiff_t r = 0; r < order; ++r) {
            pack<T> sum = {};
            for (std::ptrdiff_t c = 0; c < order; ++c)
                sum += at(r, c) < pack<T>{} ? -at(r, c) : at(r, c);
            largest = largest < sum ? sum : largest;
            nothing += sum * T(0);
        }
        largest += nothing;
        pack<T>& factor = work.factors.at(0, i);
        scale_factors<T>(largest, factor);
        pack<T> trace = {}, trace_of_square = {}, squares = {};
        for (std::ptrdiff_t r = 0; r < order; ++r) {
            for (std::ptrdiff_t c = 0; c < order; ++c) {
                at(r, c) = factor == pack<T>{} ? pack<T>{} : at(r, c) * factor;
                squares += at(r, c) * at(r, c);
            }
            for (std::ptrdiff_t c = 0; c < r; ++c)
                trace_of_square += 2 * at(r, c) * at(c, r);
            trace_of_square += at(r, r) * at(r, r);
            trace += at(r, r);
        }
        work.sums.at(0, i) = trace;
        work.sums.at(1, i) = trace_of_square;
        work.sums.at(2, i) = squares;
    }
}

// Whether the values of object n have its traces.
template <class T>
bool traces_agree(const general_block<T>& work, std::ptrdiff_t n, const T* real, const T* imaginary,
                  std::ptrdiff_t order)
{
    T sum = 0, sum_of_squares = 0;
    for (std::ptrdiff_t j = 0; j < order; ++j) {
        sum += real[j];
        sum_of_squares += real[j] * real[j] - imaginary[j] * imaginary[j];
    }
    const T tolerance = 32 * static_cast<T>(order) * std::numeric_limits<T>::epsilon();
    const T trace = work.sums.plane(0)[n], trace_of_square = work.sums.plane(1)[n], squares = work.sums.plane(2)[n];
    return (sum - trace) * (sum - trace) <= tolerance * tolerance * squares &&
           std::abs(sum_of_squares - trace_of_square) <= tolerance * squares;
}

// One matrix by itself: one with elements near the ends of the range, or whose values did not pass. One that is not finite
// gets NaN.
template <class A, class T>
tarnmStatus general_values_single(const A& a, std::ptrdiff_t n, T* real, T* imaginary, const general_block<T>& work)
{
    const std::ptrdiff_t order = a.rows(), size = order * order;
    T* const matrix = work.single;
    read_object(a, n, matrix);
    if (!all_finite(matrix, size)) {
        std::fill_n(real, order, std::numeric_limits<T>::quiet_NaN());
        std::fill_n(imaginary, order, T(0));
        return StatusNotConverged;
    }
    const int exponent = normalise(matrix, order);
    tarnmStatus status = general_values_once(matrix, real, imaginary, order, work.buffer);
    if (status != StatusOk || !traces_agree(matrix, real, imaginary, order))
        status = general_values_again(matrix, matrix + size, real, imaginary, order, work.buffer);
    scale_by_power(real, order, exponent);
    scale_by_power(imaginary, order, exponent);
    return status;
}

// Some matrices: scaled, one call, a look at every object, scale undone.
template <class A, class R, class T>
tarnmStatus general_values_part(const A& a, const R& real, const R& imaginary, const general_block<T>& work)
{
    const std::ptrdiff_t order = a.rows(), count = a.count();
    prepare_general(a, work);
    const tarnmStatus whole = general_values_views(matrices_at(work.table, count, order, order), real, imaginary,
                                                   work.buffer, std::tie(std::nothrow));
    tarnmStatus first_failure = StatusOk;
    for (std::ptrdiff_t n = 0; n < count; ++n) {
        T* const re = real.data + n * order;
        T* const im = imaginary.data + n * order;
        const T factor = work.factors.data[n];
        if (whole == StatusOk && factor != 0 && traces_agree(work, n, re, im, order)) {
            const T back = 1 / factor;
            for (std::ptrdiff_t j = 0; j < order; ++j) {
                re[j] *= back;
                im[j] *= back;
            }
            continue;
        }
        const tarnmStatus status = general_values_single(a, n, re, im, work);
        first_failure = first_failure != StatusOk ? first_failure : status;
    }
    return first_failure;
}

template <class A, class R>
tarnmStatus general_values_all(const A& a, const R& real, const R& imaginary, workspace* given)
{
    using T = typename A::value_type;
    constexpr std::ptrdiff_t bytes_of_element = sizeof(T);
    const std::ptrdiff_t size = std::ptrdiff_t{a.rows()} * a.rows();
    const std::ptrdiff_t fitting = (std::ptrdiff_t{1} << 15) / (size * bytes_of_element);
    const std::ptrdiff_t step = std::clamp<std::ptrdiff_t>(fitting, 1, a.count());
    const std::ptrdiff_t width = plane_width<T>(step);
    // Planes, a table of them, one matrix twice, the scratch of the call.
    const std::ptrdiff_t in_planes = (size + 4) * width * bytes_of_element;
    const std::ptrdiff_t tables = size * std::ptrdiff_t{sizeof(T*)};
    const std::size_t bytes =
        static_cast<std::size_t>(in_planes + tables + 2 * size * bytes_of_element) + general_bytes(a) + pack_bytes;
    std::unique_ptr<std::byte[]> own;
    alignas(32) std::byte small[4096];
    std::byte* place = small;
    if (bytes > sizeof small) {
        if (given == nullptr) own.reset(new std::byte[bytes]);
        place = given != nullptr ? static_cast<std::byte*>(given->reserve(bytes)) : own.get();
    }
    place += (pack_bytes - reinterpret_cast<std::uintptr_t>(place) % pack_bytes) % pack_bytes;
    general_block<T> work;
    T* const elements = reinterpret_cast<T*>(place);
    work.matrices = {elements, width};
    work.factors = {elements + size * width, width};
    work.sums = {elements + (size + 1) * width, width};
    work.table = reinterpret_cast<T**>(place + in_planes);
    work.single = reinterpret_cast<T*>(place + in_planes + tables);
    work.buffer = work.single + 2 * size;
    table_of(work.matrices, size, work.table);
    tarnmStatus first_failure = StatusOk;
    for (std::ptrdiff_t first = 0; first < a.count(); first += step) {
        const std::ptrdiff_t count = std::min<std::ptrdiff_t>(step, a.count() - first);
        const tarnmStatus status = general_values_part(a.objects(first, count), real.objects(first, count),
                                                       imaginary.objects(first, count), work);
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

} // namespace tarnm

#endif
