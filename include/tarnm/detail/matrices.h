// Scalars of a matrix and its inverse.
//
//   trace(a), frobenius_norm(a), determinant(a)   of single matrices: the number
//   trace(a, numbers), ...                        one number for each object
//   plain::invert(a, inverse)                     the inverse as the C function gives it
#ifndef TARNM_DETAIL_MATRICES_H
#define TARNM_DETAIL_MATRICES_H

#include "call.h"

namespace tarnm {
namespace detail {

template <class A, class R, class Options> auto trace_views(const A& a, const R& sums, Options options)
{
    static_assert(!A::is_transposed, "a matrix and its transpose have one trace");
    const auto call = [](const auto& a_, const auto& sums_) {
        return invoke<operation::Trace, code_of<A>(), A::place, typename A::value_type>(
            a_.arguments(), numbers(a_.columns()), sums_.arguments(), count_argument(a_));
    };
    return execute("trace", must_be_square(a, "a"), call, options, named<A>{"a", a}, named<R>{"numbers", sums});
}

template <class A, class R, class Options> auto frobenius_views(const A& a, const R& norms, Options options)
{
    static_assert(!A::is_transposed, "a matrix and its transpose have one norm");
    const auto call = [](const auto& a_, const auto& norms_) {
        return invoke<operation::FrobNorm, code_of<A>(), A::place, typename A::value_type>(
            a_.arguments(), numbers(a_.columns(), a_.rows()), norms_.arguments(), count_argument(a_));
    };
    return execute("frobenius_norm", {}, call, options, named<A>{"a", a}, named<R>{"numbers", norms});
}

// A working copy and row indices.
template <class A> std::size_t elimination_bytes(const A& a)
{
    const std::size_t n = a.rows() > 0 ? a.rows() : 0;
    return n * n * sizeof(typename A::value_type) + n * sizeof(std::int32_t);
}

template <class A, class R, class Options>
TARNM_DETAIL_INLINE auto determinant_views(const A& a, const R& determinants, void* buffer, Options options)
{
    static_assert(!A::is_transposed, "a matrix and its transpose have one determinant");
    const auto call = [buffer](const auto& a_, const auto& determinants_) {
        return invoke<operation::Det, code_of<A>(), A::place, typename A::value_type>(
            a_.arguments(), numbers(a_.rows()), std::tuple(buffer), determinants_.arguments(), count_argument(a_));
    };
    return execute("determinant", must_be_square(a, "a"), call, options, named<A>{"a", a},
                   named<R>{"numbers", determinants});
}

template <class A, class D, class Options> auto invert_views(const A& a, const D& d, void* buffer, Options options)
{
    static_assert(one_layout<A, D>(), "operands of one call lie in one layout; copy moves between layouts");
    static_assert(A::is_array == D::is_array, "the result is an array where the source is one");
    static_assert(!A::is_transposed, "invert the matrix and read the inverse transposed");
    const problem shapes = first_of(must_be_square(a, "a"), must_have(d, a.rows(), a.rows(), "inverse"));
    const auto call = [buffer](const auto& a_, const auto& d_) {
        return invoke<operation::Invert, code_of<A>(), layout_of<A, D>(), typename D::value_type>(
            a_.arguments(), std::tuple(buffer), d_.arguments(), numbers(a_.rows()), count_argument(a_));
    };
    return execute("invert", shapes, call, options, named<A>{"a", a}, named<D>{"inverse", d});
}

template <class A>
concept single_matrix = matrix_operand<A> && !operand_type<A>::is_array;

} // namespace detail

// The sum of the diagonal. Throws on failure.
template <detail::single_matrix A> auto trace(A&& a)
{
    typename detail::operand_type<A>::value_type sum;
    detail::trace_views(detail::operand_of(a), detail::run<decltype(sum)>{&sum, 1, 1}, std::tuple());
    return sum;
}

template <detail::matrix_operand A, detail::run_of<typename detail::operand_type<A>::value_type> R,
          detail::option... Options>
TARNM_DETAIL_INLINE auto trace(A&& a, R&& numbers, Options&&... options)
{
    return detail::trace_views(detail::operand_of(a), detail::make_run(numbers, 1), std::tie(options...));
}

// The square root of the sum of the squares of all elements. Throws on failure.
template <detail::single_matrix A> auto frobenius_norm(A&& a)
{
    typename detail::operand_type<A>::value_type norm;
    detail::frobenius_views(detail::operand_of(a), detail::run<decltype(norm)>{&norm, 1, 1}, std::tuple());
    return norm;
}

template <detail::matrix_operand A, detail::run_of<typename detail::operand_type<A>::value_type> R,
          detail::option... Options>
TARNM_DETAIL_INLINE auto frobenius_norm(A&& a, R&& numbers, Options&&... options)
{
    return detail::frobenius_views(detail::operand_of(a), detail::make_run(numbers, 1), std::tie(options...));
}

// Throws on failure; a singular matrix is none.
template <detail::single_matrix A> auto determinant(A&& a)
{
    const auto view = detail::operand_of(a);
    detail::scratch buffer(detail::elimination_bytes(view));
    typename detail::operand_type<A>::value_type value;
    detail::determinant_views(view, detail::run<decltype(value)>{&value, 1, 1}, buffer.get(), std::tuple());
    return value;
}

template <detail::matrix_operand A, detail::run_of<typename detail::operand_type<A>::value_type> R,
          detail::option... Options>
TARNM_DETAIL_INLINE auto determinant(A&& a, R&& numbers, Options&&... options)
{
    const auto view = detail::operand_of(a);
    detail::scratch buffer(detail::elimination_bytes(view), options...);
    return detail::determinant_views(view, detail::make_run(numbers, 1), buffer.get(), std::tie(options...));
}

namespace plain {

// What the C function gives, with its limits: see the reference page of Invert.
template <detail::matrix_operand A, detail::matrix_result D, detail::option... Options>
requires detail::same_element<D, A> TARNM_DETAIL_INLINE auto invert(A&& a, D&& inverse, Options&&... options)
{
    const auto view = detail::operand_of(a);
    detail::scratch buffer(detail::elimination_bytes(view), options...);
    return detail::invert_views(view, detail::operand_of(inverse), buffer.get(), std::tie(options...));
}

} // namespace plain
} // namespace tarnm

#endif
