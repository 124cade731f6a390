// Products with matrices.
//
//   multiply(a, b, product)    matrix by matrix or by vector; transposed(a) and transposed(b) are read where they lie
//   gaxpy(a, x, y, result)     a * x + y
#ifndef TARNM_DETAIL_PRODUCTS_H
#define TARNM_DETAIL_PRODUCTS_H

#include "call.h"

namespace tarnm {
namespace detail {

// Sizes of a factor as stored: width and height of a matrix, length of a vector.
template <class View> constexpr auto stored_sizes(const View& view)
{
    if constexpr (View::kind == shape::vector)
        return numbers(view.columns());
    else
        return numbers(stored(view).columns(), stored(view).rows());
}

// The rows of a product's right factor: a vector stands upright.
template <class View> constexpr std::int32_t height_of(const View& view)
{
    return View::kind == shape::vector ? view.columns() : view.rows();
}

template <class View> constexpr std::int32_t width_of(const View& view)
{
    return View::kind == shape::vector ? 1 : view.columns();
}

template <class A, class B, class D, class Options>
TARNM_DETAIL_INLINE auto multiply_views(const A& a, const B& b, const D& d, Options options)
{
    static_assert(one_layout<A, B, D>(), "operands of one call lie in one layout; copy moves between layouts");
    static_assert(D::is_array == (A::is_array || B::is_array), "the result is an array where an operand is one");
    static_assert(B::kind == D::kind, "a matrix by a vector is a vector, a matrix by a matrix is a matrix");
    const problem shapes =
        first_of(must_equal(height_of(b), a.columns(), "b", B::kind == shape::vector ? "size" : "rows"),
                 must_equal(height_of(d), a.rows(), "product", D::kind == shape::vector ? "size" : "rows"),
                 must_equal(width_of(d), width_of(b), "product", "columns"));
    const auto call = [](const auto& a_, const auto& b_, const auto& d_) {
        return invoke<operation::Mul, code_of<A, B>(), layout_of<A, B, D>(), typename D::value_type>(
            a_.arguments(), stored_sizes(a_), b_.arguments(), stored_sizes(b_), d_.arguments(),
            count_argument(a_, b_, d_));
    };
    return execute("multiply", shapes, call, options, named<A>{"a", a}, named<B>{"b", b}, named<D>{"product", d});
}

template <class A, class X, class Y, class D, class Options>
TARNM_DETAIL_INLINE auto gaxpy_views(const A& a, const X& x, const Y& y, const D& d, Options options)
{
    static_assert(one_layout<A, X, Y, D>(), "operands of one call lie in one layout; copy moves between layouts");
    static_assert(D::is_array == X::is_array, "the result is an array where x is one");
    static_assert(!A::is_array && !A::is_transposed, "gaxpy takes one matrix, as stored");
    const problem shapes =
        first_of(must_equal(x.columns(), a.columns(), "x", "size"), must_equal(y.columns(), a.rows(), "y", "size"),
                 must_equal(d.columns(), a.rows(), "result", "size"));
    constexpr std::uint64_t letters = !X::is_array ? code("mv") : Y::is_array ? code("mva") : code("mvav");
    const auto call = [](const auto& a_, const auto& x_, const auto& y_, const auto& d_) {
        return invoke<operation::Gaxpy, letters, layout_of<A, X, Y, D>(), typename D::value_type>(
            a_.arguments(), stored_sizes(a_), x_.arguments(), stored_sizes(x_), y_.arguments(), stored_sizes(y_),
            d_.arguments(), count_argument(x_, d_));
    };
    return execute("gaxpy", shapes, call, options, named<A>{"a", a}, named<X>{"x", x}, named<Y>{"y", y},
                   named<D>{"result", d});
}

} // namespace detail

// product = a * b
template <detail::matrix_operand A, source B, result D, detail::option... Options>
requires detail::same_element<D, A, B> TARNM_DETAIL_INLINE auto multiply(A&& a, B&& b, D&& product,
                                                                         Options&&... options)
{
    return detail::multiply_views(detail::operand_of(a), detail::operand_of(b), detail::operand_of(product),
                                  std::tie(options...));
}

// result = a * x + y
template <detail::matrix_operand A, detail::vector_operand X, detail::vector_operand Y, detail::vector_result D,
          detail::option... Options>
requires detail::same_element<D, A, X, Y> TARNM_DETAIL_INLINE auto gaxpy(A&& a, X&& x, Y&& y, D&& result,
                                                                         Options&&... options)
{
    return detail::gaxpy_views(detail::operand_of(a), detail::operand_of(x), detail::operand_of(y),
                               detail::operand_of(result), std::tie(options...));
}

} // namespace tarnm

#endif
