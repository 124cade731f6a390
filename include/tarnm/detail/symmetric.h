// eigen_symmetric(a, values), eigen_symmetric(a, values, vectors): eigenvalues of symmetric matrices in descending order,
// and the vectors as columns.
//
// The C functions compare with absolute tolerances and report singular matrices as failures. Here every matrix is divided by
// a power of two, so that its eigenvalues lie between -1 and 1, and twice the identity is added, so that none is singular; both
// are undone behind. The values must have the sum of the diagonal, their squares the sum of all squares, and the vectors
// a small residual; a matrix where that fails is done again by Jacobi's method in double precision.
//
// Values are right to a few eps of the largest one in magnitude. A singular matrix is no failure. StatusNotConverged means
// that a matrix holds NaN or infinities; its results are NaN. Of each pair of elements beside the diagonal the upper one counts.
#ifndef TARNM_DETAIL_SYMMETRIC_H
#define TARNM_DETAIL_SYMMETRIC_H

#include <numeric>

#include "eigen.h"
#include "planes.h"

namespace tarnm {
namespace detail {

// What one call of the C function works on: matrices side by side.
template <class T> struct symmetric_block {
    planes<T> matrices; // the upper triangles count
    planes<T> vectors;  // nothing where values alone are computed
    planes<T> values;
    planes<T> factors; // by which the matrices were multiplied; 0 where a matrix is done by itself
    T* found;          // values as the C function gives them, those of one matrix together
    T* single;         // one matrix and its vectors
    T* buffer;
    T** matrix_table;
    T** vector_table;

    bool with_vectors() const { return vectors.data != nullptr; }
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

// Brings matrices to planes, scaled and shifted.
template <class A, class T> void prepare_symmetric(const A& a, const symmetric_block<T>& work)
{
    const std::ptrdiff_t order = a.rows();
    read_planes(a, work.matrices, true);
    const auto upper = [&](std::ptrdiff_t r, std::ptrdiff_t c, std::ptrdiff_t i) -> pack<T>& {
        return work.matrices.at(r <= c ? r * order + c : c * order + r, i);
    };
    for (std::ptrdiff_t i = 0; i < packs_of<T>(a.count()); ++i) {
        // The largest sum of magnitudes of a row bounds the eigenvalues. A sum that is not finite makes it NaN.
        pack<T> largest = {}, nothing = {};
        for (std::ptrdiff_t r = 0; r < order; ++r) {
            pack<T> sum = {};
            for (std::ptrdiff_t c = 0; c < order; ++c) {
                const pack<T> x = upper(r, c, i);
                sum += x < pack<T>{} ? -x : x;
            }
            largest = largest < sum ? sum : largest;
            nothing += sum * T(0);
        }
        largest += nothing;
        pack<T>& factor = work.factors.at(0, i);
        scale_factors<T>(largest, factor);
        for (std::ptrdiff_t r = 0; r < order; ++r) {
            for (std::ptrdiff_t c = r; c < order; ++c) {
                pack<T>& x = upper(r, c, i);
                x = factor == pack<T>{} ? pack<T>{} : x * factor;
            }
            upper(r, r, i) += T(symmetric_shift);
        }
    }
}

// Leaves zero in `factors` of those whose values and vectors are not those of their matrix: the sums of values and squares
// must be those of the diagonal and of all squares, matrix * vectors = vectors * values, and the vectors of unit length.
template <class T> void check_symmetric(const symmetric_block<T>& work, std::ptrdiff_t order, std::ptrdiff_t i)
{
    constexpr T eps = std::numeric_limits<T>::epsilon();
    const pack<T> zero = {};
    const auto magnitude = [&](const pack<T>& x) -> pack<T> { return x < zero ? -x : x; };
    const auto larger = [](const pack<T>& x, const pack<T>& y) -> pack<T> { return x < y ? y : x; };
    pack<T> trace = {}, squares = {}, sum = {}, sum_of_squares = {};
    for (std::ptrdiff_t r = 0; r < order; ++r) {
        trace += work.matrices.at(r * order + r, i);
        sum += work.values.at(r, i);
        sum_of_squares += work.values.at(r, i) * work.values.at(r, i);
        pack<T> beside = {};
        for (std::ptrdiff_t c = r + 1; c < order; ++c)
            beside += work.matrices.at(r * order + c, i) * work.matrices.at(r * order + c, i);
        squares += work.matrices.at(r * order + r, i) * work.matrices.at(r * order + r, i) + 2 * beside;
    }
    // Of healthy results up to order 8 the sums lie within 5, the squares within 9 eps, and adding up loses some more.
    const T loss = static_cast<T>(order) * eps;
    auto right = (magnitude(sum - trace) <= (8 * eps + loss) * trace) &
                 (magnitude(sum_of_squares - squares) <= (16 * eps + 2 * loss) * squares);
    if (work.with_vectors()) {
        pack<T> residual = {}, length = {}, nothing = {};
        for (std::ptrdiff_t j = 0; j < order; ++j) {
            pack<T> squared = {};
            for (std::ptrdiff_t r = 0; r < order; ++r) {
                const pack<T> x = work.vectors.at(r * order + j, i);
                pack<T> here = -work.values.at(j, i) * x;
                for (std::ptrdiff_t c = 0; c < r; ++c)
                    here += work.matrices.at(c * order + r, i) * work.vectors.at(c * order + j, i);
                for (std::ptrdiff_t c = r; c < order; ++c)
                    here += work.matrices.at(r * order + c, i) * work.vectors.at(c * order + j, i);
                squared += x * x;
                residual = larger(residual, magnitude(here));
                nothing += here * T(0);
            }
            length = larger(length, magnitude(squared - 1));
        }
        // Healthy residuals stay within 6 eps for each row. What is not a number is lost in a maximum, not in a sum.
        const T tolerance = 8 * loss;
        right = right & (residual + nothing <= tolerance + zero) & (length <= tolerance + zero);
    }
    work.factors.at(0, i) = right ? work.factors.at(0, i) : zero;
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
                // Rounding would leave something, and with it the sweeps no end.
                a[p * order + q] = a[q * order + p] = 0;
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

// One call for prepared matrices, and a look at every result.
template <class T> void solve_block(const symmetric_block<T>& work, std::ptrdiff_t order, std::ptrdiff_t count)
{
    const auto call = [&](std::ptrdiff_t first, std::ptrdiff_t number) {
        const auto quiet = std::tie(std::nothrow);
        const auto matrices = matrices_at(work.matrix_table, count, order, order).objects(first, number);
        const run<T> values{work.found + first * order, order, static_cast<std::size_t>(number * order)};
        if (!work.with_vectors()) return symmetric_values_views(matrices, values, work.buffer, quiet);
        const auto vectors = matrices_at(work.vector_table, count, order, order).objects(first, number);
        return symmetric_vectors_views(matrices, values, vectors, work.buffer, quiet);
    };
    if (call(0, count) != StatusOk) {
        for (std::ptrdiff_t n = 0; n < count; ++n)
            if (call(n, 1) != StatusOk) work.factors.data[n] = 0;
    }
    for (std::ptrdiff_t j = 0; j < order; ++j) {
        for (std::ptrdiff_t n = 0; n < count; ++n)
            work.values.plane(j)[n] = work.found[n * order + j];
        fill_tail(work.values.plane(j), count);
    }
    for (std::ptrdiff_t e = 0; work.with_vectors() && e < order * order; ++e)
        fill_tail(work.vectors.plane(e), count);
    for (std::ptrdiff_t i = 0; i < packs_of<T>(count); ++i)
        check_symmetric(work, order, i);
}

// One matrix by rotations: one with elements near the ends of the range, or whose results were not right. One that is not
// finite gets NaN.
template <class A, class T> tarnmStatus solve_single(const A& a, const symmetric_block<T>& work, std::ptrdiff_t n)
{
    const std::ptrdiff_t order = a.rows(), size = order * order;
    T* const matrix = work.single;
    T* const vectors = matrix + size;
    T* const values = work.found;
    read_symmetric(a, n, matrix);
    const bool finite = all_finite(matrix, size);
    if (finite) {
        const int exponent = normalise(matrix, order);
        solve_by_rotations(matrix, values, vectors, order);
        scale_by_power(values, order, exponent);
    } else {
        std::fill_n(values, order, std::numeric_limits<T>::quiet_NaN());
        std::fill_n(vectors, size, std::numeric_limits<T>::quiet_NaN());
    }
    for (std::ptrdiff_t j = 0; j < order; ++j)
        work.values.plane(j)[n] = values[j];
    for (std::ptrdiff_t e = 0; work.with_vectors() && e < size; ++e)
        work.vectors.plane(e)[n] = vectors[e];
    return finite ? StatusOk : StatusNotConverged;
}

// Scale and shift undone, and what was not right done again.
template <class A, class T> tarnmStatus complete_symmetric(const A& a, const symmetric_block<T>& work)
{
    for (std::ptrdiff_t i = 0; i < packs_of<T>(a.count()); ++i) {
        const pack<T> back = 1 / work.factors.at(0, i);
        for (std::ptrdiff_t j = 0; j < a.rows(); ++j)
            work.values.at(j, i) = (work.values.at(j, i) - T(symmetric_shift)) * back;
    }
    tarnmStatus first_failure = StatusOk;
    for (std::ptrdiff_t n = 0; n < a.count(); ++n) {
        if (work.factors.data[n] != 0) continue;
        const tarnmStatus status = solve_single(a, work, n);
        first_failure = first_failure != StatusOk ? first_failure : status;
    }
    return first_failure;
}

enum class sorting { descending, ascending };

// Values and vectors in their places.
template <class R, class D, class T>
void write_symmetric(const R& values, const D& vectors, const symmetric_block<T>& work, std::ptrdiff_t order,
                     std::ptrdiff_t count, sorting wanted)
{
    const auto place_of = [&](std::ptrdiff_t j) { return wanted == sorting::descending ? j : order - 1 - j; };
    for (std::ptrdiff_t j = 0; j < order; ++j)
        for (std::ptrdiff_t n = 0; n < count; ++n)
            values.data[n * order + place_of(j)] = work.values.plane(j)[n];
    if constexpr (any_view<D>) write_planes(vectors, work.vectors, place_of);
}

// The scratch of a block.
template <class T> class symmetric_store {
public:
    symmetric_store(std::ptrdiff_t order, std::ptrdiff_t objects, bool with_vectors, workspace* given)
    {
        const std::ptrdiff_t size = order * order, width = plane_width<T>(objects);
        const std::ptrdiff_t in_planes = (size * (with_vectors ? 2 : 1) + order + 1) * width;
        const std::ptrdiff_t tables = size * (with_vectors ? 2 : 1) * std::ptrdiff_t{sizeof(T*)};
        const std::size_t bytes = static_cast<std::size_t>(
            (in_planes + objects * order + 3 * size) * std::ptrdiff_t{sizeof(T)} + tables + std::ptrdiff_t{pack_bytes});
        if (given == nullptr && bytes > sizeof small_) own_.reset(new std::byte[bytes]);
        std::byte* place = bytes <= sizeof small_ ? small_
                           : given != nullptr     ? static_cast<std::byte*>(given->reserve(bytes))
                                                  : own_.get();
        place += (pack_bytes - reinterpret_cast<std::uintptr_t>(place) % pack_bytes) % pack_bytes;
        T* next = reinterpret_cast<T*>(place);
        const auto take = [&next](std::ptrdiff_t elements) { return std::exchange(next, next + elements); };
        block_.matrices = {take(size * width), width};
        if (with_vectors) block_.vectors = {take(size * width), width};
        block_.values = {take(order * width), width};
        block_.factors = {take(width), width};
        T** const pointers = reinterpret_cast<T**>(next);
        next = reinterpret_cast<T*>(reinterpret_cast<std::byte*>(next) + tables);
        block_.found = take(objects * order);
        block_.single = take(2 * size);
        block_.buffer = take(size);
        block_.matrix_table = pointers;
        for (std::ptrdiff_t r = 0; r < order; ++r)
            for (std::ptrdiff_t c = 0; c < order; ++c)
                pointers[r * order + c] = block_.matrices.plane(std::min(r, c) * order + std::max(r, c));
        block_.vector_table = pointers + size;
        if (with_vectors) table_of(block_.vectors, size, block_.vector_table);
    }
    symmetric_store(const symmetric_store&) = delete;
    symmetric_store& operator=(const symmetric_store&) = delete;

    const symmetric_block<T>& block() const { return block_; }

private:
    alignas(32) std::byte small_[4096];
    std::unique_ptr<std::byte[]> own_;
    symmetric_block<T> block_;
};

// As many matrices at once as keep their scratch in a first-level cache or near it.
template <class A> std::ptrdiff_t symmetric_step(const A& a)
{
    const std::ptrdiff_t order = std::max<std::ptrdiff_t>(a.rows(), 1);
    const std::ptrdiff_t fitting =
        (std::ptrdiff_t{1} << 15) / (order * order * std::ptrdiff_t{sizeof(typename A::value_type)});
    return std::clamp<std::ptrdiff_t>(fitting, 1, std::max<std::ptrdiff_t>(a.count(), 1));
}

// `vectors` are a view of matrices, or nothing.
template <class A, class R, class D>
tarnmStatus solve_symmetric(const A& a, const R& values, const D& vectors, workspace* given, sorting wanted)
{
    using T = typename A::value_type;
    const std::ptrdiff_t step = symmetric_step(a);
    // From order 4 on the vectors are needed to see whether the values are right.
    const bool with_vectors = any_view<D> || a.rows() >= 4;
    const symmetric_store<T> store(a.rows(), step, with_vectors, given);
    const symmetric_block<T>& work = store.block();
    tarnmStatus first_failure = StatusOk;
    for (std::ptrdiff_t first = 0; first < a.count(); first += step) {
        const std::ptrdiff_t count = std::min<std::ptrdiff_t>(step, a.count() - first);
        const auto sources = a.objects(first, count);
        prepare_symmetric(sources, work);
        solve_block(work, a.rows(), count);
        const tarnmStatus status = complete_symmetric(sources, work);
        write_symmetric(values.objects(first, count), vectors.objects(first, count), work, a.rows(), count, wanted);
        first_failure = first_failure != StatusOk ? first_failure : status;
    }
    return first_failure;
}

template <class A, class R, class Options>
TARNM_DETAIL_INLINE auto symmetric_values_right(const A& a, const R& values, workspace* given, Options options,
                                                sorting wanted = sorting::descending)
{
    const problem shapes = first_of(check(a, "a"), must_be_square(a, "a"));
    const auto call = [given, wanted](const auto& a_, const auto& values_) {
        return solve_symmetric(a_, values_, values_, given, wanted);
    };
    return execute("eigen_symmetric", shapes, call, options, named<A>{"a", a}, named<R>{"values", values});
}

template <class A, class R, class D, class Options>
TARNM_DETAIL_INLINE auto symmetric_vectors_right(const A& a, const R& values, const D& vectors, workspace* given,
                                                 Options options, sorting wanted = sorting::descending)
{
    const problem shapes = first_of(check(a, "a"), check(vectors, "vectors"), must_be_square(a, "a"),
                                    must_have(vectors, a.rows(), a.rows(), "vectors"));
    const auto call = [given, wanted](const auto& a_, const auto& values_, const auto& vectors_) {
        return solve_symmetric(a_, values_, vectors_, given, wanted);
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
