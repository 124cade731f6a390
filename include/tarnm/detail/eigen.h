// Eigenproblems as the C functions solve them. eigen_symmetric() and eigenvalues() without plain:: close their gaps.
//
//   plain::eigen_symmetric(a, values)                   symmetric matrices: values in descending order
//   plain::eigen_symmetric(a, values, vectors)          column j of vectors belongs to value j
//   plain::eigenvalues(a, real, imaginary)              general matrices
//   plain::eigenvectors(a, real, imaginary, right)      with vectors v: a * v = value * v
//   plain::left_eigenvectors(a, real, imaginary, left)  with vectors u: transposed(u) * a = value * transposed(u)
//   plain::eigenvectors(a, real, imaginary, right, left)
//
// Right and left are those of the matrix passed. (The C functions name the sides for its transpose.) A real value has its
// vector in its column; a complex pair at positions j and j + 1 has the real part in column j, the imaginary part in j + 1.
#ifndef TARNM_DETAIL_EIGEN_H
#define TARNM_DETAIL_EIGEN_H

#include "call.h"

namespace tarnm {
namespace detail {

template <class A> std::size_t symmetric_bytes(const A& a)
{
    const std::size_t n = a.rows() > 0 ? a.rows() : 0;
    return n * n * sizeof(typename A::value_type);
}

// What the queries of the library answer, at least.
template <class A> std::size_t general_bytes(const A& a)
{
    const std::size_t n = a.rows() > 0 ? a.rows() : 0;
    return n * (3 * n + 5) * sizeof(typename A::value_type);
}

template <class A, class R, class Options>
TARNM_DETAIL_INLINE auto symmetric_values_views(const A& a, const R& values, void* buffer, Options options)
{
    static_assert(!A::is_transposed, "a symmetric matrix is its transpose");
    const auto call = [buffer](const auto& a_, const auto& values_) {
        return invoke<operation::EigenValuesSym, code_of<A>(), A::place, typename A::value_type>(
            a_.arguments(), std::tuple(buffer), values_.arguments(), numbers(a_.rows()), count_argument(a_));
    };
    return execute("eigen_symmetric", must_be_square(a, "a"), call, options, named<A>{"a", a},
                   named<R>{"values", values});
}

template <class A, class R, class D, class Options>
TARNM_DETAIL_INLINE auto symmetric_vectors_views(const A& a, const R& values, const D& vectors, void* buffer,
                                                 Options options)
{
    static_assert(one_layout<A, D>(), "operands of one call lie in one layout; copy moves between layouts");
    static_assert(A::is_array == D::is_array, "the result is an array where the source is one");
    static_assert(!A::is_transposed, "a symmetric matrix is its transpose");
    const problem shapes = first_of(must_be_square(a, "a"), must_have(vectors, a.rows(), a.rows(), "vectors"));
    const auto call = [buffer](const auto& a_, const auto& values_, const auto& vectors_) {
        return invoke<operation::EigenValuesVectorsSym, code_of<A>(), layout_of<A, D>(), typename A::value_type>(
            a_.arguments(), std::tuple(buffer), vectors_.arguments(), values_.arguments(), numbers(a_.rows()),
            count_argument(a_));
    };
    return execute("eigen_symmetric", shapes, call, options, named<A>{"a", a}, named<R>{"values", values},
                   named<D>{"vectors", vectors});
}

template <class A, class R, class Options>
TARNM_DETAIL_INLINE auto general_values_views(const A& a, const R& real, const R& imaginary, void* buffer,
                                              Options options)
{
    static_assert(!A::is_transposed, "a matrix and its transpose have the same eigenvalues");
    const auto call = [buffer](const auto& a_, const auto& real_, const auto& imaginary_) {
        return invoke<operation::EigenValues, code_of<A>(), A::place, typename A::value_type>(
            a_.arguments(), real_.arguments(), imaginary_.arguments(), numbers(a_.rows()), count_argument(a_),
            std::tuple(buffer));
    };
    return execute("eigenvalues", must_be_square(a, "a"), call, options, named<A>{"a", a}, named<R>{"real", real},
                   named<R>{"imaginary", imaginary});
}

template <operation Operation, class A, class R, class D, class Options>
TARNM_DETAIL_INLINE auto one_sided_views(const char* function, const A& a, const R& real, const R& imaginary,
                                         const D& vectors, void* buffer, Options options)
{
    static_assert(one_layout<A, D>(), "operands of one call lie in one layout; copy moves between layouts");
    static_assert(A::is_array == D::is_array, "the result is an array where the source is one");
    static_assert(!A::is_transposed, "ask for the vectors of the other side");
    const problem shapes = first_of(must_be_square(a, "a"), must_have(vectors, a.rows(), a.rows(), "vectors"));
    const auto call = [buffer](const auto& a_, const auto& real_, const auto& imaginary_, const auto& vectors_) {
        return invoke<Operation, code_of<A>(), layout_of<A, D>(), typename A::value_type>(
            a_.arguments(), vectors_.arguments(), real_.arguments(), imaginary_.arguments(), numbers(a_.rows()),
            count_argument(a_), std::tuple(buffer));
    };
    return execute(function, shapes, call, options, named<A>{"a", a}, named<R>{"real", real},
                   named<R>{"imaginary", imaginary}, named<D>{"vectors", vectors});
}

template <class A, class R, class D, class L, class Options>
TARNM_DETAIL_INLINE auto both_sides_views(const A& a, const R& real, const R& imaginary, const D& right, const L& left,
                                          void* buffer, Options options)
{
    static_assert(one_layout<A, D, L>(), "operands of one call lie in one layout; copy moves between layouts");
    static_assert(A::is_array == D::is_array && A::is_array == L::is_array,
                  "the results are arrays where the source is one");
    static_assert(!A::is_transposed, "exchange the two sets of vectors instead");
    const problem shapes = first_of(must_be_square(a, "a"), must_have(right, a.rows(), a.rows(), "right"),
                                    must_have(left, a.rows(), a.rows(), "left"));
    const auto call = [buffer](const auto& a_, const auto& real_, const auto& imaginary_, const auto& right_,
                               const auto& left_) {
        // The C function names the sides for the transpose.
        return invoke<operation::EigenValuesVectors, code_of<A>(), layout_of<A, D, L>(), typename A::value_type>(
            a_.arguments(), left_.arguments(), right_.arguments(), real_.arguments(), imaginary_.arguments(),
            numbers(a_.rows()), count_argument(a_), std::tuple(buffer));
    };
    return execute("eigenvectors", shapes, call, options, named<A>{"a", a}, named<R>{"real", real},
                   named<R>{"imaginary", imaginary}, named<D>{"right", right}, named<L>{"left", left});
}

template <class R, class A>
concept run_for = run_of<R, typename operand_type<A>::value_type>;

} // namespace detail

namespace plain {

template <detail::matrix_operand A, detail::run_for<A> R, detail::option... Options>
TARNM_DETAIL_INLINE auto eigen_symmetric(A&& a, R&& values, Options&&... options)
{
    const auto view = detail::operand_of(a);
    detail::scratch buffer(detail::symmetric_bytes(view), options...);
    return detail::symmetric_values_views(view, detail::make_run(values, view.rows()), buffer.get(),
                                          std::tie(options...));
}

template <detail::matrix_operand A, detail::run_for<A> R, detail::matrix_result D, detail::option... Options>
requires detail::same_element<D, A> TARNM_DETAIL_INLINE auto eigen_symmetric(A&& a, R&& values, D&& vectors,
                                                                             Options&&... options)
{
    const auto view = detail::operand_of(a);
    detail::scratch buffer(detail::symmetric_bytes(view), options...);
    return detail::symmetric_vectors_views(view, detail::make_run(values, view.rows()), detail::operand_of(vectors),
                                           buffer.get(), std::tie(options...));
}

template <detail::matrix_operand A, detail::run_for<A> R, detail::run_for<A> I, detail::option... Options>
TARNM_DETAIL_INLINE auto eigenvalues(A&& a, R&& real, I&& imaginary, Options&&... options)
{
    const auto view = detail::operand_of(a);
    detail::scratch buffer(detail::general_bytes(view), options...);
    return detail::general_values_views(view, detail::make_run(real, view.rows()),
                                        detail::make_run(imaginary, view.rows()), buffer.get(), std::tie(options...));
}

template <detail::matrix_operand A, detail::run_for<A> R, detail::run_for<A> I, detail::matrix_result D,
          detail::option... Options>
requires detail::same_element<D, A> TARNM_DETAIL_INLINE auto eigenvectors(A&& a, R&& real, I&& imaginary, D&& right,
                                                                          Options&&... options)
{
    const auto view = detail::operand_of(a);
    detail::scratch buffer(detail::general_bytes(view), options...);
    return detail::one_sided_views<detail::operation::EigenValuesVectorsLeft>(
        "eigenvectors", view, detail::make_run(real, view.rows()), detail::make_run(imaginary, view.rows()),
        detail::operand_of(right), buffer.get(), std::tie(options...));
}

template <detail::matrix_operand A, detail::run_for<A> R, detail::run_for<A> I, detail::matrix_result D,
          detail::option... Options>
requires detail::same_element<D, A> TARNM_DETAIL_INLINE auto left_eigenvectors(A&& a, R&& real, I&& imaginary, D&& left,
                                                                               Options&&... options)
{
    const auto view = detail::operand_of(a);
    detail::scratch buffer(detail::general_bytes(view), options...);
    return detail::one_sided_views<detail::operation::EigenValuesVectorsRight>(
        "left_eigenvectors", view, detail::make_run(real, view.rows()), detail::make_run(imaginary, view.rows()),
        detail::operand_of(left), buffer.get(), std::tie(options...));
}

template <detail::matrix_operand A, detail::run_for<A> R, detail::run_for<A> I, detail::matrix_result D,
          detail::matrix_result L, detail::option... Options>
requires detail::same_element<D, A, L> TARNM_DETAIL_INLINE auto eigenvectors(A&& a, R&& real, I&& imaginary, D&& right,
                                                                             L&& left, Options&&... options)
{
    const auto view = detail::operand_of(a);
    detail::scratch buffer(detail::general_bytes(view), options...);
    return detail::both_sides_views(view, detail::make_run(real, view.rows()), detail::make_run(imaginary, view.rows()),
                                    detail::operand_of(right), detail::operand_of(left), buffer.get(),
                                    std::tie(options...));
}

} // namespace plain
} // namespace tarnm

#endif
