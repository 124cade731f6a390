// Eigenproblems in the order and the form that users of NumPy know: ascending values of symmetric matrices, complex numbers,
// vectors of length 1.
#include <tarnm/detail/general_vectors.h>
#include <tarnm/detail/symmetric.h>

#include "blocks.h"

namespace tarnm::python {
namespace {

template <class T> std::ptrdiff_t values_of_symmetric(const batch& work)
{
    const std::ptrdiff_t order = work.in[0].rows;
    const auto values = packed<T>(work.out[0], work.count * order);
    const auto statuses = statuses_of(work);
    return by_place(work, [&](auto place) {
        return detail::symmetric_values_right(matrices<const T, place.value>(work.in[0], work.count),
                                              detail::make_run(values, order), nullptr,
                                              std::tie(statuses, std::nothrow), detail::sorting::ascending);
    });
}

template <class T> std::ptrdiff_t vectors_of_symmetric(const batch& work)
{
    const std::ptrdiff_t order = work.in[0].rows;
    const auto values = packed<T>(work.out[0], work.count * order);
    const auto statuses = statuses_of(work);
    return by_place(work, [&](auto place) {
        return detail::symmetric_vectors_right(matrices<const T, place.value>(work.in[0], work.count),
                                               detail::make_run(values, order),
                                               matrices<T, place.value>(work.out[1], work.count), nullptr,
                                               std::tie(statuses, std::nothrow), detail::sorting::ascending);
    });
}

// Complex numbers are pairs. Whether one has an imaginary part.
template <class T> bool join(const T* real, const T* imaginary, std::ptrdiff_t size, T* values)
{
    bool found = false;
    for (std::ptrdiff_t i = 0; i < size; ++i) {
        values[2 * i] = real[i];
        values[2 * i + 1] = imaginary[i];
        found |= imaginary[i] != 0;
    }
    return found;
}

// Block by block, so that the parts of the values stay near before they are joined.
template <class T> std::ptrdiff_t values_of_general(const batch& work)
{
    const std::ptrdiff_t order = work.in[0].rows;
    const std::ptrdiff_t step = objects_per_block(order * order * std::ptrdiff_t{sizeof(T)}, work.count);
    scratch_array<T> real(step * order), imaginary(step * order);
    std::ptrdiff_t failures = 0;
    for (std::ptrdiff_t first = 0; first < work.count; first += step) {
        const std::ptrdiff_t count = std::min(step, work.count - first), size = count * order;
        const std::span re(real.data(), static_cast<std::size_t>(size)),
            im(imaginary.data(), static_cast<std::size_t>(size));
        const std::span statuses(work.statuses + first, static_cast<std::size_t>(count));
        const std::ptrdiff_t failed = by_place(work, [&](auto place) {
            return eigenvalues(matrices<const T, place.value>(part(work.in[0], first), count), re, im, statuses);
        });
        if (failed < 0) return failed;
        failures += failed;
        T* const values = static_cast<T*>(work.out[0].data) + 2 * first * order;
        work.complex_found |= join(real.data(), imaginary.data(), size, values);
    }
    return failures;
}

// The vectors of one matrix: pairs of columns become conjugate complex vectors, every vector gets length 1. `sign` is that of
// the imaginary part of the first of a pair.
template <class T> void join_vectors(const T* vectors, const T* imaginary, T* joined, std::ptrdiff_t order, T sign)
{
    for (std::ptrdiff_t j = 0; j < order; ++j) {
        const bool pair = imaginary[j] != 0 && j + 1 < order;
        double squares = 0;
        for (std::ptrdiff_t r = 0; r < order; ++r) {
            const double re = vectors[r * order + j], im = pair ? double{vectors[r * order + j + 1]} : 0;
            squares += re * re + im * im;
        }
        const double factor = squares > 0 && std::isfinite(squares) ? 1 / std::sqrt(squares) : 1;
        for (std::ptrdiff_t r = 0; r < order; ++r) {
            T* const place = joined + 2 * (r * order + j);
            place[0] = static_cast<T>(vectors[r * order + j] * factor);
            place[1] = pair ? static_cast<T>(sign * vectors[r * order + j + 1] * factor) : T(0);
            if (!pair) continue;
            place[2] = place[0];
            place[3] = -place[1];
        }
        j += pair;
    }
}

// out: complex values, complex left vectors, complex right vectors, the last two where they are wanted. Left vectors u have
// conj(u) . a = value * conj(u).
template <class T, bool Right, bool Left, layout Place> std::ptrdiff_t vectors_of_general_at(const batch& work)
{
    const std::ptrdiff_t order = work.in[0].rows, size = order * order, all = work.count * order;
    scratch_array<T> real(all), imaginary(all), right(Right ? work.count * size : 1),
        left(Left ? work.count * size : 1);
    const auto a = matrices<const T, Place>(work.in[0], work.count);
    const std::span re(real.data(), static_cast<std::size_t>(all)), im(imaginary.data(), static_cast<std::size_t>(all));
    packed_beside<T, Place> right_place(right.data(), Right ? work.count : 1, order, order),
        left_place(left.data(), Left ? work.count : 1, order, order);
    const auto right_view = right_place.view();
    const auto left_view = left_place.view();
    std::ptrdiff_t failures;
    if constexpr (Right && Left)
        failures = eigenvectors(a, re, im, right_view, left_view, statuses_of(work));
    else if constexpr (Right)
        failures = eigenvectors(a, re, im, right_view, statuses_of(work));
    else
        failures = left_eigenvectors(a, re, im, left_view, statuses_of(work));
    if (failures < 0) return failures;
    work.complex_found |= join(real.data(), imaginary.data(), all, static_cast<T*>(work.out[0].data));
    for (std::ptrdiff_t n = 0; n < work.count; ++n) {
        const T* const im_n = imaginary + n * order;
        if constexpr (Right)
            join_vectors(right + n * size, im_n, static_cast<T*>(work.out[Left ? 2 : 1].data) + 2 * n * size, order,
                         T(1));
        if constexpr (Left)
            join_vectors(left + n * size, im_n, static_cast<T*>(work.out[1].data) + 2 * n * size, order, T(-1));
    }
    return failures;
}

template <class T, bool Right, bool Left> std::ptrdiff_t vectors_of_general(const batch& work)
{
    const std::ptrdiff_t order = work.in[0].rows;
    const std::ptrdiff_t step = objects_per_block(order * order * std::ptrdiff_t{sizeof(T)}, work.count);
    std::ptrdiff_t failures = 0;
    for (std::ptrdiff_t first = 0; first < work.count; first += step) {
        const batch some = part_of(work, first, std::min(step, work.count - first));
        const std::ptrdiff_t failed =
            by_place(work, [&](auto place) { return vectors_of_general_at<T, Right, Left, place.value>(some); });
        if (failed < 0) return failed;
        failures += failed;
        work.complex_found |= some.complex_found;
    }
    return failures;
}

} // namespace

const kernel_pair symmetric_values = {values_of_symmetric<float>, values_of_symmetric<double>};
const kernel_pair symmetric_vectors = {vectors_of_symmetric<float>, vectors_of_symmetric<double>};
const kernel_pair general_values = {values_of_general<float>, values_of_general<double>};
const kernel_pair general_vectors = {vectors_of_general<float, true, false>, vectors_of_general<double, true, false>};
const kernel_pair left_vectors = {vectors_of_general<float, false, true>, vectors_of_general<double, false, true>};
const kernel_pair general_vectors_both = {vectors_of_general<float, true, true>,
                                          vectors_of_general<double, true, true>};

} // namespace tarnm::python
