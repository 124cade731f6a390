// Small objects in registers: all elements of as many objects as a vector holds, side by side.
//
//   load_objects, store_objects   objects of a view, whose shape is a constant
//
// W is a pack_kind of the C++ layer: the vectors may be of any width.
#ifndef TARNM_PYTHON_REGISTERS_H
#define TARNM_PYTHON_REGISTERS_H

#include <tarnm/detail/packs.h>

namespace tarnm::python {

using detail::arrangement;

// Elements that move at once: 128 bits of an object, in which processors shuffle best, or 256, which are half as many stores.
template <class T, int size> inline constexpr int run_length = sizeof(T) == 8 && size < 4 ? 2 : 4;

// All elements of the objects in the order of memory. The last run reaches back to elements that were moved before.
template <class W, int size>
TARNM_DETAIL_INLINE void load_runs(const std::byte* const* start, typename W::numbers (&elements)[size])
{
    constexpr int length = run_length<typename W::number, size>;
    TARNM_DETAIL_UNROLL for (int k = 0; k < size; k += length)
    {
        const int run = k + length <= size ? k : size - length;
        typename W::numbers packs[length];
        detail::load_run<W>(start, run * std::ptrdiff_t{sizeof(typename W::number)}, packs);
        TARNM_DETAIL_UNROLL for (int j = 0; j < length; ++j) elements[run + j] = packs[j];
    }
}

template <class W, int size>
TARNM_DETAIL_INLINE void store_runs(std::byte* const* start, const typename W::numbers (&elements)[size])
{
    constexpr int length = run_length<typename W::number, size>;
    TARNM_DETAIL_UNROLL for (int k = 0; k < size; k += length)
    {
        const int run = k + length <= size ? k : size - length;
        typename W::numbers packs[length];
        TARNM_DETAIL_UNROLL for (int j = 0; j < length; ++j) packs[j] = elements[run + j];
        detail::store_run<W>(start, run * std::ptrdiff_t{sizeof(typename W::number)}, packs);
    }
}

// Elements (r, c) of the objects first, first + 1, ... in elements[r * columns + c].
template <class W, int rows, int columns, class View>
TARNM_DETAIL_INLINE void load_objects(const View& view, arrangement lies, std::ptrdiff_t first, int live,
                                      typename W::numbers (&elements)[rows * columns])
{
    using T = typename W::number;
    if (lies == arrangement::side_by_side && live == W::lanes) {
        TARNM_DETAIL_UNROLL for (int e = 0; e < rows * columns; ++e) elements[e] =
            detail::load_pack<W>(view.address(first, e / columns, e % columns));
        return;
    }
    const detail::pack_places<W, View> at(view, first, live);
    if constexpr (rows * columns >= run_length<T, rows * columns>) {
        if (lies == arrangement::by_rows) return load_runs<W>(at.start, elements);
        if (lies == arrangement::by_columns) {
            typename W::numbers in_memory[rows * columns];
            load_runs<W>(at.start, in_memory);
            TARNM_DETAIL_UNROLL for (int e = 0; e < rows * columns; ++e) elements[e] =
                in_memory[e % columns * rows + e / columns];
            return;
        }
    }
    // All of it in memory before the first vector is loaded.
    alignas(sizeof(typename W::numbers)) T values[rows * columns][W::lanes];
    for (int e = 0; e < rows * columns; ++e) {
        const std::ptrdiff_t offset = e / columns * view.row_stride() + e % columns * view.element_stride();
        TARNM_DETAIL_UNROLL for (int l = 0; l < W::lanes; ++l) values[e][l] =
            detail::load(reinterpret_cast<const T*>(at.start[l] + offset));
    }
    TARNM_DETAIL_UNROLL for (int e = 0; e < rows * columns; ++e) elements[e] =
        *reinterpret_cast<const typename W::numbers*>(values[e]);
}

template <class W, int rows, int columns, class View>
TARNM_DETAIL_INLINE void store_objects(const View& view, arrangement lies, std::ptrdiff_t first, int live,
                                       const typename W::numbers (&elements)[rows * columns])
{
    using T = typename W::number;
    if (lies == arrangement::side_by_side && live == W::lanes) {
        TARNM_DETAIL_UNROLL for (int e = 0; e < rows * columns; ++e)
            detail::store_pack<W>(view.address(first, e / columns, e % columns), elements[e]);
        return;
    }
    const detail::pack_places<W, View> at(view, first, live);
    if constexpr (rows * columns >= run_length<T, rows * columns>)
        if (lies == arrangement::by_rows && live == W::lanes) return store_runs<W>(at.start, elements);
    alignas(sizeof(typename W::numbers)) T values[rows * columns][W::lanes];
    TARNM_DETAIL_UNROLL for (int e = 0; e < rows * columns; ++e) * reinterpret_cast<typename W::numbers*>(values[e]) =
        elements[e];
    for (int e = 0; e < rows * columns; ++e) {
        const std::ptrdiff_t offset = e / columns * view.row_stride() + e % columns * view.element_stride();
        for (int l = 0; l < live; ++l)
            detail::store(reinterpret_cast<T*>(at.start[l] + offset), values[e][l]);
    }
}

} // namespace tarnm::python

#endif
