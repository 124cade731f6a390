// Elimination in matrices of the orders 3 to 6, as many side by side as a vector of the processor holds, with no factor in memory
// between a matrix and its solution: the library has no member for that.
//
//   solved            one solution for each matrix, by elimination with row pivoting
//   factored          lower Cholesky factors, with zeros above the diagonal
//
// Both give false where a matrix is one that the library would refuse, or near enough to that for the library to decide. What
// is written then means nothing.
//
// A module of Python is loaded by its path, so that the loader chooses no variant of it: solutions are compiled for vectors of
// 512 bits as well, and choose themselves. The bits of a result are the same. Factors wait for square roots and divisions,
// which are no quicker in wider vectors.
#ifndef TARNM_PYTHON_ELIMINATION_H
#define TARNM_PYTHON_ELIMINATION_H

#include <cmath>
#include <limits>

#include "registers.h"
#include "views.h"

namespace tarnm::python {

inline bool has_wide_vectors()
{
#if defined(__x86_64__)
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl");
#else
    return false;
#endif
}

// Tests take the other ones too.
inline bool uses_wide_vectors = has_wide_vectors();

namespace side_by_side {

template <class W> TARNM_DETAIL_INLINE typename W::numbers magnitude(const typename W::numbers& x)
{
    using bits = typename W::bits;
    using integer = std::conditional_t<sizeof(typename W::number) == 4, std::int32_t, std::int64_t>;
    return std::bit_cast<typename W::numbers>(std::bit_cast<bits>(x) & std::numeric_limits<integer>::max());
}

template <class W> TARNM_DETAIL_INLINE typename W::numbers square_root(const typename W::numbers& x)
{
    typename W::numbers root;
    TARNM_DETAIL_UNROLL for (int l = 0; l < W::lanes; ++l) root[l] = std::sqrt(x[l]);
    return root;
}

// Takes the smaller one; a NaN wins, until the next number. (g++ keeps no mask of 512 bits, but for a choice at once.)
template <class W> TARNM_DETAIL_INLINE void lower_to(const typename W::numbers& x, typename W::numbers& least)
{
    least = x >= least ? least : x;
}

// Takes what is not above the bound, for good.
template <class W>
TARNM_DETAIL_INLINE void keep_refused(const typename W::numbers& x, typename W::number bound, typename W::numbers& kept)
{
    kept = x > bound ? kept : x;
}

template <class W> TARNM_DETAIL_INLINE bool all_above(const typename W::numbers& x, typename W::number bound)
{
    bool are = true;
    for (int l = 0; l < W::lanes; ++l)
        are &= x[l] > bound;
    return are;
}

template <class W>
TARNM_DETAIL_INLINE void exchange_where(const typename W::bits& here, typename W::numbers& a, typename W::numbers& b)
{
    using bits = typename W::bits;
    using numbers = typename W::numbers;
    if constexpr (sizeof(numbers) == 64) {
        const numbers from_b = here ? b : a;
        b = here ? a : b;
        a = from_b;
    } else {
        // A choice by a mask takes three steps of the narrower vectors.
        const bits difference = (std::bit_cast<bits>(a) ^ std::bit_cast<bits>(b)) & here;
        a = std::bit_cast<numbers>(std::bit_cast<bits>(a) ^ difference);
        b = std::bit_cast<numbers>(std::bit_cast<bits>(b) ^ difference);
    }
}

// ---- the elimination

// The right sides become the solutions. Gives the magnitudes of the smallest pivots.
template <class W, int n>
TARNM_DETAIL_INLINE typename W::numbers eliminate(typename W::numbers (&m)[n * n], typename W::numbers (&b)[n])
{
    using numbers = typename W::numbers;
    numbers reciprocal[n], pivots = numbers{} + std::numeric_limits<typename W::number>::max();
    TARNM_DETAIL_UNROLL for (int c = 0; c < n; ++c)
    {
        TARNM_DETAIL_UNROLL for (int p = c + 1; p < n; ++p)
        {
            const typename W::bits wins = magnitude<W>(m[p * n + c]) > magnitude<W>(m[c * n + c]);
            TARNM_DETAIL_UNROLL for (int j = c; j < n; ++j) exchange_where<W>(wins, m[c * n + j], m[p * n + j]);
            exchange_where<W>(wins, b[c], b[p]);
        }
        lower_to<W>(magnitude<W>(m[c * n + c]), pivots);
        reciprocal[c] = 1 / m[c * n + c];
        TARNM_DETAIL_UNROLL for (int p = c + 1; p < n; ++p)
        {
            const numbers multiplier = m[p * n + c] * reciprocal[c];
            TARNM_DETAIL_UNROLL for (int j = c + 1; j < n; ++j) m[p * n + j] -= multiplier * m[c * n + j];
            b[p] -= multiplier * b[c];
        }
    }
    TARNM_DETAIL_UNROLL for (int r = n - 1; r >= 0; --r)
    {
        TARNM_DETAIL_UNROLL for (int c = n - 1; c > r; --c) b[r] -= m[r * n + c] * b[c];
        b[r] *= reciprocal[r];
    }
    return pivots;
}

// Lower triangles become the factors. Gives the least that a pivot has above rounding errors of its diagonal element; a NaN
// anywhere goes through to the last pivot.
template <class W, int n> TARNM_DETAIL_INLINE typename W::numbers factor_lower(typename W::numbers (&m)[n * n])
{
    using T = typename W::number;
    constexpr T relative = 4 * n * std::numeric_limits<T>::epsilon();
    typename W::numbers pivots = typename W::numbers{} + std::numeric_limits<T>::max();
    TARNM_DETAIL_UNROLL for (int c = 0; c < n; ++c)
    {
        const typename W::numbers diagonal = m[c * n + c];
        typename W::numbers pivot = diagonal;
        TARNM_DETAIL_UNROLL for (int k = 0; k < c; ++k) pivot -= m[c * n + k] * m[c * n + k];
        lower_to<W>(pivot - relative * diagonal, pivots);
        m[c * n + c] = square_root<W>(pivot);
        const typename W::numbers reciprocal = 1 / m[c * n + c];
        TARNM_DETAIL_UNROLL for (int r = c + 1; r < n; ++r)
        {
            TARNM_DETAIL_UNROLL for (int k = 0; k < c; ++k) m[r * n + c] -= m[r * n + k] * m[c * n + k];
            m[r * n + c] *= reciprocal;
            m[c * n + r] = typename W::numbers{};
        }
    }
    return pivots;
}

// ---- all objects

template <std::size_t bytes, int n, class A, class B, class X>
TARNM_DETAIL_INLINE bool solve_all(const A& a, const B& b, const X& x)
{
    using T = typename A::value_type;
    using W = detail::pack_kind<T, bytes>;
    constexpr T tolerance = 2 * std::numeric_limits<T>::min(); // the library's for these orders
    const arrangement a_lies = detail::arrangement_of(a, 1), b_lies = detail::arrangement_of(b, 1),
                      x_lies = detail::arrangement_of(x, 1);
    typename W::numbers refused = typename W::numbers{} + std::numeric_limits<T>::max();
    for (std::ptrdiff_t first = 0; first < a.count(); first += W::lanes) {
        const int live = static_cast<int>(std::min<std::ptrdiff_t>(W::lanes, a.count() - first));
        typename W::numbers m[n * n], right[n];
        load_objects<W, n, n>(a, a_lies, first, live, m);
        load_objects<W, n, 1>(b, b_lies, first, live, right);
        detail::fetch_ahead<false>(a, first, W::lanes);
        keep_refused<W>(eliminate<W, n>(m, right), tolerance, refused);
        store_objects<W, n, 1>(x, x_lies, first, live, right);
    }
    return all_above<W>(refused, tolerance);
}

template <std::size_t bytes, int n, class A, class L> TARNM_DETAIL_INLINE bool factor_all(const A& a, const L& lower)
{
    using T = typename A::value_type;
    using W = detail::pack_kind<T, bytes>;
    constexpr T smallest = std::numeric_limits<T>::min() / std::numeric_limits<T>::epsilon();
    const arrangement a_lies = detail::arrangement_of(a, 1), lower_lies = detail::arrangement_of(lower, 1);
    typename W::numbers refused = typename W::numbers{} + std::numeric_limits<T>::max();
    for (std::ptrdiff_t first = 0; first < a.count(); first += W::lanes) {
        const int live = static_cast<int>(std::min<std::ptrdiff_t>(W::lanes, a.count() - first));
        typename W::numbers m[n * n];
        load_objects<W, n, n>(a, a_lies, first, live, m);
        detail::fetch_ahead<false>(a, first, W::lanes);
        detail::fetch_ahead<true>(lower, first, W::lanes);
        keep_refused<W>(factor_lower<W, n>(m), smallest, refused);
        store_objects<W, n, n>(lower, lower_lies, first, live, m);
    }
    return all_above<W>(refused, smallest);
}

#if defined(__x86_64__)
template <int n, class A, class B, class X>
__attribute__((target("avx512f,avx512bw,avx512dq,avx512vl"))) bool solve_all_wide(const A& a, const B& b, const X& x)
{
    return solve_all<64, n>(a, b, x);
}
#endif

} // namespace side_by_side

// a * x = b, where b and x have one column.
template <class A, class B, class X> bool solved(const A& a, const B& b, const X& x)
{
    using namespace side_by_side;
    return by_small_order(a.rows(), [&](auto n) {
#if defined(__x86_64__)
        // Three numbers of 32 bits fill no run of memory: their loads cost more than the vectors save.
        if (n * sizeof(typename A::value_type) > 12 && uses_wide_vectors) return solve_all_wide<n>(a, b, x);
#endif
        return solve_all<32, n>(a, b, x);
    });
}

// lower * transposed(lower) = a; the lower triangle of a is read.
template <class A, class L> bool factored(const A& a, const L& lower)
{
    using namespace side_by_side;
    return by_small_order(a.rows(), [&](auto n) { return factor_all<32, n>(a, lower); });
}

} // namespace tarnm::python

#endif
