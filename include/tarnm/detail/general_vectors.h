// eigenvectors(a, real, imaginary, right)          vectors v with a * v = value * v
// left_eigenvectors(a, real, imaginary, left)      vectors u with transposed(u) * a = value * transposed(u)
// eigenvectors(a, real, imaginary, right, left)
//
// As for the eigenvalues, every matrix is divided by a power of two first. Vectors must be of unit length and have a residual
// of some units of rounding; a matrix where that fails, or that did not converge, is done again as Q * a * Q with a
// reflection Q, whose vectors are Q times those wanted.
//
// Column j belongs to value j. For a complex pair at j and j + 1 the columns are the real and the imaginary part of the
// vector of the value with the positive imaginary part; its largest component is real. Status per object:
// StatusNotConverged where no similarity led to vectors that pass, and for NaN and infinities, whose results are NaN.
#ifndef TARNM_DETAIL_GENERAL_VECTORS_H
#define TARNM_DETAIL_GENERAL_VECTORS_H

#include "general.h"

namespace tarnm {
namespace detail {

enum class side { right, left };

// The residual of one vector: a * v - value * v, or with the transpose of a. `y` is null for a real vector.
template <side Side, class T>
bool vector_agrees(const T* a, const T* x, const T* y, T real, T imaginary, std::ptrdiff_t order)
{
    // Of healthy results up to order 8 the residual is within 12 eps, its components within less.
    const T tolerance = 16 * static_cast<T>(order) * std::numeric_limits<T>::epsilon();
    T length = 0, worst = 0;
    for (std::ptrdiff_t r = 0; r < order; ++r) {
        const T xr = x[r * order], yr = y == nullptr ? T(0) : y[r * order];
        T u = imaginary * yr - real * xr, v = -imaginary * xr - real * yr;
        for (std::ptrdiff_t c = 0; c < order; ++c) {
            const T element = Side == side::right ? a[r * order + c] : a[c * order + r];
            u += element * x[c * order];
            if (y != nullptr) v += element * y[c * order];
        }
        length += xr * xr + yr * yr;
        // A NaN stays.
        for (const T error : {std::abs(u), y == nullptr ? T(0) : std::abs(v)})
            if (!(error <= worst)) worst = error;
    }
    return worst <= tolerance && std::abs(length - 1) <= tolerance;
}

template <side Side, class T>
bool vectors_agree(const T* a, const T* real, const T* imaginary, const T* vectors, std::ptrdiff_t order)
{
    for (std::ptrdiff_t j = 0; j < order; ++j) {
        const bool pair = imaginary[j] != 0 && j + 1 < order;
        if (!vector_agrees<Side>(a, vectors + j, pair ? vectors + j + 1 : nullptr, real[j], imaginary[j], order))
            return false;
        j += pair;
    }
    return true;
}

// The vectors times the reflection of an attempt, with the largest component of a complex one real again.
template <class T> void reflect_vectors(T* vectors, const T* imaginary, std::ptrdiff_t order, int attempt)
{
    for (std::ptrdiff_t j = 0; j < order; ++j)
        reflect(vectors + j, order, order, attempt);
    for (std::ptrdiff_t j = 0; j + 1 < order; ++j) {
        if (imaginary[j] == 0) continue;
        T *const x = vectors + j, *const y = vectors + j + 1;
        const auto square = [&](std::ptrdiff_t r) { return x[r * order] * x[r * order] + y[r * order] * y[r * order]; };
        std::ptrdiff_t largest = 0;
        for (std::ptrdiff_t r = 1; r < order; ++r)
            if (square(r) > square(largest)) largest = r;
        const T modulus = std::sqrt(square(largest));
        const T c = x[largest * order] / modulus, s = y[largest * order] / modulus;
        for (std::ptrdiff_t r = 0; r < order; ++r) {
            const T turned = c * x[r * order] + s * y[r * order];
            y[r * order] = c * y[r * order] - s * x[r * order];
            x[r * order] = turned;
        }
        y[largest * order] = 0;
        ++j;
    }
}

// Some matrices, and the vectors of the sides that are wanted, the others null. `single` holds one matrix.
template <class T> struct general_vectors_block {
    T* matrices;
    T* right;
    T* left;
    T* single;
    int* exponents;
    void* buffer;

    general_vectors_block from(std::ptrdiff_t n, std::ptrdiff_t size) const
    {
        const auto moved = [&](T* vectors) { return vectors == nullptr ? nullptr : vectors + n * size; };
        return {matrices + n * size, moved(right), moved(left), single, exponents + n, buffer};
    }
};

template <class T>
tarnmStatus general_vectors_call(const general_vectors_block<T>& work, const T* matrices, T* real, T* imaginary,
                                 std::ptrdiff_t order, std::ptrdiff_t count)
{
    const auto quiet = std::tie(std::nothrow);
    const auto elements = static_cast<std::size_t>(count * order);
    const matrix_array<const T> a(matrices, count, order, order);
    const run<T> re{real, order, elements}, im{imaginary, order, elements};
    const auto result = [&](T* vectors) { return matrix_array<T>(vectors, count, order, order); };
    if (work.left == nullptr)
        return one_sided_views<operation::EigenValuesVectorsLeft>("eigenvectors", a, re, im, result(work.right),
                                                                  work.buffer, quiet);
    if (work.right == nullptr)
        return one_sided_views<operation::EigenValuesVectorsRight>("left_eigenvectors", a, re, im, result(work.left),
                                                                   work.buffer, quiet);
    return both_sides_views(a, re, im, result(work.right), result(work.left), work.buffer, quiet);
}

template <class T>
bool general_vectors_agree(const general_vectors_block<T>& work, const T* real, const T* imaginary,
                           std::ptrdiff_t order)
{
    const T* const a = work.matrices;
    return traces_agree(a, real, imaginary, order) &&
           (work.right == nullptr || vectors_agree<side::right>(a, real, imaginary, work.right, order)) &&
           (work.left == nullptr || vectors_agree<side::left>(a, real, imaginary, work.left, order));
}

// One matrix whose vectors did not pass.
template <class T>
tarnmStatus general_vectors_again(const general_vectors_block<T>& work, T* real, T* imaginary, std::ptrdiff_t order)
{
    for (int attempt = -1; attempt < 8; ++attempt) {
        std::copy_n(work.matrices, order * order, work.single);
        if (attempt >= 0) reflect_both_sides(work.matrices, work.single, order, attempt);
        if (general_vectors_call(work, work.single, real, imaginary, order, 1) != StatusOk) continue;
        for (T* const vectors : {work.right, work.left})
            if (attempt >= 0 && vectors != nullptr) reflect_vectors(vectors, imaginary, order, attempt);
        if (general_vectors_agree(work, real, imaginary, order)) return StatusOk;
    }
    return StatusNotConverged;
}

// What stands for results where there are none.
template <class T> void fill_with_nan(const general_vectors_block<T>& work, T* real, T* imaginary, std::ptrdiff_t order)
{
    constexpr T nan = std::numeric_limits<T>::quiet_NaN();
    std::fill_n(real, order, nan);
    std::fill_n(imaginary, order, T(0));
    for (T* const vectors : {work.right, work.left})
        if (vectors != nullptr) std::fill_n(vectors, order * order, nan);
}

// Matrices that are not finite are worked on as zeros.
inline constexpr int not_finite = std::numeric_limits<int>::min();

template <class A, class R, class T>
tarnmStatus general_vectors_part(const A& a, const R& real, const R& imaginary, const general_vectors_block<T>& work)
{
    const std::ptrdiff_t order = a.rows(), size = order * order, count = a.count();
    for (std::ptrdiff_t n = 0; n < count; ++n) {
        const auto object = work.from(n, size);
        read_object(a, n, object.matrices);
        const bool is_finite = all_finite(object.matrices, size);
        if (!is_finite) std::fill_n(object.matrices, size, T(0));
        *object.exponents = is_finite ? normalise(object.matrices, order) : not_finite;
        // The call may end with StatusOk and vectors that it has not written.
        fill_with_nan(object, real.data + n * order, imaginary.data + n * order, order);
    }
    const tarnmStatus whole = general_vectors_call(work, work.matrices, real.data, imaginary.data, order, count);
    tarnmStatus first_failure = StatusOk;
    for (std::ptrdiff_t n = 0; n < count; ++n) {
        const auto object = work.from(n, size);
        T *const re = real.data + n * order, *const im = imaginary.data + n * order;
        tarnmStatus status = StatusNotConverged;
        if (*object.exponents != not_finite) {
            status = StatusOk;
            if (whole != StatusOk || !general_vectors_agree(object, re, im, order))
                status = general_vectors_again(object, re, im, order);
            scale_by_power(re, order, *object.exponents);
            scale_by_power(im, order, *object.exponents);
        } else
            fill_with_nan(object, re, im, order);
        first_failure = first_failure != StatusOk ? first_failure : status;
    }
    return first_failure;
}

// No vectors of this side.
struct unwanted {
    unwanted objects(std::ptrdiff_t, std::ptrdiff_t) const { return {}; }
};

template <class T, class D> void write_vectors(const D& to, const T* vectors, std::ptrdiff_t count)
{
    if constexpr (any_view<D>)
        for (std::ptrdiff_t n = 0; n < count; ++n)
            write_object(to, n, vectors + n * to.rows() * to.rows());
}

template <class A, class R, class D, class L>
tarnmStatus general_vectors_all(const A& a, const R& real, const R& imaginary, const D& right, const L& left,
                                workspace* given)
{
    using T = typename A::value_type;
    const std::ptrdiff_t size = std::ptrdiff_t{a.rows()} * a.rows();
    const std::ptrdiff_t step =
        std::clamp<std::ptrdiff_t>((std::ptrdiff_t{1} << 13) / (size * std::ptrdiff_t{sizeof(T)}), 1, a.count());
    // Matrices and vectors, one matrix, the scratch of the call, exponents.
    const auto elements = static_cast<std::size_t>(3 * step * size + size);
    const std::size_t bytes =
        elements * sizeof(T) + general_bytes(a) + static_cast<std::size_t>(step) * sizeof(int) + sizeof(T);
    std::unique_ptr<std::byte[]> own;
    alignas(32) std::byte small[2048];
    std::byte* place = small;
    if (bytes > sizeof small) {
        if (given == nullptr) own.reset(new std::byte[bytes]);
        place = given != nullptr ? static_cast<std::byte*>(given->reserve(bytes)) : own.get();
    }
    general_vectors_block<T> work;
    work.matrices = reinterpret_cast<T*>(place);
    work.right = any_view<D> ? work.matrices + step * size : nullptr;
    work.left = any_view<L> ? work.matrices + 2 * step * size : nullptr;
    work.single = work.matrices + 3 * step * size;
    work.exponents = reinterpret_cast<int*>(work.single + size);
    work.buffer = work.exponents + step;

    tarnmStatus first_failure = StatusOk;
    for (std::ptrdiff_t first = 0; first < a.count(); first += step) {
        const std::ptrdiff_t count = std::min<std::ptrdiff_t>(step, a.count() - first);
        const tarnmStatus status = general_vectors_part(a.objects(first, count), real.objects(first, count),
                                                        imaginary.objects(first, count), work);
        write_vectors(right.objects(first, count), work.right, count);
        write_vectors(left.objects(first, count), work.left, count);
        first_failure = first_failure != StatusOk ? first_failure : status;
    }
    return first_failure;
}

template <class A, class D> constexpr problem check_vectors(const A& a, const D& vectors, const char* name)
{
    return first_of(check(vectors, name), must_have(vectors, a.rows(), a.rows(), name));
}

template <class A, class R, class D, class Options>
TARNM_DETAIL_INLINE auto right_vectors(const A& a, const R& real, const R& imaginary, const D& right, workspace* given,
                                       Options options)
{
    const problem shapes = first_of(check(a, "a"), must_be_square(a, "a"), check_vectors(a, right, "right"));
    const auto call = [given](const auto& a_, const auto& real_, const auto& imaginary_, const auto& right_) {
        return general_vectors_all(a_, real_, imaginary_, right_, unwanted{}, given);
    };
    return execute("eigenvectors", shapes, call, options, named<A>{"a", a}, named<R>{"real", real},
                   named<R>{"imaginary", imaginary}, named<D>{"right", right});
}

template <class A, class R, class L, class Options>
TARNM_DETAIL_INLINE auto left_vectors(const A& a, const R& real, const R& imaginary, const L& left, workspace* given,
                                      Options options)
{
    const problem shapes = first_of(check(a, "a"), must_be_square(a, "a"), check_vectors(a, left, "left"));
    const auto call = [given](const auto& a_, const auto& real_, const auto& imaginary_, const auto& left_) {
        return general_vectors_all(a_, real_, imaginary_, unwanted{}, left_, given);
    };
    return execute("left_eigenvectors", shapes, call, options, named<A>{"a", a}, named<R>{"real", real},
                   named<R>{"imaginary", imaginary}, named<L>{"left", left});
}

template <class A, class R, class D, class L, class Options>
TARNM_DETAIL_INLINE auto vectors_of_both_sides(const A& a, const R& real, const R& imaginary, const D& right,
                                               const L& left, workspace* given, Options options)
{
    const problem shapes = first_of(check(a, "a"), must_be_square(a, "a"), check_vectors(a, right, "right"),
                                    check_vectors(a, left, "left"));
    const auto call = [given](const auto& a_, const auto& real_, const auto& imaginary_, const auto& right_,
                              const auto& left_) {
        return general_vectors_all(a_, real_, imaginary_, right_, left_, given);
    };
    return execute("eigenvectors", shapes, call, options, named<A>{"a", a}, named<R>{"real", real},
                   named<R>{"imaginary", imaginary}, named<D>{"right", right}, named<L>{"left", left});
}

} // namespace detail

template <detail::matrix_operand A, detail::run_for<A> R, detail::run_for<A> I, detail::matrix_result D,
          detail::option... Options>
requires(detail::same_element<D, A> && !detail::operand_type<A>::is_transposed) TARNM_DETAIL_INLINE
    auto eigenvectors(A&& a, R&& real, I&& imaginary, D&& right, Options&&... options)
{
    const auto view = detail::as_array(detail::operand_of(a));
    return detail::right_vectors(view, detail::make_run(real, view.rows()), detail::make_run(imaginary, view.rows()),
                                 detail::as_array(detail::operand_of(right)), detail::workspace_of(options...),
                                 std::tie(options...));
}

template <detail::matrix_operand A, detail::run_for<A> R, detail::run_for<A> I, detail::matrix_result D,
          detail::option... Options>
requires(detail::same_element<D, A> && !detail::operand_type<A>::is_transposed) TARNM_DETAIL_INLINE
    auto left_eigenvectors(A&& a, R&& real, I&& imaginary, D&& left, Options&&... options)
{
    const auto view = detail::as_array(detail::operand_of(a));
    return detail::left_vectors(view, detail::make_run(real, view.rows()), detail::make_run(imaginary, view.rows()),
                                detail::as_array(detail::operand_of(left)), detail::workspace_of(options...),
                                std::tie(options...));
}

template <detail::matrix_operand A, detail::run_for<A> R, detail::run_for<A> I, detail::matrix_result D,
          detail::matrix_result L, detail::option... Options>
requires(detail::same_element<D, A, L> && !detail::operand_type<A>::is_transposed) TARNM_DETAIL_INLINE
    auto eigenvectors(A&& a, R&& real, I&& imaginary, D&& right, L&& left, Options&&... options)
{
    const auto view = detail::as_array(detail::operand_of(a));
    return detail::vectors_of_both_sides(
        view, detail::make_run(real, view.rows()), detail::make_run(imaginary, view.rows()),
        detail::as_array(detail::operand_of(right)), detail::as_array(detail::operand_of(left)),
        detail::workspace_of(options...), std::tie(options...));
}

} // namespace tarnm

#endif
