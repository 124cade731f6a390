// invert(a, inverse): the inverse of each matrix, also where its determinant leaves the range of its type.
//
// The C function refuses a matrix by the magnitude of its determinant and, in single precision, loses the inverse where the
// reciprocal of the determinant is not a normal number. Matrices with large elements and matrices that were refused are done
// again with rows and columns multiplied by powers of two, which is exact. All others have the bits of plain::invert().
// StatusSingular then means that a matrix is singular, not that it is small. A failing object does not keep the others from
// being done.
#ifndef TARNM_DETAIL_INVERT_H
#define TARNM_DETAIL_INVERT_H

#include "matrices.h"
#include "right.h"

namespace tarnm {
namespace detail {

// Up to this power of two the elements of a matrix cannot take its determinant out of range: by Hadamard's bound it is
// below order^(order/2) * largest^order. In single precision the range is that of the refined reciprocal, which squares an
// estimate.
template <class T> constexpr int safe_exponent(int order)
{
    constexpr int range = (sizeof(T) == 4 ? 68 : std::numeric_limits<T>::max_exponent) - 6;
    const int log_of_order = std::bit_width(static_cast<unsigned>(order - 1));
    return (range - (order * log_of_order + 1) / 2) / order;
}

// Whether one of packed elements is large, as below, two floats at a time: no sum carries into the float above.
template <class T, class Bits> bool any_packed_beyond(const T* elements, std::ptrdiff_t count, Bits missing)
{
    constexpr std::ptrdiff_t at_once = sizeof(std::uint64_t) / sizeof(T);
    constexpr std::uint64_t one_each = sizeof(T) == 4 ? 0x0000000100000001U : 1U;
    constexpr std::uint64_t signs = one_each << (8 * sizeof(T) - 1);
    std::uint64_t found = 0;
    std::ptrdiff_t i = 0;
    const auto look = [&](std::size_t bytes) {
        std::uint64_t some = 0;
        std::memcpy(&some, elements + i, bytes);
        found |= (some & ~signs) + one_each * missing;
    };
    for (; i + at_once <= count; i += at_once)
        look(sizeof(std::uint64_t));
    if (i < count) look(sizeof(T));
    return (found & signs) != 0;
}

// Whether an element is 2^exponent or larger in magnitude, or not a number: its bits without the sign are then those of
// 2^exponent or more, and a sum with what is missing to the sign sets the sign.
template <class View> bool any_beyond(const View& a, int exponent)
{
    using T = typename View::value_type;
    using bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    constexpr bits sign = bits{1} << (8 * sizeof(bits) - 1);
    const bits missing = sign - std::bit_cast<bits>(std::ldexp(T(1), exponent));
    const std::ptrdiff_t size = std::ptrdiff_t{a.rows()} * a.columns();
    if constexpr (View::place == layout::strided) {
        if (a.element_stride() == sizeof(T) && a.row_stride() == std::ptrdiff_t{a.columns()} * a.element_stride() &&
            a.object_stride() == size * std::ptrdiff_t{sizeof(T)})
            return any_packed_beyond(a.origin(), size * a.count(), missing);
    }
    bits found = 0;
    for (std::ptrdiff_t n = 0; n < a.count(); ++n)
        for (std::ptrdiff_t r = 0; r < a.rows(); ++r)
            for (std::ptrdiff_t c = 0; c < a.columns(); ++c)
                found |= (std::bit_cast<bits>(load(a.address(n, r, c))) & ~sign) + missing;
    return (found & sign) != 0;
}

// One matrix: rows and then columns brought to magnitudes from 1/2 to 1, inverted, and the powers of two given back.
template <class A, class D> tarnmStatus invert_scaled(const A& a, const D& inverse, void* buffer, void* place)
{
    using T = typename A::value_type;
    const std::ptrdiff_t n = a.rows();
    T* const scaled = static_cast<T*>(place);
    T* const result = scaled + n * n;
    auto* const row = reinterpret_cast<std::int32_t*>(result + n * n);
    std::int32_t* const column = row + n;
    read_object(a, 0, scaled);
    const auto exponent_of = [&](std::ptrdiff_t first, std::ptrdiff_t step) {
        T largest = 0;
        for (std::ptrdiff_t i = 0; i < n; ++i)
            largest = std::max(largest, std::abs(scaled[first + i * step]));
        return exponent_above(largest);
    };
    for (std::ptrdiff_t r = 0; r < n; ++r) {
        row[r] = exponent_of(r * n, 1);
        for (std::ptrdiff_t c = 0; c < n; ++c)
            scaled[r * n + c] = std::ldexp(scaled[r * n + c], -row[r]);
    }
    for (std::ptrdiff_t c = 0; c < n; ++c) {
        column[c] = exponent_of(c, n);
        for (std::ptrdiff_t r = 0; r < n; ++r)
            scaled[r * n + c] = std::ldexp(scaled[r * n + c], -column[c]);
    }
    const tarnmStatus status = invert_views(matrix_array<T>(scaled, 1, n, n), matrix_array<T>(result, 1, n, n), buffer,
                                            std::tie(std::nothrow));
    if (status != StatusOk) return status;
    for (std::ptrdiff_t r = 0; r < n; ++r)
        for (std::ptrdiff_t c = 0; c < n; ++c)
            store(inverse.address(0, r, c), std::ldexp(result[r * n + c], -row[c] - column[r]));
    return status;
}

template <class A> std::size_t invert_scaled_bytes(const A& a)
{
    const std::size_t n = a.rows() > 0 ? a.rows() : 0;
    return 2 * n * n * sizeof(typename A::value_type) + 2 * n * sizeof(std::int32_t);
}

// All matrices are done; the status is that of the first that is singular.
template <class A, class D> tarnmStatus invert_all(const A& a, const D& inverse, void* buffer, void* place)
{
    const int exponent = safe_exponent<typename A::value_type>(a.rows());
    // The reciprocal of a small determinant may overflow without a failure.
    constexpr int infinite = std::numeric_limits<typename A::value_type>::max_exponent;
    const auto direct = [&](std::ptrdiff_t first, std::ptrdiff_t count) {
        const auto results = inverse.objects(first, count);
        const tarnmStatus status = invert_views(a.objects(first, count), results, buffer, std::tie(std::nothrow));
        return status == StatusOk && any_beyond(results, infinite) ? StatusSingular : status;
    };
    if (!any_beyond(a, exponent)) {
        const tarnmStatus status = direct(0, a.count());
        if (status != StatusSingular) return status;
    }
    tarnmStatus first_failure = StatusOk;
    for (std::ptrdiff_t first = 0; first < a.count(); first += block) {
        const std::ptrdiff_t count = std::min<std::ptrdiff_t>(block, a.count() - first);
        if (!any_beyond(a.objects(first, count), exponent) && direct(first, count) == StatusOk) continue;
        for (std::ptrdiff_t n = first; n < first + count; ++n) {
            tarnmStatus status = any_beyond(a.objects(n, 1), exponent) ? StatusSingular : direct(n, 1);
            if (status == StatusSingular) status = invert_scaled(a.objects(n, 1), inverse.objects(n, 1), buffer, place);
            first_failure = first_failure != StatusOk ? first_failure : status;
        }
    }
    return first_failure;
}

template <class A, class D, class Options>
TARNM_DETAIL_INLINE auto invert_right(const A& a, const D& inverse, void* buffer, Options options)
{
    const problem shapes = first_of(check(a, "a"), check(inverse, "inverse"), must_be_square(a, "a"),
                                    must_have(inverse, a.rows(), a.rows(), "inverse"));
    const auto call = [buffer](const auto& a_, const auto& inverse_) {
        // Only matrices that are scaled need it, and those are not many.
        scratch place(invert_scaled_bytes(a_));
        return invert_all(a_, inverse_, buffer, place.get());
    };
    return execute("invert", shapes, call, options, named<A>{"a", a}, named<D>{"inverse", inverse});
}

} // namespace detail

template <detail::matrix_operand A, detail::matrix_result D, detail::option... Options>
requires(detail::same_element<D, A> && !detail::operand_type<A>::is_transposed &&
         detail::operand_type<A>::is_array == detail::operand_type<D>::is_array) TARNM_DETAIL_INLINE
    auto invert(A&& a, D&& inverse, Options&&... options)
{
    const auto view = detail::as_array(detail::operand_of(a));
    detail::scratch buffer(detail::elimination_bytes(view), options...);
    return detail::invert_right(view, detail::as_array(detail::operand_of(inverse)), buffer.get(),
                                std::tie(options...));
}

} // namespace tarnm

#endif
