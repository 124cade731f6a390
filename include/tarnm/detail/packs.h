// Packs: a number of each of some objects, side by side in a vector. What the vectors of one kind are, and how runs of elements
// move between objects and packs.
//
//   pack_kind<T, bytes>       the vectors of so many bytes; by default of as many as the processor is known to have
//   pack<T>                   numbers in one of these
//   load_pack, store_pack     numbers that lie side by side already, at any address
//   exchange_sides            transposes squares of numbers in vectors
//   pack_places               where the objects of a pack begin
//   load_run, store_run       some neighbouring elements of each object of a pack
//   arrangement_of            how the elements of a view lie
//   fetch_ahead               reads or writes of a view that come next
#ifndef TARNM_DETAIL_PACKS_H
#define TARNM_DETAIL_PACKS_H

#include "right.h"

// Loops over the objects of a pack or the elements of a small object.
#if defined(__clang__)
#define TARNM_DETAIL_UNROLL _Pragma("clang loop unroll(full)")
#else
#define TARNM_DETAIL_UNROLL _Pragma("GCC unroll 64")
#endif

namespace tarnm::detail {

#if defined(__AVX__)
inline constexpr std::size_t pack_bytes = 32;
#else
inline constexpr std::size_t pack_bytes = 16;
#endif

// g++ takes no vector of a type or of a size that depends on a template parameter.
template <class T, std::size_t bytes> struct vector_types;
#define TARNM_DETAIL_VECTOR_TYPES(number, integer, bytes)                                                              \
    template <> struct vector_types<number, bytes> {                                                                   \
        typedef number numbers __attribute__((vector_size(bytes), may_alias));                                         \
        typedef number anywhere __attribute__((vector_size(bytes), may_alias, aligned(1)));                            \
        typedef integer bits __attribute__((vector_size(bytes)));                                                      \
    };
TARNM_DETAIL_VECTOR_TYPES(float, std::int32_t, 16)
TARNM_DETAIL_VECTOR_TYPES(float, std::int32_t, 32)
TARNM_DETAIL_VECTOR_TYPES(float, std::int32_t, 64)
TARNM_DETAIL_VECTOR_TYPES(double, std::int64_t, 16)
TARNM_DETAIL_VECTOR_TYPES(double, std::int64_t, 32)
TARNM_DETAIL_VECTOR_TYPES(double, std::int64_t, 64)
#undef TARNM_DETAIL_VECTOR_TYPES

template <class T, std::size_t bytes = pack_bytes> struct pack_kind {
    using number = T;
    using numbers = typename vector_types<T, bytes>::numbers;
    using anywhere = typename vector_types<T, bytes>::anywhere;
    using bits = typename vector_types<T, bytes>::bits;
    using half = pack_kind<T, bytes / 2>;
    static constexpr int lanes = bytes / sizeof(T);
};

template <class T> using pack = typename pack_kind<T>::numbers;
template <class T> using pack_bits = typename pack_kind<T>::bits;
template <class T> inline constexpr std::ptrdiff_t pack_size = pack_kind<T>::lanes;

// Where nothing is aligned.
template <class Kind> TARNM_DETAIL_INLINE typename Kind::numbers load_pack(const void* place)
{
    return *static_cast<const typename Kind::anywhere*>(place);
}

template <class Kind> TARNM_DETAIL_INLINE void store_pack(void* place, const typename Kind::numbers& numbers)
{
    *static_cast<typename Kind::anywhere*>(place) = numbers;
}

// ---- runs of elements

// Where objects begin: those of a view from number `first` on, as many as are live. The places without an object repeat the
// first one.
template <class Kind, class View> struct pack_places {
    using byte = std::conditional_t<std::is_const_v<typename View::element_type>, const std::byte, std::byte>;

    TARNM_DETAIL_INLINE pack_places(const View& view, std::ptrdiff_t first, std::ptrdiff_t live)
    {
        TARNM_DETAIL_UNROLL for (int l = 0; l < Kind::lanes; ++l) start[l] =
            reinterpret_cast<byte*>(view.address(first + (l < live ? l : 0), 0, 0));
    }

    byte* start[Kind::lanes];
};

// Positions of a vector, for which a bit of the number is set, change places with those of the other where it is not.
template <int bit, class V, int... l>
TARNM_DETAIL_INLINE void exchange_positions(V& a, V& b, std::integer_sequence<int, l...>)
{
    constexpr int size = sizeof...(l);
    const V low = __builtin_shufflevector(a, b, ((l & bit) != 0 ? size + l - bit : l)...);
    b = __builtin_shufflevector(a, b, ((l & bit) != 0 ? size + l : l + bit)...);
    a = low;
}

// Position l of vector k becomes position k of vector l, in every square of as many positions as there are vectors.
template <class Kind, int bit = 1, std::size_t size>
TARNM_DETAIL_INLINE void exchange_sides(typename Kind::numbers (&square)[size])
{
    TARNM_DETAIL_UNROLL for (std::size_t k = 0; k < size; ++k) if ((k & bit) == 0)
        exchange_positions<bit>(square[k], square[k + bit], std::make_integer_sequence<int, Kind::lanes>());
    if constexpr (2 * bit < size) exchange_sides<Kind, 2 * bit>(square);
}

// Two vectors side by side in one of twice the length, and a half of one.
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

// `length` elements of every length-th object, in a vector that holds those of several.
template <class Kind, int length>
TARNM_DETAIL_INLINE typename Kind::numbers load_pieces(const std::byte* const* start, std::ptrdiff_t offset)
{
    if constexpr (Kind::lanes == length)
        return load_pack<Kind>(*start + offset);
    else {
        using half_kind = typename Kind::half;
        return joined<typename Kind::numbers>(load_pieces<half_kind, length>(start, offset),
                                              load_pieces<half_kind, length>(start + half_kind::lanes, offset),
                                              std::make_integer_sequence<int, Kind::lanes>());
    }
}

template <class Kind, int length>
TARNM_DETAIL_INLINE void store_pieces(std::byte* const* start, std::ptrdiff_t offset,
                                      const typename Kind::numbers& pieces)
{
    if constexpr (Kind::lanes == length)
        store_pack<Kind>(*start + offset, pieces);
    else {
        using half_kind = typename Kind::half;
        using lanes = std::make_integer_sequence<int, half_kind::lanes>;
        store_pieces<half_kind, length>(start, offset, half<typename half_kind::numbers, 0>(pieces, lanes()));
        store_pieces<half_kind, length>(start + half_kind::lanes, offset,
                                        half<typename half_kind::numbers, half_kind::lanes>(pieces, lanes()));
    }
}

// As many neighbouring elements of each object as there are packs, from `offset` bytes behind its beginning on. A run is no
// longer than a pack.
template <class Kind, std::size_t length>
TARNM_DETAIL_INLINE void load_run(const std::byte* const* start, std::ptrdiff_t offset,
                                  typename Kind::numbers (&run)[length])
{
    TARNM_DETAIL_UNROLL for (std::size_t l = 0; l < length; ++l) run[l] = load_pieces<Kind, length>(start + l, offset);
    exchange_sides<Kind>(run);
}

// The packs serve as scratch.
template <class Kind, std::size_t length>
TARNM_DETAIL_INLINE void store_run(std::byte* const* start, std::ptrdiff_t offset,
                                   typename Kind::numbers (&run)[length])
{
    exchange_sides<Kind>(run);
    TARNM_DETAIL_UNROLL for (std::size_t l = 0; l < length; ++l) store_pieces<Kind, length>(start + l, offset, run[l]);
}

// ---- views

// Objects with more elements move one by one.
inline constexpr std::ptrdiff_t largest_in_runs = 64;

// How the elements of a view lie, as far as runs of this length can move.
enum class arrangement {
    scattered,
    side_by_side, // those of neighbouring objects
    by_rows,      // those of one object, without gaps
    by_columns,
};

template <class View>
arrangement arrangement_of(const View& view, std::ptrdiff_t run = pack_size<typename View::value_type>)
{
    using T = typename View::value_type;
    constexpr std::int32_t size = sizeof(T);
    if constexpr (View::place != layout::list)
        if (view.object_stride() == size) return arrangement::side_by_side;
    if constexpr (View::place != layout::elements) {
        const std::int32_t rows = view.rows(), columns = view.columns();
        if (rows * columns < run || rows * columns > largest_in_runs) return arrangement::scattered;
        if ((columns == 1 || view.element_stride() == size) && (rows == 1 || view.row_stride() == columns * size))
            return arrangement::by_rows;
        if ((rows == 1 || view.row_stride() == size) && (columns == 1 || view.element_stride() == rows * size))
            return arrangement::by_columns;
    }
    return arrangement::scattered;
}

// Asks for what lies some objects ahead: the processor alone does not look far enough where an array is larger than its caches.
// Beyond the end of the array nothing happens.
template <bool is_written, class View>
TARNM_DETAIL_INLINE void fetch_ahead(const View& view, std::ptrdiff_t first, std::ptrdiff_t count,
                                     std::ptrdiff_t distance = 4096)
{
    constexpr std::ptrdiff_t line = 64, largest_stride = 512;
    if constexpr (View::place == layout::strided) {
        const std::ptrdiff_t stride = view.object_stride();
        if (stride > largest_stride) return;
        const auto next =
            reinterpret_cast<std::uintptr_t>(view.address(first, 0, 0)) + static_cast<std::uintptr_t>(distance);
        for (std::ptrdiff_t k = 0; k < count * stride; k += line)
            __builtin_prefetch(reinterpret_cast<const void*>(next + static_cast<std::uintptr_t>(k)),
                               is_written ? 1 : 0);
    }
}

} // namespace tarnm::detail

#endif
