// Packed objects as one stream of elements.
//
//   combineAsStream    element-wise work on operands that stand in memory without gaps
//
// Objects of 3 or 4 elements are too short for a loop of their own. Where all arrays of a call are packed, object
// after object, the call is one long loop over elements; a single operand then is a pattern that repeats with every
// object, and a constant one that repeats with every element. Only for operands that are the same memory as the
// result or lie clear of it, so that the order of the elements does not show.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "frame/lanes.h"
#include "frame/operands.h"

namespace tarnm::elementwise {

// Where an operand stands in the stream: `step` elements further for each object (0 for a pattern).
template <class T> struct Stream {
    T* base;
    std::ptrdiff_t step;
};

template <class View> struct IsStreamable : std::false_type {};
template <class T> struct IsStreamable<Single<StridedMatrix<T, Spacing::dense>>> : std::true_type {};
template <class T> struct IsStreamable<ObjectArray<StridedMatrix<T, Spacing::dense>>> : std::true_type {};
template <class T> struct IsStreamable<Single<Constant<T>>> : std::true_type {};

template <class View> struct IsConstant : std::false_type {};
template <class T> struct IsConstant<Single<Constant<T>>> : std::true_type {};

template <class T>
bool isPacked(const StridedMatrix<T, Spacing::dense>& object, std::int32_t rows, std::int32_t columns)
{
    return rows == 1 || object.rowStride == std::ptrdiff_t(sizeof(T)) * columns;
}

template <class T>
bool isPacked(const Single<StridedMatrix<T, Spacing::dense>>& single, std::int32_t rows, std::int32_t columns)
{
    return isPacked(single.object, rows, columns);
}

template <class T>
bool isPacked(const ObjectArray<StridedMatrix<T, Spacing::dense>>& array, std::int32_t rows, std::int32_t columns)
{
    return isPacked(array.first, rows, columns) && array.objectStride == std::ptrdiff_t(sizeof(T)) * rows * columns;
}

template <class T> bool isPacked(const Single<Constant<T>>&, std::int32_t, std::int32_t) { return true; }

// Bytes of [a, a + sizeA) and [b, b + sizeB) have none in common.
inline bool apart(const void* a, std::uint64_t sizeA, const void* b, std::uint64_t sizeB)
{
    const auto beginA = reinterpret_cast<std::uintptr_t>(a);
    const auto beginB = reinterpret_cast<std::uintptr_t>(b);
    return beginA <= beginB ? beginB - beginA >= sizeA : beginA - beginB >= sizeB;
}

// What stands in the stream at an element: the lanes from there on, of an array or of a constant.
template <class V, class T> TARNM_INLINE V valuesAt(const T* base, std::ptrdiff_t i) { return load<V>(base + i); }
template <class V, class T> TARNM_INLINE V valuesAt(Constant<T> constant, std::ptrdiff_t) { return V(constant.value); }

inline constexpr std::size_t shortestLanes = 16; // bytes

template <class V>
using Halves = lanes<scalar_t<V>, std::max(lane_count_v<V> / 2, int(shortestLanes / sizeof(scalar_t<V>)))>;

// As many whole V from element i on as fit, then halves of it, down to single elements.
template <class V, class Operation, class A, class B, class T>
TARNM_INLINE void combineRest(Operation operation, A a, B b, T* d, std::ptrdiff_t i, std::ptrdiff_t length)
{
    constexpr int width = lane_count_v<V>;
    if constexpr (width > 1) {
        for (; i + width <= length; i += width)
            store(d + i, operation(valuesAt<V>(a, i), valuesAt<V>(b, i)));
        combineRest<std::conditional_t<(width * sizeof(T) > shortestLanes), Halves<V>, T>>(operation, a, b, d, i,
                                                                                           length);
    } else {
        // Fewer than the shortest lanes hold; a loop of unknown length would be made into vectors once more.
        TARNM_UNROLL
        for (std::size_t k = 1; k < shortestLanes / sizeof(T); ++k, ++i) {
            if (i == length) return;
            store(d + i, operation(valuesAt<T>(a, i), valuesAt<T>(b, i)));
        }
    }
}

// d[i] = operation(a[i], b[i]) over memory that is the same or apart, so that iterations are independent.
// Load and store by turns: all four loads before the first store are slower by 40 percent with 256-bit vectors, as
// soon as the operands do not fit the first-level cache.
template <class Operation, class A, class B, class T>
void combineRun(Operation operation, A a, B b, T* d, std::ptrdiff_t length)
{
    using V = native_lanes<T>;
    constexpr int width = lane_count_v<V>;
    constexpr int step = 4 * width;
    std::ptrdiff_t i = 0;
    for (; i + step <= length; i += step) {
        TARNM_UNROLL
        for (int k = 0; k < step; k += width)
            store(d + i + k, operation(valuesAt<V>(a, i + k), valuesAt<V>(b, i + k)));
    }
    combineRest<V>(operation, a, b, d, i, length);
}

// One operand is the same object for all: `vectors` vectors of it, one object after the other, after which the
// sequence of lanes begins anew.
template <class T, int vectors> class Pattern {
public:
    using V = native_lanes<T>;
    static constexpr int width = lane_count_v<V>;
    static constexpr int period = vectors * width;

    Pattern(const T* object, std::ptrdiff_t size)
    {
        // Whole vectors, each over the surplus of the one before it.
        alignas(64) T padded[period + width];
        for (std::ptrdiff_t i = 0; i < size; ++i)
            padded[i] = loadElement<T>(object + i);
        for (std::ptrdiff_t begin = 0; begin < period; begin += size)
            for (std::ptrdiff_t i = 0; i < size; i += width)
                store(elements + begin + i, load<V>(padded + i));
    }

    static bool repeats(std::ptrdiff_t size) { return period % size == 0; }

    template <class Operation> void combine(Operation operation, const T* a, T* d, std::ptrdiff_t length) const
    {
        [[maybe_unused]] V held[vectors]; // g++ 12 overlooks the uses
        TARNM_UNROLL
        for (int k = 0; k < vectors; ++k)
            held[k] = load<V>(elements + k * width);
        std::ptrdiff_t i = 0;
        for (; i + period <= length; i += period) {
            TARNM_UNROLL
            for (int k = 0; k < vectors; ++k)
                store(d + i + k * width, operation(load<V>(a + i + k * width), held[k]));
        }
        combineRest<V>(operation, a + i, static_cast<const T*>(elements), d + i, 0, length - i);
    }

private:
    alignas(64) T elements[period + width];
};

template <int vectors, class Operation, class T>
bool combineWithPattern(Operation operation, const T* a, const T* single, T* d, std::ptrdiff_t size,
                        std::ptrdiff_t length)
{
    using Repeating = Pattern<T, vectors>;
    if (!Repeating::repeats(size)) return false;
    Repeating(single, size).combine(operation, a, d, length);
    return true;
}

// d = operation(object of a, single), object by object.
template <class Operation, class T>
void combineWithSingle(Operation operation, const T* a, const T* single, T* d, std::ptrdiff_t size,
                       std::ptrdiff_t count)
{
    const std::ptrdiff_t length = size * count;
    // 2 to 6, 8, 9, 12, 16 and 36 elements repeat after 4, 3, 5 or 9 vectors of any width.
    constexpr std::ptrdiff_t worthwhile = 8;
    if (count >= worthwhile && (combineWithPattern<4>(operation, a, single, d, size, length) ||
                                combineWithPattern<3>(operation, a, single, d, size, length) ||
                                combineWithPattern<5>(operation, a, single, d, size, length) ||
                                combineWithPattern<9>(operation, a, single, d, size, length)))
        return;
    for (std::ptrdiff_t i = 0; i < length; i += size)
        combineRun(operation, a + i, single, d + i, size);
}

// The operation with its operands exchanged.
template <class Operation> struct Exchanged {
    Operation operation;

    template <class V> V operator()(V a, V b) const { return operation(b, a); }
};

template <class Operation, class A, class B, class D>
bool combineAsStream(Operation operation, const A& a, const B& b, const D& d, std::int32_t rows, std::int32_t columns,
                     Place place)
{
    if constexpr (IsStreamable<A>::value && IsStreamable<B>::value && IsStreamable<D>::value && !IsConstant<A>::value) {
        using T = typename D::ObjectView::Element;
        if (!isPacked(a, rows, columns) || !isPacked(b, rows, columns) || !isPacked(d, rows, columns)) return false;

        const std::ptrdiff_t size = std::ptrdiff_t(rows) * columns;
        const std::ptrdiff_t length = size * place.count;
        const std::uint64_t resultBytes = std::uint64_t(length) * sizeof(T);
        T* const result = d[place.first].base;

        // A pattern must lie clear of the result; an array may also be the result itself.
        const auto serves = [&](const auto& operand) {
            using Operand = std::remove_cvref_t<decltype(operand)>;
            if constexpr (IsConstant<Operand>::value) {
                return true;
            } else {
                const T* base = operand[place.first].base;
                const bool repeats = Operand::isSingle && !D::isSingle;
                const std::uint64_t bytes = repeats ? std::uint64_t(size) * sizeof(T) : resultBytes;
                return (!repeats && base == result) || apart(base, bytes, result, resultBytes);
            }
        };
        if (!serves(a) || !serves(b)) return false;

        const T* const first = a[place.first].base;
        if constexpr (IsConstant<B>::value) {
            combineRun(operation, first, b.object, result, length);
        } else {
            const T* const second = b[place.first].base;
            if constexpr (A::isSingle == D::isSingle && B::isSingle == D::isSingle)
                combineRun(operation, first, second, result, length);
            else if constexpr (B::isSingle)
                combineWithSingle(operation, first, second, result, size, place.count);
            else
                combineWithSingle(Exchanged<Operation>{operation}, second, first, result, size, place.count);
        }
        return true;
    } else {
        return false;
    }
}

} // namespace tarnm::elementwise
