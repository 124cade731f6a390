// Some objects side by side: element e of object n stands at position n of plane e. What a layer looks for in every object is
// then computed for a vector of objects at once, and the C functions take it as pointers per element.
//
//   pack<T>                       as many numbers as a vector of the processor holds
//   planes<T>                     planes in scratch, each of `width` positions
//   exchange_sides                transposes a square of vectors
//   fetch_ahead                   reads or writes of a view that come next
//   read_planes, write_planes     the matrices of a view
//   fill_tail                     zeros where a plane has no object
//   table_of                      the pointers per element
//   scale_factors                 powers of two that bring matrices to a common magnitude
#ifndef TARNM_DETAIL_PLANES_H
#define TARNM_DETAIL_PLANES_H

#include "right.h"

// Loops over the objects of a pack.
#if defined(__clang__)
#define TARNM_DETAIL_UNROLL _Pragma("clang loop unroll(full)")
#else
#define TARNM_DETAIL_UNROLL _Pragma("GCC unroll 8")
#endif

namespace tarnm::detail {

#if defined(__AVX__)
inline constexpr std::size_t pack_bytes = 32;
#else
inline constexpr std::size_t pack_bytes = 16;
#endif

// g++ takes no vector of a type that depends on a template parameter.
template <class T> struct pack_types;
template <> struct pack_types<float> {
    typedef float numbers __attribute__((vector_size(pack_bytes), may_alias));
    typedef float anywhere __attribute__((vector_size(pack_bytes), may_alias, aligned(1)));
    typedef std::int32_t bits __attribute__((vector_size(pack_bytes)));
};
template <> struct pack_types<double> {
    typedef double numbers __attribute__((vector_size(pack_bytes), may_alias));
    typedef double anywhere __attribute__((vector_size(pack_bytes), may_alias, aligned(1)));
    typedef std::int64_t bits __attribute__((vector_size(pack_bytes)));
};
template <class T> using pack = typename pack_types<T>::numbers;
template <class T> using pack_bits = typename pack_types<T>::bits;
template <class T> inline constexpr std::ptrdiff_t pack_size = pack_bytes / sizeof(T);

// Where nothing is aligned.
template <class T> TARNM_DETAIL_INLINE pack<T> load_pack(const void* place)
{
    return *static_cast<const typename pack_types<T>::anywhere*>(place);
}

template <class T> TARNM_DETAIL_INLINE void store_pack(void* place, const pack<T>& numbers)
{
    *static_cast<typename pack_types<T>::anywhere*>(place) = numbers;
}

template <class T> struct planes {
    T* data = nullptr;
    std::ptrdiff_t width = 0;

    T* plane(std::ptrdiff_t element) const { return data + element * width; }
    pack<T>& at(std::ptrdiff_t element, std::ptrdiff_t i) const
    {
        return *reinterpret_cast<pack<T>*>(data + element * width + i * pack_size<T>);
    }
};

// Positions for so many objects: whole packs, and planes at distances that do not fall on the same lines of a cache.
template <class T> constexpr std::ptrdiff_t plane_width(std::ptrdiff_t count)
{
    const std::ptrdiff_t packs = (count + pack_size<T> - 1) / pack_size<T>;
    return (packs | 1) * pack_size<T>;
}

template <class T> constexpr std::ptrdiff_t packs_of(std::ptrdiff_t count)
{
    return (count + pack_size<T> - 1) / pack_size<T>;
}

// Zeros at the positions of the last pack that have no object: whatever else stands there could be slow to compute with.
template <class T> void fill_tail(T* plane, std::ptrdiff_t count)
{
    std::fill(plane + count, plane + packs_of<T>(count) * pack_size<T>, T(0));
}

// The first elements of the objects of pack i, and how many objects it has.
template <class View> struct pack_places {
    using T = typename View::value_type;
    using byte = std::conditional_t<std::is_const_v<typename View::element_type>, const std::byte, std::byte>;

    pack_places(const View& view, std::ptrdiff_t i)
        : count(std::min<std::ptrdiff_t>(pack_size<T>, view.count() - i * pack_size<T>))
    {
        // The places without an object repeat the first one.
        for (std::ptrdiff_t l = 0; l < pack_size<T>; ++l)
            first[l] = reinterpret_cast<byte*>(view.address(i * pack_size<T> + (l < count ? l : 0), 0, 0));
    }

    byte* first[pack_size<T>];
    std::ptrdiff_t count;
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

// Position l of vector k becomes position k of vector l, of as many vectors as one has positions.
template <int bit = 1, class V, std::size_t size> TARNM_DETAIL_INLINE void exchange_sides(V (&square)[size])
{
    TARNM_DETAIL_UNROLL for (std::size_t k = 0; k < size; ++k) if ((k & bit) == 0)
        exchange_positions<bit>(square[k], square[k + bit], std::make_integer_sequence<int, size>());
    if constexpr (2 * bit < size) exchange_sides<2 * bit>(square);
}

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

// The numbers of the planes of elements in the order in which these lie in memory.
class plane_numbers {
public:
    template <class Columns>
    plane_numbers(std::ptrdiff_t rows, std::ptrdiff_t columns, arrangement lies, const Columns& column_of)
    {
        std::ptrdiff_t k = 0;
        if (lies == arrangement::by_rows)
            for (std::ptrdiff_t r = 0; r < rows; ++r)
                for (std::ptrdiff_t c = 0; c < columns; ++c)
                    numbers_[k++] = r * columns + column_of(c);
        if (lies == arrangement::by_columns)
            for (std::ptrdiff_t c = 0; c < columns; ++c)
                for (std::ptrdiff_t r = 0; r < rows; ++r)
                    numbers_[k++] = r * columns + column_of(c);
        size_ = k;
    }

    // Calls move(k, numbers of elements k, k + 1, ...) for runs as long as a pack. The last one reaches back to elements that
    // were moved before.
    template <class T, class Move> void over_runs(const Move& move) const
    {
        for (std::ptrdiff_t k = 0; k < size_; k += pack_size<T>) {
            const std::ptrdiff_t first = std::min<std::ptrdiff_t>(k, size_ - pack_size<T>);
            move(first, numbers_ + first);
        }
    }

private:
    std::ptrdiff_t numbers_[largest_in_runs];
    std::ptrdiff_t size_ = 0;
};

// Pack i of the objects has one at every position.
template <class View> bool is_full(const View& view, std::ptrdiff_t i)
{
    return (i + 1) * pack_size<typename View::value_type> <= view.count();
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

// All matrices, or their upper triangles at least, side by side. Pack by pack, since the elements of some objects share lines
// of a cache. Zeros stand where the last pack has no object.
template <class View, class T> void read_planes(const View& view, const planes<T>& result, bool upper_triangle = false)
{
    const std::ptrdiff_t rows = view.rows(), columns = view.columns();
    const arrangement lies = arrangement_of(view);
    const plane_numbers numbers(rows, columns, lies, [](std::ptrdiff_t c) { return c; });
    for (std::ptrdiff_t i = 0; i < packs_of<T>(view.count()); ++i) {
        if (lies == arrangement::side_by_side && is_full(view, i)) {
            for (std::ptrdiff_t r = 0; r < rows; ++r)
                for (std::ptrdiff_t c = upper_triangle ? r : 0; c < columns; ++c)
                    result.at(r * columns + c, i) = load_pack<T>(view.address(i * pack_size<T>, r, c));
            continue;
        }
        if constexpr (View::place == layout::elements) {
            for (std::ptrdiff_t r = 0; r < rows; ++r)
                for (std::ptrdiff_t c = upper_triangle ? r : 0; c < columns; ++c)
                    for (std::ptrdiff_t n = i * pack_size<T>; n < (i + 1) * pack_size<T>; ++n)
                        result.plane(r * columns + c)[n] = n < view.count() ? load(view.address(n, r, c)) : T(0);
        } else {
            const pack_places<View> places(view, i);
            if (lies != arrangement::scattered && is_full(view, i)) {
                fetch_ahead<false>(view, i * pack_size<T>, pack_size<T>);
                numbers.over_runs<T>([&](std::ptrdiff_t k, const std::ptrdiff_t* plane) {
                    pack<T> square[pack_size<T>];
                    TARNM_DETAIL_UNROLL for (std::ptrdiff_t l = 0; l < pack_size<T>; ++l) square[l] =
                        load_pack<T>(places.first[l] + k * std::ptrdiff_t{sizeof(T)});
                    exchange_sides(square);
                    TARNM_DETAIL_UNROLL for (std::ptrdiff_t j = 0; j < pack_size<T>; ++j) result.at(plane[j], i) =
                        square[j];
                });
                continue;
            }
            for (std::ptrdiff_t r = 0; r < rows; ++r)
                for (std::ptrdiff_t c = upper_triangle ? r : 0; c < columns; ++c) {
                    const std::ptrdiff_t offset = r * view.row_stride() + c * view.element_stride();
                    T* const place = result.plane(r * columns + c) + i * pack_size<T>;
                    TARNM_DETAIL_UNROLL for (std::ptrdiff_t l = 0; l < pack_size<T>; ++l) place[l] =
                        load(reinterpret_cast<const T*>(places.first[l] + offset));
                    for (std::ptrdiff_t l = places.count; l < pack_size<T>; ++l)
                        place[l] = 0;
                }
        }
    }
}

// Column c of the matrices comes from column column_of(c) of those side by side.
template <class View, class T, class Columns>
void write_planes(const View& view, const planes<T>& source, const Columns& column_of)
{
    const std::ptrdiff_t rows = view.rows(), columns = view.columns();
    const arrangement lies = arrangement_of(view);
    const plane_numbers numbers(rows, columns, lies, column_of);
    for (std::ptrdiff_t i = 0; i < packs_of<T>(view.count()); ++i) {
        if (lies == arrangement::side_by_side && is_full(view, i)) {
            for (std::ptrdiff_t r = 0; r < rows; ++r)
                for (std::ptrdiff_t c = 0; c < columns; ++c)
                    store_pack<T>(view.address(i * pack_size<T>, r, c), source.at(r * columns + column_of(c), i));
            continue;
        }
        if constexpr (View::place == layout::elements) {
            const std::ptrdiff_t end = std::min<std::ptrdiff_t>((i + 1) * pack_size<T>, view.count());
            for (std::ptrdiff_t r = 0; r < rows; ++r)
                for (std::ptrdiff_t c = 0; c < columns; ++c)
                    for (std::ptrdiff_t n = i * pack_size<T>; n < end; ++n)
                        store(view.address(n, r, c), source.plane(r * columns + column_of(c))[n]);
        } else {
            const pack_places<View> places(view, i);
            if (lies != arrangement::scattered && is_full(view, i)) {
                fetch_ahead<true>(view, i * pack_size<T>, pack_size<T>);
                numbers.over_runs<T>([&](std::ptrdiff_t k, const std::ptrdiff_t* plane) {
                    pack<T> square[pack_size<T>];
                    TARNM_DETAIL_UNROLL for (std::ptrdiff_t j = 0; j < pack_size<T>; ++j) square[j] =
                        source.at(plane[j], i);
                    exchange_sides(square);
                    TARNM_DETAIL_UNROLL for (std::ptrdiff_t l = 0; l < pack_size<T>; ++l)
                        store_pack<T>(places.first[l] + k * std::ptrdiff_t{sizeof(T)}, square[l]);
                });
                continue;
            }
            for (std::ptrdiff_t r = 0; r < rows; ++r)
                for (std::ptrdiff_t c = 0; c < columns; ++c) {
                    const std::ptrdiff_t offset = r * view.row_stride() + c * view.element_stride();
                    const T* const place = source.plane(r * columns + column_of(c)) + i * pack_size<T>;
                    // Backwards: the first object is written last where others repeat its place.
                    TARNM_DETAIL_UNROLL for (std::ptrdiff_t l = pack_size<T> - 1; l >= 0; --l)
                        store(reinterpret_cast<T*>(places.first[l] + offset), place[l]);
                }
        }
    }
}

// The pointers to `size` planes, and the objects at these places.
template <class T> void table_of(const planes<T>& source, std::ptrdiff_t size, T** table)
{
    for (std::ptrdiff_t e = 0; e < size; ++e)
        table[e] = source.plane(e);
}

template <class T>
matrix_elements_array<T> matrices_at(T** table, std::ptrdiff_t count, std::ptrdiff_t rows, std::ptrdiff_t columns)
{
    return matrix_elements_array<T>(table, count, rows, columns, {.object = sizeof(T)});
}

// From magnitudes, the powers of two by which matrices are multiplied, so that theirs become less than 1 and at least 1/2;
// 1 for a magnitude of zero. 0 where the magnitude is not finite or its power of two near the ends of the range.
template <class T> void scale_factors(const pack<T>& magnitudes, pack<T>& factors)
{
    constexpr int digits = std::numeric_limits<T>::digits - 1, bias = std::numeric_limits<T>::max_exponent - 1;
    using bits = pack_bits<T>;
    const bits zero = {};
    bits exponents = std::bit_cast<bits>(magnitudes) >> digits;
    exponents = magnitudes == pack<T>{} ? zero + (bias - 1) : exponents;
    const bits usable = (exponents > zero + 2) & (exponents < zero + (2 * bias - 2));
    factors = std::bit_cast<pack<T>>((((zero + (2 * bias - 1)) - exponents) << digits) & usable);
}

} // namespace tarnm::detail

#endif
