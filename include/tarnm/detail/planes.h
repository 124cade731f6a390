// Some objects side by side: element e of object n stands at position n of plane e. What a layer looks for in every object is
// then computed for a vector of objects at once, and the C functions take it as pointers per element.
//
//   pack<T>                       as many numbers as a vector of the processor holds
//   planes<T>                     planes in scratch, each of `width` positions
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
    typedef std::int32_t bits __attribute__((vector_size(pack_bytes)));
};
template <> struct pack_types<double> {
    typedef double numbers __attribute__((vector_size(pack_bytes), may_alias));
    typedef std::int64_t bits __attribute__((vector_size(pack_bytes)));
};
template <class T> using pack = typename pack_types<T>::numbers;
template <class T> using pack_bits = typename pack_types<T>::bits;
template <class T> inline constexpr std::ptrdiff_t pack_size = pack_bytes / sizeof(T);

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

// All matrices, or their upper triangles, side by side. Pack by pack, since the elements of some objects share lines of a
// cache. Zeros stand where the last pack has no object.
template <class View, class T> void read_planes(const View& view, const planes<T>& result, bool upper_triangle = false)
{
    const std::ptrdiff_t rows = view.rows(), columns = view.columns();
    for (std::ptrdiff_t i = 0; i < packs_of<T>(view.count()); ++i) {
        if constexpr (View::place == layout::elements) {
            for (std::ptrdiff_t r = 0; r < rows; ++r)
                for (std::ptrdiff_t c = upper_triangle ? r : 0; c < columns; ++c)
                    for (std::ptrdiff_t n = i * pack_size<T>; n < (i + 1) * pack_size<T>; ++n)
                        result.plane(r * columns + c)[n] = n < view.count() ? load(view.address(n, r, c)) : T(0);
        } else {
            const pack_places<View> places(view, i);
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
    for (std::ptrdiff_t i = 0; i < packs_of<T>(view.count()); ++i) {
        if constexpr (View::place == layout::elements) {
            const std::ptrdiff_t end = std::min<std::ptrdiff_t>((i + 1) * pack_size<T>, view.count());
            for (std::ptrdiff_t r = 0; r < rows; ++r)
                for (std::ptrdiff_t c = 0; c < columns; ++c)
                    for (std::ptrdiff_t n = i * pack_size<T>; n < end; ++n)
                        store(view.address(n, r, c), source.plane(r * columns + column_of(c))[n]);
        } else {
            const pack_places<View> places(view, i);
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
