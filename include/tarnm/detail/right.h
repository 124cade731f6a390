// What the operations share that are right where the C function of their name has a gap.
//
//   load, store      one element, at any address
//   check            the arguments, before an element is read
//   exponent_above   a power of two above a magnitude
//   normalise        a matrix divided by a power of two
//   read_object, write_object   all elements of a matrix
#ifndef TARNM_DETAIL_RIGHT_H
#define TARNM_DETAIL_RIGHT_H

#include <bit>
#include <cmath>
#include <cstring>

#include "call.h"

namespace tarnm::detail {

// Elements need no alignment.
template <class T> std::remove_const_t<T> load(T* place)
{
    std::remove_const_t<T> value;
    std::memcpy(&value, place, sizeof value);
    return value;
}

template <class T> void store(T* place, T value) { std::memcpy(place, &value, sizeof value); }

template <class View> constexpr problem check(const View& view, const char* name)
{
    problem found;
    if constexpr (requires { view.count(); })
        if (view.count() == 0) return found;
    for (const tarnmStatus status :
         {StatusNullPointer, StatusBadCount, StatusBadSize, StatusBadStride, StatusBadRoiShift})
        found = found ? found : view.blame(status, name);
    return found;
}

// The smallest e with all |x| < 2^e, and 0 where x are zeros or not numbers.
template <class T> int exponent_above(T largest)
{
    if (!(largest > 0) || std::isinf(largest)) return 0;
    int exponent;
    std::frexp(largest, &exponent);
    return exponent;
}

// Multiplies by a power of two, which is exact but at the ends of the range. A product is much faster than ldexp.
template <class T> void scale_by_power(T* numbers, std::ptrdiff_t size, int exponent)
{
    if (std::abs(exponent) < std::numeric_limits<T>::max_exponent - 2) {
        using bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
        constexpr int bias = std::numeric_limits<T>::max_exponent - 1;
        const T factor = std::bit_cast<T>(static_cast<bits>(exponent + bias) << (std::numeric_limits<T>::digits - 1));
        for (std::ptrdiff_t i = 0; i < size; ++i)
            numbers[i] *= factor;
    } else {
        for (std::ptrdiff_t i = 0; i < size; ++i)
            numbers[i] = std::ldexp(numbers[i], exponent);
    }
}

// Divides a matrix by a power of two, so that its rows, and with them its eigenvalues, are at most 1 in magnitude. Gives
// the exponent. What is not finite stays so.
template <class T> int normalise(T* matrix, std::ptrdiff_t order)
{
    T largest = 0;
    for (std::ptrdiff_t i = 0; i < order * order; ++i)
        largest = std::max(largest, std::abs(matrix[i]));
    const int first = exponent_above(largest);
    scale_by_power(matrix, order * order, -first);
    T row = 0;
    for (std::ptrdiff_t r = 0; r < order; ++r) {
        T sum = 0;
        for (std::ptrdiff_t c = 0; c < order; ++c)
            sum += std::abs(matrix[r * order + c]);
        row = std::max(row, sum);
    }
    const int second = exponent_above(row);
    scale_by_power(matrix, order * order, -second);
    return first + second;
}

// All elements of a matrix, row by row.
template <class View, class Value> void read_object(const View& view, std::ptrdiff_t n, Value* elements)
{
    const std::ptrdiff_t rows = view.rows(), columns = view.columns();
    for (std::ptrdiff_t r = 0; r < rows; ++r)
        for (std::ptrdiff_t c = 0; c < columns; ++c)
            elements[r * columns + c] = load(view.address(n, r, c));
}

template <class View, class Value> void write_object(const View& view, std::ptrdiff_t n, const Value* elements)
{
    using T = typename View::value_type;
    const std::ptrdiff_t rows = view.rows(), columns = view.columns();
    for (std::ptrdiff_t r = 0; r < rows; ++r)
        for (std::ptrdiff_t c = 0; c < columns; ++c)
            store(view.address(n, r, c), static_cast<T>(elements[r * columns + c]));
}

template <class T> bool all_finite(const T* a, std::ptrdiff_t size)
{
    bool finite = true;
    for (std::ptrdiff_t i = 0; i < size; ++i)
        finite = finite && std::isfinite(a[i]);
    return finite;
}

// A single object as an array of one.
template <class View> auto as_array(const View& view)
{
    if constexpr (View::is_array)
        return view;
    else
        return view.as_array();
}

} // namespace tarnm::detail

#endif
