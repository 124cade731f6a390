// eigen_symmetric(a, values), eigen_symmetric(a, values, vectors): eigenvalues of symmetric matrices in descending order,
// and the vectors as columns.
//
// The C functions compare with absolute tolerances and report singular matrices as failures. Here every matrix is divided by
// a power of two, so that its eigenvalues lie between -1 and 1, and twice the identity is added, so that none is singular; both
// are undone behind. The values must have the sum of the diagonal, their squares the sum of all squares, and the vectors
// a small residual; a matrix where that fails is done again by Jacobi's method in double precision.
//
// Values are right to a few eps of the largest one in magnitude. A singular matrix is no failure. StatusNotConverged means
// that a matrix holds NaN or infinities. Of each pair of elements beside the diagonal the upper one counts.
#ifndef TARNM_DETAIL_SYMMETRIC_H
#define TARNM_DETAIL_SYMMETRIC_H

#include <numeric>

#include "eigen.h"
#include "right.h"

namespace tarnm {
namespace detail {

// What one call of the C function works on: so many matrices in packed form.
template <class T> struct symmetric_block {
    T* matrices;
    T* vectors; // null where values alone are computed
    T* values;
    std::int32_t* exponents;
    T* buffer;
};

inline constexpr int symmetric_shift = 2;

// Reads matrix n. The upper triangle counts.
template <class A, class T> void read_symmetric(const A& a, std::ptrdiff_t n, T* matrix)
{
    const std::ptrdiff_t order = a.rows();
    for (std::ptrdiff_t r = 0; r < order; ++r)
        for (std::ptrdiff_t c = r; c < order; ++c)
            matrix[r * order + c] = matrix[c * order + r] = load(a.address(n, r, c));
}

// Whether values are those of a scaled and shifted matrix, by the sums of values and squares.
template <class T> bool sums_agree(const T* matrix, const T* values, std::ptrdiff_t order)
{
    double trace = 0, squares = 0, sum = 0, sum_of_squares = 0;
    for (std::ptrdiff_t i = 0; i < order; ++i) {
        trace += matrix[i * order + i];
        sum += values[i];
        sum_of_squares += double{values[i]} * values[i];
    }
    for (std::ptrdiff_t i = 0; i < order * order; ++i)
        squares += double{matrix[i]} * matrix[i];
    // Of healthy results up to order 8 the sums lie within 5, the squares within 9 eps.
    constexpr double eps = std::numeric_limits<T>::epsilon();
    return std::abs(sum - trace) <= 8 * eps * trace && std::abs(sum_of_squares - squares) <= 16 * eps * squares;
}

// Whether matrix * vectors = vectors * values, and the vectors are of unit length.
template <class T> bool vectors_agree(const T* matrix, const T* values, const T* vectors, std::ptrdiff_t order)
{
    // Healthy residuals stay within 6 eps for each row.
    const T tolerance = 8 * static_cast<T>(order) * std::numeric_limits<T>::epsilon();
    for (std::ptrdiff_t j = 0; j < order; ++j) {
        T length = 0;
        for (std::ptrdiff_t r = 0; r < order; ++r) {
            T residual = -values[j] * vectors[r * order + j];
            for (std::ptrdiff_t c = 0; c < order; ++c)
                residual += matrix[r * order + c] * vectors[c * order + j];
            length += vectors[r * order + j] * vectors[r * order + j];
            if (!(std::abs(residual) <= tolerance)) return false;
        }
        if (!(std::abs(length - 1) <= tolerance)) return false;
    }
    return true;
}

// Jacobi's method: rotations that make one pair of elements after the other zero. `a` becomes diagonal, `v` the vectors.
inline void diagonalise(double* a, double* v, std::ptrdiff_t order)
{
    for (std::ptrdiff_t i = 0; i < order * order; ++i)
        v[i] = i % (order + 1) == 0 ? 1 : 0;
    for (int sweep = 0; sweep < 60; ++sweep) {
        double beside = 0, all = 0;
        for (std::ptrdiff_t i = 0; i < order * order; ++i) {
            all += a[i] * a[i];
            if (i % (order + 1) != 0) beside += a[i] * a[i];
        }
        if (beside <= 1e-34 * all) return;
        for (std::ptrdiff_t p = 0; p < order; ++p)
            for (std::ptrdiff_t q = p + 1; q < order; ++q) {
                const double apq = a[p * order + q];
                if (apq == 0) continue;
                const double ratio = (a[q * order + q] - a[p * order + p]) / (2 * apq);
                const double t = (ratio >= 0 ? 1 : -1) / (std::abs(ratio) + std::hypot(1.0, ratio));
                const double c = 1 / std::sqrt(1 + t * t), s = t * c;
                const auto rotate = [c, s](double& x, double& y) {
                    const double old = x;
                    x = c * old - s * y;
                    y = s * old + c * y;
                };
                for (std::ptrdiff_t k = 0; k < order; ++k)
                    rotate(a[p * order + k], a[q * order + k]);
                for (std::ptrdiff_t k = 0; k < order; ++k)
                    rotate(a[k * order + p], a[k * order + q]);
                for (std::ptrdiff_t k = 0; k < order; ++k)
                    rotate(v[k * order + p], v[k * order + q]);
            }
    }
}

// A scaled and shifted matrix by Jacobi's method; vectors may be null.
template <class T> void solve_by_rotations(const T* matrix, T* values, T* vectors, std::ptrdiff_t order)
{
    const std::size_t size = static_cast<std::size_t>(order * order);
    scratch place(2 * size * sizeof(double) + order * sizeof(std::ptrdiff_t));
    double* const a = static_cast<double*>(place.get());
    double* const v = a + size;
    auto* const rank = reinterpret_cast<std::ptrdiff_t*>(v + size);
    for (std::size_t i = 0; i < size; ++i)
        a[i] = matrix[i];
    diagonalise(a, v, order);
    std::iota(rank, rank + order, std::ptrdiff_t{0});
    std::stable_sort(rank, rank + order,
                     [a, order](std::ptrdiff_t i, std::ptrdiff_t j) { return a[i * order + i] > a[j * order + j]; });
    for (std::ptrdiff_t j = 0; j < order; ++j) {
        values[j] = static_cast<T>(a[rank[j] * order + rank[j]]);
        for (std::ptrdiff_t r = 0; vectors != nullptr && r < order; ++r)
            vectors[r * order + j] = static_cast<T>(v[r * order + rank[j]]);
    }
}

// One call for `count` prepared matrices. What it left undone at a failing matrix is done by rotations.
template <class T> void solve_block(const symmetric_block<T>& work, std::ptrdiff_t order, std::ptrdiff_t count)
{
    const std::ptrdiff_t size = order * order;
    const auto call = [&](std::ptrdiff_t first, std::ptrdiff_t number) {
        const auto quiet = std::tie(std::nothrow);
        const matrix_array<T> matrices(work.matrices + first * size, number, order, order);
        const run<T> values{work.values + first * order, order, static_cast<std::size_t>(number * order)};
        if (work.vectors == nullptr) return symmetric_values_views(matrices, values, work.buffer, quiet);
        const matrix_array<T> vectors(work.vectors + first * size, number, order, order);
        return symmetric_vectors_views(matrices, values, vectors, work.buffer, quiet);
    };
    const bool complete = call(0, count) == StatusOk;
    for (std::ptrdiff_t n = 0; n < count; ++n) {
        const T* const matrix = work.matrices + n * size;
        T* const values = work.values + n * order;
        T* const vectors = work.vectors == nullptr ? nullptr : work.vectors + n * size;
        bool right = complete || call(n, 1) == StatusOk;
        right = right && sums_agree(matrix, values, order);
        right = right && (vectors == nullptr || vectors_agree(matrix, values, vectors, order));
        if (!right) solve_by_rotations(matrix, values, vectors, order);
    }
}

template <class T> class symmetric_store {
public:
    symmetric_store(std::ptrdiff_t order, std::ptrdiff_t objects, bool with_vectors, workspace* given)
        : size_(static_cast<std::size_t>(order * order))
        , objects_(static_cast<std::size_t>(objects))
        , order_(static_cast<std::size_t>(order))
        , with_vectors_(with_vectors)
    {
        const std::size_t elements = objects_ * (size_ * (with_vectors ? 2 : 1) + order_) + size_;
        const std::size_t bytes = elements * sizeof(T) + objects_ * sizeof(std::int32_t);
        if (given == nullptr && bytes > sizeof small_) own_.reset(new std::byte[bytes]);
        place_ = bytes <= sizeof small_ ? small_
                 : given != nullptr     ? static_cast<std::byte*>(given->reserve(bytes))
                                        : own_.get();
    }
    symmetric_store(const symmetric_store&) = delete;
    symmetric_store& operator=(const symmetric_store&) = delete;

    symmetric_block<T> block() const
    {
        T* const matrices = reinterpret_cast<T*>(place_);
        T* const vectors = matrices + objects_ * size_;
        T* const values = vectors + (with_vectors_ ? objects_ * size_ : 0);
        T* const buffer = values + objects_ * order_;
        return {matrices, with_vectors_ ? vectors : nullptr, values, reinterpret_cast<std::int32_t*>(buffer + size_),
                buffer};
    }

private:
    std::size_t size_;
    std::size_t objects_;
    std::size_t order_;
    bool with_vectors_;
    alignas(32) std::byte small_[2048];
    std::unique_ptr<std::byte[]> own_;
    std::byte* place_;
};

inline constexpr std::int32_t not_finite = std::numeric_limits<std::int32_t>::min();

// Brings matrices into packed form, scaled and shifted. A matrix that is not finite is replaced.
template <class A, class T> tarnmStatus prepare_symmetric(const A& a, const symmetric_block<T>& work)
{
    const std::ptrdiff_t order = a.rows(), size = order * order;
    tarnmStatus status = StatusOk;
    for (std::ptrdiff_t n = 0; n < a.count(); ++n) {
        T* const matrix = work.matrices + n * size;
        read_symmetric(a, n, matrix);
        if (all_finite(matrix, size)) {
            work.exponents[n] = normalise(matrix, order);
        } else {
            std::fill_n(matrix, size, T(0));
            work.exponents[n] = not_finite;
            status = StatusNotConverged;
        }
        for (std::ptrdiff_t i = 0; i < order; ++i)
            matrix[i * order + i] += T(symmetric_shift);
    }
    return status;
}

// Values with scale and shift undone, and vectors, in their places.
template <class R, class D, class T>
void finish_symmetric(const R& values, const D& vectors, const symmetric_block<T>& work, std::ptrdiff_t order,
                      std::ptrdiff_t count)
{
    for (std::ptrdiff_t n = 0; n < count; ++n) {
        if (work.exponents[n] == not_finite) continue;
        T* const found = work.values + n * order;
        for (std::ptrdiff_t j = 0; j < order; ++j)
            found[j] -= T(symmetric_shift);
        scale_by_power(found, order, work.exponents[n]);
        std::copy_n(found, order, values.data + n * order);
        if constexpr (any_view<D>) write_object(vectors, n, work.vectors + n * order * order);
    }
}

// As many matrices at once as keep their scratch in a second-level cache.
template <class A> std::ptrdiff_t symmetric_step(const A& a)
{
    const std::ptrdiff_t order = std::max<std::ptrdiff_t>(a.rows(), 1);
    const std::ptrdiff_t fitting =
        (std::ptrdiff_t{1} << 18) / (order * order * std::ptrdiff_t{sizeof(typename A::value_type)});
    return std::clamp<std::ptrdiff_t>(fitting, 1, std::max<std::ptrdiff_t>(a.count(), 1));
}

// `vectors` are a view of matrices, or nothing.
template <class A, class R, class D>
tarnmStatus solve_symmetric(const A& a, const R& values, const D& vectors, workspace* given)
{
    using T = typename A::value_type;
    const std::ptrdiff_t step = symmetric_step(a);
    // From order 4 on the vectors are needed to see whether the values are right.
    const bool with_vectors = any_view<D> || a.rows() >= 4;
    const symmetric_store<T> store(a.rows(), step, with_vectors, given);
    const symmetric_block<T> work = store.block();
    tarnmStatus first_failure = StatusOk;
    for (std::ptrdiff_t first = 0; first < a.count(); first += step) {
        const std::ptrdiff_t count = std::min<std::ptrdiff_t>(step, a.count() - first);
        const tarnmStatus status = prepare_symmetric(a.objects(first, count), work);
        solve_block(work, a.rows(), count);
        finish_symmetric(values.objects(first, count), vectors.objects(first, count), work, a.rows(), count);
        first_failure = first_failure != StatusOk ? first_failure : status;
    }
    return first_failure;
}

template <class A, class R, class Options>
TARNM_DETAIL_INLINE auto symmetric_values_right(const A& a, const R& values, workspace* given, Options options)
{
    const problem shapes = first_of(check(a, "a"), must_be_square(a, "a"));
    const auto call = [given](const auto& a_, const auto& values_) {
        return solve_symmetric(a_, values_, values_, given);
    };
    return execute("eigen_symmetric", shapes, call, options, named<A>{"a", a}, named<R>{"values", values});
}

template <class A, class R, class D, class Options>
TARNM_DETAIL_INLINE auto symmetric_vectors_right(const A& a, const R& values, const D& vectors, workspace* given,
                                                 Options options)
{
    const problem shapes = first_of(check(a, "a"), check(vectors, "vectors"), must_be_square(a, "a"),
                                    must_have(vectors, a.rows(), a.rows(), "vectors"));
    const auto call = [given](const auto& a_, const auto& values_, const auto& vectors_) {
        return solve_symmetric(a_, values_, vectors_, given);
    };
    return execute("eigen_symmetric", shapes, call, options, named<A>{"a", a}, named<R>{"values", values},
                   named<D>{"vectors", vectors});
}

} // namespace detail

template <detail::matrix_operand A, detail::run_for<A> R, detail::option... Options>
requires(!detail::operand_type<A>::is_transposed) TARNM_DETAIL_INLINE
    auto eigen_symmetric(A&& a, R&& values, Options&&... options)
{
    const auto view = detail::as_array(detail::operand_of(a));
    return detail::symmetric_values_right(view, detail::make_run(values, view.rows()), detail::workspace_of(options...),
                                          std::tie(options...));
}

template <detail::matrix_operand A, detail::run_for<A> R, detail::matrix_result D, detail::option... Options>
requires(detail::same_element<D, A> && !detail::operand_type<A>::is_transposed &&
         detail::operand_type<A>::is_array == detail::operand_type<D>::is_array) TARNM_DETAIL_INLINE
    auto eigen_symmetric(A&& a, R&& values, D&& vectors, Options&&... options)
{
    const auto view = detail::as_array(detail::operand_of(a));
    return detail::symmetric_vectors_right(view, detail::make_run(values, view.rows()),
                                           detail::as_array(detail::operand_of(vectors)),
                                           detail::workspace_of(options...), std::tie(options...));
}

} // namespace tarnm

#endif
