// From operands to the views of the library's C++ layer.
//
//   matrices, matrix, vectors, vector   the view of an operand: of all objects, of the one that serves all
//   pair_of_matrices, ...               calls with views of both inputs, of which at least one is an array
//   by_layout, by_place                 calls with the layout of a batch
//   is_small_order, by_small_order      orders that have code of their own; calls with one as a constant
#ifndef TARNM_PYTHON_VIEWS_H
#define TARNM_PYTHON_VIEWS_H

#include <new>
#include <span>
#include <type_traits>

#include <tarnm/detail/call.h>

#include "batch.h"

namespace tarnm::python {

template <layout Layout> using layout_constant = std::integral_constant<layout, Layout>;

inline strides strides_of(const operand& o) { return {.object = o.object, .row = o.row, .element = o.element}; }

template <class T, layout Layout> auto matrices(const operand& o, std::ptrdiff_t count)
{
    if constexpr (Layout == layout::elements)
        return matrix_elements_array<T>(reinterpret_cast<T* const*>(o.table), count, o.rows, o.columns,
                                        {.object = o.object});
    else if constexpr (Layout == layout::list)
        return matrix_list<T>(reinterpret_cast<T* const*>(o.table), count, o.rows, o.columns, strides_of(o));
    else
        return matrix_array<T>(static_cast<T*>(o.data), count, o.rows, o.columns, strides_of(o));
}

template <class T, layout Layout> auto matrix(const operand& o)
{
    if constexpr (Layout == layout::elements)
        return matrix_elements<T>(reinterpret_cast<T* const*>(o.table), o.rows, o.columns);
    else
        return matrix_view<T>(static_cast<T*>(o.data), o.rows, o.columns, strides_of(o));
}

template <class T, layout Layout> auto vectors(const operand& o, std::ptrdiff_t count)
{
    if constexpr (Layout == layout::elements)
        return vector_elements_array<T>(reinterpret_cast<T* const*>(o.table), count, o.columns, {.object = o.object});
    else if constexpr (Layout == layout::list)
        return vector_list<T>(reinterpret_cast<T* const*>(o.table), count, o.columns, {.element = o.element});
    else
        return vector_array<T>(static_cast<T*>(o.data), count, o.columns, {.object = o.object, .element = o.element});
}

template <class T, layout Layout> auto vector(const operand& o)
{
    if constexpr (Layout == layout::elements)
        return vector_elements<T>(reinterpret_cast<T* const*>(o.table), o.columns);
    else
        return vector_view<T>(static_cast<T*>(o.data), o.columns, {.element = o.element});
}

// One number, status or pivot row after the other.
template <class T> std::span<T> packed(const operand& o, std::ptrdiff_t size)
{
    return {static_cast<T*>(o.data), static_cast<std::size_t>(size)};
}

inline std::span<tarnmStatus> statuses_of(const batch& work)
{
    return {work.statuses, static_cast<std::size_t>(work.count)};
}

// For kernels that have no use for planes.
template <class Call> std::ptrdiff_t by_place(const batch& work, Call call)
{
    return work.listed ? call(layout_constant<layout::list>()) : call(layout_constant<layout::strided>());
}

template <class Call> std::ptrdiff_t by_layout(const batch& work, Call call)
{
    if (work.listed) return call(layout_constant<layout::list>());
    return work.planar ? call(layout_constant<layout::elements>()) : call(layout_constant<layout::strided>());
}

// Orders that have code of their own.
constexpr bool is_small_order(std::ptrdiff_t order) { return order >= 3 && order <= 6; }

// The result of call(order as a constant); false for other orders.
template <class Call> bool by_small_order(std::ptrdiff_t order, const Call& call)
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

template <class T, layout Layout, class Call> std::ptrdiff_t pair_of_matrices(const batch& work, Call call)
{
    const operand &a = work.in[0], &b = work.in[1];
    if (a.many && b.many)
        return call(matrices<const T, Layout>(a, work.count), matrices<const T, Layout>(b, work.count));
    if (a.many) return call(matrices<const T, Layout>(a, work.count), matrix<const T, Layout>(b));
    return call(matrix<const T, Layout>(a), matrices<const T, Layout>(b, work.count));
}

template <class T, layout Layout, class Call> std::ptrdiff_t matrix_and_vector(const batch& work, Call call)
{
    const operand &a = work.in[0], &b = work.in[1];
    if (a.many && b.many)
        return call(matrices<const T, Layout>(a, work.count), vectors<const T, Layout>(b, work.count));
    if (a.many) return call(matrices<const T, Layout>(a, work.count), vector<const T, Layout>(b));
    return call(matrix<const T, Layout>(a), vectors<const T, Layout>(b, work.count));
}

template <class T, layout Layout, class Call> std::ptrdiff_t pair_of_vectors(const batch& work, Call call)
{
    const operand &a = work.in[0], &b = work.in[1];
    if (a.many && b.many) return call(vectors<const T, Layout>(a, work.count), vectors<const T, Layout>(b, work.count));
    if (a.many) return call(vectors<const T, Layout>(a, work.count), vector<const T, Layout>(b));
    return call(vector<const T, Layout>(a), vectors<const T, Layout>(b, work.count));
}

} // namespace tarnm::python

#endif
