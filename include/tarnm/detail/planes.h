// Some objects side by side: element e of object n stands at position n of plane e. What a layer looks for in every object is
// then computed for a vector of objects at once, and the C functions take it as pointers per element.
//
//   planes<T>                     planes in scratch, each of `width` positions
//   read_planes, write_planes     the matrices of a view
//   fill_tail                     zeros where a plane has no object
//   table_of                      the pointers per element
//   scale_factors                 powers of two that bring matrices to a common magnitude
#ifndef TARNM_DETAIL_PLANES_H
#define TARNM_DETAIL_PLANES_H

#include "packs.h"

namespace tarnm::detail {

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

// How many objects pack i has.
template <class View> std::ptrdiff_t live_in_pack(const View& view, std::ptrdiff_t i)
{
    constexpr std::ptrdiff_t size = pack_size<typename View::value_type>;
    return std::min<std::ptrdiff_t>(size, view.count() - i * size);
}

// All matrices, or their upper triangles at least, side by side. Pack by pack, since the elements of some objects share lines
// of a cache. Zeros stand where the last pack has no object.
template <class View, class T> void read_planes(const View& view, const planes<T>& result, bool upper_triangle = false)
{
    using kind = pack_kind<T>;
    const std::ptrdiff_t rows = view.rows(), columns = view.columns();
    const arrangement lies = arrangement_of(view);
    const plane_numbers numbers(rows, columns, lies, [](std::ptrdiff_t c) { return c; });
    for (std::ptrdiff_t i = 0; i < packs_of<T>(view.count()); ++i) {
        const std::ptrdiff_t live = live_in_pack(view, i);
        const bool is_full = live == pack_size<T>;
        if (lies == arrangement::side_by_side && is_full) {
            for (std::ptrdiff_t r = 0; r < rows; ++r)
                for (std::ptrdiff_t c = upper_triangle ? r : 0; c < columns; ++c)
                    result.at(r * columns + c, i) = load_pack<kind>(view.address(i * pack_size<T>, r, c));
            continue;
        }
        if constexpr (View::place == layout::elements) {
            for (std::ptrdiff_t r = 0; r < rows; ++r)
                for (std::ptrdiff_t c = upper_triangle ? r : 0; c < columns; ++c)
                    for (std::ptrdiff_t n = i * pack_size<T>; n < (i + 1) * pack_size<T>; ++n)
                        result.plane(r * columns + c)[n] = n < view.count() ? load(view.address(n, r, c)) : T(0);
        } else {
            const pack_places<kind, View> places(view, i * pack_size<T>, live);
            if (lies != arrangement::scattered && is_full) {
                fetch_ahead<false>(view, i * pack_size<T>, pack_size<T>);
                numbers.over_runs<T>([&](std::ptrdiff_t k, const std::ptrdiff_t* plane) {
                    pack<T> square[pack_size<T>];
                    load_run<kind>(places.start, k * std::ptrdiff_t{sizeof(T)}, square);
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
                        load(reinterpret_cast<const T*>(places.start[l] + offset));
                    for (std::ptrdiff_t l = live; l < pack_size<T>; ++l)
                        place[l] = 0;
                }
        }
    }
}

// Column c of the matrices comes from column column_of(c) of those side by side.
template <class View, class T, class Columns>
void write_planes(const View& view, const planes<T>& source, const Columns& column_of)
{
    using kind = pack_kind<T>;
    const std::ptrdiff_t rows = view.rows(), columns = view.columns();
    const arrangement lies = arrangement_of(view);
    const plane_numbers numbers(rows, columns, lies, column_of);
    for (std::ptrdiff_t i = 0; i < packs_of<T>(view.count()); ++i) {
        const std::ptrdiff_t live = live_in_pack(view, i);
        const bool is_full = live == pack_size<T>;
        if (lies == arrangement::side_by_side && is_full) {
            for (std::ptrdiff_t r = 0; r < rows; ++r)
                for (std::ptrdiff_t c = 0; c < columns; ++c)
                    store_pack<kind>(view.address(i * pack_size<T>, r, c), source.at(r * columns + column_of(c), i));
            continue;
        }
        if constexpr (View::place == layout::elements) {
            const std::ptrdiff_t end = i * pack_size<T> + live;
            for (std::ptrdiff_t r = 0; r < rows; ++r)
                for (std::ptrdiff_t c = 0; c < columns; ++c)
                    for (std::ptrdiff_t n = i * pack_size<T>; n < end; ++n)
                        store(view.address(n, r, c), source.plane(r * columns + column_of(c))[n]);
        } else {
            const pack_places<kind, View> places(view, i * pack_size<T>, live);
            if (lies != arrangement::scattered && is_full) {
                fetch_ahead<true>(view, i * pack_size<T>, pack_size<T>);
                numbers.over_runs<T>([&](std::ptrdiff_t k, const std::ptrdiff_t* plane) {
                    pack<T> square[pack_size<T>];
                    TARNM_DETAIL_UNROLL for (std::ptrdiff_t j = 0; j < pack_size<T>; ++j) square[j] =
                        source.at(plane[j], i);
                    store_run<kind>(places.start, k * std::ptrdiff_t{sizeof(T)}, square);
                });
                continue;
            }
            for (std::ptrdiff_t r = 0; r < rows; ++r)
                for (std::ptrdiff_t c = 0; c < columns; ++c) {
                    const std::ptrdiff_t offset = r * view.row_stride() + c * view.element_stride();
                    const T* const place = source.plane(r * columns + column_of(c)) + i * pack_size<T>;
                    // Backwards: the first object is written last where others repeat its place.
                    TARNM_DETAIL_UNROLL for (std::ptrdiff_t l = pack_size<T> - 1; l >= 0; --l)
                        store(reinterpret_cast<T*>(places.start[l] + offset), place[l]);
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
