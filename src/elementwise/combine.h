// Element-wise combination of two operands: sums, differences, multiples.
//
//   Plus, Minus, MinusReversed, Times    what happens to a pair of elements
//   Cases                                shapes with code of their own
//   combine                              the kernel of all element-wise members
//
// A vector is a matrix of one row. Every element of the result is one operation on the elements at the same place,
// so all paths give the same bits; they differ in speed, and in what a result sees that overlaps a source:
//
//   - Within one object elements are computed in ascending order, one at a time.
//   - In a case, a single operand of an array call is read before the first object is written; elsewhere it is
//     read again for each object.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "elementwise/stream.h"
#include "frame/operands.h"
#include "tarnm/tarnm.h"

namespace tarnm {

struct Plus {
    template <class T> T operator()(T a, T b) const { return a + b; }
};
struct Minus {
    template <class T> T operator()(T a, T b) const { return a - b; }
};
struct MinusReversed {
    template <class T> T operator()(T a, T b) const { return b - a; }
};
struct Times {
    template <class T> T operator()(T a, T b) const { return b * a; }
};

struct Extent {
    std::int32_t rows;
    std::int32_t columns;
};

// Which shapes have code of their own: vectors of 3 to 6 elements, square matrices of 3 to 5 or 3 to 6 rows.
enum class Cases { none, vectors3to6, squares3to5, squares3to6 };

namespace elementwise {

// Elements of one object held in local values; stands for a single operand across the loop over objects.
template <class T, int rows, int columns> struct Held {
    std::array<T, rows * columns> values;

    T operator()(std::ptrdiff_t r, std::ptrdiff_t c) const { return values[r * columns + c]; }
};

template <int rows, int columns, class Array> auto hold(const Array& array)
{
    if constexpr (Array::isSingle) {
        using T = typename Array::ObjectView::Element;
        Held<T, rows, columns> held;
        for (int r = 0; r < rows; ++r)
            for (int c = 0; c < columns; ++c)
                held.values[r * columns + c] = array.object(r, c);
        return Single<Held<T, rows, columns>>{held};
    } else {
        return array;
    }
}

template <class Operation, class A, class B, class D>
void combineObject(Operation operation, const A& a, const B& b, const D& d, Extent extent)
{
    for (std::int32_t r = 0; r < extent.rows; ++r)
        for (std::int32_t c = 0; c < extent.columns; ++c)
            d.set(r, c, operation(a(r, c), b(r, c)));
}

template <class Operation, class A, class B, class D>
void combineObjects(Operation operation, const A& a, const B& b, const D& d, Extent extent, Place place)
{
    for (std::ptrdiff_t n = place.first; n < std::ptrdiff_t(place.first) + place.count; ++n)
        combineObject(operation, a[n], b[n], d[n], extent);
}

template <int rows, int columns, class Operation, class A, class B, class D>
void combineCase(Operation operation, const A& a, const B& b, const D& d, Place place)
{
    if constexpr (D::isSingle)
        combineObjects(operation, a, b, d, Extent{rows, columns}, place);
    else
        combineObjects(operation, hold<rows, columns>(a), hold<rows, columns>(b), d, Extent{rows, columns}, place);
}

template <Cases cases, int order, class Operation, class A, class B, class D>
bool combineInCase(Operation operation, const A& a, const B& b, const D& d, Extent extent, Place place)
{
    constexpr int rows = cases == Cases::vectors3to6 ? 1 : order;
    if (extent.rows != rows || extent.columns != order) return false;
    combineCase<rows, order>(operation, a, b, d, place);
    return true;
}

template <Cases cases, class Operation, class A, class B, class D>
[[gnu::noinline]] tarnmStatus combineByObjects(Operation operation, const A& a, const B& b, const D& d, Extent extent,
                                               const Place& place)
{
    if constexpr (cases != Cases::none) {
        if (combineInCase<cases, 3>(operation, a, b, d, extent, place) ||
            combineInCase<cases, 4>(operation, a, b, d, extent, place) ||
            combineInCase<cases, 5>(operation, a, b, d, extent, place))
            return StatusOk;
    }
    if constexpr (cases == Cases::vectors3to6 || cases == Cases::squares3to6) {
        if (combineInCase<cases, 6>(operation, a, b, d, extent, place)) return StatusOk;
    }
    combineObjects(operation, a, b, d, extent, place);
    return StatusOk;
}

} // namespace elementwise

template <Cases cases, class Operation, class A, class B, class D>
tarnmStatus combine(Operation operation, const A& a, const B& b, const D& d, Extent extent, const Place& place)
{
    using namespace elementwise;
    if constexpr (streamable_v<A, B, D>)
        if (isStream(a, b, d, extent.rows, extent.columns, place))
            return combineStream(operation, a, b, d, extent.rows, extent.columns, place);

    // What is referred to stands in memory: copies, so that the operands of a stream need not.
    const A copyOfA = a;
    const B copyOfB = b;
    const D copyOfD = d;
    const Place copyOfPlace = place;
    return combineByObjects<cases>(operation, copyOfA, copyOfB, copyOfD, extent, copyOfPlace);
}

} // namespace tarnm
