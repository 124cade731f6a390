// Packed objects as one stream of elements.
//
//   combineAsStream    element-wise work on operands that stand in memory without gaps
//
// Objects of 3 or 4 elements are too short for a loop of their own. Where all arrays of a call are packed, object
// after object, the call is one long loop over elements; a single operand then is a pattern that repeats with every
// object, and a constant one that repeats with every element. Only for operands that are the same memory as the
// result or lie clear of it, so that the order of the elements does not show.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "frame/operands.h"
#include "frame/overlap.h"

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

// d[i] = operation(a[i], b[i]) over memory that is the same or apart, so that iterations are independent.
template <class Operation, class T>
void combineRun(Operation operation, const T* a, const T* b, T* d, std::ptrdiff_t length)
{
#pragma omp simd
    for (std::ptrdiff_t i = 0; i < length; ++i)
        storeElement<T>(d + i, operation(loadElement<T>(a + i), loadElement<T>(b + i)));
}

template <class Operation, class T>
void combineRun(Operation operation, const T* a, Constant<T> b, T* d, std::ptrdiff_t length)
{
#pragma omp simd
    for (std::ptrdiff_t i = 0; i < length; ++i)
        storeElement<T>(d + i, operation(loadElement<T>(a + i), b.value));
}

// One of the operands is the same for every object: enough copies of it to fill whole vectors of any width.
inline constexpr int patternCopies = 16;
inline constexpr int longestPattern = 64;

template <class T> struct Pattern {
    alignas(64) std::array<T, std::size_t(patternCopies) * longestPattern> elements;

    Pattern(const T* object, std::ptrdiff_t length)
    {
        for (int copy = 0; copy < patternCopies; ++copy)
            for (std::ptrdiff_t i = 0; i < length; ++i)
                elements[copy * length + i] = loadElement<T>(object + i);
    }
};

// Calls run(first element, length, where the single operand stands) until `count` objects are done.
template <class T, class Run> void overPattern(const T* single, std::ptrdiff_t size, std::ptrdiff_t count, Run run)
{
    std::ptrdiff_t n = 0;
    if (size < longestPattern && count >= patternCopies) {
        const Pattern<T> pattern(single, size);
        for (; n + patternCopies <= count; n += patternCopies)
            run(n * size, patternCopies * size, pattern.elements.data());
        run(n * size, (count - n) * size, pattern.elements.data());
        return;
    }
    for (; n < count; ++n)
        run(n * size, size, single);
}

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
                overPattern(second, size, place.count, [&](std::ptrdiff_t at, std::ptrdiff_t n, const T* pattern) {
                    combineRun(operation, first + at, pattern, result + at, n);
                });
            else
                overPattern(first, size, place.count, [&](std::ptrdiff_t at, std::ptrdiff_t n, const T* pattern) {
                    combineRun(operation, pattern, second + at, result + at, n);
                });
        }
        return true;
    } else {
        return false;
    }
}

} // namespace tarnm::elementwise
