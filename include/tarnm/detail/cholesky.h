// Cholesky factors with the diagonal that the word promises.
//
//   cholesky(a, lower)       lower * transposed(lower) = a, with zeros above the diagonal
//   cholesky_factors<T>      factors a matrix or an array and keeps the factors; solve(b, x), lower(l)
//
// The C functions store the reciprocals of the diagonal, for their solver: plain::cholesky, plain::cholesky_solve.
#ifndef TARNM_DETAIL_CHOLESKY_H
#define TARNM_DETAIL_CHOLESKY_H

#include <vector>

#include "factor.h"
#include "movement.h"
#include "right.h"

namespace tarnm {
namespace detail {

template <class D> void complete_lower(const D& lower)
{
    using T = typename D::value_type;
    if constexpr (D::place == layout::strided && D::is_array) {
        auto* object = reinterpret_cast<std::byte*>(lower.origin());
        const std::ptrdiff_t order = lower.rows(), row = lower.row_stride(), element = lower.element_stride();
        for (std::ptrdiff_t n = 0; n < lower.count(); ++n, object += lower.object_stride())
            for (std::ptrdiff_t r = 0; r < order; ++r) {
                std::byte* place = object + r * (row + element);
                store(reinterpret_cast<T*>(place), 1 / load(reinterpret_cast<T*>(place)));
                for (std::ptrdiff_t c = r + 1; c < order; ++c)
                    store(reinterpret_cast<T*>(place += element), T(0));
            }
        return;
    }
    for (std::ptrdiff_t n = 0; n < lower.count(); ++n)
        for (std::ptrdiff_t r = 0; r < lower.rows(); ++r) {
            T* const diagonal = lower.address(n, r, r);
            store(diagonal, 1 / load(diagonal));
            for (std::ptrdiff_t c = r + 1; c < lower.columns(); ++c)
                store(lower.address(n, r, c), T(0));
        }
}

template <class A, class D, class Options>
TARNM_DETAIL_INLINE auto cholesky_right(const A& a, const D& lower, Options options)
{
    const problem shapes = check_square_pair(a, lower, "lower");
    const auto call = [](const auto& a_, const auto& lower_) {
        const tarnmStatus status = cholesky_views(a_, lower_, std::tie(std::nothrow));
        if (status == StatusOk) complete_lower(lower_);
        return status;
    };
    return execute("cholesky", shapes, call, options, named<A>{"a", a}, named<D>{"lower", lower});
}

} // namespace detail

// A failing call leaves the factors in an undefined state; with statuses, those of the objects that did not fail are right.
template <detail::matrix_operand A, detail::matrix_result D, detail::option... Options>
requires detail::same_element<D, A> TARNM_DETAIL_INLINE auto cholesky(A&& a, D&& lower, Options&&... options)
{
    return detail::cholesky_right(detail::operand_of(a), detail::operand_of(lower), std::tie(options...));
}

// The factors of one matrix, or of each matrix of an array. Throws where a matrix is not positive definite.
template <detail::element T> class cholesky_factors {
public:
    template <detail::matrix_operand A>
    requires std::same_as<typename detail::operand_type<A>::value_type, T>
    explicit cholesky_factors(A&& a)
        : cholesky_factors(detail::as_array(detail::operand_of(a)), 0)
    {}

    std::ptrdiff_t count() const { return count_; }
    std::ptrdiff_t order() const { return order_; }

    // x, with a * x = b, in one vector or array of vectors with strides. Factors of one matrix serve any number of vectors,
    // those of an array one vector each.
    template <detail::vector_operand B, detail::vector_result X, detail::option... Options>
    requires detail::same_element<X, B>
    auto solve(B&& b, X&& x, Options&&... options) const
    {
        if constexpr (detail::operand_type<B>::is_array) {
            if (count_ != 1)
                return plain::cholesky_solve(matrix_array<const T>(factors_.data(), count_, order_, order_), b, x,
                                             options...);
        }
        return plain::cholesky_solve(matrix_view<const T>(factors_.data(), order_, order_), b, x, options...);
    }

    // The lower triangular factor of each matrix, zeros above the diagonal.
    template <detail::matrix_result D> void lower(D&& result) const
    {
        const auto view = detail::as_array(detail::operand_of(result));
        copy(matrix_array<const T>(factors_.data(), count_, order_, order_), view);
        detail::complete_lower(view);
    }

private:
    template <class View>
    cholesky_factors(const View& a, int)
        : count_(a.count())
        , order_(a.rows())
        , factors_(static_cast<std::size_t>(count_ * order_ * order_))
    {
        const matrix_array<T> packed(factors_.data(), count_, order_, order_);
        copy(a, packed);
        plain::cholesky(packed, packed);
    }

    std::ptrdiff_t count_;
    std::ptrdiff_t order_;
    std::vector<T> factors_;
};

// cholesky(a).solve(b, x)
template <detail::matrix_operand A> TARNM_DETAIL_INLINE auto cholesky(A&& a)
{
    return cholesky_factors<typename detail::operand_type<A>::value_type>(a);
}

} // namespace tarnm

#endif
