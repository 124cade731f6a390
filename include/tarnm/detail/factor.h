// Factorisations and solvers.
//
//   lu(a, factors, pivots)                  row pivoting; the rows of the factors stay where they were found
//   lu_solve(factors, pivots, b, x)
//   plain::cholesky(a, factor)              the diagonal of the factor holds reciprocals
//   plain::cholesky_solve(factor, b, x)
//   qr(a, factors)                          Householder reflections; a may have more rows than columns
//   qr_solve(factors, b, x)                 least squares
//   solve(a, b, x)                          a * x = b by LU, with factors in scratch of its own
//
// One factored matrix may serve an array of right sides, or each matrix its own.
#ifndef TARNM_DETAIL_FACTOR_H
#define TARNM_DETAIL_FACTOR_H

#include "call.h"

namespace tarnm {
namespace detail {

template <class A, class D> constexpr problem check_square_pair(const A& a, const D& d, const char* result_name)
{
    static_assert(one_layout<A, D>(), "operands of one call lie in one layout; copy moves between layouts");
    static_assert(A::is_array == D::is_array, "the result is an array where the source is one");
    static_assert(!A::is_transposed, "factors are those of the matrix as stored");
    return first_of(must_be_square(a, "a"), must_have(d, a.rows(), a.rows(), result_name));
}

template <class F, class B, class X> constexpr problem check_system(const F& factors, const B& b, const X& x)
{
    static_assert(one_layout<F, B, X>(), "operands of one call lie in one layout; copy moves between layouts");
    static_assert(B::is_array == X::is_array && (B::is_array || !F::is_array),
                  "there are as many solutions as right sides");
    static_assert(!F::is_transposed, "factors are read as stored");
    return first_of(must_equal(b.columns(), factors.rows(), "b", "size"),
                    must_equal(x.columns(), factors.columns(), "x", "size"));
}

template <class A, class D, class R, class Options>
TARNM_DETAIL_INLINE auto lu_views(const A& a, const D& factors, const R& pivots, Options options)
{
    const auto call = [](const auto& a_, const auto& factors_, const auto& pivots_) {
        return invoke<operation::LUDecomp, code_of<A>(), layout_of<A, D>(), typename D::value_type>(
            a_.arguments(), pivots_.arguments(), factors_.arguments(), numbers(a_.rows()), count_argument(a_));
    };
    return execute("lu", check_square_pair(a, factors, "factors"), call, options, named<A>{"a", a},
                   named<D>{"factors", factors}, named<R>{"pivots", pivots});
}

template <class F, class R, class B, class X, class Options>
TARNM_DETAIL_INLINE auto lu_solve_views(const F& factors, const R& pivots, const B& b, const X& x, Options options)
{
    const problem shapes = first_of(must_be_square(factors, "factors"), check_system(factors, b, x));
    const auto call = [](const auto& b_, const auto& x_, const auto& factors_, const auto& pivots_) {
        return invoke<operation::LUBackSubst, code_of<F, B>(), layout_of<F, B, X>(), typename X::value_type>(
            factors_.arguments(), pivots_.arguments(), b_.arguments(), x_.arguments(), numbers(factors_.rows()),
            count_argument(b_));
    };
    return execute("lu_solve", shapes, call, options, named<B>{"b", b}, named<X>{"x", x}, named<F>{"factors", factors},
                   named<R>{"pivots", pivots});
}

template <class A, class D, class Options> auto cholesky_views(const A& a, const D& factor, Options options)
{
    const auto call = [](const auto& a_, const auto& factor_) {
        return invoke<operation::CholeskyDecomp, code_of<A>(), layout_of<A, D>(), typename D::value_type>(
            a_.arguments(), factor_.arguments(), numbers(a_.rows()), count_argument(a_));
    };
    return execute("cholesky", check_square_pair(a, factor, "factor"), call, options, named<A>{"a", a},
                   named<D>{"factor", factor});
}

template <class F, class B, class X, class Options>
TARNM_DETAIL_INLINE auto cholesky_solve_views(const F& factor, const B& b, const X& x, Options options)
{
    const problem shapes = first_of(must_be_square(factor, "factor"), check_system(factor, b, x));
    const auto call = [](const auto& b_, const auto& x_, const auto& factor_) {
        return invoke<operation::CholeskyBackSubst, code_of<F, B>(), layout_of<F, B, X>(), typename X::value_type>(
            factor_.arguments(), b_.arguments(), x_.arguments(), numbers(factor_.rows()), count_argument(b_));
    };
    return execute("cholesky_solve", shapes, call, options, named<B>{"b", b}, named<X>{"x", x},
                   named<F>{"factor", factor});
}

// One column.
template <class A> std::size_t column_bytes(const A& a)
{
    return (a.rows() > 0 ? a.rows() : 0) * sizeof(typename A::value_type);
}

template <class A, class D, class Options> auto qr_views(const A& a, const D& factors, void* buffer, Options options)
{
    static_assert(one_layout<A, D>(), "operands of one call lie in one layout; copy moves between layouts");
    static_assert(A::is_array == D::is_array, "the result is an array where the source is one");
    static_assert(!A::is_transposed, "factors are those of the matrix as stored");
    problem shapes = must_have(factors, a.rows(), a.columns(), "factors");
    if (!shapes && a.columns() > a.rows()) shapes = {StatusSizeMismatch, "a", "columns", a.columns()};
    const auto call = [buffer](const auto& a_, const auto& factors_) {
        return invoke<operation::QRDecomp, code_of<A>(), layout_of<A, D>(), typename D::value_type>(
            a_.arguments(), std::tuple(buffer), factors_.arguments(), numbers(a_.columns(), a_.rows()),
            count_argument(a_));
    };
    return execute("qr", shapes, call, options, named<A>{"a", a}, named<D>{"factors", factors});
}

template <class F, class B, class X, class Options>
TARNM_DETAIL_INLINE auto qr_solve_views(const F& factors, const B& b, const X& x, void* buffer, Options options)
{
    const auto call = [buffer](const auto& b_, const auto& x_, const auto& factors_) {
        return invoke<operation::QRBackSubst, code_of<F, B>(), layout_of<F, B, X>(), typename X::value_type>(
            factors_.arguments(), std::tuple(buffer), b_.arguments(), x_.arguments(),
            numbers(factors_.columns(), factors_.rows()), count_argument(b_));
    };
    return execute("qr_solve", check_system(factors, b, x), call, options, named<B>{"b", b}, named<X>{"x", x},
                   named<F>{"factors", factors});
}

// ---- solve

// Factors in scratch, in the layout of the matrices that they come from.
template <class A> class factor_store {
public:
    using T = typename A::value_type;

    factor_store(const A& a, std::ptrdiff_t objects, workspace* given)
        : order_(a.rows())
        , objects_(objects)
    {
        const std::size_t elements = sizeof(T) * order_ * order_ * objects_;
        const std::size_t table = sizeof(T*) * table_size();
        const std::size_t bytes = table + elements + sizeof(std::int32_t) * order_ * objects_;
        if (given == nullptr && bytes > sizeof small_) own_.reset(new std::byte[bytes]);
        std::byte* const place = bytes <= sizeof small_ ? small_
                                 : given != nullptr     ? static_cast<std::byte*>(given->reserve(bytes))
                                                        : own_.get();
        table_ = reinterpret_cast<T**>(place);
        elements_ = reinterpret_cast<T*>(place + table);
        pivots_ = reinterpret_cast<std::int32_t*>(place + table + elements);
        const std::ptrdiff_t step = A::place == layout::list ? order_ * order_ : 1;
        for (std::ptrdiff_t i = 0; i < table_size(); ++i)
            table_[i] = elements_ + i * step;
    }
    factor_store(const factor_store&) = delete;
    factor_store& operator=(const factor_store&) = delete;

    auto factors(std::ptrdiff_t count) const
    {
        constexpr std::ptrdiff_t size = sizeof(T);
        if constexpr (A::place == layout::list)
            return matrix_list<T>(table_, count, order_, order_);
        else if constexpr (A::place == layout::elements && A::is_array)
            return matrix_elements_array<T>(table_, count, order_, order_, {.object = size * order_ * order_});
        else if constexpr (A::place == layout::elements)
            return matrix_elements<T>(table_, order_, order_);
        else if constexpr (A::is_array)
            return matrix_array<T>(elements_, count, order_, order_);
        else
            return matrix_view<T>(elements_, order_, order_);
    }
    run<std::int32_t> pivots() const
    {
        return {pivots_, order_, static_cast<std::size_t>(order_ * objects_), !A::is_array};
    }

private:
    std::ptrdiff_t table_size() const
    {
        if (A::place == layout::list) return objects_;
        return A::place == layout::elements ? order_ * order_ : 0;
    }

    std::ptrdiff_t order_;
    std::ptrdiff_t objects_;
    alignas(32) std::byte small_[2048];
    std::unique_ptr<std::byte[]> own_;
    T** table_;
    T* elements_;
    std::int32_t* pivots_;
};

// As many objects at once as have their factors in half of a usual second-level cache.
template <class A> std::ptrdiff_t objects_at_once(const A& a)
{
    const std::ptrdiff_t order = std::max<std::ptrdiff_t>(a.rows(), 1);
    const std::ptrdiff_t fitting =
        (std::ptrdiff_t{1} << 19) / (order * order * std::ptrdiff_t{sizeof(typename A::value_type)});
    return std::clamp<std::ptrdiff_t>(fitting, 1, std::max<std::ptrdiff_t>(a.count(), 1));
}

template <class Store, class A, class B, class X>
tarnmStatus solve_part(const Store& store, const A& a, const B& b, const X& x)
{
    const auto quiet = std::tie(std::nothrow);
    const auto factors = store.factors(a.count());
    const tarnmStatus status = lu_views(a, factors, store.pivots(), quiet);
    if (status != StatusOk) return status;
    return lu_solve_views(factors, store.pivots(), b, x, quiet);
}

template <class A, class B, class X, class Options>
TARNM_DETAIL_INLINE auto solve_views(const A& a, const B& b, const X& x, workspace* given, Options options)
{
    const problem shapes = first_of(must_be_square(a, "a"), check_system(a, b, x));
    const auto call = [given](const auto& b_, const auto& x_, const auto& a_) -> tarnmStatus {
        const std::ptrdiff_t step = objects_at_once(a_);
        const factor_store<std::remove_cvref_t<decltype(a_)>> store(a_, step, given);
        if constexpr (A::is_array) {
            for (std::ptrdiff_t first = 0; first < a_.count(); first += step) {
                const std::ptrdiff_t count = std::min<std::ptrdiff_t>(step, a_.count() - first);
                const tarnmStatus status =
                    solve_part(store, a_.objects(first, count), b_.objects(first, count), x_.objects(first, count));
                if (status != StatusOk) return status;
            }
            return StatusOk;
        } else {
            return solve_part(store, a_, b_, x_);
        }
    };
    return execute("solve", shapes, call, options, named<B>{"b", b}, named<X>{"x", x}, named<A>{"a", a});
}

} // namespace detail

// One row of pivots for each matrix: pivots[n * order + k] is the row of matrix n that step k found.
template <detail::matrix_operand A, detail::matrix_result D, detail::run_of<std::int32_t> R, detail::option... Options>
requires detail::same_element<D, A> TARNM_DETAIL_INLINE auto lu(A&& a, D&& factors, R&& pivots, Options&&... options)
{
    const auto view = detail::operand_of(a);
    return detail::lu_views(view, detail::operand_of(factors), detail::make_run(pivots, view.rows()),
                            std::tie(options...));
}

template <detail::matrix_operand F, detail::index_range R, detail::vector_operand B, detail::vector_result X,
          detail::option... Options>
requires detail::same_element<X, F, B> TARNM_DETAIL_INLINE auto lu_solve(F&& factors, R&& pivots, B&& b, X&& x,
                                                                         Options&&... options)
{
    const auto view = detail::operand_of(factors);
    return detail::lu_solve_views(view, detail::make_run(pivots, view.rows(), !view.is_array), detail::operand_of(b),
                                  detail::operand_of(x), std::tie(options...));
}

namespace plain {

// factor * transposed(factor) = a; only the lower triangles are read and written, and the diagonal holds reciprocals.
template <detail::matrix_operand A, detail::matrix_result D, detail::option... Options>
requires detail::same_element<D, A> TARNM_DETAIL_INLINE auto cholesky(A&& a, D&& factor, Options&&... options)
{
    return detail::cholesky_views(detail::operand_of(a), detail::operand_of(factor), std::tie(options...));
}

template <detail::matrix_operand F, detail::vector_operand B, detail::vector_result X, detail::option... Options>
requires detail::same_element<X, F, B> TARNM_DETAIL_INLINE auto cholesky_solve(F&& factor, B&& b, X&& x,
                                                                               Options&&... options)
{
    return detail::cholesky_solve_views(detail::operand_of(factor), detail::operand_of(b), detail::operand_of(x),
                                        std::tie(options...));
}

} // namespace plain

// The upper triangle holds R, the rest the reflections.
template <detail::matrix_operand A, detail::matrix_result D, detail::option... Options>
requires detail::same_element<D, A> TARNM_DETAIL_INLINE auto qr(A&& a, D&& factors, Options&&... options)
{
    const auto view = detail::operand_of(a);
    detail::scratch buffer(detail::column_bytes(view), options...);
    return detail::qr_views(view, detail::operand_of(factors), buffer.get(), std::tie(options...));
}

// x minimises the length of a * x - b, with the factors of a.
template <detail::matrix_operand F, detail::vector_operand B, detail::vector_result X, detail::option... Options>
requires detail::same_element<X, F, B> TARNM_DETAIL_INLINE auto qr_solve(F&& factors, B&& b, X&& x,
                                                                         Options&&... options)
{
    const auto view = detail::operand_of(factors);
    detail::scratch buffer(detail::column_bytes(view), options...);
    return detail::qr_solve_views(view, detail::operand_of(b), detail::operand_of(x), buffer.get(),
                                  std::tie(options...));
}

// a * x = b. A failing call leaves the solutions of some objects unwritten.
template <detail::matrix_operand A, detail::vector_operand B, detail::vector_result X, detail::option... Options>
requires detail::same_element<X, A, B> TARNM_DETAIL_INLINE auto solve(A&& a, B&& b, X&& x, Options&&... options)
{
    return detail::solve_views(detail::operand_of(a), detail::operand_of(b), detail::operand_of(x),
                               detail::workspace_of(options...), std::tie(options...));
}

} // namespace tarnm

#endif
