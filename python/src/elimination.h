// Elimination in matrices of the orders 3 to 6, as many side by side as a vector of the processor holds, with no factor in memory
// between a matrix and its solution: the library has no member for that.
//
//   has_elimination   whether matrices of an order are for these
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

#include <tarnm/detail/planes.h>

namespace tarnm::python {

constexpr bool has_elimination(std::ptrdiff_t order) { return order >= 3 && order <= 6; }

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

using detail::arrangement;

// g++ takes no vector of a type or of a size that depends on a template parameter.
template <class T, std::size_t bytes> struct vector_types;
template <> struct vector_types<float, 16> {
    typedef float numbers __attribute__((vector_size(16), may_alias));
    typedef float anywhere __attribute__((vector_size(16), may_alias, aligned(1)));
    typedef std::int32_t bits __attribute__((vector_size(16)));
};
template <> struct vector_types<float, 32> {
    typedef float numbers __attribute__((vector_size(32), may_alias));
    typedef float anywhere __attribute__((vector_size(32), may_alias, aligned(1)));
    typedef std::int32_t bits __attribute__((vector_size(32)));
};
template <> struct vector_types<float, 64> {
    typedef float numbers __attribute__((vector_size(64), may_alias));
    typedef float anywhere __attribute__((vector_size(64), may_alias, aligned(1)));
    typedef std::int32_t bits __attribute__((vector_size(64)));
};
template <> struct vector_types<double, 16> {
    typedef double numbers __attribute__((vector_size(16), may_alias));
    typedef double anywhere __attribute__((vector_size(16), may_alias, aligned(1)));
    typedef std::int64_t bits __attribute__((vector_size(16)));
};
template <> struct vector_types<double, 32> {
    typedef double numbers __attribute__((vector_size(32), may_alias));
    typedef double anywhere __attribute__((vector_size(32), may_alias, aligned(1)));
    typedef std::int64_t bits __attribute__((vector_size(32)));
};
template <> struct vector_types<double, 64> {
    typedef double numbers __attribute__((vector_size(64), may_alias));
    typedef double anywhere __attribute__((vector_size(64), may_alias, aligned(1)));
    typedef std::int64_t bits __attribute__((vector_size(64)));
};

// The vectors of some width.
template <class T, std::size_t bytes> struct width {
    using number = T;
    using numbers = typename vector_types<T, bytes>::numbers;
    using anywhere = typename vector_types<T, bytes>::anywhere;
    using bits = typename vector_types<T, bytes>::bits;
    using half = width<T, bytes / 2>;
    static constexpr int lanes = bytes / sizeof(T);
};

#define TARNM_PYTHON_UNROLL _Pragma("GCC unroll 64")
#if defined(__clang__)
#undef TARNM_PYTHON_UNROLL
#define TARNM_PYTHON_UNROLL _Pragma("clang loop unroll(full)")
#endif

template <class W> TARNM_DETAIL_INLINE typename W::numbers magnitude(const typename W::numbers& x)
{
    using bits = typename W::bits;
    using integer = std::conditional_t<sizeof(typename W::number) == 4, std::int32_t, std::int64_t>;
    return std::bit_cast<typename W::numbers>(std::bit_cast<bits>(x) & std::numeric_limits<integer>::max());
}

template <class W> TARNM_DETAIL_INLINE typename W::numbers square_root(const typename W::numbers& x)
{
    typename W::numbers root;
    TARNM_PYTHON_UNROLL for (int l = 0; l < W::lanes; ++l) root[l] = std::sqrt(x[l]);
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

// ---- objects to vectors and back

// The first bytes of the objects of a vector; a place without an object repeats the first one.
template <class W, class View> struct places {
    using byte = std::conditional_t<std::is_const_v<typename View::element_type>, const char, char>;

    TARNM_DETAIL_INLINE places(const View& view, std::ptrdiff_t first, int live)
    {
        TARNM_PYTHON_UNROLL for (int l = 0; l < W::lanes; ++l) start[l] =
            reinterpret_cast<byte*>(view.address(first + (l < live ? l : 0), 0, 0));
    }

    byte* start[W::lanes];
};

// The vectors side by side in one of twice the length, and its halves.
template <class Whole, class Part, int... l>
TARNM_DETAIL_INLINE Whole joined(const Part& low, const Part& high, std::integer_sequence<int, l...>)
{
    return __builtin_shufflevector(low, high, l...);
}

template <class Part, int first, class Whole, int... l>
TARNM_DETAIL_INLINE Part half(const Whole& whole, std::integer_sequence<int, l...>)
{
    return __builtin_shufflevector(whole, whole, first + l...);
}

// Elements that move at once: 128 bits of an object, in which processors shuffle best, or 256, which are half as many stores.
template <class T, int size> inline constexpr int run_length = sizeof(T) == 8 && size < 4 ? 2 : 4;

// A run of every length-th object.
template <class W, int length> TARNM_DETAIL_INLINE typename W::numbers load_pieces(const char* const* start, int offset)
{
    if constexpr (W::lanes == length)
        return *reinterpret_cast<const typename W::anywhere*>(*start + offset);
    else
        return joined<typename W::numbers>(load_pieces<typename W::half, length>(start, offset),
                                           load_pieces<typename W::half, length>(start + W::half::lanes, offset),
                                           std::make_integer_sequence<int, W::lanes>());
}

template <class W, int length>
TARNM_DETAIL_INLINE void store_pieces(char* const* start, int offset, const typename W::numbers& pieces)
{
    if constexpr (W::lanes == length)
        *reinterpret_cast<typename W::anywhere*>(*start + offset) = pieces;
    else {
        using numbers = typename W::half::numbers;
        using lanes = std::make_integer_sequence<int, W::half::lanes>;
        store_pieces<typename W::half, length>(start, offset, half<numbers, 0>(pieces, lanes()));
        store_pieces<typename W::half, length>(start + W::half::lanes, offset,
                                               half<numbers, W::half::lanes>(pieces, lanes()));
    }
}

// Transposes the squares of runs.
template <class W, int length> TARNM_DETAIL_INLINE void exchange_pieces(typename W::numbers (&square)[length])
{
    using lanes = std::make_integer_sequence<int, W::lanes>;
    TARNM_PYTHON_UNROLL for (int k = 0; k < length; k += 2)
        detail::exchange_positions<1>(square[k], square[k + 1], lanes());
    if constexpr (length == 4)
        TARNM_PYTHON_UNROLL for (int k = 0; k < 2; ++k)
            detail::exchange_positions<2>(square[k], square[k + 2], lanes());
}

// All elements of the objects in the order of memory. The last run reaches back to elements that were moved before.
template <class W, int size, class Byte>
TARNM_DETAIL_INLINE void load_runs(Byte* const (&start)[W::lanes], typename W::numbers (&elements)[size])
{
    constexpr int length = run_length<typename W::number, size>;
    TARNM_PYTHON_UNROLL for (int k = 0; k < size; k += length)
    {
        const int run = k + length <= size ? k : size - length;
        typename W::numbers square[length];
        TARNM_PYTHON_UNROLL for (int l = 0; l < length; ++l) square[l] =
            load_pieces<W, length>(start + l, run * static_cast<int>(sizeof(typename W::number)));
        exchange_pieces<W, length>(square);
        TARNM_PYTHON_UNROLL for (int j = 0; j < length; ++j) elements[run + j] = square[j];
    }
}

template <class W, int size>
TARNM_DETAIL_INLINE void store_runs(char* const (&start)[W::lanes], const typename W::numbers (&elements)[size])
{
    constexpr int length = run_length<typename W::number, size>;
    TARNM_PYTHON_UNROLL for (int k = 0; k < size; k += length)
    {
        const int run = k + length <= size ? k : size - length;
        typename W::numbers square[length];
        TARNM_PYTHON_UNROLL for (int j = 0; j < length; ++j) square[j] = elements[run + j];
        exchange_pieces<W, length>(square);
        TARNM_PYTHON_UNROLL for (int l = 0; l < length; ++l)
            store_pieces<W, length>(start + l, run * static_cast<int>(sizeof(typename W::number)), square[l]);
    }
}

// Elements (r, c) of the objects first, first + 1, ... in elements[r * columns + c].
template <class W, int rows, int columns, class View>
TARNM_DETAIL_INLINE void load_objects(const View& view, arrangement lies, std::ptrdiff_t first, int live,
                                      typename W::numbers (&elements)[rows * columns])
{
    using T = typename W::number;
    if (lies == arrangement::side_by_side && live == W::lanes) {
        TARNM_PYTHON_UNROLL for (int e = 0; e < rows * columns; ++e) elements[e] =
            *reinterpret_cast<const typename W::anywhere*>(view.address(first, e / columns, e % columns));
        return;
    }
    const places<W, View> at(view, first, live);
    if constexpr (rows * columns >= run_length<T, rows * columns>) {
        if (lies == arrangement::by_rows) return load_runs<W>(at.start, elements);
        if (lies == arrangement::by_columns) {
            typename W::numbers in_memory[rows * columns];
            load_runs<W>(at.start, in_memory);
            TARNM_PYTHON_UNROLL for (int e = 0; e < rows * columns; ++e) elements[e] =
                in_memory[e % columns * rows + e / columns];
            return;
        }
    }
    // All of it in memory before the first vector is loaded.
    alignas(sizeof(typename W::numbers)) T values[rows * columns][W::lanes];
    for (int e = 0; e < rows * columns; ++e) {
        const std::ptrdiff_t offset = e / columns * view.row_stride() + e % columns * view.element_stride();
        TARNM_PYTHON_UNROLL for (int l = 0; l < W::lanes; ++l) values[e][l] =
            detail::load(reinterpret_cast<const T*>(at.start[l] + offset));
    }
    TARNM_PYTHON_UNROLL for (int e = 0; e < rows * columns; ++e) elements[e] =
        *reinterpret_cast<const typename W::numbers*>(values[e]);
}

template <class W, int rows, int columns, class View>
TARNM_DETAIL_INLINE void store_objects(const View& view, arrangement lies, std::ptrdiff_t first, int live,
                                       const typename W::numbers (&elements)[rows * columns])
{
    using T = typename W::number;
    if (lies == arrangement::side_by_side && live == W::lanes) {
        TARNM_PYTHON_UNROLL for (int e = 0; e < rows * columns; ++e) *
            reinterpret_cast<typename W::anywhere*>(view.address(first, e / columns, e % columns)) = elements[e];
        return;
    }
    const places<W, View> at(view, first, live);
    if constexpr (rows * columns >= run_length<T, rows * columns>)
        if (lies == arrangement::by_rows && live == W::lanes) return store_runs<W>(at.start, elements);
    alignas(sizeof(typename W::numbers)) T values[rows * columns][W::lanes];
    TARNM_PYTHON_UNROLL for (int e = 0; e < rows * columns; ++e) * reinterpret_cast<typename W::numbers*>(values[e]) =
        elements[e];
    for (int e = 0; e < rows * columns; ++e) {
        const std::ptrdiff_t offset = e / columns * view.row_stride() + e % columns * view.element_stride();
        for (int l = 0; l < live; ++l)
            detail::store(reinterpret_cast<T*>(at.start[l] + offset), values[e][l]);
    }
}

// ---- the elimination

// The right sides become the solutions. Gives the magnitudes of the smallest pivots.
template <class W, int n>
TARNM_DETAIL_INLINE typename W::numbers eliminate(typename W::numbers (&m)[n * n], typename W::numbers (&b)[n])
{
    using numbers = typename W::numbers;
    numbers reciprocal[n], pivots = numbers{} + std::numeric_limits<typename W::number>::max();
    TARNM_PYTHON_UNROLL for (int c = 0; c < n; ++c)
    {
        TARNM_PYTHON_UNROLL for (int p = c + 1; p < n; ++p)
        {
            const typename W::bits wins = magnitude<W>(m[p * n + c]) > magnitude<W>(m[c * n + c]);
            TARNM_PYTHON_UNROLL for (int j = c; j < n; ++j) exchange_where<W>(wins, m[c * n + j], m[p * n + j]);
            exchange_where<W>(wins, b[c], b[p]);
        }
        lower_to<W>(magnitude<W>(m[c * n + c]), pivots);
        reciprocal[c] = 1 / m[c * n + c];
        TARNM_PYTHON_UNROLL for (int p = c + 1; p < n; ++p)
        {
            const numbers multiplier = m[p * n + c] * reciprocal[c];
            TARNM_PYTHON_UNROLL for (int j = c + 1; j < n; ++j) m[p * n + j] -= multiplier * m[c * n + j];
            b[p] -= multiplier * b[c];
        }
    }
    TARNM_PYTHON_UNROLL for (int r = n - 1; r >= 0; --r)
    {
        TARNM_PYTHON_UNROLL for (int c = n - 1; c > r; --c) b[r] -= m[r * n + c] * b[c];
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
    TARNM_PYTHON_UNROLL for (int c = 0; c < n; ++c)
    {
        const typename W::numbers diagonal = m[c * n + c];
        typename W::numbers pivot = diagonal;
        TARNM_PYTHON_UNROLL for (int k = 0; k < c; ++k) pivot -= m[c * n + k] * m[c * n + k];
        lower_to<W>(pivot - relative * diagonal, pivots);
        m[c * n + c] = square_root<W>(pivot);
        const typename W::numbers reciprocal = 1 / m[c * n + c];
        TARNM_PYTHON_UNROLL for (int r = c + 1; r < n; ++r)
        {
            TARNM_PYTHON_UNROLL for (int k = 0; k < c; ++k) m[r * n + c] -= m[r * n + k] * m[c * n + k];
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
    using W = width<T, bytes>;
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
    using W = width<T, bytes>;
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

// The result of call(order as a constant).
template <class Call> bool by_order(std::ptrdiff_t order, const Call& call)
{
    switch (order) {
    case 3:
        return call(std::integral_constant<int, 3>());
    case 4:
        return call(std::integral_constant<int, 4>());
    case 5:
        return call(std::integral_constant<int, 5>());
    case 6:
        return call(std::integral_constant<int, 6>());
    default:
        return false;
    }
}

} // namespace side_by_side

// a * x = b, where b and x have one column.
template <class A, class B, class X> bool solved(const A& a, const B& b, const X& x)
{
    using namespace side_by_side;
    return by_order(a.rows(), [&](auto n) {
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
    return by_order(a.rows(), [&](auto n) { return factor_all<32, n>(a, lower); });
}

} // namespace tarnm::python

#endif
