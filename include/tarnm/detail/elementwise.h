// Element by element: add, subtract, scale.
//
//   add(a, b, sum)             vectors, matrices, or a vector and a constant in either order
//   subtract(a, b, difference) the same
//   scale(a, c, product)       a vector or matrix by a constant
//
// A constant is a number, or one for each object. Either operand may be one object or an array.
#ifndef TARNM_DETAIL_ELEMENTWISE_H
#define TARNM_DETAIL_ELEMENTWISE_H

#include "call.h"

namespace tarnm {
namespace detail {

// One number for the whole call, with the letter c and its value as its only argument.
template <class T> struct number {
    using element_type = const T;
    using value_type = T;
    static constexpr shape kind = shape::constant;
    static constexpr layout place = layout::strided;
    static constexpr bool is_array = false;
    static constexpr bool is_transposed = false;

    T value;

    constexpr std::tuple<T> arguments() const { return {value}; }
    constexpr number objects(std::ptrdiff_t, std::ptrdiff_t) const { return *this; }
    constexpr problem blame(tarnmStatus, const char*) const { return {}; }
};

template <class X>
concept term = source<X> || std::is_arithmetic_v<std::remove_cvref_t<X>>;

template <class T, class X> auto term_of(X& x)
{
    if constexpr (std::is_arithmetic_v<std::remove_cvref_t<X>>)
        return number<T>{static_cast<T>(x)};
    else
        return operand_of(x);
}

// Sizes of the result as the last arguments: the length of a vector, width and height of a matrix.
template <class View> constexpr auto seen_sizes(const View& view)
{
    if constexpr (View::kind == shape::vector)
        return numbers(view.columns());
    else
        return numbers(view.columns(), view.rows());
}

template <class View, class Result>
constexpr problem must_match(const View& view, const Result& result, const char* name)
{
    if constexpr (View::kind == shape::constant) {
        return {};
    } else {
        static_assert(View::kind == Result::kind, "vectors go with vectors, matrices with matrices");
        return must_have(view, result.rows(), result.columns(), name);
    }
}

// Sums of some shapes exist in the other order only.
template <operation Operation, class A, class B, class T, layout Layout>
inline constexpr bool goes_reversed = Operation == operation::Add && !exists<Operation, code_of<A, B>(), Layout, T> &&
                                      exists<Operation, code_of<B, A>(), Layout, T>;

template <operation Operation, std::uint64_t Code, class T, class A, class B, class D>
tarnmStatus combine(const A& a, const B& b, const D& d)
{
    // A constant follows the vector in the list, also in codes that name it first.
    if constexpr (A::kind == shape::constant)
        return invoke<Operation, Code, layout_of<A, B, D>(), T>(b.arguments(), a.arguments(), d.arguments(),
                                                                seen_sizes(d), count_argument(a, b, d));
    else
        return invoke<Operation, Code, layout_of<A, B, D>(), T>(a.arguments(), b.arguments(), d.arguments(),
                                                                seen_sizes(d), count_argument(a, b, d));
}

template <operation Operation, class T, class A, class B, class D, class Options>
TARNM_DETAIL_INLINE auto combine_checked(const char* function, const A& a, const B& b, const D& d, Options options)
{
    static_assert(one_layout<A, B, D>(), "operands of one call lie in one layout; copy moves between layouts");
    static_assert(D::is_array == (A::is_array || B::is_array), "the result is an array where an operand is one");
    const problem shapes = first_of(must_match(a, d, "a"), must_match(b, d, "b"));
    const auto call = [](const auto& d_, const auto& a_, const auto& b_) {
        if constexpr (goes_reversed<Operation, A, B, T, layout_of<A, B, D>()>)
            return combine<Operation, code_of<B, A>(), T>(b_, a_, d_);
        else
            return combine<Operation, code_of<A, B>(), T>(a_, b_, d_);
    };
    return execute(function, shapes, call, options, named<D>{"result", d}, named<A>{"a", a}, named<B>{"b", b});
}

template <operation Operation, class A, class B, class D, class Options>
TARNM_DETAIL_INLINE auto combine_operands(const char* function, A& a, B& b, D& d, Options options)
{
    using T = typename operand_type<D>::value_type;
    return combine_checked<Operation, T>(function, term_of<T>(a), term_of<T>(b), operand_of(d), options);
}

template <class D, class X> inline constexpr bool fits = false;
template <class D, class X>
requires std::is_arithmetic_v<std::remove_cvref_t<X>>
inline constexpr bool fits<D, X> = true;
template <class D, source X> inline constexpr bool fits<D, X> = same_element<D, X>;

template <class D, class... Terms>
concept one_element = (fits<D, Terms> && ...);

} // namespace detail

// sum = a + b
template <detail::term A, detail::term B, result D, detail::option... Options>
requires detail::one_element<D, A, B> TARNM_DETAIL_INLINE auto add(A&& a, B&& b, D&& sum, Options&&... options)
{
    return detail::combine_operands<detail::operation::Add>("add", a, b, sum, std::tie(options...));
}

// difference = a - b
template <detail::term A, detail::term B, result D, detail::option... Options>
requires detail::one_element<D, A, B> TARNM_DETAIL_INLINE auto subtract(A&& a, B&& b, D&& difference,
                                                                        Options&&... options)
{
    return detail::combine_operands<detail::operation::Sub>("subtract", a, b, difference, std::tie(options...));
}

// product = c * a
template <source A, detail::term C, result D, detail::option... Options>
requires detail::one_element<D, A, C> TARNM_DETAIL_INLINE auto scale(A&& a, C&& c, D&& product, Options&&... options)
{
    return detail::combine_operands<detail::operation::Mul>("scale", a, c, product, std::tie(options...));
}

} // namespace tarnm

#endif
