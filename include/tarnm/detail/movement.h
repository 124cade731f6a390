// Moving objects.
//
//   copy(a, b)            between any two layouts, elements as bit patterns
//   extract(a, numbers)   gathers vectors or matrices into one packed block
//   transpose(a, b)       b is a transposed
//   load_identity(a)      ones on the diagonal, zeros elsewhere
#ifndef TARNM_DETAIL_MOVEMENT_H
#define TARNM_DETAIL_MOVEMENT_H

#include "elementwise.h"

namespace tarnm {
namespace detail {

template <class View> auto array_of(const View& view)
{
    if constexpr (View::is_array)
        return view;
    else
        return view.as_array();
}

consteval std::uint64_t copy_code(shape kind, layout place)
{
    const bool vector = kind == shape::vector;
    switch (place) {
    case layout::strided:
        return vector ? code("vaS") : code("maS");
    case layout::list:
        return vector ? code("vaL") : code("maL");
    default:
        return vector ? code("vaP") : code("maP");
    }
}

template <class A, class D, class Options> auto copy_views(const A& a, const D& d, Options options)
{
    static_assert(A::kind == D::kind, "vectors go to vectors, matrices to matrices");
    const problem shapes = must_have(d, a.rows(), a.columns(), "result");
    const auto call = [](const auto& a_, const auto& d_) {
        return invoke<operation::Copy, copy_code(A::kind, A::place), D::place, typename D::value_type>(
            a_.arguments(), d_.arguments(), seen_sizes(d_), numbers(a_.count()));
    };
    return execute("copy", shapes, call, options, named<A>{"a", a}, named<D>{"result", d});
}

template <class A, class R, class Options> auto extract_views(const A& a, const R& elements, Options options)
{
    const auto call = [](const auto& a_, const auto& elements_) {
        return invoke<operation::Extract, code_of<A>(), A::place, typename A::value_type>(
            a_.arguments(), elements_.arguments(), seen_sizes(a_), count_argument(a_));
    };
    return execute("extract", {}, call, options, named<A>{"a", a}, named<R>{"numbers", elements});
}

template <class A, class D, class Options> auto transpose_views(const A& a, const D& d, Options options)
{
    static_assert(one_layout<A, D>(), "operands of one call lie in one layout; copy moves between layouts");
    static_assert(A::is_array == D::is_array, "the result is an array where the source is one");
    static_assert(!A::is_transposed, "the transpose of a transposed view is a copy");
    const problem shapes = must_have(d, a.columns(), a.rows(), "result");
    const auto call = [](const auto& a_, const auto& d_) {
        return invoke<operation::Transpose, code_of<A>(), layout_of<A, D>(), typename D::value_type>(
            a_.arguments(), seen_sizes(a_), d_.arguments(), count_argument(a_));
    };
    return execute("transpose", shapes, call, options, named<A>{"a", a}, named<D>{"result", d});
}

template <class D, class Options> auto identity_views(const D& d, Options options)
{
    const auto call = [](const auto& d_) {
        return invoke<operation::LoadIdentity, code("ma"), D::place, typename D::value_type>(
            d_.arguments(), seen_sizes(d_), numbers(d_.count()));
    };
    return execute("load_identity", {}, call, options, named<D>{"result", d});
}

} // namespace detail

// result = a, whatever their layouts.
template <source A, result D, detail::option... Options>
requires(detail::same_element<D, A> && !detail::operand_type<A>::is_transposed &&
         !detail::operand_type<D>::is_transposed &&
         detail::operand_type<A>::is_array == detail::operand_type<D>::is_array) auto copy(A&& a, D&& result,
                                                                                           Options&&... options)
{
    return detail::copy_views(detail::array_of(detail::operand_of(a)), detail::array_of(detail::operand_of(result)),
                              std::tie(options...));
}

// The elements of all objects of a, row by row, one behind the other.
template <source A, detail::run_of<typename detail::operand_type<A>::value_type> R, detail::option... Options>
TARNM_DETAIL_INLINE auto extract(A&& a, R&& numbers, Options&&... options)
{
    const auto view = detail::operand_of(a);
    return detail::extract_views(view, detail::make_run(numbers, std::ptrdiff_t{view.rows()} * view.columns()),
                                 std::tie(options...));
}

// result = a transposed
template <detail::matrix_operand A, detail::matrix_result D, detail::option... Options>
requires detail::same_element<D, A> TARNM_DETAIL_INLINE auto transpose(A&& a, D&& result, Options&&... options)
{
    return detail::transpose_views(detail::operand_of(a), detail::operand_of(result), std::tie(options...));
}

// Every matrix becomes the identity.
template <detail::matrix_result D, detail::option... Options> auto load_identity(D&& result, Options&&... options)
{
    return detail::identity_views(detail::array_of(detail::operand_of(result)), std::tie(options...));
}

} // namespace tarnm

#endif
