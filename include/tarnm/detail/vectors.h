// Vector algebra.
//
//   dot(a, b), norm(a)                   of single vectors: the number
//   dot(a, b, numbers), norm(a, numbers) one number for each object
//   cross(a, b, product)                 of vectors of three elements
//   saxpy(alpha, x, y, result)           alpha * x + y
//   linear_combination(alpha, a, beta, b, result)
#ifndef TARNM_DETAIL_VECTORS_H
#define TARNM_DETAIL_VECTORS_H

#include "call.h"

namespace tarnm {
namespace detail {

template <class A, class B, class R, class Options>
TARNM_DETAIL_INLINE auto dot_views(const A& a, const B& b, const R& sums, Options options)
{
    static_assert(one_layout<A, B>(), "operands of one call lie in one layout; copy moves between layouts");
    // The products of one vector with an array do not depend on the order of the two.
    if constexpr (B::is_array && !A::is_array) {
        return dot_views(b, a, sums, options);
    } else {
        const problem shapes = must_equal(b.columns(), a.columns(), "b", "size");
        const auto call = [](const auto& a_, const auto& b_, const auto& sums_) {
            return invoke<operation::DotProduct, code_of<A, B>(), layout_of<A, B>(), typename A::value_type>(
                a_.arguments(), b_.arguments(), sums_.arguments(), numbers(a_.columns()), count_argument(a_, b_));
        };
        return execute("dot", shapes, call, options, named<A>{"a", a}, named<B>{"b", b}, named<R>{"numbers", sums});
    }
}

template <class A, class R, class Options> auto norm_views(const A& a, const R& norms, Options options)
{
    const auto call = [](const auto& a_, const auto& norms_) {
        return invoke<operation::L2Norm, code_of<A>(), A::place, typename A::value_type>(
            a_.arguments(), norms_.arguments(), numbers(a_.columns()), count_argument(a_));
    };
    return execute("norm", {}, call, options, named<A>{"a", a}, named<R>{"numbers", norms});
}

template <class A, class B, class D, class Options>
TARNM_DETAIL_INLINE auto cross_views(const A& a, const B& b, const D& d, Options options)
{
    static_assert(one_layout<A, B, D>(), "operands of one call lie in one layout; copy moves between layouts");
    static_assert(D::is_array == (A::is_array || B::is_array), "the result is an array where an operand is one");
    const problem shapes = first_of(must_equal(a.columns(), 3, "a", "size"), must_equal(b.columns(), 3, "b", "size"),
                                    must_equal(d.columns(), 3, "product", "size"));
    const auto call = [](const auto& a_, const auto& b_, const auto& d_) {
        return invoke<operation::CrossProduct, code_of<A, B>(), layout_of<A, B, D>(), typename D::value_type>(
            a_.arguments(), b_.arguments(), d_.arguments(), count_argument(a_, b_, d_));
    };
    return execute("cross", shapes, call, options, named<A>{"a", a}, named<B>{"b", b}, named<D>{"product", d});
}

template <class A, class B, class D, class Options>
TARNM_DETAIL_INLINE auto saxpy_views(typename D::value_type alpha, const A& x, const B& y, const D& d, Options options)
{
    static_assert(one_layout<A, B, D>(), "operands of one call lie in one layout; copy moves between layouts");
    static_assert(D::is_array == (A::is_array || B::is_array), "the result is an array where an operand is one");
    const problem shapes = first_of(must_equal(y.columns(), x.columns(), "y", "size"),
                                    must_equal(d.columns(), x.columns(), "result", "size"));
    const auto call = [alpha](const auto& x_, const auto& y_, const auto& d_) {
        return invoke<operation::Saxpy, code_of<A, B>(), layout_of<A, B, D>(), typename D::value_type>(
            x_.arguments(), std::tuple(alpha), y_.arguments(), d_.arguments(), numbers(d_.columns()),
            count_argument(x_, y_, d_));
    };
    return execute("saxpy", shapes, call, options, named<A>{"x", x}, named<B>{"y", y}, named<D>{"result", d});
}

template <class A, class B, class D, class Options>
TARNM_DETAIL_INLINE auto combination_views(typename D::value_type alpha, const A& a, typename D::value_type beta,
                                           const B& b, const D& d, Options options)
{
    static_assert(one_layout<A, B, D>(), "operands of one call lie in one layout; copy moves between layouts");
    static_assert(D::is_array == (A::is_array || B::is_array), "the result is an array where an operand is one");
    // The library has no such sum of one vector and an array in this order; the sum is the same in the other.
    if constexpr (B::is_array && !A::is_array) {
        return combination_views(beta, b, alpha, a, d, options);
    } else {
        const problem shapes = first_of(must_equal(b.columns(), a.columns(), "b", "size"),
                                        must_equal(d.columns(), a.columns(), "result", "size"));
        const auto call = [alpha, beta](const auto& a_, const auto& b_, const auto& d_) {
            return invoke<operation::LComb, code_of<A, B>(), layout_of<A, B, D>(), typename D::value_type>(
                a_.arguments(), std::tuple(alpha), b_.arguments(), std::tuple(beta), d_.arguments(),
                numbers(d_.columns()), count_argument(a_, b_, d_));
        };
        return execute("linear_combination", shapes, call, options, named<A>{"a", a}, named<B>{"b", b},
                       named<D>{"result", d});
    }
}

} // namespace detail

// The scalar product of two vectors. Throws on failure.
template <detail::vector_operand A, detail::vector_operand B>
requires(detail::same_element<A, B> && !detail::operand_type<A>::is_array &&
         !detail::operand_type<B>::is_array) auto dot(A&& a, B&& b)
{
    typename detail::operand_type<A>::value_type sum;
    detail::dot_views(detail::operand_of(a), detail::operand_of(b), detail::run<decltype(sum)>{&sum, 1, 1},
                      std::tuple());
    return sum;
}

// The scalar product of each pair of vectors.
template <detail::vector_operand A, detail::vector_operand B,
          detail::run_of<typename detail::operand_type<A>::value_type> R, detail::option... Options>
requires detail::same_element<A, B> TARNM_DETAIL_INLINE auto dot(A&& a, B&& b, R&& numbers, Options&&... options)
{
    return detail::dot_views(detail::operand_of(a), detail::operand_of(b), detail::make_run(numbers, 1),
                             std::tie(options...));
}

// The Euclidean length of a vector. Throws on failure.
template <detail::vector_operand A>
requires(!detail::operand_type<A>::is_array) auto norm(A&& a)
{
    typename detail::operand_type<A>::value_type length;
    detail::norm_views(detail::operand_of(a), detail::run<decltype(length)>{&length, 1, 1}, std::tuple());
    return length;
}

// The Euclidean length of each vector.
template <detail::vector_operand A, detail::run_of<typename detail::operand_type<A>::value_type> R,
          detail::option... Options>
TARNM_DETAIL_INLINE auto norm(A&& a, R&& numbers, Options&&... options)
{
    return detail::norm_views(detail::operand_of(a), detail::make_run(numbers, 1), std::tie(options...));
}

// product = a x b
template <detail::vector_operand A, detail::vector_operand B, detail::vector_result D, detail::option... Options>
requires detail::same_element<D, A, B> TARNM_DETAIL_INLINE auto cross(A&& a, B&& b, D&& product, Options&&... options)
{
    return detail::cross_views(detail::operand_of(a), detail::operand_of(b), detail::operand_of(product),
                               std::tie(options...));
}

// result = alpha * x + y
template <detail::vector_operand X, detail::vector_operand Y, detail::vector_result D, detail::option... Options>
requires detail::same_element<D, X, Y> TARNM_DETAIL_INLINE auto
saxpy(typename detail::operand_type<D>::value_type alpha, X&& x, Y&& y, D&& result, Options&&... options)
{
    return detail::saxpy_views(alpha, detail::operand_of(x), detail::operand_of(y), detail::operand_of(result),
                               std::tie(options...));
}

// result = alpha * a + beta * b
template <detail::vector_operand A, detail::vector_operand B, detail::vector_result D, detail::option... Options>
requires detail::same_element<D, A, B> TARNM_DETAIL_INLINE auto
linear_combination(typename detail::operand_type<D>::value_type alpha, A&& a,
                   typename detail::operand_type<D>::value_type beta, B&& b, D&& result, Options&&... options)
{
    return detail::combination_views(alpha, detail::operand_of(a), beta, detail::operand_of(b),
                                     detail::operand_of(result), std::tie(options...));
}

} // namespace tarnm

#endif
